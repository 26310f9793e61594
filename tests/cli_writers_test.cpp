// The mesh writers, checked by reading their files back with readers written here (and
// tinygltf's loader for .glb), never with the writers' own code. What must hold in every format:
// the library's (x, y, z) arrives as (x, -y, -z), each triangle's second and third corners are
// swapped so its right-handed cross product points out of the solid, and V runs down the image
// in glTF but up in OBJ and PLY. Slots of one colour share a material; OBJ's go to a .mtl.
#include <gtest/gtest.h>

#include <tiny_gltf.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/writers/export_mesh.h"
#include "cli/writers/mesh_writer.h"
#include "cli/writers/pending_file.h"
#include "kly/solids/cube.h"
#include "kly/solids/sphere.h"
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

WriteOptions Options(MeshFormat format, WriteOptions options = WriteOptions()) {
  options.format = format;
  return options;
}

std::string Written(const KLY_Mesh& mesh, MeshFormat format,
                    MeshDescription description = MeshDescription(),
                    WriteOptions options = WriteOptions()) {
  std::ostringstream out;
  WriteMeshStreams(mesh, description, Options(format, options), out, nullptr, "");
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
                  MeshDescription description = MeshDescription(),
                  WriteOptions options = WriteOptions()) {
  return testing::ReadMeshAs(Written(mesh, format, description, options), Name(format));
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
    // Vertices are numbered in the order the triangles first use them.
    EXPECT_EQ(read.triangles[0], (std::array<uint32_t, 3>{0, 1, 2}));
    for (const Vec3& normal : read.normals) EXPECT_EQ(normal, (Vec3{0, 0, 1}));
    // glTF keeps V running down the image; OBJ and PLY store 1 - V. Corners first, third,
    // second: library UVs (0.25, 0.125), (0.25, 0.75), (0.5, 0.125).
    const bool flipped = format != MeshFormat::kGlb;
    EXPECT_EQ(read.uvs[0], (Vec2{0.25, flipped ? 0.875 : 0.125}));
    EXPECT_EQ(read.uvs[1], (Vec2{0.25, flipped ? 0.25 : 0.75}));
    EXPECT_EQ(read.uvs[2], (Vec2{0.5, flipped ? 0.875 : 0.125}));
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

const MeshDescription kCubeDescription{
    "cube", {"front", "back", "left", "right", "top", "bottom"}, "--dimensions"};

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

// Six distinct colours, so that every slot keeps a material of its own.
std::vector<SlotColor> DistinctColors(const std::vector<std::string>& slots) {
  std::vector<SlotColor> colors;
  for (size_t i = 0; i < slots.size(); ++i) {
    colors.push_back(SlotColor{slots[i], {0.1f * static_cast<float>(i), 0.5f, 0.5f}});
  }
  return colors;
}

TEST(CliWriters, CubeFacesLandWhereTheirSlotNamesSay) {
  // The library's face 0 lies at z = -Z, facing the viewer, and face 4 at y = -Y, the top
  // (its y runs down). In the file, with half extents (1, 2, 3), the front is z = +3, the top
  // y = +2, and so on: (axis, value) for each name.
  const std::map<std::string, std::pair<int, double>> planes = {
      {"front", {2, 3.0}}, {"back", {2, -3.0}}, {"left", {0, -1.0}},
      {"right", {0, 1.0}}, {"top", {1, 2.0}},   {"bottom", {1, -2.0}}};
  const KLY_Cube cube = BuiltCube(2, false);
  WriteOptions options;
  options.colors = DistinctColors(kCubeDescription.slot_names);
  for (MeshFormat format : {MeshFormat::kGlb, MeshFormat::kObj}) {
    SCOPED_TRACE(Name(format));
    const ReadMesh read = ReadBack(cube, format, kCubeDescription, options);
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
  ReadGlb(Written(cube, MeshFormat::kGlb, kCubeDescription, options), &model);
  EXPECT_EQ(model.materials.size(), 6u);
  EXPECT_EQ(model.meshes.at(0).primitives.size(), 6u);
  EXPECT_EQ(model.accessors.at(0).minValues, (std::vector<double>{-1, -2, -3}));
  EXPECT_EQ(model.accessors.at(0).maxValues, (std::vector<double>{1, 2, 3}));
}

TEST(CliWriters, SlotsOfOneColourShareAMaterialAndAPrimitive) {
  // front and back red, the other four unset and so the default grey: two materials, named by
  // their slots in slot order, and two primitives of 2 * 2 * 2 * (2 and 4 faces) triangles.
  const KLY_Cube cube = BuiltCube(2, false);
  WriteOptions options;
  options.colors = {{"back", {1.0f, 0.0f, 0.0f}}, {"front", {1.0f, 0.0f, 0.0f}}};
  tinygltf::Model model;
  const ReadMesh read = ReadGlb(Written(cube, MeshFormat::kGlb, kCubeDescription, options), &model);
  EXPECT_EQ(read.materials, (std::vector<std::string>{"front+back", "left+right+top+bottom"}));
  ASSERT_EQ(model.meshes.at(0).primitives.size(), 2u);
  EXPECT_EQ(model.accessors.at(model.meshes[0].primitives[0].indices).count, 16u * 3);
  EXPECT_EQ(model.accessors.at(model.meshes[0].primitives[1].indices).count, 32u * 3);
  EXPECT_EQ(model.materials[0].pbrMetallicRoughness.baseColorFactor,
            (std::vector<double>{1, 0, 0, 1}));
  // The default grey is linear 0.8, stored as the float nearest to it.
  const double grey = 0.8f;
  EXPECT_EQ(model.materials[1].pbrMetallicRoughness.baseColorFactor,
            (std::vector<double>{grey, grey, grey, 1}));

  // Without colours every slot is grey: one material, one primitive, all 48 triangles.
  model = tinygltf::Model();
  ReadGlb(Written(cube, MeshFormat::kGlb, kCubeDescription), &model);
  ASSERT_EQ(model.materials.size(), 1u);
  EXPECT_EQ(model.materials[0].name, "front+back+left+right+top+bottom");
  ASSERT_EQ(model.meshes.at(0).primitives.size(), 1u);
  EXPECT_EQ(model.accessors.at(model.meshes[0].primitives[0].indices).count, 48u * 3);
}

TEST(CliWriters, ObjNamesItsMaterialLibraryWhichHoldsTheColoursAsGiven) {
  const KLY_Cube cube = BuiltCube(1, false);
  // #336699 as the options parse it: each byte c / 255 through the sRGB curve to linear.
  const double given[3] = {0x33 / 255.0, 0x66 / 255.0, 0x99 / 255.0};
  SlotColor blue{"top", {}};
  for (int k = 0; k < 3; ++k) {
    blue.rgb[k] = static_cast<float>(std::pow((given[k] + 0.055) / 1.055, 2.4));
  }
  WriteOptions options = Options(MeshFormat::kObj);
  options.colors = {blue};
  std::ostringstream obj, mtl;
  WriteMeshStreams(cube, kCubeDescription, options, obj, &mtl, "cube.mtl");
  const ReadMesh read = testing::ReadObj(obj.str());
  EXPECT_EQ(read.material_library, "cube.mtl");
  EXPECT_EQ(std::set<std::string>(read.groups.begin(), read.groups.end()),
            (std::set<std::string>{"top", "front+back+left+right+bottom"}));
  const std::map<std::string, Vec3> colors = testing::ReadMtl(mtl.str());
  ASSERT_EQ(colors.size(), 2u);
  // Kd is the colour as given, on the display's scale: back through the sRGB curve.
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(colors.at("top")[k], given[k], 1e-6);
  // Linear 0.8: 1.055 * 0.8^(1 / 2.4) - 0.055 = 0.906332.
  for (int k = 0; k < 3; ++k) {
    EXPECT_NEAR(colors.at("front+back+left+right+bottom")[k], 0.906332, 1e-6);
  }

  // Written to a stream that has no place for a .mtl: no mtllib line.
  std::ostringstream alone;
  WriteMeshStreams(cube, kCubeDescription, options, alone, nullptr, "cube.mtl");
  EXPECT_EQ(alone.str().find("mtllib"), std::string::npos);
  EXPECT_EQ(testing::ReadObj(alone.str()).groups, read.groups);
}

TEST(CliWriters, AsciiStlAndPlyReadBackEqualToBinary) {
  // A sphere's coordinates use every digit of a float, so a text form that rounded them would
  // show; a cube gives the simple numbers.
  KLY_Sphere sphere;
  sphere.SetSubdivisions(2);
  sphere.Update();
  const KLY_Cube cube = BuiltCube(2, false);
  WriteOptions ascii;
  ascii.ascii = true;
  for (const KLY_Mesh* mesh :
       {static_cast<const KLY_Mesh*>(&sphere), static_cast<const KLY_Mesh*>(&cube)}) {
    for (MeshFormat format : {MeshFormat::kStl, MeshFormat::kPly}) {
      SCOPED_TRACE(Name(format));
      const std::string text = Written(*mesh, format, MeshDescription(), ascii);
      EXPECT_EQ(
          text.rfind(format == MeshFormat::kStl ? "solid kly\n" : "ply\nformat ascii 1.0\n", 0),
          0u);
      const ReadMesh from_text = testing::ReadMeshAs(text, Name(format));
      const ReadMesh from_binary = ReadBack(*mesh, format);
      ASSERT_GT(from_binary.triangles.size(), 0u);
      EXPECT_EQ(from_text.positions, from_binary.positions);
      EXPECT_EQ(from_text.normals, from_binary.normals);
      EXPECT_EQ(from_text.uvs, from_binary.uvs);
      EXPECT_EQ(from_text.triangles, from_binary.triangles);
      EXPECT_EQ(from_text.face_normals, from_binary.face_normals);
    }
  }
  // OBJ is text already and .glb binary only: --ascii changes neither.
  for (MeshFormat format : {MeshFormat::kObj, MeshFormat::kGlb}) {
    EXPECT_EQ(Written(cube, format, MeshDescription(), ascii), Written(cube, format));
  }
}

TEST(CliWriters, FlatShadingSharesTheCornersOfCoplanarTriangles) {
  // n = 1, flat: each face's two triangles have the same face normal and meet at two corners
  // with equal UVs, so a face has 4 vertices and the cube 6 * 4 = 24 (36 corners unshared).
  const KLY_Cube cube = BuiltCube(1, true);
  for (MeshFormat format : {MeshFormat::kGlb, MeshFormat::kObj, MeshFormat::kPly}) {
    SCOPED_TRACE(Name(format));
    const ReadMesh read = ReadBack(cube, format, kCubeDescription);
    ASSERT_EQ(read.triangles.size(), 12u);
    EXPECT_EQ(read.positions.size(), 24u);
    for (size_t t = 0; t < read.triangles.size(); ++t) {
      const Vec3 cross = FileCross(read, t);
      const double length = std::sqrt(Dot(cross, cross));
      for (uint32_t index : read.triangles[t]) {
        for (int k = 0; k < 3; ++k) {
          EXPECT_EQ(read.normals[index][k], cross[k] / length) << "triangle " << t;
        }
      }
    }
  }
}

TEST(CliWriters, UnusedVerticesAreLeftOutAndTheRestRenumbered) {
  KLY_Mesh mesh = OneTriangle();
  // Vertices 0 and 4 unused. The triangle (1, 2, 3) is written with corners 1, 3, 2, which
  // number the vertices in that order: (0, 1, 2) over library vertices 1, 3, 2.
  mesh.PushVertex(Vertex({5.0, 5.0, 5.0}, {0.0, 0.0, -1.0}, {0.0, 0.0}));
  mesh.PushVertex(Vertex({9.0, 9.0, 9.0}, {0.0, 0.0, -1.0}, {0.0, 0.0}));
  *mesh.beginTriangles() = Triangle(1, 2, 3);
  for (MeshFormat format : {MeshFormat::kGlb, MeshFormat::kObj, MeshFormat::kPly}) {
    SCOPED_TRACE(Name(format));
    const ReadMesh read = ReadBack(mesh, format);
    EXPECT_EQ(read.positions, (std::vector<Vec3>{{2, -2, -3}, {5, -5, -5}, {1, -3, -3}}));
    EXPECT_EQ(read.triangles.at(0), (std::array<uint32_t, 3>{0, 1, 2}));
  }
}

TEST(CliWriters, MaterialPastTheTableGoesToAnUnassignedSlot) {
  KLY_Mesh mesh = OneTriangle();
  mesh.PushFace(Triangle(2, 1, 0, 7));
  WriteOptions options;
  options.colors = {{"only", {0.0f, 0.0f, 1.0f}}};
  tinygltf::Model model;
  const ReadMesh read =
      ReadGlb(Written(mesh, MeshFormat::kGlb, {"m", {"only"}, ""}, options), &model);
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
  // An empty buffer or an unused material would be flagged by glTF validators.
  EXPECT_TRUE(model.buffers.empty());
  EXPECT_TRUE(model.materials.empty());
  EXPECT_EQ(model.scenes.size(), 1u);
  EXPECT_TRUE(model.scenes[0].nodes.empty());
  for (MeshFormat format : {MeshFormat::kObj, MeshFormat::kPly, MeshFormat::kStl}) {
    SCOPED_TRACE(Name(format));
    const ReadMesh read = ReadBack(mesh, format);
    EXPECT_TRUE(read.positions.empty());
    EXPECT_TRUE(read.triangles.empty());
  }
}

TEST(CliWriters, RefusesMeshesNoFileCanHoldNamingWhatToChange) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  struct Case {
    const char* name;
    ORT_Vector3T<double> position;
    ORT_Vector2T<double> uv;
    uint32_t last_index;
    const char* message;
  };
  // Vertex 2's library y becomes the file's -y.
  const Case cases[] = {
      {"index past the vertices", {1, 3, 3}, {0, 0}, 3, "triangle 0 refers to vertex 3 of 3"},
      {"not a number",
       {nan, 3, 3},
       {0, 0},
       2,
       "vertex 2 has x = nan, not a number; use smaller --radius"},
      {"past the floats",
       {1, 4e38, 3},
       {0, 0},
       2,
       "vertex 2 lies at y = -4e+38, past the largest 32-bit float (3.4e+38) that files hold; "
       "use smaller --radius"},
      {"infinite",
       {1, 3, -inf},
       {0, 0},
       2,
       "vertex 2 lies at z = inf, past the largest 32-bit float (3.4e+38) that files hold; use "
       "smaller --radius"},
      {"texture coordinates",
       {1, 3, 3},
       {0, 1e39},
       2,
       "vertex 2 has texture coordinates that are not finite floats"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    KLY_Mesh mesh = OneTriangle();
    (mesh.beginVerts() + 2)->SetPos(c.position);
    (mesh.beginVerts() + 2)->SetUV(c.uv);
    *mesh.beginTriangles() = Triangle(0, 1, c.last_index);
    MeshDescription description;
    description.size_options = "--radius";
    EXPECT_EQ(
        testing::ThrownText<std::runtime_error>([&] { ExportMesh exported(mesh, description); }),
        c.message);
  }
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
  EXPECT_EQ(MaterialLibraryPath("out.d/cube.front.obj"), "out.d/cube.front.mtl");
  EXPECT_EQ(MaterialLibraryPath("out.d/cube"), "out.d/cube.mtl");
  EXPECT_EQ(FileName("out.d/cube.front.mtl"), "cube.front.mtl");
  EXPECT_EQ(FileName("cube.mtl"), "cube.mtl");
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
