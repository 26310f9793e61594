#include "kly/curves/cubic_bezier_curve.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "kly/package/failure.h"

namespace {

using Vec3 = ORT_Vector3T<double>;

double Dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vec3 Cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Squared distance of `offset` (a vector from a point of the line) from the line along `d`.
double SquaredDistanceFromLine(const Vec3& d, const Vec3& offset) {
  const Vec3 c = Cross(d, offset);
  return Dot(c, c) / Dot(d, d);
}

Vec3 Midpoint(const Vec3& a, const Vec3& b) {
  return (a + b) * 0.5;
}

// The point at t of the curve with control points `p`: Eval's arithmetic, inline for Subdivide.
inline Vec3 PointOf(const Vec3 (&p)[4], double t) {
  const double u = 1.0 - t;
  const double b0 = u * u * u;
  const double b1 = 3.0 * t * u * u;
  const double b2 = 3.0 * t * t * u;
  const double b3 = t * t * t;
  return {p[0].x * b0 + p[1].x * b1 + p[2].x * b2 + p[3].x * b3,
          p[0].y * b0 + p[1].y * b1 + p[2].y * b2 + p[3].y * b3,
          p[0].z * b0 + p[1].z * b1 + p[2].z * b2 + p[3].z * b3};
}

// The XY normal of a tangent, as GetNormalVec forms it: (Ty, -Tx, 0) while the tangent has an
// XY part; (1, 0, 0) for a tangent along Z; from the chord when the tangent vanishes.
Vec3 NormalOfTangent(const Vec3& tangent, const Vec3& chord) {
  const auto outsideBand = [](double value) { return !(value > -1e-12 && value < 1e-12); };
  if (outsideBand(tangent.x) || outsideBand(tangent.y)) return {tangent.y, -tangent.x, 0.0};
  if (outsideBand(tangent.z)) return {1.0, 0.0, 0.0};
  if (Dot(chord, chord) > 0.0) return {chord.y, -chord.x, 0.0};
  return {1.0, 0.0, 0.0};
}

}  // namespace

void KLY_CubicBezierCurve::SetControlPts(const Vec3& p0, const Vec3& p1, const Vec3& p2,
                                         const Vec3& p3) {
  controlPts[0] = p0;
  controlPts[1] = p1;
  controlPts[2] = p2;
  controlPts[3] = p3;
}

void KLY_CubicBezierCurve::SetControlPts(const Vec3& a, const Vec3& b, const Vec3& c) {
  // Degree elevation, multiplied by the constant rather than divided by 3: the last bit of
  // every elevated control point depends on it.
  controlPts[0] = a;
  controlPts[1] = (a + b * 2.0) * 0.3333333333333333;
  controlPts[2] = (c + b * 2.0) * 0.3333333333333333;
  controlPts[3] = c;
}

void KLY_CubicBezierCurve::GetControlPts(Vec3& p0, Vec3& p1, Vec3& p2, Vec3& p3) {
  p0 = controlPts[0];
  p1 = controlPts[1];
  p2 = controlPts[2];
  p3 = controlPts[3];
}

void KLY_CubicBezierCurve::Eval(double t, Vec3& out) {
  out = PointOf(controlPts, t);
}

void KLY_CubicBezierCurve::GetTangentVec(double t, Vec3& out) {
  const double u = 1.0 - t;
  const Vec3* p = controlPts;
  out = ((p[1] - p[0]) * (u * u) + (p[2] - p[1]) * (2.0 * t * u) + (p[3] - p[2]) * (t * t)) * 3.0;
  if (!(Dot(out, out) < 1e-6)) return;

  // A vanishing derivative at an end (a control point on its end point): the direction of the
  // curve there is that of the next control point but one. The length 6 is the scale callers
  // have always seen and stays.
  Vec3 w;
  if (t < 0.0001) {
    w = p[2] - p[0];
  } else if (t > 0.9999) {
    w = p[3] - p[1];
  } else {
    return;  // a cusp inside the curve keeps its near-zero derivative
  }
  out = w * 6.0;
  const double length = std::sqrt(Dot(w, w));
  if (length > 0.0) out = {out.x / length, out.y / length, out.z / length};
}

void KLY_CubicBezierCurve::GetNormalVec(double t, Vec3& out) {
  Vec3 tangent;
  GetTangentVec(t, tangent);
  out = NormalOfTangent(tangent, controlPts[3] - controlPts[0]);
}

