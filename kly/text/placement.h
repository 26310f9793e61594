// What letters and vector art share about matrices: the visibility test of a 2D matrix, the
// choice among a placement and a stack of placements, and the 2D placement as a 4x4 matrix.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/host/ort.h"

namespace kly {
namespace text {

// sqrt of the sum of the squares of the three elements of `row`.
double RowLength(const ORT_Matrix3& matrix, int row);

// Whether row 0 or row 1 is shorter than 0.0001 (strictly between -0.0001 and 0.0001, so a
// NaN length is not).
bool HasVanishingRow(const ORT_Matrix3& matrix);

// Element `index` of `stack`; past its end the last element; with an empty stack `single`.
// The index is widened to 64 bits and compared unsigned, so a negative one counts as past the
// end.
const ORT_Matrix3& ChoosePlacement(int32_t index, const std::vector<ORT_Matrix3>& stack,
                                   const ORT_Matrix3& single);

// `matrix` embedded in the xy plane (ORT_Matrix3ToMatrix4); a failing status is thrown.
ORT_Matrix4 Matrix4Of(const ORT_Matrix3& matrix);

// Translates `matrix` by `offset` along z, unless the offset is 0.0 (a NaN offset is not 0).
void TranslateByZOffset(float offset, ORT_Matrix4& matrix);

}  // namespace text
}  // namespace kly
