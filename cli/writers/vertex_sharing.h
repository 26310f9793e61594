// Vertices as a file holds them: one for each distinct combination of written position, normal
// and UV, so that a file repeats nothing the data does not make it repeat.
#pragma once

#include <cstdint>
#include <vector>

#include "cli/writers/corner_normals.h"
#include "cli/writers/file_triangles.h"

namespace kly {
namespace cli {

struct FileVertex {
  Float3 position;
  Float3 normal;
  // V = 0 at the top of the image, as the library's.
  Float2 uv;

  bool operator==(const FileVertex& other) const {
    return position == other.position && normal == other.normal && uv == other.uv;
  }
};

struct SharedVertices {
  // Numbered in the order the triangles first use them.
  std::vector<FileVertex> vertices;
  // Three a triangle, in the order of `order` and each triangle's file corner order.
  std::vector<uint32_t> indices;
};

// `order` lists kept triangles in the order they are written.
SharedVertices ShareVertices(const FileTriangles& triangles, const CornerNormals& normals,
                             const std::vector<uint32_t>& order);

}  // namespace cli
}  // namespace kly
