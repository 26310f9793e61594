// The normals an exported mesh carries: the library's scaled to unit length and repaired where it
// has none, smooth ones over equal positions split at creases, or flat ones; and triangles with
// no area left out. Cases are built in the files' frame (tests/testing/file_frame_mesh.h), so
// every expected normal is the one a file shows.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <sstream>

#include "cli/writers/export_mesh.h"
#include "cli/writers/mesh_writer.h"
#include "kly/solids/cylinder.h"
#include "tests/testing/file_frame_mesh.h"
#include "tests/testing/mesh_files.h"

namespace kly {
namespace cli {
namespace {

using testing::FileFrameMesh;

constexpr double kPi = 3.14159265358979323846;

ExportMesh Export(const KLY_Mesh& mesh, NormalMode mode, double crease_degrees = 60.0) {
  WriteOptions options;
  options.normals = mode;
  options.crease_degrees = crease_degrees;
  return ExportMesh(mesh, MeshDescription(), options);
}

// The normal written for the first vertex at `position`.
Float3 NormalAt(const ExportMesh& mesh, const Float3& position) {
  for (const FileVertex& vertex : mesh.Vertices()) {
    if (vertex.position == position) return vertex.normal;
  }
  ADD_FAILURE() << "no vertex at " << position[0] << ", " << position[1] << ", " << position[2];
  return Float3{0, 0, 0};
}

void ExpectNormal(const Float3& normal, const ORT_Vector3T<double>& expected) {
  EXPECT_NEAR(normal[0], expected.x, 1e-7);
  EXPECT_NEAR(normal[1], expected.y, 1e-7);
  EXPECT_NEAR(normal[2], expected.z, 1e-7);
}

TEST(ExportNormals, LibraryNormalsAreScaledToUnitLength) {
  FileFrameMesh mesh;
  mesh.Triangle(mesh.Vertex({0, 0, 0}, {0, 0, 2}), mesh.Vertex({1, 0, 0}, {0, 3, 4}),
                mesh.Vertex({0, 1, 0}, {0, 0, 1e-300}));
  const ExportMesh exported = Export(mesh.Mesh(), NormalMode::kLibrary);
  ExpectNormal(NormalAt(exported, {0, 0, 0}), {0, 0, 1});
  // (0, 3, 4) is 5 long.
  ExpectNormal(NormalAt(exported, {1, 0, 0}), {0, 0.6, 0.8});
  // Tiny but with a direction: scaled, not replaced.
  ExpectNormal(NormalAt(exported, {0, 1, 0}), {0, 0, 1});
  EXPECT_EQ(exported.RepairedNormals(), 0u);
}

TEST(ExportNormals, NormalsTheLibraryLeftUnwritableBecomeTheAreaWeightedMeanOfTheirFaces) {
  // O is shared by T1 = (O, A, B): (2, 0, 0) x (0, 2, 0) = (0, 0, 4), area 2 facing +z, and
  // T2 = (O, C, D): (0, 1, 0) x (0, 0, 2) = (2, 0, 0), area 1 facing +x. Weighted by area the
  // faces give (0, 0, 4) + (2, 0, 0) = (2, 0, 4), of unit length (1, 0, 2) / sqrt(5).
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  for (const ORT_Vector3T<double>& bad :
       {ORT_Vector3T<double>{0, 0, 0}, {nan, 0, 1}, ORT_Vector3T<double>{0, inf, 0}}) {
    SCOPED_TRACE(std::to_string(bad.x) + ", " + std::to_string(bad.y));
    FileFrameMesh mesh;
    const uint32_t o = mesh.Vertex({0, 0, 0}, bad);
    mesh.Triangle(o, mesh.Vertex({2, 0, 0}, {0, 0, 1}), mesh.Vertex({0, 2, 0}, {0, 0, 1}));
    mesh.Triangle(o, mesh.Vertex({0, 1, 0}, {1, 0, 0}), mesh.Vertex({0, 0, 2}, {1, 0, 0}));
    const ExportMesh exported = Export(mesh.Mesh(), NormalMode::kLibrary);
    ExpectNormal(NormalAt(exported, {0, 0, 0}),
                 ORT_Vector3T<double>{1, 0, 2} * (1 / std::sqrt(5.0)));
    EXPECT_EQ(exported.RepairedNormals(), 1u);
    // O keeps one vertex: both triangles see the same repaired normal.
    EXPECT_EQ(exported.Vertices().size(), 5u);
  }
}

TEST(ExportNormals, FacesThatCancelOutLeaveTheLargestFacesNormal) {
  // O lies on T1 (area 2, facing +z) and on T1 turned over (area 2, facing -z), and on a smaller
  // T2 facing +x: (0, 0, 4) + (0, 0, -4) + (2, 0, 0) = (2, 0, 0), so +x. Without T2 the sum is
  // zero and the first of the largest faces, T1, decides: +z.
  for (const bool with_t2 : {true, false}) {
    SCOPED_TRACE(with_t2 ? "with T2" : "without T2");
    FileFrameMesh mesh;
    const uint32_t o = mesh.Vertex({0, 0, 0}, {0, 0, 0});
    const uint32_t a = mesh.Vertex({2, 0, 0}, {0, 0, 1});
    const uint32_t b = mesh.Vertex({0, 2, 0}, {0, 0, 1});
    mesh.Triangle(o, a, b);
    mesh.Triangle(o, b, a);
    if (with_t2)
      mesh.Triangle(o, mesh.Vertex({0, 1, 0}, {1, 0, 0}), mesh.Vertex({0, 0, 2}, {1, 0, 0}));
    ExpectNormal(NormalAt(Export(mesh.Mesh(), NormalMode::kLibrary), {0, 0, 0}),
                 with_t2 ? ORT_Vector3T<double>{1, 0, 0} : ORT_Vector3T<double>{0, 0, 1});
  }
}

TEST(ExportNormals, FlatShadingWritesFaceNormalsWhateverTheLibrarySays) {
  // The two triangles of the previous case, with a normal at O the library would keep: flat
  // shading gives O the face normal of each triangle, so O is written twice (6 vertices).
  FileFrameMesh mesh;
  const uint32_t o = mesh.Vertex({0, 0, 0}, {0, 1, 0});
  mesh.Triangle(o, mesh.Vertex({2, 0, 0}, {0, 1, 0}), mesh.Vertex({0, 2, 0}, {0, 1, 0}));
  mesh.Triangle(o, mesh.Vertex({0, 1, 0}, {0, 1, 0}), mesh.Vertex({0, 0, 2}, {0, 1, 0}));
  const ExportMesh exported = Export(mesh.Mesh(), NormalMode::kFlat);
  ASSERT_EQ(exported.Vertices().size(), 6u);
  std::set<Float3> normals_at_o;
  for (const FileVertex& vertex : exported.Vertices()) {
    if (vertex.position == Float3{0, 0, 0}) normals_at_o.insert(vertex.normal);
  }
  EXPECT_EQ(normals_at_o, (std::set<Float3>{{0, 0, 1}, {1, 0, 0}}));
  EXPECT_EQ(exported.FaceNormals(), (std::vector<Float3>{{0, 0, 1}, {1, 0, 0}}));
}

// Two triangles hinged on the edge P = (0, 0, 0), Q = (1, 0, 0): T1 = (P, Q, R) lies in z = 0
// facing +z, T2 = (Q, P, S) with S = (0.5, -cos a, sin a) has (P - Q) x (S - Q) =
// (-1, 0, 0) x (-0.5, -cos a, sin a) = (0, sin a, cos a): the faces meet at angle a. Each
// triangle has its own library vertices, as the sphere's do, and no library normals.
FileFrameMesh Hinge(double degrees, const ORT_Vector2T<double>& p2_uv = {0, 0}) {
  const double a = degrees * kPi / 180.0;
  FileFrameMesh mesh;
  const ORT_Vector3T<double> none{0, 0, 0};
  mesh.Triangle(mesh.Vertex({0, 0, 0}, none), mesh.Vertex({1, 0, 0}, none),
                mesh.Vertex({0.5, 1, 0}, none));
  mesh.Triangle(mesh.Vertex({1, 0, 0}, none), mesh.Vertex({0, 0, 0}, none, p2_uv),
                mesh.Vertex({0.5, -std::cos(a), std::sin(a)}, none));
  return mesh;
}

TEST(ExportNormals, SmoothNormalsJoinFacesAcrossEdgesUpToTheCrease) {
  // At 30 degrees under a crease of 60 the faces join: P and Q get the mean of (0, 0, 1) and
  // (0, sin 30, cos 30), halfway, (0, sin 15, cos 15); R and S keep their faces' normals.
  // 4 vertices. Under a crease of 20 the edge is sharp: P and Q twice, 6 vertices.
  const double d = kPi / 180.0;
  const ExportMesh joined = Export(Hinge(30).Mesh(), NormalMode::kSmooth, 60);
  EXPECT_EQ(joined.Vertices().size(), 4u);
  ExpectNormal(NormalAt(joined, {0, 0, 0}), {0, std::sin(15 * d), std::cos(15 * d)});
  ExpectNormal(NormalAt(joined, {1, 0, 0}), {0, std::sin(15 * d), std::cos(15 * d)});
  ExpectNormal(NormalAt(joined, {0.5, 1, 0}), {0, 0, 1});
  const ExportMesh sharp = Export(Hinge(30).Mesh(), NormalMode::kSmooth, 20);
  EXPECT_EQ(sharp.Vertices().size(), 6u);
  // Exactly at the crease the faces still join; a crease of 0 joins faces in one plane.
  EXPECT_EQ(Export(Hinge(30).Mesh(), NormalMode::kSmooth, 30).Vertices().size(), 4u);
  EXPECT_EQ(Export(Hinge(0).Mesh(), NormalMode::kSmooth, 0).Vertices().size(), 4u);
}

TEST(ExportNormals, SmoothNormalsAreSharedAcrossTextureSeams) {
  // P's second library vertex has other UVs: P is written twice, with the same normal.
  const ExportMesh exported = Export(Hinge(30, {0.5, 0.5}).Mesh(), NormalMode::kSmooth);
  EXPECT_EQ(exported.Vertices().size(), 5u);
  std::set<Float3> normals_at_p;
  for (const FileVertex& vertex : exported.Vertices()) {
    if (vertex.position == Float3{0, 0, 0}) normals_at_p.insert(vertex.normal);
  }
  EXPECT_EQ(normals_at_p.size(), 1u);
}

TEST(ExportNormals, SmoothNormalsTiltAConesSideUpward) {
  // A cone of radius 1 and height 1 (the top radius 0 is raised to 1e-5): its side rises at 45
  // degrees. The library gives the side horizontal normals (y = 0). Smooth normals at the bottom
  // rim average the two side facets beside each rim vertex: a facet's middle stands d = cos(pi /
  // 32) from the axis, so its normal is h (u, d) with u the horizontal unit toward its middle and
  // h = 1 / sqrt(1 + d^2). The two facets' u lie pi / 32 either side of the vertex's direction,
  // so they sum to 2 h d along that direction and 2 h d up: 45 degrees, y = 1 / sqrt(2), as the
  // true cone's. The rim is sharp against the bottom cap (135 degrees apart), so the cap does
  // not bend it.
  KLY_Cylinder cone;
  cone.SetTopRadius(0.0);
  cone.SetDivisions(32, 1);
  cone.Update();
  WriteOptions options;
  options.colors = {{"side", {1, 0, 0}}};
  const std::string slots[] = {"side", "caps"};
  for (const NormalMode mode : {NormalMode::kLibrary, NormalMode::kSmooth}) {
    options.normals = mode;
    const ExportMesh exported(cone, MeshDescription{"cone", {slots[0], slots[1]}, ""}, options);
    ASSERT_EQ(exported.Materials().at(0).name, "side");
    const ExportMesh::Range& side = exported.Parts().at(0).ranges.at(0);
    int rim_corners = 0;
    for (uint32_t i = 3 * side.first_triangle; i < 3 * (side.first_triangle + side.triangle_count);
         ++i) {
      const FileVertex& vertex = exported.Vertices()[exported.Indices()[i]];
      if (vertex.position[1] != -0.5f) continue;
      ++rim_corners;
      if (mode == NormalMode::kLibrary) {
        EXPECT_EQ(vertex.normal[1], 0.0f);
      } else {
        EXPECT_NEAR(vertex.normal[1], 1 / std::sqrt(2.0), 1e-5);
      }
    }
    EXPECT_GT(rim_corners, 0);
  }
}

TEST(ExportNormals, TrianglesWithoutAreaAreLeftOutOfEveryFormat) {
  // One good triangle, one with two corners at one place and one with its corners on a line:
  // neither of the last two has an area or a normal. Their own vertices (at x = 5 and beyond)
  // are used by nothing else and are not written either.
  FileFrameMesh mesh;
  const ORT_Vector3T<double> n{0, 0, 1};
  mesh.Triangle(mesh.Vertex({0, 0, 0}, n), mesh.Vertex({1, 0, 0}, n), mesh.Vertex({0, 1, 0}, n));
  mesh.Triangle(mesh.Vertex({5, 0, 0}, n), mesh.Vertex({5, 0, 0}, n), mesh.Vertex({6, 1, 0}, n));
  mesh.Triangle(mesh.Vertex({7, 0, 0}, n), mesh.Vertex({8, 0, 0}, n), mesh.Vertex({9, 0, 0}, n));
  for (const NormalMode mode : {NormalMode::kLibrary, NormalMode::kSmooth, NormalMode::kFlat}) {
    const ExportMesh exported = Export(mesh.Mesh(), mode);
    EXPECT_EQ(exported.TriangleCount(), 1u);
    EXPECT_EQ(exported.DroppedTriangles(), 2u);
    EXPECT_EQ(exported.Vertices().size(), 3u);
  }
  for (const auto& [format, extension] :
       {std::pair{MeshFormat::kGlb, ".glb"}, std::pair{MeshFormat::kObj, ".obj"},
        std::pair{MeshFormat::kPly, ".ply"}, std::pair{MeshFormat::kStl, ".stl"}}) {
    SCOPED_TRACE(extension);
    WriteOptions options;
    options.format = format;
    std::ostringstream out;
    const WriteSummary summary =
        WriteMeshStreams(mesh.Mesh(), MeshDescription(), options, out, nullptr, "");
    EXPECT_EQ(summary.triangles, 1u);
    EXPECT_EQ(summary.dropped_triangles, 2u);
    EXPECT_EQ(testing::ReadMeshAs(out.str(), extension).triangles.size(), 1u);
  }
}

TEST(ExportNormals, AFacetedMeshDropsItsDegenerateTrianglesInsteadOfFailing) {
  // The library's own flat shading fails on a triangle without area (4363); the export leaves
  // the triangle out and shades the rest.
  FileFrameMesh mesh;
  const ORT_Vector3T<double> n{0, 0, 1};
  mesh.Triangle(mesh.Vertex({0, 0, 0}, n), mesh.Vertex({1, 0, 0}, n), mesh.Vertex({0, 1, 0}, n));
  mesh.Triangle(mesh.Vertex({0, 0, 0}, n), mesh.Vertex({1, 0, 0}, n), mesh.Vertex({2, 0, 0}, n));
  KLY_Mesh faceted = mesh.Mesh();
  faceted.SetFacet(true);
  const ExportMesh exported = Export(faceted, NormalMode::kLibrary);
  EXPECT_EQ(exported.TriangleCount(), 1u);
  EXPECT_EQ(exported.FaceNormals().at(0), (Float3{0, 0, 1}));
}

}  // namespace
}  // namespace cli
}  // namespace kly
