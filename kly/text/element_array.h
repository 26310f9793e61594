// What a text and a vector art collection do alike over their array of extrusions: index and
// material checks, sums over the elements, the triangles of a face, and the collapse into one
// mesh with four materials an element.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/extrusion/extrusion.h"
#include "kly/host/nut.h"
#include "kly/package/failure.h"

namespace kly {
namespace text {

// Sets `dirty` when `value` differs from `field`, then stores it.
template <class T>
void StoreParameter(T& field, T value, bool& dirty) {
  if (field != value) dirty = true;
  field = value;
}

// The setters' one pattern: `dirty` when `value` differs from `field`, store it, then hand the
// stored value to every element's like-named setter.
template <class Element, class T>
void StoreAndForward(T& field, T value, bool& dirty, std::vector<Element>& elements,
                     void (KLY_Extrusion::*setter)(T)) {
  StoreParameter(field, value, dirty);
  for (Element& element : elements) (element.*setter)(field);
}

template <class Element>
void StoreAndForward(uint32_t (&field)[2], uint32_t min, uint32_t max, bool& dirty,
                     std::vector<Element>& elements,
                     void (KLY_Extrusion::*setter)(uint32_t, uint32_t)) {
  StoreParameter(field[0], min, dirty);
  StoreParameter(field[1], max, dirty);
  for (Element& element : elements) (element.*setter)(min, max);
}

// For the parameters that the elements alone carry: `dirty` when `value` differs from the
// collection's `field`, which keeps its default, and `forwarded` handed to every element.
template <class Element, class T>
void ForwardOnly(const T& field, T value, T forwarded, bool& dirty, std::vector<Element>& elements,
                 void (KLY_Extrusion::*setter)(T)) {
  if (value != field) dirty = true;
  for (Element& element : elements) (element.*setter)(forwarded);
}

// A collection's own slot check. A negative index fails like one past the four slots, rather
// than writing before the table.
inline void CheckMaterialSlot(int32_t index) {
  if (index < 0 || index >= static_cast<int32_t>(KLY_Extrusion::kNumMaterials))
    KLY_FailIndex("invalid extrusion material index.");
}

// Reports `message` and throws 3 unless `index` names an element.
template <class Element>
void CheckElementIndex(const std::vector<Element>& elements, uint32_t index, const char* message) {
  if (index >= elements.size()) KLY_FailIndex(message);
}

// The element itself (its array element 0), or null after reporting `message`: the array
// protocol answers a bad index without failing.
template <class Element>
KLY_Geometry* ArrayElementOrNull(std::vector<Element>& elements, uint32_t index,
                                 const char* message) {
  if (index < elements.size()) return elements[index].GetArrayElement(0);
  // NUT_ReportFailedVerification wants a source line that the report gives no meaning to.
  constexpr int32_t kReportLine = 1;
  NUT_ReportFailedVerification(0, kReportLine, 0, message);
  return nullptr;
}

template <class Element>
uint32_t SumPrimitives(std::vector<Element>& elements) {
  uint32_t sum = 0;
  for (Element& element : elements) sum += element.GetTotalNumberOfPrimitives();
  return sum;
}

// `sum` becomes the bounds of the elements with contours, each under its placement 0.
template <class Element>
void SumPlacedBounds(const std::vector<Element>& elements, KLY_Bounds& sum) {
  sum.Empty();
  for (const Element& element : elements) {
    uint32_t contours = 0;
    element.GetNumContours(contours);
    if (contours == 0) continue;
    ORT_Matrix3 placement;
    element.GetPostMatrix(0, placement);
    sum += element.RecomputeLocalBounds(placement);
  }
}

// The triangles of `face` of every element in order, indices as the elements hold them.
template <class Element>
void CollectTrianglesForFace(const std::vector<Element>& elements, int32_t face,
                             std::vector<KLY_Triangle>& out) {
  out.clear();
  std::vector<KLY_Triangle> ofElement;
  for (const Element& element : elements) {
    element.GetTrianglesForFace(face, ofElement);
    out.insert(out.end(), ofElement.begin(), ofElement.end());
  }
}

// `out` (a KLY_Mesh) becomes every element's own collapse (its mesh under its placement), in
// order, each followed by its four materials; material indices are rebased by 4 an element, so
// each element keeps its own look. Geometry type 1. An element's collapse has its own counts of
// vertices and triangles, so the whole is reserved at once and one placed mesh serves every
// element: a long text is then never moved while it grows.
template <class Element>
void CollapseElements(const std::vector<Element>& elements, KLY_Geometry* out) {
  KLY_Mesh& mesh = dynamic_cast<KLY_Mesh&>(*out);
  mesh.ClearGeometry();
  mesh.ClearMaterials();
  size_t vertexCount = 0;
  size_t triangleCount = 0;
  for (const Element& element : elements) {
    vertexCount += element.GetNumVertices();
    triangleCount += element.GetNumTriangles();
  }
  mesh.Reserve(static_cast<uint32_t>(vertexCount), static_cast<uint32_t>(triangleCount));
  uint32_t materialBase = 0;
  uint32_t firstTriangle = 0;
  KLY_Mesh placed;
  for (const Element& element : elements) {
    element.CollapseArrayToSingleElement(&placed);
    mesh.AppendTriangleMesh(placed);
    for (auto t = mesh.beginTriangles() + firstTriangle; t != mesh.endTriangles(); ++t)
      t->material_index += materialBase;
    for (uint32_t k = 0; k < KLY_Extrusion::kNumMaterials; ++k) {
      KLY_Material material;
      element.KLY_Extrusion::GetMaterial(static_cast<int32_t>(k), material);
      mesh.AddMaterial(material);
    }
    materialBase += KLY_Extrusion::kNumMaterials;
    firstTriangle = mesh.GetNumTriangles();
  }
  mesh.SetGeometryType(KLY_kTypeSizedMesh);
}

}  // namespace text
}  // namespace kly
