// KLY_Extrusion's bevel profiles and walls: the profile of each style for outer contours and
// holes, the mitred patch of one outline cubic and one profile cubic, and the walls as mesh:
// their place, their bands and materials, their texture coordinates and their normals.
//
// The offset service fails in every build here, so that every contour keeps its shape.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tests/testing/extrusion_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::LineContour;
using kly::testing::ReportCapture;
using kly::testing::ScriptedOffsetService;
using kly::testing::Square;
using kly::testing::TestExtrusion;
using kly::testing::Vec3;

constexpr double kK = 0.5522847498;  // the quarter-circle factor
const double kPi = std::acos(-1.0);
// A line's cubic has its control points at a 0.6666666865348816 + b 0.3333333432674408 and the
// mirror of that: single-precision thirds, whose weights sum to 1 + 3e-8. So they stand off
// the line by up to 3e-8 times their coordinates (3e-7 at 10, 1.8e-6 at 60), and what is built
// on them follows: expected values that take the line as exact hold within this slack.
constexpr double kLineSlack = 2e-6;

struct Parameters {
  int32_t style;
  double bevel, hole_bevel, depth;
};

void Configure(TestExtrusion& e, const Parameters& p) {
  e.SetBevelStyle(p.style);
  e.SetBevelDepth(p.bevel);
  e.SetHoleBevelDepth(p.hole_bevel);
  e.SetExtrusionDepth(p.depth);
}

// A capture whose offset service always fails.
struct Host {
  Host() { ScriptedOffsetService().InstallIn(capture.services()); }
  ReportCapture capture;
};

// --- Profiles ----------------------------------------------------------------------------

struct ProfileCase {
  const char* name;
  Parameters parameters;
  bool for_holes;
  std::vector<std::pair<double, double>> points;  // (x, z)
  int32_t style_after;
};

