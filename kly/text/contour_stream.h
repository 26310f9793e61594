// The steps both outline players share: a point and its code appended as a pair, and the
// contour being built stored, closed, among the finished ones.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/curves/contour.h"

namespace kly {
namespace text {

inline void AppendOutlinePoint(KLY_Contour& contour, double x, double y, uint32_t code) {
  contour.AppendVertexPosition({x, y, 0.0});
  contour.AppendVertexCode(code);
}

// Stores a copy of `current`, closed, if it has points; then empties it for the next contour.
inline void FinishOutlineContour(std::vector<KLY_Contour>& contours, KLY_Contour& current) {
  if (current.Size() != 0) {
    current.SetClosed(true);
    contours.push_back(current);
  }
  current.ClearVerticesAndCodes();
}

}  // namespace text
}  // namespace kly
