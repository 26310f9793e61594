// KLY_Mesh storage, materials, Update and its simple operations.
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "kly/mesh/mesh.h"
#include "kly/package/failure.h"
#include "tests/testing/mesh_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::ThrownNumber;

using kly::testing::Indices;
using kly::testing::TestMesh;
using kly::testing::VertexAt;

KLY_Triangle Tri(uint32_t a, uint32_t b, uint32_t c, uint32_t material = 0) {
  KLY_Triangle t(a, b, c);
  t.SetMaterialIndex(material);
  return t;
}

TEST(Mesh, ConstructorsAndCounts) {
  KLY_Mesh empty;
  uint32_t type = 99;
  empty.GetGeometryType(type);
  EXPECT_EQ(0u, type);
  KLY_Bounds b;
  empty.GetLocalBounds(b);
  EXPECT_TRUE(b.IsEmpty());
  EXPECT_TRUE(empty.DoesMeshTransformEqual(ORT_Identity4()));

  KLY_Mesh sized(3, 1);
  sized.GetGeometryType(type);
  EXPECT_EQ(1u, type);
  // 80 bytes a vertex and 40 a triangle.
  EXPECT_EQ(3 * 80u + 40u, sized.GetByteSize());
  EXPECT_EQ(0u, sized.NumMaterials());
}

TEST(Mesh, ArrayProtocolOfASingleMesh) {
  KLY_Mesh mesh(3, 1);
  EXPECT_FALSE(mesh.HasArray());
  EXPECT_EQ(1u, mesh.GetNumberOfArrayElements());
  EXPECT_EQ(&mesh, mesh.GetArrayElement(7));
  EXPECT_EQ(1u, mesh.GetTotalNumberOfPrimitives());
}

TEST(Mesh, UpdateComputesBoundsAndFaceNormalsOnlyWhenDirty) {
  TestMesh mesh;
  mesh.PushVertex(VertexAt(0, 0, 0));
  mesh.PushVertex(VertexAt(1, 0, 0));
  mesh.PushVertex(VertexAt(0, 1, 0));
  mesh.PushFace(Tri(0, 1, 2));
  mesh.SetFacet(true);
  mesh.Update();  // clean: nothing happens
  KLY_Bounds b;
  mesh.GetLocalBounds(b);
  EXPECT_TRUE(b.IsEmpty());

  mesh.dirty = true;
  mesh.Update();
  mesh.GetLocalBounds(b);
  EXPECT_EQ(1.0, b.max_x);
  EXPECT_EQ(1.0, b.max_y);
  EXPECT_FALSE(mesh.dirty);
  // (p2 - p0) x (p1 - p0) = (0,1,0) x (1,0,0) = (0,0,-1).
  ORT_Vector3T<double> n;
  mesh.triangles[0].GetNormal(n);
  EXPECT_EQ((ORT_Vector3T<double>{0, 0, -1}), n);
}

TEST(Mesh, DegenerateFacetedTriangleFailsWith4363AndStaysDirty) {
  TestMesh mesh;
  for (int i = 0; i < 3; ++i) mesh.PushVertex(VertexAt(i, i, i));  // collinear
  mesh.PushFace(Tri(0, 1, 2));
  mesh.dirty = true;
  mesh.Update();  // not faceted: fine
  mesh.dirty = true;
  mesh.SetFacet(true);
  kly::testing::ReportCapture capture;
  EXPECT_EQ(KLY_kErrNormalisation, ThrownNumber([&] { mesh.Update(); }));
  EXPECT_TRUE(mesh.dirty);
  EXPECT_EQ(capture.reports(),
            std::vector<kly::testing::Report>{kly::testing::NormalisationReport()});
}

TEST(Mesh, PushVertexOfItsOwnElementWhileGrowing) {
  TestMesh mesh;
  mesh.PushVertex(VertexAt(4, 5, 6));
  mesh.vertices.shrink_to_fit();
  for (int i = 0; i < 20; ++i) mesh.PushVertex(mesh.vertices[0]);
  for (const KLY_Vertex& v : mesh.vertices) EXPECT_EQ(4.0, v.pos.x);
}

