#include "tests/testing/exact_sign.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace kly {
namespace testing {
namespace {

using Limbs = std::vector<uint32_t>;

void Trim(Limbs& m) {
  while (!m.empty() && m.back() == 0) m.pop_back();
}

Limbs ShiftLeft(const Limbs& m, int64_t bits) {
  if (m.empty()) return m;
  const size_t limbs = static_cast<size_t>(bits / 32);
  const int rest = static_cast<int>(bits % 32);
  Limbs r(limbs + m.size() + 1, 0);
  for (size_t i = 0; i < m.size(); ++i) {
    const uint64_t v = static_cast<uint64_t>(m[i]) << rest;
    r[i + limbs] |= static_cast<uint32_t>(v);
    r[i + limbs + 1] |= static_cast<uint32_t>(v >> 32);
  }
  Trim(r);
  return r;
}

int CompareMagnitude(const Limbs& a, const Limbs& b) {
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  for (size_t i = a.size(); i-- > 0;) {
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  }
  return 0;
}

Limbs AddMagnitude(const Limbs& a, const Limbs& b) {
  Limbs r(std::max(a.size(), b.size()) + 1, 0);
  uint64_t carry = 0;
  for (size_t i = 0; i < r.size(); ++i) {
    const uint64_t s = carry + (i < a.size() ? a[i] : 0) + (i < b.size() ? b[i] : 0);
    r[i] = static_cast<uint32_t>(s);
    carry = s >> 32;
  }
  Trim(r);
  return r;
}

// a - b for a >= b.
Limbs SubtractMagnitude(const Limbs& a, const Limbs& b) {
  Limbs r(a.size(), 0);
  int64_t borrow = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    int64_t d = static_cast<int64_t>(a[i]) - (i < b.size() ? b[i] : 0) - borrow;
    borrow = d < 0 ? 1 : 0;
    if (d < 0) d += int64_t{1} << 32;
    r[i] = static_cast<uint32_t>(d);
  }
  Trim(r);
  return r;
}

Limbs MultiplyMagnitude(const Limbs& a, const Limbs& b) {
  if (a.empty() || b.empty()) return {};
  Limbs r(a.size() + b.size(), 0);
  for (size_t i = 0; i < a.size(); ++i) {
    uint64_t carry = 0;
    for (size_t j = 0; j < b.size(); ++j) {
      const uint64_t t = static_cast<uint64_t>(a[i]) * b[j] + r[i + j] + carry;
      r[i + j] = static_cast<uint32_t>(t);
      carry = t >> 32;
    }
    r[i + b.size()] = static_cast<uint32_t>(carry);
  }
  Trim(r);
  return r;
}

// The double filter is used only while every non-zero difference lies within these powers of
// two, so that no product of the determinant can overflow or fall into the subnormal range;
// degree 2 allows 2^-500..2^500, degree 4 half of that.
bool FilterSafe(double d, double low, double high) {
  const double m = std::fabs(d);
  return m == 0.0 || (m >= low && m <= high);
}

constexpr double kEpsilon = DBL_EPSILON / 2;  // unit roundoff of round-to-nearest

int SignOf(double v) {
  return v > 0.0 ? 1 : (v < 0.0 ? -1 : 0);
}

}  // namespace

ExactNumber::ExactNumber(double value) {
  if (value == 0.0) return;
  negative_ = value < 0.0;
  int e = 0;
  const double m = std::frexp(std::fabs(value), &e);  // m in [0.5, 1), exact for subnormals too
  const auto mantissa = static_cast<uint64_t>(std::ldexp(m, 53));
  magnitude_ = {static_cast<uint32_t>(mantissa), static_cast<uint32_t>(mantissa >> 32)};
  Trim(magnitude_);
  exponent_ = e - 53;
}

int ExactNumber::Sign() const {
  return magnitude_.empty() ? 0 : (negative_ ? -1 : 1);
}

ExactNumber operator+(const ExactNumber& a, const ExactNumber& b) {
  if (a.magnitude_.empty()) return b;
  if (b.magnitude_.empty()) return a;
  const int64_t base = std::min(a.exponent_, b.exponent_);
  const Limbs am = ShiftLeft(a.magnitude_, a.exponent_ - base);
  const Limbs bm = ShiftLeft(b.magnitude_, b.exponent_ - base);
  ExactNumber r;
  r.exponent_ = base;
  if (a.negative_ == b.negative_) {
    r.negative_ = a.negative_;
    r.magnitude_ = AddMagnitude(am, bm);
  } else if (CompareMagnitude(am, bm) >= 0) {
    r.negative_ = a.negative_;
    r.magnitude_ = SubtractMagnitude(am, bm);
  } else {
    r.negative_ = b.negative_;
    r.magnitude_ = SubtractMagnitude(bm, am);
  }
  if (r.magnitude_.empty()) r.negative_ = false;
  return r;
}

