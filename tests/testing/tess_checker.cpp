#include "tests/testing/tess_checker.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <sstream>
#include <unordered_map>
#include <utility>

#include "tests/testing/exact_sign.h"

namespace kly {
namespace testing {
namespace {

// A vertex added by the engine (at a crossing or a split) is rounded, so it lies on its
// segments only within a few units in the last place of the segment's length.
constexpr double kNearTolerance = 1e-9;
// How far, in units in the last place of the coordinates, one crossing may put an added vertex
// off its segment: 1.5 units per coordinate (see NearSegment).
constexpr double kUnitsPerCrossing = 1.5 * 1.4142135623730951;
// The relative tolerance of the area sums, which round once a triangle.
constexpr double kAreaTolerance = 1e-9;
// Findings past this many are counted, not listed.
constexpr size_t kMaxFindings = 20;

Point2 PointOf(const std::vector<double>& xy, int32_t v) {
  return {xy[2 * v], xy[2 * v + 1]};
}

bool SameXY(Point2 a, Point2 b) {
  return a.x == b.x && a.y == b.y;
}

uint64_t EdgeKey(int32_t u, int32_t v) {
  return (static_cast<uint64_t>(static_cast<uint32_t>(u)) << 32) | static_cast<uint32_t>(v);
}

uint64_t UndirectedKey(int32_t u, int32_t v) {
  return u < v ? EdgeKey(u, v) : EdgeKey(v, u);
}

struct XYLess {
  bool operator()(Point2 a, Point2 b) const { return a.x < b.x || (a.x == b.x && a.y < b.y); }
};

class Findings {
 public:
  template <class... Parts>
  void Add(const Parts&... parts) {
    ++count_;
    if (list_.size() >= kMaxFindings) return;
    std::ostringstream s;
    s.precision(17);
    (s << ... << parts);
    list_.push_back(s.str());
  }
  std::vector<std::string> Take() {
    if (count_ > list_.size())
      list_.push_back("... and " + std::to_string(count_ - list_.size()) + " more findings");
    return std::move(list_);
  }

