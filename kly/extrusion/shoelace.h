// The signed area sum by which the extrusion tells windings.
#pragma once

#include <cstddef>
#include <vector>

#include "kly/host/ort.h"

namespace kly {
namespace extrusion {

// Twice the signed area, without the term from the last point back to the first: the
// flattened polygons repeat their first point at the end, so that term is zero for them.
// Not below zero means counter-clockwise (y up).
inline double OpenShoelaceSum(const std::vector<ORT_Vector3T<double>>& polygon) {
  double sum = 0.0;
  for (std::size_t j = 0; j + 1 < polygon.size(); ++j)
    sum += polygon[j].x * polygon[j + 1].y - polygon[j].y * polygon[j + 1].x;
  return sum;
}

}  // namespace extrusion
}  // namespace kly
