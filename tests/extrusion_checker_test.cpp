// The extruded-solid checker (tests/testing/extrusion_checker.h) passes sound solids and
// catches each kind of broken one. The solids are squares with a square hole, built while the
// offset service fails, so that every contour keeps its shape and the areas are known.
#include "tests/testing/extrusion_checker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/testing/extrusion_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::CheckSolid;
using kly::testing::ReportCapture;
using kly::testing::ScriptedOffsetService;
using kly::testing::SolidExpectation;
using kly::testing::SolidFindings;
using kly::testing::Square;
using kly::testing::TestExtrusion;
using Vec3 = ORT_Vector3T<double>;

// A square of side 10 with a square hole of side 4 in its middle: 100 - 16 = 84 of area.
constexpr double kArea = 84.0;

class ExtrusionChecker : public ::testing::Test {
 protected:
  ExtrusionChecker() { ScriptedOffsetService().InstallIn(capture_.services()); }

  // Depth 10; with a chamfer of 1 (holes 0.5) the back face stands at 10 + 2 * 1 = 12.
  void Build(bool bevelled) {
    solid_.PushContour(Square(0, 0, 10));
    solid_.PushContour(Square(3, 3, 4, false));
    solid_.SetExtrusionDepth(10);
    expected_.straightWalls = true;
    expected_.backDepth = expected_.holeWallDepth = 10;
    if (bevelled) {
      solid_.SetBevelStyle(KLY_Extrusion::BevelChamfer);
      solid_.SetBevelDepth(1);
      solid_.SetHoleBevelDepth(0.5);
      expected_.bevels = true;
      expected_.backDepth = expected_.holeWallDepth = 12;
      expected_.largestOutset = 1;
    }
    solid_.Update();
  }

  SolidFindings Check() const {
    const std::vector<KLY_Contour> contours(solid_.beginContours(), solid_.endContours());
    return CheckSolid(solid_, contours, expected_);
  }

  // Whether some fault line holds `text`.
  static bool Says(const SolidFindings& findings, const std::string& text) {
    return std::any_of(findings.faults.begin(), findings.faults.end(),
                       [&](const std::string& f) { return f.find(text) != std::string::npos; });
  }

  template <class Change>
  void ChangeTriangles(Change change) {
    for (KLY_Triangle& t : solid_.triangles) change(t);
  }

  // Whether the triangle's corners all stand in the hole's square, [3, 7]^2 widened by its
  // bevel.
  bool InHole(const KLY_Triangle& t) const {
    for (uint32_t i : t.indices) {
      const Vec3& p = solid_.vertices[i].pos;
      if (p.x < 2.4 || p.x > 7.6 || p.y < 2.4 || p.y > 7.6) return false;
    }
    return true;
  }

  ReportCapture capture_;
  TestExtrusion solid_;
  SolidExpectation expected_;
};

TEST_F(ExtrusionChecker, SoundSolidsPass) {
  for (bool bevelled : {false, true}) {
    solid_ = TestExtrusion();
    Build(bevelled);
    const SolidFindings findings = Check();
    EXPECT_TRUE(findings.faults.empty()) << findings.faults.front();
    EXPECT_NEAR(findings.frontArea, kArea, 1e-9 * kArea);
    EXPECT_NEAR(findings.outlineArea, kArea, 1e-9 * kArea);
    EXPECT_NEAR(findings.perimeter, 40.0 + 16.0, 1e-9);
    EXPECT_FALSE(findings.crossingOutlines);
    EXPECT_EQ(findings.foldTriangles, 0u);
  }
}

// The straight prism holds its volume to the seams' strip: 84 x 10 within 56 x 2^-7 x 10.
TEST_F(ExtrusionChecker, PrismVolumeIsItsAreaTimesItsDepth) {
  Build(false);
  EXPECT_NEAR(Check().volume, kArea * 10, 56 * 0.0078125 * 10);
}

TEST_F(ExtrusionChecker, CapsOffTheirDepthOrWithBadUvsFail) {
  Build(true);
  for (KLY_Vertex& v : solid_.vertices)
    if (v.normal.z == 1.0) v.pos.z += 0.5;
  EXPECT_TRUE(Says(Check(), "back vertex at z = 12.5, not 12"));
  for (KLY_Vertex& v : solid_.vertices)
    if (v.pos.z == 0.0 && v.normal.z == -1.0) v.uv.x = 1.5;
  EXPECT_TRUE(Says(Check(), "front vertex with UV 1.5"));
}

