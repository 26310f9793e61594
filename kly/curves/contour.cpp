#include "kly/curves/contour.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "kly/curves/cubic_bezier_curve.h"
#include "kly/host/nut.h"
#include "kly/package/failure.h"
#include "kly/package/package.h"

namespace {

using Vec3 = ORT_Vector3T<double>;

const char kBadContour[] =
    "$$$/VD/KLY/BadContour=Construction of contour failed. Try reducing the bevel size.";
const char kBadBezier[] =
    "$$$/VD/KLY/BadBezier=Incorrect points for a bezier contour. Try reducing the bevel size.";

[[noreturn]] void FailOutline(const char* key) {
  KLY_Error(KLY_kErrOutline, NUT_ZStringToMBString(key).c_str(), 1);
}

// Relative 1e-12 of the larger number, with a floor of 1.000088900582341e-12; for two negative
// numbers the pair is mirrored first so that "larger" means larger in magnitude.
bool NearlyEqual(double a, double b) {
  double hi = std::max(a, b);
  double lo = std::min(a, b);
  if (hi < 0.0) {
    const double mirroredHi = -lo;
    lo = -hi;
    hi = mirroredHi;
  }
  double t = hi * 1e-12;
  if (t < 1.000088900582341e-12) t = 1.000088900582341e-12;
  return t > hi - lo;
}

bool NearlyEqual(const Vec3& a, const Vec3& b) {
  return NearlyEqual(a.x, b.x) && NearlyEqual(a.y, b.y) && NearlyEqual(a.z, b.z);
}

bool WithinMicron(const Vec3& a, const Vec3& b) {
  return std::fabs(a.x - b.x) < 1e-6 && std::fabs(a.y - b.y) < 1e-6 && std::fabs(a.z - b.z) < 1e-6;
}

Vec3 Midpoint(const Vec3& a, const Vec3& b) {
  return a + (b - a) * 0.5;
}

// A line as a cubic with its control points at the thirds. The factors are the single-precision
// values of 2/3 and 1/3 taken as doubles; chains built elsewhere depend on these exact bits.
void AppendLineAsCubic(const Vec3& a, const Vec3& b, std::vector<Vec3>& out) {
  out.push_back(a * 0.6666666865348816 + b * 0.3333333432674408);
  out.push_back(a * 0.3333333432674408 + b * 0.6666666865348816);
  out.push_back(b);
}

}  // namespace

KLY_Contour::~KLY_Contour() = default;

void KLY_Contour::SetGranularity(uint32_t min, uint32_t max) {
  minGranularity = min;
  maxGranularity = std::min<uint32_t>(max, KLY_CubicBezierCurve::kMaxLevel);
}

void KLY_Contour::GetGranularity(uint32_t& min, uint32_t& max) const {
  min = minGranularity;
  max = maxGranularity;
}

void KLY_Contour::ClearVerticesAndCodes() {
  points.clear();
  codes.clear();
}

void KLY_Contour::GetPoint(uint32_t index, Vec3& out) {
  if (index >= points.size()) throw std::out_of_range("invalid vector<T> subscript");
  out = points[index];
}

void KLY_Contour::GetCode(uint32_t index, uint32_t& out) {
  if (index >= codes.size()) throw std::out_of_range("invalid vector<T> subscript");
  out = codes[index];
}

