// A tapered tube whose cross-section is a superellipse, optionally rippled by petals, with a
// cap at each end. Material 0 is the side, material 1 both caps. The caps go through the
// tessellation engine once per build (the bottom cap is the top one scaled), then the side
// rings follow them in the vertex and triangle arrays.
#pragma once

#include <vector>

#include "kly/mesh/mesh.h"

class KLY_Cylinder : public KLY_Mesh {
 public:
  static constexpr uint32_t kNumMaterials = 2;
  // The smallest radius a setter stores; it keeps the bottom cap's scale B/T finite.
  static constexpr double kMinRadius = 1e-5;

  // RadialDivisions 8.
  KLY_Cylinder();
  // TopRadius, BottomRadius and Height from x, y, z, unclamped; RadialDivisions 16.
  explicit KLY_Cylinder(ORT_Vector3T<double>& dimensions);
  KLY_Cylinder(const KLY_Cylinder&) = default;
  KLY_Cylinder& operator=(const KLY_Cylinder&) = default;
  ~KLY_Cylinder() override = default;

  void Update() override;

  // Radius at y = -Height/2. Raised to 1e-5 if below; dirty when the stored value differs from
  // the raw argument (so an argument below 1e-5 sets it every time).
  void SetTopRadius(double radius);
  void GetTopRadius(double& out) const { out = TopRadius; }
  // Radius at y = +Height/2; as SetTopRadius.
  void SetBottomRadius(double radius);
  void GetBottomRadius(double& out) const { out = BottomRadius; }
  // No clamp; dirty when it differs.
  void SetHeight(double height);
  void GetHeight(double& out) const { out = Height; }
  // No clamp; dirty when either differs.
  void SetDivisions(uint32_t radial, uint32_t height);
  void GetDivisions(uint32_t& radial, uint32_t& height) const {
    radial = RadialDivisions;
    height = HeightDivisions;
  }
  // Clamped to 0.1 .. 1.0; dirty when the stored value differs from the clamped one.
  void SetRadialPower(double power);
  void GetRadialPower(double& out) const { out = RadialPower; }
  // Clamped to 0.1 .. 1.0; dirty when the stored value differs from the clamped one.
  void SetPedalPower(double power);
  void GetPedalPower(double& out) const { out = PedalPower; }
  // No clamp; dirty when it differs.
  void SetCap(bool cap);
  void GetCap(bool& out) const { out = Cap; }
  // 0 becomes 1; dirty when the stored value differs from the corrected one.
  void SetNumPedals(uint32_t pedals);
  void GetNumPedals(uint32_t& out) const { out = NumPedals; }
  // Lowered to 1.0 if above, no lower bound; dirty when the stored value differs from the
  // clamped one.
  void SetPedalAmplitude(double amplitude);
  void GetPedalAmplitude(double& out) const { out = PedalAmplitude; }

  // Index 0 (side) or 1 (caps); anything else reports "invalid cylinder material index." and
  // throws 3. No rebuild.
  void SetMaterial(uint32_t index, const KLY_Material& material);
  void GetMaterial(uint32_t index, KLY_Material& out) const;
  // Empties `out`, then every triangle of material `face` in mesh order (a full scan: the cap
  // count is not known in advance). A face of 2 or more yields nothing.
  void GetTrianglesForFace(uint32_t face, std::vector<KLY_Triangle>& out) const;

 protected:
  void BuildGeometry();
  // Tessellates the section scaled by TopRadius into `mesh` (y = -Height/2, normal -y).
  void BuildTopCap(double* x, double* z, KLY_Mesh& mesh);
  // Turns a copy of the top cap into the bottom one: flipped, scaled by B/T, at y = +Height/2.
  void BuildBottomCap(KLY_Mesh& mesh);
  // The facet normal of the quad to the right of profile point i; `j` and `ignored` unused.
  void GetSideNormal(uint32_t i, uint32_t j, double radius, double ignored, double y, double dy,
                     const double* x, const double* z, ORT_Vector3T<double>& normal);

  double TopRadius = 1.0;
  double BottomRadius = 1.0;
  double Height = 1.0;
  uint32_t RadialDivisions = 8;
  uint32_t HeightDivisions = 1;
  double RadialPower = 1.0;
  double PedalPower = 1.0;
  bool Cap = true;
  uint32_t NumPedals = 1;
  double PedalAmplitude = 0.0;
};
