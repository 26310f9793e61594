// The host graphics manager's path objects, reached through the binding layer: a Bezier path
// of 32-bit float points with a type each, the manager's path made from it, and the binding
// layer's failure.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace HBN_T_NMT {

// Point types of a path: a move starts a subpath, a line or three curve points (two controls,
// then the end) continue it, a close ends it at its first point.
enum : int32_t { kPathMove = 0, kPathLine = 1, kPathCurve = 2, kPathClose = 3 };

// What the binding layer throws: a failed allocation, an overflow, a misuse of a path.
class CHBNError : public std::exception {
 public:
  explicit CHBNError(std::string text) : text_(std::move(text)) {}
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

// Arrays of (x, y) and of types, in step.
class CPVKBezierPath {
 public:
  // More points than this overflow the path's 32-bit byte count.
  static constexpr uint32_t kMaxPoints = 0x0FFFFFFF;

  // Appends one point. Throws CHBNError("no current point") when the path is empty and the
  // type is not a move, and CHBNError("Math overflow exception") past kMaxPoints.
  void Append(float x, float y, int32_t type);
  void Clear();

  uint32_t Count() const { return static_cast<uint32_t>(types_.size()); }
  // 2 Count() floats: x0, y0, x1, y1, ...
  const float* Points() const { return points_.data(); }
  const int32_t* Types() const { return types_.data(); }

 private:
  std::vector<float> points_;
  std::vector<int32_t> types_;
};

// The graphics manager's own path, made from a Bezier path (copied).
class CGFKPath {
 public:
  explicit CGFKPath(const CPVKBezierPath& path) : path_(path) {}

  // The data query: the three values a path service reads, the point array (2 count floats),
  // the type array and the count. They stay valid while this path lives.
  void GetData(const float*& points, const int32_t*& types, int32_t& count) const;

  // The path interface's transform. `matrix` is {a, b, c, d, tx, ty}: every point (x, y)
  // becomes (a x + c y + tx, b x + d y + ty), the first two columns of an ORT_Matrix3 acting
  // on row vectors. Returns 0 and sets `result` to the new path, or a non-zero status and
  // leaves `result` alone. Calls the seam's `transform_path` (services.h).
  int32_t Transform(const float matrix[6], std::unique_ptr<CGFKPath>& result) const;

 private:
  CPVKBezierPath path_;
};

}  // namespace HBN_T_NMT

namespace kly {
namespace host {
// The standalone path transform, the seam's default: fails with NUT_kErrBadArgument when a
// transformed point is not finite in single precision.
int32_t TransformPath(const HBN_T_NMT::CGFKPath& path, const float matrix[6],
                      std::unique_ptr<HBN_T_NMT::CGFKPath>& result);
}  // namespace host
}  // namespace kly
