// KLY_Extrusion's front and back faces: the front at z = 0 from the engine, its normals and
// texture coordinates, hole seeds seen through the carved front, the engine's input arrays,
// the back face made from the front, and the failures of the triangulation.
//
// The offset service fails in every test here, so that every contour keeps its shape. A
// polygon of lines flattens to its corners and the midpoints of its edges.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "kly/host/nut.h"
#include "tests/testing/extrusion_access.h"
#include "tests/testing/mesh_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::LineContour;
using kly::testing::ProjectedArea;
using kly::testing::Report;
using kly::testing::ReportCapture;
using kly::testing::ScriptedOffsetService;
using kly::testing::Square;
using kly::testing::TestExtrusion;
using kly::testing::ThrownNumber;
using kly::testing::Vec3;

constexpr uint32_t kTessTag = 0x540000;

// The z of (p2 - p0) x (p1 - p0), the direction the library's winding gives a triangle.
double FacingZ(const TestExtrusion& e, const KLY_Triangle& t) {
  const Vec3& p0 = e.vertices[t.indices[0]].pos;
  const Vec3 a = e.vertices[t.indices[2]].pos - p0;
  const Vec3 b = e.vertices[t.indices[1]].pos - p0;
  return a.x * b.y - a.y * b.x;
}

// A capture whose offset service always fails.
struct Host {
  Host() { ScriptedOffsetService().InstallIn(capture.services()); }
  ReportCapture capture;
};

// The rectangle [x0, x1] x [y0, y1], counter-clockwise.
KLY_Contour Rectangle(double x0, double y0, double x1, double y1) {
  return LineContour({{x0, y0, 0}, {x1, y0, 0}, {x1, y1, 0}, {x0, y1, 0}});
}

// Texture coordinates run over the bounds of the outline: u = (x - min x) / (max x - min x),
// v likewise in y.
TEST(ExtrusionFrontFace, FlatAtZeroFacingMinusZWithBoundsUV) {
  struct Case {
    double x0, y0, x1, y1;
  };
  const Case cases[] = {{0, 0, 10, 10}, {-5, 2, 15, 6}};
  for (const Case& c : cases) {
    Host host;
    TestExtrusion e;
    e.PushContour(Rectangle(c.x0, c.y0, c.x1, c.y1));
    e.Update();
    // Corners and edge midpoints: eight points on the boundary, 8 - 2 = 6 triangles.
    const double mx = 0.5 * (c.x0 + c.x1), my = 0.5 * (c.y0 + c.y1);
    const std::vector<Vec3> expected = {{c.x0, c.y0, 0}, {mx, c.y0, 0},   {c.x1, c.y0, 0},
                                        {c.x1, my, 0},   {c.x1, c.y1, 0}, {mx, c.y1, 0},
                                        {c.x0, c.y1, 0}, {c.x0, my, 0}};
    ASSERT_EQ(8u, e.GetNumVertices());
    ASSERT_EQ(6u, e.GetNumTriangles());
    for (const Vec3& p : expected) {
      EXPECT_EQ(1, std::count_if(e.vertices.begin(), e.vertices.end(),
                                 [&](const KLY_Vertex& v) { return v.pos == p; }))
          << p.x << " " << p.y;
    }
    for (const KLY_Vertex& v : e.vertices) {
      EXPECT_EQ(1.0, v.pos_w);
      EXPECT_EQ((Vec3{0, 0, -1}), v.normal);
      EXPECT_FALSE(v.singular);
      EXPECT_NEAR((v.pos.x - c.x0) / (c.x1 - c.x0), v.uv.x, 1e-15);
      EXPECT_NEAR((v.pos.y - c.y0) / (c.y1 - c.y0), v.uv.y, 1e-15);
    }
    for (const KLY_Triangle& t : e.triangles) {
      EXPECT_EQ(0u, t.material_index);
      EXPECT_EQ((Vec3{0, 0, -1}), t.normal);
      EXPECT_LT(FacingZ(e, t), 0.0);
    }
    EXPECT_NEAR((c.x1 - c.x0) * (c.y1 - c.y0), ProjectedArea(e, 0), 1e-9);
  }
}

