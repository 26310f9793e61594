// The mesh writers, checked by reading their files back with readers written here (and
// tinygltf's loader for .glb), never with the writers' own code. What must hold in every format:
// the library's (x, y, z) arrives as (x, -y, -z), each triangle's second and third corners are
// swapped so its right-handed cross product points out of the solid, and V runs down the image
// in glTF but up in OBJ and PLY.
#include <gtest/gtest.h>

#include <tiny_gltf.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "cli/writers/export_mesh.h"
#include "cli/writers/mesh_writer.h"
#include "cli/writers/pending_file.h"
#include "kly/package/failure.h"
#include "kly/solids/cube.h"
#include "tests/testing/mesh_files.h"
#include "tests/testing/report_capture.h"

namespace kly {
namespace cli {
namespace {

using testing::Dot;
using testing::FileCross;
using testing::ReadGlb;
using testing::ReadMesh;
using testing::Vec2;
using testing::Vec3;

std::string Written(const KLY_Mesh& mesh, MeshFormat format,
                    MeshDescription description = MeshDescription()) {
  std::ostringstream out;
  WriteMesh(ExportMesh(mesh, description), format, out);
  return out.str();
}

// Every format with the extension of its files.
constexpr std::pair<MeshFormat, const char*> kFormats[] = {{MeshFormat::kGlb, ".glb"},
                                                           {MeshFormat::kObj, ".obj"},
                                                           {MeshFormat::kPly, ".ply"},
                                                           {MeshFormat::kStl, ".stl"}};

std::string Name(MeshFormat format) {
  for (const auto& [known, extension] : kFormats)
    if (known == format) return extension;
  return "";
}

ReadMesh ReadBack(const KLY_Mesh& mesh, MeshFormat format,
                  MeshDescription description = MeshDescription()) {
  return testing::ReadMeshAs(Written(mesh, format, description), Name(format));
}

KLY_Vertex Vertex(const ORT_Vector3T<double>& position, const ORT_Vector3T<double>& normal,
                  const ORT_Vector2T<double>& uv) {
  KLY_Vertex vertex;
  vertex.SetPos(position);
  vertex.SetNormal(normal);
  vertex.SetUV(uv);
  return vertex;
}

KLY_Triangle Triangle(uint32_t a, uint32_t b, uint32_t c, uint32_t material = 0) {
  KLY_Triangle triangle(a, b, c);
  triangle.SetMaterialIndex(material);
  triangle.SetNormal(ORT_Vector3T<double>{0.0, 0.0, -1.0});
  return triangle;
}

// One library triangle facing the viewer. Library corners p0 = (1, 2, 3), p1 = (2, 2, 3),
// p2 = (1, 3, 3): its face normal by the library's rule, unit (p2 - p0) x (p1 - p0), is
// (0, 1, 0) x (1, 0, 0) = (0, 0, -1), toward the viewer, and so is the stored vertex normal.
KLY_Mesh OneTriangle() {
  KLY_Mesh mesh;
  mesh.AddMaterial(KLY_Material());
  const ORT_Vector3T<double> normal{0.0, 0.0, -1.0};
  mesh.PushVertex(Vertex({1.0, 2.0, 3.0}, normal, {0.25, 0.125}));
  mesh.PushVertex(Vertex({2.0, 2.0, 3.0}, normal, {0.5, 0.125}));
  mesh.PushVertex(Vertex({1.0, 3.0, 3.0}, normal, {0.25, 0.75}));
  mesh.PushFace(Triangle(0, 1, 2));
  return mesh;
}

TEST(CliWriters, OneTriangleMapsTheAxesAndReversesTheWindingInEveryFormat) {
  const KLY_Mesh mesh = OneTriangle();
  // (x, y, z) -> (x, -y, -z).
  const std::vector<Vec3> positions = {{1, -2, -3}, {2, -2, -3}, {1, -3, -3}};
  for (const auto& [format, name] : kFormats) {
    SCOPED_TRACE(name);
    const ReadMesh read = ReadBack(mesh, format);
    ASSERT_EQ(read.triangles.size(), 1u);
    // Corners in the order first, third, second.
    const std::vector<Vec3> corners = {read.positions[read.triangles[0][0]],
                                       read.positions[read.triangles[0][1]],
                                       read.positions[read.triangles[0][2]]};
    EXPECT_EQ(corners, (std::vector<Vec3>{positions[0], positions[2], positions[1]}));
    // The consumer's cross product: (0, -1, 0) x (1, 0, 0) = (0, 0, 1), toward the viewer.
    EXPECT_EQ(FileCross(read, 0), (Vec3{0, 0, 1}));
    if (format == MeshFormat::kStl) {
      EXPECT_EQ(read.face_normals[0], (Vec3{0, 0, 1}));
      continue;
    }
    EXPECT_EQ(read.triangles[0], (std::array<uint32_t, 3>{0, 2, 1}));
    EXPECT_EQ(read.positions, positions);
    for (const Vec3& normal : read.normals) EXPECT_EQ(normal, (Vec3{0, 0, 1}));
    // glTF keeps V running down the image; OBJ and PLY store 1 - V.
    const bool flipped = format != MeshFormat::kGlb;
    EXPECT_EQ(read.uvs[0], (Vec2{0.25, flipped ? 0.875 : 0.125}));
    EXPECT_EQ(read.uvs[1], (Vec2{0.5, flipped ? 0.875 : 0.125}));
    EXPECT_EQ(read.uvs[2], (Vec2{0.25, flipped ? 0.25 : 0.75}));
  }
}

KLY_Cube BuiltCube(uint32_t divisions, bool facet) {
  ORT_Vector3T<double> half_extents{1.0, 2.0, 3.0};
  KLY_Cube cube(half_extents);
  cube.SetDivisions(divisions);
  cube.SetFacet(facet);
  cube.Update();
  return cube;
}

const MeshDescription kCubeDescription{"cube", {"front", "back", "left", "right", "top", "bottom"}};

TEST(CliWriters, CubeWindsOutwardWithNormalsAlongInEveryFormat) {
  // n = 2: 6 faces of 3 x 3 vertices and 2 * 2 * 2 triangles.
  const KLY_Cube cube = BuiltCube(2, false);
  for (const auto& [format, name] : kFormats) {
    SCOPED_TRACE(name);
    const ReadMesh read = ReadBack(cube, format, kCubeDescription);
    ASSERT_EQ(read.triangles.size(), 48u);
    EXPECT_EQ(read.positions.size(), format == MeshFormat::kStl ? 144u : 54u);
    for (size_t t = 0; t < read.triangles.size(); ++t) {
      const auto& tri = read.triangles[t];
      const Vec3 cross = FileCross(read, t);
      Vec3 centre{0, 0, 0};
      for (uint32_t index : tri) {
        for (int k = 0; k < 3; ++k) centre[k] += read.positions[index][k] / 3.0;
      }
      // The box is convex about the origin: outward means away from it.
      EXPECT_GT(Dot(cross, centre), 0.0) << "triangle " << t;
      if (format == MeshFormat::kStl) {
        EXPECT_GT(Dot(cross, read.face_normals[t]), 0.0) << "triangle " << t;
        continue;
      }
      for (uint32_t index : tri) EXPECT_GT(Dot(cross, read.normals[index]), 0.0);
    }
  }
}

TEST(CliWriters, CubeFacesLandWhereTheirSlotNamesSay) {
  // The library's face 0 lies at z = -Z, facing the viewer, and face 4 at y = -Y, the top
  // (its y runs down). In the file, with half extents (1, 2, 3), the front is z = +3, the top
  // y = +2, and so on: (axis, value) for each name.
  const std::map<std::string, std::pair<int, double>> planes = {
      {"front", {2, 3.0}}, {"back", {2, -3.0}}, {"left", {0, -1.0}},
      {"right", {0, 1.0}}, {"top", {1, 2.0}},   {"bottom", {1, -2.0}}};
  const KLY_Cube cube = BuiltCube(2, false);
  for (MeshFormat format : {MeshFormat::kGlb, MeshFormat::kObj}) {
    SCOPED_TRACE(Name(format));
    const ReadMesh read = ReadBack(cube, format, kCubeDescription);
    std::map<std::string, int> triangles_per_group;
    for (size_t t = 0; t < read.triangles.size(); ++t) {
      const auto plane = planes.at(read.groups[t]);
      for (uint32_t index : read.triangles[t]) {
        EXPECT_EQ(read.positions[index][plane.first], plane.second) << read.groups[t];
      }
      ++triangles_per_group[read.groups[t]];
    }
    for (const auto& entry : planes) EXPECT_EQ(triangles_per_group[entry.first], 8);
  }
  tinygltf::Model model;
  ReadGlb(Written(cube, MeshFormat::kGlb, kCubeDescription), &model);
  EXPECT_EQ(model.materials.size(), 6u);
  EXPECT_EQ(model.meshes.at(0).primitives.size(), 6u);
  EXPECT_EQ(model.accessors.at(0).minValues, (std::vector<double>{-1, -2, -3}));
  EXPECT_EQ(model.accessors.at(0).maxValues, (std::vector<double>{1, 2, 3}));
}

TEST(CliWriters, FacetedMeshGivesEachTriangleItsCornersAndFaceNormal) {
  // n = 1: 12 triangles, so 36 vertices; every normal is the axis its face looks along.
  const KLY_Cube cube = BuiltCube(1, true);
  for (MeshFormat format : {MeshFormat::kGlb, MeshFormat::kObj, MeshFormat::kPly}) {
    SCOPED_TRACE(Name(format));
    const ReadMesh read = ReadBack(cube, format, kCubeDescription);
    ASSERT_EQ(read.triangles.size(), 12u);
    EXPECT_EQ(read.positions.size(), 36u);
    for (size_t t = 0; t < read.triangles.size(); ++t) {
      const Vec3 cross = FileCross(read, t);
      const double length = std::sqrt(Dot(cross, cross));
      for (uint32_t index : read.triangles[t]) {
        for (int k = 0; k < 3; ++k) {
          EXPECT_NEAR(read.normals[index][k], cross[k] / length, 1e-6);
        }
      }
    }
  }
}

TEST(CliWriters, UnusedVerticesAreLeftOutAndTheRestRenumbered) {
  KLY_Mesh mesh = OneTriangle();
  // Vertices 0 and 4 unused; the triangle (1, 2, 3) becomes (0, 2, 1) over vertices 1, 2, 3.
  mesh.PushVertex(Vertex({5.0, 5.0, 5.0}, {0.0, 0.0, -1.0}, {0.0, 0.0}));
  mesh.PushVertex(Vertex({9.0, 9.0, 9.0}, {0.0, 0.0, -1.0}, {0.0, 0.0}));
  *mesh.beginTriangles() = Triangle(1, 2, 3);
  for (MeshFormat format : {MeshFormat::kGlb, MeshFormat::kObj, MeshFormat::kPly}) {
    SCOPED_TRACE(Name(format));
    const ReadMesh read = ReadBack(mesh, format);
    EXPECT_EQ(read.positions, (std::vector<Vec3>{{2, -2, -3}, {1, -3, -3}, {5, -5, -5}}));
    EXPECT_EQ(read.triangles.at(0), (std::array<uint32_t, 3>{0, 2, 1}));
  }
}

TEST(CliWriters, MaterialPastTheTableGoesToAnUnassignedSlot) {
  KLY_Mesh mesh = OneTriangle();
  mesh.PushFace(Triangle(2, 1, 0, 7));
  tinygltf::Model model;
  const ReadMesh read = ReadGlb(Written(mesh, MeshFormat::kGlb, {"m", {"only"}}), &model);
  ASSERT_EQ(model.materials.size(), 2u);
  EXPECT_EQ(model.materials[0].name, "only");
  EXPECT_EQ(model.materials[1].name, "unassigned");
  EXPECT_EQ(read.groups, (std::vector<std::string>{"only", "unassigned"}));
}

TEST(CliWriters, MeshWithoutTrianglesWritesValidEmptyFiles) {
  KLY_Mesh mesh;
  mesh.AddMaterial(KLY_Material());
  mesh.PushVertex(Vertex({1.0, 1.0, 1.0}, {0.0, 0.0, -1.0}, {0.0, 0.0}));
  tinygltf::Model model;
  ReadGlb(Written(mesh, MeshFormat::kGlb), &model);
  EXPECT_TRUE(model.meshes.empty());
  EXPECT_EQ(model.scenes.size(), 1u);
  EXPECT_TRUE(model.scenes[0].nodes.empty());
  for (MeshFormat format : {MeshFormat::kObj, MeshFormat::kPly, MeshFormat::kStl}) {
    SCOPED_TRACE(Name(format));
    const ReadMesh read = ReadBack(mesh, format);
    EXPECT_TRUE(read.positions.empty());
    EXPECT_TRUE(read.triangles.empty());
  }
}

TEST(CliWriters, RefusesMeshesItCannotWriteTruthfully) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    const char* name;
    ORT_Vector3T<double> position;
    ORT_Vector3T<double> normal;
    uint32_t last_index;
    const char* message;
  };
  const Case cases[] = {
      {"index past the vertices", {1, 3, 3}, {0, 0, -1}, 3, "triangle 0 refers to vertex 3 of 3"},
      {"non-finite position", {nan, 3, 3}, {0, 0, -1}, 2, "vertex 2 has a non-finite position"},
      {"non-finite normal", {1, 3, 3}, {nan, 0, 0}, 2, "vertex 2 has a non-finite normal"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    KLY_Mesh mesh = OneTriangle();
    (mesh.beginVerts() + 2)->SetPos(c.position);
    (mesh.beginVerts() + 2)->SetNormal(c.normal);
    *mesh.beginTriangles() = Triangle(0, 1, c.last_index);
    EXPECT_EQ(
        testing::ThrownText<std::runtime_error>([&] { ExportMesh view(mesh, MeshDescription()); }),
        c.message);
  }
}

TEST(CliWriters, DegenerateTriangleOfAFacetedMeshFailsWithTheLibrarysNumber) {
  KLY_Mesh mesh = OneTriangle();
  // All three corners on one line: the face normal has no direction.
  (mesh.beginVerts() + 2)->SetPos(ORT_Vector3T<double>{3.0, 2.0, 3.0});
  mesh.SetFacet(true);
  testing::ReportCapture capture;
  EXPECT_EQ(testing::ThrownNumber([&] { ExportMesh view(mesh, MeshDescription()); }),
            KLY_kErrNormalisation);
  ASSERT_EQ(capture.reports().size(), 1u);
  EXPECT_EQ(capture.reports()[0].id, KLY_kNormalisationReportId);
}

TEST(CliWriters, FormatComesFromTheExtensionAndSplitNamesKeepIt) {
  const std::pair<const char*, MeshFormat> known[] = {{"a.glb", MeshFormat::kGlb},
                                                      {"dir.x/a.OBJ", MeshFormat::kObj},
                                                      {"a.b.Stl", MeshFormat::kStl},
                                                      {"/tmp/a.ply", MeshFormat::kPly}};
  for (const auto& entry : known) EXPECT_EQ(FormatForPath(entry.first), entry.second);
  for (const char* path : {"a.gltf", "a", "dir.glb/a", ".glb", "a."}) {
    EXPECT_THROW(FormatForPath(path), std::invalid_argument) << path;
  }
  EXPECT_EQ(TaggedPath("out/cube.glb", "front"), "out/cube.front.glb");
  EXPECT_EQ(TaggedPath("out.d/cube", "back"), "out.d/cube.back");
}

class PendingFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "kly_pending_XXXXXX");
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::vector<std::string> Entries() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }
  static std::string Contents(const std::filesystem::path& path) {
    return testing::FileContents(path.string());
  }

  std::filesystem::path folder_;
};

