#include "kly/core/bounds.h"

#include <cmath>

namespace {
constexpr double kThin = 1e-6;
constexpr double kRelativeTolerance = 1e-12;
constexpr double kAbsoluteFloor = 1.000088900582341e-12;
}  // namespace

bool KLY_IsNearlyEqual(double a, double b) {
  double lo = a < b ? a : b;
  double hi = a < b ? b : a;
  if (hi < 0.0) {
    const double swapped_lo = -hi;
    hi = -lo;
    lo = swapped_lo;
  }
  const double relative = hi * kRelativeTolerance;
  return hi - lo < (relative > kAbsoluteFloor ? relative : kAbsoluteFloor);
}

void KLY_Bounds::Empty() {
  min_x = min_y = min_z = kEmptyMin;
  max_x = max_y = max_z = kEmptyMax;
}

KLY_Bounds& KLY_Bounds::operator=(const ORT_Vector3T<double>& half_extents) {
  max_x = std::fabs(half_extents.x);
  max_y = std::fabs(half_extents.y);
  max_z = std::fabs(half_extents.z);
  min_x = -max_x;
  min_y = -max_y;
  min_z = -max_z;
  return *this;
}

KLY_Bounds& KLY_Bounds::operator+=(const KLY_Bounds& other) {
  if (other.min_x < min_x) min_x = other.min_x;
  if (other.min_y < min_y) min_y = other.min_y;
  if (other.min_z < min_z) min_z = other.min_z;
  if (other.max_x > max_x) max_x = other.max_x;
  if (other.max_y > max_y) max_y = other.max_y;
  if (other.max_z > max_z) max_z = other.max_z;
  return *this;
}

void KLY_Bounds::FillCorners(tagCorners& out) const {
  out.corners[0] = {min_x, min_y, min_z};
  out.corners[1] = {min_x, min_y, max_z};
  out.corners[2] = {min_x, max_y, min_z};
  out.corners[3] = {min_x, max_y, max_z};
  out.corners[4] = {max_x, max_y, min_z};
  out.corners[5] = {max_x, max_y, max_z};
  out.corners[6] = {max_x, min_y, min_z};
  out.corners[7] = {max_x, min_y, max_z};
}

void KLY_Bounds::Transform(const ORT_Matrix4& matrix, tagCorners& out) const {
  FillCorners(out);
  for (ORT_Vector3T<double>& corner : out.corners) corner = ORT_TransformPoint(corner, matrix);
}

void KLY_Bounds::Transform(const ORT_Matrix4& matrix, KLY_Bounds& out) const {
  tagCorners corners;
  Transform(matrix, corners);
  // Started from corner 0 rather than from empty: an empty box comes out large and finite.
  const ORT_Vector3T<double>& first = corners.corners[0];
  KLY_Bounds result;
  result.min_x = result.max_x = first.x;
  result.min_y = result.max_y = first.y;
  result.min_z = result.max_z = first.z;
  for (int i = 1; i < 8; ++i) result += corners.corners[i];
  out = result;
}

bool KLY_Bounds::IsOverlapped(const KLY_Bounds& other) const {
  if (min_x > other.max_x || other.min_x > max_x) return false;
  if (min_y > other.max_y || other.min_y > max_y) return false;
  if (min_z > other.max_z || other.min_z > max_z) return false;
  return true;
}

bool KLY_Bounds::IsThin() const {
  // An empty box is never thin: its extents are 2e10.
  return std::fabs(max_x - min_x) < kThin || std::fabs(max_y - min_y) < kThin ||
         std::fabs(max_z - min_z) < kThin;
}

bool KLY_Bounds::HasArea() const {
  if (IsEmpty()) return false;
  return std::fabs(max_x - min_x) > kThin && std::fabs(max_y - min_y) > kThin;
}

bool KLY_Bounds::IsEqual(const KLY_Bounds& other) const {
  return KLY_IsNearlyEqual(min_x, other.min_x) && KLY_IsNearlyEqual(min_y, other.min_y) &&
         KLY_IsNearlyEqual(min_z, other.min_z) && KLY_IsNearlyEqual(max_x, other.max_x) &&
         KLY_IsNearlyEqual(max_y, other.max_y) && KLY_IsNearlyEqual(max_z, other.max_z);
}
