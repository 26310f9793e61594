// KLY_Sphere: counts, the base table and its seam, the single-precision edge points, UVs,
// shaping, the setters' rules and the normalisation failure.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kly/package/failure.h"
#include "kly/solids/sphere.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;

class TestSphere : public KLY_Sphere {
 public:
  using KLY_Sphere::dirty;
  using KLY_Sphere::KLY_Sphere;
  using KLY_Sphere::triangles;
  using KLY_Sphere::vertices;
};

TestSphere Built(uint32_t subdivisions) {
  TestSphere sphere;
  sphere.SetSubdivisions(subdivisions);
  sphere.Update();
  return sphere;
}

TEST(Sphere, DefaultCountsTypeAndLayout) {
  TestSphere sphere = Built(3);
  // T = 10 * 4^3 = 640, and three unshared vertices each.
  ASSERT_EQ(640u, sphere.GetNumTriangles());
  ASSERT_EQ(1920u, sphere.GetNumVertices());
  for (uint32_t t = 0; t < 640; ++t) {
    EXPECT_EQ(3 * t, sphere.triangles[t].indices[0]);
    EXPECT_EQ(3 * t + 2, sphere.triangles[t].indices[2]);
    EXPECT_EQ(0u, sphere.triangles[t].material_index);
  }
  uint32_t type = 0;
  sphere.GetGeometryType(type);
  EXPECT_EQ(2u, type);
  EXPECT_TRUE(sphere.ClosedTwoManifold());
  EXPECT_EQ(1u, sphere.NumMaterials());
  EXPECT_EQ(0.0, sphere.vertices[0].pos_w);  // unlike the other solids
}

TEST(Sphere, NoSubdivisionGivesTheBaseTable) {
  TestSphere sphere = Built(0);
  ASSERT_EQ(10u, sphere.GetNumTriangles());
  ASSERT_EQ(30u, sphere.GetNumVertices());
  // Triangle 3 ends at the doubled corner; the slivers 8 and 9 hold both copies.
  EXPECT_EQ((ORT_Vector3T<double>{1, 0, -0.00001}), sphere.vertices[3 * 3 + 2].pos);
  EXPECT_EQ((ORT_Vector3T<double>{1, 0, -0.00001}), sphere.vertices[3 * 8].pos);
  EXPECT_EQ((ORT_Vector3T<double>{1, 0, 0}), sphere.vertices[3 * 8 + 2].pos);
}

TEST(Sphere, UVsAndSeamRepairOfTheBaseTable) {
  TestSphere sphere = Built(0);
  // Hand-derived from theta = acos(y), V = 1 - theta/pi, U = acos(x / sin theta) / 2pi,
  // mirrored to 1 - U where z < 0, then U = 0 moved to 1 in triangles with some z < -1e-6.
  struct Case {
    uint32_t vertex;
    double u, v;
    const char* why;
  } cases[] = {
      {0, 0.0, 0.5, "(1,0,0) in front: U stays 0"},
      {1, 0.0, 0.0, "south pole in a front triangle"},
      {2, 0.25, 0.5, "(0,0,1)"},
      {3 * 1 + 2, 0.5, 0.5, "(-1,0,0)"},
      {3 * 3, 0.75, 0.5, "(0,0,-1): 1 - 0.25"},
      {3 * 3 + 1, 1.0, 0.0, "south pole in a triangle behind: repaired"},
      {3 * 3 + 2, 1.0, 0.5, "(1,0,-1e-5): mirrored 1 - 0"},
      {3 * 4 + 2, 0.0, 1.0, "north pole, V = 1"},
      {3 * 8 + 2, 1.0, 0.5, "(1,0,0) in the sliver behind: repaired"},
      {3 * 9 + 1, 1.0, 0.5, "(1,0,0) in the other sliver"},
  };
  for (const Case& c : cases) {
    EXPECT_NEAR(c.u, sphere.vertices[c.vertex].uv.x, 1e-15) << c.why;
    EXPECT_NEAR(c.v, sphere.vertices[c.vertex].uv.y, 1e-15) << c.why;
  }
}

TEST(Sphere, EdgePointsAreUnitOnlyToSinglePrecision) {
  TestSphere sphere = Built(1);
  // Triangle 0 of round 1 is (A, Mab, Mac) of base triangle 0: Mab = (0.5, -0.5, 0) times
  // 1/sqrt(0.5) rounded to single precision.
  const double h = 0.5 * 1.41421353816986083984375;
  EXPECT_EQ((ORT_Vector3T<double>{h, -h, 0}), sphere.vertices[1].pos);
  // Every point is on the unit sphere to single precision, and the normal is its direction
  // renormalised in full precision.
  for (const KLY_Vertex& v : sphere.vertices) {
    const double length = std::sqrt(v.pos.x * v.pos.x + v.pos.y * v.pos.y + v.pos.z * v.pos.z);
    EXPECT_NEAR(1.0, length, 1e-7);
    EXPECT_NEAR(v.pos.x / length, v.normal.x, 1e-15);
    EXPECT_NEAR(v.pos.z / length, v.normal.z, 1e-15);
  }
}

TEST(Sphere, RadiusScalesPositionsAndTheEllipsoidNormal) {
  ORT_Vector3T<double> radius{2, 1, 3};
  TestSphere sphere(radius, {0.5, 0.5, 0.5});
  ORT_Vector3T<double> power;
  sphere.GetPower(power);
  EXPECT_EQ((ORT_Vector3T<double>{1, 1, 1}), power);  // the second argument is ignored
  sphere.SetSubdivisions(1);
  sphere.Update();
  const double h = 0.5 * 1.41421353816986083984375;
  EXPECT_EQ((ORT_Vector3T<double>{2 * h, -h, 0}), sphere.vertices[1].pos);
  // Normal (h/2, -h, 0) normalised: the ellipsoid's gradient direction.
  const double k = 1.0 / std::sqrt(h * h / 4 + h * h);
  EXPECT_NEAR(h / 2 * k, sphere.vertices[1].normal.x, 1e-15);
  EXPECT_NEAR(-h * k, sphere.vertices[1].normal.y, 1e-15);
}

