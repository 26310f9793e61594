// The SVG reader's plane geometry in doubles: the affine matrix of transforms and viewports,
// and the path that path data and basic shapes are turned into before they reach a host path.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/host/hbn_paths.h"
#include "kly/host/vec2.h"

namespace kly {
namespace host {

// SVG's matrix(a b c d e f): (x, y) becomes (a x + c y + e, b x + d y + f).
struct SvgMatrix {
  double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

  static SvgMatrix Translate(double x, double y) { return {1, 0, 0, 1, x, y}; }
  static SvgMatrix Scale(double x, double y) { return {x, 0, 0, y, 0, 0}; }

  Vec2 Apply(Vec2 p) const { return {a * p.x + c * p.y + e, b * p.x + d * p.y + f}; }
  bool IsFinite() const;
};

// `outer` after `inner`: the matrix of a child's transform `inner` inside a parent whose
// transform is `outer`.
SvgMatrix operator*(const SvgMatrix& outer, const SvgMatrix& inner);

// Points with the types of HBN_T_NMT::CPVKBezierPath (move, line, three curve points, close),
// built so that every subpath that has a piece ends with a close, and no subpath is a lone
// move.
class SvgPath {
 public:
  // Starts a subpath; nothing is stored until a piece follows.
  void MoveTo(Vec2 p);
  void LineTo(Vec2 p);
  void CubicTo(Vec2 c1, Vec2 c2, Vec2 p);
  // Closes the subpath; the current point goes back to its start.
  void Close();

  Vec2 Current() const { return current_; }
  const std::vector<Vec2>& Points() const { return points_; }
  const std::vector<int32_t>& Types() const { return types_; }
  bool Empty() const { return types_.empty(); }

  // Every point through `matrix`, appended to `out`. False, with `out` part-filled, at the
  // first point that single precision cannot hold.
  bool AppendTo(const SvgMatrix& matrix, HBN_T_NMT::CPVKBezierPath& out) const;

 private:
  void BeginPiece();
  void Push(Vec2 p, int32_t type);

  std::vector<Vec2> points_;
  std::vector<int32_t> types_;
  Vec2 start_{0.0, 0.0};
  Vec2 current_{0.0, 0.0};
  bool open_ = false;  // a subpath has stored pieces and no close yet
};

}  // namespace host
}  // namespace kly
