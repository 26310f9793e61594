// Test helpers: a mesh whose stored arrays and flags are open to the test, and a positioned
// vertex.
#pragma once

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

// A triangle's three vertex indices, to compare as a whole.
inline std::vector<uint32_t> Indices(const KLY_Triangle& t) {
  return {t.indices[0], t.indices[1], t.indices[2]};
}

}  // namespace testing
}  // namespace kly
