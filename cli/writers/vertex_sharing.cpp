#include "cli/writers/vertex_sharing.h"

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
  SharedVertices out;
  out.indices.reserve(3 * order.size());
  for (uint32_t t : order) {
    for (uint32_t k = 0; k < 3; ++k) {
      const uint32_t v = triangles.corners[t][k];
      const FileVertex vertex{triangles.positions[v], normals.normals[normals.of_corner[3 * t + k]],
                              triangles.uvs[v]};
      out.indices.push_back(table.Find(vertex));
    }
  }
  out.vertices = table.TakeKeys();
  return out;
}

}  // namespace cli
}  // namespace kly
