// Library meshes built from a file's point of view: positions and normals given in the files'
// frame (+Y up, +Z toward the viewer) and triangles given counter-clockwise seen from outside,
// turned here into the library's frame and winding (see cli/writers/file_numbers.h). Tests of
// the export stages state their cases as a file will show them.
#pragma once

#include <cstdint>

#include "kly/mesh/mesh.h"

namespace kly {
namespace testing {

class FileFrameMesh {
 public:
  explicit FileFrameMesh(uint32_t materials = 1) {
    for (uint32_t m = 0; m < materials; ++m) mesh_.AddMaterial(KLY_Material());
  }

  // Returns the vertex's index.
  uint32_t Vertex(const ORT_Vector3T<double>& position, const ORT_Vector3T<double>& normal,
                  const ORT_Vector2T<double>& uv = {0.0, 0.0}) {
    KLY_Vertex vertex;
    vertex.SetPos(ORT_Vector3T<double>{position.x, -position.y, -position.z});
    vertex.SetNormal(ORT_Vector3T<double>{normal.x, -normal.y, -normal.z});
    vertex.SetUV(uv);
    mesh_.PushVertex(vertex);
    return mesh_.GetNumVertices() - 1;
  }

  // Corners counter-clockwise seen from outside in the file.
  void Triangle(uint32_t a, uint32_t b, uint32_t c, uint32_t material = 0) {
    KLY_Triangle triangle(a, c, b);
    triangle.SetMaterialIndex(material);
    triangle.SetNormal(ORT_Vector3T<double>{0.0, 0.0, 0.0});
    mesh_.PushFace(triangle);
  }

  const KLY_Mesh& Mesh() const { return mesh_; }

 private:
  KLY_Mesh mesh_;
};

}  // namespace testing
}  // namespace kly
