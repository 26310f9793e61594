// Deterministic inputs shared by the tessellation benchmarks, so that the engine and its peer
// are measured on exactly the same graphs.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "kly/host/glyph_outlines.h"

namespace tess_bench {

// Points (x, y pairs), segments (vertex pairs from 0) and hole seeds (x, y pairs).
struct Graph {
  std::vector<double> points;
  std::vector<int32_t> segments;
  std::vector<double> holes;
  int32_t PointCount() const { return static_cast<int32_t>(points.size() / 2); }
};

// splitmix64: the same numbers on every platform.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  double Uniform() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1.0p-53;
  }

 private:
  uint64_t state_;
};

constexpr double kPi = 3.141592653589793;

inline int32_t AddPoint(Graph& g, double x, double y) {
  g.points.push_back(x);
  g.points.push_back(y);
  return g.PointCount() - 1;
}

inline void AddLoop(Graph& g, int32_t first, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    g.segments.push_back(first + i);
    g.segments.push_back(first + (i + 1) % count);
  }
}

inline Graph UniformPoints(int32_t count) {
  Graph g;
  Random random(42);
  g.points.reserve(2 * static_cast<size_t>(count));
  for (int32_t i = 0; i < count; ++i) AddPoint(g, random.Uniform(), random.Uniform());
  return g;
}

// Square holes on a grid inside the square of half side 0.4 of `radius`, one seed each.
inline void AddSquareHoles(Graph& g, double radius, int32_t holes) {
  const auto k = static_cast<int32_t>(std::ceil(std::sqrt(static_cast<double>(holes))));
  const double cell = 0.8 * radius / k;
  for (int32_t h = 0; h < holes; ++h) {
    const double cx = std::round(-0.4 * radius + cell * (h % k + 0.5));
    const double cy = std::round(-0.4 * radius + cell * (h / k + 0.5));
    const double r = std::round(0.3 * cell);
    const int32_t first = AddPoint(g, cx - r, cy - r);
    AddPoint(g, cx - r, cy + r);
    AddPoint(g, cx + r, cy + r);
    AddPoint(g, cx + r, cy - r);
    AddLoop(g, first, 4);
    g.holes.push_back(cx);
    g.holes.push_back(cy);
  }
}

constexpr double kOutlineRadius = 1048576.0;

// A closed outline of `outer` vertices round the origin on integer coordinates, at angles
// jittered within their share of the turn and at the radius `radiusAt(angle, random)` gives,
// with `holes` square holes inside.
template <class RadiusAt>
Graph OutlineWithSquareHoles(int32_t outer, int32_t holes, uint64_t seed, RadiusAt radiusAt) {
  Graph g;
  Random random(seed);
  for (int32_t i = 0; i < outer; ++i) {
    const double angle = 2 * kPi * (i + 0.25 + 0.5 * random.Uniform()) / outer;
    const double r = radiusAt(angle, random);
    AddPoint(g, std::round(r * std::cos(angle)), std::round(r * std::sin(angle)));
  }
  AddLoop(g, 0, outer);
  AddSquareHoles(g, kOutlineRadius, holes);
  return g;
}

// A jagged star: each vertex at a random radius between 0.6 and 1 of 2^20. Consecutive
// vertices are ~60 units apart round the centre but up to 400,000 apart radially, so each
// outline segment crosses about a dozen Delaunay edges: a stress case for segment insertion
// (some 1.3 million flips).
inline Graph PolygonWithSquareHoles(int32_t outer, int32_t holes) {
  return OutlineWithSquareHoles(outer, holes, 7, [](double, Random& random) {
    return kOutlineRadius * (0.6 + 0.4 * random.Uniform());
  });
}

// A five-lobed outline (radius 0.9 +- 0.05 of 2^20, each vertex jittered by a few units, less
// than the ~60 units between neighbours): the shape of a real outline, whose segments are
// mostly Delaunay edges already.
inline Graph LobedPolygonWithSquareHoles(int32_t outer, int32_t holes) {
  return OutlineWithSquareHoles(outer, holes, 11, [](double angle, Random& random) {
    return kOutlineRadius * (0.9 + 0.05 * std::sin(5 * angle)) + 8 * (random.Uniform() - 0.5);
  });
}

