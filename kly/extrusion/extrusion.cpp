// Parameters, materials and the build pipeline of KLY_Extrusion.
#include "kly/extrusion/extrusion.h"
#include "kly/extrusion/shoelace.h"

#include <algorithm>
#include <exception>

#include "kly/host/nut.h"
#include "kly/package/failure.h"
#include "kly/package/package.h"

namespace {

const char kBadInitialContour[] =
    "$$$/VD/KLY/BadInitialContour=outline contains triangles that are too small to be rendered. "
    "Check for very thin triangles in original artwork.";
constexpr uint16_t kBadInitialContourSub = 3;
constexpr int32_t kSetMaterialLine = 280;
constexpr int32_t kGetMaterialLine = 270;

// A depth at or below zero (or NaN, which no comparison admits) is stored as zero.
double NonNegative(double depth) {
  return depth > 0.0 ? depth : 0.0;
}

template <class T>
void Store(T& field, T value, bool& dirty) {
  if (field != value) dirty = true;
  field = value;
}

// A negative index fails as one past the slots does, rather than writing before the table.
bool IsMaterialSlot(int32_t index) {
  return index >= 0 && index < static_cast<int32_t>(KLY_Extrusion::kNumMaterials);
}

}  // namespace

KLY_Extrusion::KLY_Extrusion() {
  geometry_type = KLY_kTypeExtrusion;
  dirty = true;
  materials.resize(kNumMaterials);
}

KLY_Extrusion::~KLY_Extrusion() = default;

void KLY_Extrusion::Update() {
  if (dirty) BuildGeometry();
  KLY_Mesh::Update();
  dirty = false;
}

void KLY_Extrusion::SetFaceGranularity(uint32_t min, uint32_t max) {
  Store(faceGranularityMin, min, dirty);
  Store(faceGranularityMax, max, dirty);
}

void KLY_Extrusion::GetFaceGranularity(uint32_t& min, uint32_t& max) const {
  min = faceGranularityMin;
  max = faceGranularityMax;
}

void KLY_Extrusion::SetBevelGranularity(uint32_t min, uint32_t max) {
  Store(bevelGranularityMin, min, dirty);
  Store(bevelGranularityMax, max, dirty);
}

void KLY_Extrusion::GetBevelGranularity(uint32_t& min, uint32_t& max) const {
  min = bevelGranularityMin;
  max = bevelGranularityMax;
}

void KLY_Extrusion::SetExtrusionDepth(double depth) {
  Store(extrusionDepth, NonNegative(depth), dirty);
}

void KLY_Extrusion::SetFaceQuality(double minAngleDegrees) {
  Store(faceQuality, NonNegative(minAngleDegrees), dirty);
}

void KLY_Extrusion::SetBevelDepth(double depth) {
  Store(bevelDepth, NonNegative(depth), dirty);
}

void KLY_Extrusion::SetHoleBevelDepth(double depth) {
  Store(holeBevelDepth, NonNegative(depth), dirty);
}

void KLY_Extrusion::SetBevelStyle(int32_t style) {
  Store(bevelStyle, style, dirty);
}

void KLY_Extrusion::SetBevelDirection(uint32_t direction) {
  Store(bevelDirection, direction, dirty);
}

void KLY_Extrusion::SetOrientationStyle(uint32_t style) {
  Store(orientationStyle, style, dirty);
}

void KLY_Extrusion::PushContour(const KLY_Contour& contour) {
  dirty = true;
  contours.push_back(contour);
}

void KLY_Extrusion::ClearContours() {
  dirty = true;
  contours.clear();
}

void KLY_Extrusion::SetMaterial(int32_t index, const KLY_Material& material) {
  if (!IsMaterialSlot(index)) {
    NUT_ReportFailedVerification(0, kSetMaterialLine, 0, "invalid extrusion material index.");
    throw KLY_kErrIndex;
  }
  materials[index] = material;
}

void KLY_Extrusion::GetMaterial(int32_t index, KLY_Material& out) const {
  if (!IsMaterialSlot(index)) {
    NUT_ReportFailedVerification(0, kGetMaterialLine, 0, "invalid extrusion material index.");
    throw KLY_kErrIndex;
  }
  out = materials[index];
}

void KLY_Extrusion::GetTrianglesForFace(int32_t face, std::vector<KLY_Triangle>& out) const {
  out.clear();
  for (const KLY_Triangle& t : triangles)
    if (static_cast<int32_t>(t.material_index) == face) out.push_back(t);
}

void KLY_Extrusion::ClearWorkingFields() {
  polygons.clear();
  bezierChains.clear();
  holeFlags.clear();
  orientationFlags.clear();
  contourArcLengths.clear();
  bevelCurve.ClearVerticesAndCodes();
  holeBevelCurve.ClearVerticesAndCodes();
  bevelArcLengths.clear();
  holeBevelArcLengths.clear();
}

void KLY_Extrusion::BuildGeometry() {
  const size_t n = contours.size();
  if (n == 0) return;
  int32_t failure = 0;
  try {
    for (KLY_Contour& contour : contours)
      if (!contour.TestContour())
        KLY_Error(KLY_kErrTinyTriangles, NUT_ZStringToMBString(kBadInitialContour).c_str(),
                  kBadInitialContourSub);
    holeFlags.resize(n);
    AdjustContoursForBeveling();

    polygons.resize(n);
    bezierChains.resize(n);
    orientationFlags.resize(n);
    for (size_t i = 0; i < n; ++i) {
      contours[i].SetGranularity(faceGranularityMin, faceGranularityMax);
      contours[i].SetClosed(true);
      const KLY_Contour scratch = contours[i];
      scratch.PolygonalApprox(polygons[i]);
      scratch.PureBezier(bezierChains[i]);
    }
    for (size_t i = 0; i < n; ++i)
      orientationFlags[i] = kly::extrusion::OpenShoelaceSum(polygons[i]) >= 0.0 ? 1 : 0;
    // Outer contours counter-clockwise, holes clockwise.
    for (size_t i = 0; i < n; ++i) {
      if (holeFlags[i] != orientationFlags[i]) continue;
      std::reverse(polygons[i].begin(), polygons[i].end());
      std::reverse(bezierChains[i].begin(), bezierChains[i].end());
      orientationFlags[i] = 1 - orientationFlags[i];
    }

    KLY_Mesh front;
    BuildFrontMesh(front);
    AppendTriangleMesh(front);
    const bool solid = (bevelStyle != BevelNone && bevelDepth > 0.0) || extrusionDepth > 0.0;
    SetClosedTwoManifold(solid);
    if (solid) {
      KLY_Mesh& back = front;  // the back face is the front face turned round
      BuildBackMesh(back);
      AppendTriangleMesh(back);
      back = KLY_Mesh();
      BuildWalls();
    }
  } catch (int32_t number) {
    failure = number;
  } catch (std::exception& e) {
    failure = NUT_TranslateAndReportException(e);
  }
  ClearWorkingFields();
  if (failure != 0) throw failure;
}
