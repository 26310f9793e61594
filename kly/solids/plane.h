// A sheet anchored at its corner (0, 0, 0), flat or bent along x or y into a circular arc that
// keeps its chord. No thickness, so never closed. Vertex (i, j) is at index (n+1)·j + i.
#pragma once

#include "kly/mesh/mesh.h"

class KLY_Plane : public KLY_Mesh {
 public:
  // CurvatureAxis values: 0 bends along x, 2 is the sphere section (never built: Update leaves
  // the mesh as it was), any other value bends along y.
  static constexpr uint32_t kAxisX = 0;
  static constexpr uint32_t kAxisSphere = 2;

  KLY_Plane();
  explicit KLY_Plane(ORT_Vector2T<double>& dimensions);
  KLY_Plane(const KLY_Plane&) = default;
  KLY_Plane& operator=(const KLY_Plane&) = default;
  ~KLY_Plane() override = default;

  void Update() override;

  // Full width (x) and height (y); dirty if a component differs exactly.
  void SetDimensions(ORT_Vector2T<double> dimensions);
  void GetDimensions(ORT_Vector2T<double>& out) const { out = Dimensions; }
  // No clamp; dirty if it differs.
  void SetDivisionsX(uint32_t divisions);
  void GetDivisionsX(uint32_t& out) const { out = DivisionsX; }
  // No clamp; dirty if it differs.
  void SetDivisionsY(uint32_t divisions);
  void GetDivisionsY(uint32_t& out) const { out = DivisionsY; }
  // Stored unclamped (the build clamps to -1..1; the sign picks the bulge); dirty if it differs.
  void SetCurvature(double curvature);
  void GetCurvature(double& out) const { out = Curvature; }
  // Stored as given; dirty if it differs.
  void SetCurvatureAxis(uint32_t axis);
  void GetCurvatureAxis(uint32_t& out) const { out = CurvatureAxis; }
  // Kept for the host only; dirty is not touched.
  void SetIsImageBased(bool image_based) { IsImageBased = image_based; }
  void GetIsImageBased(bool& out) const { out = IsImageBased; }
  // Entry 0 of the one-record material table; no index, no failure, no rebuild.
  void SetMaterial(const KLY_Material& material);
  void GetMaterial(KLY_Material& out) const;

 protected:
  void BuildGeometry();
  void BuildCylinderSection();
  void BuildXCylinder();
  void BuildYCylinder();
  // The sphere section is not implemented, deliberately: it leaves the mesh untouched.
  void BuildSphereSection() {}
  void VertexGeom(const ORT_Vector3T<double>& position, const ORT_Vector3T<double>& normal,
                  uint32_t i, uint32_t j);
  void FaceGeom(uint32_t i, uint32_t j);

  ORT_Vector2T<double> Dimensions{1.0, 1.0};
  uint32_t DivisionsX = 4;
  uint32_t DivisionsY = 4;
  double Curvature = 0.0;
  uint32_t CurvatureAxis = 0;
  // Nothing in the library reads it and the constructors give it no meaning; it starts false
  // only so that copying a fresh plane reads a defined value.
  bool IsImageBased = false;
};
