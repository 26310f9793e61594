// Contours to host paths and back, for the host's path services.
#pragma once

#include <vector>

#include "kly/curves/contour.h"
#include "kly/host/hbn_paths.h"

namespace kly {
namespace extrusion {

// A closed chain of cubics as a host path: a move, three curve points a cubic, and a close at
// the first point; coordinates narrowed to floats, z dropped.
void ChainToPath(const std::vector<ORT_Vector3T<double>>& chain, HBN_T_NMT::CPVKBezierPath& path);

// Appends a service's result to the empty `out` when it has three points or more: moves,
// lines and curve points become points of code 0, 1 and 2 at z = 0, closes (and any other
// type) are skipped, and `out` is closed.
void PathToContour(const HBN_T_NMT::CPVKBezierPath& path, KLY_Contour& out);

}  // namespace extrusion
}  // namespace kly
