// SplitMesh by a plane and by a rectangle, and DoesMeshOverlapRectangle.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <stdexcept>
#include <vector>

#include "kly/mesh/mesh.h"
#include "tests/testing/mesh_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::ThrownNumber;

using kly::testing::SurfaceArea;
using kly::testing::TestMesh;
using kly::testing::VertexAt;

KLY_Triangle Tri(uint32_t a, uint32_t b, uint32_t c, uint32_t material = 0) {
  KLY_Triangle t(a, b, c);
  t.material_index = material;
  t.normal = {0, 0, 1};
  return t;
}

void ExpectIndices(const KLY_Triangle& t, uint32_t a, uint32_t b, uint32_t c) {
  EXPECT_EQ(a, t.indices[0]);
  EXPECT_EQ(b, t.indices[1]);
  EXPECT_EQ(c, t.indices[2]);
}

// The plane x = 0: the signed distance of a point is its x.
const ORT_PlaneEq kPlaneX{1, 0, 0, 0};

// One triangle whose corners have the signed distances (x) given.
TestMesh OneTriangle(double d0, double d1, double d2) {
  TestMesh mesh;
  mesh.PushVertex(VertexAt(d0, 0, 0));
  mesh.PushVertex(VertexAt(d1, 1, 0));
  mesh.PushVertex(VertexAt(d2, 0, 1));
  mesh.PushFace(Tri(0, 1, 2, 5));
  mesh.Update();
  return mesh;
}

TEST(SplitMesh, WholeMeshInFrontLeavesBackDirtyWithTheInputBounds) {
  TestMesh mesh;
  for (int i = 0; i < 4; ++i) mesh.PushVertex(VertexAt(1 + i, i % 2, 0));
  mesh.PushFace(Tri(0, 1, 2));
  mesh.PushFace(Tri(1, 3, 2));
  mesh.Update();
  TestMesh front, back;
  KLY_Mesh::SplitMesh(mesh, kPlaneX, front, back);
  ASSERT_EQ(2u, front.GetNumTriangles());
  ExpectIndices(front.triangles[0], 0, 1, 2);
  ExpectIndices(front.triangles[1], 1, 3, 2);
  EXPECT_FALSE(front.dirty);
  EXPECT_EQ(4u, back.GetNumVertices());  // all vertices on both sides, used or not
  EXPECT_EQ(0u, back.GetNumTriangles());
  EXPECT_TRUE(back.dirty);
  KLY_Bounds in, out;
  mesh.GetLocalBounds(in);
  back.GetLocalBounds(out);
  EXPECT_TRUE(in.IsEqual(out));
  uint32_t type = 0;
  back.GetGeometryType(type);
  EXPECT_EQ(1u, type);
}

// Uncut triangles: where each goes by its snapped distances.
TEST(SplitMesh, UncutTrianglesGoWhole) {
  struct Case {
    const char* why;
    double d[3];
    bool front;
  } cases[] = {
      {"in the plane, within 1e-6", {5e-7, -5e-7, 0.0}, true},
      {"two on the plane, one in front", {0.0, 0.0, 1.0}, true},
      {"two on the plane, one behind", {0.0, 0.0, -1.0}, false},
      {"one corner snapped, others behind", {5e-7, -1.0, -2.0}, false},
      {"all behind", {-1.0, -1.0, -3.0}, false},
  };
  for (const Case& c : cases) {
    TestMesh mesh = OneTriangle(c.d[0], c.d[1], c.d[2]);
    TestMesh front, back;
    KLY_Mesh::SplitMesh(mesh, kPlaneX, front, back);
    EXPECT_EQ(c.front ? 1u : 0u, front.GetNumTriangles()) << c.why;
    EXPECT_EQ(c.front ? 0u : 1u, back.GetNumTriangles()) << c.why;
    EXPECT_EQ(3u, front.GetNumVertices()) << c.why;  // snapping moves no vertex
    EXPECT_EQ(c.d[0], front.vertices[0].pos.x) << c.why;
  }
}

TEST(SplitMesh, CutThroughACorner) {
  // Distances 1, -1, 0: the third corner is p, so (p, q, r) = (2, 0, 1), and the new vertex 3
  // is the middle of the edge from the first to the second corner.
  TestMesh mesh = OneTriangle(1, -1, 0);
  mesh.vertices[0].uv = {0, 0};
  mesh.vertices[1].uv = {1, 1};
  TestMesh front, back;
  KLY_Mesh::SplitMesh(mesh, kPlaneX, front, back);
  ASSERT_EQ(4u, front.GetNumVertices());
  ASSERT_EQ(4u, back.GetNumVertices());
  EXPECT_EQ((ORT_Vector3T<double>{0, 0.5, 0}), front.vertices[3].pos);
  EXPECT_EQ((ORT_Vector2T<double>{0.5, 0.5}), back.vertices[3].uv);
  EXPECT_EQ(1.0, front.vertices[3].pos_w);
  ASSERT_EQ(1u, front.GetNumTriangles());
  ASSERT_EQ(1u, back.GetNumTriangles());
  ExpectIndices(front.triangles[0], 2, 0, 3);  // A = (p, q, m): q is in front
  ExpectIndices(back.triangles[0], 2, 3, 1);   // B = (p, m, r)
  EXPECT_EQ(5u, back.triangles[0].material_index);
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, 1}), back.triangles[0].normal);
}

