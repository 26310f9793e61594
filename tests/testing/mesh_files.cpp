#include "tests/testing/mesh_files.h"

#include <gtest/gtest.h>
#include <tiny_gltf.h>

#include <cstring>
#include <fstream>
#include <sstream>

namespace kly {
namespace testing {
namespace {

float ReadFloat(const std::string& bytes, size_t at) {
  float value;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

Vec3 ReadFloat3(const std::string& bytes, size_t at) {
  return {ReadFloat(bytes, at), ReadFloat(bytes, at + 4), ReadFloat(bytes, at + 8)};
}

uint32_t ReadU32(const std::string& bytes, size_t at) {
  uint32_t value = 0;
  for (int k = 3; k >= 0; --k) value = (value << 8) | static_cast<uint8_t>(bytes[at + k]);
  return value;
}

template <class T, size_t N>
std::vector<std::array<double, N>> ReadAccessor(const tinygltf::Model& model, int index) {
  const tinygltf::Accessor& accessor = model.accessors[index];
  const tinygltf::BufferView& view = model.bufferViews[accessor.bufferView];
  const unsigned char* data =
      model.buffers[view.buffer].data.data() + view.byteOffset + accessor.byteOffset;
  std::vector<std::array<double, N>> values(accessor.count);
  for (size_t i = 0; i < accessor.count; ++i) {
    for (size_t k = 0; k < N; ++k) {
      T value;
      std::memcpy(&value, data + (i * N + k) * sizeof(T), sizeof(T));
      values[i][k] = value;
    }
  }
  return values;
}

// Text files hold floats: numbers are read as a float consumer reads them.
template <size_t N>
std::array<double, N> ReadFloats(std::istream& in) {
  std::array<double, N> values;
  for (double& value : values) {
    float f = 0.0f;
    in >> f;
    value = f;
  }
  return values;
}

Vec3 Minus(const Vec3& a, const Vec3& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

}  // namespace

ReadMesh ReadObj(const std::string& text) {
  ReadMesh mesh;
  std::istringstream lines(text);
  std::string line;
  std::string group;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    if (kind == "v") mesh.positions.push_back(ReadFloats<3>(words));
    if (kind == "vn") mesh.normals.push_back(ReadFloats<3>(words));
    if (kind == "vt") mesh.uvs.push_back(ReadFloats<2>(words));
    if (kind == "usemtl") words >> group;
    if (kind == "mtllib") words >> mesh.material_library;
    if (kind != "f") continue;
    std::array<uint32_t, 3> triangle;
    for (uint32_t& index : triangle) {
      std::string corner;
      words >> corner;
      // "p/t/n": the writer uses one index for all three, which this checks.
      const uint32_t p = std::stoul(corner);
      EXPECT_EQ(p, std::stoul(corner.substr(corner.find('/') + 1)));
      EXPECT_EQ(p, std::stoul(corner.substr(corner.rfind('/') + 1)));
      index = p - 1;
    }
    mesh.triangles.push_back(triangle);
    mesh.groups.push_back(group);
  }
  return mesh;
}

ReadMesh ReadPly(const std::string& bytes) {
  ReadMesh mesh;
  const size_t header_end = bytes.find("end_header\n");
  EXPECT_NE(header_end, std::string::npos);
  std::istringstream header(bytes.substr(0, header_end));
  std::string line;
  size_t vertex_count = 0;
  size_t face_count = 0;
  std::vector<std::string> properties;
  bool ascii = false;
  while (std::getline(header, line)) {
    std::istringstream words(line);
    std::string kind, first, second;
    words >> kind >> first >> second;
    if (kind == "format") {
      ascii = first == "ascii";
      EXPECT_TRUE(ascii || first == "binary_little_endian") << first;
    }
    if (kind == "element") (first == "vertex" ? vertex_count : face_count) = std::stoul(second);
    if (kind == "property" && first == "float") properties.push_back(second);
  }
  EXPECT_EQ(properties, (std::vector<std::string>{"x", "y", "z", "nx", "ny", "nz", "s", "t"}));
  size_t at = header_end + std::strlen("end_header\n");
  if (ascii) {
    std::istringstream numbers(bytes.substr(at));
    for (size_t v = 0; v < vertex_count; ++v) {
      mesh.positions.push_back(ReadFloats<3>(numbers));
      mesh.normals.push_back(ReadFloats<3>(numbers));
      mesh.uvs.push_back(ReadFloats<2>(numbers));
    }
    for (size_t f = 0; f < face_count; ++f) {
      uint32_t count;
      std::array<uint32_t, 3> triangle;
      numbers >> count >> triangle[0] >> triangle[1] >> triangle[2];
      EXPECT_EQ(count, 3u);
      mesh.triangles.push_back(triangle);
    }
    EXPECT_TRUE(numbers) << "the ASCII body ends early";
    std::string rest;
    EXPECT_FALSE(numbers >> rest) << "text after the last face: " << rest;
    return mesh;
  }
  for (size_t v = 0; v < vertex_count; ++v, at += 32) {
    mesh.positions.push_back(ReadFloat3(bytes, at));
    mesh.normals.push_back(ReadFloat3(bytes, at + 12));
    mesh.uvs.push_back({ReadFloat(bytes, at + 24), ReadFloat(bytes, at + 28)});
  }
  for (size_t f = 0; f < face_count; ++f, at += 13) {
    EXPECT_EQ(static_cast<uint8_t>(bytes[at]), 3);
    mesh.triangles.push_back(
        {ReadU32(bytes, at + 1), ReadU32(bytes, at + 5), ReadU32(bytes, at + 9)});
  }
  EXPECT_EQ(at, bytes.size());
  return mesh;
}

namespace {

ReadMesh ReadAsciiStl(const std::string& text) {
  ReadMesh mesh;
  std::istringstream words(text);
  std::string word, name;
  words >> word >> name;
  EXPECT_EQ(word, "solid");
  while (words >> word && word == "facet") {
    words >> word;
    EXPECT_EQ(word, "normal");
    mesh.face_normals.push_back(ReadFloats<3>(words));
    words >> word >> name;
    EXPECT_EQ(word + " " + name, "outer loop");
    const uint32_t first = static_cast<uint32_t>(mesh.positions.size());
    for (int k = 0; k < 3; ++k) {
      words >> word;
      EXPECT_EQ(word, "vertex");
      mesh.positions.push_back(ReadFloats<3>(words));
    }
    mesh.triangles.push_back({first, first + 1, first + 2});
    words >> word;
    EXPECT_EQ(word, "endloop");
    words >> word;
    EXPECT_EQ(word, "endfacet");
  }
  EXPECT_EQ(word, "endsolid");
  return mesh;
}

}  // namespace

ReadMesh ReadStl(const std::string& bytes) {
  if (bytes.compare(0, 6, "solid ") == 0) return ReadAsciiStl(bytes);
  ReadMesh mesh;
  const uint32_t count = bytes.size() >= 84 ? ReadU32(bytes, 80) : 0;
  EXPECT_EQ(bytes.size(), 84u + 50u * count);
  for (uint32_t t = 0; t < count; ++t) {
    const size_t at = 84 + 50 * static_cast<size_t>(t);
    mesh.face_normals.push_back(ReadFloat3(bytes, at));
    for (uint32_t k = 0; k < 3; ++k) mesh.positions.push_back(ReadFloat3(bytes, at + 12 + 12 * k));
    mesh.triangles.push_back({3 * t, 3 * t + 1, 3 * t + 2});
  }
  return mesh;
}

ReadMesh ReadGlb(const std::string& bytes, tinygltf::Model* model_out) {
  tinygltf::Model model;
  tinygltf::TinyGLTF loader;
  std::string error, warning;
  const bool loaded = loader.LoadBinaryFromMemory(
      &model, &error, &warning, reinterpret_cast<const unsigned char*>(bytes.data()),
      static_cast<unsigned int>(bytes.size()));
  EXPECT_TRUE(loaded) << error;
  EXPECT_EQ(model.asset.version, "2.0");
  ReadMesh mesh;
  for (const tinygltf::Material& material : model.materials)
    mesh.materials.push_back(material.name);
  if (loaded && !model.meshes.empty()) {
    EXPECT_EQ(model.meshes.size(), 1u);
    const tinygltf::Primitive& first = model.meshes[0].primitives.at(0);
    mesh.positions = ReadAccessor<float, 3>(model, first.attributes.at("POSITION"));
    mesh.normals = ReadAccessor<float, 3>(model, first.attributes.at("NORMAL"));
    mesh.uvs = ReadAccessor<float, 2>(model, first.attributes.at("TEXCOORD_0"));
    for (const tinygltf::Primitive& primitive : model.meshes[0].primitives) {
      EXPECT_EQ(primitive.mode, TINYGLTF_MODE_TRIANGLES);
      EXPECT_EQ(primitive.attributes.at("POSITION"), first.attributes.at("POSITION"));
      const int type = model.accessors[primitive.indices].componentType;
      EXPECT_TRUE(type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT ||
                  type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT);
      const auto indices = type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT
                               ? ReadAccessor<uint16_t, 1>(model, primitive.indices)
                               : ReadAccessor<uint32_t, 1>(model, primitive.indices);
      for (size_t i = 0; i + 2 < indices.size(); i += 3) {
        mesh.triangles.push_back({static_cast<uint32_t>(indices[i][0]),
                                  static_cast<uint32_t>(indices[i + 1][0]),
                                  static_cast<uint32_t>(indices[i + 2][0])});
        mesh.groups.push_back(model.materials.at(primitive.material).name);
      }
    }
  }
  if (model_out) *model_out = model;
  return mesh;
}

std::map<std::string, Vec3> ReadMtl(const std::string& text) {
  std::map<std::string, Vec3> colors;
  std::istringstream lines(text);
  std::string line, name;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    if (kind == "newmtl") words >> name;
    Vec3 kd;
    if (kind == "Kd" && words >> kd[0] >> kd[1] >> kd[2]) colors[name] = kd;
  }
  return colors;
}

std::string FileContents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

ReadMesh ReadMeshAs(const std::string& bytes, const std::string& extension) {
  if (extension == ".glb") return ReadGlb(bytes);
  if (extension == ".obj") return ReadObj(bytes);
  if (extension == ".ply") return ReadPly(bytes);
  return ReadStl(bytes);
}

ReadMesh ReadMeshFile(const std::string& path) {
  return ReadMeshAs(FileContents(path), path.substr(path.rfind('.')));
}

Vec3 FileCross(const ReadMesh& mesh, size_t t) {
  const auto& tri = mesh.triangles[t];
  const Vec3 a = Minus(mesh.positions[tri[1]], mesh.positions[tri[0]]);
  const Vec3 b = Minus(mesh.positions[tri[2]], mesh.positions[tri[0]]);
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double Dot(const Vec3& a, const Vec3& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

}  // namespace testing
}  // namespace kly