// The profiles of the table, point by point, as (outset, depth). The straight stretch Z goes
// from (b, b) to (b, b + d) in thirds; without it the last cubic's points keep the depths they
// would have with it. For holes b = min(bevel, holeBevel) and d = 2 bevel + depth - 2 b.
TEST(ExtrusionBevelCurve, ProfileOfEachStylePointByPoint) {
  const double k2 = kK * 2;
  const ProfileCase cases[] = {
      {"chamfer b 2 d 10",
       {1, 2, 0, 10},
       false,
       {{0, 0},
        {2. / 3, 2. / 3},
        {4. / 3, 4. / 3},
        {2, 2},
        {2, 2 + 10. / 3},
        {2, 2 + 20. / 3},
        {2, 12},
        {4. / 3, 2. / 3 + 12},
        {2. / 3, 4. / 3 + 12},
        {0, 14}},
       1},
      {"chamfer b 2 d 0",
       {1, 2, 0, 0},
       false,
       {{0, 0},
        {2. / 3, 2. / 3},
        {4. / 3, 4. / 3},
        {2, 2},
        {4. / 3, 2. / 3 + 2},
        {2. / 3, 4. / 3 + 2},
        {0, 4}},
       1},
      {"concave b 2 d 10",
       {2, 2, 0, 10},
       false,
       {{0, 0},
        {0, k2},
        {k2, 2},
        {2, 2},
        {2, 2 + 10. / 3},
        {2, 2 + 20. / 3},
        {2, 12},
        {k2, 12},
        {0, k2 + 12},
        {0, 14}},
       2},
      {"convex b 2 d 10",
       {3, 2, 0, 10},
       false,
       {{0, 0},
        {k2, 0},
        {2, k2},
        {2, 2},
        {2, 2 + 10. / 3},
        {2, 2 + 20. / 3},
        {2, 12},
        {2, 12 + k2},
        {k2, 14},
        {0, 14}},
       3},
      {"convex b 2 d 0",
       {3, 2, 0, 0},
       false,
       {{0, 0}, {k2, 0}, {2, k2}, {2, 2}, {2, 2 + k2}, {k2, 4}, {0, 4}},
       3},
      {"none, the bevel plays no part",
       {0, 3, 0, 10},
       false,
       {{0, 0}, {0, 10. / 3}, {0, 20. / 3}, {0, 10}},
       0},
      {"style 4 appends nothing", {4, 2, 0, 10}, false, {}, 4},
      {"negative style appends nothing", {-3, 2, 0, 10}, false, {}, -3},
      {"no bevel, no depth", {1, 0, 0, 0}, false, {}, 1},
      {"none without depth", {0, 3, 0, 0}, false, {}, 0},
      // A bevel at or below 1e-6 with depth: the object's style becomes 0.
      {"vanishing bevel",
       {1, 1e-6, 0, 10},
       false,
       {{0, 0}, {0, 10. / 3}, {0, 20. / 3}, {0, 10}},
       0},
      // b = min(3, 1) = 1, d = 6 + 10 - 2 = 14, total 16 as outside.
      {"hole chamfer b 1",
       {1, 3, 1, 10},
       true,
       {{0, 0},
        {1. / 3, 1. / 3},
        {2. / 3, 2. / 3},
        {1, 1},
        {1, 1 + 14. / 3},
        {1, 1 + 28. / 3},
        {1, 15},
        {2. / 3, 1. / 3 + 15},
        {1. / 3, 2. / 3 + 15},
        {0, 16}},
       1},
      // b = 0: a straight wall through d = 6 + 10 = 16; the object keeps its style.
      {"hole without hole bevel",
       {1, 3, 0, 10},
       true,
       {{0, 0}, {0, 16. / 3}, {0, 32. / 3}, {0, 16}},
       1},
      // b = min(3, 5) = 3, d = 10.
      {"hole bevel above the bevel",
       {1, 3, 5, 10},
       true,
       {{0, 0},
        {1, 1},
        {2, 2},
        {3, 3},
        {3, 3 + 10. / 3},
        {3, 3 + 20. / 3},
        {3, 13},
        {2, 14},
        {1, 15},
        {0, 16}},
       1},
      // b = 1, d = 6 + 0 - 2 = 4 > 1e-6, so chamfer and concave have Z...
      {"hole chamfer without depth",
       {1, 3, 1, 0},
       true,
       {{0, 0},
        {1. / 3, 1. / 3},
        {2. / 3, 2. / 3},
        {1, 1},
        {1, 1 + 4. / 3},
        {1, 1 + 8. / 3},
        {1, 5},
        {2. / 3, 1. / 3 + 5},
        {1. / 3, 2. / 3 + 5},
        {0, 6}},
       1},
      {"hole concave without depth",
       {2, 3, 1, 0},
       true,
       {{0, 0},
        {0, kK},
        {kK, 1},
        {1, 1},
        {1, 1 + 4. / 3},
        {1, 1 + 8. / 3},
        {1, 5},
        {kK, 5},
        {0, kK + 5},
        {0, 6}},
       2},
      // ...but convex asks the depth field itself, 0: no Z, seven points.
      {"hole convex without depth",
       {3, 3, 1, 0},
       true,
       {{0, 0}, {kK, 0}, {1, kK}, {1, 1}, {1, 1 + 4 + kK}, {kK, 6}, {0, 6}},
       3},
  };
  for (const ProfileCase& c : cases) {
    TestExtrusion e;
    Configure(e, c.parameters);
    e.SetBevelGranularity(1, 6);
    e.BuildBevelCurve(c.for_holes);
    KLY_Contour& curve = c.for_holes ? e.holeBevelCurve : e.bevelCurve;
    const KLY_Contour& other = c.for_holes ? e.bevelCurve : e.holeBevelCurve;
    EXPECT_EQ(0u, other.Size()) << c.name;
    ASSERT_EQ(c.points.size(), curve.Size()) << c.name;
    for (uint32_t i = 0; i < curve.Size(); ++i) {
      Vec3 p;
      curve.GetPoint(i, p);
      EXPECT_NEAR(c.points[i].first, p.x, 1e-12) << c.name << " " << i;
      EXPECT_EQ(0.0, p.y) << c.name << " " << i;
      EXPECT_NEAR(c.points[i].second, p.z, 1e-12) << c.name << " " << i;
      uint32_t code = 9;
      curve.GetCode(i, code);
      EXPECT_EQ(i == 0 ? 0u : 2u, code) << c.name << " " << i;
    }
    bool closed = true;
    curve.GetClosed(closed);
    EXPECT_FALSE(closed) << c.name;
    uint32_t min = 0, max = 0;
    curve.GetGranularity(min, max);
    EXPECT_EQ(1u, min) << c.name;
    EXPECT_EQ(6u, max) << c.name;
    int32_t style = 99;
    e.GetBevelStyle(style);
    EXPECT_EQ(c.style_after, style) << c.name;
  }
}

