// The frame and the numbers of every file `kly` writes.
//
// The library's frame has x to the right, y down and z away from the viewer, and its triangles
// wind clockwise seen from outside: the right-handed cross product (p1 - p0) x (p2 - p0) points
// into the solid. glTF, OBJ, STL and PLY consumers expect +Y up, +Z toward the viewer and
// counter-clockwise front faces. So every position and normal goes through (x, y, z) ->
// (x, -y, -z), a half turn about x that keeps handedness, and every triangle is written with its
// second and third corners swapped, which turns the cross product outward.
//
// Every format stores 32-bit floats, so values are rounded once, and everything decided about a
// file (which vertices are equal, which triangles have an area) is decided on the rounded values.
#pragma once

#include <array>

#include "kly/host/ort.h"

namespace kly {
namespace cli {

using Float3 = std::array<float, 3>;
using Float2 = std::array<float, 2>;

// The frame change of positions and normals.
inline ORT_Vector3T<double> ToFileFrame(const ORT_Vector3T<double>& v) {
  return ORT_Vector3T<double>{v.x, -v.y, -v.z};
}

// Rounds to the nearest float; -0 becomes +0, so that equal values have equal bits (vertex
// sharing compares bits) and text files never show "-0".
inline float FileFloat(double value) {
  return static_cast<float>(value) + 0.0f;
}

}  // namespace cli
}  // namespace kly
