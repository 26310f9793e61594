// KLY_CubicBezierCurve: evaluation, tangents and normals, adaptive sampling, arc length,
// straightness and the offset curve.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "kly/curves/cubic_bezier_curve.h"
#include "kly/package/failure.h"
#include "tests/testing/report_capture.h"

namespace {

using Vec3 = ORT_Vector3T<double>;
using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;

class TestCurve : public KLY_CubicBezierCurve {
 public:
  TestCurve(Vec3 p0, Vec3 p1, Vec3 p2, Vec3 p3) { SetControlPts(p0, p1, p2, p3); }
  const Vec3& P(int i) const { return controlPts[i]; }
};

// A quarter-circle-like arc of radius 100: curved enough to need deep sampling.
TestCurve Arc() {
  return TestCurve({100, 0, 0}, {100, 55.23, 0}, {55.23, 100, 0}, {0, 100, 0});
}

TestCurve Line() {
  return TestCurve({0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0});
}

void ExpectVecEq(const Vec3& expected, const Vec3& actual) {
  EXPECT_EQ(expected.x, actual.x);
  EXPECT_EQ(expected.y, actual.y);
  EXPECT_EQ(expected.z, actual.z);
}

double Length(const Vec3& v) {
  return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

// --- Independent checker of the adaptive list -------------------------------------------
// Every inner sample is the midpoint of a dyadic leaf, (2k + 1) / 2^(L + 1) for a leaf of level
// L; the leaves must tile [0, 1], respect the depth bounds, be flat (below the cap) and have a
// parent that was not flat (above the floor). Flatness is recomputed here from the rule: the
// squared distance of the points at a quarter, half and three quarters of a span from the line
// through its end points, by projection rather than by a cross product.
bool CheckerFlat(TestCurve& curve, double t0, double t1, double tolerance) {
  Vec3 a, b;
  curve.Eval(t0, a);
  curve.Eval(t1, b);
  const Vec3 d = b - a;
  const double dd = d.x * d.x + d.y * d.y + d.z * d.z;
  if (dd < 1e-6) return true;
  for (double f : {0.25, 0.5, 0.75}) {
    Vec3 s;
    curve.Eval(t0 + f * (t1 - t0), s);
    const Vec3 w = s - a;
    const double along = (w.x * d.x + w.y * d.y + w.z * d.z) / dd;
    const Vec3 off = w - d * along;
    if (off.x * off.x + off.y * off.y + off.z * off.z > tolerance * tolerance) return false;
  }
  return true;
}

void CheckAdaptiveList(TestCurve& curve, double tolerance, uint32_t minDepth, uint32_t maxDepth,
                       const std::vector<double>& list) {
  ASSERT_GE(list.size(), 3u);
  EXPECT_EQ(0.0, list.front());
  EXPECT_EQ(1.0, list.back());
  const uint32_t floorLevel = std::max<uint32_t>(minDepth, 2);
  const uint32_t cap = std::min<uint32_t>(maxDepth, 10);
  double covered = 0.0;
  for (size_t i = 1; i + 1 < list.size(); ++i) {
    const double m = list[i];
    uint32_t level = 0;
    while (std::ldexp(m, static_cast<int>(level) + 1) != std::floor(std::ldexp(m, level + 1))) {
      ++level;
    }
    const double width = std::ldexp(1.0, -static_cast<int>(level));
    const double t0 = m - width / 2, t1 = m + width / 2;
    EXPECT_EQ(covered, t0) << "leaves must tile [0, 1] in order, at sample " << m;
    covered = t1;
    EXPECT_GE(level, floorLevel);
    EXPECT_LE(level, std::max(floorLevel, cap));
    if (level < cap && level >= floorLevel) {
      EXPECT_TRUE(CheckerFlat(curve, t0, t1, tolerance)) << m;
    }
    if (level > floorLevel) {
      const double parentWidth = 2 * width;
      const double p0 = std::floor(t0 / parentWidth) * parentWidth;
      EXPECT_FALSE(CheckerFlat(curve, p0, p0 + parentWidth, tolerance)) << m;
    }
  }
  EXPECT_EQ(1.0, covered);
}

// --- Construction and evaluation ------------------------------------------------------

TEST(CurveConstruction, ThreePointFormMultipliesByTheThirdConstant) {
  // a + 2b = 5 in x: 5 * 0.3333333333333333 is 1.6666666666666665, whereas 5 / 3 would round
  // to 1.6666666666666667. Likewise 7 for P2 (c + 2b = 1 + 6).
  TestCurve curve({0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0});
  curve.SetControlPts({1, 0, 0}, {2, 0, 0}, {1, 0, 0});
  EXPECT_EQ(1.6666666666666665, curve.P(1).x);
  curve.SetControlPts({1, 0, 0}, {3, 0, 0}, {1, 0, 0});
  EXPECT_EQ(2.333333333333333, curve.P(2).x);
  ExpectVecEq({1, 0, 0}, curve.P(0));
  ExpectVecEq({1, 0, 0}, curve.P(3));
}

TEST(CurveEvaluation, EndsMiddleAndUnclampedParameter) {
  TestCurve curve({0, 0, 0}, {0, 3, 0}, {3, 3, 3}, {3, 0, 6});
  Vec3 out;
  curve.Eval(0.0, out);
  ExpectVecEq({0, 0, 0}, out);
  curve(1.0, out);
  ExpectVecEq({3, 0, 6}, out);
  // At 0.5 the weights are 1/8, 3/8, 3/8, 1/8: x = (3*3 + 3)/8, y = (9 + 9)/8, z = (9 + 6)/8.
  curve.Eval(0.5, out);
  ExpectVecEq({1.5, 2.25, 1.875}, out);  // sums of eighths: exact
  // t is not clamped: a line at thirds extrapolates linearly.
  TestCurve line = Line();
  line.Eval(2.0, out);
  EXPECT_DOUBLE_EQ(6.0, out.x);
}

// --- Tangents and normals -------------------------------------------------------------

TEST(CurveTangent, DerivativeAndEndFallbacks) {
  Vec3 out;
  // Line at thirds: B' = 3 (1, 0, 0) everywhere.
  TestCurve line = Line();
  line.GetTangentVec(0.3, out);
  EXPECT_DOUBLE_EQ(3.0, out.x);
  EXPECT_EQ(0.0, out.y);

  // P1 = P0: the derivative vanishes at 0, so the tangent is 6 (P2 - P0) / |P2 - P0|.
  TestCurve startPinned({1, 1, 0}, {1, 1, 0}, {4, 5, 0}, {9, 9, 0});
  startPinned.GetTangentVec(0.0, out);
  EXPECT_NEAR(6.0 * 3 / 5, out.x, 1e-15);
  EXPECT_NEAR(6.0 * 4 / 5, out.y, 1e-15);
  EXPECT_NEAR(6.0, Length(out), 1e-14);

  // P2 = P3: at 1 the tangent is 6 (P3 - P1) / |P3 - P1|.
  TestCurve endPinned({0, 0, 0}, {0, 4, 0}, {3, 0, 0}, {3, 0, 0});
  endPinned.GetTangentVec(1.0, out);
  EXPECT_NEAR(6.0 * 3 / 5, out.x, 1e-15);
  EXPECT_NEAR(-6.0 * 4 / 5, out.y, 1e-15);

  // P0 = P1 = P2: W is zero, so 6 W stands, the zero vector.
  TestCurve collapsed({2, 2, 2}, {2, 2, 2}, {2, 2, 2}, {5, 2, 2});
  collapsed.GetTangentVec(0.0, out);
  ExpectVecEq({0, 0, 0}, out);

  // B'(1/2) = 3/4 (P2 + P3 - P0 - P1): zero for this cusp, and kept as it is inside the curve.
  TestCurve cusp({0, 0, 0}, {2, 2, 0}, {0, 2, 0}, {2, 0, 0});
  cusp.GetTangentVec(0.5, out);
  ExpectVecEq({0, 0, 0}, out);
}

TEST(CurveNormal, RightHandSideInXYAndItsFallbacks) {
  const struct {
    TestCurve curve;
    Vec3 normal;
  } cases[] = {
      // Line at thirds: tangent (3, 0, 0), normal (Ty, -Tx, 0) = (0, -3, 0), not normalised.
      {Line(), {0, -3, 0}},
      {TestCurve({0, 0, 0}, {0, 0, 1}, {0, 0, 2}, {0, 0, 3}), {1, 0, 0}},
      // A cusp at 1/2 (P0 + P1 = P2 + P3) with an XY chord: the chord's normal (Cy, -Cx, 0).
      {TestCurve({0, 0, 0}, {2, 2, 0}, {0, 2, 0}, {2, 0, 0}), {0, -2, 0}},
      // A cusp whose chord runs along Z: the zero vector, which Offset then refuses.
      {TestCurve({0, 0, 0}, {0, 0, 2}, {0, 0, 0}, {0, 0, 2}), {0, 0, 0}},
      // Four equal points: no tangent and no chord, so the X axis.
      {TestCurve({1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}), {1, 0, 0}},
  };
  for (auto c : cases) {
    Vec3 out;
    c.curve.GetNormalVec(0.5, out);
    ExpectVecEq(c.normal, out);
  }
}

// --- Adaptive sampling ------------------------------------------------------------------

struct SubdivideCase {
  const char* name;
  TestCurve curve;
  uint32_t minDepth, maxDepth;
  std::vector<double> expected;
};

TEST(CurveSubdivide, FixedListsFromTheDepthRules) {
  const std::vector<double> twoLevels = {0, 0.125, 0.375, 0.625, 0.875, 1};
  std::vector<double> threeLevels = {0};
  for (int k = 0; k < 8; ++k) threeLevels.push_back((2 * k + 1) / 16.0);
  threeLevels.push_back(1);
  const SubdivideCase cases[] = {
      // A line needs no refinement; the floor of two levels still gives four leaves.
      {"straight line, depth 0/0", Line(), 0, 0, twoLevels},
      {"straight line, deep cap", Line(), 0, 10, twoLevels},
      // Level 2 leaves on the 1e-6 test of coinciding ends.
      {"four equal points", TestCurve({4, 4, 4}, {4, 4, 4}, {4, 4, 4}, {4, 4, 4}), 0, 10,
       twoLevels},
      // maxDepth 0 and 1 behave as 2, even on a curve that would want more.
      {"arc, maxDepth 0", Arc(), 0, 0, twoLevels},
      {"arc, maxDepth 1", Arc(), 1, 1, twoLevels},
      {"arc, maxDepth 2", Arc(), 0, 2, twoLevels},
      {"line, minDepth 3", Line(), 3, 3, threeLevels},
  };
  for (const SubdivideCase& c : cases) {
    TestCurve curve = c.curve;
    std::vector<double> list;
    curve.Subdivide(KLY_CubicBezierCurve::kFlatness, c.minDepth, c.maxDepth, list);
    EXPECT_EQ(c.expected, list) << c.name;
  }
}

TEST(CurveSubdivide, MinDepthBeatsTheCapOfTenLevels) {
  // Level 12 everywhere: 4096 leaves plus the two ends.
  TestCurve line = Line();
  std::vector<double> list;
  line.Subdivide(KLY_CubicBezierCurve::kFlatness, 12, 3, list);
  ASSERT_EQ(4098u, list.size());
  EXPECT_EQ(1.0 / 8192, list[1]);
}

TEST(CurveSubdivide, AppendsWithoutClearing) {
  TestCurve line = Line();
  std::vector<double> list = {42.0};
  line.Subdivide(0.5, 0, 0, list);
  line.Subdivide(0.5, 0, 0, list);
  const std::vector<double> expected = {42, 0,     0.125, 0.375, 0.625, 0.875, 1,
                                        0,  0.125, 0.375, 0.625, 0.875, 1};
  EXPECT_EQ(expected, list);
}

TEST(CurveSubdivide, AdaptiveListsPassTheIndependentChecker) {
  TestCurve curves[] = {
      Arc(),
      TestCurve({0, 0, 0}, {10, 30, 0}, {20, -30, 5}, {30, 0, 0}),  // S-bend leaving the plane
      TestCurve({0, 0, 0}, {40, 40, 0}, {-40, 40, 0}, {1, 0, 0}),   // a loop, nearly closed
      TestCurve({0, 0, 0}, {0, 0, 0}, {50, 1, 0}, {100, 0, 0}),     // control point on its end
  };
  for (TestCurve& curve : curves) {
    for (uint32_t maxDepth : {4u, 7u, 10u, 14u}) {
      for (double tolerance : {0.0078125, 0.5}) {
        std::vector<double> list;
        curve.Subdivide(tolerance, 0, maxDepth, list);
        CheckAdaptiveList(curve, tolerance, 0, maxDepth, list);
      }
    }
  }
}

TEST(CurveSubdivide, ClosedLoopIsRefinedPastItsCoincidingEnds) {
  // P0 = P3: the floor takes levels 0 and 1 whatever the ends say; below that the spans have
  // distinct ends and are curved, so the loop is refined like any other curve.
  TestCurve loop({0, 0, 0}, {60, 60, 0}, {-60, 60, 0}, {0, 0, 0});
  std::vector<double> list;
  loop.Subdivide(KLY_CubicBezierCurve::kFlatness, 0, 10, list);
  EXPECT_GT(list.size(), 6u);
  CheckAdaptiveList(loop, KLY_CubicBezierCurve::kFlatness, 0, 10, list);
}

TEST(CurveSubdivide, NearlyCoincidingSpanEndsAreFlatEvenAroundALoop) {
  // With P0 = 0, B(1/4) = (27 P1 + 9 P2 + P3) / 64 = (0.032 / 64, 0) = (5e-4, 0) here: the span
  // [0, 1/4] loops out about 0.3 and back, yet its ends are nearer than 1e-3 (squared 2.5e-7,
  // below 1e-6), so it is a leaf of level 2 and contributes only 1/8. Its neighbour is curved
  // and refined further.
  TestCurve curve({0, 0, 0}, {1, 1, 0}, {-3, 1, 0}, {0.032, -36, 0});
  Vec3 quarter;
  curve.Eval(0.25, quarter);
  ASSERT_NEAR(5e-4, quarter.x, 1e-15);
  ASSERT_NEAR(0.0, quarter.y, 1e-15);
  std::vector<double> list;
  curve.Subdivide(KLY_CubicBezierCurve::kFlatness, 0, 10, list);
  ASSERT_GT(list.size(), 3u);
  EXPECT_EQ(0.125, list[1]);
  EXPECT_LT(list[2], 0.375);
}

TEST(CurveSubdivide, QuarterPointsCatchAnSBendWhoseMiddleIsOnItsChord) {
  // The S-curve (0,0) (1,1) (2,-1) (3,0), extended so that it is this curve's span [0, 1/4]:
  // B(1/8) = (1.5, 0) lies on the span's chord, B(1/16) is 0.28 off it. The span must be split.
  TestCurve curve({0, 0, 0}, {4, 4, 0}, {8, -40, 0}, {12, 252, 0});
  std::vector<double> list;
  curve.Subdivide(KLY_CubicBezierCurve::kFlatness, 0, 10, list);
  ASSERT_GT(list.size(), 3u);
  EXPECT_LT(list[1], 0.125);
}

TEST(CurveSubdivide, AbsurdMinDepthIsRefusedNotExhausted) {
  TestCurve line = Line();
  std::vector<double> list;
  EXPECT_THROW(line.Subdivide(KLY_CubicBezierCurve::kFlatness, 21, 10, list), std::length_error);
  EXPECT_TRUE(list.empty());
  EXPECT_NO_THROW(line.Subdivide(KLY_CubicBezierCurve::kFlatness, 20, 10, list));
  EXPECT_EQ((1u << 20) + 2, list.size());
}

TEST(CurveSubdivide, NonFiniteControlPointsStopAtTheFloor) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<double> twoLevels = {0, 0.125, 0.375, 0.625, 0.875, 1};
  for (double bad : {nan, inf, -inf}) {
    TestCurve curve({0, 0, 0}, {bad, 1, 0}, {2, 2, 0}, {3, 0, 0});
    std::vector<double> list;
    curve.Subdivide(KLY_CubicBezierCurve::kFlatness, 0, 10, list);
    EXPECT_EQ(twoLevels, list);
    EXPECT_TRUE(std::isnan(curve.ArcLength(0, 10)));
  }
}

// --- Arc length -------------------------------------------------------------------------

TEST(CurveArcLength, LinesExactPointsZeroCurvesSlightlyShort) {
  TestCurve line = Line();
  EXPECT_DOUBLE_EQ(3.0, line.ArcLength(0, 10));
  TestCurve point({5, 5, 5}, {5, 5, 5}, {5, 5, 5}, {5, 5, 5});
  EXPECT_EQ(0.0, point.ArcLength(0, 10));

  // Midpoint sampling cuts corners: shorter than a fine polygon, but within a small margin.
  TestCurve arc = Arc();
  double fine = 0.0;
  Vec3 previous, point2;
  arc.Eval(0.0, previous);
  for (int i = 1; i <= 100000; ++i) {
    arc.Eval(i / 100000.0, point2);
    fine += Length(point2 - previous);
    previous = point2;
  }
  const double adaptive = arc.ArcLength(0, 10);
  EXPECT_LT(adaptive, fine);
  EXPECT_GT(adaptive, fine - 0.01);
}

// --- Straightness -----------------------------------------------------------------------

TEST(CurveIsStraight, SquaredCosineTable) {
  struct Case {
    TestCurve curve;
    bool straight;
  } cases[] = {
      {Line(), true},
      // A control point behind the start has cosine -1: squared, it still counts as in line.
      {TestCurve({0, 0, 0}, {-1, 0, 0}, {2, 0, 0}, {3, 0, 0}), true},
      // A control point on the start point: 0 > 0 is false.
      {TestCurve({0, 0, 0}, {0, 0, 0}, {2, 0, 0}, {3, 0, 0}), false},
      {TestCurve({0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {3, 0, 0}), false},
      // Off by an angle with cos^2 = 1 / (1 + 0.05^2) = 0.9975 < 0.998, and 0.04^2: 0.9984.
      {TestCurve({0, 0, 0}, {1, 0.05, 0}, {2, 0, 0}, {3, 0, 0}), false},
      {TestCurve({0, 0, 0}, {1, 0.04, 0}, {2, 0, 0}, {3, 0, 0}), true},
      {Arc(), false},
  };
  for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i) {
    EXPECT_EQ(cases[i].straight, cases[i].curve.IsStraight()) << "case " << i;
  }
}

// --- Offset -----------------------------------------------------------------------------

TEST(CurveOffset, AlwaysFourPiecesJoinedAndShifted) {
  TestCurve arc = Arc();
  const Vec3 startNormal{2, 0, 0};  // unnormalised on purpose: used as it stands
  const Vec3 endNormal{0, 1, 0};
  for (double tolerance : {1e-9, 0.5, 100.0}) {
    for (uint32_t depth : {0u, 2u, 10u}) {
      std::vector<KLY_CubicBezierCurve> out(7, arc);
      arc.Offset(3.0, startNormal, endNormal, tolerance, depth, out);
      ASSERT_EQ(4u, out.size());
      Vec3 first[4], last[4];
      out[0].GetControlPts(first[0], first[1], first[2], first[3]);
      out[3].GetControlPts(last[0], last[1], last[2], last[3]);
      ExpectVecEq({106, 0, 0}, first[0]);  // P0 + 3 (2, 0, 0)
      ExpectVecEq({0, 103, 0}, last[3]);   // P3 + 3 (0, 1, 0)
      for (int i = 0; i < 3; ++i) {
        Vec3 a[4], b[4];
        out[i].GetControlPts(a[0], a[1], a[2], a[3]);
        out[i + 1].GetControlPts(b[0], b[1], b[2], b[3]);
        ExpectVecEq(a[3], b[0]);  // joins stay joined
        // The inner join moved by 3 along the unit XY normal of the arc at (i + 1) / 4, the
        // right-hand side of the walk: outwards for this counter-clockwise arc.
        Vec3 onCurve, tangent;
        arc.Eval((i + 1) / 4.0, onCurve);
        arc.GetTangentVec((i + 1) / 4.0, tangent);
        const double l = std::hypot(tangent.x, tangent.y);
        EXPECT_NEAR(onCurve.x + 3 * tangent.y / l, a[3].x, 1e-9);
        EXPECT_NEAR(onCurve.y - 3 * tangent.x / l, a[3].y, 1e-9);
      }
    }
  }
}

TEST(CurveOffset, ZeroInnerNormalFailsAfterReport) {
  // Along Z, the pieces are z = (0, 1, 1.5, 1.75) and (1.75, 2, 2, 2), ...: piece 0 ends with a
  // tangent along Z, whose normal is the X axis; piece 1's end tangent vanishes, its fallback
  // P3 - P1 is zero and its chord runs along Z, so its XY normal is the zero vector.
  TestCurve zCurve({0, 0, 0}, {0, 0, 4}, {0, 0, 0}, {0, 0, 4});
  ReportCapture capture;
  std::vector<KLY_CubicBezierCurve> out;
  EXPECT_EQ(KLY_kErrNormalisation, ThrownNumber([&] {
              zCurve.Offset(1.0, {1, 0, 0}, {1, 0, 0}, 0.5, 2, out);
            }));
  ASSERT_EQ(4u, out.size());
  // Piece 0 was moved before piece 1 failed: its start by the start normal, its end by X.
  Vec3 p[4];
  out[0].GetControlPts(p[0], p[1], p[2], p[3]);
  ExpectVecEq({1, 0, 0}, p[0]);
  ExpectVecEq({1, 0, 1.75}, p[3]);
  out[1].GetControlPts(p[0], p[1], p[2], p[3]);
  ExpectVecEq({0, 0, 1.75}, p[0]);
  EXPECT_EQ(capture.reports(),
            std::vector<kly::testing::Report>{kly::testing::NormalisationReport()});
}

TEST(CurveOffset, NonFiniteControlPointsDoNotFail) {
  // NaN tangents lie outside every band, so the normal is NaN, which is not below the limit:
  // NaN pieces come out, and nothing is thrown or reported.
  const double nan = std::numeric_limits<double>::quiet_NaN();
  TestCurve curve({0, 0, 0}, {nan, 0, 0}, {2, 1, 0}, {3, 0, 0});
  ReportCapture capture;
  std::vector<KLY_CubicBezierCurve> out;
  EXPECT_EQ(0, ThrownNumber([&] { curve.Offset(1.0, {0, 1, 0}, {0, 1, 0}, 0.5, 2, out); }));
  EXPECT_EQ(4u, out.size());
  EXPECT_TRUE(capture.reports().empty());
}

}  // namespace
