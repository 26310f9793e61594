// KLY_Contour: the point and code walk, flattening, pure Bezier chains, tests of shape,
// transforms and saved state.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "kly/curves/contour.h"
#include "kly/curves/cubic_bezier_curve.h"
#include "kly/package/failure.h"
#include "tests/testing/report_capture.h"

namespace {

using Vec3 = ORT_Vector3T<double>;
using Points = std::vector<Vec3>;
using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;
using kly::testing::ThrownText;

class ExposedContour : public KLY_Contour {
 public:
  using KLY_Contour::codes;
  using KLY_Contour::originalCodes;
  using KLY_Contour::originalPoints;
  using KLY_Contour::points;
};

// A contour from points and their codes, with granularity 0..10.
ExposedContour Make(const Points& points, const std::vector<uint32_t>& codes, bool closed) {
  ExposedContour contour;
  for (const Vec3& p : points) contour.AppendVertexPosition(p);
  for (uint32_t c : codes) contour.AppendVertexCode(c);
  contour.SetClosed(closed);
  contour.SetGranularity(0, 10);
  return contour;
}

Vec3 Mid(const Vec3& a, const Vec3& b) {
  return a + (b - a) * 0.5;
}

void ExpectPointsEq(const Points& expected, const Points& actual) {
  ASSERT_EQ(expected.size(), actual.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(expected[i].x, actual[i].x) << "point " << i;
    EXPECT_EQ(expected[i].y, actual[i].y) << "point " << i;
    EXPECT_EQ(expected[i].z, actual[i].z) << "point " << i;
  }
}

const Vec3 kP0{0, 0, 0}, kP1{4, 0, 0}, kP2{0, 3, 0};

// --- Accessors ---------------------------------------------------------------------------

TEST(ContourAccess, GranularityCapAndCheckedReads) {
  ExposedContour contour = Make({kP0, kP1}, {0, 1}, false);
  contour.SetGranularity(0, 99);
  uint32_t min = 7, max = 7;
  contour.GetGranularity(min, max);
  EXPECT_EQ(0u, min);
  EXPECT_EQ(10u, max);
  contour.SetGranularity(12, 4);  // the minimum is stored as it is
  contour.GetGranularity(min, max);
  EXPECT_EQ(12u, min);
  EXPECT_EQ(4u, max);

  Vec3 p;
  uint32_t code = 9;
  contour.GetPoint(1, p);
  contour.GetCode(1, code);
  EXPECT_EQ(kP1, p);
  EXPECT_EQ(1u, code);
  EXPECT_EQ("invalid vector<T> subscript",
            ThrownText<std::out_of_range>([&] { contour.GetPoint(2, p); }));
  EXPECT_EQ("invalid vector<T> subscript",
            ThrownText<std::out_of_range>([&] { contour.GetCode(2, code); }));

  contour.SaveToOriginal();
  contour.ClearVerticesAndCodes();
  EXPECT_EQ(0u, contour.Size());
  EXPECT_EQ(2u, contour.originalPoints.size());
  bool closed = true;
  contour.GetClosed(closed);
  EXPECT_FALSE(closed);
}

// --- PolygonalApprox -----------------------------------------------------------------------

TEST(ContourPolygonalApprox, LinesGainMidpointsAndTheClosingLine) {
  Points out;
  // Closed triangle, first point not repeated: p0, m01, p1, m12, p2, m20, p0.
  Make({kP0, kP1, kP2}, {0, 1, 1}, true).PolygonalApprox(out);
  ExpectPointsEq({kP0, Mid(kP0, kP1), kP1, Mid(kP1, kP2), kP2, Mid(kP0, kP2), kP0}, out);

  // Repeating the first point: nothing is added, the first point stands once at each end.
  Make({kP0, kP1, kP2, kP0}, {0, 1, 1, 1}, true).PolygonalApprox(out);
  ExpectPointsEq({kP0, Mid(kP0, kP1), kP1, Mid(kP1, kP2), kP2, Mid(kP2, kP0), kP0}, out);

  // Open: no closing line.
  Make({kP0, kP1, kP2}, {0, 1, 1}, false).PolygonalApprox(out);
  ExpectPointsEq({kP0, Mid(kP0, kP1), kP1, Mid(kP1, kP2), kP2}, out);
}

TEST(ContourPolygonalApprox, CurvesAreSampledLikeTheCurve) {
  const Vec3 c1{0, 50, 0}, c2{50, 100, 0}, end{100, 100, 0};
  ExposedContour contour = Make({kP0, c1, c2, end}, {0, 2, 2, 2}, false);
  contour.SetGranularity(1, 7);
  Points out;
  contour.PolygonalApprox(out);

  KLY_CubicBezierCurve curve;
  curve.SetControlPts(kP0, c1, c2, end);
  std::vector<double> parameters;
  curve.Subdivide(0.0078125, 1, 7, parameters);
  Points expected = {kP0};
  for (size_t i = 1; i < parameters.size(); ++i) {
    Vec3 p;
    curve(parameters[i], p);
    expected.push_back(p);
  }
  ExpectPointsEq(expected, out);
}

TEST(ContourPolygonalApprox, DuplicatesMergeInXYIgnoringZ) {
  Points out;
  // p1 and p1' differ only in z: the earlier one goes. Between them, the line's midpoint is
  // also within 1e-6 and goes too.
  const Vec3 p1z{4, 0, 7};
  Make({kP0, kP1, p1z, kP2}, {0, 1, 1, 1}, false).PolygonalApprox(out);
  ExpectPointsEq({kP0, Mid(kP0, kP1), p1z, Mid(p1z, kP2), kP2}, out);

  // Points 0.9e-6 apart in x merge; 1.1e-6 apart they do not.
  Make({kP0, {9e-7, 0, 0}}, {0, 0}, false).PolygonalApprox(out);
  ExpectPointsEq({{9e-7, 0, 0}}, out);
  Make({kP0, {1.1e-6, 0, 0}}, {0, 0}, false).PolygonalApprox(out);
  EXPECT_EQ(2u, out.size());
}

TEST(ContourPolygonalApprox, NearEqualityOfTheClosingPointTable) {
  // A closed contour whose last point is the first moved by a little in x. When the two are
  // "equal" no closing line is added and the last point ends the polygon; when they are not,
  // the closing midpoint and the first point are added, and the duplicate pass leaves the
  // first point at the end. Equal: t > hi - lo, t = max(hi * 1e-12, 1.000088900582341e-12),
  // with (hi, lo) mirrored to (-lo, -hi) when hi < 0.
  struct Case {
    double first, last;
    bool equal;
  } cases[] = {
      {0.0, 1.0e-12, true},        // floor 1.0000889e-12 > 1e-12
      {0.0, 1.00008e-12, true},    // still below the floor's exact digits
      {0.0, 1.0001e-12, false},    // just past it
      {1e6, 1e6 + 9e-7, true},     // relative: t = 1e-6
      {1e6, 1e6 + 1.5e-6, false},  //
      {-1e6, -1e6 - 9e-7, true},   // mirrored: the magnitude sets t
      {-1e-13, 1e-13, true},       // straddling zero, under the floor
  };
  for (const Case& c : cases) {
    const Vec3 first{c.first, 5, 0}, last{c.last, 5, 0};
    Points out;
    Make({first, {c.first + 10, 5, 0}, {c.first + 10, 15, 0}, last}, {0, 1, 1, 1}, true)
        .PolygonalApprox(out);
    EXPECT_EQ(c.equal ? c.last : c.first, out.back().x) << c.first << " vs " << c.last;
  }
}

TEST(ContourPolygonalApprox, MalformedInputStaysInBounds) {
  Points out;
  // A curve with no point before it flattens as a start; a curve cut short as lines.
  Make({kP1, kP2}, {2, 2}, false).PolygonalApprox(out);
  ExpectPointsEq({kP1, Mid(kP1, kP2), kP2}, out);
  // More codes than points, and fewer: the walk stops at the shorter.
  Make({kP0, kP1}, {0, 1, 1, 1}, false).PolygonalApprox(out);
  ExpectPointsEq({kP0, Mid(kP0, kP1), kP1}, out);
  Make({kP0, kP1, kP2}, {0}, false).PolygonalApprox(out);
  ExpectPointsEq({kP0}, out);
  // An unknown code flattens as a line; an empty contour as nothing.
  Make({kP0, kP1}, {0, 7}, false).PolygonalApprox(out);
  ExpectPointsEq({kP0, Mid(kP0, kP1), kP1}, out);
  Make({}, {}, true).PolygonalApprox(out);
  EXPECT_TRUE(out.empty());
}

// --- PureBezier ----------------------------------------------------------------------------

TEST(ContourPureBezier, LinesBecomeCubicsAtSinglePrecisionThirds) {
  Points out;
  Make({kP0}, {0}, false).PureBezier(out);  // one point: 1 modulo 3, no failure
  ExpectPointsEq({kP0}, out);

  const Vec3 a{3, 0, 0}, b{0, 3, 0};
  // (a 0.6666666865348816 + b 0.3333333432674408): x = 3 * 0.6666666865348816 exactly
  // 2.0000000596046448, y = 3 * 0.3333333432674408 = 1.0000000298023224.
  const Vec3 third{2.0000000596046448, 1.0000000298023224, 0};
  const Vec3 twoThirds{1.0000000298023224, 2.0000000596046448, 0};
  Make({a, b}, {0, 1}, false).PureBezier(out);
  ExpectPointsEq({a, third, twoThirds, b}, out);

  // Closed: the closing cubic from b back to a.
  Make({a, b}, {0, 1}, true).PureBezier(out);
  ExpectPointsEq({a, third, twoThirds, b, twoThirds, third, a}, out);
}

TEST(ContourPureBezier, CurvesCopiedEmptyCubicsDropped) {
  const Vec3 c1{1, 2, 0}, c2{3, 2, 0}, e{4, 0, 0};
  Points out;
  // A line of length zero (repeated point) becomes an empty cubic and is dropped; so is a
  // closing cubic whose ends are within 1e-6 though not "equal".
  Make({kP0, c1, c2, e, e, {1e-9, 0, 0}}, {0, 2, 2, 2, 1, 1}, true).PureBezier(out);
  // A dropped cubic takes its start and control points with it and leaves its end, so the
  // line from e keeps its control points (computed towards 1e-9) but now ends on the start.
  const Vec3 near{1e-9, 0, 0};
  const Vec3 lineThird = e * 0.6666666865348816 + near * 0.3333333432674408;
  const Vec3 lineTwoThirds = e * 0.3333333432674408 + near * 0.6666666865348816;
  ExpectPointsEq({kP0, c1, c2, e, lineThird, lineTwoThirds, kP0}, out);

  // A closed loop of curves ending where it began: no closing cubic.
  Make({kP0, c1, c2, e, {4, -2, 0}, {0, -2, 0}, kP0}, {0, 2, 2, 2, 2, 2, 2}, true).PureBezier(out);
  EXPECT_EQ(7u, out.size());
}

TEST(ContourPureBezier, FailuresReportThenThrowOutlineNumber) {
  const std::string failed = "KLY: Construction of contour failed. Try reducing the bevel size.";
  const struct {
    const char* name;
    Points points;
    std::vector<uint32_t> codes;
    std::string text;
  } cases[] = {
      {"second start", {kP0, kP1, kP2}, {0, 1, 0}, failed},
      {"line first", {kP0, kP1}, {1, 1}, failed},
      {"curve cut short", {kP0, kP1, kP2}, {0, 2, 2}, failed},
      {"unknown code", {kP0, kP1}, {0, 3}, failed},
      // No points: 0 modulo 3 is not 1.
      {"empty", {}, {}, "KLY: Incorrect points for a bezier contour. Try reducing the bevel size."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ReportCapture capture;
    Points out;
    EXPECT_EQ(0x5803, ThrownNumber([&] { Make(c.points, c.codes, false).PureBezier(out); }));
    EXPECT_EQ(capture.reports(), (std::vector<kly::testing::Report>{{0x580001, 8, c.text}}));
  }
}

// --- ReverseOrientation, IsDuplicate, TestContour ---------------------------------------------

TEST(ContourReverseOrientation, CodesReversedByPositionThenStartAndLine) {
  ExposedContour lines = Make({kP0, kP1, kP2}, {0, 1, 1}, true);
  lines.ReverseOrientation();
  ExpectPointsEq({kP2, kP1, kP0}, lines.points);
  EXPECT_EQ((std::vector<uint32_t>{0, 1, 1}), lines.codes);

  // A line then a curve: reversed 2, 2, 2, 1, 0, then 0 first and 1 last. The curve's codes now
  // start one point early: the odd shape kept on purpose.
  ExposedContour mixed = Make({kP0, kP1, {5, 5, 0}, {6, 6, 0}, {7, 7, 0}}, {0, 1, 2, 2, 2}, false);
  mixed.ReverseOrientation();
  EXPECT_EQ((std::vector<uint32_t>{0, 2, 2, 1, 1}), mixed.codes);

  ExposedContour single = Make({kP0}, {0}, false);
  single.ReverseOrientation();
  EXPECT_EQ((std::vector<uint32_t>{1}), single.codes);

  ExposedContour empty = Make({}, {}, false);
  empty.ReverseOrientation();
  EXPECT_TRUE(empty.codes.empty());
}

TEST(ContourIsDuplicate, FirstPointAgainstAllOfOtherNotSymmetrical) {
  ExposedContour a = Make({{4, 0, 0}, {9, 9, 0}}, {0, 1}, false);
  ExposedContour b = Make({kP0, {4, 5e-7, 0}, kP2}, {0, 1, 1}, false);
  EXPECT_TRUE(a.IsDuplicate(b));   // a's first point is b's middle point, within 1e-6
  EXPECT_FALSE(b.IsDuplicate(a));  // b's first point is nowhere in a
  ExposedContour zApart = Make({{4, 0, 2e-6}}, {0}, false);
  EXPECT_FALSE(zApart.IsDuplicate(b));  // z counts here
  ExposedContour empty = Make({}, {}, false);
  EXPECT_FALSE(a.IsDuplicate(empty));
  EXPECT_FALSE(empty.IsDuplicate(a));
}

TEST(ContourTestContour, ValidityTable) {
  struct Case {
    const char* name;
    Points points;
    std::vector<uint32_t> codes;
    bool valid;
  } cases[] = {
      {"triangle", {kP0, kP1, kP2}, {0, 1, 1}, true},
      {"two points", {kP0, kP1}, {0, 1}, false},
      {"second move", {kP0, kP1, kP2, {1, 1, 0}}, {0, 1, 0, 1}, false},
      {"zero-height box", {kP0, kP1, {8, 0, 0}}, {0, 1, 1}, false},
      // The open shoelace sum: 1*1 - 0*0 + 0*2 - 1*1 = 0, though the closed triangle has area.
      {"open sum zero", {{1, 0, 0}, {0, 1, 0}, {1, 2, 0}}, {0, 1, 1}, false},
      // Sum 2e-6 * 1 = 2e-6 passes 1e-6, box 2e-6 wide passes 1e-6: valid.
      {"thin but enough", {kP0, {2e-6, 0, 0}, {2e-6, 1, 0}}, {0, 1, 1}, true},
      {"sum just under", {kP0, {2e-6, 0, 0}, {2e-6, 0.4, 0}}, {0, 1, 1}, false},
  };
  for (Case& c : cases) {
    EXPECT_EQ(c.valid, Make(c.points, c.codes, true).TestContour()) << c.name;
  }
}

// --- Transforms and saved state ----------------------------------------------------------

ORT_Matrix4 Translation(double x, double y, double z) {
  ORT_Matrix4 m = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {x, y, z, 1}}};
  return m;
}

