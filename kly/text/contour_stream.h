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

// A cubic's three points, each with the curve code.
inline void AppendOutlineCurve(KLY_Contour& contour, double x1, double y1, double x2, double y2,
                               double x3, double y3) {
  AppendOutlinePoint(contour, x1, y1, KLY_Contour::kCodeCurve);
  AppendOutlinePoint(contour, x2, y2, KLY_Contour::kCodeCurve);
  AppendOutlinePoint(contour, x3, y3, KLY_Contour::kCodeCurve);
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
