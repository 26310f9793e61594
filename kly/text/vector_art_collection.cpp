#include "kly/text/vector_art_collection.h"

#include "kly/text/element_array.h"

using kly::text::ForwardOnly;
using kly::text::StoreAndForward;

namespace {

const char kBadVectorArtIndex[] = "invalid vector art index.";

}  // namespace

KLY_VectorArtCollection::KLY_VectorArtCollection() : materials(KLY_Extrusion::kNumMaterials) {
  geometry_type = KLY_kTypeVectorArtCollection;
  dirty = true;
}

KLY_VectorArtCollection::~KLY_VectorArtCollection() = default;

void KLY_VectorArtCollection::AddVectorArt(KLY_VectorArt& element) {
  art.push_back(element);
  dirty = true;
}

void KLY_VectorArtCollection::InsertVectorArt(uint32_t index, KLY_VectorArt& element) {
  // The element at `index` must exist, so this cannot append.
  kly::text::CheckElementIndex(art, index, kBadVectorArtIndex);
  art.insert(art.begin() + index, element);
  dirty = true;
}

std::vector<KLY_VectorArt>::iterator KLY_VectorArtCollection::GetVectorArt(uint32_t index) {
  kly::text::CheckElementIndex(art, index, kBadVectorArtIndex);
  return art.begin() + index;
}

void KLY_VectorArtCollection::DeleteVectorArt(uint32_t index) {
  kly::text::CheckElementIndex(art, index, kBadVectorArtIndex);
  art.erase(art.begin() + index);
}

void KLY_VectorArtCollection::AdjustPostMatrixCoplanarZ(float step) {
  // Element 0 opens group 0 whatever its flag says.
  uint32_t group = 0;
  float z = 0.0f * step;
  for (size_t i = 0; i < art.size(); ++i) {
    if (i != 0 && art[i].IsCoplanarGroupStart()) {
      ++group;
      z = static_cast<float>(group) * step;
    }
    art[i].SetCoplanarZOffset(z);
  }
}

void KLY_VectorArtCollection::SetFaceGranularity(uint32_t min, uint32_t max) {
  StoreAndForward(faceGranularity, min, max, dirty, art, &KLY_Extrusion::SetFaceGranularity);
}

void KLY_VectorArtCollection::GetFaceGranularity(uint32_t& min, uint32_t& max) const {
  min = faceGranularity[0];
  max = faceGranularity[1];
}

void KLY_VectorArtCollection::SetBevelGranularity(uint32_t min, uint32_t max) {
  StoreAndForward(bevelGranularity, min, max, dirty, art, &KLY_Extrusion::SetBevelGranularity);
}

void KLY_VectorArtCollection::GetBevelGranularity(uint32_t& min, uint32_t& max) const {
  min = bevelGranularity[0];
  max = bevelGranularity[1];
}

void KLY_VectorArtCollection::SetFaceQuality(double minAngleDegrees) {
  StoreAndForward(faceQuality, minAngleDegrees, dirty, art, &KLY_Extrusion::SetFaceQuality);
}

void KLY_VectorArtCollection::SetExtrusionDepth(double depth) {
  StoreAndForward(extrusionDepth, depth, dirty, art, &KLY_Extrusion::SetExtrusionDepth);
}

void KLY_VectorArtCollection::SetBevelDepth(double depth) {
  StoreAndForward(bevelDepth, depth, dirty, art, &KLY_Extrusion::SetBevelDepth);
}

void KLY_VectorArtCollection::SetBevelStyle(int32_t style) {
  StoreAndForward(bevelStyle, style, dirty, art, &KLY_Extrusion::SetBevelStyle);
}

// The next three compare with the collection's own field but leave it at its default, as the
// elements alone carry these values.
void KLY_VectorArtCollection::SetBevelDirection(uint32_t direction) {
  ForwardOnly(bevelDirection, direction, direction, dirty, art, &KLY_Extrusion::SetBevelDirection);
}

void KLY_VectorArtCollection::SetOrientationStyle(uint32_t style) {
  ForwardOnly(orientationStyle, style, style, dirty, art, &KLY_Extrusion::SetOrientationStyle);
}

void KLY_VectorArtCollection::SetHoleBevelDepth(double depth) {
  const double raised = depth <= 0.0 ? 0.0 : depth;
  ForwardOnly(holeBevelDepth, depth, raised, dirty, art, &KLY_Extrusion::SetHoleBevelDepth);
}

void KLY_VectorArtCollection::SetMaterial(int32_t index, const KLY_Material& material) {
  kly::text::CheckMaterialSlot(index);
  materials[index] = material;
  for (KLY_VectorArt& element : art) element.SetMaterial(index, material);
}

void KLY_VectorArtCollection::GetMaterial(int32_t index, KLY_Material& out) const {
  kly::text::CheckMaterialSlot(index);
  out = materials[index];
}

void KLY_VectorArtCollection::SetRenderOptions(const KLY_RenderOptions& options) {
  KLY_Geometry::SetRenderOptions(options);
  for (KLY_VectorArt& element : art) element.SetRenderOptions(options);
}

void KLY_VectorArtCollection::Update() {
  local_bounds.Empty();
  for (KLY_VectorArt& element : art) {
    // Counted after the update, unlike in a text.
    element.Update();
    uint32_t contours = 0;
    element.GetNumContours(contours);
    if (contours == 0) continue;
    KLY_Bounds bounds;
    element.GetLocalBounds(bounds);
    local_bounds += bounds;
  }
  dirty = false;
}

void KLY_VectorArtCollection::GetTrianglesForFace(int32_t face,
                                                  std::vector<KLY_Triangle>& out) const {
  kly::text::CollectTrianglesForFace(art, face, out);
}

KLY_Geometry* KLY_VectorArtCollection::GetArrayElement(uint32_t index) {
  return kly::text::ArrayElementOrNull(art, index, kBadVectorArtIndex);
}

uint32_t KLY_VectorArtCollection::GetTotalNumberOfPrimitives() {
  return kly::text::SumPrimitives(art);
}

KLY_Bounds KLY_VectorArtCollection::RecomputeLocalBounds() {
  kly::text::SumPlacedBounds(art, local_bounds);
  return local_bounds;
}

void KLY_VectorArtCollection::CollapseArrayToSingleElement(KLY_Geometry* out) const {
  kly::text::CollapseElements(art, out);
}
