// Deterministic inputs for the tessellation engine's tests: random, degenerate and real-world
// planar straight-line graphs, each with what its correct triangulation must cover.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kly/host/glyph_outlines.h"
#include "tests/testing/tess_checker.h"

namespace kly {
namespace testing {

struct TessCase {
  std::string name;
  PlanarGraph graph;
  // Closed contours (vertex numbers of `graph`) that bound the domain by the even-odd rule,
  // every hole seeded; empty when the domain is the convex hull of the points.
  std::vector<std::vector<int32_t>> contours;
};

// A portable generator: the same numbers on every platform and standard library.
class TessRandom {
 public:
  explicit TessRandom(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ull + 1) {}
  uint64_t Next();
  double Uniform();              // in [0, 1)
  int32_t Below(int32_t bound);  // in [0, bound)

 private:
  uint64_t state_;
};

// `count` points uniform in the unit square.
TessCase RandomPoints(uint64_t seed, int32_t count);
// A columns x rows grid of integer points: collinear and cocircular everywhere. With
// `duplicates`, every third point is given twice.
TessCase IntegerGrid(int32_t columns, int32_t rows, bool duplicates);
// A grid whose boundary is closed by segments and crossed by segments along rows, columns and
// diagonals that run through its vertices.
TessCase GridWithSegmentsThroughVertices(int32_t size);
// A star-shaped outline of `outer` integer vertices (radius up to 2^20) around `holes`
// disjoint star-shaped holes, each with a seed; with `square_holes` the holes are squares.
// Outlines of fewer than 8 vertices get no holes, which might not fit inside them.
TessCase PolygonWithHoles(uint64_t seed, int32_t outer, int32_t holes, bool square_holes);
// Random segments between random points inside a square closed by its four sides: they cross
// often, and all of them lie in the domain. No two join the same pair of points.
TessCase CrossingSegments(uint64_t seed, int32_t points, int32_t segments);
// Pairs of long segments crossing at tiny angles inside a closing square.
TessCase NearParallelCrossings(uint64_t seed, int32_t pairs);
// Random points where many are repeated, with repeated and degenerate segments.
TessCase DuplicatePoints(uint64_t seed, int32_t count);
// A star polygon of `tips` points, alternating between two radii.
TessCase StarPolygon(int32_t tips);
// The polylines of one glyph with a hole seed for every unfilled region next to a contour.
TessCase GlyphCase(const std::string& name, const std::vector<host::OutlinePolyline>& outline);

// The case with every coordinate multiplied by `scale` and then `offset` added.
TessCase Transformed(const TessCase& base, double scale, double offset);

// The segments of the case's contours, as vertex pairs.
std::vector<int32_t> ContourSegments(const TessCase& c);

// The area a correct result covers: the even-odd area of the contours, or the hull's.
// The exponent works as for ConvexHullArea.
double DomainArea(const TessCase& c, int* exponent = nullptr);

}  // namespace testing
}  // namespace kly
