// The nearest point of a planar cubic, by the roots of the derivative of the squared distance.
//
// With B the curve and p the point, f(t) = |B(t) - p|^2 has f'(t) = 2 g(t), g = (B - p).B', a
// quintic. Its Bernstein coefficients follow from those of B - p (degree 3) and B' (degree 2)
// by the product rule of Bernstein polynomials. The roots in [0, 1] are isolated by subdividing
// until each piece's coefficients change sign at most once (Descartes' rule for the Bernstein
// basis: a piece with one sign change holds exactly one root), then found by bisection to the
// last bit. The nearest point is the best of the two ends and these stationary points, so the
// result is the global minimum and never leaves [0, 1].
#include "kly/host/spn.h"

#include <cmath>

namespace {

using Vec2 = ORT_Vector2T<double>;

constexpr int kDegree = 5;
// Subdivision stops here (pieces of 2^-50): only a multiple root keeps two sign changes this
// deep, and the midpoint of such a piece is as good a candidate as the curve can tell apart.
constexpr int kDeepestPiece = 50;

struct Search {
  Vec2 control[4];  // control points relative to the query point
  double bestT;
  double bestDistance;
};

double SquaredDistance(const Search& search, double t) {
  const double s = 1.0 - t;
  const double b0 = s * s * s, b1 = 3.0 * t * s * s, b2 = 3.0 * t * t * s, b3 = t * t * t;
  const Vec2* c = search.control;
  const double x = c[0].x * b0 + c[1].x * b1 + c[2].x * b2 + c[3].x * b3;
  const double y = c[0].y * b0 + c[1].y * b1 + c[2].y * b2 + c[3].y * b3;
  return x * x + y * y;
}

// Candidates arrive roughly in ascending order; an equal distance keeps the smaller parameter.
void Consider(Search& search, double t) {
  const double distance = SquaredDistance(search, t);
  if (distance < search.bestDistance || (distance == search.bestDistance && t < search.bestT)) {
    search.bestDistance = distance;
    search.bestT = t;
  }
}

int Sign(double value) {
  return value > 0.0 ? 1 : (value < 0.0 ? -1 : 0);
}

double EvaluateBernstein(const double (&coefficients)[kDegree + 1], double s) {
  double work[kDegree + 1];
  for (int i = 0; i <= kDegree; ++i) work[i] = coefficients[i];
  for (int level = kDegree; level > 0; --level) {
    for (int i = 0; i < level; ++i) work[i] = work[i] * (1.0 - s) + work[i + 1] * s;
  }
  return work[0];
}

// The one root inside a piece whose coefficients change sign once: the sign near each end is
// that of the first and last non-zero coefficient. Regula falsi with the Illinois rule (the
// value of an end kept twice in a row is halved) closes the bracket in about ten steps where
// bisection takes one a bit; three steps that fail to halve the bracket bring a bisection, so
// the worst case stays near bisection's. It stops, like bisection, when no double lies between
// the ends.
double BisectSingleRoot(const double (&coefficients)[kDegree + 1], int signNearStart, double t0,
                        double t1) {
  double lo = 0.0, hi = 1.0;
  double fLo = coefficients[0], fHi = coefficients[kDegree];
  int keptEnd = 0;  // -1 or 1: the end a secant step moved last; 0 after a bisection
  int slowSteps = fLo == 0.0 || fHi == 0.0 ? 3 : 0;  // a zero end leaves the secant nothing
  double halvedWidth = 1.0;
  for (;;) {
    const bool bisect = slowSteps >= 3;
    double mid = 0.5 * (lo + hi);
    if (!bisect) {
      const double secant = lo + fLo / (fLo - fHi) * (hi - lo);
      if (secant > lo && secant < hi) mid = secant;
    }
    if (mid <= lo || mid >= hi) break;
    const double value = EvaluateBernstein(coefficients, mid);
    const int sign = Sign(value);
    if (sign == 0) {
      lo = hi = mid;
      break;
    }
    const int moved = sign == signNearStart ? -1 : 1;
    (moved < 0 ? lo : hi) = mid;
    (moved < 0 ? fLo : fHi) = value;
    if (!bisect && keptEnd == moved) (moved < 0 ? fHi : fLo) *= 0.5;
    keptEnd = bisect ? 0 : moved;
    if (hi - lo <= 0.5 * halvedWidth) {
      halvedWidth = hi - lo;
      slowSteps = 0;
    } else {
      slowSteps = bisect ? 0 : slowSteps + 1;
    }
  }
  return t0 + (t1 - t0) * (0.5 * (lo + hi));
}

void FindStationaryPoints(Search& search, const double (&coefficients)[kDegree + 1], double t0,
                          double t1, int depth) {
  // Roots at the ends of the piece are exact zeros of the end coefficients.
  if (coefficients[0] == 0.0) Consider(search, t0);
  if (coefficients[kDegree] == 0.0) Consider(search, t1);

  int changes = 0, firstSign = 0, lastSign = 0;
  for (const double c : coefficients) {
    const int sign = Sign(c);
    if (sign == 0) continue;
    if (firstSign == 0) firstSign = sign;
    if (lastSign != 0 && sign != lastSign) ++changes;
    lastSign = sign;
  }
  if (firstSign == 0) {
    // g vanishes on the whole piece: the distance is constant there.
    Consider(search, t0);
    return;
  }
  if (changes == 0) return;
  if (changes == 1) {
    Consider(search, BisectSingleRoot(coefficients, firstSign, t0, t1));
    return;
  }
  const double tm = 0.5 * (t0 + t1);
  if (depth >= kDeepestPiece) {
    Consider(search, tm);
    return;
  }
  // De Casteljau at the middle: the left piece takes the first of each level, the right the last.
  double work[kDegree + 1], left[kDegree + 1], right[kDegree + 1];
  for (int i = 0; i <= kDegree; ++i) work[i] = coefficients[i];
  left[0] = work[0];
  right[kDegree] = work[kDegree];
  for (int level = 1; level <= kDegree; ++level) {
    for (int i = 0; i + level <= kDegree; ++i) work[i] = 0.5 * (work[i] + work[i + 1]);
    left[level] = work[0];
    right[kDegree - level] = work[kDegree - level];
  }
  FindStationaryPoints(search, left, t0, tm, depth + 1);
  FindStationaryPoints(search, right, tm, t1, depth + 1);
}

}  // namespace