TEST(SplitMesh, CutAcrossTwoEdges) {
  // Distances 1, 1, -1: L is the third corner, so (X, L, Y) = (1, 2, 0); m1 = 3 on 1-2 and
  // m2 = 4 on 2-0. T3 = (m1, L, m2) goes back, T1 = (X, m1, Y) and T2 = (m1, m2, Y) front.
  TestMesh mesh = OneTriangle(1, 1, -1);
  TestMesh front, back;
  KLY_Mesh::SplitMesh(mesh, kPlaneX, front, back);
  ASSERT_EQ(5u, front.GetNumVertices());
  EXPECT_EQ((ORT_Vector3T<double>{0, 0.5, 0.5}), front.vertices[3].pos);
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, 0.5}), front.vertices[4].pos);
  ASSERT_EQ(1u, back.GetNumTriangles());
  ExpectIndices(back.triangles[0], 3, 2, 4);
  ASSERT_EQ(2u, front.GetNumTriangles());
  ExpectIndices(front.triangles[0], 1, 3, 0);
  ExpectIndices(front.triangles[1], 3, 4, 0);

  // The lone corner in front: L = first corner, (X, L, Y) = (2, 0, 1); T3 to front.
  TestMesh mesh2 = OneTriangle(1, -1, -1);
  TestMesh front2, back2;
  KLY_Mesh::SplitMesh(mesh2, kPlaneX, front2, back2);
  ASSERT_EQ(1u, front2.GetNumTriangles());
  ExpectIndices(front2.triangles[0], 3, 0, 4);
  ExpectIndices(back2.triangles[0], 2, 3, 1);
  ExpectIndices(back2.triangles[1], 3, 4, 1);
}

TEST(SplitMesh, CutVertexInterpolatesWithoutRenormalising) {
  TestMesh mesh = OneTriangle(3, -1, 5);
  mesh.vertices[0].normal = {1, 0, 0};
  mesh.vertices[1].normal = {0, 1, 0};
  mesh.vertices[0].singular = mesh.vertices[1].singular = true;
  TestMesh front, back;
  KLY_Mesh::SplitMesh(mesh, kPlaneX, front, back);
  // L is the second corner; m1 on the edge 0 -> 1 at t = 3/4.
  const KLY_Vertex& m1 = front.vertices[3];
  EXPECT_EQ(0.0, m1.pos.x);
  EXPECT_EQ(0.75, m1.pos.y);
  EXPECT_EQ((ORT_Vector3T<double>{0.25, 0.75, 0}), m1.normal);
  EXPECT_FALSE(m1.singular);
}

TEST(SplitMesh, SharedCutEdgeGetsAVertexPerTriangle) {
  TestMesh mesh;
  mesh.PushVertex(VertexAt(-1, 0, 0));
  mesh.PushVertex(VertexAt(1, 0, 0));
  mesh.PushVertex(VertexAt(0, 1, 0));
  mesh.PushVertex(VertexAt(0, -1, 0));
  mesh.PushFace(Tri(0, 1, 2));
  mesh.PushFace(Tri(1, 0, 3));
  TestMesh front, back;
  KLY_Mesh::SplitMesh(mesh, kPlaneX, front, back);
  // Each triangle is cut through its corner on x = 0 and makes its own vertex at the origin.
  EXPECT_EQ(6u, front.GetNumVertices());
  EXPECT_EQ(front.vertices[4].pos, front.vertices[5].pos);
}

TEST(SplitMesh, BadIndexRaisesTheContainersError) {
  TestMesh mesh = OneTriangle(1, 1, 1);
  mesh.PushFace(Tri(0, 1, 9));
  TestMesh front, back;
  EXPECT_EQ("invalid vector<T> subscript", kly::testing::ThrownText<std::out_of_range>([&] {
              KLY_Mesh::SplitMesh(mesh, kPlaneX, front, back);
            }));
}

// Property check with its own distance and area code: on random meshes and planes, the two
// sides keep the total area, and every triangle lies on its side up to rounding.
TEST(SplitMesh, RandomMeshesKeepAreaAndSides) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int round = 0; round < 20; ++round) {
    TestMesh mesh;
    for (int i = 0; i < 300; ++i) mesh.PushVertex(VertexAt(u(random), u(random), u(random)));
    for (uint32_t i = 0; i < 300; i += 3) mesh.PushFace(Tri(i, i + 1, i + 2));
    double nx = u(random), ny = u(random), nz = u(random);
    const double len = std::sqrt(nx * nx + ny * ny + nz * nz);
    const ORT_PlaneEq plane{nx / len, ny / len, nz / len, 0.3 * u(random)};
    TestMesh front, back;
    KLY_Mesh::SplitMesh(mesh, plane, front, back);
    EXPECT_NEAR(SurfaceArea(mesh), SurfaceArea(front) + SurfaceArea(back), 1e-9);
    auto side = [&plane](const TestMesh& m, double sign) {
      for (const KLY_Triangle& t : m.triangles) {
        for (uint32_t i : t.indices) {
          const auto& p = m.vertices[i].pos;
          const double d = plane.a * p.x + plane.b * p.y + plane.c * p.z + plane.d;
          if (sign * d < -1e-6 - 1e-12) return false;
        }
      }
      return true;
    };
    EXPECT_TRUE(side(front, 1.0)) << round;
    EXPECT_TRUE(side(back, -1.0)) << round;
  }
}