double KLY_CubicBezierCurve::ArcLength(uint32_t minDepth, uint32_t maxDepth) {
  std::vector<double> parameters;
  Subdivide(kFlatness, minDepth, maxDepth, parameters);
  double length = 0.0;
  Vec3 previous;
  Eval(parameters[0], previous);
  for (size_t i = 1; i < parameters.size(); ++i) {
    Vec3 point;
    Eval(parameters[i], point);
    const Vec3 chord = point - previous;
    // Past 1e154 the squares overflow; hypot scales instead (and is slower, so only then).
    const double squared = Dot(chord, chord);
    length += std::isfinite(squared) ? std::sqrt(squared) : std::hypot(chord.x, chord.y, chord.z);
    previous = point;
  }
  return length;
}

bool KLY_CubicBezierCurve::IsStraight() {
  // Squared cosines, so a control point behind the start also counts as in line; a zero-length
  // vector gives 0 > 0 and so is never straight.
  const Vec3 d = controlPts[3] - controlPts[0];
  const Vec3 a = controlPts[1] - controlPts[0];
  const Vec3 b = controlPts[2] - controlPts[0];
  const double dd = Dot(d, d);
  const double ad = Dot(a, d);
  const double bd = Dot(b, d);
  return ad * ad > 0.998 * dd * Dot(a, a) && bd * bd > 0.998 * dd * Dot(b, b);
}

namespace {

// A point of the curve with its parameter, which is NaN until the point is evaluated.
struct Sample {
  double t = std::numeric_limits<double>::quiet_NaN();
  Vec3 at;
};

// A span [t0, t1] of a curve with its end points, and its middle sample when its parent has
// evaluated it. Halving a span evaluates only what it does not know yet: the halves share the
// parent's ends and middle, a half's middle sample is the parent's at a quarter, and a
// parameter's point is the same however it is reached (parameters are compared, not assumed).
struct Span {
  double t0, t1;
  Vec3 start, end;
  Sample middle;
};

// The arguments of one subdivision that stay the same from level to level.
struct Refinement {
  Refinement(KLY_CubicBezierCurve& curve, double t, uint32_t minimum, uint32_t maximum)
      : tolerance(t), minDepth(minimum), maxDepth(maximum) {
    curve.GetControlPts(points[0], points[1], points[2], points[3]);
  }

  Vec3 points[4];
  double tolerance;
  uint32_t minDepth, maxDepth;
};

Span WholeSpan(const Refinement& r, double t0, double t1) {
  return {t0, t1, PointOf(r.points, t0), PointOf(r.points, t1), {}};
}

// ShouldRecurse on a span whose ends are known; `samples` gets the points it looked at, at a
// quarter, half and three quarters of the span.
bool SpanShouldRecurse(uint32_t level, const Refinement& r, const Span& span,
                       Sample (&samples)[3]) {
  // The floor goes first, so a minDepth beyond the cap of 10 levels wins over it.
  if (level < std::max<uint32_t>(r.minDepth, 2)) return true;
  if (level >= std::min<uint32_t>(r.maxDepth, KLY_CubicBezierCurve::kMaxLevel)) return false;

  const Vec3 d = span.start - span.end;
  // Coinciding ends make a span flat, even if the curve loops between them.
  if (Dot(d, d) < 1e-6) return false;

  const double toleranceSquared = r.tolerance * r.tolerance;
  const double fractions[3] = {0.25, 0.5, 0.75};
  for (int k = 0; k < 3; ++k) {
    Sample& s = samples[k];
    s.t = span.t0 + fractions[k] * (span.t1 - span.t0);
    if (s.t == span.middle.t) {
      s.at = span.middle.at;
    } else {
      s.at = PointOf(r.points, s.t);
    }
    if (SquaredDistanceFromLine(d, span.start - s.at) > toleranceSquared) return true;
  }
  return false;
}

// EvaluateAdaptively on a span whose ends are known.
void Refine(uint32_t level, const Refinement& r, const Span& span,
            std::vector<double>& parameters) {
  const double m = (span.t1 + span.t0) * 0.5;
  Sample samples[3];
  if (SpanShouldRecurse(level, r, span, samples)) {
    Vec3 middle;
    if (samples[1].t == m) {
      middle = samples[1].at;
    } else if (span.middle.t == m) {
      middle = span.middle.at;
    } else {
      middle = PointOf(r.points, m);
    }
    Refine(level + 1, r, {span.t0, m, span.start, middle, samples[0]}, parameters);
    Refine(level + 1, r, {m, span.t1, middle, span.end, samples[2]}, parameters);
  } else if (level > 0) {
    // The midpoint of a leaf, never its ends: that is how samples have always been placed.
    parameters.push_back(m);
  }
}

}  // namespace

