// Bad outlines and parameters through the whole build, with the real offset service: each one
// builds a solid of finite numbers or leaves by a documented failure, after its report, with
// the working fields emptied and `dirty` still set.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "kly/host/nut.h"
#include "kly/package/failure.h"
#include "tests/testing/extrusion_access.h"
#include "tests/testing/report_capture.h"

namespace kly {
namespace testing {
namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

// 22532: a contour fails its own test (too few points, no area) before anything is built.
constexpr int32_t kBadInitialContour = KLY_kErrTinyTriangles;
// 22531: the engine could not triangulate the front face (a NaN or infinite coordinate).
constexpr int32_t kBuildFaceTriangulation = KLY_kErrOutline;

struct BadCase {
  const char* name;
  std::vector<KLY_Contour> contours;
  int32_t expected;  // 0: builds
};

bool Finite(const Vec3& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// Every position, normal and UV finite.
void ExpectFinite(const TestExtrusion& e, const char* name) {
  size_t bad = 0;
  for (const KLY_Vertex& v : e.vertices)
    if (!Finite(v.pos) || !Finite(v.normal) || !std::isfinite(v.uv.x) || !std::isfinite(v.uv.y))
      ++bad;
  EXPECT_EQ(bad, 0u) << name;
}

// Builds `contours` as a convex-bevelled solid and checks the outcome.
void ExpectOutcome(const BadCase& c, uint32_t granularityMin = 0, uint32_t granularityMax = 10) {
  ReportCapture capture;
  TestExtrusion e;
  for (const KLY_Contour& contour : c.contours) e.PushContour(contour);
  e.SetExtrusionDepth(10);
  e.SetBevelStyle(KLY_Extrusion::BevelConvex);
  e.SetBevelDepth(1);
  e.SetFaceGranularity(granularityMin, granularityMax);
  e.SetBevelGranularity(granularityMin, granularityMax);
  const int32_t thrown = ThrownNumber([&] { e.Update(); });
  EXPECT_EQ(thrown, c.expected) << c.name;
  EXPECT_TRUE(e.WorkingFieldsEmpty()) << c.name;
  ExpectFinite(e, c.name);
  if (thrown == 0) {
    EXPECT_GT(e.GetNumTriangles(), 0u) << c.name;
    EXPECT_FALSE(e.dirty) << c.name;
  } else {
    EXPECT_TRUE(e.dirty) << c.name;
    EXPECT_FALSE(capture.reports().empty()) << c.name << ": a failure is reported first";
  }
}

KLY_Contour SquareWithCorner(double x, double y) {
  return LineContour({{0, 0, 0}, {10, 0, 0}, {x, y, 0}, {0, 10, 0}});
}

// Many small squares side by side, two units apart.
std::vector<KLY_Contour> GridOfSquares(int columns, int rows) {
  std::vector<KLY_Contour> out;
  for (int i = 0; i < columns; ++i)
    for (int j = 0; j < rows; ++j) out.push_back(Square(3.0 * i, 3.0 * j, 1.0));
  return out;
}

TEST(ExtrusionBadInput, OutlinesBuildOrFailByTheirNumbers) {
  const double huge = 1e300;
  const std::vector<BadCase> cases{
      // NaN and infinity pass the contour's own test (its area sum is not below 1e-6: it is
      // not a number), so they reach the engine, which refuses them.
      {"NaN corner", {SquareWithCorner(kNaN, 10)}, kBuildFaceTriangulation},
      {"infinite corner", {SquareWithCorner(kInfinity, 10)}, kBuildFaceTriangulation},
      // A box whose every coordinate is above 1e10 reads as empty to the bounds (whose empty
      // box spans 1e10 to -1e10), so the contour has no area by its own test.
      {"far from the origin", {Square(huge, huge, huge)}, kBadInitialContour},
      // Coordinates near 1e300 about the origin do not fit the offset service's floats: the
      // contour stays as it is and the solid is built at that scale.
      {"near 1e300", {Square(-huge, -huge, 2 * huge)}, 0},
      {"two points", {LineContour({{0, 0, 0}, {10, 0, 0}})}, kBadInitialContour},
      {"collinear, no area", {LineContour({{0, 0, 0}, {5, 0, 0}, {10, 0, 0}})}, kBadInitialContour},
      {"spike",
       {LineContour({{0, 0, 0},
                     {10, 0, 0},
                     {10, 10, 0},
                     {5, 10, 0},
                     {5, 40, 0},
                     {5.001, 10, 0},
                     {0, 10, 0}})},
       0},
      // A symmetric bow tie has no signed area; this one's lobes differ (twice its signed
      // area, without the closing term: 0 - 100 + 200 = 100).
      {"self-crossing bow tie", {LineContour({{0, 0, 0}, {10, 10, 0}, {10, 0, 0}, {0, 20, 0}})}, 0},
      {"overlapping squares", {Square(0, 0, 10), Square(5, 5, 10)}, 0},
      {"duplicate points",
       {LineContour(
           {{0, 0, 0}, {0, 0, 0}, {10, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}, {0, 10, 0}})},
       0},
      {"a thousand contours", GridOfSquares(40, 25), 0},
  };
  for (const BadCase& c : cases) ExpectOutcome(c);
}

TEST(ExtrusionBadInput, GranularitiesOfZeroAndOfAThousand) {
  const BadCase square{"square", {Square(0, 0, 10)}, 0};
  ExpectOutcome(square, 0, 0);
  // A maximum of 1000 is cut to 10 levels by the contour and the curve.
  ExpectOutcome(square, 0, 1000);
  // A minimum past 20 levels is refused by the curve with std::length_error, which the build
  // reports and turns into the host's number for a standard exception.
  const BadCase refused{"minimum of 1000", {Square(0, 0, 10)}, NUT_kErrStdException};
  ExpectOutcome(refused, 1000, 1000);
}

}  // namespace
}  // namespace testing
}  // namespace kly