ExactNumber operator-(const ExactNumber& a, const ExactNumber& b) {
  ExactNumber negated = b;
  negated.negative_ = !b.negative_;
  return a + negated;
}

ExactNumber operator*(const ExactNumber& a, const ExactNumber& b) {
  ExactNumber r;
  r.magnitude_ = MultiplyMagnitude(a.magnitude_, b.magnitude_);
  r.negative_ = !r.magnitude_.empty() && (a.negative_ != b.negative_);
  r.exponent_ = a.exponent_ + b.exponent_;
  return r;
}

int OrientSign(Point2 a, Point2 b, Point2 c) {
  const double acx = a.x - c.x, bcy = b.y - c.y, acy = a.y - c.y, bcx = b.x - c.x;
  const double low = std::ldexp(1.0, -500), high = std::ldexp(1.0, 500);
  if (FilterSafe(acx, low, high) && FilterSafe(bcy, low, high) && FilterSafe(acy, low, high) &&
      FilterSafe(bcx, low, high)) {
    const double left = acx * bcy, right = acy * bcx;
    const double det = left - right;
    // Each product carries at most 3 roundings and the difference one more: 4u of the
    // permanent; doubled for the rounding of the bound itself.
    if (std::fabs(det) > 8 * kEpsilon * (std::fabs(left) + std::fabs(right))) return SignOf(det);
  }
  const ExactNumber ax(a.x), ay(a.y), bx(b.x), by(b.y), cx(c.x), cy(c.y);
  return ((ax - cx) * (by - cy) - (ay - cy) * (bx - cx)).Sign();
}

int InCircleSign(Point2 a, Point2 b, Point2 c, Point2 d) {
  const double adx = a.x - d.x, ady = a.y - d.y, bdx = b.x - d.x, bdy = b.y - d.y;
  const double cdx = c.x - d.x, cdy = c.y - d.y;
  const double low = std::ldexp(1.0, -250), high = std::ldexp(1.0, 250);
  bool safe = true;
  for (double v : {adx, ady, bdx, bdy, cdx, cdy}) safe = safe && FilterSafe(v, low, high);
  if (safe) {
    const double alift = adx * adx + ady * ady, blift = bdx * bdx + bdy * bdy;
    const double clift = cdx * cdx + cdy * cdy;
    const double bc = bdx * cdy - cdx * bdy, ca = cdx * ady - adx * cdy, ab = adx * bdy - bdx * ady;
    const double det = alift * bc + blift * ca + clift * ab;
    const double permanent = alift * (std::fabs(bdx * cdy) + std::fabs(cdx * bdy)) +
                             blift * (std::fabs(cdx * ady) + std::fabs(adx * cdy)) +
                             clift * (std::fabs(adx * bdy) + std::fabs(bdx * ady));
    // About 12u of the permanent by the same counting as above; 32u leaves a wide margin.
    if (std::fabs(det) > 32 * kEpsilon * permanent) return SignOf(det);
  }
  const ExactNumber dx(d.x), dy(d.y);
  const ExactNumber eadx = ExactNumber(a.x) - dx, eady = ExactNumber(a.y) - dy;
  const ExactNumber ebdx = ExactNumber(b.x) - dx, ebdy = ExactNumber(b.y) - dy;
  const ExactNumber ecdx = ExactNumber(c.x) - dx, ecdy = ExactNumber(c.y) - dy;
  const ExactNumber alift = eadx * eadx + eady * eady, blift = ebdx * ebdx + ebdy * ebdy;
  const ExactNumber clift = ecdx * ecdx + ecdy * ecdy;
  return (alift * (ebdx * ecdy - ecdx * ebdy) + blift * (ecdx * eady - eadx * ecdy) +
          clift * (eadx * ebdy - ebdx * eady))
      .Sign();
}

int DotSign(Point2 p, Point2 a, Point2 b) {
  const double apx = a.x - p.x, apy = a.y - p.y, bpx = b.x - p.x, bpy = b.y - p.y;
  const double low = std::ldexp(1.0, -500), high = std::ldexp(1.0, 500);
  if (FilterSafe(apx, low, high) && FilterSafe(apy, low, high) && FilterSafe(bpx, low, high) &&
      FilterSafe(bpy, low, high)) {
    const double left = apx * bpx, right = apy * bpy;
    const double dot = left + right;
    if (std::fabs(dot) > 8 * kEpsilon * (std::fabs(left) + std::fabs(right))) return SignOf(dot);
  }
  const ExactNumber px(p.x), py(p.y);
  return ((ExactNumber(a.x) - px) * (ExactNumber(b.x) - px) +
          (ExactNumber(a.y) - py) * (ExactNumber(b.y) - py))
      .Sign();
}

}  // namespace testing
}  // namespace kly