void KLY_CubicBezierCurve::Subdivide(double tolerance, uint32_t minDepth, uint32_t maxDepth,
                                     std::vector<double>& parameters) {
  if (minDepth > kDeepestMinDepth) {
    throw std::length_error("curve subdivision deeper than 20 levels");
  }
  parameters.push_back(0.0);
  // Level 0 appends nothing of its own: a whole curve flat enough is just its two ends.
  const Refinement r(*this, tolerance, minDepth, maxDepth);
  Refine(0, r, WholeSpan(r, 0.0, 1.0), parameters);
  parameters.push_back(1.0);
}

void KLY_CubicBezierCurve::EvaluateAdaptively(uint32_t level, double tolerance, uint32_t minDepth,
                                              uint32_t maxDepth, double t0, double t1,
                                              std::vector<double>& parameters) {
  const Refinement r(*this, tolerance, minDepth, maxDepth);
  Refine(level, r, WholeSpan(r, t0, t1), parameters);
}

bool KLY_CubicBezierCurve::ShouldRecurse(uint32_t level, double tolerance, uint32_t minDepth,
                                         uint32_t maxDepth, double t0, double t1) {
  const Refinement r(*this, tolerance, minDepth, maxDepth);
  Sample samples[3];
  return SpanShouldRecurse(level, r, WholeSpan(r, t0, t1), samples);
}

void KLY_CubicBezierCurve::DeCasteljauSubdivide(uint32_t level, double tolerance, uint32_t maxDepth,
                                                std::vector<KLY_CubicBezierCurve>& out) {
  if (!DeCasteljauShouldRecurse(level, tolerance, maxDepth)) {
    out.push_back(*this);
    return;
  }
  const Vec3* p = controlPts;
  const Vec3 q0 = Midpoint(p[0], p[1]);
  const Vec3 q1 = Midpoint(p[1], p[2]);
  const Vec3 q2 = Midpoint(p[2], p[3]);
  const Vec3 r0 = Midpoint(q0, q1);
  const Vec3 r1 = Midpoint(q1, q2);
  const Vec3 m = Midpoint(r0, r1);
  KLY_CubicBezierCurve left, right;
  left.SetControlPts(p[0], q0, r0, m);
  right.SetControlPts(m, r1, q2, p[3]);
  left.DeCasteljauSubdivide(level + 1, tolerance, maxDepth, out);
  right.DeCasteljauSubdivide(level + 1, tolerance, maxDepth, out);
}

bool KLY_CubicBezierCurve::DeCasteljauShouldRecurse(uint32_t level, double tolerance,
                                                    uint32_t maxDepth) {
  if (level < 2) return true;
  if (level >= std::min<uint32_t>(maxDepth, kMaxLevel)) return false;
  const Vec3 c = controlPts[3] - controlPts[0];
  if (Dot(c, c) < 1e-6) return false;
  const double toleranceSquared = tolerance * tolerance;
  if (SquaredDistanceFromLine(c, controlPts[0] - controlPts[1]) > toleranceSquared) return true;
  return SquaredDistanceFromLine(c, controlPts[0] - controlPts[2]) > toleranceSquared;
}

void KLY_CubicBezierCurve::Offset(double distance, const Vec3& startNormal, const Vec3& endNormal,
                                  double, uint32_t, std::vector<KLY_CubicBezierCurve>& out) {
  out.clear();
  const Vec3 startShift = startNormal * distance;
  const Vec3 endShift = endNormal * distance;
  // Tolerance 0.5 and maxDepth 2 with the fixed floor of two levels: always four pieces of
  // equal parameter length, whatever the caller asked for.
  DeCasteljauSubdivide(0, 0.5, 2, out);

  const size_t last = out.size() - 1;
  Vec3 joinShift = startShift;
  for (size_t i = 0; i <= last; ++i) {
    KLY_CubicBezierCurve& piece = out[i];
    Vec3 endShiftOfPiece = endShift;
    if (i < last) {
      // Taken from the piece before it moves; the join is then shared by both neighbours.
      Vec3 tangent;
      piece.GetTangentVec(1.0, tangent);
      const Vec3 n = NormalOfTangent(tangent, piece.controlPts[3] - piece.controlPts[0]);
      const double s = n.x * n.x + n.y * n.y;
      if (s < 1e-48) KLY_FailNormalisation();
      const double length = std::sqrt(s);
      endShiftOfPiece = Vec3{n.x / length, n.y / length, 0.0} * distance;
    }
    piece.controlPts[0] = piece.controlPts[0] + joinShift;
    piece.controlPts[1] = piece.controlPts[1] + joinShift;
    piece.controlPts[2] = piece.controlPts[2] + endShiftOfPiece;
    piece.controlPts[3] = piece.controlPts[3] + endShiftOfPiece;
    joinShift = endShiftOfPiece;
  }
}
