#include "kly/host/path_rework.h"

#include <cmath>
#include <vector>

#include "kly/host/hbn_paths.h"
#include "kly/host/nut.h"
#include "kly/host/services.h"

namespace kly {
namespace host {
namespace {

struct Point {
  double x;
  double y;
};

// A line has one point (its end), a cubic three (two controls, then the end).
struct Piece {
  bool cubic;
  Point p[3];
  const Point& end() const { return cubic ? p[2] : p[0]; }
};

struct Subpath {
  Point start;
  std::vector<Piece> pieces;
};

// Relative tolerance of the straightness tests, a few units of a float's last place.
constexpr double kStraight = 1e-6;

double Cross(Point a, Point b) {
  return a.x * b.y - a.y * b.x;
}
double Dot(Point a, Point b) {
  return a.x * b.x + a.y * b.y;
}
Point Minus(Point a, Point b) {
  return {a.x - b.x, a.y - b.y};
}
bool Same(Point a, Point b) {
  return a.x == b.x && a.y == b.y;
}

// Whether `p` lies on the segment from `a` to `b`, ends included.
bool OnSegment(Point a, Point b, Point p) {
  const Point chord = Minus(b, a);
  const Point leg = Minus(p, a);
  const double length2 = Dot(chord, chord);
  if (std::fabs(Cross(chord, leg)) > kStraight * length2) return false;
  const double along = Dot(chord, leg);
  return along >= 0.0 && along <= length2;
}

// Splits the path into subpaths; false for a malformed one.
bool Parse(const float* xy, const int32_t* types, int32_t count, std::vector<Subpath>& out) {
  bool open = false;
  for (int32_t k = 0; k < count; ++k) {
    const Point p{xy[2 * k], xy[2 * k + 1]};
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) return false;
    switch (types[k]) {
      case HBN_T_NMT::kPathMove:
        if (open) return false;
        out.push_back({p, {}});
        open = true;
        break;
      case HBN_T_NMT::kPathLine:
        if (!open) return false;
        out.back().pieces.push_back({false, {p, p, p}});
        break;
      case HBN_T_NMT::kPathCurve: {
        if (!open || k + 2 >= count) return false;
        if (types[k + 1] != HBN_T_NMT::kPathCurve || types[k + 2] != HBN_T_NMT::kPathCurve)
          return false;
        const Point c1{xy[2 * k + 2], xy[2 * k + 3]};
        const Point c2{xy[2 * k + 4], xy[2 * k + 5]};
        if (!std::isfinite(c1.x + c1.y + c2.x + c2.y)) return false;
        out.back().pieces.push_back({true, {p, c1, c2}});
        k += 2;
        break;
      }
      case HBN_T_NMT::kPathClose:
        if (!open) return false;
        // The close draws the last stretch back to the start, as a line when it is not there.
        if (!Same(p, out.back().start)) return false;
        if (out.back().pieces.empty() || !Same(out.back().pieces.back().end(), p))
          out.back().pieces.push_back({false, {p, p, p}});
        open = false;
        break;
      default:
        return false;
    }
  }
  return !open;
}

std::vector<Piece> Rework(const Subpath& subpath) {
  std::vector<Piece> kept;
  Point from = subpath.start;
  for (Piece piece : subpath.pieces) {
    const Point to = piece.end();
    if (piece.cubic && OnSegment(from, to, piece.p[0]) && OnSegment(from, to, piece.p[1]))
      piece = {false, {to, to, to}};
    const bool empty = piece.cubic
                           ? Same(from, piece.p[0]) && Same(from, piece.p[1]) && Same(from, to)
                           : Same(from, to);
    if (empty) continue;
    if (!piece.cubic && !kept.empty() && !kept.back().cubic) {
      const Point before = kept.size() > 1 ? kept[kept.size() - 2].end() : subpath.start;
      const Point a = Minus(from, before);
      const Point b = Minus(to, from);
      if (std::fabs(Cross(a, b)) <= kStraight * std::sqrt(Dot(a, a) * Dot(b, b)) &&
          Dot(a, b) > 0.0) {
        kept.back() = piece;  // the line runs on: one line to the new end
        from = to;
        continue;
      }
    }
    kept.push_back(piece);
    from = to;
  }
  return kept;
}

int32_t Emit(const Subpath& subpath, const std::vector<Piece>& pieces, const OffsetPathSink& sink) {
  const auto put = [&](int32_t type, Point p) {
    return sink(type, static_cast<float>(p.x), static_cast<float>(p.y));
  };
  int32_t status = put(HBN_T_NMT::kPathMove, subpath.start);
  for (const Piece& piece : pieces) {
    if (status != 0) return status;
    if (piece.cubic)
      for (const Point& p : piece.p) status = status != 0 ? status : put(HBN_T_NMT::kPathCurve, p);
    else
      status = put(HBN_T_NMT::kPathLine, piece.p[0]);
  }
  return status != 0 ? status : put(HBN_T_NMT::kPathClose, subpath.start);
}

}  // namespace

int32_t ReworkPath(const float* points, const int32_t* types, int32_t count,
                   const OffsetPathSink& sink) {
  std::vector<Subpath> subpaths;
  if (count <= 0 || points == nullptr || types == nullptr || !Parse(points, types, count, subpaths))
    return NUT_kErrBadArgument;
  for (const Subpath& subpath : subpaths) {
    const std::vector<Piece> pieces = Rework(subpath);
    if (pieces.empty()) continue;
    const int32_t status = Emit(subpath, pieces, sink);
    if (status != 0) return status;
  }
  return 0;
}

}  // namespace host
}  // namespace kly

int32_t GFK_ReworkPath(const HBN_T_NMT::CGFKPath& path, GFKOffsetPathCallback callback,
                       void* refcon) {
  const float* points = nullptr;
  const int32_t* types = nullptr;
  int32_t count = 0;
  path.GetData(points, types, count);
  try {
    return kly::host::Services().rework_path(points, types, count, {callback, refcon});
  } catch (...) {
    return NUT_kErrStdException;  // a host entry: nothing may be thrown through it
  }
}