 private:
  std::vector<std::string> list_;
  size_t count_ = 0;
};

// Twice the signed area of a, b, c, with the three points first scaled by 2^shift, which keeps
// products of tiny or huge coordinates in range (power-of-two scaling is exact).
double ScaledCross(Point2 a, Point2 b, Point2 c, int shift) {
  const double abx = std::ldexp(b.x - a.x, shift), aby = std::ldexp(b.y - a.y, shift);
  const double acx = std::ldexp(c.x - a.x, shift), acy = std::ldexp(c.y - a.y, shift);
  return abx * acy - aby * acx;
}

// A power of two that brings the largest finite magnitude in `xy` near 1.
int ScaleShift(const std::vector<double>& xy) {
  double largest = 0.0;
  for (double v : xy)
    if (std::isfinite(v)) largest = std::max(largest, std::fabs(v));
  return largest > 0.0 ? -std::ilogb(largest) : 0;
}

// Whether w lies on the segment ab within the rounding of the added vertices on it, which
// `crossings` other segments cross. The engine puts a crossing where the crossed edge meets
// the line from the previous vertex on ab, rounds it (half a unit in the last place of each
// coordinate) and may move it by a unit per coordinate to keep the triangles round it turned
// positively: at most 1.5 units per coordinate, 1.5 sqrt(2) units off the line it was put on.
// That line starts at the previous crossing, and a crossing on a piece of a crossed segment
// lies on a chord between earlier crossings of that segment, so each inherits the distance of
// those before it: after n crossings, n times 1.5 sqrt(2) units of the largest coordinate.
// These units dominate far from the origin, where a segment spans a few dozen of them; nearer
// it, kNearTolerance of the length covers the engine's own slack.
bool NearSegment(Point2 a, Point2 b, Point2 w, int32_t crossings) {
  const double dx = b.x - a.x, dy = b.y - a.y;
  const double length = std::hypot(dx, dy);
  if (!(length > 0.0)) return false;
  const double magnitude = std::max({std::fabs(a.x), std::fabs(a.y), std::fabs(b.x), std::fabs(b.y),
                                     std::fabs(w.x), std::fabs(w.y)});
  const double unit = std::nextafter(magnitude, INFINITY) - magnitude;
  const double slack = kNearTolerance * length + std::max(crossings, 1) * kUnitsPerCrossing * unit;
  // Distances in units of the length, which keeps tiny and huge coordinates in range.
  const double ux = dx / length, uy = dy / length;
  const double along = (w.x - a.x) * ux + (w.y - a.y) * uy;
  const double across = (w.x - a.x) * uy - (w.y - a.y) * ux;
  return along >= -slack && along <= length + slack && std::fabs(across) <= slack;
}

// Valid input segments: both ends in range, finite and apart. Keyed by their two ends.
std::vector<std::pair<int32_t, int32_t>> ValidSegments(const PlanarGraph& in) {
  std::vector<std::pair<int32_t, int32_t>> result;
  const int32_t n = in.PointCount();
  for (size_t s = 0; s + 1 < in.segments.size(); s += 2) {
    const int32_t a = in.segments[s], b = in.segments[s + 1];
    if (a < 0 || b < 0 || a >= n || b >= n) continue;
    const Point2 pa = PointOf(in.points, a), pb = PointOf(in.points, b);
    if (!std::isfinite(pa.x) || !std::isfinite(pa.y) || !std::isfinite(pb.x) ||
        !std::isfinite(pb.y) || SameXY(pa, pb))
      continue;
    result.emplace_back(a, b);
  }
  return result;
}

bool ProperCrossing(Point2 a, Point2 b, Point2 c, Point2 d) {
  return OrientSign(a, b, c) * OrientSign(a, b, d) < 0 &&
         OrientSign(c, d, a) * OrientSign(c, d, b) < 0;
}

// Calls visit(i, j) once for each pair of `segments` that cross properly, until it returns
// false. A uniform grid over the segments' boxes buckets them; a crossing pair shares a cell
// and is tested in the first cell it shares.
template <class Visit>
void ForEachProperCrossing(const PlanarGraph& in,
                           const std::vector<std::pair<int32_t, int32_t>>& segments, Visit visit) {
  if (segments.size() < 2) return;
  double lx = INFINITY, ly = INFINITY, hx = -INFINITY, hy = -INFINITY;
  for (auto [a, b] : segments)
    for (int32_t v : {a, b}) {
      const Point2 p = PointOf(in.points, v);
      lx = std::min(lx, p.x), ly = std::min(ly, p.y), hx = std::max(hx, p.x),
      hy = std::max(hy, p.y);
    }
  const int side = static_cast<int>(std::sqrt(static_cast<double>(segments.size()))) + 1;
  auto cell = [&](double v, double lo, double hi) {
    if (!(hi > lo)) return 0;
    return std::min(side - 1, static_cast<int>(std::max(0.0, (v - lo) / (hi - lo) * side)));
  };
  std::vector<std::vector<size_t>> cells(static_cast<size_t>(side) * side);
  std::vector<std::pair<int, int>> first_cell(segments.size());
  for (size_t i = 0; i < segments.size(); ++i) {
    const Point2 a = PointOf(in.points, segments[i].first),
                 b = PointOf(in.points, segments[i].second);
    first_cell[i] = {cell(std::min(a.x, b.x), lx, hx), cell(std::min(a.y, b.y), ly, hy)};
    for (int cy = first_cell[i].second; cy <= cell(std::max(a.y, b.y), ly, hy); ++cy)
      for (int cx = first_cell[i].first; cx <= cell(std::max(a.x, b.x), lx, hx); ++cx)
        cells[static_cast<size_t>(cy) * side + cx].push_back(i);
  }
  for (size_t c = 0; c < cells.size(); ++c) {
    const auto& bucket = cells[c];
    const int cx = static_cast<int>(c % side), cy = static_cast<int>(c / side);
    for (size_t i = 0; i < bucket.size(); ++i)
      for (size_t j = i + 1; j < bucket.size(); ++j) {
        const size_t s = bucket[i], t = bucket[j];
        if (cx != std::max(first_cell[s].first, first_cell[t].first) ||
            cy != std::max(first_cell[s].second, first_cell[t].second))
          continue;
        if (ProperCrossing(
                PointOf(in.points, segments[s].first), PointOf(in.points, segments[s].second),
                PointOf(in.points, segments[t].first), PointOf(in.points, segments[t].second)) &&
            !visit(s, t))
          return;
      }
  }
}

// For each of `segments`, how many of the others cross it properly; a segment given more than
// once (the engine inserts it once) counts once.
std::vector<int32_t> CountCrossings(const PlanarGraph& in,
                                    const std::vector<std::pair<int32_t, int32_t>>& segments) {
  std::vector<std::pair<int32_t, int32_t>> distinct;
  std::vector<size_t> distinct_of(segments.size());
  std::map<std::pair<std::pair<double, double>, std::pair<double, double>>, size_t> seen;
  for (size_t i = 0; i < segments.size(); ++i) {
    Point2 pa = PointOf(in.points, segments[i].first), pb = PointOf(in.points, segments[i].second);
    if (XYLess()(pb, pa)) std::swap(pa, pb);
    const auto entry = seen.emplace(
        std::make_pair(std::make_pair(pa.x, pa.y), std::make_pair(pb.x, pb.y)), distinct.size());
    if (entry.second) distinct.push_back(segments[i]);
    distinct_of[i] = entry.first->second;
  }
  std::vector<int32_t> distinct_counts(distinct.size(), 0);
  ForEachProperCrossing(in, distinct, [&](size_t s, size_t t) {
    ++distinct_counts[s];
    ++distinct_counts[t];
    return true;
  });
  std::vector<int32_t> counts(segments.size());
  for (size_t i = 0; i < segments.size(); ++i) counts[i] = distinct_counts[distinct_of[i]];
  return counts;
}

// Horizontal bands of segments, for even-odd queries by casting a ray towards +x.
class EvenOddFill {
 public:
  EvenOddFill(const std::vector<double>& xy,
              const std::vector<std::pair<int32_t, int32_t>>& segments) {
    // The engine makes one subsegment of a segment given twice, so the domain is the even-odd
    // interior of the distinct segments: every segment then separates inside from outside.
    std::set<std::pair<std::pair<double, double>, std::pair<double, double>>> seen;
    for (auto [a, b] : segments) {
      Point2 pa = PointOf(xy, a), pb = PointOf(xy, b);
      if (XYLess()(pb, pa)) std::swap(pa, pb);
      if (seen.insert({{pa.x, pa.y}, {pb.x, pb.y}}).second) segments_.push_back({pa, pb});
    }
    if (segments_.empty()) return;
    low_ = high_ = segments_[0].first.y;
    for (auto& s : segments_) {
      low_ = std::min({low_, s.first.y, s.second.y});
      high_ = std::max({high_, s.first.y, s.second.y});
    }
    bands_.resize(static_cast<size_t>(std::sqrt(static_cast<double>(segments_.size()))) + 1);
    for (size_t i = 0; i < segments_.size(); ++i) {
      const auto& s = segments_[i];
      const size_t b0 = Band(std::min(s.first.y, s.second.y));
      const size_t b1 = Band(std::max(s.first.y, s.second.y));
      for (size_t b = b0; b <= b1; ++b) bands_[b].push_back(i);
    }
  }

