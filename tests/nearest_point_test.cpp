// SPN_NearestPointOnCurve against brute-force sampling, on random curves and on the shapes
// that break naive searches: loops, cusps, collinear and collapsed control points.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "kly/host/spn.h"

namespace {

using Vec2 = ORT_Vector2T<double>;

struct Cubic {
  Vec2 p[4];

  Vec2 At(double t) const {
    // De Casteljau, independent of the routine's own Bernstein sums.
    Vec2 a = p[0] + (p[1] - p[0]) * t, b = p[1] + (p[2] - p[1]) * t, c = p[2] + (p[3] - p[2]) * t;
    Vec2 d = a + (b - a) * t, e = b + (c - b) * t;
    return d + (e - d) * t;
  }
  double Distance(double t, Vec2 q) const {
    const Vec2 d = At(t) - q;
    return std::sqrt(d.x * d.x + d.y * d.y);
  }
  double Nearest(Vec2 q) const {
    SPN_CurveClass<2, Vec2> curve(p[0], p[1], p[2], p[3]);
    return SPN_NearestPointOnCurve(q, curve);
  }
};

// The nearest distance over a fine uniform sampling, then refined by golden-section search
// around the best sample: a bound the routine's answer may not exceed.
double BruteForceDistance(const Cubic& c, Vec2 q) {
  const int n = 20000;
  int best = 0;
  double bestDistance = c.Distance(0.0, q);
  for (int i = 1; i <= n; ++i) {
    const double d = c.Distance(double(i) / n, q);
    if (d < bestDistance) {
      bestDistance = d;
      best = i;
    }
  }
  double lo = std::max(0.0, double(best - 1) / n), hi = std::min(1.0, double(best + 1) / n);
  const double g = (std::sqrt(5.0) - 1) / 2;
  for (int k = 0; k < 100; ++k) {
    const double a = hi - g * (hi - lo), b = lo + g * (hi - lo);
    if (c.Distance(a, q) < c.Distance(b, q)) {
      hi = b;
    } else {
      lo = a;
    }
  }
  return std::min(bestDistance, c.Distance(0.5 * (lo + hi), q));
}

void ExpectNearest(const Cubic& c, Vec2 q, const char* what) {
  const double t = c.Nearest(q);
  ASSERT_GE(t, 0.0) << what;
  ASSERT_LE(t, 1.0) << what;
  const double found = c.Distance(t, q);
  const double brute = BruteForceDistance(c, q);
  double scale = std::abs(q.x) + std::abs(q.y);
  for (const Vec2& p : c.p) scale = std::max(scale, std::abs(p.x) + std::abs(p.y));
  EXPECT_LE(found, brute + 1e-9 * (1 + scale))
      << what << " t=" << t << " q=(" << q.x << ", " << q.y << ")";
}

TEST(NearestPoint, RandomCurvesAgainstBruteForce) {
  std::mt19937_64 random(20261121);
  std::uniform_real_distribution<double> coordinate(-100.0, 100.0);
  for (int k = 0; k < 300; ++k) {
    Cubic c;
    for (Vec2& p : c.p) p = {coordinate(random), coordinate(random)};
    for (int j = 0; j < 4; ++j) {
      ExpectNearest(c, {coordinate(random), coordinate(random)}, "random");
    }
    // Points on the curve and just off it: the distance must come out (almost) zero.
    const Vec2 on = c.At(std::uniform_real_distribution<double>(0, 1)(random));
    ExpectNearest(c, on, "on the curve");
    EXPECT_LT(c.Distance(c.Nearest(on), on), 1e-9);
  }
}

TEST(NearestPoint, LoopsCuspsAndCollinearControlPoints) {
  const Cubic shapes[] = {
      {{{0, 0}, {100, 100}, {-100, 100}, {10, 0}}},  // a loop crossing itself
      {{{0, 0}, {60, 60}, {-60, 60}, {0, 0}}},       // a closed teardrop, ends together
      {{{0, 0}, {2, 2}, {0, 2}, {2, 0}}},            // a cusp at t = 1/2
      {{{0, 0}, {30, 0}, {-10, 0}, {20, 0}}},        // collinear, running back on itself
      {{{0, 0}, {1, 1}, {2, 2}, {3, 3}}},            // a line at thirds
      {{{0, 0}, {0, 0}, {5, 5}, {5, 5}}},            // control points on their ends
      {{{0, 0}, {1e6, 0}, {1e6, 1e-3}, {0, 1e-3}}},  // a long thin hairpin
  };
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> around(-120.0, 120.0);
  for (const Cubic& c : shapes) {
    for (int j = 0; j < 200; ++j) ExpectNearest(c, {around(random), around(random)}, "shape");
    ExpectNearest(c, c.At(0.5), "midpoint");
    ExpectNearest(c, {c.p[1].x, c.p[1].y}, "control point");
  }
}

TEST(NearestPoint, CollapsedCurvesGiveZero) {
  // All four points equal: every parameter is as near as any other; the first one is taken.
  const Cubic point{{{3, 4}, {3, 4}, {3, 4}, {3, 4}}};
  EXPECT_EQ(0.0, point.Nearest({10, -7}));
  EXPECT_EQ(0.0, point.Nearest({3, 4}));
}

TEST(NearestPoint, EndsAndTies) {
  // An arch over the x axis seen from far below: its two ends are equally near and nearer
  // than any point of the arch; the smaller parameter wins.
  const Cubic arch{{{0, 0}, {0, 1}, {1, 1}, {1, 0}}};
  EXPECT_EQ(0.0, arch.Nearest({0.5, -10}));
  // Beyond the end of a line the end is nearest, exactly.
  const Cubic line{{{0, 0}, {1, 0}, {2, 0}, {3, 0}}};
  EXPECT_EQ(1.0, line.Nearest({7, 1}));
  EXPECT_EQ(0.0, line.Nearest({-7, 1}));
  // On a uniformly parametrised line the parameter is the projection: x / 3.
  EXPECT_NEAR(0.4, line.Nearest({1.2, 5}), 1e-15);
}

TEST(NearestPoint, NonFiniteInputGivesZero) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const Cubic line{{{0, 0}, {1, 0}, {2, 0}, {3, 0}}};
  EXPECT_EQ(0.0, line.Nearest({nan, 0}));
  EXPECT_EQ(0.0, line.Nearest({inf, 0}));
  const Cubic bad{{{0, 0}, {nan, 0}, {2, 0}, {3, 0}}};
  EXPECT_EQ(0.0, bad.Nearest({1, 1}));
  // Coordinates whose products overflow: still a parameter in range.
  const Cubic huge{{{-1e200, 0}, {1e200, 1e200}, {-1e200, 1e200}, {1e200, 0}}};
  const double t = huge.Nearest({0, 0});
  EXPECT_GE(t, 0.0);
  EXPECT_LE(t, 1.0);
}

}  // namespace
