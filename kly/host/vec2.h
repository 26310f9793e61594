// Plane vectors of doubles for the standalone path services (flattening, offsetting, fitting).
#pragma once

#include <cmath>

#include "kly/host/ort.h"

namespace kly {
namespace host {

using Vec2 = ORT_Vector2T<double>;

inline double Dot(Vec2 a, Vec2 b) {
  return a.x * b.x + a.y * b.y;
}
// The z of the cross product: positive when b turns counter-clockwise from a.
inline double Cross(Vec2 a, Vec2 b) {
  return a.x * b.y - a.y * b.x;
}
inline double Length(Vec2 a) {
  return std::sqrt(a.x * a.x + a.y * a.y);
}
inline Vec2 Mid(Vec2 a, Vec2 b) {
  return {0.5 * (a.x + b.x), 0.5 * (a.y + b.y)};
}
// `a` scaled to length 1, or {0, 0} when it has no length.
inline Vec2 Unit(Vec2 a) {
  const double length = Length(a);
  return length > 0.0 ? a * (1.0 / length) : Vec2{0.0, 0.0};
}

}  // namespace host
}  // namespace kly