  enum Place { kOutside, kInside, kOnBoundary };

  Place Classify(Point2 p) const {
    if (segments_.empty() || !(p.y >= low_ && p.y <= high_)) return kOutside;
    bool inside = false;
    for (size_t i : bands_[Band(p.y)]) {
      Point2 a = segments_[i].first, b = segments_[i].second;
      if (OrientSign(a, b, p) == 0 && DotSign(p, a, b) <= 0) return kOnBoundary;
      if ((a.y > p.y) == (b.y > p.y)) continue;
      if (a.y > b.y) std::swap(a, b);  // upward: p is left of it when the ray crosses it
      if (OrientSign(a, b, p) > 0) inside = !inside;
    }
    return inside ? kInside : kOutside;
  }

  bool Inside(Point2 p) const { return Classify(p) == kInside; }

 private:
  size_t Band(double y) const {
    if (!(high_ > low_)) return 0;
    const double f = (y - low_) / (high_ - low_) * static_cast<double>(bands_.size());
    return std::min(bands_.size() - 1, static_cast<size_t>(std::max(0.0, f)));
  }
  std::vector<std::pair<Point2, Point2>> segments_;
  std::vector<std::vector<size_t>> bands_;
  double low_ = 0.0, high_ = 0.0;
};

// A uniform grid over the triangles' bounding boxes, for point-in-triangle queries.
class TriangleGrid {
 public:
  explicit TriangleGrid(const Triangulation& out) : out_(out) {
    const int32_t t = out.TriangleCount();
    if (t == 0) return;
    low_ = high_ = PointOf(out.points, out.corners[0]);
    for (int32_t v : out.corners) {
      const Point2 p = PointOf(out.points, v);
      low_ = {std::min(low_.x, p.x), std::min(low_.y, p.y)};
      high_ = {std::max(high_.x, p.x), std::max(high_.y, p.y)};
    }
    side_ = static_cast<int>(std::sqrt(static_cast<double>(t))) + 1;
    cells_.resize(static_cast<size_t>(side_) * side_);
    for (int32_t i = 0; i < t; ++i) {
      Point2 lo = PointOf(out.points, out.corners[3 * i]), hi = lo;
      for (int k = 1; k < 3; ++k) {
        const Point2 p = PointOf(out.points, out.corners[3 * i + k]);
        lo = {std::min(lo.x, p.x), std::min(lo.y, p.y)};
        hi = {std::max(hi.x, p.x), std::max(hi.y, p.y)};
      }
      for (int cy = Cell(lo.y, low_.y, high_.y); cy <= Cell(hi.y, low_.y, high_.y); ++cy)
        for (int cx = Cell(lo.x, low_.x, high_.x); cx <= Cell(hi.x, low_.x, high_.x); ++cx)
          cells_[static_cast<size_t>(cy) * side_ + cx].push_back(i);
    }
  }

