// Before the includes, so that the inline expansion arithmetic is covered too.
#if defined(__clang__)
#pragma clang fp contract(off)
#endif

#include "kly/tess/exact_arithmetic.h"

#include <cfloat>
#include <cmath>
#include <limits>

#include "kly/tess/failure.h"

// The error bounds of the predicates are proven for IEEE doubles evaluated one operation at a
// time. Refuse to build where that cannot hold: x87 extended intermediates (FLT_EVAL_METHOD
// other than 0) or fast-math reassociation. Fused multiply-add is kept off by the build
// (-ffp-contract=off, also GCC's default in ISO C++ mode) and by the pragma for clang.
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<double>::digits == 53,
              "the exact predicates need IEEE 754 binary64 doubles");
static_assert(FLT_EVAL_METHOD == 0,
              "the exact predicates need double intermediates (SSE2, not x87 extended precision)");
#if defined(__FAST_MATH__)
#error "the exact predicates must not be built with -ffast-math"
#endif

namespace tess_exact {
std::atomic<double> epsilon{0.0};
std::atomic<double> splitter{0.0};
std::atomic<double> resultErrBound{0.0};
std::atomic<double> ccwErrBoundA{0.0}, ccwErrBoundB{0.0}, ccwErrBoundC{0.0};
std::atomic<double> iccErrBoundA{0.0}, iccErrBoundB{0.0}, iccErrBoundC{0.0};
std::atomic<double> o3dErrBoundA{0.0}, o3dErrBoundB{0.0}, o3dErrBoundC{0.0};
}  // namespace tess_exact

namespace {
void Store(std::atomic<double>& constant, double value) {
  constant.store(value, std::memory_order_relaxed);
}
}  // namespace

void ExactInit() {
  double eps = 1.0;
  double split = 1.0;
  bool everyOther = true;
  double check = 1.0;
  double lastCheck;
  // Halve until 1.0 + eps rounds to 1.0; the second stop guards against a machine whose sums
  // never settle. splitter doubles every other step, so it ends as 2^ceil(p / 2).
  do {
    lastCheck = check;
    eps *= 0.5;
    if (everyOther) split *= 2.0;
    everyOther = !everyOther;
    check = 1.0 + eps;
  } while (check != 1.0 && check != lastCheck);
  split += 1.0;

  if (eps != std::ldexp(1.0, -53)) TessFail("Internal error.");

  using namespace tess_exact;
  Store(epsilon, eps);
  Store(splitter, split);
  Store(resultErrBound, (3.0 + 8.0 * eps) * eps);
  Store(ccwErrBoundA, (3.0 + 16.0 * eps) * eps);
  Store(ccwErrBoundB, (2.0 + 12.0 * eps) * eps);
  Store(ccwErrBoundC, (9.0 + 64.0 * eps) * eps * eps);
  Store(iccErrBoundA, (10.0 + 96.0 * eps) * eps);
  Store(iccErrBoundB, (4.0 + 48.0 * eps) * eps);
  Store(iccErrBoundC, (44.0 + 576.0 * eps) * eps * eps);
  Store(o3dErrBoundA, (7.0 + 56.0 * eps) * eps);
  Store(o3dErrBoundB, (3.0 + 28.0 * eps) * eps);
  Store(o3dErrBoundC, (26.0 + 288.0 * eps) * eps * eps);
}

TessExactConstants ExactConstants() {
  using namespace tess_exact;
  return {Read(epsilon),      Read(splitter),     Read(resultErrBound), Read(ccwErrBoundA),
          Read(ccwErrBoundB), Read(ccwErrBoundC), Read(iccErrBoundA),   Read(iccErrBoundB),
          Read(iccErrBoundC), Read(o3dErrBoundA), Read(o3dErrBoundB),   Read(o3dErrBoundC)};
}

namespace {
// True when a has the smaller magnitude of the two, the merge order of the sum below; written
// without fabs, as a pair of comparisons that also order a zero first.
bool SmallerMagnitude(double a, double b) {
  return (b > a) == (b > -a);
}
}  // namespace

int32_t FastExpansionSumZeroElim(int32_t eLen, const double* e, int32_t fLen, const double* f,
                                 double* h) {
  // Merge e and f by magnitude, carrying the running sum q and emitting each exact roundoff.
  // Components are read only while their index is in range.
  int32_t ei = 0;
  int32_t fi = 0;
  int32_t hi = 0;
  double q;
  if (SmallerMagnitude(e[0], f[0])) {
    q = e[ei++];
  } else {
    q = f[fi++];
  }
  double roundoff;
  if (ei < eLen && fi < fLen) {
    double next;
    if (SmallerMagnitude(e[ei], f[fi])) {
      FastTwoSum(e[ei++], q, next, roundoff);
    } else {
      FastTwoSum(f[fi++], q, next, roundoff);
    }
    q = next;
    if (roundoff != 0.0) h[hi++] = roundoff;
    while (ei < eLen && fi < fLen) {
      if (SmallerMagnitude(e[ei], f[fi])) {
        TwoSum(q, e[ei++], next, roundoff);
      } else {
        TwoSum(q, f[fi++], next, roundoff);
      }
      q = next;
      if (roundoff != 0.0) h[hi++] = roundoff;
    }
  }
  while (ei < eLen) {
    double next;
    TwoSum(q, e[ei++], next, roundoff);
    q = next;
    if (roundoff != 0.0) h[hi++] = roundoff;
  }
  while (fi < fLen) {
    double next;
    TwoSum(q, f[fi++], next, roundoff);
    q = next;
    if (roundoff != 0.0) h[hi++] = roundoff;
  }
  if (q != 0.0 || hi == 0) h[hi++] = q;
  return hi;
}

int32_t ScaleExpansionZeroElim(int32_t eLen, const double* e, double b, double* h) {
  double bHi, bLo;
  Split(b, bHi, bLo);
  double q, roundoff;
  TwoProductPresplit(e[0], b, bHi, bLo, q, roundoff);
  int32_t hi = 0;
  if (roundoff != 0.0) h[hi++] = roundoff;
  for (int32_t i = 1; i < eLen; i++) {
    double product1, product0, sum;
    TwoProductPresplit(e[i], b, bHi, bLo, product1, product0);
    TwoSum(q, product0, sum, roundoff);
    if (roundoff != 0.0) h[hi++] = roundoff;
    FastTwoSum(product1, sum, q, roundoff);
    if (roundoff != 0.0) h[hi++] = roundoff;
  }
  if (q != 0.0 || hi == 0) h[hi++] = q;
  return hi;
}

double Estimate(int32_t eLen, const double* e) {
  double q = e[0];
  for (int32_t i = 1; i < eLen; i++) q += e[i];
  return q;
}

int32_t MultiplyExpansions(int32_t eLen, const double* e, int32_t fLen, const double* f,
                           double* h) {
  double product[64], sum[128];
  int32_t hLen = ScaleExpansionZeroElim(eLen, e, f[0], h);
  for (int32_t i = 1; i < fLen; i++) {
    const int32_t pLen = ScaleExpansionZeroElim(eLen, e, f[i], product);
    const int32_t sLen = FastExpansionSumZeroElim(hLen, h, pLen, product, sum);
    for (int32_t k = 0; k < sLen; k++) h[k] = sum[k];
    hLen = sLen;
  }
  return hLen;
}
