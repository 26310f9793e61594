#include "kly/text/text.h"

#include "kly/text/element_array.h"

using kly::text::StoreParameter;

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
  StoreParameter(faceGranularity[0], min, dirty);
  StoreParameter(faceGranularity[1], max, dirty);
  for (KLY_Letter& letter : letters) letter.SetFaceGranularity(min, max);
}

void KLY_Text::GetFaceGranularity(uint32_t& min, uint32_t& max) const {
  min = faceGranularity[0];
  max = faceGranularity[1];
}

void KLY_Text::SetBevelGranularity(uint32_t min, uint32_t max) {
  StoreParameter(bevelGranularity[0], min, dirty);
  StoreParameter(bevelGranularity[1], max, dirty);
  for (KLY_Letter& letter : letters) letter.SetBevelGranularity(min, max);
}

void KLY_Text::GetBevelGranularity(uint32_t& min, uint32_t& max) const {
  min = bevelGranularity[0];
  max = bevelGranularity[1];
}

void KLY_Text::SetFaceQuality(double minAngleDegrees) {
  StoreParameter(faceQuality, minAngleDegrees, dirty);
  for (KLY_Letter& letter : letters) letter.SetFaceQuality(faceQuality);
}

void KLY_Text::SetExtrusionDepth(double depth) {
  StoreParameter(extrusionDepth, depth, dirty);
  for (KLY_Letter& letter : letters) letter.SetExtrusionDepth(extrusionDepth);
}

void KLY_Text::SetBevelDepth(double depth) {
  StoreParameter(bevelDepth, depth, dirty);
  for (KLY_Letter& letter : letters) letter.SetBevelDepth(bevelDepth);
}

void KLY_Text::SetBevelStyle(int32_t style) {
  StoreParameter(bevelStyle, style, dirty);
  for (KLY_Letter& letter : letters) letter.SetBevelStyle(bevelStyle);
}

// The next three compare with the text's own field but leave it at its default, as the
// letters alone carry these values.
void KLY_Text::SetBevelDirection(uint32_t direction) {
  if (direction != bevelDirection) dirty = true;
  for (KLY_Letter& letter : letters) letter.SetBevelDirection(direction);
}

void KLY_Text::SetOrientationStyle(uint32_t style) {
  if (style != orientationStyle) dirty = true;
  for (KLY_Letter& letter : letters) letter.SetOrientationStyle(style);
}

void KLY_Text::SetHoleBevelDepth(double depth) {
  if (depth != holeBevelDepth) dirty = true;
  const double raised = depth <= 0.0 ? 0.0 : depth;
  for (KLY_Letter& letter : letters) letter.SetHoleBevelDepth(raised);
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
