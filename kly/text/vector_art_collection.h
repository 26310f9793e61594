// Vector artwork as one geometry: an ordered array of vector art, held by value, that share
// their extrusion parameters, as a text shares them among its letters (text.h tells the
// setters, materials, array protocol, bounds and collapse, which behave the same here). What is
// its own: insertion at a position, and coplanar groups spread apart along z.
//
// Failures: an index past the elements reports "invalid vector art index." and throws 3 (so
// InsertVectorArt cannot append); a material slot outside 0..3 reports "invalid extrusion
// material index." and throws 3.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/core/geometry.h"
#include "kly/text/vector_art.h"

class KLY_VectorArtCollection : public KLY_Geometry {
 public:
  KLY_VectorArtCollection();
  KLY_VectorArtCollection(const KLY_VectorArtCollection&) = default;
  KLY_VectorArtCollection& operator=(const KLY_VectorArtCollection&) = default;
  virtual ~KLY_VectorArtCollection();

  int32_t NumVectorArt() const { return static_cast<int32_t>(art.size()); }
  // Appends a copy. Sets dirty.
  void AddVectorArt(KLY_VectorArt& element);
  // Inserts a copy before the element at `index`, which must exist. Sets dirty.
  void InsertVectorArt(uint32_t index, KLY_VectorArt& element);
  std::vector<KLY_VectorArt>::iterator GetVectorArt(uint32_t index);
  // Does not set dirty.
  void DeleteVectorArt(uint32_t index);
  // Gives every element of coplanar group g (counted from 0, a group opening at each element
  // after the first that is marked as a group start) the offset g * step. Touches nothing else.
  void AdjustPostMatrixCoplanarZ(float step);

  void SetFaceGranularity(uint32_t min, uint32_t max);
  void GetFaceGranularity(uint32_t& min, uint32_t& max) const;
  void SetBevelGranularity(uint32_t min, uint32_t max);
  void GetBevelGranularity(uint32_t& min, uint32_t& max) const;
  // Stored as given; each element clamps for itself.
  void SetFaceQuality(double minAngleDegrees);
  void GetFaceQuality(double& out) const { out = faceQuality; }
  void SetExtrusionDepth(double depth);
  void GetExtrusionDepth(double& out) const { out = extrusionDepth; }
  void SetBevelDepth(double depth);
  void GetBevelDepth(double& out) const { out = bevelDepth; }
  void SetBevelStyle(int32_t style);
  void GetBevelStyle(int32_t& out) const { out = bevelStyle; }
  // Forwarded only: the getter always yields 0.
  void SetBevelDirection(uint32_t direction);
  void GetBevelDirection(uint32_t& out) const { out = bevelDirection; }
  // Forwarded only: the getter always yields 1.
  void SetOrientationStyle(uint32_t style);
  void GetOrientationStyle(uint32_t& out) const { out = orientationStyle; }
  // Forwarded only, raised to 0.0 when 0 or below: the getter always yields 0.0.
  void SetHoleBevelDepth(double depth);
  void GetHoleBevelDepth(double& out) const { out = holeBevelDepth; }

  void SetMaterial(int32_t index, const KLY_Material& material);
  void GetMaterial(int32_t index, KLY_Material& out) const;
  void SetRenderOptions(const KLY_RenderOptions& options) override;

  // Updates every element and sums the local bounds of those that have contours after their
  // update.
  void Update() override;
  void GetTrianglesForFace(int32_t face, std::vector<KLY_Triangle>& out) const;

  // An index past the elements reports "invalid vector art index." and gives null.
  bool HasArray() override { return NumVectorArt() > 0; }
  KLY_Geometry* GetArrayElement(uint32_t index) override;
  uint32_t GetNumberOfArrayElements() override { return static_cast<uint32_t>(art.size()); }
  uint32_t GetTotalNumberOfPrimitives() override;

  KLY_Bounds RecomputeLocalBounds();
  void CollapseArrayToSingleElement(KLY_Geometry* out) const override;

 protected:
  std::vector<KLY_VectorArt> art;
  double extrusionDepth = 0.0;
  double bevelDepth = 0.0;
  int32_t bevelStyle = KLY_Extrusion::BevelNone;
  uint32_t bevelDirection = 0;
  uint32_t orientationStyle = 1;
  double holeBevelDepth = 0.0;
  uint32_t faceGranularity[2] = {1, 10};   // min, max
  uint32_t bevelGranularity[2] = {1, 10};  // min, max
  double faceQuality = 0.0;
  std::vector<KLY_Material> materials;
};
