// What reaches a file, decided in one place between the library's mesh and the writers, so
// that writers only encode. The stages, in order:
//   CollectTriangles   the file's frame and floats; zero-area triangles dropped, overflow refused
//   MergeMaterials     one material a distinct colour among the slots with triangles
//   *Normals           unit normals by the options' mode, repaired where the library has none
//   ShareVertices      one vertex a distinct (position, normal, UV)
// The frame and winding are explained in file_numbers.h. UVs are the library's: V runs down the
// image (V = 0 at the top), as glTF's does; formats whose V runs up (OBJ, PLY) write 1 - V.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/writers/vertex_sharing.h"
#include "cli/writers/write_options.h"
#include "kly/mesh/mesh.h"

namespace kly {
namespace cli {

// A named piece of a mesh (a letter of a text): the next `slot_count` material slots and the
// triangles that use them.
struct MeshPart {
  std::string name;
  uint32_t slot_count;
};

// What a writer may say about a mesh beyond its geometry.
struct MeshDescription {
  std::string name = "kly";
  // Names of the material slots in order ("front", "side"); slots past the list are called
  // "material_<n>". Single words, since OBJ material names cannot hold blanks.
  std::vector<std::string> slot_names;
  // The options that scale the solid ("--radius"), named when a position does not fit a file.
  std::string size_options;
  // Colours of the slots in order, for the slots that the options do not colour; slots past the
  // list are light grey.
  std::vector<Float3> slot_colors = {};
  // Consecutive pieces over the slots, each written as an object of its own where a format has
  // objects; empty: the whole mesh is one piece, named `name`.
  std::vector<MeshPart> parts = {};
};

// A built mesh as a file will hold it. Only data: it does not refer to the library's mesh.
class ExportMesh {
 public:
  struct Material {
    std::string name;
    Float3 rgb;  // linear
  };
  // Triangles [first_triangle, first_triangle + triangle_count) of the written ones, all of
  // material `material`.
  struct Range {
    uint32_t material;
    uint32_t first_triangle;
    uint32_t triangle_count;
  };
  // A piece with triangles, its ranges in the order of their materials.
  struct Part {
    std::string name;
    std::vector<Range> ranges;
  };

  // A mesh whose facet flag is set (KLY_Mesh::SetFacet) is shaded flat under
  // NormalMode::kLibrary, its own shading. Throws std::runtime_error for what no file can hold
  // (see CollectTriangles).
  ExportMesh(const KLY_Mesh& mesh, MeshDescription description,
             const WriteOptions& options = WriteOptions());

  const std::string& Name() const { return description_.name; }
  const std::vector<FileVertex>& Vertices() const { return shared_.vertices; }
  // Three vertex indices a triangle, counter-clockwise seen from outside, part by part and
  // within a part material by material.
  const std::vector<uint32_t>& Indices() const { return shared_.indices; }
  uint32_t TriangleCount() const { return static_cast<uint32_t>(face_normals_.size()); }
  // The unit outward normal of each written triangle.
  const std::vector<Float3>& FaceNormals() const { return face_normals_; }
  // Only materials with triangles, in the order of their first slots.
  const std::vector<Material>& Materials() const { return materials_; }
  // The pieces in the description's order, those without triangles left out; one piece named
  // as the mesh when the description has none.
  const std::vector<Part>& Parts() const { return parts_; }

  // Triangles left out for having no area in the file's floats.
  uint32_t DroppedTriangles() const { return dropped_; }
  // Library normals that were zero or not finite and were replaced.
  uint32_t RepairedNormals() const { return repaired_; }

 private:
  MeshDescription description_;
  SharedVertices shared_;
  std::vector<Float3> face_normals_;
  std::vector<Material> materials_;
  std::vector<Part> parts_;
  uint32_t dropped_ = 0;
  uint32_t repaired_ = 0;
};

}  // namespace cli
}  // namespace kly