  // A triangle whose closure holds p, or -1.
  int32_t Containing(Point2 p) const {
    if (cells_.empty() || p.x < low_.x || p.x > high_.x || p.y < low_.y || p.y > high_.y) return -1;
    const size_t cell =
        static_cast<size_t>(Cell(p.y, low_.y, high_.y)) * side_ + Cell(p.x, low_.x, high_.x);
    for (int32_t t : cells_[cell]) {
      const Point2 a = PointOf(out_.points, out_.corners[3 * t]);
      const Point2 b = PointOf(out_.points, out_.corners[3 * t + 1]);
      const Point2 c = PointOf(out_.points, out_.corners[3 * t + 2]);
      if (OrientSign(a, b, p) >= 0 && OrientSign(b, c, p) >= 0 && OrientSign(c, a, p) >= 0)
        return t;
    }
    return -1;
  }

 private:
  int Cell(double v, double lo, double hi) const {
    if (!(hi > lo)) return 0;
    const double f = (v - lo) / (hi - lo) * side_;
    return std::min(side_ - 1, static_cast<int>(std::max(0.0, f)));
  }
  const Triangulation& out_;
  Point2 low_{0, 0}, high_{0, 0};
  int side_ = 0;
  std::vector<std::vector<int32_t>> cells_;
};

class Checker {
 public:
  Checker(const PlanarGraph& in, const Triangulation& out, const TessExpectation& expect)
      : in_(in), out_(out), expect_(expect) {}

  std::vector<std::string> Run() {
    if (!CheckRecords()) return findings_.Take();
    CheckVertices();
    CheckTriangles();
    if (!BuildEdges()) return findings_.Take();
    CheckNeighbors();
    CheckUsage();
    CheckSegmentsOutput();
    CheckDelaunay();
    CheckCoverage();
    CheckAddedVertices();
    CheckArea();
    if (!expect_.domain_boundary.empty()) CheckEvenOdd();
    return findings_.Take();
  }

 private:
  Point2 P(int32_t v) const { return PointOf(out_.points, v); }

  // How many segments cross each of `segments`, the valid input segments; counted once.
  const std::vector<int32_t>& CrossingCounts(
      const std::vector<std::pair<int32_t, int32_t>>& segments) {
    if (crossings_.empty()) crossings_ = CountCrossings(in_, segments);
    return crossings_;
  }

  bool CheckRecords() {
    bool ok = true;
    if (out_.points.size() % 2 || out_.corners.size() % 3 || out_.segments.size() % 2) {
      findings_.Add("array sizes are not whole vertices, triangles or segments");
      return false;
    }
    if (out_.PointCount() < in_.PointCount()) {
      findings_.Add("output has ", out_.PointCount(), " vertices, fewer than the input's ",
                    in_.PointCount());
      return false;
    }
    for (int32_t v : out_.corners) {
      if (v < 0 || v >= out_.PointCount()) {
        findings_.Add("corner number ", v, " is outside the ", out_.PointCount(), " vertices");
        ok = false;
      }
    }
    for (int32_t v : out_.segments) {
      if (v < 0 || v >= out_.PointCount()) {
        findings_.Add("segment end ", v, " is outside the ", out_.PointCount(), " vertices");
        ok = false;
      }
    }
    if (!out_.neighbors.empty() && out_.neighbors.size() != out_.corners.size()) {
      findings_.Add("neighbors has ", out_.neighbors.size(), " entries for ",
                    out_.corners.size() / 3, " triangles");
      ok = false;
    }
    return ok;
  }

  void CheckVertices() {
    for (int32_t v = 0; v < in_.PointCount(); ++v) {
      const Point2 a = PointOf(in_.points, v), b = P(v);
      if (!SameXY(a, b) && !(std::isnan(a.x) || std::isnan(a.y)))
        findings_.Add("vertex ", v, " moved from (", a.x, ", ", a.y, ") to (", b.x, ", ", b.y, ")");
    }
    for (int32_t v = in_.PointCount(); v < out_.PointCount(); ++v) {
      const Point2 p = P(v);
      if (!std::isfinite(p.x) || !std::isfinite(p.y))
        findings_.Add("added vertex ", v, " is not finite");
    }
  }

  void CheckTriangles() {
    for (int32_t t = 0; t < out_.TriangleCount(); ++t) {
      const int32_t a = out_.corners[3 * t], b = out_.corners[3 * t + 1],
                    c = out_.corners[3 * t + 2];
      for (int32_t v : {a, b, c}) {
        const Point2 p = P(v);
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) {
          findings_.Add("triangle ", t, " uses the non-finite vertex ", v);
          bad_triangles_ = true;
          return;
        }
      }
      if (OrientSign(P(a), P(b), P(c)) <= 0) {
        findings_.Add("triangle ", t, " (", a, ", ", b, ", ", c,
                      ") is not strictly counter-clockwise");
        bad_triangles_ = true;
      }
    }
  }