// The back face is the front at the total depth: z = extrusionDepth, plus 2 bevelDepth when the
// style is not 0 (the style alone decides). Corners 0 and 2 swap, u is mirrored, the vertex
// normal turns to +Z, and the triangle normal stays -Z. Front: vertices 0-7, triangles 0-5;
// back: vertices 8-15, triangles 6-11.
TEST(ExtrusionBackFace, MirrorOfTheFrontAtTheTotalDepth) {
  struct Case {
    int32_t style;
    double bevel, depth, back_z;
  };
  const Case cases[] = {
      {KLY_Extrusion::BevelChamfer, 2, 10, 14},  // 10 + 2 * 2
      {KLY_Extrusion::BevelNone, 3, 10, 10},     // style 0: the bevel adds nothing
      {KLY_Extrusion::BevelConcave, 0.5, 3, 4},  // 3 + 2 * 0.5
  };
  for (const Case& c : cases) {
    Host host;
    TestExtrusion e;
    e.PushContour(Square(0, 0, 10));
    e.SetBevelStyle(c.style);
    e.SetBevelDepth(c.bevel);
    e.SetExtrusionDepth(c.depth);
    e.Update();
    ASSERT_GE(e.GetNumTriangles(), 12u);
    for (uint32_t i = 0; i < 8; ++i) {
      const KLY_Vertex& front = e.vertices[i];
      const KLY_Vertex& back = e.vertices[8 + i];
      EXPECT_EQ((Vec3{front.pos.x, front.pos.y, c.back_z}), back.pos) << c.style << " " << i;
      EXPECT_EQ(1.0, back.pos_w);
      EXPECT_EQ((Vec3{0, 0, 1}), back.normal);
      EXPECT_EQ(1.0 - front.uv.x, back.uv.x);
      EXPECT_EQ(front.uv.y, back.uv.y);
    }
    for (uint32_t t = 0; t < 6; ++t) {
      const KLY_Triangle& front = e.triangles[t];
      const KLY_Triangle& back = e.triangles[6 + t];
      EXPECT_EQ(
          (std::vector<uint32_t>{front.indices[2] + 8, front.indices[1] + 8, front.indices[0] + 8}),
          kly::testing::Indices(back))
          << c.style << " " << t;
      EXPECT_EQ(1u, back.material_index);
      EXPECT_EQ((Vec3{0, 0, -1}), back.normal);
      EXPECT_GT(FacingZ(e, back), 0.0);
    }
  }
}

// Whether a point lies strictly inside the union of axis-aligned boxes.
struct Box {
  double x0, y0, x1, y1;
};
bool InsideAny(const std::vector<Box>& boxes, double x, double y) {
  for (const Box& b : boxes) {
    if (x > b.x0 && x < b.x1 && y > b.y0 && y < b.y1) return true;
  }
  return false;
}

// The front of an outline with one hole: no triangle's centroid in the hole, and the area of
// the outline less the hole's.
void ExpectHoleCarved(const TestExtrusion& e, const std::vector<Box>& hole, double area) {
  ASSERT_GT(e.GetNumTriangles(), 0u);
  for (const KLY_Triangle& t : e.triangles) {
    const Vec3& a = e.vertices[t.indices[0]].pos;
    const Vec3& b = e.vertices[t.indices[1]].pos;
    const Vec3& c = e.vertices[t.indices[2]].pos;
    EXPECT_FALSE(InsideAny(hole, (a.x + b.x + c.x) / 3, (a.y + b.y + c.y) / 3));
  }
  EXPECT_NEAR(area, ProjectedArea(e, 0), 1e-9);
}