// --- Patch geometry ----------------------------------------------------------------------

std::vector<Vec3> Chain(const KLY_Contour& contour) {
  std::vector<Vec3> chain;
  contour.PureBezier(chain);
  return chain;
}

// The chain of the 10 x 10 square, counter-clockwise from (0, 0), under a chamfer of 2 and a
// depth of 10. At each corner of the square the two unit normals meet at a right angle, so
// A is the unit diagonal and s = 1 / cos 45 = sqrt 2: a row of outset x puts the corner at
// Q + x sqrt 2 A, x out along both edges. On a straight side the inner directions are A0 + (A1 -
// A0) / 3 and 2 / 3 of the way, and the inner scales put the inner points on the line through
// the shifted corners, sqrt 2 here: for the edge from (0, 0) to (10, 0), row x is
//   (-x, -x), (Q1.x - x / 3, -x), (Q2.x + x / 3, -x), (10 + x, -x).
// A flat ruled patch, and the rows of each band follow the profile's (x, z).
TEST(ExtrusionPatch, RightAngledCornersMitreBySquareRootOfTwo) {
  TestExtrusion e;
  Configure(e, {KLY_Extrusion::BevelChamfer, 2, 0, 10});
  const std::vector<Vec3> chain = Chain(Square(0, 0, 10));
  ASSERT_EQ(13u, chain.size());
  e.bezierChains = {chain};
  e.holeFlags = {0};
  e.BuildBevelCurve(false);
  const double profile_x[10] = {0, 2. / 3, 4. / 3, 2, 2, 2, 2, 4. / 3, 2. / 3, 0};
  const double profile_z[10] = {0,           2. / 3, 4. / 3,      2,           2 + 10. / 3,
                                2 + 20. / 3, 12,     12 + 2. / 3, 12 + 4. / 3, 14};
  for (uint32_t band = 0; band < 3; ++band) {
    tagCUBIC_PATCH_PTS bottom, right;
    e.BuildPatchGeometry(0, 0, band, bottom);
    e.BuildPatchGeometry(0, 1, band, right);
    for (int r = 0; r < 4; ++r) {
      const double x = profile_x[3 * band + r], z = profile_z[3 * band + r];
      // Edge (0, 0) -> (10, 0), and edge (10, 0) -> (10, 10), its quarter turn.
      const Vec3 expected_bottom[4] = {
          {-x, -x, z}, {chain[1].x - x / 3, -x, z}, {chain[2].x + x / 3, -x, z}, {10 + x, -x, z}};
      const Vec3 expected_right[4] = {{10 + x, -x, z},
                                      {10 + x, chain[4].y - x / 3, z},
                                      {10 + x, chain[5].y + x / 3, z},
                                      {10 + x, 10 + x, z}};
      for (int c = 0; c < 4; ++c) {
        const Vec3& b = bottom.points[4 * r + c];
        const Vec3& q = right.points[4 * r + c];
        EXPECT_NEAR(expected_bottom[c].x, b.x, kLineSlack) << band << " " << r << " " << c;
        EXPECT_NEAR(expected_bottom[c].y, b.y, kLineSlack) << band << " " << r << " " << c;
        EXPECT_NEAR(expected_bottom[c].z, b.z, kLineSlack) << band << " " << r << " " << c;
        EXPECT_NEAR(expected_right[c].x, q.x, kLineSlack) << band << " " << r << " " << c;
        EXPECT_NEAR(expected_right[c].y, q.y, kLineSlack) << band << " " << r << " " << c;
        EXPECT_NEAR(expected_right[c].z, q.z, kLineSlack) << band << " " << r << " " << c;
      }
    }
  }
}

