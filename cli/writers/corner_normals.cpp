#include "cli/writers/corner_normals.h"

#include "cli/writers/normal_sum.h"

namespace kly {
namespace cli {

CornerNormals LibraryNormals(const KLY_Mesh& mesh, const FileTriangles& triangles) {
  constexpr uint32_t kWritable = UINT32_MAX;
  const uint32_t vertex_count = mesh.GetNumVertices();
  CornerNormals out;
  out.normals.assign(vertex_count, Float3{0, 0, 0});
  std::vector<bool> seen(vertex_count, false);
  // For each vertex whose normal cannot be written, the sum that replaces it; allocated only
  // when there is one, since most meshes have none.
  std::vector<uint32_t> sum_of;
  std::vector<NormalSum> sums;
  for (const std::array<uint32_t, 3>& corners : triangles.corners) {
    for (uint32_t v : corners) {
      if (seen[v]) continue;
      seen[v] = true;
      const ORT_Vector3T<double> normal = ToFileFrame((mesh.beginVerts() + v)->normal);
      if (UnitFileVector(normal, out.normals[v])) continue;
      if (sum_of.empty()) sum_of.assign(vertex_count, kWritable);
      sum_of[v] = static_cast<uint32_t>(sums.size());
      sums.emplace_back();
    }
  }
  out.repaired = static_cast<uint32_t>(sums.size());
  out.of_corner.reserve(3 * triangles.corners.size());
  for (uint32_t t = 0; t < triangles.corners.size(); ++t) {
    for (uint32_t v : triangles.corners[t]) {
      out.of_corner.push_back(v);
      if (!sum_of.empty() && sum_of[v] != kWritable) sums[sum_of[v]].Add(triangles, t);
    }
  }
  for (uint32_t v = 0; v < sum_of.size(); ++v) {
    if (sum_of[v] != kWritable) out.normals[v] = sums[sum_of[v]].Normal(triangles);
  }
  return out;
}

CornerNormals FlatNormals(const FileTriangles& triangles) {
  CornerNormals out;
  out.normals = triangles.face_normals;
  out.of_corner.reserve(3 * triangles.corners.size());
  for (uint32_t t = 0; t < triangles.corners.size(); ++t) {
    for (int k = 0; k < 3; ++k) out.of_corner.push_back(t);
  }
  return out;
}

}  // namespace cli
}  // namespace kly
