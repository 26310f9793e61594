// KLY_Mesh::Subdivide: four triangles a triangle, the midpoint attributes as they are kept,
// the single-precision normals, and the closing weld.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kly/mesh/mesh.h"
#include "tests/testing/mesh_access.h"

namespace {

using kly::testing::Indices;
using kly::testing::TestMesh;

KLY_Vertex Corner(ORT_Vector3T<double> p, ORT_Vector2T<double> uv, ORT_Vector3T<double> n) {
  KLY_Vertex v;
  v.SetPos(p);
  v.SetUV(uv);
  v.SetNormal(n);
  return v;
}

// 1/sqrt(0.5) rounded to single precision: the midpoint normal of two perpendicular unit
// normals is 0.5 times this, not 0.5 * sqrt(2) in double.
constexpr double kSingleRootTwo = 1.41421353816986083984375;

TEST(Subdivide, OneTriangleKeepsTheMidpointAttributesAsSpecified) {
  TestMesh mesh;
  mesh.PushVertex(Corner({0, 0, 0}, {0, 0}, {1, 0, 0}));  // a
  mesh.PushVertex(Corner({2, 0, 0}, {1, 0}, {0, 1, 0}));  // b
  mesh.PushVertex(Corner({0, 2, 0}, {0, 1}, {0, 0, 1}));  // c
  KLY_Triangle t(0, 1, 2);
  t.material_index = 4;
  t.normal = {0, 0, -1};
  mesh.PushFace(t);
  mesh.Subdivide();

  // The six positions are apart, so the weld keeps m0 = 3, m1 = 4, m2 = 5.
  ASSERT_EQ(6u, mesh.GetNumVertices());
  ASSERT_EQ(4u, mesh.GetNumTriangles());
  const KLY_Vertex& m0 = mesh.vertices[3];
  const KLY_Vertex& m1 = mesh.vertices[4];
  const KLY_Vertex& m2 = mesh.vertices[5];
  EXPECT_EQ((ORT_Vector3T<double>{0, 1, 0}), m0.pos);  // (a + c) / 2
  EXPECT_EQ((ORT_Vector3T<double>{1, 0, 0}), m1.pos);  // (a + b) / 2
  EXPECT_EQ((ORT_Vector3T<double>{1, 1, 0}), m2.pos);  // (b + c) / 2
  EXPECT_EQ(1.0, m0.pos_w);
  EXPECT_EQ(1.0, m2.pos_w);
  // m0 has the a-c attributes; m1 those of b-c, not a-b; m2 none.
  EXPECT_EQ((ORT_Vector2T<double>{0, 0.5}), m0.uv);
  EXPECT_EQ((ORT_Vector2T<double>{0.5, 0.5}), m1.uv);
  EXPECT_EQ((ORT_Vector2T<double>{0, 0}), m2.uv);
  const double h = 0.5 * kSingleRootTwo;
  EXPECT_EQ((ORT_Vector3T<double>{h, 0, h}), m0.normal);
  EXPECT_EQ((ORT_Vector3T<double>{0, h, h}), m1.normal);
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, 0}), m2.normal);

  EXPECT_EQ((std::vector<uint32_t>{0, 4, 3}),
            Indices(mesh.triangles[0]));  // (a, m1, m0) in place of the old one
  EXPECT_EQ((std::vector<uint32_t>{3, 4, 5}), Indices(mesh.triangles[1]));  // (m0, m1, m2)
  EXPECT_EQ((std::vector<uint32_t>{3, 5, 2}), Indices(mesh.triangles[2]));  // (m0, m2, c)
  EXPECT_EQ((std::vector<uint32_t>{4, 1, 5}), Indices(mesh.triangles[3]));  // (m1, b, m2)
  for (const KLY_Triangle& piece : mesh.triangles) EXPECT_EQ(4u, piece.material_index);
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, -1}), mesh.triangles[0].normal);
}

