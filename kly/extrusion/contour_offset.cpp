// Contour preparation: every contour is sorted into outer or hole and pushed through the host's
// path offset service before any mesh is made.
#include <cmath>
#include <exception>

#include "kly/extrusion/contour_paths.h"
#include "kly/extrusion/extrusion.h"
#include "kly/host/hbn_paths.h"
#include "kly/host/offset_path.h"
#include "kly/host/plb_path_collector.h"

namespace {

using Vec3 = ORT_Vector3T<double>;

constexpr double kNoOffset = 1e-6;
constexpr double kBevelShare = 0.1;
constexpr double kLowestClamp = 0.2;
constexpr double kHighestClamp = 1.0;
constexpr double kLimitPerDistance = 10.0;

// The service's entry, looked up at first use and kept for the process.
GFKOffsetPathGetOffsetPathProc offsetEntry = nullptr;

GFKOffsetPathGetOffsetPathProc OffsetEntry() {
  if (offsetEntry == nullptr) {
    void* entry = HBN_LookupInterfaceEntry("GFKOffsetPathInterface", "GetOffsetPath",
                                           "GFKOffsetPathGetOffsetPathV4");
    if (entry == nullptr) throw HBN_T_NMT::CHBNError("GFKOffsetPathInterface is not available");
    offsetEntry = reinterpret_cast<GFKOffsetPathGetOffsetPathProc>(entry);
  }
  return offsetEntry;
}

double ClampToOffsetRange(double value) {
  if (value < kLowestClamp) return kLowestClamp;
  if (value > kHighestClamp) return kHighestClamp;
  return value;
}

// 0.5 to the power `exponent`, in single precision by repeated squaring.
double HalfToThePower(uint32_t exponent) {
  float result = 1.0f;
  float base = 0.5f;
  for (; exponent != 0; exponent >>= 1) {
    if (exponent & 1) result *= base;
    base *= base;
  }
  return result;
}

}  // namespace

void KLY_Extrusion::OffsetContour(const KLY_Contour& in, double distance, double limit,
                                  double tolerance, KLY_Contour& out) {
  if (std::fabs(distance) < kNoOffset) {
    out = in;
  } else {
    // Outside the guard: a malformed contour fails here with the contour's own message.
    std::vector<Vec3> chain;
    in.PureBezier(chain);
    try {
      RunOffsetService(chain, distance, limit, tolerance, out);
    } catch (...) {
      // Whatever the service did wrong, the contour keeps its shape.
      out = in;
    }
    if (!out.TestContour()) out = in;
  }
  out.SetGranularity(faceGranularityMin, faceGranularityMax);
}

void KLY_Extrusion::RunOffsetService(const std::vector<Vec3>& chain, double distance, double limit,
                                     double tolerance, KLY_Contour& out) {
  HBN_T_NMT::CPVKBezierPath source;
  kly::extrusion::ChainToPath(chain, source);
  const HBN_T_NMT::CGFKPath hostPath(source);
  const float* points = nullptr;
  const int32_t* types = nullptr;
  int32_t count = 0;
  hostPath.GetData(points, types, count);

  const GFKOffsetPathGetOffsetPathProc getOffsetPath = OffsetEntry();
  HBN_T_NMT::CPVKBezierPath result;
  PLB_PathCollector collector(1.0, result);
  const int32_t status =
      getOffsetPath(PLB_PathCollector::Callback, 0, &collector, points, types, count, 0,
                    static_cast<float>(distance), 0, 0, static_cast<float>(limit), 1, 0, 0, 1,
                    static_cast<float>(tolerance), 0, nullptr, -1.0f);
  if (status != 0) throw HBN_T_NMT::CHBNError("the path offset service failed");
  collector.Flush();
  out.ClearVerticesAndCodes();
  kly::extrusion::PathToContour(result, out);
}

void KLY_Extrusion::FlattenContours() {
  const size_t n = contours.size();
  polygons.resize(n);
  // Every polygon is made before the first question: IsHoleBound looks at all of them.
  for (size_t i = 0; i < n; ++i) {
    contours[i].SetGranularity(faceGranularityMin, faceGranularityMax);
    contours[i].SetClosed(true);
    contours[i].PolygonalApprox(polygons[i]);
  }
}

void KLY_Extrusion::ReplaceContours(const std::vector<KLY_Contour>& results) {
  polygons.clear();
  for (size_t i = 0; i < results.size(); ++i) {
    if (results[i].Size() <= 2) continue;
    // Only points and codes are replaced: `closed`, granularity and saved state stay.
    contours[i].ClearVerticesAndCodes();
    for (auto p = results[i].beginPoints(); p != results[i].endPoints(); ++p)
      contours[i].AppendVertexPosition(*p);
    for (auto c = results[i].beginCodes(); c != results[i].endCodes(); ++c)
      contours[i].AppendVertexCode(*c);
  }
}

void KLY_Extrusion::AdjustContoursForBeveling() {
  FlattenContours();
  std::vector<KLY_Contour> results(contours.size());
  for (size_t i = 0; i < contours.size(); ++i) {
    const double q = HalfToThePower(bevelGranularityMax + 2);
    const bool hole = IsHoleBound(static_cast<int>(i), polygons);
    holeFlags[i] = hole ? 1 : 0;
    // For a hole `a` is never positive, so the clamp always gives 0.2: holes grow like outer
    // contours, by the smallest distance.
    const double a = hole ? -kBevelShare * holeBevelDepth : kBevelShare * bevelDepth;
    const double b = q * (hole ? holeBevelDepth : bevelDepth);
    const double distance = ClampToOffsetRange(a);
    const double tolerance = ClampToOffsetRange(b);
    const double limit = std::fabs(distance) * kLimitPerDistance;
    OffsetContour(contours[i], distance, limit, tolerance, results[i]);
  }
  ReplaceContours(results);
}
