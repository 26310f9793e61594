// An independent validity checker for triangulations of planar straight-line graphs.
//
// It shares no code with the engine: every geometric decision goes through exact_sign.h. It
// judges a result by what any correct constrained or conforming Delaunay triangulation of the
// input must satisfy, and lists every violation it finds in plain words.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kly {
namespace testing {

// An engine input, numbered from 0: x, y pairs, vertex pairs, and x, y pairs of hole seeds.
struct PlanarGraph {
  std::vector<double> points;
  std::vector<int32_t> segments;
  std::vector<double> holes;
  int32_t PointCount() const { return static_cast<int32_t>(points.size() / 2); }
};

// An engine output, numbered from 0. `neighbors` may be empty when it was not asked for;
// otherwise neighbour k of a triangle lies across the edge opposite its corner k.
struct Triangulation {
  std::vector<double> points;
  std::vector<int32_t> corners;
  std::vector<int32_t> neighbors;
  std::vector<int32_t> segments;
  int32_t PointCount() const { return static_cast<int32_t>(points.size() / 2); }
  int32_t TriangleCount() const { return static_cast<int32_t>(corners.size() / 3); }
};

enum class TessKind {
  kDelaunay,     // no segments: every edge locally Delaunay, the convex hull filled
  kConstrained,  // segments forced in; vertices added only where segments cross
  kConforming,   // segments split until no subsegment is encroached; every edge Delaunay
  kRefined,      // constrained, with vertices added anywhere in the domain for quality
};

struct TessExpectation {
  TessKind kind = TessKind::kDelaunay;
  // Every input segment lies in the meshed domain (on its boundary or inside), so each must
  // appear as a chain of triangle edges. False for graphs whose pieces may be carved away.
  bool segments_in_domain = true;
  // When not empty: vertex pairs of closed contours whose even-odd interior is the domain
  // (every hole seeded); the centre of every triangle must lie inside it.
  std::vector<int32_t> domain_boundary;
  // The domain's area is area * 2^area_exponent (so that areas of tiny coordinates, far below
  // the smallest double, stay exact); a NaN area is not checked. See ConvexHullArea.
  double area = 0.0 / 0.0;
  int area_exponent = 0;
};

// Everything found wrong with `out` as a triangulation of `in`; empty when it is valid.
std::vector<std::string> CheckTriangulation(const PlanarGraph& in, const Triangulation& out,
                                            const TessExpectation& expect);

// Area of the convex hull of the finite input points (hull found with exact orientation),
// as area * 2^exponent when `exponent` is given, else in plain units.
double ConvexHullArea(const std::vector<double>& points, int* exponent = nullptr);

// Area of the even-odd interior of closed, pairwise non-crossing polygons, each given as x, y
// pairs: nested polygons alternate between filled and hole by their depth. Polygons must not
// repeat an edge of another (see SegmentsRepeat).
// The exponent works as for ConvexHullArea.
double EvenOddArea(const std::vector<std::vector<double>>& polygons, int* exponent = nullptr);

// Whether two segments of `in` join the same two places (in either direction).
bool SegmentsRepeat(const PlanarGraph& in);

// The even-odd interior of a graph's distinct segments, for repeated inside tests (exact; a
// point on a segment counts as outside).
class EvenOddRegion {
 public:
  explicit EvenOddRegion(const PlanarGraph& graph);
  ~EvenOddRegion();
  bool Inside(double x, double y) const;

 private:
  class Fill;
  std::unique_ptr<Fill> fill_;
};

// Whether any two segments of `in` cross at a point interior to both (exact test; segments
// through a vertex or overlapping collinearly do not count).
bool SegmentsCross(const PlanarGraph& in);

}  // namespace testing
}  // namespace kly
