// The normal every corner of a kept triangle is written with, by the mode the options choose.
// Every normal is of unit length in the file's floats: where a vertex has none that can be
// written, it gets the area-weighted mean of the face normals around it instead (or, when those
// cancel out, the face normal of its largest triangle).
#pragma once

#include <cstdint>
#include <vector>

#include "cli/writers/file_triangles.h"
#include "kly/mesh/mesh.h"

namespace kly {
namespace cli {

struct CornerNormals {
  // The distinct normals the corners point into.
  std::vector<Float3> normals;
  // Three entries a kept triangle, in its file corner order: an index into `normals`.
  std::vector<uint32_t> of_corner;
  // Vertices whose library normal was zero or not finite and was replaced.
  uint32_t repaired = 0;
};

// The library's vertex normals in the file's frame, scaled to unit length; a zero or
// non-finite one (a subdivision midpoint's, for one) is replaced as above.
CornerNormals LibraryNormals(const KLY_Mesh& mesh, const FileTriangles& triangles);

// Each corner gets its triangle's face normal.
CornerNormals FlatNormals(const FileTriangles& triangles);

// Area-weighted face normals over the corners that share a file position (equal floats), joined
// across an edge only where its two faces meet at no more than `crease_degrees`: a cube keeps
// sharp edges, a sphere is smooth across its seams, and a cone's side is smooth while its rim
// stays sharp.
CornerNormals SmoothNormals(const FileTriangles& triangles, double crease_degrees);

}  // namespace cli
}  // namespace kly
