// How a wall patch is spread from one contour cubic: its four control points and, for each, the
// direction it moves per unit of the profile's outset. A frame depends on the contour cubic
// alone, so every band of a wall shares the frames of its cubics.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/curves/contour.h"
#include "kly/curves/cubic_bezier_patch.h"
#include "kly/host/ort.h"

namespace kly {
namespace extrusion {

struct PatchFrame {
  ORT_Vector3T<double> points[4];      // Q0 .. Q3 of the contour cubic
  ORT_Vector3T<double> directions[4];  // s0 A0, Wa M1, Wb M2, s1 A1
};

// The frame of cubic `curveIndex` of a closed chain of cubics: mitred corner directions shared
// with the neighbouring cubics, inner directions at the nearest points of the inner control
// points. Fails with 4363 for a normal too short to normalise, and with std::out_of_range
// "invalid vector<T> subscript" for a cubic past the chain.
PatchFrame MakePatchFrame(const std::vector<ORT_Vector3T<double>>& chain, uint32_t curveIndex);

// The sixteen points of the patch of `frame` and cubic `profileIndex` of `profile`: row r is the
// frame moved by the profile point's outset x, at the profile point's depth z.
void SpreadPatchFrame(const PatchFrame& frame, KLY_Contour& profile, uint32_t profileIndex,
                      tagCUBIC_PATCH_PTS& out);

}  // namespace extrusion
}  // namespace kly
