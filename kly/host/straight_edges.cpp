#include "kly/host/straight_edges.h"

#include <algorithm>
#include <cmath>

namespace kly {
namespace host {
namespace {

// A monotonic stand-in for the angle of the undirected direction `d`, in [0, 2): 0 along +x,
// 1 along +y, towards 2 along -x. Cheaper than atan2, and its slope is at most 1 per radian.
double DirectionKey(Vec2 d) {
  if (d.y < 0.0 || (d.y == 0.0 && d.x < 0.0)) d = d * -1.0;
  const double sum = std::fabs(d.x) + std::fabs(d.y);
  if (sum == 0.0) return 0.0;
  return 1.0 - d.x / sum;
}

}  // namespace

void StraightEdges::Build(const std::vector<Vec2>& polygon, const std::vector<unsigned char>& lines,
                          bool clockwise, double delta) {
  lines_.clear();
  const size_t n = polygon.size();
  for (size_t i = 0; i < n; ++i) {
    if (!lines[i]) continue;
    // Clipper offsets the polygon's points rounded to its grid.
    const Vec2 a = polygon[i], b = polygon[i + 1 == n ? 0 : i + 1];
    const Vec2 ga{std::round(a.x), std::round(a.y)}, gb{std::round(b.x), std::round(b.y)};
    const Vec2 unit = Unit(gb - ga);
    if (unit.x == 0.0 && unit.y == 0.0) continue;
    // The outer side: the right of a counter-clockwise polygon, the left of a clockwise one.
    const Vec2 outer = clockwise ? Vec2{-unit.y, unit.x} : Vec2{unit.y, -unit.x};
    lines_.push_back({DirectionKey(unit), unit, ga + outer * delta});
  }
  std::sort(lines_.begin(), lines_.end(),
            [](const Line& x, const Line& y) { return x.key < y.key; });
}

void StraightEdges::Mark(const std::vector<Vec2>& offset, double min_length, double slack,
                         std::vector<unsigned char>& flags) const {
  const size_t n = offset.size();
  flags.assign(n, 0);
  if (lines_.empty()) return;
  for (size_t i = 0; i < n; ++i) {
    const Vec2 p = offset[i], q = offset[i + 1 == n ? 0 : i + 1];
    const Vec2 d = q - p;
    const double length = Length(d);
    if (length < min_length || length == 0.0) continue;
    // Both ends within `slack` of a line turn the edge by at most 2 slack / length from it.
    const double key = DirectionKey(d);
    const double spread = 2.0 * slack / length + 1e-12;
    const auto on_line = [&](const Line& line) {
      return std::fabs(Cross(line.unit, p - line.on)) <= slack &&
             std::fabs(Cross(line.unit, q - line.on)) <= slack;
    };
    const auto search = [&](double lo, double hi) {
      auto it = std::lower_bound(lines_.begin(), lines_.end(), lo,
                                 [](const Line& line, double k) { return line.key < k; });
      for (; it != lines_.end() && it->key <= hi; ++it) {
        if (on_line(*it)) return true;
      }
      return false;
    };
    // The key wraps from 2 back to 0 (directions along x).
    bool found = search(key - spread, key + spread);
    if (!found && key - spread < 0.0) found = search(key - spread + 2.0, 2.0);
    if (!found && key + spread > 2.0) found = search(0.0, key + spread - 2.0);
    flags[i] = found ? 1 : 0;
  }
}

}  // namespace host
}  // namespace kly
