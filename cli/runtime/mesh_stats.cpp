#include "cli/runtime/mesh_stats.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace kly {
namespace cli {

namespace {

// One number a distinct position, found by sorting rather than hashing: a large mesh's map
// would take several times the memory.
std::vector<uint32_t> PositionNumbers(const std::vector<FileVertex>& vertices) {
  std::vector<uint32_t> order(vertices.size());
  std::iota(order.begin(), order.end(), 0u);
  const auto position = [&](uint32_t v) -> const Float3& { return vertices[v].position; };
  std::sort(order.begin(), order.end(),
            [&](uint32_t a, uint32_t b) { return position(a) < position(b); });
  std::vector<uint32_t> numbers(vertices.size());
  uint32_t number = 0;
  for (size_t i = 0; i < order.size(); ++i) {
    if (i > 0 && position(order[i]) != position(order[i - 1])) ++number;
    numbers[order[i]] = number;
  }
  return numbers;
}

void CountEdges(const ExportMesh& mesh, MeshStats& stats) {
  const std::vector<uint32_t> numbers = PositionNumbers(mesh.Vertices());
  const std::vector<uint32_t>& indices = mesh.Indices();
  std::vector<uint64_t> edges;
  edges.reserve(indices.size());
  for (size_t t = 0; t + 2 < indices.size(); t += 3) {
    for (size_t k = 0; k < 3; ++k) {
      const uint64_t a = numbers[indices[t + k]];
      const uint64_t b = numbers[indices[t + (k + 1) % 3]];
      // A written triangle has an area, so its corners' positions differ.
      edges.push_back(std::min(a, b) << 32 | std::max(a, b));
    }
  }
  std::sort(edges.begin(), edges.end());
  for (size_t i = 0; i < edges.size();) {
    size_t end = i;
    while (end < edges.size() && edges[end] == edges[i]) ++end;
    if (end - i == 1) ++stats.open_edges;
    if (end - i > 2) ++stats.non_manifold_edges;
    i = end;
  }
}

void FindBounds(const ExportMesh& mesh, MeshStats& stats) {
  for (const FileVertex& vertex : mesh.Vertices()) {
    for (int k = 0; k < 3; ++k) {
      const float c = vertex.position[k];
      stats.least[k] = stats.has_bounds ? std::min(stats.least[k], c) : c;
      stats.most[k] = stats.has_bounds ? std::max(stats.most[k], c) : c;
    }
    stats.has_bounds = true;
  }
}

}  // namespace

MeshStats WrittenCounts(const std::string& path, const WriteSummary& summary) {
  MeshStats stats;
  stats.path = path;
  stats.vertices = summary.vertices;
  stats.triangles = summary.triangles;
  stats.materials = summary.materials;
  return stats;
}

void MeasureShape(const ExportMesh& mesh, MeshStats& stats) {
  FindBounds(mesh, stats);
  CountEdges(mesh, stats);
}

}  // namespace cli
}  // namespace kly
