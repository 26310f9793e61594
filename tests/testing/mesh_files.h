// Readers of the command line's mesh files, written here from the formats alone (and tinygltf's
// loader for .glb), so that the writers are never checked with their own code.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tinygltf {
class Model;
}

namespace kly {
namespace testing {

using Vec3 = std::array<double, 3>;
using Vec2 = std::array<double, 2>;

// A file read back: one entry a vertex, and per triangle its three indices and (where the
// format keeps them) its material group's name. STL has no shared vertices: every corner is a
// vertex of its own, and `face_normals` holds the stored normal of each triangle. `materials`
// lists a .glb file's materials in order; `material_library` is an OBJ's `mtllib` name.
struct ReadMesh {
  std::vector<Vec3> positions;
  std::vector<Vec3> normals;
  std::vector<Vec2> uvs;
  std::vector<std::array<uint32_t, 3>> triangles;
  std::vector<std::string> groups;
  std::vector<Vec3> face_normals;
  std::vector<std::string> materials;
  std::string material_library;
};

ReadMesh ReadObj(const std::string& text);
// Binary little-endian or ASCII, by the header's format line.
ReadMesh ReadPly(const std::string& bytes);
// Binary, or ASCII when the file opens with "solid".
ReadMesh ReadStl(const std::string& bytes);
// A .mtl file: each `newmtl` name with its Kd.
std::map<std::string, Vec3> ReadMtl(const std::string& text);
// `model_out`, when given, receives the whole loaded model.
ReadMesh ReadGlb(const std::string& bytes, tinygltf::Model* model_out = nullptr);
// `bytes` read by the reader that `extension` (".glb", ".obj", ".ply" or ".stl") names.
ReadMesh ReadMeshAs(const std::string& bytes, const std::string& extension);
// The file at `path`, read by the reader its extension names.
ReadMesh ReadMeshFile(const std::string& path);
std::string FileContents(const std::string& path);

// The right-handed cross product of triangle t as a file consumer computes it.
Vec3 FileCross(const ReadMesh& mesh, size_t t);
double Dot(const Vec3& a, const Vec3& b);

}  // namespace testing
}  // namespace kly
