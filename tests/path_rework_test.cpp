// The host's path clean-up, on its own and behind KLY_Extrusion::OptimizeContours.
#include "kly/host/path_rework.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "kly/host/hbn_paths.h"
#include "kly/host/nut.h"
#include "kly/host/services.h"
#include "tests/testing/extrusion_access.h"

namespace kly {
namespace testing {
namespace {

using HBN_T_NMT::kPathClose;
using HBN_T_NMT::kPathCurve;
using HBN_T_NMT::kPathLine;
using HBN_T_NMT::kPathMove;

struct PathPoint {
  float x;
  float y;
  int32_t type;
};

bool operator==(const PathPoint& a, const PathPoint& b) {
  return a.x == b.x && a.y == b.y && a.type == b.type;
}

std::ostream& operator<<(std::ostream& out, const PathPoint& p) {
  return out << "(" << p.x << ", " << p.y << " type " << p.type << ")";
}

int32_t Collect(void* refcon, int32_t type, float x, float y) {
  static_cast<std::vector<PathPoint>*>(refcon)->push_back({x, y, type});
  return 0;
}

// Runs the clean-up on `path`; `status` gets its result.
std::vector<PathPoint> Rework(const std::vector<PathPoint>& path, int32_t& status) {
  std::vector<float> xy;
  std::vector<int32_t> types;
  for (const PathPoint& p : path) {
    xy.push_back(p.x);
    xy.push_back(p.y);
    types.push_back(p.type);
  }
  std::vector<PathPoint> out;
  status =
      host::ReworkPath(xy.data(), types.data(), static_cast<int32_t>(path.size()), {Collect, &out});
  return out;
}

std::vector<PathPoint> Rework(const std::vector<PathPoint>& path) {
  int32_t status = -1;
  std::vector<PathPoint> out = Rework(path, status);
  EXPECT_EQ(status, 0);
  return out;
}

// A line given as a cubic with its control points at the thirds, as chains of cubics hold it.
void AppendLineAsCubic(std::vector<PathPoint>& path, float x0, float y0, float x1, float y1) {
  path.push_back({x0 + (x1 - x0) / 3, y0 + (y1 - y0) / 3, kPathCurve});
  path.push_back({x0 + 2 * (x1 - x0) / 3, y0 + 2 * (y1 - y0) / 3, kPathCurve});
  path.push_back({x1, y1, kPathCurve});
}

TEST(PathRework, StraightCubicsBecomeLinesAndCornersStay) {
  std::vector<PathPoint> path{{0, 0, kPathMove}};
  AppendLineAsCubic(path, 0, 0, 10, 0);
  AppendLineAsCubic(path, 10, 0, 10, 10);
  AppendLineAsCubic(path, 10, 10, 0, 10);
  AppendLineAsCubic(path, 0, 10, 0, 0);
  path.push_back({0, 0, kPathClose});
  // Four cubics lying on their chords are four lines; each meets the next at a right angle,
  // so none merges.
  const std::vector<PathPoint> expected{{0, 0, kPathMove},  {10, 0, kPathLine}, {10, 10, kPathLine},
                                        {0, 10, kPathLine}, {0, 0, kPathLine},  {0, 0, kPathClose}};
  EXPECT_EQ(Rework(path), expected);
}

TEST(PathRework, LinesRunningOnMergeAndEmptyPiecesGo) {
  // The square's sides split at their midpoints, a repeated point (a line of no length) and a
  // cubic whose points all equal its start: the sides come back whole, the empty pieces gone.
  const std::vector<PathPoint> path{{0, 0, kPathMove},   {5, 0, kPathLine},   {5, 0, kPathLine},
                                    {10, 0, kPathLine},  {10, 0, kPathCurve}, {10, 0, kPathCurve},
                                    {10, 0, kPathCurve}, {10, 5, kPathLine},  {10, 10, kPathLine},
                                    {0, 10, kPathLine},  {0, 0, kPathLine},   {0, 0, kPathClose}};
  const std::vector<PathPoint> expected{{0, 0, kPathMove},  {10, 0, kPathLine}, {10, 10, kPathLine},
                                        {0, 10, kPathLine}, {0, 0, kPathLine},  {0, 0, kPathClose}};
  EXPECT_EQ(Rework(path), expected);
}

TEST(PathRework, CurvesAndTurnsBackAreKept) {
  // A quarter circle of radius 10 stays a cubic (its controls are off the chord). The spike
  // up to (0, 20) turns back by 180 degrees and is kept; the two lines down from it, to
  // (0, 15) and on to (0, 0), run on in one direction and become one.
  const float k = 5.522847498f;
  const std::vector<PathPoint> path{{10, 0, kPathMove},  {10, k, kPathCurve}, {k, 10, kPathCurve},
                                    {0, 10, kPathCurve}, {0, 20, kPathLine},  {0, 15, kPathLine},
                                    {0, 0, kPathLine},   {10, 0, kPathLine},  {10, 0, kPathClose}};
  std::vector<PathPoint> expected = path;
  expected.erase(expected.begin() + 5);
  EXPECT_EQ(Rework(path), expected);
}

TEST(PathRework, CloseDrawsTheMissingLine) {
  // A close away from the last point draws the last side as a line.
  const std::vector<PathPoint> path{
      {0, 0, kPathMove}, {10, 0, kPathLine}, {10, 10, kPathLine}, {0, 0, kPathClose}};
  const std::vector<PathPoint> expected{{0, 0, kPathMove},
                                        {10, 0, kPathLine},
                                        {10, 10, kPathLine},
                                        {0, 0, kPathLine},
                                        {0, 0, kPathClose}};
  EXPECT_EQ(Rework(path), expected);
}

TEST(PathRework, MalformedPathsAreRefusedWithNothingStreamed) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<std::vector<PathPoint>> malformed{
      {{0, 0, kPathMove}, {nan, 0, kPathLine}, {0, 5, kPathLine}, {0, 0, kPathClose}},
      {{0, 0, kPathLine}, {5, 0, kPathLine}, {0, 5, kPathLine}, {0, 0, kPathClose}},
      {{0, 0, kPathMove}, {5, 0, kPathCurve}, {0, 5, kPathCurve}},
      {{0, 0, kPathMove}, {5, 0, kPathLine}, {0, 5, kPathLine}},
      {{0, 0, kPathMove}, {5, 0, kPathLine}, {0, 5, kPathLine}, {1, 1, kPathClose}},
      {{0, 0, kPathMove}, {5, 0, 7}, {0, 0, kPathClose}},
  };
  for (const auto& path : malformed) {
    int32_t status = 0;
    EXPECT_TRUE(Rework(path, status).empty());
    EXPECT_EQ(status, NUT_kErrBadArgument);
  }
}

TEST(PathRework, SeamReplacesTheCleanUpAndItsExceptionsStayInside) {
  HBN_T_NMT::CPVKBezierPath source;
  source.Append(0, 0, kPathMove);
  source.Append(5, 0, kPathLine);
  source.Append(0, 0, kPathClose);
  const HBN_T_NMT::CGFKPath path(source);
  std::vector<PathPoint> out;

  host::HostServices failing = host::DefaultServices();
  failing.rework_path = [](const float*, const int32_t*, int32_t, const host::OffsetPathSink&) {
    return 42;
  };
  {
    host::ScopedServices scope(failing);
    EXPECT_EQ(GFK_ReworkPath(path, Collect, &out), 42);
  }
  host::HostServices throwing = host::DefaultServices();
  throwing.rework_path = [](const float*, const int32_t*, int32_t,
                            const host::OffsetPathSink&) -> int32_t {
    throw std::runtime_error("clean-up broke");
  };
  host::ScopedServices scope(throwing);
  EXPECT_EQ(GFK_ReworkPath(path, Collect, &out), NUT_kErrStdException);
  EXPECT_TRUE(out.empty());
}

// The outer square's sides split at their midpoints; a clockwise inner square inside it.
TestExtrusion SplitSquareAroundAHole() {
  TestExtrusion extrusion;
  KLY_Contour outer = LineContour({{0, 0, 0},
                                   {5, 0, 0},
                                   {10, 0, 0},
                                   {10, 5, 0},
                                   {10, 10, 0},
                                   {5, 10, 0},
                                   {0, 10, 0},
                                   {0, 5, 0}});
  outer.SetGranularity(2, 7);
  extrusion.PushContour(outer);
  extrusion.PushContour(Square(3, 3, 4, false));
  return extrusion;
}

TEST(OptimizeContours, ReworksEveryContourAndTellsHoles) {
  TestExtrusion extrusion = SplitSquareAroundAHole();
  extrusion.OptimizeContours();
  // The outer contour's chain (eight line cubics and the closing one, which ends where the
  // start is) comes back as four lines: a move, four line ends, the close skipped.
  const KLY_Contour& outer = extrusion.contours[0];
  const std::vector<Vec3> corners{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}, {0, 0, 0}};
  ASSERT_EQ(outer.Size(), 5u);
  EXPECT_TRUE(std::equal(corners.begin(), corners.end(), outer.beginPoints()));
  EXPECT_EQ(std::vector<uint32_t>(outer.beginCodes(), outer.endCodes()),
            (std::vector<uint32_t>{0, 1, 1, 1, 1}));
  // The inner square winds the other way from the leftmost (outer) contour: a hole.
  EXPECT_EQ(extrusion.holeFlags, (std::vector<uint32_t>{0, 1}));
  EXPECT_TRUE(extrusion.polygons.empty());
}

TEST(OptimizeContours, FailingCleanUpLeavesContoursAsTheyWere) {
  TestExtrusion extrusion = SplitSquareAroundAHole();
  const KLY_Contour before = extrusion.contours[0];
  host::HostServices failing = host::DefaultServices();
  failing.rework_path = [](const float*, const int32_t*, int32_t, const host::OffsetPathSink&) {
    return 1;
  };
  host::ScopedServices scope(failing);
  extrusion.OptimizeContours();
  ASSERT_EQ(extrusion.contours[0].Size(), before.Size());
  EXPECT_TRUE(
      std::equal(before.beginPoints(), before.endPoints(), extrusion.contours[0].beginPoints()));
}

}  // namespace
}  // namespace testing
}  // namespace kly
