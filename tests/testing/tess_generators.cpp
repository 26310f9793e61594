#include "tests/testing/tess_generators.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <sstream>
#include <utility>

#include "tests/testing/exact_sign.h"

namespace kly {
namespace testing {
namespace {

constexpr double kPi = 3.141592653589793;
// Radius of the generated polygons: 2^20 keeps every integer vertex exact even after an offset
// of 1e15, and leaves room for thousands of vertices between rounding and self-crossing.
constexpr double kRadius = 1048576.0;

int32_t AddPoint(PlanarGraph& g, double x, double y) {
  g.points.push_back(x);
  g.points.push_back(y);
  return g.PointCount() - 1;
}

void AddSegment(PlanarGraph& g, int32_t a, int32_t b) {
  g.segments.push_back(a);
  g.segments.push_back(b);
}

// A closed contour through `vertices`, as segments and as a contour of the case.
void AddContour(TessCase& c, const std::vector<int32_t>& vertices) {
  for (size_t i = 0; i < vertices.size(); ++i)
    AddSegment(c.graph, vertices[i], vertices[(i + 1) % vertices.size()]);
  c.contours.push_back(vertices);
}

// Closes the square [lo, hi]^2 with four corner points and its sides.
void AddSquare(TessCase& c, double lo, double hi) {
  AddContour(c, {AddPoint(c.graph, lo, lo), AddPoint(c.graph, hi, lo), AddPoint(c.graph, hi, hi),
                 AddPoint(c.graph, lo, hi)});
}

// A star-shaped contour around (cx, cy): `count` vertices at increasing angles, radii in
// [low, high], rounded to integers. Counter-clockwise unless `clockwise`.
std::vector<int32_t> StarContour(TessRandom& random, PlanarGraph& g, double cx, double cy,
                                 int32_t count, double low, double high, bool clockwise) {
  std::vector<int32_t> vertices;
  for (int32_t i = 0; i < count; ++i) {
    const double angle = 2 * kPi * (i + 0.25 + 0.5 * random.Uniform()) / count;
    const double r = low + (high - low) * random.Uniform();
    vertices.push_back(
        AddPoint(g, std::round(cx + r * std::cos(angle)), std::round(cy + r * std::sin(angle))));
  }
  if (clockwise) std::reverse(vertices.begin(), vertices.end());
  return vertices;
}

Point2 PointOf(const PlanarGraph& g, int32_t v) {
  return {g.points[2 * v], g.points[2 * v + 1]};
}

// Appends the parameters along a-b where other segments of `g` cross it, sorted with the rest.
void AddCrossingParameters(const PlanarGraph& g, Point2 a, Point2 b, std::vector<double>& cuts) {
  for (size_t s = 0; s + 1 < g.segments.size(); s += 2) {
    const Point2 c = PointOf(g, g.segments[s]), d = PointOf(g, g.segments[s + 1]);
    if (OrientSign(a, b, c) * OrientSign(a, b, d) >= 0) continue;
    if (OrientSign(c, d, a) * OrientSign(c, d, b) >= 0) continue;
    const double ex = b.x - a.x, ey = b.y - a.y, fx = d.x - c.x, fy = d.y - c.y;
    cuts.push_back(((c.x - a.x) * fy - (c.y - a.y) * fx) / (ex * fy - ey * fx));
  }
  std::sort(cuts.begin(), cuts.end());
}

}  // namespace

uint64_t TessRandom::Next() {
  // splitmix64: small, fast and the same everywhere.
  uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

double TessRandom::Uniform() {
  return static_cast<double>(Next() >> 11) * 0x1.0p-53;
}

int32_t TessRandom::Below(int32_t bound) {
  return static_cast<int32_t>(Next() % static_cast<uint64_t>(bound));
}

TessCase RandomPoints(uint64_t seed, int32_t count) {
  TessCase c{"random points " + std::to_string(count) + " seed " + std::to_string(seed), {}, {}};
  TessRandom random(seed);
  for (int32_t i = 0; i < count; ++i) AddPoint(c.graph, random.Uniform(), random.Uniform());
  return c;
}

TessCase IntegerGrid(int32_t columns, int32_t rows, bool duplicates) {
  TessCase c{"grid " + std::to_string(columns) + "x" + std::to_string(rows) +
                 (duplicates ? " with duplicates" : ""),
             {},
             {}};
  for (int32_t y = 0; y < rows; ++y)
    for (int32_t x = 0; x < columns; ++x) {
      AddPoint(c.graph, x, y);
      if (duplicates && (x + y * columns) % 3 == 0) AddPoint(c.graph, x, y);
    }
  return c;
}

TessCase GridWithSegmentsThroughVertices(int32_t size) {
  TessCase c{"grid " + std::to_string(size) + " with segments through vertices", {}, {}};
  auto at = [size](int32_t x, int32_t y) { return y * size + x; };
  for (int32_t y = 0; y < size; ++y)
    for (int32_t x = 0; x < size; ++x) AddPoint(c.graph, x, y);
  std::vector<int32_t> boundary;
  for (int32_t x = 0; x < size - 1; ++x) boundary.push_back(at(x, 0));
  for (int32_t y = 0; y < size - 1; ++y) boundary.push_back(at(size - 1, y));
  for (int32_t x = size - 1; x > 0; --x) boundary.push_back(at(x, size - 1));
  for (int32_t y = size - 1; y > 0; --y) boundary.push_back(at(0, y));
  AddContour(c, boundary);
  // Long segments whose interiors pass exactly through grid vertices.
  AddSegment(c.graph, at(0, size / 2), at(size - 1, size / 2));
  AddSegment(c.graph, at(size / 3, 0), at(size / 3, size - 1));
  AddSegment(c.graph, at(0, 0), at(size - 1, size - 1));
  AddSegment(c.graph, at(0, size - 1), at(size - 1, 0));
  AddSegment(c.graph, at(1, 0), at(size - 1, (size - 2) / 2));  // slope 1/2
  return c;
}

TessCase PolygonWithHoles(uint64_t seed, int32_t outer, int32_t holes, bool square_holes) {
  TessCase c{"polygon " + std::to_string(outer) + " with " + std::to_string(holes) +
                 (square_holes ? " square" : "") + " holes seed " + std::to_string(seed),
             {},
             {}};
  TessRandom random(seed);
  AddContour(c, StarContour(random, c.graph, 0, 0, outer, 0.6 * kRadius, kRadius, false));
  // Holes sit in the cells of a k x k grid inside the square of half side 0.3 R. With at least
  // 8 outline vertices, at angular gaps below 1.5 / 8 of a turn and radii of 0.6 R or more,
  // every chord stays 0.6 R cos(0.59) > 0.49 R from the centre: beyond the square's corners.
  if (outer < 8) holes = 0;
  const auto k = static_cast<int32_t>(std::ceil(std::sqrt(static_cast<double>(holes))));
  const double cell = 0.6 * kRadius / std::max(k, 1);
  for (int32_t h = 0; h < holes; ++h) {
    const double cx = std::round(-0.3 * kRadius + cell * (h % k + 0.5));
    const double cy = std::round(-0.3 * kRadius + cell * (h / k + 0.5));
    if (square_holes) {
      const double r = std::round(0.3 * cell);
      AddContour(c, {AddPoint(c.graph, cx - r, cy - r), AddPoint(c.graph, cx - r, cy + r),
                     AddPoint(c.graph, cx + r, cy + r), AddPoint(c.graph, cx + r, cy - r)});
    } else {
      AddContour(c, StarContour(random, c.graph, cx, cy, 3 + random.Below(10), 0.15 * cell,
                                0.4 * cell, true));
    }
    c.graph.holes.push_back(cx);
    c.graph.holes.push_back(cy);
  }
  return c;
}

TessCase CrossingSegments(uint64_t seed, int32_t points, int32_t segments) {
  TessCase c{
      "crossing segments " + std::to_string(segments) + " seed " + std::to_string(seed), {}, {}};
  TessRandom random(seed);
  AddSquare(c, 0.0, 1.0);
  for (int32_t i = 0; i < points; ++i)
    AddPoint(c.graph, 0.01 + 0.98 * random.Uniform(), 0.01 + 0.98 * random.Uniform());
  // No pair twice: a repeated segment through a rounded crossing vertex may cross it again,
  // which DuplicatePoints covers.
  std::set<std::pair<int32_t, int32_t>> used;
  for (int32_t s = 0; s < segments; ++s) {
    const int32_t a = 4 + random.Below(points), b = 4 + random.Below(points);
    if (used.insert({std::min(a, b), std::max(a, b)}).second) AddSegment(c.graph, a, b);
  }
  c.contours.clear();  // the square is the hull: its area is the domain's
  return c;
}

TessCase NearParallelCrossings(uint64_t seed, int32_t pairs) {
  TessCase c{
      "near-parallel crossings " + std::to_string(pairs) + " seed " + std::to_string(seed), {}, {}};
  TessRandom random(seed);
  AddSquare(c, -1.0, 2.0);
  for (int32_t i = 0; i < pairs; ++i) {
    // Two segments through a common point at an angle between 1e-15 and 1e-5 radians.
    const double x = random.Uniform(), y = random.Uniform();
    const double angle = 2 * kPi * random.Uniform();
    const double delta = std::pow(10.0, -5.0 - 10.0 * random.Uniform());
    for (double a : {angle, angle + delta}) {
      const double dx = 0.9 * std::cos(a), dy = 0.9 * std::sin(a);
      AddSegment(c.graph, AddPoint(c.graph, x - dx * 0.5, y - dy * 0.5),
                 AddPoint(c.graph, x + dx * 0.5, y + dy * 0.5));
    }
  }
  c.contours.clear();
  return c;
}

TessCase DuplicatePoints(uint64_t seed, int32_t count) {
  TessCase c{"duplicates " + std::to_string(count) + " seed " + std::to_string(seed), {}, {}};
  TessRandom random(seed);
  AddSquare(c, 0.0, 1.0);
  for (int32_t i = 0; i < count; ++i) {
    if (i > 0 && random.Below(2) == 0) {
      const int32_t copy = 4 + random.Below(c.graph.PointCount() - 4);
      AddPoint(c.graph, c.graph.points[2 * copy], c.graph.points[2 * copy + 1]);
    } else {
      AddPoint(c.graph, 0.05 + 0.9 * random.Uniform(), 0.05 + 0.9 * random.Uniform());
    }
  }
  // Segments between random points, some repeated, some with both ends at the same place.
  for (int32_t s = 0; s < count / 4; ++s) {
    const int32_t a = 4 + random.Below(count), b = 4 + random.Below(count);
    AddSegment(c.graph, a, b);
    if (s % 3 == 0) AddSegment(c.graph, b, a);
  }
  // The four corners again, so that the square's sides may end on copies of them.
  for (int32_t corner = 0; corner < 4; ++corner)
    AddPoint(c.graph, c.graph.points[2 * corner], c.graph.points[2 * corner + 1]);
  c.contours.clear();
  return c;
}

TessCase StarPolygon(int32_t tips) {
  TessCase c{"star " + std::to_string(tips), {}, {}};
  std::vector<int32_t> vertices;
  for (int32_t i = 0; i < 2 * tips; ++i) {
    const double angle = kPi * i / tips;
    const double r = (i % 2 == 0) ? kRadius : 0.5 * kRadius;
    vertices.push_back(
        AddPoint(c.graph, std::round(r * std::cos(angle)), std::round(r * std::sin(angle))));
  }
  AddContour(c, vertices);
  return c;
}

TessCase GlyphCase(const std::string& name, const std::vector<host::OutlinePolyline>& outline) {
  TessCase c{name, {}, {}};
  for (const host::OutlinePolyline& line : outline) {
    std::vector<int32_t> vertices;
    for (const auto& p : line) vertices.push_back(AddPoint(c.graph, p.x, p.y));
    AddContour(c, vertices);
  }
  // Next to each edge one side is filled and the other not; a point just off the edge on the
  // unfilled side seeds that region (the unbounded one goes anyway). Every edge is seeded, for
  // a region may be closed by several contours touching at corners; where contours cross,
  // every piece of an edge between crossings may face a region of its own.
  const bool crossing = SegmentsCross(c.graph);
  const EvenOddRegion region(c.graph);
  for (const auto& contour : c.contours) {
    for (size_t i = 0; i < contour.size(); ++i) {
      const int32_t a = contour[i], b = contour[(i + 1) % contour.size()];
      const Point2 pa = PointOf(c.graph, a), pb = PointOf(c.graph, b);
      std::vector<double> cuts = {0.0, 1.0};
      if (crossing) AddCrossingParameters(c.graph, pa, pb, cuts);
      for (size_t k = 0; k + 1 < cuts.size(); ++k) {
        const double t = 0.5 * (cuts[k] + cuts[k + 1]), d = 1e-3 * (cuts[k + 1] - cuts[k]);
        const double mx = pa.x + t * (pb.x - pa.x), my = pa.y + t * (pb.y - pa.y);
        const double nx = -(pb.y - pa.y) * d, ny = (pb.x - pa.x) * d;
        const bool left_filled = region.Inside(mx + nx, my + ny);
        const bool right_filled = region.Inside(mx - nx, my - ny);
        if (left_filled == right_filled) continue;  // a seed would sit on another contour
        c.graph.holes.push_back(left_filled ? mx - nx : mx + nx);
        c.graph.holes.push_back(left_filled ? my - ny : my + ny);
      }
    }
  }
  return c;
}

TessCase Transformed(const TessCase& base, double scale, double offset) {
  TessCase c = base;
  std::ostringstream name;
  name << " scaled " << scale << " offset " << offset;
  c.name += name.str();
  for (double& v : c.graph.points) v = v * scale + offset;
  for (double& v : c.graph.holes) v = v * scale + offset;
  return c;
}

std::vector<int32_t> ContourSegments(const TessCase& c) {
  std::vector<int32_t> pairs;
  for (const auto& contour : c.contours)
    for (size_t i = 0; i < contour.size(); ++i) {
      pairs.push_back(contour[i]);
      pairs.push_back(contour[(i + 1) % contour.size()]);
    }
  return pairs;
}

double DomainArea(const TessCase& c, int* exponent) {
  if (c.contours.empty()) return ConvexHullArea(c.graph.points, exponent);
  std::vector<std::vector<double>> polygons;
  for (const auto& contour : c.contours) {
    std::vector<double> xy;
    for (int32_t v : contour) {
      xy.push_back(c.graph.points[2 * v]);
      xy.push_back(c.graph.points[2 * v + 1]);
    }
    polygons.push_back(std::move(xy));
  }
  return EvenOddArea(polygons, exponent);
}

}  // namespace testing
}  // namespace kly
