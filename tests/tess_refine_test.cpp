// Quality refinement (switches q, a, u, S and o2), judged by its rules on generated inputs and
// glyph outlines: angle and area bounds met, the result still valid for the independent
// checker, the vertex budget kept, and the second-order nodes where they belong.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kly/host/glyph_outlines.h"
#include "kly/tess/constraints.h"
#include "kly/tess/exact_arithmetic.h"
#include "kly/tess/failure.h"
#include "kly/tess/triangulate.h"
#include "tests/testing/tess_checker.h"
#include "tests/testing/tess_generators.h"
#include "tests/testing/tess_runner.h"

namespace kly {
namespace testing {
namespace {

constexpr double kPi = 3.141592653589793;

struct Pt {
  double x, y;
};

Pt PointAt(const std::vector<double>& points, int32_t v) {
  return {points[2 * static_cast<size_t>(v)], points[2 * static_cast<size_t>(v) + 1]};
}

double Distance(Pt a, Pt b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

// Whether p lies on the input segment ab, to within the rounding of a split vertex.
bool OnSegment(Pt a, Pt b, Pt p) {
  const double length = Distance(a, b);
  const double cross = (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
  const double along = (b.x - a.x) * (p.x - a.x) + (b.y - a.y) * (p.y - a.y);
  return std::fabs(cross) <= 1e-9 * length * length && along > 0.0 && along < length * length;
}

// The smallest angle of triangle t in degrees, and the ends of the edge opposite it.
double SmallestAngle(const Triangulation& out, int32_t t, int32_t& end1, int32_t& end2) {
  double smallest = 180.0;
  for (int k = 0; k < 3; ++k) {
    const int32_t c = out.corners[3 * t + k], u = out.corners[3 * t + (k + 1) % 3],
                  w = out.corners[3 * t + (k + 2) % 3];
    const Pt pc = PointAt(out.points, c), pu = PointAt(out.points, u), pw = PointAt(out.points, w);
    const double angle =
        std::fabs(std::atan2((pu.x - pc.x) * (pw.y - pc.y) - (pu.y - pc.y) * (pw.x - pc.x),
                             (pu.x - pc.x) * (pw.x - pc.x) + (pu.y - pc.y) * (pw.y - pc.y))) *
        180.0 / kPi;
    if (angle < smallest) {
      smallest = angle;
      end1 = u;
      end2 = w;
    }
  }
  return smallest;
}

// Where the input segments ab and cd meet, if they do: a shared end, a crossing, or an end of
// one on the other (the engine cuts segments at every vertex on them).
bool Meet(Pt a, Pt b, Pt c, Pt d, Pt& join) {
  const double denominator = (b.x - a.x) * (d.y - c.y) - (b.y - a.y) * (d.x - c.x);
  if (denominator == 0.0) return false;
  const double s = ((c.x - a.x) * (d.y - c.y) - (c.y - a.y) * (d.x - c.x)) / denominator;
  const double t = ((c.x - a.x) * (b.y - a.y) - (c.y - a.y) * (b.x - a.x)) / denominator;
  constexpr double kRounding = 1e-12;
  if (s < -kRounding || s > 1 + kRounding || t < -kRounding || t > 1 + kRounding) return false;
  join = {a.x + s * (b.x - a.x), a.y + s * (b.y - a.y)};
  return true;
}

// The exception to the angle bound: the edge opposite the small angle joins two added vertices
// on two different segments with a common end, at distances from it within 0.999 and 1.001 of
// each other (a little wider here, for the rounding of the split vertices).
bool ExemptSmallInputAngle(const PlanarGraph& in, const Triangulation& out, int32_t end1,
                           int32_t end2) {
  if (end1 < in.PointCount() || end2 < in.PointCount()) return false;
  const Pt p = PointAt(out.points, end1), q = PointAt(out.points, end2);
  const auto end = [&](size_t s, int i) { return PointAt(in.points, in.segments[2 * s + i]); };
  for (size_t s = 0; 2 * s < in.segments.size(); ++s) {
    if (!OnSegment(end(s, 0), end(s, 1), p)) continue;
    for (size_t r = 0; 2 * r < in.segments.size(); ++r) {
      Pt join;
      if (r == s || !OnSegment(end(r, 0), end(r, 1), q) ||
          !Meet(end(s, 0), end(s, 1), end(r, 0), end(r, 1), join))
        continue;
      const double ratio = Distance(p, join) / Distance(q, join);
      if (ratio > 0.9989 && ratio < 1.0011) return true;
    }
  }
  return false;
}

// Runs `switches` on `c`, expects a valid result, and every triangle's smallest angle at least
// `angle` degrees (to within rounding) unless the exception covers it. Returns the count of
// triangles the exception covers.
int ExpectAngleBound(const std::string& switches, const TessCase& c, double angle) {
  Triangulation out;
  EXPECT_EQ(RunAndCheck(switches, c, &out), 0) << switches << " on " << c.name;
  int exempt = 0;
  for (int32_t t = 0; t < out.TriangleCount(); ++t) {
    int32_t end1 = -1, end2 = -1;
    const double smallest = SmallestAngle(out, t, end1, end2);
    if (smallest >= angle * (1.0 - 1e-9)) continue;
    if (ExemptSmallInputAngle(c.graph, out, end1, end2)) {
      ++exempt;
      continue;
    }
    ADD_FAILURE() << switches << " on " << c.name << ": triangle " << t << " has an angle of "
                  << smallest << " degrees";
    break;
  }
  return exempt;
}

TessCase Wedge(double degrees) {
  const double r = degrees * kPi / 180.0;
  TessCase c{"wedge of " + std::to_string(degrees) + " degrees", {}, {{0, 1, 2}}};
  c.graph.points = {0, 0, 10, 0, 10 * std::cos(r), 10 * std::sin(r)};
  c.graph.segments = {0, 1, 1, 2, 2, 0};
  return c;
}

TessCase UnitSquare() {
  TessCase c{"unit square", {}, {{0, 1, 2, 3}}};
  c.graph.points = {0, 0, 1, 0, 1, 1, 0, 1};
  c.graph.segments = {0, 1, 1, 2, 2, 3, 3, 0};
  return c;
}

double Area(const Triangulation& out, int32_t t) {
  const Pt a = PointAt(out.points, out.corners[3 * t]),
           b = PointAt(out.points, out.corners[3 * t + 1]),
           c = PointAt(out.points, out.corners[3 * t + 2]);
  return 0.5 * std::fabs((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));
}

TEST(TessRefine, EveryTriangleMeetsTheAngleBoundOrCutsASmallInputAngle) {
  const TessCase graphs[] = {UnitSquare(),
                             StarPolygon(9),
                             PolygonWithHoles(3, 60, 4, false),
                             PolygonWithHoles(8, 40, 3, true),
                             CrossingSegments(2, 30, 20),
                             GridWithSegmentsThroughVertices(6),
                             DuplicatePoints(5, 200)};
  for (const double angle : {20.0, 30.0, 33.0}) {
    const std::string number = std::to_string(static_cast<int>(angle));
    for (const TessCase& c : graphs) ExpectAngleBound("pq" + number + "z", c, angle);
    // A corner below the bound keeps its angle: the triangle in it is the exception.
    EXPECT_GT(ExpectAngleBound("pq" + number + "z", Wedge(10.0), angle), 0);
    EXPECT_GT(ExpectAngleBound("pq" + number + "z", Wedge(1.0), angle), 0);
    // Without p the hull is the domain, and its edges the segments.
    ExpectAngleBound("q" + number + "z", RandomPoints(7, 300), angle);
    ExpectAngleBound("q" + number + "z", IntegerGrid(6, 5, true), angle);
  }
}

TEST(TessRefine, GlyphOutlinesMeetTheAngleBound) {
  std::unique_ptr<host::GlyphOutlines> font;
  try {
    font = std::make_unique<host::GlyphOutlines>("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf");
  } catch (int32_t) {
    GTEST_SKIP() << "no DejaVu Sans";
  }
  int checked = 0;
  for (int32_t glyph = 0; glyph < font->GlyphCount(); glyph += 61) {
    const TessCase c = GlyphCase("glyph " + std::to_string(glyph), font->Polylines(glyph, 1.0));
    if (c.graph.PointCount() < 3) continue;
    ExpectAngleBound("pq30z", c, 30.0);
    ++checked;
  }
  EXPECT_GT(checked, 50);
}

TEST(TessRefine, EveryTriangleMeetsTheAreaBound) {
  // A unit square under a bound of 0.01 needs at least 1 / 0.01 = 100 triangles.
  const Triangulation square = RunEngine("pa0.01z", UnitSquare().graph);
  EXPECT_GE(square.TriangleCount(), 100);
  for (int32_t t = 0; t < square.TriangleCount(); ++t) ASSERT_LE(Area(square, t), 0.01);
  Triangulation holes;
  ASSERT_EQ(RunAndCheck("pq20a500000000z", PolygonWithHoles(3, 60, 4, false), &holes), 0);
  for (int32_t t = 0; t < holes.TriangleCount(); ++t) ASSERT_LE(Area(holes, t), 5e8);
}

// Refines the left half of the plane to triangles of area 0.002 at most.
bool FineOnTheLeft(const double* org, const double* dest, const double* apex, double area) {
  return (org[0] + dest[0] + apex[0]) / 3.0 < 0.5 && area > 0.002;
}

TEST(TessRefine, TheUserTestDecidesWhichTrianglesAreRefined) {
  const TessTriangleTest before = SetTessTriangleTest(FineOnTheLeft);
  EXPECT_EQ(before, TessDefaultTriangleTest);
  Triangulation out;
  EXPECT_EQ(RunAndCheck("puz", UnitSquare(), &out), 0);
  EXPECT_EQ(SetTessTriangleTest(nullptr), FineOnTheLeft);
  // The left half, area 0.5, needs at least 0.5 / 0.002 = 250 triangles; the right half none.
  int left = 0;
  for (int32_t t = 0; t < out.TriangleCount(); ++t) {
    double x = 0.0, corners[3][2];
    for (int k = 0; k < 3; ++k) {
      const Pt p = PointAt(out.points, out.corners[3 * t + k]);
      corners[k][0] = p.x;
      corners[k][1] = p.y;
      x += p.x / 3.0;
    }
    EXPECT_FALSE(FineOnTheLeft(corners[0], corners[1], corners[2], Area(out, t)));
    if (x < 0.5) ++left;
  }
  EXPECT_GE(left, 250);
  // The default test: the longest squared edge at most 0.05 (x^2 + y^2) + 0.02 of the origin.
  const Triangulation graded = RunEngine("puz", UnitSquare().graph);
  for (int32_t t = 0; t < graded.TriangleCount(); ++t) {
    const double* c[3];
    for (int k = 0; k < 3; ++k)
      c[k] = &graded.points[2 * static_cast<size_t>(graded.corners[3 * t + k])];
    EXPECT_FALSE(TessDefaultTriangleTest(c[0], c[1], c[2], Area(graded, t))) << "triangle " << t;
  }
}

TEST(TessRefine, SwitchSCapsTheAddedVertices) {
  const TessCase c = PolygonWithHoles(3, 60, 4, false);
  const int32_t unlimited = RunEngine("pq30z", c.graph).PointCount() - c.graph.PointCount();
  ASSERT_GT(unlimited, 10);
  // Every vertex kept spends one of the budget, and the stage stops when it is spent; a vertex
  // taken back (it would encroach) spends none.
  for (const int32_t budget : {0, 1, 10}) {
    const std::string switches = "pq30S" + std::to_string(budget) + "z";
    EXPECT_EQ(RunEngine(switches.c_str(), c.graph).PointCount() - c.graph.PointCount(), budget);
  }
}

// Segments crossing at 1e-15 to 1e-5 radians lie within a rounding of each other far from the
// crossing, and encroach each other until their subsegments are as short as their gap: the
// stage gives up (the number 10) once the splits pass their bound, instead of filling the
// memory.
TEST(TessRefine, SegmentsCrossingAtATinyAngleFailInsteadOfRefiningForEver) {
  EXPECT_EQ(RunAndCheck("pq20z", NearParallelCrossings(39, 3)), 10);
  EXPECT_EQ(RunAndCheck("pq33z", NearParallelCrossings(2, 1)), 10);
}

TEST(TessRefine, AnAngleOfSixtyDegreesOrMoreIsRefused) {
  // Every triangle has an angle of at most 60 degrees: no refinement can meet such a bound.
  EXPECT_THROW(RunEngine("pq60z", UnitSquare().graph), int32_t);
  EXPECT_EQ(RunAndCheck("pq59z", Wedge(60.0)), 0);
}

// A subsegment from 1 to the next double, with one triangle on it, pooled as encroached: its
// midpoint 1 + 2^-53 rounds (to even) onto its origin 1, so it cannot be split.
TEST(TessRefine, SplittingASubsegmentOfAdjacentDoublesIsAPrecisionError) {
  TessMesh m{};
  MeshZero(m);
  TessSwitches sw;
  sw.useSegments = 1;
  ExactInit();
  m.inVertices = 3;
  m.vertexMarkIndex = (2 * 8 + 3) / 4;
  PoolInit(m.vertices, (m.vertexMarkIndex + 2) * 4, kVerticesPerBlock, kVerticesPerBlock, 8);
  InitTriangleSubsegmentPools(m, sw);
  PoolInit(m.badSubsegments, sizeof(BadSubsegment), kBadSubsegmentsPerBlock, 0, 0);
  m.checkSegments = 1;
  m.steinerLeft = -1;
  const double corners[3][2] = {{1.0, 0.0}, {std::nextafter(1.0, 2.0), 0.0}, {1.0, 1.0}};
  TessVertex v[3];
  for (int i = 0; i < 3; ++i) {
    v[i] = MakeVertex(m);
    v[i][0] = corners[i][0];
    v[i][1] = corners[i][1];
  }
  const TriHandle t = MakeTriangle(m, sw);
  SetOrg(t, v[0]);
  SetDest(t, v[1]);
  SetApex(t, v[2]);
  const SubHandle sub = MakeSubsegment(m);
  SetSOrg(sub, v[0]);
  SetSDest(sub, v[1]);
  SetSegOrg(sub, v[0]);
  SetSegDest(sub, v[1]);
  TSBond(t, sub);
  auto* bad = static_cast<BadSubsegment*>(PoolAlloc(m.badSubsegments));
  *bad = {EncodeSub(sub), v[0], v[1]};
  std::string text;
  int64_t splits = 0;
  try {
    SplitEncroachedSegments(m, sw, splits, 0, false);
  } catch (const TriangleFailure& failure) {
    text = failure.text();
  }
  MeshTearDown(m);
  EXPECT_EQ(text, "(triangulate) Precision error.");
}

TEST(TessRefine, SecondOrderNodesAreSharedMidpoints) {
  TessRecord in{}, out{};
  const TessCase c = PolygonWithHoles(4, 20, 2, false);
  in.points = CopyIn<double>(0, c.graph.points);
  in.pointCount = c.graph.PointCount();
  in.segments = CopyIn<int32_t>(1, c.graph.segments);
  in.segmentCount = static_cast<int32_t>(c.graph.segments.size() / 2);
  in.holes = CopyIn<double>(2, c.graph.holes);
  in.holeCount = static_cast<int32_t>(c.graph.holes.size() / 2);
  triangulate("pq25o2z", in, out, nullptr);
  ASSERT_EQ(out.cornerCount, 6);
  // One node an edge: E = (3 T + H) / 2 edges, each with the node of its two triangles.
  std::map<std::pair<int32_t, int32_t>, int32_t> nodeOfEdge;
  for (int32_t t = 0; t < out.triangleCount; ++t) {
    const int32_t* n = out.corners + 6 * static_cast<size_t>(t);
    for (int k = 0; k < 3; ++k) {
      const int32_t a = n[(k + 1) % 3], b = n[(k + 2) % 3], mid = n[3 + k];
      const auto key = std::minmax(a, b);
      const auto [it, fresh] = nodeOfEdge.emplace(key, mid);
      EXPECT_EQ(it->second, mid) << "edge " << a << "-" << b << " has two nodes";
      (void)fresh;
      EXPECT_EQ(out.points[2 * mid], 0.5 * (out.points[2 * a] + out.points[2 * b]));
      EXPECT_EQ(out.points[2 * mid + 1], 0.5 * (out.points[2 * a + 1] + out.points[2 * b + 1]));
    }
  }
  EXPECT_EQ(static_cast<int32_t>(nodeOfEdge.size()), out.edgeCount);
  std::vector<int32_t> nodes;
  for (const auto& entry : nodeOfEdge) nodes.push_back(entry.second);
  std::sort(nodes.begin(), nodes.end());
  EXPECT_EQ(std::unique(nodes.begin(), nodes.end()), nodes.end()) << "a node on two edges";
  TessFreeRecord(&in);
  TessFreeRecord(&out);
}

}  // namespace
}  // namespace testing
}  // namespace kly
