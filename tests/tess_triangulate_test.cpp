// triangulate on small inputs whose results are derived by hand, the switches that shape the
// output, and the failure route.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "kly/tess/triangulate.h"
#include "tests/testing/report_capture.h"
#include "tests/testing/tess_runner.h"

namespace {

struct Input {
  std::vector<double> points;
  std::vector<int32_t> segments;
  std::vector<double> holes;
  std::vector<int32_t> markers;
  // One attribute a point when set: the weight of 'w' and 'W'.
  std::vector<double> weights{};
};

// Fills a zeroed record the way the library's callers do.
void Fill(const Input& input, TessRecord& in) {
  using kly::testing::CopyIn;
  in = TessRecord{};
  in.pointCount = static_cast<int32_t>(input.points.size() / 2);
  in.points = CopyIn(0, input.points);
  in.segmentCount = static_cast<int32_t>(input.segments.size() / 2);
  in.segments = CopyIn(1, input.segments);
  in.segmentMarkers = CopyIn(1, input.markers);
  in.holeCount = static_cast<int32_t>(input.holes.size() / 2);
  in.holes = CopyIn(2, input.holes);
  in.pointAttributeCount = input.weights.empty() ? 0 : 1;
  in.pointAttributes = CopyIn(0, input.weights);
}

// Owns the records of one call and frees them whatever happens.
struct EngineRun {
  TessRecord in{}, out{}, dual{};
  int32_t thrown = 0;
  EngineRun(const char* switches, const Input& input, int32_t triangleLimit = 0) {
    Fill(input, in);
    in.triangleLimit = triangleLimit;
    try {
      triangulate(switches, in, out, &dual);
    } catch (int32_t number) {
      thrown = number;
    }
  }
  ~EngineRun() {
    TessFreeRecord(&in);
    TessFreeRecord(&out);
    TessFreeRecord(&dual);
  }
  // The triangles as sorted corner triples, each rotated to start at its smallest corner:
  // the set a triangulation is, whatever order and rotation the engine writes.
  std::set<std::array<int32_t, 3>> Triangles() const {
    std::set<std::array<int32_t, 3>> result;
    for (int32_t t = 0; t < out.triangleCount; t++) {
      std::array<int32_t, 3> c = {out.corners[3 * t], out.corners[3 * t + 1],
                                  out.corners[3 * t + 2]};
      std::rotate(c.begin(), std::min_element(c.begin(), c.end()), c.end());
      result.insert(c);
    }
    return result;
  }
  bool HasPoint(double x, double y) const {
    for (int32_t i = 0; i < out.pointCount; i++)
      if (out.points[2 * i] == x && out.points[2 * i + 1] == y) return true;
    return false;
  }
};

using Triangles = std::set<std::array<int32_t, 3>>;

const Input kSquare = {{0, 0, 1, 0, 1, 1, 0, 1}, {}, {}, {}};

// A convex quadrilateral whose Delaunay diagonal is unique: the circle through 0, 1, 3
// (centre (2, 0.5), radius^2 4.25) holds 2 = (4, 2)? (4-2)^2 + (2-0.5)^2 = 6.25 > 4.25: no,
// so 0-1-3 is Delaunay and the diagonal is 1-3.
const Input kQuad = {{0, 0, 4, 0, 4, 2, 0, 1}, {0, 1, 1, 2, 2, 3, 3, 0}, {}, {}};

TEST(TessTriangulate, SquareGivesTwoTrianglesAndCentreGivesFour) {
  EngineRun square("Qz", kSquare);
  ASSERT_EQ(square.thrown, 0);
  EXPECT_EQ(square.out.pointCount, 4);
  EXPECT_EQ(square.out.triangleCount, 2);
  EXPECT_EQ(square.out.cornerCount, 3);
  // Edges: (3 x 2 + hull 4) / 2 = 5. Without segments the segment count is the hull size.
  EXPECT_EQ(square.out.edgeCount, 5);
  EXPECT_EQ(square.out.segmentCount, 4);

  Input centred = kSquare;
  centred.points.insert(centred.points.end(), {0.5, 0.5});
  EngineRun fan("Qz", centred);
  ASSERT_EQ(fan.thrown, 0);
  // The centre is inside the circle of any three corners, so it joins all four.
  EXPECT_EQ(fan.Triangles(), (Triangles{{0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {0, 4, 3}}));
}

TEST(TessTriangulate, ConstrainedQuadrilateralExactArrays) {
  EngineRun run("Qpz", kQuad);
  ASSERT_EQ(run.thrown, 0);
  EXPECT_EQ(std::vector<double>(run.out.points, run.out.points + 8), kQuad.points);
  EXPECT_EQ(run.Triangles(), (Triangles{{0, 1, 3}, {1, 2, 3}}));
  // Every corner counter-clockwise: the rotation kept by Triangles() must be a cyclic order,
  // checked here by the signed area of each written triangle.
  for (int32_t t = 0; t < run.out.triangleCount; t++) {
    const int32_t* c = run.out.corners + 3 * t;
    const double* p = run.out.points;
    const double area = (p[2 * c[1]] - p[2 * c[0]]) * (p[2 * c[2] + 1] - p[2 * c[0] + 1]) -
                        (p[2 * c[1] + 1] - p[2 * c[0] + 1]) * (p[2 * c[2]] - p[2 * c[0]]);
    EXPECT_GT(area, 0.0);
  }
  // Each input segment comes back once, as a subsegment; which end is written first
  // depends on the side from which it was inserted.
  ASSERT_EQ(run.out.segmentCount, 4);
  std::set<std::pair<int32_t, int32_t>> segments;
  for (int32_t s = 0; s < 4; s++) {
    const int32_t a = run.out.segments[2 * s], b = run.out.segments[2 * s + 1];
    segments.insert({std::min(a, b), std::max(a, b)});
  }
  EXPECT_EQ(segments, (std::set<std::pair<int32_t, int32_t>>{{0, 1}, {1, 2}, {2, 3}, {0, 3}}));
  // Boundary vertices take the segments' mark, which is 1 for a hull segment left unmarked.
  EXPECT_EQ(std::vector<int32_t>(run.out.pointMarkers, run.out.pointMarkers + 4),
            (std::vector<int32_t>{1, 1, 1, 1}));
}

TEST(TessTriangulate, ConformingSplitsAnObtuselySeenSegmentAtItsMiddle) {
  // The apex (2, 0.5) sees the base (0,0)-(4,0) at more than 90 degrees:
  // (0-2, 0-0.5).(4-2, 0-0.5) = -4 + 0.25 < 0. Both base ends are shared with other
  // segments, so the shell rule applies: length 4, p = 1 -> 2 (4 > 3), split = 2/4, and from
  // the destination 1 - 0.5: the point (2, 0). Then (2,0) sees the two sides at exactly 90
  // degrees (dot 0), which is not encroachment, and the apex sees both halves acutely.
  const Input thin = {{0, 0, 4, 0, 2, 0.5}, {0, 1, 1, 2, 2, 0}, {}, {}};
  EngineRun run("VpDz", thin);
  ASSERT_EQ(run.thrown, 0);
  ASSERT_EQ(run.out.pointCount, 4);
  EXPECT_EQ(run.out.points[6], 2.0);
  EXPECT_EQ(run.out.points[7], 0.0);
  EXPECT_EQ(run.Triangles(), (Triangles{{0, 3, 2}, {1, 2, 3}}));
  EXPECT_EQ(run.out.segmentCount, 4);

  // A rectangle is seen at right angles at most: nothing is added.
  EngineRun rectangle("VpDz", {{0, 0, 3, 0, 3, 1, 0, 1}, {0, 1, 1, 2, 2, 3, 3, 0}, {}, {}});
  ASSERT_EQ(rectangle.thrown, 0);
  EXPECT_EQ(rectangle.out.pointCount, 4);
  EXPECT_EQ(rectangle.out.triangleCount, 2);
}

TEST(TessTriangulate, ConformingSplitsOnPowerOfTwoShellsFromASharedEnd) {
  // Base (0,0)-(10,0) seen from (5,1): (-5,-1).(5,-1) = -24 < 0. Length 10: p = 1 -> 2 -> 4
  // (10 > 3, 10 > 6, not 10 > 12), split = 4/10 from the destination: x = 6. A plain
  // bisection would have put the first vertex at x = 5.
  EngineRun run("VpDz", {{0, 0, 10, 0, 5, 1}, {0, 1, 1, 2, 2, 0}, {}, {}});
  ASSERT_EQ(run.thrown, 0);
  EXPECT_TRUE(run.HasPoint(6, 0));
  EXPECT_FALSE(run.HasPoint(5, 0));
  EXPECT_GT(run.out.pointCount, 3);
}

TEST(TessTriangulate, CrossingSegmentsMeetInANewVertexWithTheCrossedMark) {
  // The diagonals of the square cross at (0.5, 0.5). The second one inserted crosses the
  // first, which carries mark 7; the new vertex takes that mark.
  Input input = kSquare;
  input.segments = {0, 1, 1, 2, 2, 3, 3, 0, 0, 2, 1, 3};
  input.markers = {1, 1, 1, 1, 7, 9};
  EngineRun run("Qpz", input);
  ASSERT_EQ(run.thrown, 0);
  ASSERT_EQ(run.out.pointCount, 5);
  EXPECT_EQ(run.out.points[8], 0.5);
  EXPECT_EQ(run.out.points[9], 0.5);
  EXPECT_EQ(run.out.pointMarkers[4], 7);
  EXPECT_EQ(run.out.triangleCount, 4);
  EXPECT_EQ(run.out.segmentCount, 8);  // 4 sides, and 2 diagonals cut in two
}

TEST(TessTriangulate, HolesCarveAndMoveToTheOutput) {
  // A 4 x 4 square with a 2 x 2 square hole in its middle: 8 vertices, 8 segments. The ring
  // between them is 8 triangles (an annulus of 4 + 4 vertices: 2 x 4 triangles).
  Input input{{0, 0, 4, 0, 4, 4, 0, 4, 1, 1, 3, 1, 3, 3, 1, 3},
              {0, 1, 1, 2, 2, 3, 3, 0, 4, 5, 5, 6, 6, 7, 7, 4},
              {2, 2},
              {}};
  EngineRun run("Qpz", input);
  ASSERT_EQ(run.thrown, 0);
  EXPECT_EQ(run.out.triangleCount, 8);
  EXPECT_EQ(run.in.holes, nullptr);
  ASSERT_NE(run.out.holes, nullptr);
  EXPECT_EQ(run.out.holeCount, 1);
  EXPECT_EQ(run.out.holes[0], 2.0);

  // A seed outside the bounding rectangle is ignored: the hole stays filled (10 triangles:
  // the annulus and the 2 of the inner square).
  input.holes = {9, 9};
  EngineRun ignored("Qpz", input);
  EXPECT_EQ(ignored.out.triangleCount, 10);

  // A free vertex in the hole goes with it: every triangle at it is eaten, so j drops it,
  // while the 8 outline vertices keep the annulus (9 written without j, 8 with it).
  input.points.insert(input.points.end(), {2.5, 1.5});
  input.holes = {2.2, 2.6};
  EngineRun kept("Qpz", input);
  ASSERT_EQ(kept.thrown, 0);
  EXPECT_EQ(kept.out.triangleCount, 8);
  EXPECT_EQ(kept.out.pointCount, 9);
  EngineRun dropped("Qpzj", input);
  ASSERT_EQ(dropped.thrown, 0);
  EXPECT_EQ(dropped.out.triangleCount, 8);
  EXPECT_EQ(dropped.out.pointCount, 8);

  // A seed with no closed outline around it eats everything.
  EngineRun eaten("Qpz", {{0, 0, 4, 0, 4, 4, 0, 4}, {0, 1, 1, 2}, {2, 2}, {}});
  ASSERT_EQ(eaten.thrown, 0);
  EXPECT_EQ(eaten.out.triangleCount, 0);
  EXPECT_EQ(eaten.out.pointCount, 4);  // eaten vertices are still written without j
}

TEST(TessTriangulate, RepeatedPointsKeepTheirSlotsUnlessDropped) {
  Input input = kSquare;
  input.points.insert(input.points.end(), {1, 1});  // a copy of vertex 2
  EngineRun kept("Qz", input);
  ASSERT_EQ(kept.thrown, 0);
  EXPECT_EQ(kept.out.pointCount, 5);
  EXPECT_EQ(kept.out.triangleCount, 2);
  for (int32_t c = 0; c < 6; c++) EXPECT_NE(kept.out.corners[c], 4);

  EngineRun dropped("Qzj", input);
  EXPECT_EQ(dropped.out.pointCount, 4);
}

TEST(TessTriangulate, NumberingStartsAtOneWithoutZ) {
  EngineRun run("", kSquare);
  ASSERT_EQ(run.thrown, 0);
  const auto* c = run.out.corners;
  EXPECT_EQ(*std::min_element(c, c + 6), 1);
  EXPECT_EQ(*std::max_element(c, c + 6), 4);
  EXPECT_EQ(run.out.segments, nullptr);
}

TEST(TessTriangulate, EdgesNeighborsAndDual) {
  Input centred = kSquare;
  centred.points.insert(centred.points.end(), {0.5, 0.5});
  EngineRun run("Qzenv", centred);
  ASSERT_EQ(run.thrown, 0);
  // Edges: (3 x 4 + hull 4) / 2 = 8, the hull ones marked 1.
  ASSERT_EQ(run.out.edgeCount, 8);
  int32_t hull = 0;
  std::set<std::pair<int32_t, int32_t>> edges;
  for (int32_t e = 0; e < 8; e++) {
    hull += run.out.edgeMarkers[e];
    edges.insert({std::min(run.out.edges[2 * e], run.out.edges[2 * e + 1]),
                  std::max(run.out.edges[2 * e], run.out.edges[2 * e + 1])});
  }
  EXPECT_EQ(hull, 4);
  EXPECT_EQ(edges.size(), 8u);
  // Neighbour k lies across from corner k: it shares the other two corners.
  for (int32_t t = 0; t < 4; t++) {
    for (int32_t k = 0; k < 3; k++) {
      const int32_t n = run.out.neighbors[3 * t + k];
      const int32_t a = run.out.corners[3 * t + (k + 1) % 3];
      const int32_t b = run.out.corners[3 * t + (k + 2) % 3];
      if (n == -1) {
        EXPECT_TRUE((std::min(a, b) == 0 && std::max(a, b) == 1) || std::max(a, b) < 4)
            << "a hull edge has no neighbour";
        continue;
      }
      const int32_t* m = run.out.corners + 3 * n;
      EXPECT_TRUE(std::count(m, m + 3, a) == 1 && std::count(m, m + 3, b) == 1);
    }
  }
  // The dual: one circumcentre a triangle; each triangle (corner, corner, centre) of this
  // fan is right-angled at the centre, so its circumcentre is the middle of its hull edge.
  ASSERT_EQ(run.dual.pointCount, 4);
  EXPECT_EQ(run.dual.edgeCount, 8);
  for (int32_t t = 0; t < 4; t++) {
    const double x = run.dual.points[2 * t], y = run.dual.points[2 * t + 1];
    EXPECT_TRUE((x == 0.5 && (y == 0.0 || y == 1.0)) || (y == 0.5 && (x == 0.0 || x == 1.0)))
        << x << ", " << y;
  }
}

TEST(TessTriangulate, IncrementalAndDivideAndConquerAgree) {
  // Points in general position have one Delaunay triangulation, whichever way it is built.
  Input input;
  uint32_t state = 12345;
  for (int i = 0; i < 400; i++) {
    state = state * 1103515245u + 12345u;
    input.points.push_back((state >> 8) % 100003 / 100003.0);
    state = state * 1103515245u + 12345u;
    input.points.push_back((state >> 8) % 99991 / 99991.0);
  }
  EngineRun dc("Qz", input), cuts("Qzl", input), incremental("Qzi", input);
  ASSERT_EQ(dc.thrown, 0);
  ASSERT_EQ(incremental.thrown, 0);
  EXPECT_EQ(dc.Triangles(), incremental.Triangles());
  EXPECT_EQ(dc.Triangles(), cuts.Triangles());
}

TEST(TessTriangulate, WeightsChooseTheSquaresDiagonalOnEveryPath) {
  // The corners are cocircular. Lifted by their weights, the lower hull takes the diagonal whose
  // midpoint lies lower. 'w' lifts a corner to its weight; 'W' to x^2 + y^2 (0, 1, 2, 1 round
  // the square) minus its weight.
  const Triangles diagonal02 = {{0, 1, 2}, {0, 2, 3}};
  const Triangles diagonal13 = {{0, 1, 3}, {1, 2, 3}};
  const struct {
    const char* switches;
    std::vector<double> weights;
    Triangles expected;
  } cases[] = {
      {"Qzw", {0, 1, 0, 1}, diagonal02},  // midpoints: 0-2 at 0, 1-3 at 1
      {"Qzw", {1, 0, 1, 0}, diagonal13},  // 0-2 at 1, 1-3 at 0
      {"QzW", {1, 0, 1, 0}, diagonal02},  // heights -1, 1, 1, 1: 0-2 at 0, 1-3 at 1
      {"QzW", {0, 1, 0, 1}, diagonal13},  // heights 0, 0, 2, 0: 0-2 at 1, 1-3 at 0
  };
  for (const auto& c : cases) {
    Input weighted = kSquare;
    weighted.weights = c.weights;
    // Divide and conquer with alternating and with vertical cuts, and the incremental build.
    for (const char* path : {"", "l", "i"}) {
      const std::string switches = std::string(c.switches) + path;
      EngineRun run(switches.c_str(), weighted);
      ASSERT_EQ(run.thrown, 0) << switches;
      EXPECT_EQ(run.Triangles(), c.expected) << switches;
    }
  }
}

// The square [0, 4]^2 with three horizontal and three vertical segments across it, which
// cross at the 9 inner grid points.
const Input kCrossingLines = {{0, 0, 4, 0, 4, 4, 0, 4, 0, 1, 0, 2, 0, 3, 4, 1,
                               4, 2, 4, 3, 1, 0, 2, 0, 3, 0, 1, 4, 2, 4, 3, 4},
                              {4, 7, 5, 8, 6, 9, 10, 13, 11, 14, 12, 15},
                              {},
                              {}};

TEST(TessTriangulate, FailuresThrowTenAndFreeBothRecords) {
  kly::testing::ReportCapture capture;
  const struct {
    const char* switches;
    Input input;
    int32_t limit;
  } cases[] = {
      {"Qz", {{0, 0, 1, 1}, {}, {}, {}}, 0},               // fewer than three points
      {"Qz", {{2, 2, 2, 2, 2, 2}, {}, {}, {}}, 0},         // all identical
      {"Qz", {{0, 0, NAN, 1, 1, 0}, {}, {}, {}}, 0},       // not finite
      {"Qz", {{0, 0, INFINITY, 1, 1, 0}, {}, {}, {}}, 0},  // not finite
      // 1e-40 is below 2^-100 (about 7.9e-31) of the largest coordinate, 1: differences of
      // such coordinates could underflow in the predicates.
      {"Qz", {{0, 0, 1, 0, 0, 1e-40}, {}, {}, {}}, 0},
      {"Qpza0", kQuad, 0},   // area bound of 0
      {"Qpzq60", kQuad, 0},  // no triangle has all its angles above 60 degrees
      {"Qpzr", kQuad, 0},    // no rebuilding
      // A limit of 1 admits two live triangle records. Divide and conquer on five points
      // makes 2 ghosts for its first pair, and the next creation, in the three-point base
      // case, fails.
      {"Qz", {{0, 0, 1, 0, 1, 1, 0, 1, 0.5, 0.5}, {}, {}, {}}, 1},
      // 29 is just enough for the Delaunay construction of these points (see below), not for
      // the 9 crossing vertices: segment insertion fails, and so does its retry with the
      // crossings placed first.
      {"Qpz", kCrossingLines, 29},
  };
  for (const auto& c : cases) {
    EngineRun run(c.switches, c.input, c.limit);
    EXPECT_EQ(run.thrown, 10) << c.switches;
    EXPECT_EQ(run.in.points, nullptr) << c.switches;
    EXPECT_EQ(run.in.pointCount, 0) << c.switches;
    EXPECT_EQ(run.out.points, nullptr) << c.switches;
    EXPECT_EQ(run.out.corners, nullptr) << c.switches;
  }
  // The engine's failure texts reach nobody.
  EXPECT_TRUE(capture.reports().empty());

  EXPECT_EQ(EngineRun("Qz", {kCrossingLines.points, {}, {}, {}}, 29).thrown, 0);

  // A limit of 0 is no limit.
  EngineRun unlimited("Qz", {{0, 0, 1, 0, 1, 1, 0, 1, 0.5, 0.5}, {}, {}, {}}, 0);
  EXPECT_EQ(unlimited.thrown, 0);
  EXPECT_EQ(unlimited.out.triangleCount, 4);
}

TEST(TessTriangulate, CollinearPointsGiveNoTrianglesAndNoFailure) {
  EngineRun run("Qpz", {{0, 0, 1, 1, 2, 2, 3, 3}, {0, 3}, {}, {}});
  EXPECT_EQ(run.thrown, 0);
  EXPECT_EQ(run.out.triangleCount, 0);
  EXPECT_EQ(run.out.pointCount, 4);
}

TEST(TessTriangulate, HugeAndTinyCoordinatesComeBackExactly) {
  // Coordinates beyond 2^64 or below 2^-64 are worked on scaled by a power of two, which
  // changes no decision, and scaled back exactly.
  for (const double scale : {0x1.0p+900, 0x1.0p-900}) {
    Input input = kQuad;
    for (double& v : input.points) v *= scale;
    EngineRun run("Qpz", input);
    ASSERT_EQ(run.thrown, 0);
    EXPECT_EQ(std::vector<double>(run.out.points, run.out.points + 8), input.points);
    EXPECT_EQ(run.Triangles(), (Triangles{{0, 1, 3}, {1, 2, 3}}));
  }
}

// Regression: a segment given again after a crossing had split its first copy was walked
// anew along its own line, which the rounded crossing vertex lies off; the walk crossed the
// pieces again and went in circles. Copies (either way round, or through a duplicate vertex)
// are now inserted once, with the first non-zero mark among them.
TEST(TessTriangulate, RepeatedSegmentAfterACrossingIsInsertedOnce) {
  Input input = kSquare;
  input.points.insert(input.points.end(), {1, 1});  // vertex 4 duplicates vertex 2
  input.segments = {0, 1, 1, 2, 2, 3, 3, 0, 0, 2, 1, 3, 2, 0, 0, 4};
  input.markers = {1, 1, 1, 1, 0, 9, 5, 6};
  EngineRun run("Qpz", input);
  ASSERT_EQ(run.thrown, 0);
  // Diagonal 0-2 takes mark 5, its first non-zero; 1-3 crosses it, and the crossing vertex,
  // the sixth point, takes the crossed diagonal's mark.
  ASSERT_EQ(run.out.pointCount, 6);
  EXPECT_EQ(run.out.points[10], 0.5);
  EXPECT_EQ(run.out.points[11], 0.5);
  EXPECT_EQ(run.out.pointMarkers[5], 5);
  EXPECT_EQ(run.out.triangleCount, 4);
  EXPECT_EQ(run.out.segmentCount, 8);
}

// Regression: on collinear input without segments, the ghost ring's removal read the mark of
// a ghost's null corner, and crashed.
TEST(TessTriangulate, CollinearPointsWithoutSegmentsGiveNoTrianglesOnEveryPath) {
  for (const char* switches : {"Qz", "Qzi", "Qzl", "Qzen"}) {
    EngineRun run(switches, {{0, 0, 1, 1, 2, 2, 3, 3, 0.5, 0.5}, {}, {}, {}});
    ASSERT_EQ(run.thrown, 0) << switches;
    EXPECT_EQ(run.out.triangleCount, 0) << switches;
    EXPECT_EQ(run.out.pointCount, 5) << switches;
  }
}

// Regression: removing the incremental path's bounding triangle read the corners of
// triangles it had already killed.
TEST(TessTriangulate, IncrementalBuildRemovesItsBoundingTriangle) {
  Input input = kSquare;
  input.points.insert(input.points.end(), {0.5, 0.5, 1, 1});
  EngineRun run("Qzi", input);
  ASSERT_EQ(run.thrown, 0);
  EXPECT_EQ(run.Triangles(), (Triangles{{0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {0, 4, 3}}));
  EXPECT_EQ(run.out.pointCount, 6);  // the duplicate keeps its slot
}

}  // namespace