// A triangle with a 30 degree corner at (0, 0) and 75 degree corners at (10, 0) and
// (10 cos 30, 10 sin 30). At (0, 0) the edge normals (0, -1) and (-sin 30, cos 30) give the
// mitre direction A0 = (-cos 15, -sin 15), with A0 . Na = sin 15 = 0.259, below 0.6: the scale
// stops at 1 / 0.6 and the corner is cut there. At (10, 0) A1 = (cos 37.5, -sin 37.5) and
// A1 . Nb = sin 37.5 = 0.609, above 0.6: the full mitre, which meets the edge's offset line
// y = -x at x = 10 + x / tan 37.5.
TEST(ExtrusionPatch, SharpCornerIsCutAtOneOverPointSix) {
  TestExtrusion e;
  Configure(e, {KLY_Extrusion::BevelChamfer, 2, 0, 10});
  const double c30 = std::cos(kPi / 6), s30 = std::sin(kPi / 6);
  e.bezierChains = {Chain(LineContour({{0, 0, 0}, {10, 0, 0}, {10 * c30, 10 * s30, 0}}))};
  e.holeFlags = {0};
  e.BuildBevelCurve(false);
  tagCUBIC_PATCH_PTS patch;
  e.BuildPatchGeometry(0, 0, 1, patch);  // the straight band: x = 2 on every row
  const double a15 = kPi / 12, a375 = 37.5 * kPi / 180;
  EXPECT_NEAR(-2 / 0.6 * std::cos(a15), patch.points[0].x, 1e-12);
  EXPECT_NEAR(-2 / 0.6 * std::sin(a15), patch.points[0].y, 1e-12);
  EXPECT_NEAR(10 + 2 / std::tan(a375), patch.points[3].x, kLineSlack);
  EXPECT_NEAR(-2, patch.points[3].y, kLineSlack);
}

// --- Walls as mesh -----------------------------------------------------------------------

// The solid of the 10 x 10 square under a chamfer of 2 and a depth of 10. Profile: three
// straight cubics, front bevel (0,0)-(2,2), wall (2,2)-(2,12), back bevel (2,12)-(0,14). Each
// patch's first row (the outline cubic pushed out) and first column (the corner's profile) are
// straight, so u takes six samples, 0, 1/8, 3/8, 5/8, 7/8, 1 (two levels, the floor), and v
// takes six on a bevel band (two levels) and ten on the wall band (three levels, its fixed
// minimum): 36 vertices and 50 triangles a bevel patch, 60 and 90 a wall patch.
class ChamferedSquare : public ::testing::Test {
 protected:
  void SetUp() override {
    e.PushContour(Square(0, 0, 10));
    Configure(e, {KLY_Extrusion::BevelChamfer, 2, 0, 10});
    e.Update();
  }
  // The first vertex of the patch of band b over outline cubic s: after the 16 face vertices,
  // the four patches of band 0, the four of band 1, then those of band 2.
  static uint32_t PatchStart(uint32_t b, uint32_t s) {
    const uint32_t bands[3] = {16, 16 + 4 * 36, 16 + 4 * 36 + 4 * 60};
    return bands[b] + s * (b == 1 ? 60 : 36);
  }
  Host host;
  TestExtrusion e;
};