TEST_F(PendingFileTest, FileAppearsUnderItsNameOnlyOnCommit) {
  const std::string path = (folder_ / "mesh.obj").string();
  PendingFile file(path);
  file.Stream() << "abc";
  EXPECT_FALSE(std::filesystem::exists(path));
  file.Commit();
  EXPECT_EQ(Contents(path), "abc");
  EXPECT_EQ(Entries(), std::vector<std::string>{"mesh.obj"});
}

TEST_F(PendingFileTest, AbandonedFileLeavesTheOldOneAndNoTemporary) {
  const std::filesystem::path path = folder_ / "mesh.obj";
  std::ofstream(path) << "old";
  {
    PendingFile file(path.string());
    file.Stream() << "new, half written";
  }
  EXPECT_EQ(Contents(path), "old");
  EXPECT_EQ(Entries(), std::vector<std::string>{"mesh.obj"});
}

TEST_F(PendingFileTest, UnwritablePlacesFailAtOnceNamingThePath) {
  const std::string missing = (folder_ / "no" / "mesh.glb").string();
  const std::string folder = folder_.string();
  for (const std::string& path : {missing, folder}) {
    const std::string text =
        testing::ThrownText<std::runtime_error>([&] { PendingFile file(path); });
    EXPECT_EQ(text.rfind("cannot write '" + path + "': ", 0), 0u) << text;
  }
  EXPECT_TRUE(Entries().empty());
}

}  // namespace
}  // namespace cli
}  // namespace kly