TEST(ContourTransforms, ApplyFromBaseAppendAccumulatesRevertReturns) {
  ExposedContour contour = Make({kP0, kP1}, {0, 1}, false);
  contour.ApplyTransform(Translation(1, 0, 0));
  contour.ApplyTransform(Translation(1, 0, 0));  // does not add up
  ExpectPointsEq({{1, 0, 0}, {5, 0, 0}}, contour.points);
  contour.AppendTransform(Translation(0, 2, 0));  // adds up
  contour.AppendTransform(Translation(0, 2, 0));
  ExpectPointsEq({{1, 4, 0}, {5, 4, 0}}, contour.points);
  ExpectPointsEq({kP0, kP1}, contour.originalPoints);
  // Row-vector rule: a 90 degree turn about Z maps x to y.
  ORT_Matrix4 turn = {{{0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
  contour.ApplyTransform(turn);
  ExpectPointsEq({kP0, {0, 4, 0}}, contour.points);
  contour.RevertTransform();
  ExpectPointsEq({kP0, kP1}, contour.points);
  EXPECT_TRUE(contour.originalPoints.empty());
  contour.RevertTransform();  // nothing saved: nothing happens
  ExpectPointsEq({kP0, kP1}, contour.points);
}

TEST(ContourSavedState, RevertTransformKeepsSavedCodesRevertToOriginalIsUnguarded) {
  ExposedContour contour = Make({kP0, kP1, kP2}, {0, 1, 1}, false);
  contour.SaveToOriginal();
  contour.AppendTransform(Translation(3, 3, 3));
  contour.RevertTransform();
  ExpectPointsEq({kP0, kP1, kP2}, contour.points);
  EXPECT_TRUE(contour.originalPoints.empty());
  EXPECT_EQ(3u, contour.originalCodes.size());
  // Points come back from the now empty saved points, codes from the saved codes.
  contour.RevertToOriginal();
  EXPECT_TRUE(contour.points.empty());
  EXPECT_EQ((std::vector<uint32_t>{0, 1, 1}), contour.codes);
  EXPECT_TRUE(contour.originalCodes.empty());

  ExposedContour unsaved = Make({kP0, kP1}, {0, 1}, false);
  unsaved.RevertToOriginal();
  EXPECT_EQ(0u, unsaved.Size());
  EXPECT_TRUE(unsaved.codes.empty());
}

TEST(ContourBounds, SavedPointsFirst) {
  ExposedContour contour = Make({kP0, kP1}, {0, 1}, false);
  KLY_Bounds box;
  contour.GetOriginalBoundingBox(box);
  EXPECT_EQ(4.0, box.max_x);
  contour.AppendTransform(Translation(10, 0, 0));
  contour.GetOriginalBoundingBox(box);
  EXPECT_EQ(4.0, box.max_x);  // the saved base, not the moved points
  EXPECT_EQ(0.0, box.min_x);
}

// --- Arc lengths --------------------------------------------------------------------------

TEST(ContourBezierArcLength, CumulativeSizingAndShortChains) {
  ExposedContour contour = Make({}, {}, false);
  std::vector<double> lengths = {-1.0};
  Points none;
  EXPECT_EQ(0.0, contour.GetBezierArcLength(none, lengths));
  EXPECT_EQ(1u, lengths.size());  // untouched

  // Two straight cubics, of lengths 3 and 4 (a line's samples lie on it, so exact).
  Points chain = {kP0, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {3, 1, 0}, {3, 3, 0}, {3, 4, 0}};
  EXPECT_DOUBLE_EQ(7.0, contour.GetBezierArcLength(chain, lengths));
  ASSERT_EQ(2u, lengths.size());
  EXPECT_DOUBLE_EQ(3.0, lengths[0]);
  EXPECT_DOUBLE_EQ(7.0, lengths[1]);

  // n / 3 for one or two points is 0 cubics.
  Points single = {kP0};
  EXPECT_EQ(0.0, contour.GetBezierArcLength(single, lengths));
  EXPECT_TRUE(lengths.empty());

  // 3k points: the last cubic lacks its end point.
  Points six(chain.begin(), chain.begin() + 6);
  EXPECT_THROW(contour.GetBezierArcLength(six, lengths), std::out_of_range);
}

// --- Colinearity and degenerate contours -----------------------------------------------------

TEST(ContourIsColinear, WalkTable) {
  struct Case {
    const char* name;
    Points points;
    bool closed;
    double tolerance;
    bool colinear;
    double length;
  } cases[] = {
      {"one point", {kP0}, false, 0.01, false, 0.0},
      {"all equal", {kP0, kP0, kP0}, false, 0.01, false, 0.0},
      {"straight, back and forth", {kP0, {5, 0, 0}, {2, 0, 0}, {2, 0, 0}}, false, 0.01, true, 8},
      {"same, closed: halved", {kP0, {5, 0, 0}, {2, 0, 0}}, true, 0.01, true, 4},
      // The second segment is 3-4-5 off the first: 1 - 0.6 = 0.4 is past 0.3, within 0.5.
      // The length walked up to and including it stands.
      {"bend past tolerance", {kP0, {5, 0, 0}, {8, 4, 0}, {20, 4, 0}}, false, 0.3, false, 10},
      {"bend within tolerance", {kP0, {5, 0, 0}, {8, 4, 0}}, false, 0.5, true, 10},
      // z counts: a segment straight up is at right angles.
      {"leaves the plane", {kP0, {1, 0, 0}, {1, 0, 1}}, false, 0.5, false, 2},
  };
  for (Case& c : cases) {
    ExposedContour contour = Make(c.points, std::vector<uint32_t>(c.points.size(), 1), c.closed);
    double length = -1.0;
    EXPECT_EQ(c.colinear, contour.IsColinear(c.tolerance, length)) << c.name;
    EXPECT_DOUBLE_EQ(c.length, length) << c.name;
  }
}

TEST(ContourIsDegenerateContour, ShortCollinearOnly) {
  auto sliver = [](double out) { return Make({kP0, {out, 0, 0}, kP0}, {0, 1, 1}, true); };
  EXPECT_TRUE(sliver(8).IsDegenerateContour());    // 16 walked, halved to 8, below 10
  EXPECT_FALSE(sliver(15).IsDegenerateContour());  // 30 walked, halved to 15
  // A slight bend: 1 - cos = 1 - 3 / 3.01496 = 0.005, within 0.02; 6.015 walked.
  EXPECT_TRUE(Make({kP0, {3, 0, 0}, {6, 0.3, 0}}, {0, 1, 1}, false).IsDegenerateContour());
  // A small triangle is short but not collinear.
  EXPECT_FALSE(Make({kP0, {1, 0, 0}, {0, 1, 0}}, {0, 1, 1}, true).IsDegenerateContour());
  EXPECT_FALSE(Make({kP0}, {0}, true).IsDegenerateContour());
  EXPECT_FALSE(Make({kP0, kP0}, {0, 1}, true).IsDegenerateContour());
}

TEST(ContourIsColinear, TinySegmentFailsAsZeroVector) {
  // Squared length 1e-50: above 0, below the normalisation limit of 1e-48.
  ExposedContour contour = Make({kP0, {1e-25, 0, 0}, {1, 0, 0}}, {0, 1, 1}, false);
  ReportCapture capture;
  double length = 0;
  EXPECT_EQ(KLY_kErrNormalisation, ThrownNumber([&] { contour.IsColinear(0.1, length); }));
  EXPECT_EQ(KLY_kErrNormalisation, ThrownNumber([&] { contour.IsDegenerateContour(); }));
  EXPECT_EQ(capture.reports(),
            std::vector<kly::testing::Report>(2, kly::testing::NormalisationReport()));
}

// --- Non-finite points --------------------------------------------------------------------

TEST(ContourNonFinite, EveryOperationReturns) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  ExposedContour contour =
      Make({kP0, {nan, 1, 0}, {2, inf, 0}, {3, 3, 0}, {4, 0, 0}}, {0, 2, 2, 2, 1}, true);
  Points out;
  contour.PolygonalApprox(out);
  EXPECT_FALSE(out.empty());
  contour.PureBezier(out);
  EXPECT_EQ(10u, out.size());  // curve, line, and the closing line
  double length;
  EXPECT_NO_THROW(contour.IsColinear(0.1, length));
  EXPECT_NO_THROW(contour.IsDegenerateContour());
  EXPECT_NO_THROW(contour.TestContour());
  std::vector<double> lengths;
  EXPECT_TRUE(std::isnan(contour.GetBezierArcLength(out, lengths)));
}

}  // namespace
