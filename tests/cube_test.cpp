// The cube: layout, counts, winding, parameters and materials.
#include <gtest/gtest.h>

#include <cmath>

#include "kly/package/failure.h"
#include "kly/solids/cube.h"
#include "tests/testing/mesh_access.h"
#include "tests/testing/report_capture.h"

namespace {

class TestCube : public KLY_Cube {
 public:
  using KLY_Cube::KLY_Cube;
  using KLY_Mesh::dirty;
  using KLY_Mesh::triangles;
  using KLY_Mesh::vertices;
};

ORT_Vector3T<double> Cross(const ORT_Vector3T<double>& a, const ORT_Vector3T<double>& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double Dot(const ORT_Vector3T<double>& a, const ORT_Vector3T<double>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

TEST(Cube, CountsFollowTheDivisions) {
  // 6(n+1)^2 vertices and 12n^2 triangles.
  const uint32_t divisions[] = {1, 2, 4, 7};
  for (uint32_t n : divisions) {
    TestCube cube;
    cube.SetDivisions(n);
    cube.Update();
    EXPECT_EQ(6 * (n + 1) * (n + 1), cube.GetNumVertices()) << n;
    EXPECT_EQ(12 * n * n, cube.GetNumTriangles()) << n;
    EXPECT_EQ(6u, cube.NumMaterials());
    EXPECT_TRUE(cube.ClosedTwoManifold());
  }
  TestCube standard;
  standard.Update();
  EXPECT_EQ(150u, standard.GetNumVertices());
  EXPECT_EQ(192u, standard.GetNumTriangles());
  uint32_t type = 0;
  standard.GetGeometryType(type);
  EXPECT_EQ(3u, type);
}

TEST(Cube, OneDivisionLayoutOfFaceZero) {
  ORT_Vector3T<double> dims{1, 2, 3};
  TestCube cube(dims);
  cube.SetDivisions(1);
  cube.Update();
  const ORT_Vector3T<double> expected[4] = {{-1, -2, -3}, {1, -2, -3}, {-1, 2, -3}, {1, 2, -3}};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(expected[i], cube.vertices[i].pos) << i;
  EXPECT_EQ((std::vector<uint32_t>{0, 1, 2}), kly::testing::Indices(cube.triangles[0]));
  EXPECT_EQ((std::vector<uint32_t>{1, 3, 2}), kly::testing::Indices(cube.triangles[1]));
  KLY_Bounds b;
  cube.GetLocalBounds(b);
  EXPECT_EQ(-3.0, b.min_z);
  EXPECT_EQ(3.0, b.max_z);
}

TEST(Cube, EveryTriangleWindsWithTheRightHandedCrossInward) {
  ORT_Vector3T<double> dims{1.5, 0.5, 2};
  TestCube cube(dims);
  cube.SetDivisions(3);
  cube.Update();
  for (const KLY_Triangle& t : cube.triangles) {
    const auto& p0 = cube.vertices[t.indices[0]].pos;
    const auto& p1 = cube.vertices[t.indices[1]].pos;
    const auto& p2 = cube.vertices[t.indices[2]].pos;
    const ORT_Vector3T<double> cross = Cross(p1 - p0, p2 - p0);
    const ORT_Vector3T<double> centre = (p0 + p1 + p2) * (1.0 / 3.0);
    // Inward: against the vertex normal and toward the origin.
    EXPECT_LT(Dot(cross, cube.vertices[t.indices[0]].normal), 0.0);
    EXPECT_LT(Dot(cross, centre), 0.0);
    EXPECT_EQ(t.material_index, static_cast<uint32_t>(&t - &cube.triangles[0]) / 18);
  }
}

TEST(Cube, UVsCoverTheUnitSquareOnEveryFace) {
  TestCube cube;
  cube.SetDivisions(2);
  cube.Update();
  for (uint32_t f = 0; f < 6; ++f) {
    // Vertex (i, j) of face f sits at f*9 + 3j + i and has UV (i/2, j/2).
    EXPECT_EQ(0.0, cube.vertices[f * 9].uv.x);
    EXPECT_EQ(1.0, cube.vertices[f * 9 + 8].uv.x);
    EXPECT_EQ(1.0, cube.vertices[f * 9 + 8].uv.y);
    EXPECT_EQ(0.5, cube.vertices[f * 9 + 3 * 1 + 2].uv.y);
  }
}

TEST(Cube, ZeroDivisionsGivesSixVerticesAndNoTriangles) {
  TestCube cube;
  cube.SetDivisions(0);
  cube.Update();
  EXPECT_EQ(6u, cube.GetNumVertices());
  EXPECT_EQ(0u, cube.GetNumTriangles());
  // Face 0's x is -X + (0 * X) / 0: not finite.
  EXPECT_FALSE(std::isfinite(cube.vertices[0].pos.x));
}

TEST(Cube, SettersMarkDirtyOnlyOnChange) {
  TestCube cube;
  cube.Update();
  EXPECT_FALSE(cube.dirty);
  cube.SetDimensions({1, 1, 1});
  cube.SetDivisions(4);
  EXPECT_FALSE(cube.dirty);
  cube.SetDimensions({1, 1, 1.5});
  EXPECT_TRUE(cube.dirty);
  cube.Update();
  cube.SetDivisions(5);
  EXPECT_TRUE(cube.dirty);
}

TEST(Cube, NegativeDimensionsMirrorTheBox) {
  ORT_Vector3T<double> dims{-1, 1, 1};
  TestCube cube(dims);
  cube.Update();
  EXPECT_EQ(1.0, cube.vertices[0].pos.x);                                // -X with X = -1
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, -1}), cube.vertices[0].normal);  // normals do not follow
}

TEST(Cube, MaterialsSurviveTheBuildAndBadFacesFailWith3) {
  TestCube cube;
  KLY_Material m;
  m.values[0] = 0.75;
  cube.SetMaterial(5, m);
  EXPECT_TRUE(cube.dirty);  // still dirty from construction; SetMaterial does not build
  cube.Update();
  KLY_Material out;
  cube.GetMaterial(5, out);
  EXPECT_EQ(0.75, out.values[0]);

  kly::testing::ReportCapture capture;
  EXPECT_EQ(KLY_kErrIndex, kly::testing::ThrownNumber([&] { cube.SetMaterial(6, m); }));
  EXPECT_EQ(KLY_kErrIndex, kly::testing::ThrownNumber([&] { cube.GetMaterial(6, out); }));
  ASSERT_EQ(2u, capture.reports().size());
  EXPECT_EQ("invalid material index.", capture.reports()[0].text);
}

TEST(Cube, TrianglesForFaceAreTheFacesSlice) {
  TestCube cube;
  cube.Update();
  std::vector<KLY_Triangle> face;
  face.reserve(100);
  cube.GetTrianglesForFace(2, face);
  ASSERT_EQ(32u, face.size());  // 2n^2 with n = 4
  for (const KLY_Triangle& t : face) EXPECT_EQ(2u, t.material_index);
  EXPECT_GE(face.capacity(), 100u);
}

}  // namespace
