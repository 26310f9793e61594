// A box whose six faces are each a regular grid of Divisions x Divisions quads, one material a
// face. Dimensions are half extents about the origin.
#pragma once

#include <vector>

#include "kly/mesh/mesh.h"

class KLY_Cube : public KLY_Mesh {
 public:
  static constexpr uint32_t kNumFaces = 6;

  KLY_Cube();
  explicit KLY_Cube(ORT_Vector3T<double>& dimensions);
  KLY_Cube(const KLY_Cube&) = default;
  KLY_Cube& operator=(const KLY_Cube&) = default;
  ~KLY_Cube() override = default;

  void Update() override;

  // Dirty only when a component differs exactly.
  void SetDimensions(ORT_Vector3T<double> dimensions);
  void GetDimensions(ORT_Vector3T<double>& out) const { out = Dimensions; }
  // No clamp; dirty only when it differs.
  void SetDivisions(uint32_t divisions);
  void GetDivisions(uint32_t& out) const { out = Divisions; }
  // Faces 0 to 5; anything else reports "invalid material index." and throws 3. No rebuild.
  void SetMaterial(uint32_t face, const KLY_Material& material);
  void GetMaterial(uint32_t face, KLY_Material& out) const;
  // The 2n^2 triangles of one face, in mesh order; only after a build, `face` unchecked.
  void GetTrianglesForFace(uint32_t face, std::vector<KLY_Triangle>& out) const;

 protected:
  void BuildGeometry();
  void VertexGeom(const ORT_Vector3T<double>& position, const ORT_Vector3T<double>& normal,
                  uint32_t i, uint32_t j, uint32_t base);
  void FaceGeom(uint32_t i, uint32_t j, uint32_t triangle, uint32_t base, uint32_t material);

  ORT_Vector3T<double> Dimensions{1.0, 1.0, 1.0};
  uint32_t Divisions = 4;
};
