// The validity checker must itself be right before it may judge the engine: exact signs are
// compared with 128-bit integer arithmetic, and hand-made triangulations, valid and broken in
// one known way each, must be accepted or rejected for exactly that reason.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/testing/exact_sign.h"
#include "tests/testing/tess_checker.h"
#include "tests/testing/tess_generators.h"

namespace kly {
namespace testing {
namespace {

using int128 = __int128;

int SignOf(int128 v) {
  return v > 0 ? 1 : (v < 0 ? -1 : 0);
}

int128 Orient128(int64_t ax, int64_t ay, int64_t bx, int64_t by, int64_t cx, int64_t cy) {
  return int128(ax - cx) * (by - cy) - int128(ay - cy) * (bx - cx);
}

int128 InCircle128(const int64_t p[8]) {
  const int128 adx = p[0] - p[6], ady = p[1] - p[7], bdx = p[2] - p[6], bdy = p[3] - p[7];
  const int128 cdx = p[4] - p[6], cdy = p[5] - p[7];
  return (adx * adx + ady * ady) * (bdx * cdy - cdx * bdy) +
         (bdx * bdx + bdy * bdy) * (cdx * ady - adx * cdy) +
         (cdx * cdx + cdy * cdy) * (adx * bdy - bdx * ady);
}

TEST(ExactSign, OrientationAgreesWithIntegerArithmeticAtEveryScale) {
  TessRandom random(7);
  for (int i = 0; i < 20000; ++i) {
    // Points on a line of 2^50 units, nudged by at most one unit: the double evaluation is
    // often wrong here, the exact one never is.
    const int64_t ax = random.Below(1 << 30), ay = random.Below(1 << 30);
    const int64_t dx = random.Below(1 << 20), dy = random.Below(1 << 20);
    const int64_t k = random.Below(1 << 20) + 1;
    const int64_t cx = ax + k * dx + random.Below(3) - 1, cy = ay + k * dy + random.Below(3) - 1;
    const int64_t bx = ax + dx, by = ay + dy;
    const int expected = SignOf(Orient128(ax, ay, bx, by, cx, cy));
    // Scaling by powers of two keeps every coordinate exact, down to subnormal products.
    for (int shift : {0, -1000, 900}) {
      auto s = [shift](int64_t v) { return std::ldexp(static_cast<double>(v), shift); };
      ASSERT_EQ(OrientSign({s(ax), s(ay)}, {s(bx), s(by)}, {s(cx), s(cy)}), expected)
          << "case " << i << " shift " << shift;
    }
  }
}

TEST(ExactSign, InCircleAgreesWithIntegerArithmeticOnGridsAndNearCircles) {
  TessRandom random(11);
  for (int i = 0; i < 20000; ++i) {
    int64_t p[8];
    // Small grids make cocircular quadruples common; larger ranges exercise the filter.
    const int32_t range = (i % 2) ? 8 : (1 << 22);
    for (int64_t& v : p) v = random.Below(range);
    const int expected = SignOf(InCircle128(p));
    for (int shift : {0, -600}) {
      auto s = [shift, &p](int j) { return std::ldexp(static_cast<double>(p[j]), shift); };
      ASSERT_EQ(InCircleSign({s(0), s(1)}, {s(2), s(3)}, {s(4), s(5)}, {s(6), s(7)}), expected)
          << "case " << i << " shift " << shift;
    }
  }
}

TEST(ExactSign, DotSignSeparatesInsideOnAndOutsideTheDiametralCircle) {
  // Segment (0,0)-(2,0): its diametral circle has centre (1,0) and radius 1.
  EXPECT_EQ(DotSign({1, 0.5}, {0, 0}, {2, 0}), -1);
  EXPECT_EQ(DotSign({1, 1}, {0, 0}, {2, 0}), 0);
  EXPECT_EQ(DotSign({1, 1.5}, {0, 0}, {2, 0}), 1);
  EXPECT_EQ(DotSign({1, std::nextafter(1.0, 0.0)}, {0, 0}, {2, 0}), -1);
}

// Four points around a quadrilateral: a (0,0), b (4,0), c (2,1), d (2,-1). The circle of
// a, b, c has centre (2,-1.5) and radius 2.5 (4 + k^2 = (1 - k)^2 gives k = -1.5), so d lies
// inside it: the diagonal a-b is not Delaunay, the diagonal c-d is.
PlanarGraph Quad() {
  return {{0, 0, 4, 0, 2, 1, 2, -1}, {}, {}};
}
const double kQuadArea = 4.0;  // diagonals 4 and 2, perpendicular: 4 * 2 / 2

Triangulation QuadByCD() {
  return {Quad().points, {2, 3, 1, 3, 2, 0}, {}, {}};
}
Triangulation QuadByAB() {
  return {Quad().points, {0, 1, 2, 1, 0, 3}, {}, {}};
}

TessExpectation Expect(TessKind kind, double area) {
  TessExpectation e;
  e.kind = kind;
  e.area = area;
  return e;
}

bool Mentions(const std::vector<std::string>& findings, const std::string& words) {
  for (const std::string& f : findings)
    if (f.find(words) != std::string::npos) return true;
  return false;
}

TEST(TessChecker, AcceptsTheDelaunayQuadAndItsNeighbours) {
  Triangulation t = QuadByCD();
  t.neighbors = {-1, -1, 1, -1, -1, 0};  // each sees the other across c-d once
  EXPECT_TRUE(CheckTriangulation(Quad(), t, Expect(TessKind::kDelaunay, kQuadArea)).empty());
}

TEST(TessChecker, AcceptsANonDelaunayEdgeThatIsASegment) {
  PlanarGraph in = Quad();
  in.segments = {0, 1};
  Triangulation out = QuadByAB();
  out.segments = {0, 1};
  EXPECT_TRUE(CheckTriangulation(in, out, Expect(TessKind::kConstrained, kQuadArea)).empty());
}

struct BrokenCase {
  const char* what;
  PlanarGraph in;
  Triangulation out;
  TessExpectation expect;
  const char* complaint;
};

PlanarGraph QuadWith(std::vector<int32_t> segments) {
  PlanarGraph g = Quad();
  g.segments = std::move(segments);
  return g;
}

Triangulation WithSegments(Triangulation t, std::vector<int32_t> segments) {
  t.segments = std::move(segments);
  return t;
}

// A 4x4 square with a 2x2 square hole, as closed contours for even-odd, and its triangulation
// with the hole carved: the ring of eight triangles.
PlanarGraph Ring() {
  return {{0, 0, 4, 0, 4, 4, 0, 4, 1, 1, 3, 1, 3, 3, 1, 3},
          {0, 1, 1, 2, 2, 3, 3, 0, 4, 5, 5, 6, 6, 7, 7, 4},
          {2, 2}};
}
Triangulation CarvedRing() {
  return {Ring().points,
          {0, 1, 5, 0, 5, 4, 1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7},
          {},
          Ring().segments};
}
TessExpectation RingExpectation() {
  TessExpectation e = Expect(TessKind::kConstrained, 12.0);  // 16 - 4
  e.domain_boundary = Ring().segments;
  return e;
}

TEST(TessChecker, RejectsEachBrokenTriangulationForItsFault) {
  // The quad with a fifth point (3, 0.1) inside the triangle c, d, b, which no triangle uses.
  PlanarGraph five{{0, 0, 4, 0, 2, 1, 2, -1, 3, 0.1}, {}, {}};
  // The flat triangle (0,0), (2,0), (1,0.5): its apex sees the segment (0,0)-(2,0) at more
  // than 90 degrees ((-1)(1) + (-0.5)(-0.5) < 0), so that subsegment is encroached.
  PlanarGraph flat{{0, 0, 2, 0, 1, 0.5}, {0, 1, 1, 2, 2, 0}, {}};
  // The ring with its hole filled by two more triangles.
  Triangulation filled = CarvedRing();
  filled.corners.insert(filled.corners.end(), {4, 5, 6, 4, 6, 7});
  const std::vector<BrokenCase> cases = {
      {"flipped triangle",
       Quad(),
       {Quad().points, {3, 2, 1, 3, 2, 0}, {}, {}},
       Expect(TessKind::kDelaunay, kQuadArea),
       "not strictly counter-clockwise"},
      {"non-Delaunay edge", Quad(), QuadByAB(), Expect(TessKind::kDelaunay, kQuadArea),
       "not locally Delaunay"},
      {"missing segment", QuadWith({0, 1}), QuadByCD(), Expect(TessKind::kConstrained, kQuadArea),
       "not covered"},
      {"segment edge not in output", QuadWith({0, 1}), QuadByAB(),
       Expect(TessKind::kConstrained, kQuadArea), "not in the output segments"},
      {"missing triangle",
       Quad(),
       {Quad().points, {2, 3, 1}, {}, {}},
       Expect(TessKind::kDelaunay, kQuadArea),
       "cover an area"},
      {"overlap",
       Quad(),
       {Quad().points, {2, 3, 1, 2, 3, 1}, {}, {}},
       Expect(TessKind::kDelaunay, kQuadArea),
       "overlap"},
      {"asymmetric neighbours",
       Quad(),
       {Quad().points, {2, 3, 1, 3, 2, 0}, {-1, -1, 1, -1, -1, -1}, {}},
       Expect(TessKind::kDelaunay, kQuadArea),
       "not the reverse"},
      {"corner out of range",
       Quad(),
       {Quad().points, {2, 3, 4}, {}, {}},
       Expect(TessKind::kDelaunay, kQuadArea),
       "outside the 4 vertices"},
      {"moved vertex",
       Quad(),
       {{0, 0, 4, 0, 2, 1.5, 2, -1}, {2, 3, 1, 3, 2, 0}, {}, {}},
       Expect(TessKind::kDelaunay, kQuadArea),
       "moved"},
      {"vertex left out of a Delaunay triangulation",
       five,
       {five.points, {2, 3, 1, 3, 2, 0}, {}, {}},
       Expect(TessKind::kDelaunay, kQuadArea),
       "missing from the Delaunay"},
      {"vertex left inside a constrained triangulation",
       five,
       {five.points, {2, 3, 1, 3, 2, 0}, {}, {}},
       Expect(TessKind::kConstrained, kQuadArea),
       "lies in triangle"},
      {"encroached subsegment",
       flat,
       {flat.points, {0, 1, 2}, {}, {0, 1, 1, 2, 2, 0}},
       Expect(TessKind::kConforming, 0.5),
       "encroached"},
      {"vertex added without crossings", QuadWith({2, 3}),
       WithSegments({{0, 0, 4, 0, 2, 1, 2, -1, 2, 0}, {2, 0, 4, 2, 4, 1, 3, 1, 4, 3, 4, 0}, {}, {}},
                    {2, 4, 4, 3}),
       Expect(TessKind::kConstrained, kQuadArea), "no segments cross"},
      {"hole not carved", Ring(), filled, RingExpectation(), "outside the domain"},
  };
  for (const BrokenCase& c : cases) {
    const auto findings = CheckTriangulation(c.in, c.out, c.expect);
    EXPECT_TRUE(Mentions(findings, c.complaint))
        << c.what << ": " << ::testing::PrintToString(findings);
  }
}

TEST(TessChecker, AcceptsTheRingWithItsHoleCarved) {
  EXPECT_EQ(CheckTriangulation(Ring(), CarvedRing(), RingExpectation()),
            std::vector<std::string>{});
}

// Far from the origin an added vertex may lie a rounding off its segments: 1.5 units in the
// last place per coordinate for each segment that crosses the one it is on. The diagonals of
// the square [0, 8]^2, in units from 1e30, cross once each at (4, 4): a crossing vertex at
// (5, 3) lies 2 / sqrt(2) = 1.4 units off (0, 0)-(8, 8), within 1.5 sqrt(2) = 2.1; at (6, 2) it
// lies 4 / sqrt(2) = 2.8 units off, beyond it.
TEST(TessChecker, AddedVertexMayLieOneRoundingOffASegmentPerCrossing) {
  const double unit = std::nextafter(1e30, INFINITY) - 1e30;
  const std::vector<double> corners = {
      1e30, 1e30, 1e30 + 8 * unit, 1e30, 1e30 + 8 * unit, 1e30 + 8 * unit, 1e30, 1e30 + 8 * unit};
  const auto at = [&](double x, double y) {
    std::vector<double> points = corners;
    points.insert(points.end(), {1e30 + x * unit, 1e30 + y * unit});
    return points;
  };
  const PlanarGraph in{corners, {0, 2, 1, 3}, {}};
  TessExpectation expect;
  expect.kind = TessKind::kConstrained;
  const std::vector<int32_t> fan = {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4};
  const std::vector<int32_t> pieces = {0, 4, 4, 2, 1, 4, 4, 3};
  EXPECT_EQ(CheckTriangulation(in, {at(5, 3), fan, {}, pieces}, expect),
            std::vector<std::string>{});
  const auto findings = CheckTriangulation(in, {at(6, 2), fan, {}, pieces}, expect);
  EXPECT_TRUE(Mentions(findings, "segment (0, 2) is not covered"))
      << ::testing::PrintToString(findings);
  EXPECT_TRUE(Mentions(findings, "lies on 1 input segments")) << ::testing::PrintToString(findings);
}

TEST(TessChecker, AreasOfHullsAndNestedContours) {
  // Hull of a unit square's corners with an inner point and a repeated corner: 1.
  EXPECT_DOUBLE_EQ(ConvexHullArea({0, 0, 1, 0, 1, 1, 0, 1, 0.5, 0.5, 0, 0}), 1.0);
  EXPECT_EQ(ConvexHullArea({0, 0, 1, 1, 2, 2, 3, 3}), 0.0);  // collinear: no area
  // 4x4 square, 2x2 hole inside it, 1x1 island inside the hole: 16 - 4 + 1.
  EXPECT_DOUBLE_EQ(EvenOddArea({{0, 0, 4, 0, 4, 4, 0, 4},
                                {1, 1, 3, 1, 3, 3, 1, 3},
                                {1.5, 1.5, 2.5, 1.5, 2.5, 2.5, 1.5, 2.5}}),
                   13.0);
}

TEST(TessChecker, FindsCrossingsButNotTouchingOrOverlap) {
  // (0,0)-(2,2) and (0,2)-(2,0) cross at (1,1); a segment ending on another, or lying along
  // it, does not cross it.
  EXPECT_TRUE(SegmentsCross({{0, 0, 2, 2, 0, 2, 2, 0}, {0, 1, 2, 3}, {}}));
  EXPECT_FALSE(SegmentsCross({{0, 0, 2, 2, 1, 1, 2, 0}, {0, 1, 2, 3}, {}}));
  EXPECT_FALSE(SegmentsCross({{0, 0, 2, 2, 1, 1, 3, 3}, {0, 1, 2, 3}, {}}));
}

}  // namespace
}  // namespace testing
}  // namespace kly