  // Directed edges to their triangle; a directed edge in two triangles means overlap.
  bool BuildEdges() {
    if (bad_triangles_) return false;
    directed_.reserve(out_.corners.size() * 2);
    for (int32_t t = 0; t < out_.TriangleCount(); ++t) {
      for (int k = 0; k < 3; ++k) {
        const int32_t u = out_.corners[3 * t + k], v = out_.corners[3 * t + (k + 1) % 3];
        if (!directed_.emplace(EdgeKey(u, v), t).second) {
          findings_.Add("edge ", u, "->", v, " belongs to triangles ", directed_[EdgeKey(u, v)],
                        " and ", t, ": they overlap");
          return false;
        }
      }
    }
    return true;
  }

  int32_t TriangleAcross(int32_t u, int32_t v) const {
    const auto it = directed_.find(EdgeKey(v, u));
    return it == directed_.end() ? -1 : it->second;
  }

  bool IsEdge(int32_t u, int32_t v) const {
    return directed_.count(EdgeKey(u, v)) || directed_.count(EdgeKey(v, u));
  }

  void CheckNeighbors() {
    if (out_.neighbors.empty()) return;
    for (int32_t t = 0; t < out_.TriangleCount(); ++t) {
      // Neighbour k is the triangle across the edge opposite corner k.
      std::vector<int32_t> expected, given;
      for (int k = 0; k < 3; ++k) {
        expected.push_back(
            TriangleAcross(out_.corners[3 * t + (k + 1) % 3], out_.corners[3 * t + (k + 2) % 3]));
        given.push_back(out_.neighbors[3 * t + k]);
      }
      for (int32_t n : given) {
        if (n < -1 || n >= out_.TriangleCount()) {
          findings_.Add("triangle ", t, " names neighbour ", n, ", which does not exist");
          return;
        }
        if (n >= 0 &&
            std::count(out_.neighbors.begin() + 3 * n, out_.neighbors.begin() + 3 * n + 3, t) == 0)
          findings_.Add("triangle ", t, " names ", n, " as neighbour, but not the reverse");
      }
      if (expected != given)
        findings_.Add("triangle ", t, " has neighbours ", given[0], ", ", given[1], ", ", given[2],
                      " where its edges give ", expected[0], ", ", expected[1], ", ", expected[2]);
    }
  }

  void CheckUsage() {
    used_.assign(out_.PointCount(), false);
    for (int32_t v : out_.corners) used_[v] = true;
    for (int32_t v = 0; v < out_.PointCount(); ++v) {
      if (!used_[v]) continue;
      if (!canonical_.emplace(P(v), v).second)
        findings_.Add("vertices ", canonical_[P(v)], " and ", v,
                      " are both used but have equal coordinates");
    }
    TriangleGrid grid(out_);
    for (int32_t v = 0; v < out_.PointCount(); ++v) {
      const Point2 p = P(v);
      if (used_[v] || canonical_.count(p) || !std::isfinite(p.x) || !std::isfinite(p.y)) continue;
      if (expect_.kind == TessKind::kDelaunay && out_.TriangleCount() > 0) {
        findings_.Add("vertex ", v, " is missing from the Delaunay triangulation");
        continue;
      }
      const int32_t t = grid.Containing(p);
      if (t >= 0) findings_.Add("unused vertex ", v, " lies in triangle ", t);
    }
  }

  void CheckSegmentsOutput() {
    for (size_t s = 0; s + 1 < out_.segments.size(); s += 2) {
      const int32_t u = out_.segments[s], v = out_.segments[s + 1];
      if (!IsEdge(u, v)) {
        findings_.Add("output segment ", s / 2, " (", u, ", ", v, ") is no triangle edge");
        continue;
      }
      constraints_.insert(UndirectedKey(u, v));
      if (expect_.kind != TessKind::kConforming) continue;
      // A subsegment is encroached when a vertex lies strictly inside its diametral circle;
      // the apexes next to it are the only candidates in a Delaunay mesh.
      for (int32_t t : {TriangleAcross(u, v), TriangleAcross(v, u)}) {
        if (t < 0) continue;
        for (int k = 0; k < 3; ++k) {
          const int32_t w = out_.corners[3 * t + k];
          if (w != u && w != v && DotSign(P(w), P(u), P(v)) < 0)
            findings_.Add("subsegment (", u, ", ", v, ") is encroached by vertex ", w);
        }
      }
    }
  }

