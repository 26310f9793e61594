#include "cli/writers/vertex_sharing.h"

#include <algorithm>
#include <array>
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

// A library vertex with one of its normals: a candidate file vertex.
struct Candidate {
  uint32_t vertex;
  uint32_t normal;
};

// How many candidates ahead the table's slots are fetched: enough to cover a trip to memory.
constexpr size_t kPrefetchDistance = 16;

}  // namespace

SharedVertices ShareVertices(const FileTriangles& triangles, const CornerNormals& normals,
                             const std::vector<uint32_t>& order) {
  // Most corners of a library vertex point into one normal: a corner with the same vertex and
  // normal as the vertex's last one is the same file vertex, found without hashing. The
  // candidates are listed first, each corner given its candidate's number, so that the table's
  // slots can be fetched ahead of the lookups, which are each a trip to memory in a large mesh.
  constexpr uint32_t kNone = UINT32_MAX;
  std::vector<uint32_t> last_normal(triangles.positions.size(), kNone);
  std::vector<uint32_t> last_candidate(triangles.positions.size());
  std::vector<Candidate> candidates;
  SharedVertices out;
  out.indices.reserve(3 * order.size());
  for (uint32_t t : order) {
    for (uint32_t k = 0; k < 3; ++k) {
      const uint32_t v = triangles.corners[t][k];
      const uint32_t normal = normals.of_corner[3 * t + k];
      if (last_normal[v] != normal) {
        last_normal[v] = normal;
        last_candidate[v] = static_cast<uint32_t>(candidates.size());
        candidates.push_back(Candidate{v, normal});
      }
      out.indices.push_back(last_candidate[v]);
    }
  }
  const auto key = [&](const Candidate& c) {
    return FileVertex{triangles.positions[c.vertex], normals.normals[c.normal],
                      triangles.uvs[c.vertex]};
  };
  // No more file vertices than candidates: sized so, the table never grows.
  FirstIndexTable<FileVertex, FileVertexHash> table(candidates.size());
  // The hashes of the candidates fetched and not yet found, candidate j's at j % distance.
  std::array<uint64_t, kPrefetchDistance> ahead;
  const auto fetch = [&](size_t j) {
    ahead[j % kPrefetchDistance] = FileVertexHash()(key(candidates[j]));
    table.Prefetch(ahead[j % kPrefetchDistance]);
  };
  for (size_t j = 0; j < std::min(kPrefetchDistance, candidates.size()); ++j) fetch(j);
  std::vector<uint32_t> file_vertex(candidates.size());
  for (size_t j = 0; j < candidates.size(); ++j) {
    const uint64_t hash = ahead[j % kPrefetchDistance];
    if (j + kPrefetchDistance < candidates.size()) fetch(j + kPrefetchDistance);
    file_vertex[j] = table.Find(key(candidates[j]), hash);
  }
  for (uint32_t& index : out.indices) index = file_vertex[index];
  out.vertices = table.TakeKeys();
  return out;
}

}  // namespace cli
}  // namespace kly
