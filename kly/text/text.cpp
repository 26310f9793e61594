#include "kly/text/text.h"

#include "kly/text/element_array.h"

using kly::text::ForwardOnly;
using kly::text::StoreAndForward;

namespace {

const char kBadTextIndex[] = "invalid text index.";

}  // namespace

KLY_Text::KLY_Text() : materials(KLY_Extrusion::kNumMaterials) {
  geometry_type = KLY_kTypeText;
  dirty = true;
}

KLY_Text::~KLY_Text() = default;

void KLY_Text::AddLetter(KLY_Letter& letter) {
  letters.push_back(letter);
  dirty = true;
}

std::vector<KLY_Letter>::iterator KLY_Text::GetLetter(uint32_t index) {
  kly::text::CheckElementIndex(letters, index, kBadTextIndex);
  return letters.begin() + index;
}

void KLY_Text::DeleteLetter(uint32_t index) {
  kly::text::CheckElementIndex(letters, index, kBadTextIndex);
  letters.erase(letters.begin() + index);
}

void KLY_Text::SetFaceGranularity(uint32_t min, uint32_t max) {
  StoreAndForward(faceGranularity, min, max, dirty, letters, &KLY_Extrusion::SetFaceGranularity);
}

void KLY_Text::GetFaceGranularity(uint32_t& min, uint32_t& max) const {
  min = faceGranularity[0];
  max = faceGranularity[1];
}

void KLY_Text::SetBevelGranularity(uint32_t min, uint32_t max) {
  StoreAndForward(bevelGranularity, min, max, dirty, letters, &KLY_Extrusion::SetBevelGranularity);
}

void KLY_Text::GetBevelGranularity(uint32_t& min, uint32_t& max) const {
  min = bevelGranularity[0];
  max = bevelGranularity[1];
}

void KLY_Text::SetFaceQuality(double minAngleDegrees) {
  StoreAndForward(faceQuality, minAngleDegrees, dirty, letters, &KLY_Extrusion::SetFaceQuality);
}

void KLY_Text::SetExtrusionDepth(double depth) {
  StoreAndForward(extrusionDepth, depth, dirty, letters, &KLY_Extrusion::SetExtrusionDepth);
}

void KLY_Text::SetBevelDepth(double depth) {
  StoreAndForward(bevelDepth, depth, dirty, letters, &KLY_Extrusion::SetBevelDepth);
}

void KLY_Text::SetBevelStyle(int32_t style) {
  StoreAndForward(bevelStyle, style, dirty, letters, &KLY_Extrusion::SetBevelStyle);
}

// The next three compare with the text's own field but leave it at its default, as the
// letters alone carry these values.
void KLY_Text::SetBevelDirection(uint32_t direction) {
  ForwardOnly(bevelDirection, direction, direction, dirty, letters,
              &KLY_Extrusion::SetBevelDirection);
}

void KLY_Text::SetOrientationStyle(uint32_t style) {
  ForwardOnly(orientationStyle, style, style, dirty, letters, &KLY_Extrusion::SetOrientationStyle);
}

void KLY_Text::SetHoleBevelDepth(double depth) {
  const double raised = depth <= 0.0 ? 0.0 : depth;
  ForwardOnly(holeBevelDepth, depth, raised, dirty, letters, &KLY_Extrusion::SetHoleBevelDepth);
}

void KLY_Text::SetMaterial(int32_t index, const KLY_Material& material) {
  kly::text::CheckMaterialSlot(index);
  materials[index] = material;
  for (KLY_Letter& letter : letters) letter.SetMaterial(index, material);
}

void KLY_Text::GetMaterial(int32_t index, KLY_Material& out) const {
  kly::text::CheckMaterialSlot(index);
  out = materials[index];
}

void KLY_Text::SetRenderOptions(const KLY_RenderOptions& options) {
  KLY_Geometry::SetRenderOptions(options);
  for (KLY_Letter& letter : letters) letter.SetRenderOptions(options);
}

void KLY_Text::Update() {
  local_bounds.Empty();
  for (KLY_Letter& letter : letters) {
    // Counted before the update, unlike in a vector art collection.
    uint32_t contours = 0;
    letter.GetNumContours(contours);
    letter.Update();
    if (contours == 0) continue;
    KLY_Bounds bounds;
    letter.GetLocalBounds(bounds);
    local_bounds += bounds;
  }
  dirty = false;
}

void KLY_Text::GetTrianglesForFace(int32_t face, std::vector<KLY_Triangle>& out) const {
  kly::text::CollectTrianglesForFace(letters, face, out);
}

KLY_Geometry* KLY_Text::GetArrayElement(uint32_t index) {
  return kly::text::ArrayElementOrNull(letters, index, kBadTextIndex);
}

uint32_t KLY_Text::GetTotalNumberOfPrimitives() {
  return kly::text::SumPrimitives(letters);
}

KLY_Bounds KLY_Text::RecomputeLocalBounds() {
  kly::text::SumPlacedBounds(letters, local_bounds);
  return local_bounds;
}

void KLY_Text::CollapseArrayToSingleElement(KLY_Geometry* out) const {
  kly::text::CollapseElements(letters, out);
}