  void CheckDelaunay() {
    for (const auto& [key, t] : directed_) {
      const auto u = static_cast<int32_t>(key >> 32), v = static_cast<int32_t>(key & 0xffffffffu);
      if (u > v) continue;
      const int32_t across = TriangleAcross(u, v);
      if (across < 0) continue;
      if (expect_.kind != TessKind::kConforming && constraints_.count(UndirectedKey(u, v)))
        continue;
      const int32_t w = Apex(t, u, v), x = Apex(across, v, u);
      if (InCircleSign(P(u), P(v), P(w), P(x)) > 0)
        findings_.Add("edge (", u, ", ", v, ") is not locally Delaunay: ", x,
                      " lies inside the circle of ", u, ", ", v, ", ", w);
    }
  }

  int32_t Apex(int32_t t, int32_t u, int32_t v) const {
    for (int k = 0; k < 3; ++k) {
      const int32_t w = out_.corners[3 * t + k];
      if (w != u && w != v) return w;
    }
    return -1;
  }

  void CheckCoverage() {
    if (!expect_.segments_in_domain) return;
    std::vector<std::vector<int32_t>> adjacent(out_.PointCount());
    for (const auto& entry : directed_) {
      adjacent[entry.first >> 32].push_back(static_cast<int32_t>(entry.first & 0xffffffffu));
      const auto v = static_cast<int32_t>(entry.first & 0xffffffffu);
      if (!directed_.count(EdgeKey(v, static_cast<int32_t>(entry.first >> 32))))
        adjacent[v].push_back(static_cast<int32_t>(entry.first >> 32));
    }
    const auto segments = ValidSegments(in_);
    const auto& crossings = CrossingCounts(segments);
    for (size_t s = 0; s < segments.size(); ++s) {
      const auto [a, b] = segments[s];
      const auto ia = canonical_.find(PointOf(in_.points, a));
      const auto ib = canonical_.find(PointOf(in_.points, b));
      if (ia == canonical_.end() || ib == canonical_.end()) {
        findings_.Add("segment (", a, ", ", b, ") has an end that no triangle uses");
        continue;
      }
      if (expect_.kind == TessKind::kDelaunay ||
          !SubsegmentPath(ia->second, ib->second, crossings[s]))
        WalkSegment(ia->second, ib->second, crossings[s], adjacent);
    }
  }

  // Whether output subsegments on the segment ab (within rounding for added vertices, which
  // near-parallel crossings may place out of order) join a to b; `crossings` segments cross ab.
  bool SubsegmentPath(int32_t a, int32_t b, int32_t crossings) {
    if (subsegment_adjacent_.empty()) {
      subsegment_adjacent_.resize(out_.PointCount());
      for (size_t s = 0; s + 1 < out_.segments.size(); s += 2) {
        subsegment_adjacent_[out_.segments[s]].push_back(out_.segments[s + 1]);
        subsegment_adjacent_[out_.segments[s + 1]].push_back(out_.segments[s]);
      }
    }
    std::vector<int32_t> stack = {a};
    std::set<int32_t> seen = {a};
    while (!stack.empty()) {
      const int32_t v = stack.back();
      stack.pop_back();
      for (int32_t w : subsegment_adjacent_[v]) {
        if (w == b) return true;
        const bool on_segment = w < in_.PointCount() ? OrientSign(P(a), P(b), P(w)) == 0 &&
                                                           DotSign(P(w), P(a), P(b)) < 0
                                                     : NearSegment(P(a), P(b), P(w), crossings);
        if (on_segment && seen.insert(w).second) stack.push_back(w);
      }
    }
    return false;
  }

  // Follows triangle edges from a to b along the segment; every step must end on the segment
  // (exactly for input vertices, within rounding for added ones) and come nearer to b.
  void WalkSegment(int32_t a, int32_t b, int32_t crossings,
                   const std::vector<std::vector<int32_t>>& adjacent) {
    int32_t current = a;
    for (int32_t steps = 0; current != b && steps <= out_.PointCount(); ++steps) {
      int32_t next = -1;
      bool along_subsegment = false;
      for (int32_t w : adjacent[current]) {
        const bool on_segment =
            w == b || (w < in_.PointCount() ? OrientSign(P(a), P(b), P(w)) == 0
                                            : NearSegment(P(a), P(b), P(w), crossings));
        if (!on_segment || (w != b && DotSign(P(w), P(current), P(b)) >= 0)) continue;
        // Near-parallel segments put added vertices of one within rounding of the other;
        // of several steps the one along a subsegment is the segment's own.
        const bool subsegment = constraints_.count(UndirectedKey(current, w)) > 0;
        if (next < 0 || (subsegment && !along_subsegment) || (w == b && subsegment)) {
          next = w;
          along_subsegment = subsegment;
        }
      }
      if (next < 0) {
        findings_.Add("segment (", a, ", ", b, ") is not covered by edges: stuck at vertex ",
                      current);
        return;
      }
      if (expect_.kind != TessKind::kDelaunay && !constraints_.count(UndirectedKey(current, next)))
        findings_.Add("edge (", current, ", ", next, ") of segment (", a, ", ", b,
                      ") is not in the output segments");
      current = next;
    }
    if (current != b) findings_.Add("segment (", a, ", ", b, ") walk does not end");
  }

