// A cubic Bezier curve in 3-space: points, tangents, XY normals, adaptive sampling, arc length
// and an approximate offset. The flatness tests here decide where every vertex of a letter, a
// bevel and a wall lands, so their constants and their order are part of the output.
//
// Sampling is adaptive between two bounds of depth: the first two levels are always taken,
// and no level past min(maxDepth, 10) is, unless minDepth asks for it. A leaf interval
// contributes its midpoint, never its ends.
//
// NaN or infinite control points: every flatness test is then false, so the sampling stops at
// its fixed floor of two levels and yields 0, 0.125, 0.375, 0.625, 0.875, 1 with NaN points;
// nothing hangs. Offset may fail with 4363 on them.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/host/ort.h"

class KLY_CubicBezierCurve {
 public:
  // The flattening tolerance of contours, patches and arc lengths: 2^-7.
  static constexpr double kFlatness = 0.0078125;
  // Deepest level reached without a minDepth asking for more.
  static constexpr uint32_t kMaxLevel = 10;
  // A minDepth beyond this is refused with std::length_error: 2^20 samples of one curve is far
  // past any use, and deeper requests would exhaust memory or time instead of failing clearly.
  static constexpr uint32_t kDeepestMinDepth = 20;

  // Leaves the four points uninitialised: callers always set them first.
  KLY_CubicBezierCurve() {}

  void SetControlPts(const ORT_Vector3T<double>& p0, const ORT_Vector3T<double>& p1,
                     const ORT_Vector3T<double>& p2, const ORT_Vector3T<double>& p3);
  // Stores the quadratic a, b, c as the equal cubic (degree elevation).
  void SetControlPts(const ORT_Vector3T<double>& a, const ORT_Vector3T<double>& b,
                     const ORT_Vector3T<double>& c);
  void GetControlPts(ORT_Vector3T<double>& p0, ORT_Vector3T<double>& p1, ORT_Vector3T<double>& p2,
                     ORT_Vector3T<double>& p3);

  // The point at t; t is not clamped.
  void Eval(double t, ORT_Vector3T<double>& out);
  void operator()(double t, ORT_Vector3T<double>& out) { Eval(t, out); }
  // The first derivative; near the ends a vanishing derivative is replaced by a vector of
  // length 6 along P2 - P0 (start) or P3 - P1 (end).
  void GetTangentVec(double t, ORT_Vector3T<double>& out);
  // (Ty, -Tx, 0), the right-hand side of the walking direction in XY; not normalised.
  void GetNormalVec(double t, ORT_Vector3T<double>& out);

  // Length of the chord polygon through the samples of Subdivide at tolerance 2^-7.
  double ArcLength(uint32_t minDepth, uint32_t maxDepth);
  // Both inner control points within a squared cosine of 0.998 of the chord's line.
  bool IsStraight();
  // Appends 0, the midpoints of the leaf intervals in ascending order, then 1.
  void Subdivide(double tolerance, uint32_t minDepth, uint32_t maxDepth,
                 std::vector<double>& parameters);
  // Replaces `out` by four pieces translated by `distance` along the normals: the outer ends
  // along the given normals (as they stand), the inner joins along the curve's own unit XY
  // normals. The tolerance and depth arguments are not used. Fails with 4363 when an inner
  // normal is a zero vector; `out` then holds the pieces, the earlier ones already moved.
  void Offset(double distance, const ORT_Vector3T<double>& startNormal,
              const ORT_Vector3T<double>& endNormal, double, uint32_t,
              std::vector<KLY_CubicBezierCurve>& out);

 protected:
  void EvaluateAdaptively(uint32_t level, double tolerance, uint32_t minDepth, uint32_t maxDepth,
                          double t0, double t1, std::vector<double>& parameters);
  bool ShouldRecurse(uint32_t level, double tolerance, uint32_t minDepth, uint32_t maxDepth,
                     double t0, double t1);
  void DeCasteljauSubdivide(uint32_t level, double tolerance, uint32_t maxDepth,
                            std::vector<KLY_CubicBezierCurve>& out);
  bool DeCasteljauShouldRecurse(uint32_t level, double tolerance, uint32_t maxDepth);

  // P0 (parameter 0), P1, P2, P3 (parameter 1).
  ORT_Vector3T<double> controlPts[4];
};
