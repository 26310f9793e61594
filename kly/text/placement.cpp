#include "kly/text/placement.h"

#include <cmath>

#include "kly/package/failure.h"

namespace kly {
namespace text {

namespace {

// Rows shorter than this make a matrix that draws nothing visible.
constexpr double kVanishingRowLength = 0.0001;

bool IsVanishing(double length) {
  return length > -kVanishingRowLength && length < kVanishingRowLength;
}

}  // namespace

double RowLength(const ORT_Matrix3& matrix, int row) {
  const double* r = matrix.m[row];
  return std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
}

bool HasVanishingRow(const ORT_Matrix3& matrix) {
  return IsVanishing(RowLength(matrix, 0)) || IsVanishing(RowLength(matrix, 1));
}

const ORT_Matrix3& ChoosePlacement(int32_t index, const std::vector<ORT_Matrix3>& stack,
                                   const ORT_Matrix3& single) {
  const uint64_t widened = static_cast<uint64_t>(static_cast<int64_t>(index));
  if (widened < stack.size()) return stack[widened];
  if (!stack.empty()) return stack.back();
  return single;
}

ORT_Matrix4 Matrix4Of(const ORT_Matrix3& matrix) {
  ORT_Matrix4 out;
  KLY_Check(ORT_Matrix3ToMatrix4(matrix, out));
  return out;
}

void TranslateByZOffset(float offset, ORT_Matrix4& matrix) {
  if (offset != 0.0) KLY_Check(ORT_TranslateMatrix4(0.0, 0.0, offset, matrix));
}

}  // namespace text
}  // namespace kly