  void CheckAddedVertices() {
    const int32_t added = out_.PointCount() - in_.PointCount();
    if (added == 0 || expect_.kind == TessKind::kRefined) return;
    if (expect_.kind == TessKind::kDelaunay) {
      findings_.Add(added, " vertices were added to a plain Delaunay triangulation");
      return;
    }
    if (expect_.kind == TessKind::kConstrained && !SegmentsCross(in_)) {
      findings_.Add(added, " vertices were added although no segments cross");
      return;
    }
    const auto segments = ValidSegments(in_);
    if (static_cast<double>(added) * segments.size() > 5e7) return;
    const auto& crossings = CrossingCounts(segments);
    // A crossing vertex lies on two segments, a split vertex on one.
    const int needed = expect_.kind == TessKind::kConstrained ? 2 : 1;
    for (int32_t v = in_.PointCount(); v < out_.PointCount(); ++v) {
      int on = 0;
      for (size_t s = 0; s < segments.size(); ++s)
        if (NearSegment(PointOf(in_.points, segments[s].first),
                        PointOf(in_.points, segments[s].second), P(v), crossings[s]))
          ++on;
      if (on < needed)
        findings_.Add("added vertex ", v, " (", P(v).x, ", ", P(v).y, ") lies on ", on,
                      " input segments, fewer than ", needed);
    }
  }

  void CheckArea() {
    if (std::isnan(expect_.area)) return;
    const int shift = ScaleShift(out_.points);
    double sum = 0.0;
    for (int32_t t = 0; t < out_.TriangleCount(); ++t)
      sum += ScaledCross(P(out_.corners[3 * t]), P(out_.corners[3 * t + 1]),
                         P(out_.corners[3 * t + 2]), shift);
    const double scaled_expected = std::ldexp(expect_.area, expect_.area_exponent + 2 * shift);
    if (std::fabs(sum / 2 - scaled_expected) >
        kAreaTolerance * std::max(std::fabs(scaled_expected), 1e-300))
      findings_.Add("triangles cover an area of ", sum / 2, " * 2^", -2 * shift,
                    ", the domain's is ", expect_.area, " * 2^", expect_.area_exponent);
  }

  void CheckEvenOdd() {
    const EvenOddFill fill(in_.points, ValidSegments({in_.points, expect_.domain_boundary, {}}));
    for (int32_t t = 0; t < out_.TriangleCount(); ++t) {
      const Point2 a = P(out_.corners[3 * t]), b = P(out_.corners[3 * t + 1]),
                   c = P(out_.corners[3 * t + 2]);
      const Point2 centre{(a.x + b.x + c.x) / 3, (a.y + b.y + c.y) / 3};
      // A rounded centre of a sliver may leave it; such a triangle is judged by its edges.
      if (OrientSign(a, b, centre) <= 0 || OrientSign(b, c, centre) <= 0 ||
          OrientSign(c, a, centre) <= 0)
        continue;
      if (!fill.Inside(centre)) findings_.Add("triangle ", t, " lies outside the domain");
    }
  }

