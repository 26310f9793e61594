// KLY_Extrusion's build pipeline: what a build appends, when the object is a solid, the failures
// that stop a build and the state they leave, and the style reset of a vanishing bevel.
//
// The offset service fails in every test here, so that every contour keeps its shape: a
// 10 x 10 square then flattens to its four corners and four edge midpoints, eight points on
// its boundary, which the engine triangulates into 8 - 2 = 6 triangles without adding any.
// Its chain of cubics has four straight cubics; a straight wall band over one of them is a
// patch of 6 x 10 = 60 vertices and 10 x 9 = 90 triangles (six samples along a straight
// outline cubic, ten across at the wall's three fixed levels).
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/testing/extrusion_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::LineContour;
using kly::testing::Report;
using kly::testing::ReportCapture;
using kly::testing::ScriptedOffsetService;
using kly::testing::Square;
using kly::testing::TestExtrusion;
using kly::testing::ThrownNumber;
using kly::testing::VerticesOfMaterial;

const Report kBadBezier{0x580001, 8,
                        "KLY: Incorrect points for a bezier contour. Try reducing the bevel size."};
const Report kBadInitialContour{0x580003, 8,
                                "KLY: outline contains triangles that are too small to be "
                                "rendered. Check for very thin triangles in original artwork."};

struct Shape {
  int32_t style;
  double bevel;
  double depth;
};

void Configure(TestExtrusion& e, const Shape& s) {
  e.SetBevelStyle(s.style);
  e.SetBevelDepth(s.bevel);
  e.SetExtrusionDepth(s.depth);
}

double MaxZ(const TestExtrusion& e) {
  double z = -1e300;
  for (const KLY_Vertex& v : e.vertices) z = std::max(z, v.pos.z);
  return z;
}

// A capture whose offset service always fails.
struct Host {
  Host() { ScriptedOffsetService().InstallIn(capture.services()); }
  ReportCapture capture;
};

TEST(ExtrusionBuild, NoContoursLeavesAnEmptyMeshWithoutError) {
  Host host;
  TestExtrusion e;
  Configure(e, {KLY_Extrusion::BevelChamfer, 2, 10});
  EXPECT_EQ(0, ThrownNumber([&] { e.Update(); }));
  EXPECT_EQ(0u, e.GetNumVertices());
  EXPECT_EQ(0u, e.GetNumTriangles());
  EXPECT_FALSE(e.dirty);
  EXPECT_TRUE(host.capture.reports().empty());
}

// A flat sheet: neither a bevel with a depth above 0 under a style other than 0, nor a depth
// above 0. Only the front face, at z = 0, and not a closed solid.
TEST(ExtrusionBuild, FlatCasesGiveOnlyTheFrontFace) {
  const Shape cases[] = {
      {KLY_Extrusion::BevelNone, 0, 0},
      {KLY_Extrusion::BevelChamfer, 0, 0},  // bevel 0 is not above 0
      {KLY_Extrusion::BevelNone, 3, 0},     // a bevel without a style
  };
  for (const Shape& s : cases) {
    Host host;
    TestExtrusion e;
    e.PushContour(Square(0, 0, 10));
    Configure(e, s);
    e.Update();
    EXPECT_EQ(8u, e.GetNumVertices()) << s.style << " " << s.bevel;
    EXPECT_EQ(6u, e.GetNumTriangles()) << s.style << " " << s.bevel;
    for (const KLY_Triangle& t : e.triangles) EXPECT_EQ(0u, t.material_index);
    for (const KLY_Vertex& v : e.vertices) EXPECT_EQ(0.0, v.pos.z);
    EXPECT_FALSE(e.ClosedTwoManifold());
    EXPECT_TRUE(e.WorkingFieldsEmpty());
    EXPECT_FALSE(e.dirty);
  }
}

