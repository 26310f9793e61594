// The engine's exact predicates against an independent exact evaluation: the determinants are
// evaluated with the test checker's exact binary numbers, which share nothing with the engine.
// Inputs are built to be degenerate or within a few ulps of degenerate, where the floating-point
// filter cannot decide and the adaptive stages must.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "kly/tess/predicates.h"
#include "tests/testing/exact_sign.h"

namespace {

using kly::testing::ExactNumber;

ExactNumber N(double v) {
  return ExactNumber(v);
}

struct Point {
  double x, y, attribute;
  const double* p() const { return &x; }
};
static_assert(sizeof(Point) == 3 * sizeof(double), "a point reads as a vertex record");

int ExactOrientSign(const Point& a, const Point& b, const Point& c) {
  const ExactNumber acx = N(a.x) - N(c.x), acy = N(a.y) - N(c.y);
  const ExactNumber bcx = N(b.x) - N(c.x), bcy = N(b.y) - N(c.y);
  return (acx * bcy - acy * bcx).Sign();
}

// Sign of the 3 x 3 determinant of the rows (p - d, height_p - height_d) for p = a, b, c.
int ExactLiftedSign(const Point& a, const Point& b, const Point& c, const Point& d, double ah,
                    double bh, double ch, double dh) {
  const ExactNumber adx = N(a.x) - N(d.x), ady = N(a.y) - N(d.y), adz = N(ah) - N(dh);
  const ExactNumber bdx = N(b.x) - N(d.x), bdy = N(b.y) - N(d.y), bdz = N(bh) - N(dh);
  const ExactNumber cdx = N(c.x) - N(d.x), cdy = N(c.y) - N(d.y), cdz = N(ch) - N(dh);
  return (adz * (bdx * cdy - cdx * bdy) + bdz * (cdx * ady - adx * cdy) +
          cdz * (adx * bdy - bdx * ady))
      .Sign();
}

int ExactInCircleSign(const Point& a, const Point& b, const Point& c, const Point& d) {
  const ExactNumber adx = N(a.x) - N(d.x), ady = N(a.y) - N(d.y);
  const ExactNumber bdx = N(b.x) - N(d.x), bdy = N(b.y) - N(d.y);
  const ExactNumber cdx = N(c.x) - N(d.x), cdy = N(c.y) - N(d.y);
  const ExactNumber alift = adx * adx + ady * ady;
  const ExactNumber blift = bdx * bdx + bdy * bdy;
  const ExactNumber clift = cdx * cdx + cdy * cdy;
  return (alift * (bdx * cdy - cdx * bdy) + blift * (cdx * ady - adx * cdy) +
          clift * (adx * bdy - bdx * ady))
      .Sign();
}

int SignOf(double v) {
  return (v > 0.0) - (v < 0.0);
}

double Ulps(double v, int steps) {
  for (; steps > 0; steps--) v = std::nextafter(v, INFINITY);
  for (; steps < 0; steps++) v = std::nextafter(v, -INFINITY);
  return v;
}

class PredicatesTest : public ::testing::Test {
 protected:
  void SetUp() override { ExactInit(); }
  double Ccw(const Point& a, const Point& b, const Point& c) {
    return CounterClockwise(counters, switches, a.p(), b.p(), c.p());
  }
  double Icc(const Point& a, const Point& b, const Point& c, const Point& d) {
    return InCircle(counters, switches, a.p(), b.p(), c.p(), d.p());
  }
  TessCounters counters;
  TessSwitches switches;
  std::mt19937_64 random{20261121};
};

// ---- Constants ----

TEST_F(PredicatesTest, ExactInitComputesTheIeeeDoubleConstants) {
  const TessExactConstants k = ExactConstants();
  // 53-bit mantissa: 1 + 2^-52 is the next double after 1, and 1 + 2^-53 ties to even, i.e. 1.
  const double eps = std::ldexp(1.0, -53);
  EXPECT_EQ(k.epsilon, eps);
  // 2^ceil(53 / 2) + 1 = 2^27 + 1.
  EXPECT_EQ(k.splitter, 134217729.0);
  // Each bound is (m + n eps) eps or (m + n eps) eps^2; the eps terms are visible in the last
  // bits, so a bound computed without them would differ.
  const double expected[] = {(3 + 8 * eps) * eps,          (3 + 16 * eps) * eps,
                             (2 + 12 * eps) * eps,         (9 + 64 * eps) * eps * eps,
                             (10 + 96 * eps) * eps,        (4 + 48 * eps) * eps,
                             (44 + 576 * eps) * eps * eps, (7 + 56 * eps) * eps,
                             (3 + 28 * eps) * eps,         (26 + 288 * eps) * eps * eps};
  const double actual[] = {k.resultErrBound, k.ccwErrBoundA, k.ccwErrBoundB, k.ccwErrBoundC,
                           k.iccErrBoundA,   k.iccErrBoundB, k.iccErrBoundC, k.o3dErrBoundA,
                           k.o3dErrBoundB,   k.o3dErrBoundC};
  for (int i = 0; i < 10; i++) EXPECT_EQ(actual[i], expected[i]) << "bound " << i;
  EXPECT_NE(k.ccwErrBoundA, 3 * eps);
}

// ---- Expansion arithmetic ----

TEST(ExpansionArithmeticTest, ZeroResultsAreOneZeroComponent) {
  ExactInit();
  const double zero[1] = {0.0};
  double h[4] = {7, 7, 7, 7};
  EXPECT_EQ(FastExpansionSumZeroElim(1, zero, 1, zero, h), 1);
  EXPECT_EQ(h[0], 0.0);
  const double e[2] = {1e-30, 1.0};
  EXPECT_EQ(ScaleExpansionZeroElim(2, e, 0.0, h), 1);
  EXPECT_EQ(h[0], 0.0);
  // e + (-e) cancels exactly.
  const double minusE[2] = {-1e-30, -1.0};
  EXPECT_EQ(FastExpansionSumZeroElim(2, e, 2, minusE, h), 1);
  EXPECT_EQ(h[0], 0.0);
}

TEST(ExpansionArithmeticTest, TwoTermOperationsAreExact) {
  ExactInit();
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
  std::uniform_int_distribution<int> exponent(-60, 60);
  for (int i = 0; i < 2000; i++) {
    const double a = std::ldexp(mantissa(random), exponent(random));
    const double b = std::ldexp(mantissa(random), exponent(random));
    double x, y;
    TwoSum(a, b, x, y);
    EXPECT_EQ((N(x) + N(y) - N(a) - N(b)).Sign(), 0);
    TwoDiff(a, b, x, y);
    EXPECT_EQ((N(x) + N(y) - N(a) + N(b)).Sign(), 0);
    TwoProduct(a, b, x, y);
    EXPECT_EQ((N(x) + N(y) - N(a) * N(b)).Sign(), 0);
    Square(a, x, y);
    EXPECT_EQ((N(x) + N(y) - N(a) * N(a)).Sign(), 0);
  }
}

TEST(ExpansionArithmeticTest, SumsAndScalesAreExactNonoverlappingAndIncreasing) {
  ExactInit();
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
  std::uniform_int_distribution<int> exponent(-40, 40);
  auto draw = [&] { return std::ldexp(mantissa(random), exponent(random)); };
  for (int round = 0; round < 500; round++) {
    // Two valid expansions from exact products: e = v0 v1 + v2 v3 and f = v0 v1 - v2 v3.
    const double v[4] = {draw(), draw(), draw(), draw()};
    const double b = draw();
    double e[4], f[4], h[8], g[16];
    double e1, e0, f1, f0;
    TwoProduct(v[0], v[1], e1, e0);
    TwoProduct(v[2], v[3], f1, f0);
    TwoTwoSum(e1, e0, f1, f0, e[3], e[2], e[1], e[0]);
    TwoTwoDiff(e1, e0, f1, f0, f[3], f[2], f[1], f[0]);
    const int hLen = FastExpansionSumZeroElim(4, e, 4, f, h);
    const int gLen = ScaleExpansionZeroElim(hLen, h, b, g);

    // h = e + f = 2 v0 v1 and g = h b, exactly.
    ExactNumber hSum(0.0), gSum(0.0);
    for (int i = 0; i < hLen; i++) hSum = hSum + N(h[i]);
    for (int i = 0; i < gLen; i++) gSum = gSum + N(g[i]);
    EXPECT_EQ((hSum - N(2.0) * N(v[0]) * N(v[1])).Sign(), 0);
    EXPECT_EQ((gSum - N(2.0) * N(v[0]) * N(v[1]) * N(b)).Sign(), 0);
    for (const auto& [len, x] : {std::make_pair(hLen, h), std::make_pair(gLen, g)}) {
      for (int i = 0; i < len; i++) EXPECT_NE(x[i], 0.0) << "zero component kept";
      // Nonoverlapping and increasing implies strictly growing magnitudes, the largest last.
      for (int i = 0; i + 1 < len; i++) EXPECT_LT(std::fabs(x[i]), std::fabs(x[i + 1]));
      EXPECT_EQ(SignOf(Estimate(len, x)), SignOf(x[len - 1]));
    }
  }
}

// ---- CounterClockwise ----

TEST_F(PredicatesTest, CollinearPointsGiveExactlyZeroEvenWithInexactDifferences) {
  // Points on y = x and y = 2x (doubling is exact), spread over 40 orders of magnitude so that
  // the coordinate differences round.
  const double xs[][3] = {{1e-20, 1.0, 1e20}, {0.1, 0.3, 1e17}, {-1e15, 3e-9, 7.0}};
  for (const auto& x : xs) {
    for (double slope : {1.0, 2.0, -0.5}) {
      const Point a{x[0], slope * x[0], 0}, b{x[1], slope * x[1], 0}, c{x[2], slope * x[2], 0};
      EXPECT_EQ(Ccw(a, b, c), 0.0);
      EXPECT_EQ(Ccw(c, a, b), 0.0);
      EXPECT_EQ(Ccw(b, a, c), 0.0);
    }
  }
}

TEST_F(PredicatesTest, UlpGridAroundALineGetsTheExactSign) {
  // The classic failure of plain floating point: p = (0.5 + i ulp, 0.5 + j ulp) against the
  // line through (12, 12) and (24, 24). Rounded arithmetic gives wrong and inconsistent signs
  // here; the predicate must match exact arithmetic at every point.
  const Point q{12, 12, 0}, r{24, 24, 0};
  int nonzero = 0, zero = 0, rawWrong = 0;
  for (int i = 0; i < 128; i++) {
    for (int j = 0; j < 128; j++) {
      const Point p{Ulps(0.5, i), Ulps(0.5, j), 0};
      const double det = Ccw(p, q, r);
      ASSERT_EQ(SignOf(det), ExactOrientSign(p, q, r)) << i << " " << j;
      (det == 0.0 ? zero : nonzero)++;
      const double raw = (p.x - r.x) * (q.y - r.y) - (p.y - r.y) * (q.x - r.x);
      if (SignOf(raw) != SignOf(det)) rawWrong++;
    }
  }
  EXPECT_EQ(zero, 128);  // the diagonal i == j
  EXPECT_GT(rawWrong, 0) << "the grid no longer exercises the adaptive stages";
}

TEST_F(PredicatesTest, RandomNearCollinearTriplesGetTheExactSign) {
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::uniform_int_distribution<int> nudge(-2, 2);
  std::uniform_int_distribution<int> scale(-30, 30);
  for (int i = 0; i < 20000; i++) {
    const double s = std::ldexp(1.0, scale(random));
    const Point a{unit(random) * s, unit(random) * s, 0};
    const Point b{unit(random) * s * 1e3, unit(random) * s, 0};
    const double t = unit(random) * 3.0;
    const Point c{Ulps(a.x + t * (b.x - a.x), nudge(random)),
                  Ulps(a.y + t * (b.y - a.y), nudge(random)), 0};
    ASSERT_EQ(SignOf(Ccw(a, b, c)), ExactOrientSign(a, b, c)) << i;
    ASSERT_EQ(SignOf(Ccw(b, c, a)), ExactOrientSign(a, b, c)) << i;
    ASSERT_EQ(SignOf(Ccw(b, a, c)), -ExactOrientSign(a, b, c)) << i;
  }
}

TEST_F(PredicatesTest, CounterClockwiseCountsEachCallOnce) {
  const Point a{0, 0, 0}, b{1, 0, 0}, c{0, 1, 0}, near{Ulps(0.5, 1), 0.5, 0}, q{12, 12, 0},
      r{24, 24, 0};
  Ccw(a, b, c);     // decided by the filter
  Ccw(near, q, r);  // decided by an adaptive stage
  switches.noExactArithmetic = 1;
  Ccw(near, q, r);
  EXPECT_EQ(counters.counterClockwiseCount, 3);
  EXPECT_EQ(counters.inCircleCount, 0);
  EXPECT_EQ(SignOf(Ccw(a, b, c)), 1);
  EXPECT_EQ(SignOf(Ccw(a, c, b)), -1);
}

TEST_F(PredicatesTest, ZeroLeftProductReturnsTheRawDeterminant) {
  // a.x == c.x makes detLeft exactly 0; the result is then -detRight as computed.
  const Point a{3, 0.1, 0}, b{0.7, 0.2, 0}, c{3, 0.3, 0};
  EXPECT_EQ(Ccw(a, b, c), -((a.y - c.y) * (b.x - c.x)));
}

TEST_F(PredicatesTest, NoExactArithmeticReturnsTheFilterValue) {
  const Point q{12, 12, 0}, r{24, 24, 0};
  switches.noExactArithmetic = 1;
  bool differs = false;
  for (int i = 0; i < 64; i++) {
    const Point p{Ulps(0.5, i), 0.5, 0};
    const double raw = (p.x - r.x) * (q.y - r.y) - (p.y - r.y) * (q.x - r.x);
    const double fast = Ccw(p, q, r);
    EXPECT_EQ(fast, raw);
    switches.noExactArithmetic = 0;
    if (SignOf(Ccw(p, q, r)) != SignOf(fast)) differs = true;
    switches.noExactArithmetic = 1;
  }
  EXPECT_TRUE(differs) << "the adaptive stages were never needed";
}

// ---- InCircle ----

TEST_F(PredicatesTest, CocircularIntegerPointsGiveExactlyZero) {
  // Points at distance 5 and 25 from a centre: Pythagorean triples (3, 4, 5), (7, 24, 25),
  // shifted by offsets up to 2^40, scaled by 2^-40, all exactly representable.
  const double offsets[][2] = {{0, 0}, {1e9, -3e9}, {std::ldexp(1.0, 40), 17}};
  for (const auto& o : offsets) {
    for (double scale : {1.0, std::ldexp(1.0, -40)}) {
      auto at = [&](double x, double y) {
        return Point{(o[0] + x) * scale, (o[1] + y) * scale, 0};
      };
      EXPECT_EQ(Icc(at(5, 0), at(3, 4), at(-4, 3), at(0, -5)), 0.0);
      EXPECT_EQ(Icc(at(-5, 0), at(4, -3), at(3, 4), at(-3, -4)), 0.0);
      EXPECT_EQ(Icc(at(25, 0), at(7, 24), at(-24, 7), at(-15, -20)), 0.0);
      // One unit off the circle of radius 5, inside and outside.
      EXPECT_GT(Icc(at(5, 0), at(3, 4), at(-4, 3), at(0, -4)), 0.0);
      EXPECT_LT(Icc(at(5, 0), at(3, 4), at(-4, 3), at(0, -6)), 0.0);
    }
  }
}

TEST_F(PredicatesTest, RandomNearCocircularPointsGetTheExactSign) {
  std::uniform_real_distribution<double> angle(0.0, 6.283185307179586);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::uniform_int_distribution<int> nudge(-3, 3);
  for (int i = 0; i < 5000; i++) {
    // A centre off the origin gives points whose differences do not fit in a double.
    const double cx = unit(random) * (i % 2 ? 1e3 : 1.0), cy = unit(random);
    const double radius = std::ldexp(1.0 + unit(random) * 0.5, i % 7 - 3);
    auto onCircle = [&](bool nudged) {
      const double t = angle(random);
      return Point{Ulps(cx + radius * std::cos(t), nudged ? nudge(random) : 0),
                   Ulps(cy + radius * std::sin(t), nudged ? nudge(random) : 0), 0};
    };
    const Point a = onCircle(false), b = onCircle(false), c = onCircle(false), d = onCircle(true);
    const int exact = ExactInCircleSign(a, b, c, d);
    ASSERT_EQ(SignOf(Icc(a, b, c, d)), exact) << i;
    ASSERT_EQ(SignOf(Icc(b, a, c, d)), -exact) << i;
    // A circle's own defining points are on it.
    ASSERT_EQ(Icc(a, b, c, a), 0.0);
  }
  EXPECT_EQ(counters.inCircleCount, 5000 * 3);
}

TEST_F(PredicatesTest, InCircleWithTailsInEveryCoordinateGetsTheExactSign) {
  // Coordinates of mixed magnitude: every difference rounds, so the last stage adds all six
  // tails' terms. d is walked by ulps across the circle through a, b, c.
  const Point a{1e-12, 1.0 + 1e-9, 0}, b{-1.0, 3e-13, 0}, c{0.1, -1.0, 0};
  const Point centreProbe{1.0, 1e-11, 0};
  for (int i = -40; i <= 40; i++) {
    for (int j = -40; j <= 40; j += 8) {
      const Point d{Ulps(centreProbe.x, i), Ulps(centreProbe.y, j), 0};
      ASSERT_EQ(SignOf(Icc(a, b, c, d)), ExactInCircleSign(a, b, c, d)) << i << " " << j;
    }
  }
}

TEST_F(PredicatesTest, CocircularPointsWithInexactDifferencesGiveExactlyZero) {
  // With y = 2^k m + 1 and x = 2^k m (2^(k-1) m + 1), x^2 + y^2 = (x + 1)^2 exactly, and x and y
  // fit in a double. The eight points (+-x, +-y), (+-y, +-x) lie on one circle centred at the
  // origin, while x - y and x + y need far more than 53 bits: every difference has a tail, so
  // only the last, exact stage can find the zero. Then one point is moved a few ulps of its
  // smaller coordinate, which changes the determinant by far less than the third stage's bound.
  // Every ordered choice of four of the eight, so that each tail term of the exact stage
  // meets a case where it is not zero.
  int cases = 0;
  for (int k : {20, 33, 40}) {
    for (double m : {1.0, 13.0}) {
      const double y = std::ldexp(m, k) + 1.0;
      const double x = std::ldexp(m, k) * (std::ldexp(m, k - 1) + 1.0);
      ASSERT_EQ(x, std::ldexp(m, k) * std::ldexp(m, k - 1) + std::ldexp(m, k)) << "x rounded";
      const Point ring[8] = {{x, y, 0},   {y, x, 0},   {-y, x, 0}, {-x, y, 0},
                             {-x, -y, 0}, {-y, -x, 0}, {y, -x, 0}, {x, -y, 0}};
      for (int i = 0; i < 8 * 8 * 8 * 8; i++) {
        const int ia = i % 8, ib = i / 8 % 8, ic = i / 64 % 8, id = i / 512;
        if (ia == ib || ia == ic || ia == id || ib == ic || ib == id || ic == id) continue;
        const Point &a = ring[ia], &b = ring[ib], &c = ring[ic], &d = ring[id];
        ASSERT_EQ(Icc(a, b, c, d), 0.0) << k << " " << m << " " << i;
        const bool smallX = std::fabs(d.x) < std::fabs(d.y);
        const int steps = i % 2 ? 1 : -1;
        const Point moved{smallX ? Ulps(d.x, steps) : d.x, smallX ? d.y : Ulps(d.y, steps), 0};
        ASSERT_EQ(SignOf(Icc(a, b, c, moved)), ExactInCircleSign(a, b, c, moved))
            << k << " " << m << " " << i;
        cases++;
      }
    }
  }
  EXPECT_EQ(cases, 6 * 8 * 7 * 6 * 5);
}

TEST_F(PredicatesTest, NoExactArithmeticInCircleIsTheRawFormula) {
  const Point a{0.1, 0.2, 0}, b{-0.3, 0.7, 0}, c{0.5, -0.9, 0}, d{0.05, 0.05, 0};
  switches.noExactArithmetic = 1;
  const double adx = a.x - d.x, ady = a.y - d.y, bdx = b.x - d.x, bdy = b.y - d.y, cdx = c.x - d.x,
               cdy = c.y - d.y;
  const double raw = (adx * adx + ady * ady) * (bdx * cdy - cdx * bdy) +
                     (bdx * bdx + bdy * bdy) * (cdx * ady - adx * cdy) +
                     (cdx * cdx + cdy * cdy) * (adx * bdy - bdx * ady);
  EXPECT_EQ(Icc(a, b, c, d), raw);
  EXPECT_EQ(counters.inCircleCount, 1);
}

// ---- Orient3D and NonRegular ----

TEST_F(PredicatesTest, CoplanarLiftsGiveExactlyZero) {
  // Heights on the planes h = 2x or h = -4y (exact scalings), coordinates spread over many
  // orders of magnitude so that the x, y and height differences all round: the zero must come
  // out of the exact stage, with every kind of tail present.
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::uniform_int_distribution<int> scale(-40, 40);
  for (int i = 0; i < 2000; i++) {
    Point p[4];
    double h[4];
    for (int k = 0; k < 4; k++) {
      p[k] = {std::ldexp(unit(random), scale(random)), std::ldexp(unit(random), scale(random)), 0};
      h[k] = i % 2 ? 2.0 * p[k].x : -4.0 * p[k].y;
    }
    ASSERT_EQ(ExactLiftedSign(p[0], p[1], p[2], p[3], h[0], h[1], h[2], h[3]), 0);
    ASSERT_EQ(Orient3D(counters, switches, p[0].p(), p[1].p(), p[2].p(), p[3].p(), h[0], h[1], h[2],
                       h[3]),
              0.0)
        << i;
    // One height a few ulps off: the exact sign of the tiny remainder.
    h[i % 4] = Ulps(h[i % 4], i % 3 - 1 ? 1 : -2);
    ASSERT_EQ(SignOf(Orient3D(counters, switches, p[0].p(), p[1].p(), p[2].p(), p[3].p(), h[0],
                              h[1], h[2], h[3])),
              ExactLiftedSign(p[0], p[1], p[2], p[3], h[0], h[1], h[2], h[3]))
        << i;
  }
  EXPECT_EQ(counters.orient3dCount, 4000);
}

TEST_F(PredicatesTest, RandomNearCoplanarLiftsGetTheExactSign) {
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::uniform_int_distribution<int> nudge(-2, 2);
  for (int i = 0; i < 5000; i++) {
    const double offset = i % 3 == 0 ? 1e6 : 0.0;
    Point p[4];
    double h[4];
    const double alpha = unit(random), beta = unit(random) * 1e-3, gamma = unit(random);
    for (int k = 0; k < 4; k++) {
      p[k] = {offset + unit(random), unit(random) * 1e3, 0};
      h[k] = Ulps(alpha * p[k].x + beta * p[k].y + gamma, nudge(random));
    }
    const int exact = ExactLiftedSign(p[0], p[1], p[2], p[3], h[0], h[1], h[2], h[3]);
    const double det = Orient3D(counters, switches, p[0].p(), p[1].p(), p[2].p(), p[3].p(), h[0],
                                h[1], h[2], h[3]);
    ASSERT_EQ(SignOf(det), exact) << i;
  }
}

TEST_F(PredicatesTest, NonRegularFollowsTheWeightMode) {
  // Small integer points: x^2 + y^2 is exact, so the mode-2 lift with attribute 0 is the
  // paraboloid and gives InCircle's sign; mode 1 lifts by the attribute alone.
  const Point a{0, 0, 0}, b{4, 0, 0}, c{0, 4, 0};
  const Point inside{1, 1, 0}, on{4, 4, 0}, outside{5, 5, 0};
  for (const Point& d : {inside, on, outside}) {
    switches.weightMode = 0;
    const double circle = NonRegular(counters, switches, a.p(), b.p(), c.p(), d.p());
    switches.weightMode = 2;
    const double lifted = NonRegular(counters, switches, a.p(), b.p(), c.p(), d.p());
    EXPECT_EQ(SignOf(circle), SignOf(lifted));
  }
  EXPECT_GT(NonRegular(counters, switches, a.p(), b.p(), c.p(), inside.p()), 0.0);
  EXPECT_EQ(counters.inCircleCount, 3);
  EXPECT_EQ(counters.orient3dCount, 4);

  // Mode 2 subtracts the weight: a heavy d is pushed below the paraboloid, i.e. "inside".
  const Point heavy{5, 5, 100};
  EXPECT_GT(NonRegular(counters, switches, a.p(), b.p(), c.p(), heavy.p()), 0.0);
  // Mode 1: a, b, c at height 0, d below them (negative height) is positive.
  switches.weightMode = 1;
  const Point below{1, 1, -1}, above{1, 1, 1};
  EXPECT_GT(NonRegular(counters, switches, a.p(), b.p(), c.p(), below.p()), 0.0);
  EXPECT_LT(NonRegular(counters, switches, a.p(), b.p(), c.p(), above.p()), 0.0);
}

}  // namespace
