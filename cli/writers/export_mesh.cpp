#include "cli/writers/export_mesh.h"

#include "cli/writers/material_merging.h"

#include <algorithm>

namespace kly {
namespace cli {

namespace {

std::vector<std::string> SlotNames(const MeshDescription& description, uint32_t material_count,
                                   uint32_t slot_count) {
  std::vector<std::string> names;
  for (uint32_t slot = 0; slot < slot_count; ++slot) {
    if (slot >= material_count) {
      names.push_back("unassigned");
    } else if (slot < description.slot_names.size()) {
      names.push_back(description.slot_names[slot]);
    } else {
      names.push_back("material_" + std::to_string(slot));
    }
  }
  return names;
}

CornerNormals NormalsByMode(const KLY_Mesh& mesh, const FileTriangles& triangles,
                            const WriteOptions& options) {
  bool facet = false;
  mesh.GetFacet(facet);
  switch (options.normals) {
    case NormalMode::kLibrary:
      return facet ? FlatNormals(triangles) : LibraryNormals(mesh, triangles);
    case NormalMode::kSmooth:
      return SmoothNormals(triangles, options.crease_degrees);
    case NormalMode::kFlat:
      return FlatNormals(triangles);
  }
  return FlatNormals(triangles);
}

// The piece of each slot: the description's pieces take the slots in order; slots past them
// (the one of triangles without a material, say) belong to the last.
std::vector<uint32_t> PartOfSlot(const MeshDescription& description, uint32_t slot_count) {
  std::vector<uint32_t> part_of_slot(slot_count, 0);
  uint32_t slot = 0;
  for (uint32_t part = 0; part < description.parts.size(); ++part) {
    for (uint32_t k = 0; k < description.parts[part].slot_count && slot < slot_count; ++k) {
      part_of_slot[slot++] = part;
    }
  }
  const uint32_t last = description.parts.empty() ? 0 : description.parts.size() - 1;
  for (; slot < slot_count; ++slot) part_of_slot[slot] = last;
  return part_of_slot;
}

// The kept triangles in their written order, part by part and within a part material by
// material, the mesh's order kept within each; `parts` gets the ranges.
std::vector<uint32_t> PartOrder(const FileTriangles& triangles, const MaterialPlan& plan,
                                const MeshDescription& description,
                                std::vector<ExportMesh::Part>& parts) {
  const std::vector<uint32_t> part_of_slot = PartOfSlot(description, triangles.slot_count);
  const size_t material_count = plan.materials.size();
  const size_t part_count = std::max<size_t>(description.parts.size(), 1);
  const auto key = [&](uint32_t slot) {
    return part_of_slot[slot] * material_count + plan.of_slot[slot];
  };
  std::vector<uint32_t> first(part_count * material_count + 1, 0);
  for (uint32_t slot : triangles.slots) ++first[key(slot) + 1];
  for (size_t k = 0; k + 1 < first.size(); ++k) first[k + 1] += first[k];
  for (size_t p = 0; p < part_count; ++p) {
    ExportMesh::Part part{description.parts.empty() ? description.name : description.parts[p].name,
                          {}};
    for (size_t m = 0; m < material_count; ++m) {
      const size_t k = p * material_count + m;
      if (first[k + 1] == first[k]) continue;
      part.ranges.push_back(
          ExportMesh::Range{static_cast<uint32_t>(m), first[k], first[k + 1] - first[k]});
    }
    if (!part.ranges.empty()) parts.push_back(std::move(part));
  }
  std::vector<uint32_t> order(triangles.slots.size());
  for (uint32_t t = 0; t < triangles.slots.size(); ++t) order[first[key(triangles.slots[t])]++] = t;
  return order;
}

}  // namespace

ExportMesh::ExportMesh(const KLY_Mesh& mesh, MeshDescription description,
                       const WriteOptions& options)
    : description_(std::move(description)) {
  const FileTriangles triangles = CollectTriangles(mesh, description_.size_options);
  dropped_ = triangles.dropped;

  std::vector<bool> slot_used(triangles.slot_count, false);
  for (uint32_t slot : triangles.slots) slot_used[slot] = true;
  const MaterialPlan plan =
      MergeMaterials(SlotNames(description_, mesh.NumMaterials(), triangles.slot_count), slot_used,
                     options.colors, description_.slot_colors);

  for (const WrittenMaterial& material : plan.materials) {
    materials_.push_back(Material{material.name, material.rgb});
  }
  const std::vector<uint32_t> order = PartOrder(triangles, plan, description_, parts_);

  const CornerNormals normals = NormalsByMode(mesh, triangles, options);
  repaired_ = normals.repaired;
  shared_ = ShareVertices(triangles, normals, order);
  face_normals_.reserve(order.size());
  for (uint32_t t : order) face_normals_.push_back(triangles.face_normals[t]);
}

}  // namespace cli
}  // namespace kly
