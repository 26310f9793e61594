#include "kly/host/svg_geometry.h"

#include <cmath>

namespace kly {
namespace host {

bool SvgMatrix::IsFinite() const {
  return std::isfinite(a) && std::isfinite(b) && std::isfinite(c) && std::isfinite(d) &&
         std::isfinite(e) && std::isfinite(f);
}

SvgMatrix operator*(const SvgMatrix& outer, const SvgMatrix& inner) {
  return {outer.a * inner.a + outer.c * inner.b,
          outer.b * inner.a + outer.d * inner.b,
          outer.a * inner.c + outer.c * inner.d,
          outer.b * inner.c + outer.d * inner.d,
          outer.a * inner.e + outer.c * inner.f + outer.e,
          outer.b * inner.e + outer.d * inner.f + outer.f};
}

void SvgPath::MoveTo(Vec2 p) {
  if (open_) Close();
  start_ = current_ = p;
}

void SvgPath::LineTo(Vec2 p) {
  BeginPiece();
  Push(p, HBN_T_NMT::kPathLine);
}

void SvgPath::CubicTo(Vec2 c1, Vec2 c2, Vec2 p) {
  BeginPiece();
  Push(c1, HBN_T_NMT::kPathCurve);
  Push(c2, HBN_T_NMT::kPathCurve);
  Push(p, HBN_T_NMT::kPathCurve);
}

void SvgPath::Close() {
  if (open_) Push(start_, HBN_T_NMT::kPathClose);
  open_ = false;
  current_ = start_;
}

void SvgPath::BeginPiece() {
  if (open_) return;
  // A piece after a close starts a new subpath at the closed one's start.
  Push(start_, HBN_T_NMT::kPathMove);
  open_ = true;
}

void SvgPath::Push(Vec2 p, int32_t type) {
  points_.push_back(p);
  types_.push_back(type);
  current_ = p;
}

bool SvgPath::AppendTo(const SvgMatrix& matrix, HBN_T_NMT::CPVKBezierPath& out) const {
  for (size_t i = 0; i < types_.size(); ++i) {
    const Vec2 p = matrix.Apply(points_[i]);
    const float x = static_cast<float>(p.x);
    const float y = static_cast<float>(p.y);
    if (!std::isfinite(x) || !std::isfinite(y)) return false;
    out.Append(x, y, types_[i]);
  }
  return true;
}

}  // namespace host
}  // namespace kly