ORT_Matrix4 Translation(double x, double y, double z) {
  ORT_Matrix4 m = ORT_Identity4();
  m.m[3][0] = x;
  m.m[3][1] = y;
  m.m[3][2] = z;
  return m;
}

TEST(SplitMeshByRectangle, CutsInPlacedSpaceAndAnswersInTheMeshsOwn) {
  // Two triangles at local z = -0.8 and 0; placed by +1 in z they are at 0.2 and 1. The
  // rectangle's corners (0,0), (1,0), (1,1) give the normal (1,0,0) x (1,1,0) = (0,0,1) at
  // z = 0.5, negated: front is where z < 0.5.
  TestMesh mesh;
  mesh.PushVertex(VertexAt(0, 0, -0.8));
  mesh.PushVertex(VertexAt(1, 0, -0.8));
  mesh.PushVertex(VertexAt(0, 1, -0.8));
  mesh.PushVertex(VertexAt(0, 0, 0));
  mesh.PushVertex(VertexAt(1, 0, 0));
  mesh.PushVertex(VertexAt(0, 1, 0));
  mesh.PushFace(Tri(0, 1, 2));
  mesh.PushFace(Tri(3, 4, 5));
  const ORT_Matrix4 placement = Translation(0, 0, 1);
  for (KLY_Rectangle rectangle : {KLY_Rectangle{0, 0, 1, 1}, KLY_Rectangle{-7, -3, 20, 40}}) {
    TestMesh front, back;
    KLY_Mesh::SplitMesh(mesh, placement, rectangle, Translation(0, 0, 0.5), front, back);
    ASSERT_EQ(1u, front.GetNumTriangles());
    ASSERT_EQ(1u, back.GetNumTriangles());
    const uint32_t f = front.triangles[0].indices[0];
    EXPECT_NEAR(-0.8, front.vertices[f].pos.z, 1e-15);
    const uint32_t b = back.triangles[0].indices[0];
    EXPECT_NEAR(0.0, back.vertices[b].pos.z, 1e-15);
    EXPECT_EQ(-1.0, front.transform.m[3][2]);  // the inverse of the placement
  }
}

TEST(SplitMeshByRectangle, SingularPlacementThrowsItsStatus) {
  TestMesh mesh = OneTriangle(1, 1, 1);
  ORT_Matrix4 flat = ORT_Identity4();
  flat.m[2][2] = 0.0;
  TestMesh front, back;
  EXPECT_EQ(ORT_kErrSingularMatrix, ThrownNumber([&] {
              KLY_Mesh::SplitMesh(mesh, flat, KLY_Rectangle{0, 0, 1, 1}, Translation(0.5, 0, 0),
                                  front, back);
            }));
}

TEST(SplitMeshByRectangle, DegenerateRectangleThrowsThePlaneStatus) {
  TestMesh mesh = OneTriangle(1, 1, 1);
  TestMesh front, back;
  EXPECT_EQ(ORT_kErrDegeneratePlane, ThrownNumber([&] {
              KLY_Mesh::SplitMesh(mesh, ORT_Identity4(), KLY_Rectangle{0, 0, 0, 1}, ORT_Identity4(),
                                  front, back);
            }));
}

TEST(DoesMeshOverlapRectangle, ComparesPlacedBoxes) {
  TestMesh mesh;  // the box [0, 1]^3
  mesh.PushVertex(VertexAt(0, 0, 0));
  mesh.PushVertex(VertexAt(1, 1, 1));
  mesh.dirty = true;
  mesh.Update();
  const KLY_Rectangle square{2, 2, 3, 3};
  EXPECT_FALSE(KLY_Mesh::DoesMeshOverlapRectangle(mesh, ORT_Identity4(), square, ORT_Identity4()));
  EXPECT_TRUE(
      KLY_Mesh::DoesMeshOverlapRectangle(mesh, ORT_Identity4(), square, Translation(-2, -2, 0.5)));
  // Moving the mesh instead, and touching boxes count.
  EXPECT_TRUE(
      KLY_Mesh::DoesMeshOverlapRectangle(mesh, Translation(1, 1, 0), square, ORT_Identity4()));
  EXPECT_FALSE(KLY_Mesh::DoesMeshOverlapRectangle(mesh, Translation(1, 1, 0), square,
                                                  Translation(0, 0, 1.5)));
}

}  // namespace
