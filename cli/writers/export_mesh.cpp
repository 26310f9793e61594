#include "cli/writers/export_mesh.h"

#include <cmath>
#include <limits>
#include <stdexcept>

namespace kly {
namespace cli {

namespace {

constexpr uint32_t kUnused = std::numeric_limits<uint32_t>::max();

bool Finite(const ORT_Vector3T<double>& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

bool Finite(const ORT_Vector2T<double>& v) {
  return std::isfinite(v.x) && std::isfinite(v.y);
}

// Why a vertex cannot be written, or nullptr. `check_normal` is off where the face normal
// replaces the vertex's own.
const char* Unwritable(const KLY_Vertex& vertex, bool check_normal) {
  if (!Finite(vertex.pos)) return "a non-finite position";
  if (check_normal && !Finite(vertex.normal)) return "a non-finite normal";
  if (!Finite(vertex.uv)) return "non-finite texture coordinates";
  return nullptr;
}

[[noreturn]] void FailVertex(uint32_t vertex, const char* problem) {
  throw std::runtime_error("vertex " + std::to_string(vertex) + " has " + problem);
}

}  // namespace

ExportMesh::ExportMesh(const KLY_Mesh& mesh, MeshDescription description)
    : description_(std::move(description)),
      vertices_(mesh.GetNumVertices() ? &*mesh.beginVerts() : nullptr),
      triangles_(mesh.GetNumTriangles() ? &*mesh.beginTriangles() : nullptr),
      material_count_(mesh.NumMaterials()),
      triangle_count_(mesh.GetNumTriangles()) {
  mesh.GetFacet(flat_);
  const uint32_t vertex_count = mesh.GetNumVertices();
  if (flat_ && triangle_count_ > kUnused / 3) {
    throw std::runtime_error("too many triangles to shade flat");
  }

  // Pass 1: check the indices and count the triangles of each slot.
  std::vector<uint32_t> slot_sizes(material_count_ + 1, 0);
  auto slot_of = [this](const KLY_Triangle& triangle) {
    return triangle.material_index < material_count_ ? triangle.material_index : material_count_;
  };
  for (uint32_t t = 0; t < triangle_count_; ++t) {
    for (uint32_t index : triangles_[t].indices) {
      if (index >= vertex_count) {
        throw std::runtime_error("triangle " + std::to_string(t) + " refers to vertex " +
                                 std::to_string(index) + " of " + std::to_string(vertex_count));
      }
    }
    ++slot_sizes[slot_of(triangles_[t])];
  }
  slot_count_ = material_count_ + (slot_sizes[material_count_] > 0 ? 1 : 0);
  std::vector<uint32_t> group_of_slot(material_count_ + 1, kUnused);
  for (uint32_t slot = 0; slot <= material_count_; ++slot) {
    if (slot_sizes[slot] == 0) continue;
    group_of_slot[slot] = static_cast<uint32_t>(groups_.size());
    groups_.push_back(Group{slot, {}});
    groups_.back().indices.reserve(3 * static_cast<size_t>(slot_sizes[slot]));
  }

  if (flat_) {
    // Corners in file order: first, third, second.
    sources_.reserve(3 * static_cast<size_t>(triangle_count_));
    for (uint32_t t = 0; t < triangle_count_; ++t) {
      const KLY_Triangle& triangle = triangles_[t];
      for (uint32_t index : triangle.indices) {
        if (const char* problem = Unwritable(vertices_[index], false)) FailVertex(index, problem);
      }
      // The library's own face normal: a degenerate triangle fails here with its report.
      if (!Finite(KLY_FaceNormal(vertices_[triangle.indices[0]].pos,
                                 vertices_[triangle.indices[1]].pos,
                                 vertices_[triangle.indices[2]].pos))) {
        throw std::runtime_error("triangle " + std::to_string(t) + " has a non-finite normal");
      }
      std::vector<uint32_t>& indices = groups_[group_of_slot[slot_of(triangle)]].indices;
      for (uint32_t corner : {0u, 2u, 1u}) {
        indices.push_back(static_cast<uint32_t>(sources_.size()));
        sources_.push_back(3 * t + corner);
      }
    }
    return;
  }

  std::vector<uint32_t> remap(vertex_count, kUnused);
  for (uint32_t t = 0; t < triangle_count_; ++t) {
    for (uint32_t index : triangles_[t].indices) remap[index] = 0;
  }
  for (uint32_t v = 0; v < vertex_count; ++v) {
    if (remap[v] == kUnused) continue;
    if (const char* problem = Unwritable(vertices_[v], true)) FailVertex(v, problem);
    remap[v] = static_cast<uint32_t>(sources_.size());
    sources_.push_back(v);
  }
  for (uint32_t t = 0; t < triangle_count_; ++t) {
    const KLY_Triangle& triangle = triangles_[t];
    std::vector<uint32_t>& indices = groups_[group_of_slot[slot_of(triangle)]].indices;
    indices.push_back(remap[triangle.indices[0]]);
    indices.push_back(remap[triangle.indices[2]]);
    indices.push_back(remap[triangle.indices[1]]);
  }
}

const KLY_Vertex& ExportMesh::SourceVertex(uint32_t vertex) const {
  if (!flat_) return vertices_[sources_[vertex]];
  const uint32_t source = sources_[vertex];
  return vertices_[triangles_[source / 3].indices[source % 3]];
}

ORT_Vector3T<double> ExportMesh::Position(uint32_t vertex) const {
  return ToFileFrame(SourceVertex(vertex).pos);
}

ORT_Vector3T<double> ExportMesh::Normal(uint32_t vertex) const {
  if (!flat_) return ToFileFrame(vertices_[sources_[vertex]].normal);
  const KLY_Triangle& triangle = triangles_[sources_[vertex] / 3];
  return ToFileFrame(KLY_FaceNormal(vertices_[triangle.indices[0]].pos,
                                    vertices_[triangle.indices[1]].pos,
                                    vertices_[triangle.indices[2]].pos));
}

ORT_Vector2T<double> ExportMesh::Uv(uint32_t vertex) const {
  return SourceVertex(vertex).uv;
}

std::string ExportMesh::SlotName(uint32_t slot) const {
  if (slot >= material_count_) return "unassigned";
  if (slot < description_.slot_names.size()) return description_.slot_names[slot];
  return "material_" + std::to_string(slot);
}

}  // namespace cli
}  // namespace kly
