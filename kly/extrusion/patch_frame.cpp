// The frames of the wall patches: one contour cubic spread along the outline's normals, mitred
// at the corners.
#include "kly/extrusion/patch_frame.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "kly/curves/cubic_bezier_curve.h"
#include "kly/host/spn.h"
#include "kly/package/failure.h"

namespace kly {
namespace extrusion {
namespace {

using Vec3 = ORT_Vector3T<double>;
using Vec2 = ORT_Vector2T<double>;

// A corner grows by 1 / 0.6 at the most; a sharper corner is cut off there.
constexpr double kSmallestMiterCosine = 0.6;
// Below this the leg and the inner direction count as parallel.
constexpr double kParallel = 1e-6;

// Normalised when it has any length; a zero vector stays as it is.
void NormalizeIfNonZero(Vec3& v) {
  if (v.x * v.x + v.y * v.y + v.z * v.z > 0.0) KLY_Normalize(v);
}

double Dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

const Vec3& Checked(const std::vector<Vec3>& list, size_t index) {
  if (index >= list.size()) throw std::out_of_range("invalid vector<T> subscript");
  return list[index];
}

KLY_CubicBezierCurve Cubic(const std::vector<Vec3>& chain, uint32_t index) {
  const size_t first = 3 * static_cast<size_t>(index);
  KLY_CubicBezierCurve curve;
  curve.SetControlPts(Checked(chain, first), Checked(chain, first + 1), Checked(chain, first + 2),
                      Checked(chain, first + 3));
  return curve;
}

Vec3 UnitNormal(KLY_CubicBezierCurve& curve, double t) {
  Vec3 n;
  curve.GetNormalVec(t, n);
  NormalizeIfNonZero(n);
  return n;
}

// How far to move an inner control point along `direction` (per unit of outset) so that it
// lands on the line through the shifted corner `shifted` parallel to the leg from `end` to
// `inner`: the offset curve's end tangent then stays parallel to the leg.
double InnerScale(const Vec3& end, const Vec3& inner, const Vec3& shifted, const Vec3& direction) {
  const Vec2 e{inner.x - end.x, inner.y - end.y};
  const Vec2 g{inner.x - shifted.x, inner.y - shifted.y};
  const double d = direction.y * e.x - direction.x * e.y;
  return std::fabs(d) > kParallel ? (e.y * g.x - e.x * g.y) / d : 1.0;
}

}  // namespace

PatchFrame MakePatchFrame(const std::vector<Vec3>& chain, uint32_t curveIndex) {
  const uint32_t m = static_cast<uint32_t>(chain.size() / 3);
  KLY_CubicBezierCurve current = Cubic(chain, curveIndex);
  KLY_CubicBezierCurve next = Cubic(chain, curveIndex == m - 1 ? 0 : curveIndex + 1);
  KLY_CubicBezierCurve previous = Cubic(chain, curveIndex == 0 ? m - 1 : curveIndex - 1);
  PatchFrame frame;
  Vec3(&q)[4] = frame.points;
  current.GetControlPts(q[0], q[1], q[2], q[3]);

  const Vec3 na = UnitNormal(current, 0.0);
  const Vec3 np = UnitNormal(previous, 1.0);
  const Vec3 nb = UnitNormal(current, 1.0);
  const Vec3 nn = UnitNormal(next, 0.0);
  // Neighbouring patches share these at their common end: the corners are mitred.
  Vec3 a0 = na + np;
  Vec3 a1 = nb + nn;
  NormalizeIfNonZero(a0);
  NormalizeIfNonZero(a1);

  Vec3 m1;
  Vec3 m2;
  if (current.IsStraight()) {
    m1 = a0 + (a1 - a0) * 0.3333333333333333;
    m2 = a0 + (a1 - a0) * 0.6666666666666666;
  } else {
    // The places on the curve that the inner control points belong to; a straight cubic has
    // no use for them.
    const Vec2 xy[4] = {{q[0].x, q[0].y}, {q[1].x, q[1].y}, {q[2].x, q[2].y}, {q[3].x, q[3].y}};
    const SPN_CurveClass<2, Vec2> planar(xy[0], xy[1], xy[2], xy[3]);
    m1 = UnitNormal(current, SPN_NearestPointOnCurve(xy[1], planar));
    m2 = UnitNormal(current, SPN_NearestPointOnCurve(xy[2], planar));
  }
  const double s0 = 1.0 / std::max(std::fabs(Dot(a0, na)), kSmallestMiterCosine);
  const double s1 = 1.0 / std::max(std::fabs(Dot(a1, nb)), kSmallestMiterCosine);
  const double wa = InnerScale(q[0], q[1], q[0] + a0 * s0, m1);
  const double wb = InnerScale(q[3], q[2], q[3] + a1 * s1, m2);
  frame.directions[0] = a0 * s0;
  frame.directions[1] = m1 * wa;
  frame.directions[2] = m2 * wb;
  frame.directions[3] = a1 * s1;
  return frame;
}

void SpreadPatchFrame(const PatchFrame& frame, KLY_Contour& profile, uint32_t profileIndex,
                      tagCUBIC_PATCH_PTS& out) {
  for (uint32_t r = 0; r < 4; ++r) {
    Vec3 rowPoint;
    profile.GetPoint(3 * profileIndex + r, rowPoint);
    for (uint32_t c = 0; c < 4; ++c) {
      Vec3 p = frame.points[c] + frame.directions[c] * rowPoint.x;
      p.z = rowPoint.z;
      out.points[4 * r + c] = p;
    }
  }
}

}  // namespace extrusion
}  // namespace kly