void KLY_Contour::PolygonalApprox(std::vector<Vec3>& out) const {
  out.clear();
  const size_t n = std::min(points.size(), codes.size());
  std::vector<double> parameters;
  for (size_t i = 0; i < n;) {
    const uint32_t code = codes[i];
    if (code == kCodeStart || i == 0) {
      out.push_back(points[i]);
      ++i;
    } else if (code == kCodeCurve && i + 2 < n) {
      KLY_CubicBezierCurve curve;
      curve.SetControlPts(points[i - 1], points[i], points[i + 1], points[i + 2]);
      parameters.clear();
      curve.Subdivide(KLY_CubicBezierCurve::kFlatness, minGranularity, maxGranularity, parameters);
      for (size_t k = 1; k < parameters.size(); ++k) {
        Vec3 point;
        curve(parameters[k], point);
        out.push_back(point);
      }
      i += 3;
    } else {
      // Every line leaves as two segments: the midpoint vertex is deliberate and later stages
      // (offsetting, the front face) have always been given it.
      out.push_back(Midpoint(points[i - 1], points[i]));
      out.push_back(points[i]);
      ++i;
    }
  }

  if (closed && !points.empty() && !NearlyEqual(points.front(), points.back())) {
    out.push_back(Midpoint(points.front(), points.back()));
    out.push_back(points.front());
  }

  // Drop every point that lies within 1e-6 of its successor in x and y (z is not looked at).
  // One pass, comparing neighbours of the input: removing a point in place and looking at the
  // same index again compares exactly these pairs.
  size_t kept = 0;
  for (size_t i = 0; i < out.size(); ++i) {
    const bool last = i + 1 == out.size();
    if (last ||
        !(std::fabs(out[i].x - out[i + 1].x) < 1e-6 && std::fabs(out[i].y - out[i + 1].y) < 1e-6)) {
      out[kept++] = out[i];
    }
  }
  out.resize(kept);
}

void KLY_Contour::PureBezier(std::vector<Vec3>& out) const {
  out.clear();
  const size_t n = std::min(points.size(), codes.size());
  for (size_t i = 0; i < n;) {
    const uint32_t code = codes[i];
    if (code == kCodeStart && i == 0) {
      out.push_back(points[i]);
      ++i;
    } else if (code == kCodeLine && i > 0) {
      AppendLineAsCubic(points[i - 1], points[i], out);
      ++i;
    } else if (code == kCodeCurve && i > 0 && i + 2 < n) {
      out.insert(out.end(), points.begin() + i, points.begin() + i + 3);
      i += 3;
    } else {
      FailOutline(kBadContour);  // a second start, or a piece with no point before or after
    }
  }
  if (closed && !points.empty() && !NearlyEqual(points.front(), points.back())) {
    AppendLineAsCubic(points.back(), points.front(), out);
  }
  if (out.size() % 3 != 1) FailOutline(kBadBezier);

  // Drop cubics whose ends coincide within 1e-6 in x, y and z. Removing a cubic in place and
  // looking at the same index again compares the ends of the input's cubics, so one pass does.
  const size_t m = out.size();
  size_t kept = 0;
  for (size_t s = 0; 3 * s + 3 < m; ++s) {
    if (WithinMicron(out[3 * s], out[3 * s + 3])) continue;
    out[kept++] = out[3 * s];
    out[kept++] = out[3 * s + 1];
    out[kept++] = out[3 * s + 2];
  }
  out[kept++] = out[m - 1];
  out.resize(kept);
}

void KLY_Contour::ReverseOrientation() {
  std::vector<Vec3> reversedPoints(points.rbegin(), points.rend());
  std::vector<uint32_t> reversedCodes(codes.rbegin(), codes.rend());
  points.clear();
  codes.clear();
  points = reversedPoints;
  codes = reversedCodes;
  if (codes.empty()) return;
  codes.front() = codes.back();
  codes.back() = kCodeLine;
}

bool KLY_Contour::IsDuplicate(KLY_Contour& other) {
  if (points.empty()) return false;
  const Vec3& first = points.front();
  return std::any_of(other.points.begin(), other.points.end(),
                     [&first](const Vec3& p) { return WithinMicron(first, p); });
}

