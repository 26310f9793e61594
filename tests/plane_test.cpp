// KLY_Plane: the flat grid, the bends along x and y, the untouched sphere section, the setters
// and the normalisation failure of a sheet with no extent.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kly/package/failure.h"
#include "kly/solids/plane.h"
#include "tests/testing/mesh_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;

class TestPlane : public KLY_Plane {
 public:
  using KLY_Plane::dirty;
  using KLY_Plane::KLY_Plane;
  using KLY_Plane::triangles;
  using KLY_Plane::vertices;

  const KLY_Vertex& At(uint32_t i, uint32_t j) const {
    uint32_t n = 0;
    GetDivisionsX(n);
    return vertices[(n + 1) * j + i];
  }
};

TestPlane Bent(double curvature, uint32_t axis) {
  TestPlane plane;
  plane.SetCurvature(curvature);
  plane.SetCurvatureAxis(axis);
  plane.Update();
  return plane;
}

TEST(Plane, DefaultIsAFlatGridAnchoredAtACorner) {
  TestPlane plane;
  plane.Update();
  ASSERT_EQ(25u, plane.GetNumVertices());
  ASSERT_EQ(32u, plane.GetNumTriangles());
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, 0}), plane.At(0, 0).pos);
  EXPECT_EQ((ORT_Vector3T<double>{1, 1, 0}), plane.At(4, 4).pos);
  EXPECT_EQ((ORT_Vector3T<double>{0.25, 0.75, 0}), plane.At(1, 3).pos);
  EXPECT_EQ((ORT_Vector2T<double>{0.25, 0.75}), plane.At(1, 3).uv);
  for (const KLY_Vertex& v : plane.vertices) {
    EXPECT_EQ((ORT_Vector3T<double>{0, 0, -1}), v.normal);
    EXPECT_EQ(1.0, v.pos_w);
  }
  EXPECT_EQ((std::vector<uint32_t>{0, 1, 5}), kly::testing::Indices(plane.triangles[0]));
  // The winding agrees with the normals: (p2 - p0) x (p1 - p0) = (0,.25,0) x (.25,0,0) is -z.
  const auto& p0 = plane.vertices[0].pos;
  const auto& p1 = plane.vertices[1].pos;
  const auto& p2 = plane.vertices[5].pos;
  const auto a = p2 - p0, b = p1 - p0;
  EXPECT_LT(a.x * b.y - a.y * b.x, 0.0);
  uint32_t type = 0;
  plane.GetGeometryType(type);
  EXPECT_EQ(6u, type);
  EXPECT_FALSE(plane.ClosedTwoManifold());
  EXPECT_EQ(1u, plane.NumMaterials());
}

TEST(Plane, HalfCylinderAlongX) {
  // Curvature 1 on the unit sheet: h = 0.5, R = 0.5, d = -0, half-angle 90 degrees.
  TestPlane up = Bent(1.0, 0);
  for (uint32_t j = 0; j <= 4; ++j) {
    EXPECT_NEAR(0.5, up.At(2, j).pos.x, 1e-15);
    EXPECT_NEAR(0.5, up.At(2, j).pos.z, 1e-15);  // bulges towards +z
    EXPECT_NEAR(1.0, up.At(4, j).pos.x, 1e-15);
    EXPECT_NEAR(0.0, up.At(4, j).pos.z, 1e-15);
    EXPECT_EQ(0.25 * j, up.At(2, j).pos.y);
  }
  TestPlane down = Bent(-1.0, 0);
  EXPECT_NEAR(-0.5, down.At(2, 1).pos.z, 1e-15);
  // Both lean their normals to -z: at the crown it is (0, 0, -1) either way.
  EXPECT_NEAR(-1.0, up.At(2, 0).normal.z, 1e-15);
  EXPECT_NEAR(-1.0, down.At(2, 0).normal.z, 1e-15);
}

// An independent check of any bend along x: every vertex lies on the circle of radius R about
// (h, d) in x, z, the chord ends stay at x = 0 and x = W, and the unit normal is the radial
// direction, outward for a negative bend and inward for a positive one.
TEST(Plane, BendAlongXIsACircularArcKeepingItsChord) {
  for (double c : {0.25, 0.5, -0.5, 0.9, 5.0, -7.0}) {
    const double W = 2.0;
    TestPlane plane;
    plane.SetDimensions({W, 3.0});
    plane.SetDivisionsX(8);
    plane.SetCurvature(c);
    plane.Update();
    const double k = std::fmin(1.0, std::fabs(c));
    const double h = W / 2, R = h / k;
    const double d = (c > 0 ? -1.0 : 1.0) * std::sqrt(R * R - h * h);
    for (const KLY_Vertex& v : plane.vertices) {
      const double dx = v.pos.x - h, dz = v.pos.z - d;
      EXPECT_NEAR(R, std::sqrt(dx * dx + dz * dz), 1e-12) << c;
      const double s = c > 0 ? -1.0 : 1.0;
      EXPECT_NEAR(s * dx / R, v.normal.x, 1e-12) << c;
      EXPECT_NEAR(s * dz / R, v.normal.z, 1e-12) << c;
      EXPECT_EQ(0.0, v.normal.y);
    }
    EXPECT_NEAR(0.0, plane.At(0, 0).pos.x, 1e-12);
    EXPECT_NEAR(W, plane.At(8, 0).pos.x, 1e-12) << c;
    EXPECT_NEAR(0.0, plane.At(8, 0).pos.z, 1e-12) << c;
    // The crown rises R - |d| on the side of the sign.
    EXPECT_NEAR((c > 0 ? 1 : -1) * (R - std::fabs(d)), plane.At(4, 0).pos.z, 1e-12) << c;
  }
}