TEST_F(ExtrusionChecker, TurnedCapTriangleAndMissingAreaFail) {
  Build(true);
  KLY_Triangle& first = solid_.triangles.front();  // a front triangle: the front comes first
  ASSERT_EQ(first.material_index, KLY_Extrusion::kFrontMaterial);
  std::swap(first.indices[1], first.indices[2]);
  const SolidFindings turned = Check();
  EXPECT_TRUE(Says(turned, "front triangle 0 has area -"));
  EXPECT_TRUE(Says(turned, " for an outline area of 84"));
  first.material_index = KLY_Extrusion::kBackMaterial;
  EXPECT_TRUE(Says(Check(), "back triangles for"));
}

TEST_F(ExtrusionChecker, NormalsOfOtherLengthsOrFacesFail) {
  Build(true);
  solid_.vertices.back().normal = solid_.vertices.back().normal * 2.0;
  EXPECT_TRUE(Says(Check(), "has normal"));
  solid_.vertices.back().normal = {0.0, 0.0, 1.0};
  solid_.triangles.front().normal = {0.0, 0.0, 1.0};
  EXPECT_TRUE(Says(Check(), "front triangle 0 has another normal"));
  KLY_Triangle& wall = solid_.triangles.back();
  wall.normal = wall.normal * -1.0;
  EXPECT_TRUE(Says(Check(), ", not its face normal"));
  wall.normal = wall.normal * 0.5;  // the direction goes unjudged at the wrong length
  const SolidFindings halved = Check();
  EXPECT_TRUE(Says(halved, "wall triangle "));
  EXPECT_FALSE(Says(halved, ", not its face normal"));
}

TEST_F(ExtrusionChecker, WallsWoundAgainstTheirNormalsFail) {
  Build(true);
  ChangeTriangles([](KLY_Triangle& t) {
    if (t.material_index >= KLY_Extrusion::kSideMaterial) std::swap(t.indices[0], t.indices[2]);
  });
  const SolidFindings findings = Check();
  EXPECT_TRUE(Says(findings, "face against their normals"));
  EXPECT_TRUE(Says(findings, "volume "));  // turned inside out
}

// Hole walls turned inside out, normals and all, look sound triangle by triangle. Seen from
// the outline's centre, where the volume is summed, their 4 x 4 x 10 = 160 of area stand 2
// away and add 2 x 160 / 3 instead of taking it: the volume grows by 213.3 from 840, far past
// the seams' 56 x 2^-7 x 10 = 4.4.
TEST_F(ExtrusionChecker, HoleWallsTurnedInsideOutFailByVolume) {
  Build(false);
  for (KLY_Triangle& t : solid_.triangles) {
    if (t.material_index != KLY_Extrusion::kSideMaterial || !InHole(t)) continue;
    std::swap(t.indices[0], t.indices[2]);
  }
  for (const KLY_Triangle& t : solid_.triangles)
    if (t.material_index == KLY_Extrusion::kSideMaterial && InHole(t))
      for (uint32_t i : t.indices) solid_.vertices[i].normal = solid_.vertices[i].normal * -1.0;
  const SolidFindings findings = Check();
  EXPECT_FALSE(Says(findings, "face against"));
  EXPECT_TRUE(Says(findings, "volume "));
  EXPECT_NEAR(findings.volume, kArea * 10 + 2 * (2 * 160.0 / 3), 1.0);
}

TEST_F(ExtrusionChecker, MaterialsAgainstTheParametersFail) {
  Build(true);
  expected_.bevels = false;
  EXPECT_TRUE(Says(Check(), "bevel triangles, expected none"));
  expected_.bevels = true;
  expected_.straightWalls = false;
  EXPECT_TRUE(Says(Check(), "side wall triangles, expected none"));
  expected_.straightWalls = true;
  expected_.backDepth = expected_.holeWallDepth = 11;
  EXPECT_TRUE(Says(Check(), " outside 0 .. 11"));  // a wall vertex above 11
}

// Two squares of side 10 overlapping by 5 x 5, both counter-clockwise: their windings sum to
// 200, the front face covers the union, 175. The crossing excuses the difference. (Each
// side's midpoint is a point of the flattened outline: the sides cross at such points.)
TEST_F(ExtrusionChecker, CrossingOutlinesExcuseTheArea) {
  solid_.PushContour(Square(0, 0, 10));
  solid_.PushContour(Square(5, 5, 10));
  solid_.SetExtrusionDepth(10);
  solid_.Update();
  expected_.straightWalls = true;
  expected_.backDepth = expected_.holeWallDepth = 10;
  const SolidFindings findings = Check();
  EXPECT_TRUE(findings.crossingOutlines);
  EXPECT_TRUE(findings.faults.empty()) << findings.faults.front();
  EXPECT_NEAR(findings.frontArea, 175.0, 1e-9);
  EXPECT_NEAR(findings.outlineArea, 200.0, 1e-9);
}

}  // namespace
