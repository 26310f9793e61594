// Floating-point expansions: exact sums and products of doubles, the arithmetic behind the
// engine's adaptive predicates.
//
// An expansion is an array of doubles whose exact sum is the value: components nonoverlapping,
// increasing in magnitude, the largest (which approximates the whole) last, zeros removed.
// Everything here assumes true 64-bit IEEE doubles with round-to-nearest: no extended
// intermediates, no fused multiply-add, no reassociation. The library is built with
// -ffp-contract=off and without fast-math, and exact_arithmetic.cpp checks the platform.
#pragma once

#include <atomic>
#include <cstdint>

// The process-wide constants of the predicates, computed by ExactInit. Each call of
// triangulate rewrites them with the same values; they are atomics only so that concurrent
// calls do not race formally, and are read with relaxed loads (plain moves on x86-64).
namespace tess_exact {
extern std::atomic<double> epsilon;   // largest power of 2 with 1.0 + epsilon == 1.0: 2^-53
extern std::atomic<double> splitter;  // 2^ceil(53 / 2) + 1, for splitting a double in halves
extern std::atomic<double> resultErrBound;
extern std::atomic<double> ccwErrBoundA, ccwErrBoundB, ccwErrBoundC;
extern std::atomic<double> iccErrBoundA, iccErrBoundB, iccErrBoundC;
extern std::atomic<double> o3dErrBoundA, o3dErrBoundB, o3dErrBoundC;

inline double Read(const std::atomic<double>& constant) {
  return constant.load(std::memory_order_relaxed);
}
}  // namespace tess_exact

// Computes epsilon and splitter by halving until 1.0 + epsilon rounds to 1.0, then the error
// bounds from them. Fails with "Internal error." if epsilon is not 2^-53, i.e. if doubles are
// not what the predicates' proofs assume.
void ExactInit();

// A snapshot of all twelve constants, in the order of their computation.
struct TessExactConstants {
  double epsilon, splitter, resultErrBound;
  double ccwErrBoundA, ccwErrBoundB, ccwErrBoundC;
  double iccErrBoundA, iccErrBoundB, iccErrBoundC;
  double o3dErrBoundA, o3dErrBoundB, o3dErrBoundC;
};
TessExactConstants ExactConstants();

// x + y == a + b exactly, x the rounded sum; requires |a| >= |b|.
inline void FastTwoSum(double a, double b, double& x, double& y) {
  x = a + b;
  const double bVirtual = x - a;
  y = b - bVirtual;
}

// x + y == a + b exactly, in any order of magnitude.
inline void TwoSum(double a, double b, double& x, double& y) {
  x = a + b;
  const double bVirtual = x - a;
  const double aVirtual = x - bVirtual;
  const double bRoundoff = b - bVirtual;
  const double aRoundoff = a - aVirtual;
  y = aRoundoff + bRoundoff;
}

// The roundoff of x, the already rounded a - b.
inline double TwoDiffTail(double a, double b, double x) {
  const double bVirtual = a - x;
  const double aVirtual = x + bVirtual;
  const double bRoundoff = bVirtual - b;
  const double aRoundoff = a - aVirtual;
  return aRoundoff + bRoundoff;
}

// x + y == a - b exactly.
inline void TwoDiff(double a, double b, double& x, double& y) {
  x = a - b;
  y = TwoDiffTail(a, b, x);
}

// hi + lo == a, each half with at most 26 significant bits.
inline void Split(double a, double& hi, double& lo) {
  const double c = tess_exact::Read(tess_exact::splitter) * a;
  const double aBig = c - a;
  hi = c - aBig;
  lo = a - hi;
}

// x + y == a * b exactly, b given already split.
inline void TwoProductPresplit(double a, double b, double bHi, double bLo, double& x, double& y) {
  x = a * b;
  double aHi, aLo;
  Split(a, aHi, aLo);
  const double err1 = x - aHi * bHi;
  const double err2 = err1 - aLo * bHi;
  const double err3 = err2 - aHi * bLo;
  y = aLo * bLo - err3;
}

// x + y == a * b exactly.
inline void TwoProduct(double a, double b, double& x, double& y) {
  double bHi, bLo;
  Split(b, bHi, bLo);
  TwoProductPresplit(a, b, bHi, bLo, x, y);
}

// x + y == a * a exactly.
inline void Square(double a, double& x, double& y) {
  x = a * a;
  double aHi, aLo;
  Split(a, aHi, aLo);
  const double err1 = x - aHi * aHi;
  const double err3 = err1 - (aHi + aHi) * aLo;
  y = aLo * aLo - err3;
}

// (x2, x1, x0) == (a1, a0) + b.
inline void TwoOneSum(double a1, double a0, double b, double& x2, double& x1, double& x0) {
  double i;
  TwoSum(a0, b, i, x0);
  TwoSum(a1, i, x2, x1);
}

// (x2, x1, x0) == (a1, a0) - b.
inline void TwoOneDiff(double a1, double a0, double b, double& x2, double& x1, double& x0) {
  double i;
  TwoDiff(a0, b, i, x0);
  TwoSum(a1, i, x2, x1);
}

// (x3, x2, x1, x0) == (a1, a0) + (b1, b0).
inline void TwoTwoSum(double a1, double a0, double b1, double b0, double& x3, double& x2,
                      double& x1, double& x0) {
  double j, zero;
  TwoOneSum(a1, a0, b0, j, zero, x0);
  TwoOneSum(j, zero, b1, x3, x2, x1);
}

// (x3, x2, x1, x0) == (a1, a0) - (b1, b0).
inline void TwoTwoDiff(double a1, double a0, double b1, double b0, double& x3, double& x2,
                       double& x1, double& x0) {
  double j, zero;
  TwoOneDiff(a1, a0, b0, j, zero, x0);
  TwoOneDiff(j, zero, b1, x3, x2, x1);
}

// (x3, x2, x1, x0) == (a1, a0) * b.
inline void TwoOneProduct(double a1, double a0, double b, double& x3, double& x2, double& x1,
                          double& x0) {
  double bHi, bLo;
  Split(b, bHi, bLo);
  double i, j, zero, k;
  TwoProductPresplit(a0, b, bHi, bLo, i, x0);
  TwoProductPresplit(a1, b, bHi, bLo, j, zero);
  TwoSum(i, zero, k, x1);
  FastTwoSum(j, k, x3, x2);
}

// h = e + f exactly, zeros removed; returns h's length (h has room for eLen + fLen). An
// all-zero sum is the expansion of length 1 holding 0.0. h must not overlap e or f.
int32_t FastExpansionSumZeroElim(int32_t eLen, const double* e, int32_t fLen, const double* f,
                                 double* h);

// h = e * b exactly, zeros removed; returns h's length (h has room for 2 * eLen). An all-zero
// product is the expansion of length 1 holding 0.0. h must not overlap e.
int32_t ScaleExpansionZeroElim(int32_t eLen, const double* e, double b, double* h);

// h = e * f exactly, zeros removed: e times each component of f, summed in f's order; returns
// h's length (h has room for 2 * eLen * fLen). For short expansions: eLen at most 32.
int32_t MultiplyExpansions(int32_t eLen, const double* e, int32_t fLen, const double* f, double* h);

// The plain sum of the components from the smallest up: an approximation of the value.
double Estimate(int32_t eLen, const double* e);
