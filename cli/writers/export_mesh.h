// The library's mesh as the file formats want to see it.
//
// The library's frame has x to the right, y down and z away from the viewer, and its triangles
// wind clockwise seen from outside: the right-handed cross product (p1 - p0) x (p2 - p0) points
// into the solid. glTF, OBJ, STL and PLY consumers expect +Y up, +Z toward the viewer and
// counter-clockwise front faces. So every position and normal goes through (x, y, z) ->
// (x, -y, -z), a half turn about x that keeps handedness, and every triangle is written with its
// second and third corners swapped, which turns the cross product outward.
//
// UVs are the library's: V runs down the image (V = 0 at the top), as glTF's does. Formats
// whose V runs up (OBJ, PLY) write 1 - V.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kly/mesh/mesh.h"

namespace kly {
namespace cli {

// The frame change of positions and normals.
inline ORT_Vector3T<double> ToFileFrame(const ORT_Vector3T<double>& v) {
  return ORT_Vector3T<double>{v.x, -v.y, -v.z};
}

// What a writer may say about a mesh beyond its geometry.
struct MeshDescription {
  std::string name = "kly";
  // Names of the material slots in order ("front", "side"); slots past the list are called
  // "material_<n>". Single words, since OBJ material names cannot hold blanks.
  std::vector<std::string> slot_names;
};

// A read-only view of a built mesh in the files' frame: only the vertices that triangles use,
// renumbered in their order, and the triangles grouped by material slot. A faceted mesh (see
// KLY_Mesh::SetFacet) is shaded flat: each triangle gets three vertices of its own carrying its
// face normal. The mesh must outlive the view and stay unchanged.
class ExportMesh {
 public:
  struct Group {
    uint32_t slot;
    // Three export vertex indices a triangle, counter-clockwise seen from outside.
    std::vector<uint32_t> indices;
  };

  // Throws std::runtime_error for a triangle index past the vertices or a non-finite value,
  // and the library's 4363 for a degenerate triangle of a faceted mesh.
  ExportMesh(const KLY_Mesh& mesh, MeshDescription description);

  const std::string& Name() const { return description_.name; }
  bool Flat() const { return flat_; }

  uint32_t VertexCount() const { return static_cast<uint32_t>(sources_.size()); }
  ORT_Vector3T<double> Position(uint32_t vertex) const;
  ORT_Vector3T<double> Normal(uint32_t vertex) const;
  // V = 0 at the top of the image.
  ORT_Vector2T<double> Uv(uint32_t vertex) const;

  uint32_t TriangleCount() const { return triangle_count_; }
  // Non-empty groups in slot order; triangles keep their mesh order within a group.
  const std::vector<Group>& Groups() const { return groups_; }
  // Every slot of the material table, plus one "unassigned" slot if a triangle names a
  // material past the table.
  uint32_t SlotCount() const { return slot_count_; }
  std::string SlotName(uint32_t slot) const;

 private:
  const KLY_Vertex& SourceVertex(uint32_t vertex) const;

  MeshDescription description_;
  const KLY_Vertex* vertices_;
  const KLY_Triangle* triangles_;
  uint32_t material_count_;
  uint32_t slot_count_ = 0;
  uint32_t triangle_count_ = 0;
  bool flat_ = false;
  // Smooth: the mesh vertex behind each export vertex. Flat: 3 * triangle + corner.
  std::vector<uint32_t> sources_;
  std::vector<Group> groups_;
};

}  // namespace cli
}  // namespace kly