TEST_F(ChamferedSquare, BandsGoBevelWallBevelInMaterialsThreeTwoThree) {
  // 8 + 8 + 4 (36 + 60 + 36) = 544 vertices; 6 + 6 + 4 (50 + 90 + 50) = 772 triangles.
  ASSERT_EQ(544u, e.GetNumVertices());
  ASSERT_EQ(772u, e.GetNumTriangles());
  std::vector<uint32_t> expected;
  expected.insert(expected.end(), 6, 0);
  expected.insert(expected.end(), 6, 1);
  expected.insert(expected.end(), 4 * 50, 3);
  expected.insert(expected.end(), 4 * 90, 2);
  expected.insert(expected.end(), 4 * 50, 3);
  std::vector<uint32_t> actual;
  for (const KLY_Triangle& t : e.triangles) actual.push_back(t.material_index);
  EXPECT_EQ(expected, actual);
  EXPECT_TRUE(e.ClosedTwoManifold());
  EXPECT_TRUE(e.WorkingFieldsEmpty());
}

// Every wall vertex lies on the square pushed out by the profile's outset at its depth:
// Chebyshev distance from the centre (5, 5) is 5 + min(z, 2, 14 - z). The mitred corners reach
// (-2, -2) on the wall band.
TEST_F(ChamferedSquare, WallsFollowTheMitredProfile) {
  for (uint32_t i = 16; i < e.GetNumVertices(); ++i) {
    const Vec3& p = e.vertices[i].pos;
    const double outset = std::min({p.z, 2.0, 14.0 - p.z});
    EXPECT_NEAR(5 + outset, std::max(std::fabs(p.x - 5), std::fabs(p.y - 5)), kLineSlack) << i;
    EXPECT_GE(p.z, 0.0);
    EXPECT_LE(p.z, 14.0);
  }
  const Vec3& corner = e.vertices[PatchStart(1, 0)].pos;  // u = 0, v = 0 of the first wall
  EXPECT_NEAR(-2, corner.x, 1e-12);
  EXPECT_NEAR(-2, corner.y, 1e-12);
  EXPECT_NEAR(2, corner.z, 1e-12);
}

// u = (s + u_i) / 4 on outline cubic s, the four sides being of equal length, so the texture
// wraps once: 0 at the first vertex, 1 at the last column of the last cubic. v = (start of the
// band + v_j length of the band) / total along the profile, lengths 2 sqrt 2, 10, 2 sqrt 2.
TEST_F(ChamferedSquare, TextureWrapsOnceAroundAndRunsFrontToBack) {
  const std::vector<double> six = {0, 0.125, 0.375, 0.625, 0.875, 1};
  std::vector<double> ten = {0};
  for (int k = 0; k < 8; ++k) ten.push_back((2 * k + 1) / 16.0);
  ten.push_back(1);
  const double bevel = 2 * std::sqrt(2.0), total = 2 * bevel + 10;
  const double band_start[3] = {0, bevel, bevel + 10}, band_length[3] = {bevel, 10, bevel};
  for (uint32_t b = 0; b < 3; ++b) {
    const std::vector<double>& v_list = b == 1 ? ten : six;
    for (uint32_t s = 0; s < 4; ++s) {
      for (uint32_t j = 0; j < v_list.size(); ++j) {
        for (uint32_t i = 0; i < 6; ++i) {
          const KLY_Vertex& v = e.vertices[PatchStart(b, s) + j * 6 + i];
          EXPECT_NEAR((s + six[i]) / 4, v.uv.x, 1e-12) << b << " " << s << " " << j << " " << i;
          EXPECT_NEAR((band_start[b] + v_list[j] * band_length[b]) / total, v.uv.y, 1e-12)
              << b << " " << s << " " << j << " " << i;
        }
      }
    }
  }
  EXPECT_EQ(0.0, e.vertices[PatchStart(0, 0)].uv.x);
  EXPECT_EQ(0.0, e.vertices[PatchStart(0, 0)].uv.y);
  EXPECT_NEAR(1.0, e.vertices[e.GetNumVertices() - 1].uv.x, 1e-15);
  EXPECT_NEAR(1.0, e.vertices[e.GetNumVertices() - 1].uv.y, 1e-15);
}