TEST(Mesh, ReserveKeepsTheRecordsAndRoomWhetherOrNotItTakesASpare) {
  // The first Reserve finds no spare (or a small one); the second finds the larger arrays the
  // first mesh left when it was destroyed. Either way the records stay and pushing up to the
  // reserved counts never moves the arrays.
  for (const uint32_t count : {3000u, 2000u}) {
    TestMesh mesh;
    mesh.PushVertex(VertexAt(1, 2, 3));
    mesh.PushFace(Tri(0, 0, 0, 7));
    mesh.Reserve(count, count);
    const KLY_Vertex* vertices = mesh.vertices.data();
    const KLY_Triangle* triangles = mesh.triangles.data();
    while (mesh.GetNumVertices() < count) mesh.PushVertex(VertexAt(4, 5, 6));
    while (mesh.GetNumTriangles() < count) mesh.PushFace(Tri(1, 1, 1));
    EXPECT_EQ(vertices, mesh.vertices.data());
    EXPECT_EQ(triangles, mesh.triangles.data());
    EXPECT_EQ(3.0, mesh.vertices[0].pos.z);
    EXPECT_EQ(7u, mesh.triangles[0].material_index);
  }
}

TEST(Mesh, GrowUnwrittenKeepsTheRecordsAndNeverShrinks) {
  TestMesh mesh;
  mesh.PushVertex(VertexAt(1, 2, 3));
  mesh.PushFace(Tri(0, 0, 0, 7));
  mesh.GrowUnwritten(5, 3);
  EXPECT_EQ(5u, mesh.GetNumVertices());
  EXPECT_EQ(3u, mesh.GetNumTriangles());
  EXPECT_EQ(3.0, mesh.vertices[0].pos.z);
  EXPECT_EQ(7u, mesh.triangles[0].material_index);
  // Only the numbers are left to the writer: a new vertex is not singular.
  for (const KLY_Vertex& v : mesh.vertices) EXPECT_FALSE(v.singular);
  mesh.GrowUnwritten(2, 1);
  EXPECT_EQ(5u, mesh.GetNumVertices());
  EXPECT_EQ(3u, mesh.GetNumTriangles());
}

TEST(Mesh, MaterialTable) {
  KLY_Mesh mesh;
  KLY_Material red;
  red.values[0] = 1.0;
  EXPECT_EQ(0u, mesh.AddMaterial(red));
  EXPECT_EQ(1u, mesh.AddMaterial(KLY_Material()));
  KLY_Material out;
  out.values[0] = -5.0;
  mesh.GetMaterial(2, out);  // past the end: untouched
  EXPECT_EQ(-5.0, out.values[0]);
  mesh.GetMaterial(0, out);
  EXPECT_EQ(1.0, out.values[0]);
}

TEST(Mesh, ClearGeometryKeepsMaterialsAndGivesEmptyBoundsAfterUpdate) {
  TestMesh mesh;
  mesh.PushVertex(VertexAt(1, 1, 1));
  mesh.AddMaterial(KLY_Material());
  mesh.ClearGeometry();
  EXPECT_TRUE(mesh.dirty);
  mesh.Update();
  KLY_Bounds b;
  mesh.GetLocalBounds(b);
  EXPECT_TRUE(b.IsEmpty());
  EXPECT_EQ(1u, mesh.NumMaterials());
}

TEST(Mesh, GetVerticesForTriangleChecksEachIndexInTurn) {
  KLY_Mesh mesh;
  mesh.PushVertex(VertexAt(1, 0, 0));
  mesh.PushVertex(VertexAt(2, 0, 0));
  KLY_Vertex a, b, c;
  EXPECT_EQ("invalid vector<T> subscript", kly::testing::ThrownText<std::out_of_range>([&] {
              mesh.GetVerticesForTriangle(Tri(1, 5, 0), a, b, c);
            }));
  EXPECT_EQ(2.0, a.pos.x);  // written before the bad index
  EXPECT_EQ(0.0, b.pos.x);
}

