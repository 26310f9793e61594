// Exact signs of the small determinants a triangulation is judged by, for the test checker.
//
// Written from first principles and sharing nothing with the engine: a determinant is first
// evaluated in doubles with a generous error bound, and when the sign is in doubt (or a product
// could overflow or underflow) it is evaluated again with unbounded binary integers, where every
// double is an exact integer times a power of two. Inputs must be finite.
#pragma once

#include <cstdint>
#include <vector>

namespace kly {
namespace testing {

// An exact binary number: (-1)^negative * magnitude * 2^exponent, magnitude in 32-bit limbs.
class ExactNumber {
 public:
  explicit ExactNumber(double value);
  int Sign() const;
  friend ExactNumber operator+(const ExactNumber& a, const ExactNumber& b);
  friend ExactNumber operator-(const ExactNumber& a, const ExactNumber& b);
  friend ExactNumber operator*(const ExactNumber& a, const ExactNumber& b);

 private:
  ExactNumber() = default;
  bool negative_ = false;
  std::vector<uint32_t> magnitude_;  // little endian, no leading zero limb; empty is zero
  int64_t exponent_ = 0;
};

struct Point2 {
  double x;
  double y;
};

// +1 when a, b, c turn counter-clockwise, -1 clockwise, 0 collinear.
int OrientSign(Point2 a, Point2 b, Point2 c);

// +1 when d lies strictly inside the circle through the counter-clockwise a, b, c, -1 outside,
// 0 on it. For clockwise a, b, c the sign is reversed.
int InCircleSign(Point2 a, Point2 b, Point2 c, Point2 d);

// Sign of (a - p) . (b - p): negative when p sees the segment ab at more than 90 degrees, i.e.
// p lies strictly inside the circle with diameter ab.
int DotSign(Point2 p, Point2 a, Point2 b);

}  // namespace testing
}  // namespace kly