// Chamfer 2 with depth 0 is a solid of depth 2 + 0 + 2 = 4. Its profile has no straight stretch,
// so both bands are bevel: per outline cubic two patches of 6 x 6 = 36 vertices and
// 10 x 5 = 50 triangles (the patch's first row and column are straight cubics, six samples
// each). Vertices 8 + 8 + 2 * 4 * 36 = 304, triangles 6 + 6 + 2 * 4 * 50 = 412.
TEST(ExtrusionBuild, BevelWithoutDepthIsASolidOfTwiceTheBevel) {
  Host host;
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  Configure(e, {KLY_Extrusion::BevelChamfer, 2, 0});
  e.Update();
  EXPECT_TRUE(e.ClosedTwoManifold());
  EXPECT_EQ(304u, e.GetNumVertices());
  EXPECT_EQ(412u, e.GetNumTriangles());
  EXPECT_EQ(4.0, MaxZ(e));
  for (uint32_t i : VerticesOfMaterial(e, KLY_Extrusion::kBackMaterial)) {
    EXPECT_EQ(4.0, e.vertices[i].pos.z);
  }
  EXPECT_TRUE(VerticesOfMaterial(e, KLY_Extrusion::kSideMaterial).empty());
  EXPECT_EQ(2u * 4 * 36, VerticesOfMaterial(e, KLY_Extrusion::kBevelMaterial).size());
}

// Front 8 + back 8 + four wall patches of 60: 256 vertices; 6 + 6 + 4 * 90 = 372 triangles.
TEST(ExtrusionBuild, SecondUpdateAppendsASecondSolid) {
  Host host;
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  e.SetExtrusionDepth(10);
  e.Update();
  ASSERT_EQ(256u, e.GetNumVertices());
  ASSERT_EQ(372u, e.GetNumTriangles());
  EXPECT_EQ(10.0, MaxZ(e));

  e.SetExtrusionDepth(20);
  e.Update();
  EXPECT_EQ(512u, e.GetNumVertices());
  EXPECT_EQ(744u, e.GetNumTriangles());
  // The first solid stays as it was; the second one's back face (its vertices 8 to 15) is at 20.
  for (uint32_t i = 0; i < 256; ++i) EXPECT_LE(e.vertices[i].pos.z, 10.0) << i;
  for (uint32_t i = 256 + 8; i < 256 + 16; ++i) EXPECT_EQ(20.0, e.vertices[i].pos.z) << i;
  // The appended triangles count from the second solid's own vertices, offset by 256.
  for (uint32_t t = 372; t < 744; ++t) {
    for (uint32_t corner : e.triangles[t].indices) EXPECT_LE(256u, corner) << t;
  }

  e.ClearGeometry();
  e.Update();
  EXPECT_EQ(256u, e.GetNumVertices());
  EXPECT_EQ(20.0, MaxZ(e));
}

// A style outside 0..3 leaves the profile empty, and the chain of an empty profile fails with
// BadBezier (0 points, 0 mod 3 is not 1). So does a bevel of 1e-7 without depth: it passes the
// solid test (style 1, bevel above 0), but a bevel at or below 1e-6 with a depth below 1e-6
// leaves the profile empty. The front and back faces were appended before the failure:
// 8 + 8 vertices and 6 + 6 triangles.
TEST(ExtrusionFailure, EmptyProfileFailsWithBadBezier) {
  const Shape cases[] = {
      {7, 2, 10},
      {4, 2, 10},
      {-1, 2, 0},
      {KLY_Extrusion::BevelChamfer, 1e-7, 0},
  };
  for (const Shape& s : cases) {
    Host host;
    TestExtrusion e;
    e.PushContour(Square(0, 0, 10));
    Configure(e, s);
    EXPECT_EQ(0x5803, ThrownNumber([&] { e.Update(); })) << s.style;
    EXPECT_EQ(std::vector<Report>{kBadBezier}, host.capture.reports()) << s.style;
    EXPECT_TRUE(e.dirty);
    EXPECT_TRUE(e.WorkingFieldsEmpty()) << s.style;
    EXPECT_EQ(16u, e.GetNumVertices()) << s.style;
    EXPECT_EQ(12u, e.GetNumTriangles()) << s.style;
    int32_t style = 0;
    e.GetBevelStyle(style);
    EXPECT_EQ(s.style, style) << "the style is kept when the profile is left empty";
  }
}