TEST(Subdivide, MidpointNormalsNearZeroAreKeptUnnormalised) {
  TestMesh mesh;
  // Means (1e-7, 0, 0) (squared 1e-14, under 1e-12) and (0, 0, 0) from opposite normals.
  mesh.PushVertex(Corner({0, 0, 0}, {0, 0}, {1e-7, 0, 0}));
  mesh.PushVertex(Corner({4, 0, 0}, {0, 0}, {1, 0, 0}));
  mesh.PushVertex(Corner({0, 4, 0}, {0, 0}, {1e-7, 0, 0}));
  mesh.PushFace(KLY_Triangle(0, 1, 2));
  mesh.vertices[1].normal = {-1e-7, 0, 0};
  mesh.Subdivide();
  EXPECT_EQ((ORT_Vector3T<double>{1e-7, 0, 0}), mesh.vertices[3].normal);  // a-c
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, 0}), mesh.vertices[4].normal);     // b-c cancels
}

TEST(Subdivide, SharedEdgeMidpointMergesAndTheOlderTriangleWins) {
  TestMesh mesh;
  mesh.PushVertex(Corner({0, 0, 0}, {0, 0}, {0, 0, 1}));
  mesh.PushVertex(Corner({2, 0, 0}, {1, 0}, {0, 0, 1}));
  mesh.PushVertex(Corner({0, 2, 0}, {0, 1}, {0, 0, 1}));
  mesh.PushVertex(Corner({2, 2, 0}, {1, 1}, {0, 0, 1}));
  mesh.PushFace(KLY_Triangle(0, 1, 2));
  mesh.PushFace(KLY_Triangle(2, 1, 3));
  mesh.Subdivide();
  // 4 + 2 * 3 midpoints, of which the one on edge 1-2 is made twice.
  EXPECT_EQ(9u, mesh.GetNumVertices());
  EXPECT_EQ(8u, mesh.GetNumTriangles());
  // Triangle 0's m2 (index 6) lies on edge 1-2 and carries no UV. Triangle 1's m1 at the same
  // place has the UV of its b-c edge, ((1, 0) + (1, 1)) / 2 = (1, 0.5), but came later.
  EXPECT_EQ((ORT_Vector3T<double>{1, 1, 0}), mesh.vertices[6].pos);
  EXPECT_EQ((ORT_Vector2T<double>{0, 0}), mesh.vertices[6].uv);
  // Every index is in range after the weld.
  for (const KLY_Triangle& t : mesh.triangles) {
    for (uint32_t i : t.indices) EXPECT_LT(i, mesh.GetNumVertices());
  }
}

TEST(Subdivide, EmptyMeshStaysEmpty) {
  TestMesh mesh;
  mesh.Subdivide();
  EXPECT_EQ(0u, mesh.GetNumVertices());
  EXPECT_EQ(0u, mesh.GetNumTriangles());
}

TEST(Subdivide, AreaIsKeptAndEachRoundQuadruples) {
  // A closed tetrahedron: after two rounds 64 triangles with the same total area, and the
  // vertex count of a closed subdivided surface, V + E per round (4 + 6 = 10, 10 + 24 = 34).
  TestMesh mesh;
  const ORT_Vector3T<double> p[4] = {{0, 0, 0}, {3, 0, 0}, {0, 3, 0}, {0, 0, 3}};
  for (const auto& q : p) mesh.PushVertex(Corner(q, {0, 0}, {0, 0, 1}));
  mesh.PushFace(KLY_Triangle(0, 2, 1));
  mesh.PushFace(KLY_Triangle(0, 1, 3));
  mesh.PushFace(KLY_Triangle(0, 3, 2));
  mesh.PushFace(KLY_Triangle(1, 2, 3));
  const double before = kly::testing::SurfaceArea(mesh);
  mesh.Subdivide();
  EXPECT_EQ(10u, mesh.GetNumVertices());
  mesh.Subdivide();
  EXPECT_EQ(34u, mesh.GetNumVertices());
  EXPECT_EQ(64u, mesh.GetNumTriangles());
  EXPECT_NEAR(before, kly::testing::SurfaceArea(mesh), 1e-12 * before);
}

}  // namespace
