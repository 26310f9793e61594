// Test helpers: a mesh whose stored arrays and flags are open to the test, and a positioned
// vertex.
#pragma once

#include <cmath>
#include <vector>

#include "kly/mesh/mesh.h"

namespace kly {
namespace testing {

class TestMesh : public KLY_Mesh {
 public:
  using KLY_Mesh::dirty;
  using KLY_Mesh::materials;
  using KLY_Mesh::transform;
  using KLY_Mesh::triangles;
  using KLY_Mesh::vertices;
};

// A vertex at (x, y, z), set through SetPos so that its weight is 1.0.
inline KLY_Vertex VertexAt(double x, double y, double z) {
  KLY_Vertex v;
  v.SetPos({x, y, z});
  return v;
}

// The total area of the mesh's triangles, from their corners' positions.
inline double SurfaceArea(const TestMesh& mesh) {
  double sum = 0.0;
  for (const KLY_Triangle& t : mesh.triangles) {
    const auto& a = mesh.vertices[t.indices[0]].pos;
    const auto u = mesh.vertices[t.indices[1]].pos - a;
    const auto w = mesh.vertices[t.indices[2]].pos - a;
    const double x = u.y * w.z - u.z * w.y, y = u.z * w.x - u.x * w.z, z = u.x * w.y - u.y * w.x;
    sum += 0.5 * std::sqrt(x * x + y * y + z * z);
  }
  return sum;
}

// A triangle's three vertex indices, to compare as a whole.
inline std::vector<uint32_t> Indices(const KLY_Triangle& t) {
  return {t.indices[0], t.indices[1], t.indices[2]};
}

}  // namespace testing
}  // namespace kly