// A bevel at or below 1e-6 with a depth of 1e-6 or more: the profile step sets the style to 0
// through SetBevelStyle and makes a straight wall. The back face was placed before that, under
// the old style: z = depth + 2 bevel.
TEST(ExtrusionBuild, VanishingBevelWithDepthResetsTheStyle) {
  const Shape cases[] = {
      {KLY_Extrusion::BevelChamfer, 0, 10},
      {KLY_Extrusion::BevelConvex, 1e-6, 10},
      {7, 0, 10},
  };
  for (const Shape& s : cases) {
    Host host;
    TestExtrusion e;
    e.PushContour(Square(0, 0, 10));
    Configure(e, s);
    e.Update();
    int32_t style = -1;
    e.GetBevelStyle(style);
    EXPECT_EQ(0, style) << s.style;
    EXPECT_FALSE(e.dirty) << "set during the build, cleared by Update";
    EXPECT_EQ(256u, e.GetNumVertices()) << s.style;
    EXPECT_TRUE(VerticesOfMaterial(e, KLY_Extrusion::kBevelMaterial).empty());
    for (uint32_t i : VerticesOfMaterial(e, KLY_Extrusion::kBackMaterial)) {
      EXPECT_EQ(10.0 + 2 * s.bevel, e.vertices[i].pos.z) << s.style;
    }
    for (uint32_t i : VerticesOfMaterial(e, KLY_Extrusion::kSideMaterial)) {
      EXPECT_LE(e.vertices[i].pos.z, 10.0);
    }
  }
}

// Depth exactly 1e-6 with a bevel of 0 under style 1: the style is reset (1e-6 is not above the
// depth), and then the style-0 profile is refused (1e-6 is at or above the depth), so the build
// fails with BadBezier after changing the style.
TEST(ExtrusionFailure, ResetStyleAtTheDepthThresholdStillFails) {
  Host host;
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  Configure(e, {KLY_Extrusion::BevelChamfer, 0, 1e-6});
  EXPECT_EQ(0x5803, ThrownNumber([&] { e.Update(); }));
  EXPECT_EQ(std::vector<Report>{kBadBezier}, host.capture.reports());
  int32_t style = -1;
  e.GetBevelStyle(style);
  EXPECT_EQ(0, style);
  EXPECT_TRUE(e.dirty);
}

// Every contour is tested before anything else happens: a bad one stops the build with 22532
// before the offset service is asked and before anything is appended.
TEST(ExtrusionFailure, ContourFailingItsTestStopsTheBuildFirst) {
  struct Case {
    const char* name;
    KLY_Contour bad;
  };
  KLY_Contour second_move = Square(0, 0, 10);
  second_move.AppendVertexPosition({20, 20, 0});
  second_move.AppendVertexCode(KLY_Contour::kCodeStart);
  second_move.AppendVertexPosition({30, 20, 0});
  second_move.AppendVertexCode(KLY_Contour::kCodeLine);
  second_move.AppendVertexPosition({30, 30, 0});
  second_move.AppendVertexCode(KLY_Contour::kCodeLine);
  const Case cases[] = {
      {"two points", LineContour({{0, 0, 0}, {10, 5, 0}})},
      {"no area", LineContour({{0, 0, 0}, {5, 0, 0}, {10, 0, 0}})},
      {"second move", second_move},
      {"empty", KLY_Contour()},
  };
  for (const Case& c : cases) {
    ReportCapture capture;
    ScriptedOffsetService service;
    service.InstallIn(capture.services());
    TestExtrusion e;
    e.PushContour(Square(0, 0, 10));
    e.PushContour(c.bad);
    Configure(e, {KLY_Extrusion::BevelChamfer, 2, 10});
    EXPECT_EQ(22532, ThrownNumber([&] { e.Update(); })) << c.name;
    EXPECT_EQ(std::vector<Report>{kBadInitialContour}, capture.reports()) << c.name;
    EXPECT_TRUE(service.calls().empty()) << c.name;
    EXPECT_EQ(0u, e.GetNumVertices()) << c.name;
    EXPECT_TRUE(e.dirty) << c.name;
    EXPECT_TRUE(e.WorkingFieldsEmpty()) << c.name;
  }
}

// dirty stays set after a failure, so the next Update tries again (and fails again).
TEST(ExtrusionFailure, NextUpdateTriesAgain) {
  Host host;
  TestExtrusion e;
  e.PushContour(LineContour({{0, 0, 0}, {10, 5, 0}}));
  EXPECT_EQ(22532, ThrownNumber([&] { e.Update(); }));
  EXPECT_EQ(22532, ThrownNumber([&] { e.Update(); }));
  EXPECT_EQ(2u, host.capture.reports().size());
  e.ClearContours();
  e.PushContour(Square(0, 0, 10));
  EXPECT_EQ(0, ThrownNumber([&] { e.Update(); }));
  EXPECT_EQ(8u, e.GetNumVertices());
}

}  // namespace