double SPN_NearestPointOnCurve(Vec2 point, const SPN_CurveClass<2, Vec2>& curve) {
  Search search;
  for (int i = 0; i < 4; ++i) {
    const Vec2& c = *curve.controlPoints[i];
    if (!std::isfinite(c.x) || !std::isfinite(c.y)) return 0.0;
    search.control[i] = c - point;
    if (!std::isfinite(search.control[i].x) || !std::isfinite(search.control[i].y)) return 0.0;
  }

  // g = (B - p).B' in the Bernstein basis of degree 5: coefficient k is the sum over i + j = k
  // of C(3, i) C(2, j) / C(5, k) times a_i.d_j, with a_i the control points of B - p and
  // d_j = 3 (P(j+1) - P(j)) those of B'.
  static const double kCubic[4] = {1.0, 3.0, 3.0, 1.0};
  static const double kQuadratic[3] = {1.0, 2.0, 1.0};
  static const double kQuintic[6] = {1.0, 5.0, 10.0, 10.0, 5.0, 1.0};
  Vec2 derivative[3];
  for (int j = 0; j < 3; ++j) derivative[j] = (search.control[j + 1] - search.control[j]) * 3.0;
  double coefficients[kDegree + 1] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 3; ++j) {
      const Vec2& a = search.control[i];
      const Vec2& d = derivative[j];
      coefficients[i + j] += kCubic[i] * kQuadratic[j] * (a.x * d.x + a.y * d.y);
    }
  }
  for (int k = 0; k <= kDegree; ++k) {
    coefficients[k] /= kQuintic[k];
    if (!std::isfinite(coefficients[k])) return 0.0;  // overflow of huge coordinates
  }

  search.bestT = 0.0;
  search.bestDistance = SquaredDistance(search, 0.0);
  FindStationaryPoints(search, coefficients, 0.0, 1.0, 0);
  Consider(search, 1.0);
  return search.bestT;
}
