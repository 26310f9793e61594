#include "tests/testing/glb_layout.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>

#include <nlohmann/json.hpp>

namespace kly {
namespace testing {
namespace {

using nlohmann::json;

// The container's constants, from the glTF 2.0 binary format: "glTF", "JSON", "BIN\0".
constexpr uint32_t kMagic = 0x46546C67;
constexpr uint32_t kJsonChunk = 0x4E4F534A;
constexpr uint32_t kBinChunk = 0x004E4942;
constexpr int kFloat = 5126;
constexpr int kUnsignedShort = 5123;
constexpr int kUnsignedInt = 5125;
constexpr int kTriangles = 4;

uint32_t U32(const std::string& bytes, size_t at) {
  uint32_t value = 0;
  for (int k = 3; k >= 0; --k) value = (value << 8) | static_cast<uint8_t>(bytes[at + k]);
  return value;
}

// Records `what` as a failure and tells the caller to stop reading.
bool Fail(const std::string& what) {
  ADD_FAILURE() << what;
  return false;
}

struct Container {
  json document;
  std::string bin;
};

bool ReadContainer(const std::string& bytes, Container& out) {
  if (bytes.size() < 20) return Fail("a .glb of " + std::to_string(bytes.size()) + " bytes");
  EXPECT_EQ(U32(bytes, 0), kMagic);
  EXPECT_EQ(U32(bytes, 4), 2u) << "container version";
  EXPECT_EQ(U32(bytes, 8), bytes.size()) << "the header's length";
  const uint32_t json_length = U32(bytes, 12);
  EXPECT_EQ(U32(bytes, 16), kJsonChunk);
  EXPECT_EQ(json_length % 4, 0u) << "chunks are 4-byte aligned";
  if (20ull + json_length > bytes.size()) return Fail("the JSON chunk runs past the file");
  out.document = json::parse(bytes.substr(20, json_length), nullptr, false);
  if (out.document.is_discarded()) return Fail("the JSON chunk does not parse");
  size_t at = 20 + json_length;
  if (at == bytes.size()) return true;
  if (at + 8 > bytes.size()) return Fail("a torn chunk header");
  const uint32_t bin_length = U32(bytes, at);
  EXPECT_EQ(U32(bytes, at + 4), kBinChunk);
  EXPECT_EQ(at + 8 + bin_length, bytes.size()) << "the BIN chunk must end the file";
  out.bin = bytes.substr(at + 8, bin_length);
  return true;
}

// Where an accessor's elements lie in the BIN chunk.
struct Span {
  const char* data = nullptr;
  size_t count = 0;
  size_t stride = 0;
};

// Accessor `index`, after checking its type and that it lies inside its view and buffer;
// `components` is 1, 2 or 3. An accessor out of bounds is a failure and comes back empty.
Span AccessorSpan(const Container& glb, int index, int component_type, size_t components) {
  const json& accessor = glb.document.at("accessors").at(index);
  EXPECT_EQ(accessor.at("componentType").get<int>(), component_type);
  const char* types[] = {"", "SCALAR", "VEC2", "VEC3"};
  EXPECT_EQ(accessor.at("type").get<std::string>(), types[components]);
  const json& view = glb.document.at("bufferViews").at(accessor.at("bufferView").get<int>());
  EXPECT_EQ(view.value("buffer", -1), 0);
  const size_t element = (component_type == kUnsignedShort ? 2 : 4) * components;
  Span span{nullptr, accessor.at("count").get<size_t>(), view.value("byteStride", element)};
  const size_t view_start = view.value("byteOffset", size_t{0});
  const size_t view_length = view.at("byteLength").get<size_t>();
  const size_t start = accessor.value("byteOffset", size_t{0});
  const size_t end = span.count == 0 ? start : start + (span.count - 1) * span.stride + element;
  const size_t buffer_length = glb.document.at("buffers").at(0).at("byteLength").get<size_t>();
  EXPECT_LE(buffer_length, glb.bin.size());
  if (end > view_length || view_start + view_length > buffer_length ||
      buffer_length > glb.bin.size()) {
    ADD_FAILURE() << "accessor " << index << " runs past its view or buffer";
    span.count = 0;
    return span;
  }
  span.data = glb.bin.data() + view_start + start;
  return span;
}

template <size_t N>
std::vector<std::array<double, N>> Floats(const Container& glb, int index) {
  const Span span = AccessorSpan(glb, index, kFloat, N);
  std::vector<std::array<double, N>> values(span.count);
  for (size_t i = 0; i < span.count; ++i) {
    for (size_t k = 0; k < N; ++k) {
      float value;
      std::memcpy(&value, span.data + i * span.stride + 4 * k, 4);
      values[i][k] = value;
    }
  }
  return values;
}

std::vector<uint32_t> Indices(const Container& glb, int index) {
  const int type = glb.document.at("accessors").at(index).at("componentType").get<int>();
  EXPECT_TRUE(type == kUnsignedShort || type == kUnsignedInt) << type;
  const Span span = AccessorSpan(glb, index, type, 1);
  std::vector<uint32_t> values(span.count);
  for (size_t i = 0; i < span.count; ++i) {
    const char* at = span.data + i * span.stride;
    uint16_t small = 0;
    if (type == kUnsignedShort) std::memcpy(&small, at, 2);
    if (type == kUnsignedShort) values[i] = small;
    if (type == kUnsignedInt) std::memcpy(&values[i], at, 4);
  }
  return values;
}

// glTF requires POSITION's min and max, and a reader trusts them for culling.
void ExpectBounds(const Container& glb, int index, const std::vector<Vec3>& positions) {
  const json& accessor = glb.document.at("accessors").at(index);
  if (!accessor.contains("min") || !accessor.contains("max")) {
    ADD_FAILURE() << "POSITION accessor without min and max";
    return;
  }
  for (const Vec3& p : positions) {
    for (int k = 0; k < 3; ++k) {
      EXPECT_GE(p[k], accessor["min"][k].get<double>());
      EXPECT_LE(p[k], accessor["max"][k].get<double>());
    }
  }
}

void AppendPrimitive(const Container& glb, const json& primitive, std::map<int, uint32_t>& bases,
                     ReadMesh& mesh) {
  EXPECT_EQ(primitive.value("mode", kTriangles), kTriangles);
  const json& attributes = primitive.at("attributes");
  const int position = attributes.at("POSITION").get<int>();
  if (bases.count(position) == 0) {
    bases[position] = static_cast<uint32_t>(mesh.positions.size());
    const auto positions = Floats<3>(glb, position);
    const auto normals = Floats<3>(glb, attributes.at("NORMAL").get<int>());
    const auto uvs = Floats<2>(glb, attributes.at("TEXCOORD_0").get<int>());
    EXPECT_EQ(normals.size(), positions.size());
    EXPECT_EQ(uvs.size(), positions.size());
    ExpectBounds(glb, position, positions);
    mesh.positions.insert(mesh.positions.end(), positions.begin(), positions.end());
    mesh.normals.insert(mesh.normals.end(), normals.begin(), normals.end());
    mesh.uvs.insert(mesh.uvs.end(), uvs.begin(), uvs.end());
  }
  const std::vector<uint32_t> indices = Indices(glb, primitive.at("indices").get<int>());
  EXPECT_EQ(indices.size() % 3, 0u);
  const size_t vertices = glb.document["accessors"][position]["count"].get<size_t>();
  for (size_t i = 0; i + 2 < indices.size(); i += 3) {
    std::array<uint32_t, 3> triangle;
    for (int k = 0; k < 3; ++k) {
      EXPECT_LT(indices[i + k], vertices) << "index " << i + k;
      triangle[k] = bases[position] + indices[i + k];
    }
    mesh.triangles.push_back(triangle);
  }
}

}  // namespace

ReadMesh ReadGlbLayout(const std::string& bytes) {
  ReadMesh mesh;
  Container glb;
  if (!ReadContainer(bytes, glb)) return mesh;
  EXPECT_EQ(glb.document.at("asset").at("version").get<std::string>(), "2.0");
  std::map<int, uint32_t> bases;
  for (const json& each : glb.document.value("meshes", json::array())) {
    for (const json& primitive : each.at("primitives")) {
      AppendPrimitive(glb, primitive, bases, mesh);
    }
  }
  return mesh;
}

}  // namespace testing
}  // namespace kly
