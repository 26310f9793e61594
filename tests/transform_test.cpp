// Transform, Project and the remembered matrix.
#include <gtest/gtest.h>

#include <cmath>

#include "kly/mesh/mesh.h"
#include "kly/package/failure.h"
#include "tests/testing/mesh_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::TestMesh;

TestMesh OneTriangle() {
  TestMesh mesh;
  const ORT_Vector3T<double> pos[3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  for (const auto& p : pos) {
    KLY_Vertex v;
    v.SetPos(p);
    v.SetNormal({0, 0, -1});
    v.SetUV({p.x, p.y});
    mesh.PushVertex(v);
  }
  mesh.PushFace(KLY_Triangle(0, 1, 2));
  return mesh;
}

ORT_Matrix4 Scale(double x, double y, double z) {
  ORT_Matrix4 m = ORT_Identity4();
  m.m[0][0] = x;
  m.m[1][1] = y;
  m.m[2][2] = z;
  return m;
}

TEST(Transform, MovesPositionsCarriesNormalsAndRemembersTheMatrix) {
  const TestMesh mesh = OneTriangle();
  ORT_Matrix4 m = Scale(2, 3, 4);
  m.m[3][0] = 10;
  TestMesh out;
  mesh.Transform(m, &out);
  EXPECT_EQ((ORT_Vector3T<double>{12, 0, 0}), out.vertices[1].pos);
  EXPECT_EQ(1.0, out.vertices[1].pos_w);
  // The normal (0,0,-1) through the inverse transpose of diag(2,3,4) is (0,0,-1/4): unit again.
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, -1}), out.vertices[0].normal);
  EXPECT_EQ(1.0, out.vertices[1].uv.x);
  KLY_Bounds b;
  out.GetLocalBounds(b);
  EXPECT_EQ(10.0, b.min_x);
  EXPECT_EQ(12.0, b.max_x);
  EXPECT_EQ(3.0, b.max_y);
  EXPECT_FALSE(out.dirty);
  EXPECT_TRUE(out.DoesMeshTransformEqual(m));
  ORT_Matrix4 near = m;
  near.m[2][2] += 1e-7;
  EXPECT_TRUE(out.DoesMeshTransformEqual(near));
  near.m[2][2] += 1e-5;
  EXPECT_FALSE(out.DoesMeshTransformEqual(near));
}

TEST(Transform, SingularMatrixGivesNormalsTowardTheViewer) {
  const TestMesh mesh = OneTriangle();
  TestMesh out;
  mesh.Transform(Scale(1, 1, 0), &out);
  for (const KLY_Vertex& v : out.vertices) EXPECT_EQ((ORT_Vector3T<double>{0, 0, -1}), v.normal);
}

TEST(Transform, ZeroNormalStaysZero) {
  TestMesh mesh = OneTriangle();
  mesh.vertices[2].SetNormal({0, 0, 0});
  TestMesh out;
  mesh.Transform(Scale(2, 2, 2), &out);
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, 0}), out.vertices[2].normal);
}

TEST(Transform, TinyNonZeroNormalFailsWith4363) {
  TestMesh mesh = OneTriangle();
  mesh.vertices[0].SetNormal({1e-30, 0, 0});  // s = 1e-60 > 0 but below 1e-48
  TestMesh out;
  kly::testing::ReportCapture capture;
  EXPECT_EQ(KLY_kErrNormalisation,
            kly::testing::ThrownNumber([&] { mesh.Transform(ORT_Identity4(), &out); }));
  EXPECT_EQ(1u, capture.reports().size());
}

TEST(Transform, InPlaceTwiceAppliesTwiceButRemembersOnce) {
  TestMesh mesh = OneTriangle();
  const ORT_Matrix4 m = Scale(2, 2, 2);
  mesh.Transform(m, &mesh);
  mesh.Transform(m, &mesh);
  EXPECT_EQ(4.0, mesh.vertices[1].pos.x);
  EXPECT_TRUE(mesh.DoesMeshTransformEqual(m));
}

TEST(Transform, FacetedMeshGetsFreshFaceNormals) {
  TestMesh mesh = OneTriangle();
  mesh.SetFacet(true);
  TestMesh out;
  // Mirroring z keeps the triangle in z = 0; the normal is (p2-p0)x(p1-p0) = (0,0,-1) still.
  mesh.Transform(Scale(-1, 1, 1), &out);
  // Mirroring x flips the winding: (0,1,0) x (-1,0,0) = (0,0,1).
  ORT_Vector3T<double> n;
  out.triangles[0].GetNormal(n);
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, 1}), n);
}

TEST(Transform, FailingFaceNormalLeavesOutDirtyWithTheLaterTrianglesUntouched) {
  TestMesh mesh = OneTriangle();
  mesh.SetFacet(true);
  KLY_Vertex far;
  far.SetPos({5, 5, 5});
  mesh.PushVertex(far);
  mesh.PushFace(KLY_Triangle(3, 3, 3));  // degenerate: fails
  KLY_Triangle last(0, 2, 1);
  last.SetNormal({7, 7, 7});
  mesh.PushFace(last);
  TestMesh out;
  kly::testing::ReportCapture capture;
  EXPECT_EQ(KLY_kErrNormalisation,
            kly::testing::ThrownNumber([&] { mesh.Transform(ORT_Identity4(), &out); }));
  EXPECT_TRUE(out.dirty);
  ASSERT_EQ(3u, out.GetNumTriangles());
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, -1}), out.triangles[0].normal);  // before the failure
  EXPECT_EQ((ORT_Vector3T<double>{7, 7, 7}), out.triangles[2].normal);   // copied, untouched
  EXPECT_EQ(2u, out.triangles[2].indices[1]);
  KLY_Bounds b;
  out.GetLocalBounds(b);
  EXPECT_EQ(5.0, b.max_z);  // the new bounds are in place
}

TEST(Transform, OutputOfAnotherSizeIsReplacedWhole) {
  const TestMesh mesh = OneTriangle();
  TestMesh out;
  for (int i = 0; i < 10; ++i) out.PushVertex(KLY_Vertex());
  out.AddMaterial(KLY_Material());
  mesh.Transform(ORT_Identity4(), &out);
  EXPECT_EQ(3u, out.GetNumVertices());
  EXPECT_EQ(1u, out.GetNumTriangles());
  EXPECT_EQ(0u, out.NumMaterials());
}

TEST(Project, MovesPositionsOnlyAndKeepsNormalsBitForBit) {
  TestMesh mesh = OneTriangle();
  mesh.vertices[0].SetNormal({0.1, 0.2, 0.3});
  TestMesh out;
  const ORT_Matrix4 m = Scale(5, 5, 5);
  mesh.Project(m, out);
  EXPECT_EQ(5.0, out.vertices[1].pos.x);
  EXPECT_EQ((ORT_Vector3T<double>{0.1, 0.2, 0.3}), out.vertices[0].normal);
  KLY_Bounds b;
  out.GetLocalBounds(b);
  EXPECT_EQ(5.0, b.max_x);
  EXPECT_TRUE(out.DoesMeshTransformEqual(m));
}

}  // namespace
