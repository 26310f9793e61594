// Bad input to the tessellation engine: each gives a defined result or the clean failure 10,
// with both records left empty, and never a crash, hang or leak (the sanitizer build checks
// the last two).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "kly/package/failure.h"
#include "kly/tess/triangulate.h"
#include "tests/testing/report_capture.h"
#include "tests/testing/tess_checker.h"
#include "tests/testing/tess_generators.h"
#include "tests/testing/tess_runner.h"

namespace kly {
namespace testing {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Calls the engine on raw records, as the library's callers do, and returns the number it
// threw (0 for none); on a failure both records must already be empty.
int32_t CallRaw(const char* switches, const std::vector<double>& points,
                const std::vector<int32_t>& segments) {
  TessRecord in{}, out{};
  in.points = CopyIn(0, points);
  in.pointCount = static_cast<int32_t>(points.size() / 2);
  in.segments = CopyIn(1, segments);
  in.segmentCount = static_cast<int32_t>(segments.size() / 2);
  const int32_t number = ThrownNumber([&] { triangulate(switches, in, out, nullptr); });
  if (number != 0) {
    EXPECT_TRUE(RecordIsEmpty(in)) << switches;
    EXPECT_TRUE(RecordIsEmpty(out)) << switches;
  }
  TessFreeRecord(&in);
  TessFreeRecord(&out);
  TessFreeRecord(&in);  // a second free is harmless
  return number;
}

// Refuses the engine's allocations once they total `cap` bytes, so that a runaway fails the
// test instead of exhausting the machine; `asked` sums every request.
void CapAllocations(ReportCapture& capture, uint64_t cap, uint64_t& asked) {
  capture.services().allow_allocation = [cap, &asked](uint32_t bytes, uint32_t) {
    asked += bytes;
    return asked < cap;
  };
}

TEST(TessBadInput, FewerThanThreePointsFailWithTenAndNoReport) {
  ReportCapture capture;
  const std::vector<double> points = {0, 0, 1, 0};
  for (size_t count : {0, 1, 2}) {
    const std::vector<double> some(points.begin(), points.begin() + 2 * count);
    for (const char* switches : {"Qz", "Qpz", "VpDz"})
      EXPECT_EQ(CallRaw(switches, some, {}), KLY_kErrTessellation) << count << " " << switches;
  }
  // The engine's own failure text is dropped: it reaches no report.
  EXPECT_TRUE(capture.reports().empty());
}

// Equal or collinear points span no triangle: the engine may return an empty mesh or fail
// with 10, and nothing else.
TEST(TessBadInput, AllEqualOrAllCollinearPointsGiveNoTriangles) {
  const std::vector<std::vector<double>> inputs = {
      std::vector<double>(20, 3.5),                    // ten copies of (3.5, 3.5)
      {0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 0.5, 0.5},  // on the diagonal
      {0, 7, 0, 1, 0, 3, 0, 3, 0, -2},                 // on a vertical line, one repeated
  };
  for (const auto& points : inputs)
    for (const char* switches : {"Qz", "Qpz", "VpDz"}) {
      const std::vector<int32_t> segments = {0, 1, 1, 2};
      int32_t number = 0;
      Triangulation out;
      try {
        out = RunEngine(switches, {points, segments, {}});
      } catch (int32_t thrown) {
        number = thrown;
      }
      if (number != 0) {
        EXPECT_EQ(number, KLY_kErrTessellation) << switches;
      } else {
        EXPECT_EQ(out.TriangleCount(), 0) << switches;
      }
    }
}

// Segments naming vertices that do not exist, or with both ends at one place, are skipped in
// silence: the result is exactly that without them.
TEST(TessBadInput, InvalidSegmentsAreSkipped) {
  const TessCase square = PolygonWithHoles(3, 12, 2, true);
  PlanarGraph spoiled = square.graph;
  const int32_t n = spoiled.PointCount();
  for (int32_t v : {-1, 0, n, 1, 2, 2, 0, 1 << 30, -5, -5}) spoiled.segments.push_back(v);
  for (const char* switches : {"Qpzn", "VpDz"}) {
    const Triangulation clean = RunEngine(switches, square.graph);
    const Triangulation result = RunEngine(switches, spoiled);
    EXPECT_EQ(result.points, clean.points) << switches;
    EXPECT_EQ(result.corners, clean.corners) << switches;
    EXPECT_EQ(result.segments, clean.segments) << switches;
  }
}

// Seeds outside the bounding rectangle are ignored; a seed in a region that no segment closes
// eats the whole mesh.
TEST(TessBadInput, HolesOutsideAreIgnoredAndUnclosedHolesEatEverything) {
  const TessCase polygon = PolygonWithHoles(5, 40, 0, false);
  PlanarGraph outside = polygon.graph;
  outside.holes = {3e6, 0, 0, -3e6, kInf, 0};
  const Triangulation clean = RunEngine("Qpz", polygon.graph);
  const Triangulation result = RunEngine("Qpz", outside);
  EXPECT_EQ(result.corners, clean.corners);
  EXPECT_GT(clean.TriangleCount(), 0);

  PlanarGraph open = RandomPoints(8, 100).graph;
  open.holes = {0.5, 0.5};
  const Triangulation eaten = RunEngine("Qpz", open);
  EXPECT_EQ(eaten.TriangleCount(), 0);
  EXPECT_EQ(eaten.PointCount(), 100);  // carving removes no vertex from the output
}

TEST(TessBadInput, NaNAndInfinityAreRefused) {
  for (double bad : {kNaN, kInf, -kInf}) {
    for (int where = 0; where < 2; ++where) {
      TessCase c = PolygonWithHoles(2, 20, 1, false);
      c.graph.points[2 * 7 + where] = bad;
      c.graph.points.push_back(bad);
      c.graph.points.push_back(bad);
      for (const char* switches : {"Qz", "Qpz", "VpDz"}) {
        EXPECT_EQ(CallRaw(switches, c.graph.points, c.graph.segments), KLY_kErrTessellation)
            << switches;
      }
    }
  }
}

// A grid scaled by 1/3 (so rounded), with segments meant to run through grid vertices and three
// more crossing them: the conforming stage's split vertices land a rounding off their
// subsegments, and one insertion met an inverted triangle in its star, round which its walk
// circled, queueing encroached subsegments until memory ran out. It must end, valid or with 10,
// within a few megabytes: the 121 points need well under one (allocations above the cap are
// refused, so that a regression fails here rather than exhausting the machine).
TEST(TessBadInput, ConformingSplitsRoundedOffTheirSubsegmentsEnd) {
  TessCase c = GridWithSegmentsThroughVertices(11);
  for (const int32_t end : {30, 24, 82, 89, 83, 90}) c.graph.segments.push_back(end);
  ReportCapture capture;
  constexpr uint64_t kCap = uint64_t{64} << 20;
  uint64_t asked = 0;
  CapAllocations(capture, kCap, asked);
  const int32_t number = RunAndCheck("VpDz", Transformed(c, 1.0 / 3.0, 0.0));
  EXPECT_TRUE(number == 0 || number == KLY_kErrTessellation) << number;
  EXPECT_LT(asked, kCap);
}

// Reduced from a fuzzer input. (4, 4)-(0, 3) and (93, 25)-(0, 3) meet at (0, 3) at 0.013
// radians and (2, 4)-(-10, -11) crosses both near it. The splits close in on (0, 3) until the
// two segments lie within a rounding of y = 3 and a subsegment is one unit in the last place
// of 3 long; its split vertices then round to the y of one end and pile up a rounding apart,
// each insertion flipping a fan of edges to all the others. Those splits went on until the
// bound of 256 n + 2^16 refused them, asking 17 MB on the way; the first split that leaves a
// part as long as its subsegment is refused now, well within the cap.
TEST(TessBadInput, ConformingSplitsAtThePrecisionOfTheCoordinatesAreRefusedAtOnce) {
  const std::vector<double> points = {93, 25, 0, 3, 2, 4, 2, 50, -10, -11, 15, 20, -26, -10, 4, 4};
  const std::vector<int32_t> segments = {3, 4, 6, 2, 3, 0, 2, 4, 5, 6, 7, 1, 0, 1};
  ReportCapture capture;
  constexpr uint64_t kCap = uint64_t{4} << 20;
  uint64_t asked = 0;
  CapAllocations(capture, kCap, asked);
  EXPECT_EQ(CallRaw("VpDz", points, segments), KLY_kErrTessellation);
  EXPECT_LT(asked, kCap);
}

}  // namespace
}  // namespace testing
}  // namespace kly
