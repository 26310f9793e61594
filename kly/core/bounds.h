// The library's axis-aligned box, and the plain structures that go with it.
//
// A box is empty when min_x is exactly 1e10 or max_x exactly -1e10 (only x is looked at), so
// coordinates at or beyond 1e10 are outside what a box can hold.
#pragma once

#include "kly/host/ort.h"

struct tagBounds {
  double min_x, min_y, min_z, max_x, max_y, max_z;
};

// Corners in the order of KLY_Bounds::FillCorners.
struct tagCorners {
  ORT_Vector3T<double> corners[8];
};

// A rectangle in its own plane; nothing requires left < right or top < bottom.
struct KLY_Rectangle {
  double left, top, right, bottom;
};

class KLY_Bounds {
 public:
  static constexpr double kEmptyMin = 1e10;
  static constexpr double kEmptyMax = -1e10;

  KLY_Bounds() { Empty(); }

  void Empty();
  bool IsEmpty() const { return min_x == kEmptyMin || max_x == kEmptyMax; }

  KLY_Bounds& operator=(const KLY_Bounds& other) = default;
  // A box centred on the origin with half extents |v.x|, |v.y|, |v.z|.
  KLY_Bounds& operator=(const ORT_Vector3T<double>& half_extents);
  KLY_Bounds& operator+=(const KLY_Bounds& other);
  KLY_Bounds& operator+=(const ORT_Vector3T<double>& point) {
    if (point.x < min_x) min_x = point.x;
    if (point.y < min_y) min_y = point.y;
    if (point.z < min_z) min_z = point.z;
    if (point.x > max_x) max_x = point.x;
    if (point.y > max_y) max_y = point.y;
    if (point.z > max_z) max_z = point.z;
    return *this;
  }

  // The box of the eight transformed corners; an empty box comes out large, not empty.
  void Transform(const ORT_Matrix4& matrix, KLY_Bounds& out) const;
  void Transform(const ORT_Matrix4& matrix, tagCorners& out) const;
  void FillCorners(tagCorners& out) const;

  // Touching boxes overlap; no tolerance.
  bool IsOverlapped(const KLY_Bounds& other) const;
  // Some axis narrower than 1e-6; an empty box is not thin.
  bool IsThin() const;
  // Wider than 1e-6 in both x and y; z is not looked at.
  bool HasArea() const;
  // Each of the six values equal within 1e-12 relative, floor 1.000088900582341e-12.
  bool IsEqual(const KLY_Bounds& other) const;

  void GetBounds(tagBounds& out) const { out = {min_x, min_y, min_z, max_x, max_y, max_z}; }
  void GetCenter(ORT_Vector3T<double>& out) {
    out = {(min_x + max_x) * 0.5, (min_y + max_y) * 0.5, (min_z + max_z) * 0.5};
  }
  void GetDimensions(ORT_Vector3T<double>& out) {
    out = {max_x - min_x, max_y - min_y, max_z - min_z};
  }

  double min_x, min_y, min_z, max_x, max_y, max_z;
};

// Near-equality of two doubles: relative 1e-12 of the larger magnitude, with an absolute floor
// of 1.000088900582341e-12 (that number exactly, not 1e-12).
bool KLY_IsNearlyEqual(double a, double b);
