// Vertex sharing: a file holds one vertex for each distinct written (position, normal, UV), so
// its size follows the data. Counts are derived by hand from how each solid is laid out.
#include <gtest/gtest.h>

#include <tiny_gltf.h>

#include <array>
#include <functional>
#include <set>
#include <sstream>
#include <string>

#include "cli/writers/export_mesh.h"
#include "cli/writers/file_numbers.h"
#include "cli/writers/mesh_writer.h"
#include "kly/solids/cube.h"
#include "kly/solids/cylinder.h"
#include "kly/solids/plane.h"
#include "kly/solids/sphere.h"
#include "tests/testing/mesh_files.h"

namespace kly {
namespace cli {
namespace {

KLY_Mesh Cube(uint32_t divisions) {
  KLY_Cube cube;
  cube.SetDivisions(divisions);
  cube.Update();
  return cube;
}

KLY_Mesh Cylinder() {
  KLY_Cylinder cylinder;
  cylinder.Update();
  return cylinder;
}

KLY_Mesh Plane(uint32_t x, uint32_t y) {
  KLY_Plane plane;
  plane.SetDivisionsX(x);
  plane.SetDivisionsY(y);
  plane.Update();
  return plane;
}

KLY_Mesh Sphere(uint32_t subdivisions) {
  KLY_Sphere sphere;
  sphere.SetSubdivisions(subdivisions);
  sphere.Update();
  return sphere;
}

uint32_t VertexCount(const KLY_Mesh& mesh, NormalMode mode) {
  WriteOptions options;
  options.normals = mode;
  return static_cast<uint32_t>(ExportMesh(mesh, MeshDescription(), options).Vertices().size());
}

TEST(ExportSharing, VertexCountsFollowTheSolidsLayout) {
  struct Case {
    const char* name;
    std::function<KLY_Mesh()> build;
    uint32_t library, smooth, flat;
  };
  const Case cases[] = {
      // Each face a grid of its own (n + 1)^2 corners with the face's normal and UVs:
      // 6 * 2^2 = 24 and 6 * 4^2 = 96. Flat: a face's triangles share its normal, so the same.
      // Smooth: faces meet at 90 degrees, beyond the crease of 60, so the same again.
      {"cube --divisions 1", [] { return Cube(1); }, 24, 24, 24},
      {"cube --divisions 3", [] { return Cube(3); }, 96, 96, 96},
      // 8 sides, 1 row: the side is 2 rows of 8 + 1 corners (the seam column twice, for its
      // UVs) = 18, and each cap a fan over its own 8 rim corners = 16: 34. Flat: each side quad
      // keeps its 4 corners (8 * 4 = 32) and each cap its 8: 48. Smooth: side facets meet at
      // 45 degrees and join, the caps meet the side at 90 and do not: as the library's, 34.
      {"cylinder", Cylinder, 34, 34, 48},
      // One sheet of (4 + 1)^2 corners in one plane: 25 in every mode.
      {"plane", [] { return Plane(4, 4); }, 25, 25, 25},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const KLY_Mesh mesh = c.build();
    EXPECT_EQ(VertexCount(mesh, NormalMode::kLibrary), c.library);
    EXPECT_EQ(VertexCount(mesh, NormalMode::kSmooth), c.smooth);
    EXPECT_EQ(VertexCount(mesh, NormalMode::kFlat), c.flat);
  }
}

TEST(ExportSharing, ASphereKeepsOneVertexForEachDistinctLibraryVertex) {
  // The library's sphere repeats every vertex in each triangle around it (three vertices a
  // triangle). Written, it keeps one for each distinct (position, normal, UV) in the file's
  // floats, counted here straight from the library's vertices.
  const KLY_Mesh sphere = Sphere(3);
  std::set<std::array<float, 8>> distinct;
  for (auto v = sphere.beginVerts(); v != sphere.endVerts(); ++v) {
    const auto f = [](double value) { return FileFloat(value); };
    distinct.insert({f(v->pos.x), f(-v->pos.y), f(-v->pos.z), f(v->normal.x), f(-v->normal.y),
                     f(-v->normal.z), f(v->uv.x), f(v->uv.y)});
  }
  EXPECT_EQ(sphere.GetNumVertices(), 3u * 640);
  EXPECT_EQ(VertexCount(sphere, NormalMode::kLibrary), distinct.size());
  // Six triangles meet at most vertices: some 640 / 2 vertices, plus the seam's.
  EXPECT_LT(distinct.size(), 640u * 6 / 10);
}

std::string Glb(const KLY_Mesh& mesh) {
  WriteOptions options;
  std::ostringstream out;
  WriteMeshStreams(mesh, MeshDescription(), options, out, nullptr, "");
  return out.str();
}

TEST(ExportSharing, GlbBufferHoldsSharedVerticesAndShortIndices) {
  // The default cube: 6 * 5^2 = 150 vertices of 32 bytes (position, normal, UV) and
  // 12 * 4^2 = 192 triangles of three 16-bit indices: 4800 + 1152 = 5952 bytes.
  tinygltf::Model model;
  testing::ReadGlb(Glb(Cube(4)), &model);
  ASSERT_EQ(model.buffers.size(), 1u);
  EXPECT_EQ(model.buffers[0].data.size(), 5952u);
  // A smooth sphere of 10 * 4^5 = 10240 triangles: about half a vertex a triangle (16 bytes)
  // and 6 bytes of indices. The library's three vertices a triangle would take 108.
  const std::string sphere = Glb(Sphere(5));
  EXPECT_LT(sphere.size(), 23u * 10240);
}

TEST(ExportSharing, IndicesWidenToThirtyTwoBitsPastSixtyFiveThousandVertices) {
  // 65535 = 255 * 257 vertices: indices up to 65534, below 16-bit's reserved 65535.
  // 65536 = 256 * 256 vertices need index 65535: 32-bit.
  const std::pair<KLY_Mesh, int> cases[] = {
      {Plane(254, 256), TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT},
      {Plane(255, 255), TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT}};
  for (const auto& [plane, type] : cases) {
    tinygltf::Model model;
    const testing::ReadMesh read = testing::ReadGlb(Glb(plane), &model);
    EXPECT_EQ(model.accessors.at(model.meshes.at(0).primitives.at(0).indices).componentType, type);
    EXPECT_EQ(read.triangles.size(), plane.GetNumTriangles());
  }
}

TEST(ExportSharing, StlCountsThreeCornersATriangle) {
  // STL has no shared vertices: the summary says what the file holds.
  WriteOptions options;
  options.format = MeshFormat::kStl;
  std::ostringstream out;
  const WriteSummary summary =
      WriteMeshStreams(Cube(1), MeshDescription(), options, out, nullptr, "");
  EXPECT_EQ(summary.triangles, 12u);
  EXPECT_EQ(summary.vertices, 36u);
  EXPECT_EQ(summary.materials, 0u);
}

}  // namespace
}  // namespace cli
}  // namespace kly