// BevelNone with a bevel of 3 and a depth of 10: the style stays 0, and the wall is one band of
// material 2 standing on the outline from z = 0 to 10, its normals the horizontal outward
// normals of the sides, its v = z / 10.
TEST(ExtrusionWalls, NoBevelIsOneStraightBandOfTheWallMaterial) {
  Host host;
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  Configure(e, {KLY_Extrusion::BevelNone, 3, 0, 10});
  e.Update();
  int32_t style = -1;
  e.GetBevelStyle(style);
  EXPECT_EQ(0, style);
  ASSERT_EQ(256u, e.GetNumVertices());  // 16 + 4 patches of 60
  for (uint32_t t = 12; t < e.GetNumTriangles(); ++t) EXPECT_EQ(2u, e.triangles[t].material_index);
  double min_z = 1e9, max_z = -1e9;
  for (uint32_t i = 16; i < 256; ++i) {
    const KLY_Vertex& v = e.vertices[i];
    EXPECT_NEAR(5, std::max(std::fabs(v.pos.x - 5), std::fabs(v.pos.y - 5)), kLineSlack) << i;
    EXPECT_NEAR(v.pos.z / 10, v.uv.y, 1e-12) << i;
    EXPECT_NEAR(0, v.normal.z, 1e-12) << i;
    EXPECT_NEAR(1, std::hypot(v.normal.x, v.normal.y), 1e-12) << i;
    min_z = std::min(min_z, v.pos.z);
    max_z = std::max(max_z, v.pos.z);
  }
  EXPECT_EQ(0.0, min_z);
  EXPECT_EQ(10.0, max_z);
}

// A profile without Z has two cubics, both bevel: no wall material.
TEST(ExtrusionWalls, ConvexWithoutDepthIsBevelOnly) {
  Host host;
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  Configure(e, {KLY_Extrusion::BevelConvex, 2, 0, 0});
  e.Update();
  ASSERT_GT(e.GetNumTriangles(), 12u);
  for (uint32_t t = 12; t < e.GetNumTriangles(); ++t) EXPECT_EQ(3u, e.triangles[t].material_index);
  double max_z = 0;
  for (const KLY_Vertex& v : e.vertices) max_z = std::max(max_z, v.pos.z);
  EXPECT_NEAR(4.0, max_z, 1e-12);
}