// A clockwise L-shaped hole, already in the direction holes are given, so its polygon is
// p0 (25,40), m01, p1 (25,25), m12, p2 (40,25), m23, ... The seed search looks at corners of
// three consecutive points:
//   k = 0 (p0, m01, p1): collinear, T = 0, skipped.
//   k = 1 (m01, p1, m12) = (25,32.5), (25,25), (32.5,25): T = 56.25, but the corner is reflex
//     seen from inside: S = twice the signed area of (a, b, g) = +18.75, not below 0, so the
//     centroid g = (27.5, 27.5), which lies in the solid part, is not taken.
//   k = 2 (p1, m12, p2): collinear, skipped.
//   k = 3 (m12, p2, m23) = (32.5,25), (40,25), (40,22.5): S = -6.25, convex: the seed is
//     g = (37.5, 24.17), inside the hole.
// So the hole (area 20 x 5 + 5 x 15 = 175) is carved from the 60 x 60 outline: 3600 - 175.
// Seeding at the reflex corner would carve the solid ring instead and leave the hole filled.
TEST(ExtrusionHoleSeeds, FirstCornerConvexFromInsideSeedsTheHole) {
  Host host;
  TestExtrusion e;
  e.PushContour(Square(0, 0, 60));
  e.PushContour(
      LineContour({{25, 40, 0}, {25, 25, 0}, {40, 25, 0}, {40, 20, 0}, {20, 20, 0}, {20, 40, 0}}));
  e.Update();
  ExpectHoleCarved(e, {{20, 20, 40, 25}, {20, 20, 25, 40}}, 3600 - 175);
}

// The same seed search on a counter-clockwise hole, which the pipeline reverses first.
TEST(ExtrusionHoleSeeds, ReversedHoleIsSeededInside) {
  Host host;
  TestExtrusion e;
  e.PushContour(Square(0, 0, 60));
  e.PushContour(Square(20, 30, 10, true));
  e.SetOrientationStyle(0);  // the even-odd rule makes the inner square a hole
  e.Update();
  ExpectHoleCarved(e, {{20, 30, 30, 40}}, 3600 - 100);
}

// A hole of side 0.01: every corner of its polygon has T = 0.005 * 0.005 = 2.5e-5, below
// 0.001, so no corner serves and the seed is the mean of its eight points, (5.005, 5.005),
// inside it.
TEST(ExtrusionHoleSeeds, TinyHoleFallsBackToTheMeanOfItsPoints) {
  Host host;
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  e.PushContour(Square(5, 5, 0.01, false));
  e.Update();
  ExpectHoleCarved(e, {{5, 5, 5.01, 5.01}}, 100 - 0.01 * 0.01);
}

// The engine's input arrays are allocated once at their exact sizes, before the engine
// allocates anything of its own: N points of 16 bytes at site 0, N segments of 8 bytes at site
// 1, H holes of 16 bytes at site 2, where N counts the flattened points without the repeated
// last one. A square flattens to N = 8; a square with a square hole to N = 16, H = 1. With no
// hole the hole array is still allocated, empty.
TEST(ExtrusionFrontFace, EngineInputAllocatedAtExactSizes) {
  struct Case {
    bool with_hole;
    std::vector<std::pair<uint32_t, uint32_t>> expected;  // bytes, tag
  };
  const Case cases[] = {
      {false, {{128, kTessTag | 0}, {64, kTessTag | 1}, {0, kTessTag | 2}}},
      {true, {{256, kTessTag | 0}, {128, kTessTag | 1}, {16, kTessTag | 2}}},
  };
  for (const Case& c : cases) {
    Host host;
    std::vector<std::pair<uint32_t, uint32_t>> engine_allocations;
    host.capture.services().allow_allocation = [&](uint32_t bytes, uint32_t tag) {
      if ((tag & 0xFFFF0000u) == kTessTag) engine_allocations.push_back({bytes, tag});
      return true;
    };
    TestExtrusion e;
    e.PushContour(Square(0, 0, 30));
    if (c.with_hole) e.PushContour(Square(10, 10, 10, false));
    e.Update();
    ASSERT_GT(engine_allocations.size(), 3u);
    engine_allocations.resize(3);
    EXPECT_EQ(c.expected, engine_allocations) << c.with_hole;
  }
}