TEST(Plane, ClampedCurvatureBuildsAsOneButReadsBackRaw) {
  TestPlane five = Bent(5.0, 0);
  TestPlane one = Bent(1.0, 0);
  double c = 0.0;
  five.GetCurvature(c);
  EXPECT_EQ(5.0, c);
  for (uint32_t k = 0; k < 25; ++k) EXPECT_EQ(one.vertices[k].pos, five.vertices[k].pos);
}

TEST(Plane, AnyAxisButZeroAndTwoBendsAlongY) {
  TestPlane one = Bent(1.0, 1);
  TestPlane seven = Bent(1.0, 7);
  for (uint32_t k = 0; k < 25; ++k) EXPECT_EQ(one.vertices[k].pos, seven.vertices[k].pos);
  for (uint32_t i = 0; i <= 4; ++i) {
    EXPECT_EQ(0.25 * i, one.At(i, 2).pos.x);
    EXPECT_NEAR(0.5, one.At(i, 2).pos.y, 1e-15);
    EXPECT_NEAR(0.5, one.At(i, 2).pos.z, 1e-15);
    EXPECT_NEAR(-1.0, one.At(i, 2).normal.z, 1e-15);
    EXPECT_EQ(0.0, one.At(i, 2).normal.x);
  }
}

TEST(Plane, SphereSectionLeavesTheMeshAsItWas) {
  TestPlane fresh = Bent(1.0, 2);
  EXPECT_EQ(0u, fresh.GetNumVertices());
  EXPECT_FALSE(fresh.dirty);

  TestPlane built = Bent(0.0, 0);
  built.SetCurvature(1.0);
  built.SetCurvatureAxis(2);
  built.Update();
  ASSERT_EQ(25u, built.GetNumVertices());
  EXPECT_EQ(0.0, built.At(2, 0).pos.z);  // still the flat build
}

TEST(Plane, SettersAndDirty) {
  TestPlane plane;
  plane.Update();
  plane.SetIsImageBased(true);
  EXPECT_FALSE(plane.dirty);
  bool image = false;
  plane.GetIsImageBased(image);
  EXPECT_TRUE(image);
  TestPlane copy(plane);
  copy.GetIsImageBased(image);
  EXPECT_TRUE(image);

  plane.SetDimensions({1.0, 1.0});
  plane.SetDivisionsX(4);
  plane.SetDivisionsY(4);
  plane.SetCurvature(0.0);
  plane.SetCurvatureAxis(0);
  EXPECT_FALSE(plane.dirty);
  plane.SetDimensions({1.0, 1.0 + 1e-15});  // exact comparison
  EXPECT_TRUE(plane.dirty);

  ORT_Vector2T<double> size{3.0, 2.0};
  TestPlane sized(size);
  sized.SetDivisionsX(3);
  sized.SetDivisionsY(1);
  sized.Update();
  EXPECT_EQ(8u, sized.GetNumVertices());
  EXPECT_EQ(6u, sized.GetNumTriangles());
  EXPECT_EQ((ORT_Vector3T<double>{3, 2, 0}), sized.At(3, 1).pos);
}

TEST(Plane, NoDivisionsGiveNonFiniteXAndNoTriangles) {
  TestPlane plane;
  plane.SetDivisionsX(0);
  EXPECT_EQ(0, ThrownNumber([&] { plane.Update(); }));
  EXPECT_EQ(5u, plane.GetNumVertices());
  EXPECT_EQ(0u, plane.GetNumTriangles());
  EXPECT_TRUE(std::isnan(plane.vertices[0].pos.x));  // (W * 0) / 0
}

TEST(Plane, BendOfAVanishingSheetIsTheNormalisationFailure) {
  ReportCapture capture;
  // W = 1e-30: the arc's radius is 1e-30 and so is the normal before normalisation; its squared
  // length, 1e-60, is below the limit 1e-48. (W = 0 itself gives asin(0 / 0), a NaN normal,
  // and NaN never compares below the limit.)
  TestPlane plane;
  plane.SetDimensions({1e-30, 1.0});
  plane.SetCurvature(0.5);
  EXPECT_EQ(KLY_kErrNormalisation, ThrownNumber([&] { plane.Update(); }));
  EXPECT_EQ(capture.reports(),
            std::vector<kly::testing::Report>{kly::testing::NormalisationReport()});
  EXPECT_EQ(25u, plane.GetNumVertices());  // cleared and resized before the first vertex
  EXPECT_TRUE(plane.dirty);
}

}  // namespace