// An outer square [0, 60]^2 with a square hole [20, 40]^2 under bevel 3 and depth 10: the outer
// walls stand at Chebyshev distance 30 + min(z, 3, 16 - z) from (30, 30); the hole's, with hole
// bevel 1 (b = 1, d = 14, total 16), at 10 - min(z, 1, 16 - z), the outset going into the hole;
// with hole bevel 0, a straight wall of the wall material at 10 from z = 0 to 16.
TEST(ExtrusionWalls, HoleWallsReachTheSameTotalDepth) {
  for (double hole_bevel : {1.0, 0.0}) {
    Host host;
    TestExtrusion e;
    e.PushContour(Square(0, 0, 60));
    e.PushContour(Square(20, 20, 20, false));
    Configure(e, {KLY_Extrusion::BevelChamfer, 3, hole_bevel, 10});
    e.Update();
    uint32_t hole_vertices = 0;
    for (const KLY_Triangle& t : e.triangles) {
      if (t.material_index < 2) continue;
      for (uint32_t corner : t.indices) {
        const Vec3& p = e.vertices[corner].pos;
        const double distance = std::max(std::fabs(p.x - 30), std::fabs(p.y - 30));
        const bool outer = distance > 20;
        const double b = outer ? 3.0 : hole_bevel;
        const double outset = std::min({p.z, b, 16 - p.z});
        EXPECT_NEAR(outer ? 30 + outset : 10 - outset, distance, kLineSlack) << hole_bevel;
        // A wall triangle stands within the straight stretch, z in [b, 16 - b]; a bevel
        // triangle outside it.
        const bool on_wall = p.z > b - 1e-9 && p.z < 16 - b + 1e-9;
        const bool beyond_wall = p.z < b + 1e-9 || p.z > 16 - b - 1e-9;
        if (t.material_index == 2) {
          EXPECT_TRUE(on_wall) << outer << " " << p.z;
        }
        if (t.material_index == 3) {
          EXPECT_TRUE(beyond_wall && b > 0) << outer << " " << p.z;
        }
        EXPECT_GE(p.z, 0.0);
        EXPECT_LE(p.z, 16.0);
        if (!outer) ++hole_vertices;
      }
    }
    EXPECT_GT(hole_vertices, 0u);
    for (uint32_t i : kly::testing::VerticesOfMaterial(e, KLY_Extrusion::kBackMaterial)) {
      EXPECT_EQ(16.0, e.vertices[i].pos.z);
    }
  }
}

// Wall normals point away from the solid: outwards on the outer contour, into the hole on a
// hole, towards -Z on the front bevel and +Z on the back one, level on the straight wall; they
// are unit vectors, and the library's winding of each wall triangle agrees with them.
TEST(ExtrusionWalls, NormalsPointAwayFromTheSolid) {
  Host host;
  TestExtrusion e;
  e.PushContour(Square(0, 0, 60));
  e.PushContour(Square(20, 20, 20, false));
  Configure(e, {KLY_Extrusion::BevelChamfer, 3, 1, 10});
  e.Update();
  uint32_t checked[2] = {0, 0};  // hole, outer
  for (const KLY_Triangle& t : e.triangles) {
    if (t.material_index < 2) continue;
    const Vec3& p0 = e.vertices[t.indices[0]].pos;
    const Vec3 a = e.vertices[t.indices[2]].pos - p0;
    const Vec3 b = e.vertices[t.indices[1]].pos - p0;
    const Vec3 facing = {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    for (uint32_t corner : t.indices) {
      const KLY_Vertex& v = e.vertices[corner];
      const double dx = v.pos.x - 30, dy = v.pos.y - 30;
      const bool outer = std::max(std::fabs(dx), std::fabs(dy)) > 20;
      const double outwards = v.normal.x * dx + v.normal.y * dy;
      const std::string where =
          std::to_string(v.pos.x) + " " + std::to_string(v.pos.y) + " " + std::to_string(v.pos.z);
      if (outer) {
        EXPECT_GT(outwards, 0.0) << where;
      } else {
        EXPECT_LT(outwards, 0.0) << where;
      }
      if (t.material_index == 2) {
        EXPECT_NEAR(0.0, v.normal.z, 1e-12) << where;
      }
      if (t.material_index == 3 && v.pos.z < 8) {
        EXPECT_LT(v.normal.z, 0.0) << where;
      }
      if (t.material_index == 3 && v.pos.z > 8) {
        EXPECT_GT(v.normal.z, 0.0) << where;
      }
      const double length =
          std::sqrt(v.normal.x * v.normal.x + v.normal.y * v.normal.y + v.normal.z * v.normal.z);
      EXPECT_NEAR(1, length, 1e-12) << where;
      EXPECT_GT(facing.x * v.normal.x + facing.y * v.normal.y + facing.z * v.normal.z, 0.0)
          << where;
      ++checked[outer];
    }
  }
  EXPECT_GT(checked[0], 0u);
  EXPECT_GT(checked[1], 0u);
}

}  // namespace