TEST(Sphere, PowerShaping) {
  TestSphere plain = Built(1);
  TestSphere sphere;
  sphere.SetSubdivisions(1);
  sphere.SetPower({2, 2, 2});  // stored as (1, 1, 1): the plain shape
  ORT_Vector3T<double> power;
  sphere.GetPower(power);
  EXPECT_EQ((ORT_Vector3T<double>{1, 1, 1}), power);
  sphere.Update();
  for (uint32_t i = 0; i < plain.GetNumVertices(); ++i) {
    EXPECT_EQ(plain.vertices[i].pos, sphere.vertices[i].pos);
  }

  // Exponent 0.5: c becomes sgn(c) sqrt|c|, and 0 stays 0.
  sphere.SetPower({0.5, 0.5, 0.5});
  sphere.Update();
  const double h = 0.5 * 1.41421353816986083984375;
  EXPECT_EQ((ORT_Vector3T<double>{std::sqrt(h), -std::sqrt(h), 0}), sphere.vertices[1].pos);

  // Below 0.001 every coordinate goes to a corner: positive to 1, zero and negative to -1.
  sphere.SetPower({0.0005, 0.0005, 0.0005});
  sphere.Update();
  EXPECT_EQ((ORT_Vector3T<double>{1, -1, -1}), sphere.vertices[0].pos);  // was (1, 0, 0)
  for (const KLY_Vertex& v : sphere.vertices) {
    EXPECT_EQ((ORT_Vector3T<double>{1, 1, 1}),
              (ORT_Vector3T<double>{std::fabs(v.pos.x), std::fabs(v.pos.y), std::fabs(v.pos.z)}));
  }
}

TEST(Sphere, SettersDirtyRules) {
  TestSphere sphere = Built(0);
  ASSERT_FALSE(sphere.dirty);
  sphere.SetRadius({1.0 + 1e-13, 1, 1});  // near-equal: relative 1e-12
  EXPECT_FALSE(sphere.dirty);
  sphere.SetRadius({1.001, 1, 1});
  EXPECT_TRUE(sphere.dirty);
  sphere.Update();

  sphere.SetPower({1, 1, 1});
  EXPECT_FALSE(sphere.dirty);
  // The raw argument is compared: above 1.0 dirties every time though 1.0 is stored.
  sphere.SetPower({3, 1, 1});
  EXPECT_TRUE(sphere.dirty);
  sphere.Update();
  sphere.SetPower({3, 1, 1});
  EXPECT_TRUE(sphere.dirty);
  sphere.Update();

  sphere.SetSubdivisions(0);
  EXPECT_FALSE(sphere.dirty);
  sphere.SetSubdivisions(2);
  EXPECT_TRUE(sphere.dirty);

  KLY_Material material;
  material.values[0] = 0.75;
  sphere.Update();
  sphere.SetMaterial(material);
  EXPECT_FALSE(sphere.dirty);
  KLY_Material out;
  sphere.GetMaterial(out);
  EXPECT_EQ(0.75, out.values[0]);
}

TEST(Sphere, ZeroRadiusFlattensAndGivesNonFiniteNormalsWithoutFailing) {
  ORT_Vector3T<double> radius{1, 0, 1};
  TestSphere sphere(radius, {1, 1, 1});
  sphere.SetSubdivisions(1);
  EXPECT_EQ(0, ThrownNumber([&] { sphere.Update(); }));
  for (const KLY_Vertex& v : sphere.vertices) EXPECT_EQ(0.0, v.pos.y);
  EXPECT_FALSE(std::isfinite(sphere.vertices[1].normal.y));  // (-h/0) * (1/sqrt(inf)) is NaN
}

TEST(Sphere, VanishingNormalIsTheLibrarysFailure) {
  ReportCapture capture;
  // Every component of the normal underflows: its squared length is below 1e-48.
  ORT_Vector3T<double> radius{1e30, 1e30, 1e30};
  TestSphere sphere(radius, {1, 1, 1});
  sphere.SetSubdivisions(0);
  EXPECT_EQ(KLY_kErrNormalisation, ThrownNumber([&] { sphere.Update(); }));
  EXPECT_EQ(capture.reports(),
            std::vector<kly::testing::Report>{kly::testing::NormalisationReport()});
  EXPECT_EQ(0u, sphere.GetNumVertices());  // the first point failed
  EXPECT_TRUE(sphere.dirty);
}

TEST(Sphere, SubdivisionsAreCappedAtTenByTheBuild) {
  TestSphere sphere = Built(9);
  uint32_t s = 0;
  sphere.GetSubdivisions(s);
  EXPECT_EQ(9u, s);
  EXPECT_EQ(10u * 262144u, sphere.GetNumTriangles());

  sphere.SetSubdivisions(11);
  sphere.GetSubdivisions(s);
  EXPECT_EQ(11u, s);  // the limit comes only at the build
  sphere.Update();
  sphere.GetSubdivisions(s);
  EXPECT_EQ(10u, s);
  EXPECT_EQ(10485760u, sphere.GetNumTriangles());
  EXPECT_EQ(3u * 10485760u, sphere.GetNumVertices());
}

}  // namespace
