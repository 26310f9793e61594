// The standalone path offset service: read and check the path, flatten each subpath into the
// offset grid, offset it with Clipper, fit lines and cubics back to the result, and stream them.
#include "kly/host/offset_path.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <new>
#include <vector>

#include "kly/host/clipper_offset.h"
#include "kly/host/cubic_fit.h"
#include "kly/host/hbn_paths.h"
#include "kly/host/path_flatten.h"
#include "kly/host/path_reader.h"
#include "kly/host/straight_edges.h"

namespace kly {
namespace host {
namespace {

constexpr double kPi = 3.14159265358979323846;
// Clipper's miter limit, in multiples of |distance|: at least its own floor, and bounded so
// that the scale still leaves the outline most of the grid.
constexpr double kMinMiterLimit = 2.0;
constexpr double kMaxMiterLimit = 1000.0;
// The offset distance must span at least this many grid units.
constexpr double kMinGridDistance = 8.0;
// The tolerance is never finer than this many grid units, 2^-20 of the reach: 16 times the
// floats' own precision, and a bound on the points that a tiny tolerance would ask for.
constexpr double kMinGridTolerance = 512.0;
// Shares of the tolerance: how far chords may stray from the input's curves (the offset's
// vertices stay on the exact offset whatever it is; it sets how densely they sample it), and
// how far a fitted piece may stray from the offset's vertices (the rest covers the chords'
// turns and the narrowing to floats).
constexpr double kFlatnessShare = 1.0;
constexpr double kFitShare = 0.75;
// The tangent of a curve turns by at most this along one chord; a turn of the offset polygon
// larger than kCornerAngle is a corner (a corner of the input, a miter, a cut-off concavity).
constexpr double kMaxTurn = 15.0 * kPi / 180.0;
constexpr double kCornerAngle = 35.0 * kPi / 180.0;
// An edge of the offset lies on the offset of a line of the path when both its ends are within
// this many grid units of it (Clipper rounds each point to the grid, once for the offset and
// once for the crossings it resolves).
constexpr double kStraightSlack = 4.0;

struct OutPoint {
  int32_t type;
  float x, y;
};

// Buffers kept by each thread from one call to the next.
struct Workspace {
  ClosedPath path;
  std::vector<Vec2> polygon;
  std::vector<unsigned char> lines;
  StraightEdges straight_edges;
  std::vector<std::vector<Vec2>> offsets;
  std::vector<unsigned char> straight;
  PolygonFitter fitter;
  std::vector<FitPiece> pieces;
  std::vector<OutPoint> out;
};

Workspace& ThreadWorkspace() {
  thread_local Workspace workspace;
  return workspace;
}

double SignedArea(const std::vector<Vec2>& polygon) {
  double twice = 0.0;
  const size_t n = polygon.size();
  for (size_t i = 0, j = n - 1; i < n; j = i++) twice += Cross(polygon[j], polygon[i]);
  return 0.5 * twice;
}

// Merges points closer than `gap` to the point kept before them (cyclic), so that no piece
// of the result is shorter than the floats' rounding.
void MergeClosePoints(double gap, std::vector<Vec2>& polygon) {
  size_t kept = 0;
  for (size_t i = 0; i < polygon.size(); ++i) {
    if (kept == 0 || Length(polygon[i] - polygon[kept - 1]) > gap) polygon[kept++] = polygon[i];
  }
  while (kept > 1 && Length(polygon[kept - 1] - polygon[0]) <= gap) --kept;
  polygon.resize(kept);
}

int32_t Stream(const std::vector<OutPoint>& out, const OffsetPathSink& sink) {
  for (const OutPoint& p : out) {
    const int32_t status = sink(p.type, p.x, p.y);
    if (status != 0) return status;
  }
  return 0;
}

// A zero distance gives the path back as it came.
int32_t StreamUnchanged(const OffsetPathRequest& request, const OffsetPathSink& sink) {
  for (int32_t i = 0; i < request.count; ++i) {
    const int32_t status = sink(request.types[i], request.points[2 * i], request.points[2 * i + 1]);
    if (status != 0) return status;
  }
  return 0;
}

int32_t Offset(const OffsetPathRequest& request, const OffsetPathSink& sink, Workspace& w) {
  if (sink.callback == nullptr) return kOffsetPathErrBadArgument;
  const double distance = request.distance;
  if (!std::isfinite(distance) || std::isnan(request.limit) || std::isnan(request.tolerance)) {
    return kOffsetPathErrBadValue;
  }
  if (ReadClosedPath(request.points, request.types, request.count, w.path) != PathReadStatus::kOk) {
    return kOffsetPathErrBadPath;
  }
  if (distance == 0.0) return StreamUnchanged(request, sink);

  // The grid: the path's centre at the origin, and the farthest reach of the offset (the
  // outline's half extent plus the longest miter) at kGridRange.
  const ClosedPath& path = w.path;
  const Vec2 centre{0.5 * path.min_x + 0.5 * path.max_x, 0.5 * path.min_y + 0.5 * path.max_y};
  const double half_extent = std::max(path.max_x - centre.x, path.max_y - centre.y);
  const double magnitude = std::max(std::max(std::fabs(path.min_x), std::fabs(path.max_x)),
                                    std::max(std::fabs(path.min_y), std::fabs(path.max_y)));
  const double size = std::fabs(distance);
  const double limit = request.limit > 0.0 ? request.limit : 0.0;
  const double miter_limit = std::clamp(limit / size, kMinMiterLimit, kMaxMiterLimit);
  const double scale = kGridRange / (half_extent + size * miter_limit);
  const double delta = distance * scale;
  if (!(std::fabs(delta) >= kMinGridDistance)) return kOffsetPathErrRange;
  if (half_extent * scale < 1.0) {
    // The outline is a speck on the grid: it vanishes when shrunk and cannot be grown.
    return distance < 0.0 ? 0 : kOffsetPathErrRange;
  }

  const double asked = request.tolerance > 0.0 ? request.tolerance : 0.0;
  const double tolerance = std::max(std::min(asked, size) * scale, kMinGridTolerance);
  FlattenOptions flatten;
  flatten.origin = centre;
  flatten.scale = scale;
  flatten.flatness = kFlatnessShare * tolerance;
  flatten.max_turn = kMaxTurn;
  // Lines handed over as cubics have their controls on the chord, up to the floats' rounding.
  flatten.line_epsilon =
      std::min(flatten.flatness, std::max(1.0, 8.0 * FLT_EPSILON * magnitude * scale));
  // The same rounding makes a dense outline zigzag; the offset would turn each zag into a
  // small loop for Clipper to resolve.
  flatten.noise = flatten.line_epsilon;
  FitOptions fit;
  fit.tolerance = kFitShare * tolerance;
  fit.corner_angle = kCornerAngle;

  w.out.clear();
  const double unscale = 1.0 / scale;
  const auto emit = [&](int32_t type, Vec2 p) {
    w.out.push_back({type, static_cast<float>(p.x * unscale + centre.x),
                     static_cast<float>(p.y * unscale + centre.y)});
  };
  for (const Subpath& subpath : path.subpaths) {
    FlattenSubpath(path, subpath, flatten, w.polygon, w.lines);
    if (w.polygon.size() < 3) continue;
    if (w.polygon.size() > kOffsetPathMaxPoints) return kOffsetPathErrTooComplex;
    // Clipper grows a counter-clockwise polygon with a positive delta; the result goes back
    // to the subpath's own winding.
    const bool clockwise = SignedArea(w.polygon) < 0.0;
    w.straight_edges.Build(w.polygon, w.lines, clockwise, delta);
    if (clockwise) std::reverse(w.polygon.begin(), w.polygon.end());
    if (!OffsetOnGrid(w.polygon, delta, miter_limit, w.offsets)) return kOffsetPathErrRange;
    for (std::vector<Vec2>& offset : w.offsets) {
      MergeClosePoints(flatten.noise, offset);
      if (offset.size() < 3) continue;
      // Slivers thinner than the tolerance everywhere are rounding, not outline.
      if (std::fabs(SignedArea(offset)) < tolerance * tolerance) continue;
      if (clockwise) std::reverse(offset.begin(), offset.end());
      // Straight parts shorter than the tolerance may as well join the curves beside them.
      w.straight_edges.Mark(offset, tolerance, kStraightSlack, w.straight);
      Vec2 start;
      w.fitter.FitClosed(offset, w.straight, fit, start, w.pieces);
      if (w.pieces.empty()) continue;
      emit(HBN_T_NMT::kPathMove, start);
      for (const FitPiece& piece : w.pieces) {
        if (piece.cubic) {
          emit(HBN_T_NMT::kPathCurve, piece.c1);
          emit(HBN_T_NMT::kPathCurve, piece.c2);
          emit(HBN_T_NMT::kPathCurve, piece.end);
        } else {
          emit(HBN_T_NMT::kPathLine, piece.end);
        }
      }
      emit(HBN_T_NMT::kPathClose, start);
    }
  }
  for (const OutPoint& p : w.out) {
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) return kOffsetPathErrRange;
  }
  // Streamed from a buffer of its own, so that a callback may call the service again.
  std::vector<OutPoint> out;
  out.swap(w.out);
  const int32_t status = Stream(out, sink);
  out.clear();
  if (out.capacity() > w.out.capacity()) out.swap(w.out);
  return status;
}

}  // namespace

int32_t OffsetPath(const OffsetPathRequest& request, const OffsetPathSink& sink) {
  try {
    return Offset(request, sink, ThreadWorkspace());
  } catch (const std::bad_alloc&) {
    return kOffsetPathErrOutOfMemory;
  }
}

}  // namespace host
}  // namespace kly
