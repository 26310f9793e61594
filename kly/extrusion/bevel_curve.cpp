// The bevel profiles: little curves in the (outset, depth) plane that the walls follow from the
// front face to the back face.
#include <algorithm>

#include "kly/extrusion/extrusion.h"

namespace {

// Below this a depth counts as none.
constexpr double kNoDepth = 1e-6;
// The quarter circle's control point factor.
constexpr double kQuarterCircle = 0.5522847498;

struct ProfilePoint {
  double x;
  double z;
};

void Append(KLY_Contour& curve, ProfilePoint p) {
  curve.AppendVertexPosition({p.x, 0.0, p.z});
  curve.AppendVertexCode(curve.Size() == 1 ? KLY_Contour::kCodeStart : KLY_Contour::kCodeCurve);
}

// The straight stretch from (b, b) to (b, b + d).
void AppendStraight(KLY_Contour& curve, double b, double d) {
  Append(curve, {b, b + d / 3.0});
  Append(curve, {b, b + 2.0 * d / 3.0});
  Append(curve, {b, b + d});
}

void AppendNone(KLY_Contour& curve, double d) {
  for (ProfilePoint p : {ProfilePoint{0.0, 0.0}, {0.0, d / 3.0}, {0.0, 2.0 * d / 3.0}, {0.0, d}})
    Append(curve, p);
}

void AppendChamfer(KLY_Contour& curve, double b, double d, bool straight) {
  for (ProfilePoint p :
       {ProfilePoint{0.0, 0.0}, {b / 3.0, b / 3.0}, {2.0 * b / 3.0, 2.0 * b / 3.0}, {b, b}})
    Append(curve, p);
  if (straight) AppendStraight(curve, b, d);
  for (ProfilePoint p : {ProfilePoint{2.0 * b / 3.0, b / 3.0 + b + d},
                         {b / 3.0, 2.0 * b / 3.0 + b + d},
                         {0.0, 2.0 * b + d}})
    Append(curve, p);
}

void AppendConcave(KLY_Contour& curve, double b, double d, bool straight) {
  const double k = kQuarterCircle * b;
  for (ProfilePoint p : {ProfilePoint{0.0, 0.0}, {0.0, k}, {k, b}, {b, b}}) Append(curve, p);
  if (straight) AppendStraight(curve, b, d);
  for (ProfilePoint p : {ProfilePoint{k, b + d}, {0.0, k + b + d}, {0.0, 2.0 * b + d}})
    Append(curve, p);
}

void AppendConvex(KLY_Contour& curve, double b, double d, bool straight) {
  const double k = kQuarterCircle * b;
  for (ProfilePoint p : {ProfilePoint{0.0, 0.0}, {k, 0.0}, {b, k}, {b, b}}) Append(curve, p);
  if (straight) AppendStraight(curve, b, d);
  for (ProfilePoint p : {ProfilePoint{b, b + d + k}, {k, 2.0 * b + d}, {0.0, 2.0 * b + d}})
    Append(curve, p);
}

}  // namespace

void KLY_Extrusion::BuildBevelCurve(bool forHoles) {
  // Holes reach the same total depth as outer contours with their own, smaller bevel.
  const double b = forHoles ? std::min(bevelDepth, holeBevelDepth) : bevelDepth;
  const double d = forHoles ? (2.0 * bevelDepth + extrusionDepth) - 2.0 * b : extrusionDepth;
  KLY_Contour& curve = forHoles ? holeBevelCurve : bevelCurve;
  curve.ClearVerticesAndCodes();
  curve.SetGranularity(bevelGranularityMin, bevelGranularityMax);
  curve.SetClosed(false);

  if (kNoDepth >= bevelDepth) {
    if (kNoDepth > extrusionDepth) return;
    // Kept on purpose: a bevel too small to build turns the object's own style to none.
    SetBevelStyle(BevelNone);
  }
  int32_t style = bevelStyle;
  if (kNoDepth >= extrusionDepth && style == BevelNone) return;
  if (forHoles && b < kNoDepth) style = BevelNone;

  switch (style) {
    case BevelNone:
      AppendNone(curve, d);
      break;
    case BevelChamfer:
      AppendChamfer(curve, b, d, d > kNoDepth);
      break;
    case BevelConcave:
      AppendConcave(curve, b, d, d > kNoDepth);
      break;
    case BevelConvex:
      // The convex profile looks at the field, not at d: a hole's d may differ.
      AppendConvex(curve, b, d, extrusionDepth > kNoDepth);
      break;
    default:
      break;  // no profile: the build fails with the contour's BadBezier message
  }
}
