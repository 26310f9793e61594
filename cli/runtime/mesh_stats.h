// Figures about a mesh as a file holds it, for --stats: what was written, its bounds, and how
// well its surface closes.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "cli/writers/export_mesh.h"
#include "cli/writers/mesh_writer.h"

namespace kly {
namespace cli {

struct MeshStats {
  std::string path;
  // As written: an STL file has three vertices a triangle, and STL and PLY no materials.
  uint32_t vertices = 0;
  uint32_t triangles = 0;
  uint32_t materials = 0;
  // The written positions' box in the file's frame; none without triangles.
  bool has_bounds = false;
  std::array<float, 3> least{};
  std::array<float, 3> most{};
  // Edges between equal written positions, whatever else the vertices carry: one used by a
  // single triangle is open, one used by more than two is non-manifold. A closed surface has
  // neither.
  uint64_t open_edges = 0;
  uint64_t non_manifold_edges = 0;
};

// The counts, from what the writer says it wrote; bounds and edges are left unmeasured.
MeshStats WrittenCounts(const std::string& path, const WriteSummary& summary);

// Fills in the bounds and the edge counts; it sorts every vertex and edge, so only --stats asks.
void MeasureShape(const ExportMesh& mesh, MeshStats& stats);

}  // namespace cli
}  // namespace kly
