#include "kly/host/path_flatten.h"

#include <cmath>

namespace kly {
namespace host {
namespace {

// Halvings of one cubic at most: 2^16 chords.
constexpr int kMaxDepth = 16;
// A piece of a curve shorter than this (in the scaled frame, whose unit is the offset grid's)
// is one chord whatever its shape.
constexpr double kNegligible = 0.5;
// Next to a corner of the path, the tangent may turn only this share of max_turn along a
// chord: an offset mitres the corner along the chord, which must then follow the tangent.
constexpr double kEndTurnShare = 0.25;

struct Flattener {
  const FlattenOptions& options;
  std::vector<Vec2>& polygon;
  std::vector<unsigned char>& lines;
  double cos_turn;
  double cos_end_turn;

  // Adds an edge to `p`, a line of the path or a chord.
  void Add(Vec2 p, bool line) {
    if (!polygon.empty()) {
      if (polygon.back() == p) return;
      lines.back() = line ? 1 : 0;
    }
    polygon.push_back(p);
    lines.push_back(0);
  }

  // Whether the tangent turns by at most max_turn from `a` to `b` (legs of a control polygon);
  // a leg without length says nothing.
  static bool SmallTurn(Vec2 a, Vec2 b, double cos_limit) {
    const double la = Length(a), lb = Length(b);
    if (la == 0.0 || lb == 0.0) return true;
    return Dot(a, b) >= cos_limit * la * lb;
  }

  // Distance of `p` from the chord's line, or from `p0` when the chord has no length.
  static double OffChord(Vec2 p0, Vec2 chord, double chord_length, Vec2 p) {
    if (chord_length == 0.0) return Length(p - p0);
    return std::fabs(Cross(chord, p - p0)) / chord_length;
  }

  bool IsLine(Vec2 p0, Vec2 p1, Vec2 p2, Vec2 p3) const {
    const Vec2 chord = p3 - p0;
    const double length = Length(chord);
    if (length == 0.0) return false;
    const double eps = options.line_epsilon;
    for (Vec2 c : {p1, p2}) {
      if (OffChord(p0, chord, length, c) > eps) return false;
      const double along = Dot(c - p0, chord) / length;
      if (along < -eps || along > length + eps) return false;
    }
    return true;
  }

  // `sharp`: the piece ends at a corner of the path, where the chord must follow the curve's
  // tangent closely (an offset mitres the corner along the chord).
  bool OneChord(Vec2 p0, Vec2 p1, Vec2 p2, Vec2 p3, bool sharp) const {
    const Vec2 chord = p3 - p0;
    const double length = Length(chord);
    const double off = std::fmax(OffChord(p0, chord, length, p1), OffChord(p0, chord, length, p2));
    if (length <= kNegligible && off <= kNegligible) return true;
    if (off > options.flatness) return false;
    Vec2 first = p1 - p0, last = p3 - p2;
    if (first.x == 0.0 && first.y == 0.0) first = p2 - p0;
    if (last.x == 0.0 && last.y == 0.0) last = p3 - p1;
    const double cos_limit = sharp ? cos_end_turn : cos_turn;
    return SmallTurn(first, last, cos_limit) && SmallTurn(first, p2 - p1, cos_limit) &&
           SmallTurn(p2 - p1, last, cos_limit);
  }