TEST(Mesh, AppendOffsetsIndicesAndIgnoresTheOtherMaterials) {
  TestMesh a, b;
  a.PushVertex(VertexAt(0, 0, 0));
  b.PushVertex(VertexAt(1, 0, 0));
  b.PushVertex(VertexAt(2, 0, 0));
  b.PushVertex(VertexAt(3, 0, 0));
  b.PushFace(Tri(0, 1, 2, 7));
  b.AddMaterial(KLY_Material());
  a.AppendTriangleMesh(b);
  ASSERT_EQ(4u, a.GetNumVertices());
  EXPECT_EQ((std::vector<uint32_t>{1, 2, 3}), Indices(a.triangles[0]));
  EXPECT_EQ(7u, a.triangles[0].material_index);
  EXPECT_EQ(0u, a.NumMaterials());
}

TEST(Mesh, SingleMaterialMeshKeepsSharedVerticesAndOldMaterialIndex) {
  TestMesh mesh;
  for (int i = 0; i < 5; ++i) mesh.PushVertex(VertexAt(i, i * i, 0));
  mesh.PushFace(Tri(0, 1, 2, 0));
  mesh.PushFace(Tri(4, 2, 3, 1));
  mesh.PushFace(Tri(2, 4, 1, 1));
  mesh.AddMaterial(KLY_Material());
  KLY_Material second;
  second.values[0] = 0.9;
  mesh.AddMaterial(second);

  TestMesh out;
  mesh.BuildSingleMaterialMesh(1, out);
  // Vertices in order of first use: 4, 2, 3, 1 become 0, 1, 2, 3.
  ASSERT_EQ(4u, out.GetNumVertices());
  EXPECT_EQ(4.0, out.vertices[0].pos.x);
  EXPECT_EQ(1.0, out.vertices[3].pos.x);
  ASSERT_EQ(2u, out.GetNumTriangles());
  EXPECT_EQ((std::vector<uint32_t>{1, 0, 3}), Indices(out.triangles[1]));
  EXPECT_EQ(1u, out.triangles[0].material_index);  // not rewritten to 0
  ASSERT_EQ(1u, out.NumMaterials());
  EXPECT_EQ(0.9, out.materials[0].values[0]);
  EXPECT_TRUE(out.dirty);

  TestMesh none;
  mesh.BuildSingleMaterialMesh(5, none);
  EXPECT_EQ(0u, none.GetNumVertices());
  EXPECT_EQ(0u, none.GetNumTriangles());
  EXPECT_EQ(1u, none.NumMaterials());
}

TEST(Mesh, FlipPolyAndFlipNormals) {
  TestMesh mesh;
  KLY_Vertex v = VertexAt(0, 0, 0);
  v.SetNormal({0.0, 1.0, -2.0});
  mesh.PushVertex(v);
  mesh.PushFace(Tri(0, 1, 2));
  mesh.FlipPoly();
  EXPECT_EQ((std::vector<uint32_t>{2, 1, 0}), Indices(mesh.triangles[0]));
  mesh.FlipNormals();
  EXPECT_TRUE(std::signbit(mesh.vertices[0].normal.x));  // 0.0 becomes -0.0
  EXPECT_EQ((ORT_Vector3T<double>{0, -1, 2}), mesh.vertices[0].normal);
}

TEST(Mesh, CollapseCopiesEverything) {
  TestMesh mesh;
  mesh.PushVertex(VertexAt(1, 2, 3));
  mesh.AddMaterial(KLY_Material());
  mesh.SetFacet(true);
  KLY_Mesh out;
  mesh.CollapseArrayToSingleElement(&out);
  EXPECT_EQ(1u, out.GetNumVertices());
  EXPECT_EQ(1u, out.NumMaterials());
  bool facet = false;
  out.GetFacet(facet);
  EXPECT_TRUE(facet);
}

}  // namespace
