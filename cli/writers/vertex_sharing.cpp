#include "cli/writers/vertex_sharing.h"

#include <cstdint>
#include <cstring>

#include "cli/writers/first_index_table.h"

namespace kly {
namespace cli {

namespace {

struct FileVertexHash {
  uint64_t operator()(const FileVertex& vertex) const {
    // Rounded values carry no -0 (see FileFloat), so equal values have equal bits.
    static_assert(sizeof(FileVertex) == 8 * sizeof(uint32_t), "a vertex is eight floats");
    uint32_t words[8];
    std::memcpy(words, &vertex, sizeof words);
    return MixWords(words, 8);
  }
};

}  // namespace

SharedVertices ShareVertices(const FileTriangles& triangles, const CornerNormals& normals,
                             const std::vector<uint32_t>& order) {
  // Smooth meshes have some six corners a vertex.
  FirstIndexTable<FileVertex, FileVertexHash> table(order.size() / 2);
  // Most corners of a library vertex point into one normal: a corner with the same vertex and
  // normal as the vertex's last one is the same file vertex, found without hashing.
  constexpr uint32_t kNone = UINT32_MAX;
  std::vector<uint32_t> last_normal(triangles.positions.size(), kNone);
  std::vector<uint32_t> last_index(triangles.positions.size());
  SharedVertices out;
  out.indices.reserve(3 * order.size());
  for (uint32_t t : order) {
    for (uint32_t k = 0; k < 3; ++k) {
      const uint32_t v = triangles.corners[t][k];
      const uint32_t normal = normals.of_corner[3 * t + k];
      if (last_normal[v] != normal) {
        last_normal[v] = normal;
        last_index[v] = table.Find(
            FileVertex{triangles.positions[v], normals.normals[normal], triangles.uvs[v]});
      }
      out.indices.push_back(last_index[v]);
    }
  }
  out.vertices = table.TakeKeys();
  return out;
}

}  // namespace cli
}  // namespace kly
