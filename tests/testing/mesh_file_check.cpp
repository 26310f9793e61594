#include "tests/testing/mesh_file_check.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/testing/glb_layout.h"
#include "tests/testing/mesh_files.h"

namespace kly {
namespace testing {
namespace {

// Normals are stored as 32-bit floats: a unit vector rounds to within a few 1e-7 of length 1.
constexpr double kUnitTolerance = 1e-5;

template <size_t N>
void ExpectFinite(const std::vector<std::array<double, N>>& values, const char* what) {
  for (size_t i = 0; i < values.size(); ++i) {
    for (double value : values[i]) EXPECT_TRUE(std::isfinite(value)) << what << " " << i;
  }
}

void ExpectUnit(const std::vector<Vec3>& normals, const char* what) {
  for (size_t i = 0; i < normals.size(); ++i) {
    EXPECT_NEAR(std::sqrt(Dot(normals[i], normals[i])), 1.0, kUnitTolerance) << what << " " << i;
  }
}

void ExpectMeshRules(const ReadMesh& mesh, const std::string& extension) {
  ExpectFinite(mesh.positions, "position");
  ExpectFinite(mesh.normals, "normal");
  ExpectFinite(mesh.uvs, "uv");
  ExpectFinite(mesh.face_normals, "face normal");
  ExpectUnit(mesh.normals, "normal");
  ExpectUnit(mesh.face_normals, "face normal");
  if (extension == ".stl") {
    // Three corners of its own a triangle, one stored normal each.
    EXPECT_EQ(mesh.positions.size(), 3 * mesh.triangles.size());
    EXPECT_EQ(mesh.face_normals.size(), mesh.triangles.size());
  } else {
    EXPECT_EQ(mesh.normals.size(), mesh.positions.size());
    EXPECT_EQ(mesh.uvs.size(), mesh.positions.size());
  }
  for (size_t t = 0; t < mesh.triangles.size(); ++t) {
    for (uint32_t index : mesh.triangles[t]) {
      EXPECT_LT(index, mesh.positions.size()) << "triangle " << t;
    }
  }
}

// The text and binary forms are told apart by their first bytes, as a reader tells them.
void ExpectEncoding(const WrittenFile& file) {
  if (file.extension == ".stl") {
    EXPECT_EQ(file.bytes.compare(0, 6, "solid ") == 0, file.ascii) << "STL text or binary";
  }
  if (file.extension == ".ply") {
    const std::string format =
        file.ascii ? "ply\nformat ascii 1.0\n" : "ply\nformat binary_little_endian 1.0\n";
    EXPECT_EQ(file.bytes.compare(0, format.size(), format), 0) << "PLY format line";
  }
}

// The .mtl that `mtllib` names lies beside the file and defines every group's material;
// standard output gets no library and no `mtllib` line.
void ExpectMaterialLibrary(const ReadMesh& mesh, const WrittenFile& file) {
  if (file.folder.empty()) {
    EXPECT_EQ(mesh.material_library, "") << "mtllib on standard output";
    return;
  }
  ASSERT_NE(mesh.material_library, "") << "an .obj file without mtllib";
  const std::filesystem::path library = file.folder / mesh.material_library;
  ASSERT_TRUE(std::filesystem::is_regular_file(library)) << library;
  const auto colors = ReadMtl(FileContents(library.string()));
  for (const std::string& group : mesh.groups) {
    EXPECT_EQ(colors.count(group), 1u) << "usemtl " << group << " is not in " << library;
  }
  for (const auto& [name, kd] : colors) {
    for (double channel : kd) EXPECT_TRUE(channel >= 0 && channel <= 1) << name;
  }
}

ReadMesh ReadChecked(const WrittenFile& file) {
  if (file.extension == ".glb") return ReadGlbLayout(file.bytes);
  if (file.extension == ".obj") {
    ReadMesh mesh = ReadObj(file.bytes);
    ExpectMaterialLibrary(mesh, file);
    return mesh;
  }
  ExpectEncoding(file);
  return file.extension == ".ply" ? ReadPly(file.bytes) : ReadStl(file.bytes);
}

}  // namespace

size_t CheckMeshFile(const WrittenFile& file) {
  const ReadMesh mesh = ReadChecked(file);
  ExpectMeshRules(mesh, file.extension);
  return mesh.triangles.size();
}

}  // namespace testing
}  // namespace kly
