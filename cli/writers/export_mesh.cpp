#include "cli/writers/export_mesh.h"

#include "cli/writers/material_merging.h"

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

  // Triangles material by material, keeping the mesh's order within each.
  std::vector<uint32_t> first(plan.materials.size() + 1, 0);
  for (uint32_t slot : triangles.slots) ++first[plan.of_slot[slot] + 1];
  for (size_t m = 0; m < plan.materials.size(); ++m) {
    first[m + 1] += first[m];
    materials_.push_back(
        Material{plan.materials[m].name, plan.materials[m].rgb, first[m], first[m + 1] - first[m]});
  }
  std::vector<uint32_t> order(triangles.slots.size());
  for (uint32_t t = 0; t < triangles.slots.size(); ++t) {
    order[first[plan.of_slot[triangles.slots[t]]]++] = t;
  }

  const CornerNormals normals = NormalsByMode(mesh, triangles, options);
  repaired_ = normals.repaired;
  shared_ = ShareVertices(triangles, normals, order);
  face_normals_.reserve(order.size());
  for (uint32_t t : order) face_normals_.push_back(triangles.face_normals[t]);
}

}  // namespace cli
}  // namespace kly