// A set of polygons with fewer than three points in all (the repeated last point left out)
// gives no front face and no error, and leaves the given mesh as it was; nothing reaches the
// engine.
TEST(ExtrusionFrontFace, FewerThanThreePointsLeaveTheMeshAlone) {
  Host host;
  uint32_t engine_allocations = 0;
  host.capture.services().allow_allocation = [&](uint32_t, uint32_t tag) {
    if ((tag & 0xFFFF0000u) == kTessTag) ++engine_allocations;
    return true;
  };
  const std::vector<std::vector<Vec3>> two_points = {{{0, 0, 0}, {4, 0, 0}, {0, 0, 0}}};
  for (const auto& polygons : {std::vector<std::vector<Vec3>>{}, two_points}) {
    TestExtrusion e;
    e.polygons = polygons;
    e.holeFlags.assign(polygons.size(), 0);
    KLY_Mesh mesh;
    mesh.PushVertex(kly::testing::VertexAt(1, 2, 3));
    EXPECT_EQ(0, ThrownNumber([&] { e.BuildFrontMesh(mesh); }));
    EXPECT_EQ(1u, mesh.GetNumVertices());
    EXPECT_EQ(0u, mesh.GetNumTriangles());
  }
  EXPECT_EQ(0u, engine_allocations);
  EXPECT_TRUE(host.capture.reports().empty());
}

// BuildFrontMesh empties the mesh it is given before writing the front face into it.
TEST(ExtrusionFrontFace, TheGivenMeshIsEmptiedFirst) {
  Host host;
  TestExtrusion e;
  e.polygons = {
      kly::testing::ClosedPolygon({{0, 0, 0}, {5, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}})};
  e.holeFlags = {0};
  KLY_Mesh mesh;
  mesh.PushVertex(kly::testing::VertexAt(1, 2, 3));
  mesh.PushFace(KLY_Triangle(0, 0, 0));
  e.BuildFrontMesh(mesh);
  // Five boundary points, 5 - 2 = 3 triangles, all at z = 0.
  EXPECT_EQ(5u, mesh.GetNumVertices());
  EXPECT_EQ(3u, mesh.GetNumTriangles());
  for (auto v = mesh.beginVerts(); v != mesh.endVerts(); ++v) EXPECT_EQ(0.0, v->pos.z);
}

// Any failure of the engine (here its own allocations refused: everything after the caller's
// three input arrays) arrives as the BuildFaceTriangulation report under 0x580002 and the
// number 0x5803, whatever number the engine threw.
TEST(ExtrusionFrontFace, EngineFailureReportsTheTriangulationMessage) {
  Host host;
  uint32_t engine_allocations = 0;
  host.capture.services().allow_allocation = [&](uint32_t, uint32_t tag) {
    return (tag & 0xFFFF0000u) != kTessTag || ++engine_allocations <= 3;
  };
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  e.SetExtrusionDepth(10);
  EXPECT_EQ(0x5803, ThrownNumber([&] { e.Update(); }));
  const Report expected{
      0x580002, 8, "KLY: Triangulation of front face failed. Outline may be self intersecting."};
  EXPECT_EQ(std::vector<Report>{expected}, host.capture.reports());
  EXPECT_EQ(0u, e.GetNumVertices());
  EXPECT_TRUE(e.dirty);
  EXPECT_TRUE(e.WorkingFieldsEmpty());
}

// The caller's own input allocation stands outside the guard around the engine: its failure is
// a standard exception, reported and numbered by the utility library, not the triangulation
// message.
TEST(ExtrusionFrontFace, InputAllocationFailureIsAStandardException) {
  Host host;
  host.capture.services().allow_allocation = [](uint32_t, uint32_t tag) {
    return tag != (kTessTag | 0);
  };
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  EXPECT_EQ(NUT_kErrStdException, ThrownNumber([&] { e.Update(); }));
  ASSERT_EQ(1u, host.capture.reports().size());
  EXPECT_EQ(0x0C0001u, host.capture.reports()[0].id);
  EXPECT_EQ(0u, e.GetNumVertices());
  EXPECT_TRUE(e.WorkingFieldsEmpty());
}

}  // namespace
