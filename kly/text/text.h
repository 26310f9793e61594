// A text layer as one geometry: an ordered array of letters, held by value, that share their
// extrusion parameters. It holds no mesh of its own: it forwards parameters to the letters,
// updates them, sums their bounds and primitives, and can melt them into one mesh.
//
// Setters reach only the letters present at the call, and always forward, also an unchanged
// value: calling a setter again is how letters added later are brought in line. Three setters
// (SetBevelDirection, SetOrientationStyle, SetHoleBevelDepth) reach the letters without
// storing anything in the text, whose own field and getter keep their defaults for good.
//
// Failures: an index past the letters reports "invalid text index." and throws 3; a material
// slot outside 0..3 reports "invalid extrusion material index." and throws 3; a letter's
// failure in Update passes through, leaving the letters after it not updated.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/core/geometry.h"
#include "kly/text/letter.h"

class KLY_Text : public KLY_Geometry {
 public:
  KLY_Text();
  KLY_Text(const KLY_Text&) = default;
  KLY_Text& operator=(const KLY_Text&) = default;
  virtual ~KLY_Text();

  int32_t NumLetters() const { return static_cast<int32_t>(letters.size()); }
  // Appends a copy; the text's parameters are not applied to it. Sets dirty.
  void AddLetter(KLY_Letter& letter);
  // The letter in place, for the caller to work on.
  std::vector<KLY_Letter>::iterator GetLetter(uint32_t index);
  // Does not set dirty.
  void DeleteLetter(uint32_t index);

  void SetFaceGranularity(uint32_t min, uint32_t max);
  void GetFaceGranularity(uint32_t& min, uint32_t& max) const;
  void SetBevelGranularity(uint32_t min, uint32_t max);
  void GetBevelGranularity(uint32_t& min, uint32_t& max) const;
  // Stored as given; each element clamps for itself.
  void SetFaceQuality(double minAngleDegrees);
  void GetFaceQuality(double& out) const { out = faceQuality; }
  // Stored as given; each letter clamps for itself.
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

  // The text's entry, then every letter's. No rebuild.
  void SetMaterial(int32_t index, const KLY_Material& material);
  void GetMaterial(int32_t index, KLY_Material& out) const;
  // Stores the record, then hands it to every letter.
  void SetRenderOptions(const KLY_RenderOptions& options) override;

  // Updates every letter (each rebuilds if its own dirty is set) and sums the local bounds of
  // those that had contours before their update; no placement is applied.
  void Update() override;
  // The triangles of `face` of every letter in order, with the letters' own vertex and
  // material indices: nothing is rebased.
  void GetTrianglesForFace(int32_t face, std::vector<KLY_Triangle>& out) const;

  // Array protocol: the letters. An index past them reports "invalid text index." and gives
  // null, without throwing.
  bool HasArray() override { return NumLetters() > 0; }
  KLY_Geometry* GetArrayElement(uint32_t index) override;
  uint32_t GetNumberOfArrayElements() override { return static_cast<uint32_t>(letters.size()); }
  uint32_t GetTotalNumberOfPrimitives() override;

  // Replaces the local bounds with the sum of the letters' bounds under their placement 0
  // (the first of the stack, or postMatrix), and returns them. Call after Update.
  KLY_Bounds RecomputeLocalBounds();
  // `out` (a KLY_Mesh) becomes every letter under its postMatrix, with four materials a letter
  // in letter order and material indices rebased by 4 a letter; geometry type 1.
  void CollapseArrayToSingleElement(KLY_Geometry* out) const override;

 protected:
  std::vector<KLY_Letter> letters;
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