bool KLY_Contour::TestContour() {
  const size_t n = points.size();
  if (n < 3) return false;
  if (std::find(codes.begin() + std::min<size_t>(1, codes.size()), codes.end(),
                static_cast<uint32_t>(kCodeStart)) != codes.end()) {
    return false;
  }
  KLY_Bounds bounds;
  for (const Vec3& p : points) bounds += p;
  if (!bounds.HasArea()) return false;
  // Twice the signed area of the open polygon: the closing edge is left out on purpose, and
  // the threshold was set against that sum.
  double area = 0.0;
  for (size_t i = 0; i + 1 < n; ++i) {
    area += points[i].x * points[i + 1].y - points[i].y * points[i + 1].x;
  }
  return !(std::fabs(area) < 1e-6);
}

void KLY_Contour::ApplyTransform(const ORT_Matrix4& matrix) {
  if (originalPoints.empty()) originalPoints = points;
  // A base saved before points were added or removed covers only the points it has.
  const size_t n = std::min(points.size(), originalPoints.size());
  for (size_t i = 0; i < n; ++i) points[i] = ORT_TransformPoint(originalPoints[i], matrix);
}

void KLY_Contour::AppendTransform(const ORT_Matrix4& matrix) {
  if (originalPoints.empty()) originalPoints = points;
  for (Vec3& p : points) p = ORT_TransformPoint(p, matrix);
}

void KLY_Contour::RevertTransform() {
  if (originalPoints.empty()) return;
  points = originalPoints;
  originalPoints.clear();
}

void KLY_Contour::SaveToOriginal() {
  originalPoints = points;
  originalCodes = codes;
}

void KLY_Contour::RevertToOriginal() {
  points = originalPoints;
  codes = originalCodes;
  originalPoints.clear();
  originalCodes.clear();
}

double KLY_Contour::GetBezierArcLength(std::vector<Vec3>& bezierPoints,
                                       std::vector<double>& cumulativeLengths) {
  const size_t n = bezierPoints.size();
  if (n == 0) return 0.0;
  const size_t cubics = n / 3;
  cumulativeLengths.resize(cubics);
  double total = 0.0;
  for (size_t s = 0; s < cubics; ++s) {
    if (3 * s + 3 >= n) throw std::out_of_range("invalid vector<T> subscript");
    KLY_CubicBezierCurve curve;
    curve.SetControlPts(bezierPoints[3 * s], bezierPoints[3 * s + 1], bezierPoints[3 * s + 2],
                        bezierPoints[3 * s + 3]);
    total += curve.ArcLength(minGranularity, maxGranularity);
    cumulativeLengths[s] = total;
  }
  return total;
}

bool KLY_Contour::IsColinear(double tolerance, double& length) {
  length = 0.0;
  const size_t n = points.size();
  if (n < 2) return false;

  size_t first = 0;
  while (first + 1 < n) {
    const Vec3 d = points[first + 1] - points[first];
    if (d.x * d.x + d.y * d.y + d.z * d.z > 0.0) break;
    ++first;
  }
  if (first + 1 >= n) return false;
  Vec3 direction = points[first + 1] - points[first];
  KLY_Normalize(direction);

  for (size_t i = first; i + 1 < n; ++i) {
    Vec3 d = points[i + 1] - points[i];
    const double squared = d.x * d.x + d.y * d.y + d.z * d.z;
    if (!(squared > 0.0)) continue;
    length += std::sqrt(squared);
    KLY_Normalize(d);
    const double c = std::fabs(d.x * direction.x + d.y * direction.y + d.z * direction.z);
    if (1.0 - c > tolerance) return false;
  }
  if (closed) length *= 0.5;
  return true;
}

bool KLY_Contour::IsDegenerateContour() {
  // A walk that leaves the line ends as for IsColinear: such a contour is not degenerate.
  double length = 0.0;
  return IsColinear(0.02, length) && length < 10.0;
}

void KLY_Contour::GetOriginalBoundingBox(KLY_Bounds& out) {
  out.Empty();
  for (const Vec3& p : originalPoints.empty() ? points : originalPoints) out += p;
}