// A closed star of `vertices` points alternating between two radii.
inline Graph StarPolygon(int32_t vertices) {
  Graph g;
  for (int32_t i = 0; i < vertices; ++i) {
    const double angle = 2 * kPi * i / vertices;
    const double r = (i % 2 == 0) ? 1000.0 : 500.0;
    AddPoint(g, r * std::cos(angle), r * std::sin(angle));
  }
  AddLoop(g, 0, vertices);
  return g;
}

// A spur gear of `teeth` teeth round a bore: the outline runs root, flank, tip, flank for each
// tooth (root radius 0.8, tip radius 1 of 1000 units, eight vertices a tooth), and the bore, a
// circle of radius 0.25 in 64 vertices, is a hole seeded at the centre. Long straight flanks,
// short tips and a round hole: the features that refinement grades between.
inline Graph Gear(int32_t teeth) {
  Graph g;
  const double root = 800.0, tip = 1000.0;
  // Fractions of a tooth's turn where the outline's vertices lie, and their radii.
  const double at[8] = {0.0, 0.125, 0.25, 0.3, 0.45, 0.55, 0.7, 0.75};
  const double radius[8] = {root, root, root, tip, tip, tip, tip, root};
  for (int32_t t = 0; t < teeth; ++t) {
    for (int k = 0; k < 8; ++k) {
      const double angle = 2 * kPi * (t + at[k]) / teeth;
      AddPoint(g, radius[k] * std::cos(angle), radius[k] * std::sin(angle));
    }
  }
  AddLoop(g, 0, 8 * teeth);
  const int32_t bore = g.PointCount();
  for (int32_t i = 0; i < 64; ++i) {
    const double angle = 2 * kPi * i / 64;
    AddPoint(g, 250.0 * std::cos(angle), 250.0 * std::sin(angle));
  }
  AddLoop(g, bore, 64);
  g.holes = {0.0, 0.0};
  return g;
}

// Whether (x, y) lies inside the even-odd interior of the segments from `first_segment` on.
inline bool InsideEvenOdd(const Graph& g, size_t first_segment, double x, double y) {
  bool inside = false;
  for (size_t s = first_segment; s < g.segments.size(); s += 2) {
    const double ax = g.points[2 * g.segments[s]], ay = g.points[2 * g.segments[s] + 1];
    const double bx = g.points[2 * g.segments[s + 1]], by = g.points[2 * g.segments[s + 1] + 1];
    if ((ay > y) != (by > y) && x < ax + (y - ay) * (bx - ax) / (by - ay)) inside = !inside;
  }
  return inside;
}

// Every glyph of the font flattened at one font unit, laid side by side along x with a gap of
// 64 units, each unfilled region next to a contour seeded as a hole.
inline Graph GlyphRow(const char* font_path) {
  Graph g;
  const kly::host::GlyphOutlines font(font_path);
  double pen = 0.0;
  for (int32_t glyph = 0; glyph < font.GlyphCount(); ++glyph) {
    const auto outline = font.Polylines(glyph, 1.0);
    if (outline.empty()) continue;
    double low = INFINITY, high = -INFINITY;
    for (const auto& line : outline)
      for (const auto& p : line) low = std::min(low, p.x), high = std::max(high, p.x);
    const size_t first_segment = g.segments.size();
    std::vector<int32_t> contour_starts;
    for (const auto& line : outline) {
      const int32_t first = g.PointCount();
      for (const auto& p : line) AddPoint(g, p.x - low + pen, p.y);
      AddLoop(g, first, static_cast<int32_t>(line.size()));
      contour_starts.push_back(first);
    }
    for (int32_t a : contour_starts) {
      const int32_t b = a + 1;  // every polyline has two points or more
      const double ax = g.points[2 * a], ay = g.points[2 * a + 1];
      const double bx = g.points[2 * b], by = g.points[2 * b + 1];
      const double mx = 0.5 * (ax + bx), my = 0.5 * (ay + by);
      const double nx = -(by - ay) * 1e-3, ny = (bx - ax) * 1e-3;
      const bool left = InsideEvenOdd(g, first_segment, mx + nx, my + ny);
      if (left == InsideEvenOdd(g, first_segment, mx - nx, my - ny)) continue;
      g.holes.push_back(left ? mx - nx : mx + nx);
      g.holes.push_back(left ? my - ny : my + ny);
    }
    pen += high - low + 64.0;
  }
  return g;
}

}  // namespace tess_bench
