// The first stage of writing a file: the library's triangles as a file will hold them. Positions
// and UVs are rounded to the file's floats and positions turned into the file's frame (see
// file_numbers.h); a triangle with no area in those floats draws nothing and has no normal, so it
// is dropped; what remains has a unit outward face normal.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/writers/file_numbers.h"
#include "kly/mesh/mesh.h"

namespace kly {
namespace cli {

struct FileTriangles {
  // One entry a library vertex; only those that kept triangles use are meaningful.
  std::vector<Float3> positions;
  std::vector<Float2> uvs;
  // One entry a kept triangle, in the mesh's order: its library vertices in file order (first,
  // third, second: counter-clockwise seen from outside), its material slot and its unit outward
  // face normal.
  std::vector<std::array<uint32_t, 3>> corners;
  std::vector<uint32_t> slots;
  std::vector<Float3> face_normals;
  // The material table's slots, plus one past it when a triangle names a material past the
  // table (all such triangles share it).
  uint32_t slot_count = 0;
  uint32_t dropped = 0;
};

// Throws std::runtime_error for an index past the vertices, for a position that is not finite or
// does not fit a float (naming `size_options`, the options that scale the solid, as the ones to
// change), and for non-finite UVs.
FileTriangles CollectTriangles(const KLY_Mesh& mesh, const std::string& size_options);

// (b - a) x (c - a) of a kept triangle's file corners a, b, c: outward, twice its area long.
ORT_Vector3T<double> OutwardCross(const FileTriangles& triangles, uint32_t triangle);

// `v` scaled to unit length in the file's floats, or false when it has no direction (zero or
// not finite).
bool UnitFileVector(const ORT_Vector3T<double>& v, Float3& unit);

}  // namespace cli
}  // namespace kly