  const PlanarGraph& in_;
  const Triangulation& out_;
  const TessExpectation& expect_;
  Findings findings_;
  bool bad_triangles_ = false;
  std::unordered_map<uint64_t, int32_t> directed_;
  std::set<uint64_t> constraints_;
  std::vector<bool> used_;
  std::map<Point2, int32_t, XYLess> canonical_;
  std::vector<std::vector<int32_t>> subsegment_adjacent_;
  std::vector<int32_t> crossings_;
};

}  // namespace

std::vector<std::string> CheckTriangulation(const PlanarGraph& in, const Triangulation& out,
                                            const TessExpectation& expect) {
  return Checker(in, out, expect).Run();
}

double ConvexHullArea(const std::vector<double>& points, int* exponent) {
  std::vector<Point2> p;
  for (size_t i = 0; i + 1 < points.size(); i += 2)
    if (std::isfinite(points[i]) && std::isfinite(points[i + 1]))
      p.push_back({points[i], points[i + 1]});
  std::sort(p.begin(), p.end(), XYLess());
  p.erase(std::unique(p.begin(), p.end(), SameXY), p.end());
  if (exponent) *exponent = 0;
  if (p.size() < 3) return 0.0;
  // Monotone chain: lower hull left to right, then upper hull right to left.
  std::vector<Point2> hull(2 * p.size());
  size_t k = 0;
  for (size_t i = 0; i < p.size(); ++i) {
    while (k >= 2 && OrientSign(hull[k - 2], hull[k - 1], p[i]) <= 0) --k;
    hull[k++] = p[i];
  }
  for (size_t i = p.size() - 1, lower = k + 1; i-- > 0;) {
    while (k >= lower && OrientSign(hull[k - 2], hull[k - 1], p[i]) <= 0) --k;
    hull[k++] = p[i];
  }
  hull.resize(k - 1);
  std::vector<double> xy;
  for (const Point2& h : hull) {
    xy.push_back(h.x);
    xy.push_back(h.y);
  }
  return EvenOddArea({xy}, exponent);
}

double EvenOddArea(const std::vector<std::vector<double>>& polygons, int* exponent) {
  std::vector<double> all;
  for (const auto& polygon : polygons) all.insert(all.end(), polygon.begin(), polygon.end());
  const int shift = ScaleShift(all);
  std::vector<double> areas, turns;  // turns: +1 counter-clockwise, -1 clockwise
  for (const auto& polygon : polygons) {
    double sum = 0.0;
    const size_t n = polygon.size() / 2;
    for (size_t i = 1; i + 1 < n; ++i)
      sum += ScaledCross(PointOf(polygon, 0), PointOf(polygon, static_cast<int32_t>(i)),
                         PointOf(polygon, static_cast<int32_t>(i + 1)), shift);
    areas.push_back(std::fabs(sum) / 2);
    turns.push_back(sum >= 0 ? 1.0 : -1.0);
  }
  double total = 0.0;
  for (size_t i = 0; i < polygons.size(); ++i) {
    // Depth: how many other polygons hold this one's first vertex.
    PlanarGraph others;
    for (size_t j = 0; j < polygons.size(); ++j) {
      if (j == i) continue;
      const auto base = static_cast<int32_t>(others.points.size() / 2);
      const auto n = static_cast<int32_t>(polygons[j].size() / 2);
      others.points.insert(others.points.end(), polygons[j].begin(), polygons[j].end());
      for (int32_t k = 0; k < n; ++k) {
        others.segments.push_back(base + k);
        others.segments.push_back(base + (k + 1) % n);
      }
    }
    // Depth is read at a vertex off the other polygons, or else just inside this polygon next
    // to an edge's midpoint (polygons may share vertices and whole edges).
    const EvenOddFill fill(others.points, ValidSegments(others));
    const auto& polygon = polygons[i];
    const auto n = static_cast<int32_t>(polygon.size() / 2);
    std::vector<Point2> probes;
    for (int32_t k = 0; k < n; ++k) probes.push_back(PointOf(polygon, k));
    for (int32_t k = 0; k < n; ++k) {
      const Point2 a = PointOf(polygon, k), b = PointOf(polygon, (k + 1) % n);
      const double mx = 0.5 * (a.x + b.x), my = 0.5 * (a.y + b.y);
      const double d = 1e-6 * turns[i];
      probes.push_back({mx - (b.y - a.y) * d, my + (b.x - a.x) * d});
    }
    for (const Point2& probe : probes) {
      const auto place = fill.Classify(probe);
      if (place == EvenOddFill::kOnBoundary) continue;
      total += place == EvenOddFill::kInside ? -areas[i] : areas[i];
      break;
    }
  }
  if (exponent) {
    *exponent = -2 * shift;
    return total;
  }
  return std::ldexp(total, -2 * shift);
}

class EvenOddRegion::Fill : public EvenOddFill {
 public:
  using EvenOddFill::EvenOddFill;
};

EvenOddRegion::EvenOddRegion(const PlanarGraph& graph)
    : fill_(new Fill(graph.points, ValidSegments(graph))) {}

EvenOddRegion::~EvenOddRegion() = default;

bool EvenOddRegion::Inside(double x, double y) const {
  return fill_->Inside({x, y});
}

bool SegmentsRepeat(const PlanarGraph& in) {
  std::set<std::pair<std::pair<double, double>, std::pair<double, double>>> seen;
  for (auto [a, b] : ValidSegments(in)) {
    Point2 pa = PointOf(in.points, a), pb = PointOf(in.points, b);
    if (XYLess()(pb, pa)) std::swap(pa, pb);
    if (!seen.insert({{pa.x, pa.y}, {pb.x, pb.y}}).second) return true;
  }
  return false;
}

bool SegmentsCross(const PlanarGraph& in) {
  bool any = false;
  ForEachProperCrossing(in, ValidSegments(in), [&](size_t, size_t) {
    any = true;
    return false;
  });
  return any;
}

}  // namespace testing
}  // namespace kly