  // Chords of the cubic; `sharp_start` and `sharp_end` tell whether its ends are corners.
  void Cubic(Vec2 p0, Vec2 p1, Vec2 p2, Vec2 p3, bool sharp_start, bool sharp_end, int depth) {
    if (depth >= kMaxDepth || OneChord(p0, p1, p2, p3, sharp_start || sharp_end)) {
      Add(p3, false);
      return;
    }
    const Vec2 a = Mid(p0, p1), b = Mid(p1, p2), c = Mid(p2, p3);
    const Vec2 ab = Mid(a, b), bc = Mid(b, c);
    const Vec2 m = Mid(ab, bc);
    Cubic(p0, a, ab, m, sharp_start, false, depth + 1);
    Cubic(m, bc, c, p3, false, sharp_end, depth + 1);
  }
};

// The tangent at the start of a segment from `from`, and at its end.
Vec2 StartTangent(Vec2 from, const PathSegment& s) {
  if (!s.cubic) return s.end - from;
  if (s.c1 != from) return s.c1 - from;
  return s.c2 != from ? s.c2 - from : s.end - from;
}
Vec2 EndTangent(Vec2 from, const PathSegment& s) {
  if (!s.cubic) return s.end - from;
  if (s.c2 != s.end) return s.end - s.c2;
  return s.c1 != s.end ? s.end - s.c1 : s.end - from;
}

// Drops the points that lie within `noise` of the edge that replaces them, in one pass: a
// point goes when it and the points dropped since the last kept one all lie within `noise`
// of the edge from the last kept point to the next point, and the edges on both sides are of
// one kind (lines or chords). At most kMaxDropped points go in a row, which keeps the pass
// linear.
constexpr size_t kMaxDropped = 32;

void DropNoise(double noise, std::vector<Vec2>& polygon, std::vector<unsigned char>& lines) {
  const size_t n = polygon.size();
  if (!(noise > 0.0) || n < 4) return;
  size_t kept = 1;          // polygon[0 .. kept) are kept; polygon[0] always
  size_t dropped_from = 1;  // the points dropped since the last kept one start here
  for (size_t i = 1; i < n; ++i) {
    const Vec2 anchor = polygon[kept - 1];
    const Vec2 next = polygon[i + 1 == n ? 0 : i + 1];
    bool drop = lines[kept - 1] == lines[i] && i - dropped_from < kMaxDropped;
    if (drop) {
      const Vec2 edge = next - anchor;
      const double length = Length(edge);
      for (size_t k = dropped_from; k <= i && drop; ++k) {
        const Vec2 p = polygon[k] - anchor;
        const double along = length > 0.0 ? Dot(p, edge) / length : 0.0;
        drop = along >= 0.0 && along <= length &&
               (length > 0.0 ? std::fabs(Cross(edge, p)) / length : Length(p)) <= noise;
      }
    }
    if (!drop) {
      polygon[kept] = polygon[i];
      lines[kept] = lines[i];
      ++kept;
      dropped_from = i + 1;
    }
  }
  polygon.resize(kept);
  lines.resize(kept);
}

}  // namespace

void FlattenSubpath(const ClosedPath& path, const Subpath& subpath, const FlattenOptions& options,
                    std::vector<Vec2>& polygon, std::vector<unsigned char>& lines) {
  polygon.clear();
  lines.clear();
  Flattener f{options, polygon, lines, std::cos(options.max_turn),
              std::cos(kEndTurnShare * options.max_turn)};
  const auto frame = [&](Vec2 p) { return (p - options.origin) * options.scale; };
  const size_t first = subpath.first, count = subpath.count;
  const auto from_of = [&](size_t k) {  // where segment first + k starts
    return k == 0 ? subpath.start : path.segments[first + k - 1].end;
  };
  const auto smooth = [&](Vec2 in, Vec2 out) {
    return Flattener::SmallTurn(in, out, f.cos_end_turn);
  };
  Vec2 current = frame(subpath.start);
  f.Add(current, false);
  for (size_t k = 0; k < count; ++k) {
    const PathSegment& s = path.segments[first + k];
    const Vec2 end = frame(s.end);
    if (!s.cubic) {
      f.Add(end, true);
    } else {
      const Vec2 c1 = frame(s.c1), c2 = frame(s.c2);
      if (f.IsLine(current, c1, c2, end)) {
        f.Add(end, true);
      } else {
        // Corners with the neighbouring segments (cyclic), told in the path's own frame.
        const Vec2 from = from_of(k);
        const size_t before = k == 0 ? count - 1 : k - 1, after = k + 1 == count ? 0 : k + 1;
        const bool sharp_start = !smooth(EndTangent(from_of(before), path.segments[first + before]),
                                         StartTangent(from, s));
        const bool sharp_end =
            !smooth(EndTangent(from, s), StartTangent(s.end, path.segments[first + after]));
        f.Cubic(current, c1, c2, end, sharp_start, sharp_end, 0);
      }
    }
    current = end;
  }
  // The last piece ends at the start: its edge is the closing one, and the start is not
  // repeated.
  if (polygon.size() > 1 && polygon.back() == polygon.front()) {
    polygon.pop_back();
    lines.pop_back();
  }
  DropNoise(options.noise, polygon, lines);
}

}  // namespace host
}  // namespace kly
