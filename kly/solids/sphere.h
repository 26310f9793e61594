// An ellipsoid, or through Power a superquadric (rounded cube, spindle), built by recursive
// subdivision of an octahedron so its triangles are nearly even in size. No vertex is shared:
// triangle t owns vertices 3t, 3t+1 and 3t+2. The +x corner of the octahedron is doubled by a
// sliver pair, which is where the texture wraps.
#pragma once

#include "kly/mesh/mesh.h"

class KLY_Sphere : public KLY_Mesh {
 public:
  // Rounds above this are stored as this at the build (10 rounds: 10,485,760 triangles).
  static constexpr uint32_t kMaxSubdivisions = 10;

  KLY_Sphere();
  // `power` is accepted and ignored on purpose: Power is (1, 1, 1) afterwards; use SetPower.
  KLY_Sphere(ORT_Vector3T<double>& radius, ORT_Vector3T<double> power);
  KLY_Sphere(const KLY_Sphere&) = default;
  KLY_Sphere& operator=(const KLY_Sphere&) = default;
  ~KLY_Sphere() override = default;

  void Update() override;

  // No clamp; dirty unless all three components are near-equal (relative 1e-12) to the stored.
  void SetRadius(ORT_Vector3T<double> radius);
  void GetRadius(ORT_Vector3T<double>& out) const { out = Radius; }
  // Each component stored as min(itself, 1.0), no lower bound; dirty unless all three raw
  // arguments are near-equal to the stored values (so one above 1.0 sets it every time).
  void SetPower(ORT_Vector3T<double> power);
  void GetPower(ORT_Vector3T<double>& out) const { out = Power; }
  // Stored as given, dirty if it differs; the build lowers anything above 9 to 10.
  void SetSubdivisions(uint32_t subdivisions);
  void GetSubdivisions(uint32_t& out) const { out = Subdivisions; }
  // Entry 0 of the one-record material table; no index, no failure, no rebuild.
  void SetMaterial(const KLY_Material& material);
  void GetMaterial(KLY_Material& out) const;

 protected:
  void BuildGeometry();

  ORT_Vector3T<double> Radius{1.0, 1.0, 1.0};
  ORT_Vector3T<double> Power{1.0, 1.0, 1.0};
  uint32_t Subdivisions = 3;
};
