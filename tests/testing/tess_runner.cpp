#include "tests/testing/tess_runner.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "kly/tess/triangulate.h"

namespace kly {
namespace testing {
namespace {

template <class T>
std::vector<T> CopyOut(const T* data, int32_t count) {
  if (!data || count <= 0) return {};
  return std::vector<T>(data, data + count);
}

// Frees both records however the scope is left.
struct RecordPair {
  TessRecord in{}, out{};
  ~RecordPair() {
    TessFreeRecord(&in);
    TessFreeRecord(&out);
  }
};

}  // namespace

Triangulation RunEngine(const char* switches, const PlanarGraph& graph, int32_t triangle_limit) {
  RecordPair records;
  records.in.triangleLimit = triangle_limit;
  // Sites 0, 1 and 2 are the ones the library's callers use for points, segments and holes.
  records.in.points = CopyIn<double>(0, graph.points);
  records.in.pointCount = graph.PointCount();
  records.in.segments = CopyIn<int32_t>(1, graph.segments);
  records.in.segmentCount = static_cast<int32_t>(graph.segments.size() / 2);
  records.in.holes = CopyIn<double>(2, graph.holes);
  records.in.holeCount = static_cast<int32_t>(graph.holes.size() / 2);
  triangulate(switches, records.in, records.out, nullptr);
  Triangulation result;
  const TessRecord& out = records.out;
  result.points = CopyOut(out.points, 2 * out.pointCount);
  result.corners = CopyOut(out.corners, 3 * out.triangleCount);
  result.neighbors = CopyOut(out.neighbors, 3 * out.triangleCount);
  result.segments = CopyOut(out.segments, 2 * out.segmentCount);
  return result;
}

bool RecordIsEmpty(const TessRecord& r) {
  return !r.points && !r.pointAttributes && !r.pointMarkers && !r.corners &&
         !r.triangleAttributes && !r.triangleAreas && !r.neighbors && !r.segments &&
         !r.segmentMarkers && !r.holes && !r.regions && !r.edges && !r.edgeMarkers && !r.normals &&
         r.pointCount == 0 && r.pointAttributeCount == 0 && r.triangleCount == 0 &&
         r.cornerCount == 0 && r.triangleAttributeCount == 0 && r.segmentCount == 0 &&
         r.holeCount == 0 && r.regionCount == 0 && r.edgeCount == 0;
}

TessExpectation ExpectationFor(const TessCase& c, const std::string& switches) {
  TessExpectation e;
  const bool graph = switches.find('p') != std::string::npos;
  const bool refined = switches.find_first_of("qau") != std::string::npos;
  e.kind = refined                                   ? TessKind::kRefined
           : switches.find('D') != std::string::npos ? TessKind::kConforming
           : graph                                   ? TessKind::kConstrained
                                                     : TessKind::kDelaunay;
  // Without p, refinement fills the convex hull as a plain triangulation does.
  e.segments_in_domain = e.kind != TessKind::kDelaunay && (graph || !refined);
  if (!e.segments_in_domain) {
    e.area = ConvexHullArea(c.graph.points, &e.area_exponent);
    return e;
  }
  e.domain_boundary = ContourSegments(c);
  e.area = DomainArea(c, &e.area_exponent);
  const PlanarGraph contours{c.graph.points, e.domain_boundary, {}};
  if (SegmentsCross(contours) || SegmentsRepeat(contours))
    e.area = std::numeric_limits<double>::quiet_NaN();
  return e;
}

int32_t RunAndCheck(const std::string& switches, const TessCase& c, Triangulation* out) {
  Triangulation result;
  try {
    result = RunEngine(switches.c_str(), c.graph);
  } catch (int32_t number) {
    return number;
  }
  const auto findings = CheckTriangulation(c.graph, result, ExpectationFor(c, switches));
  EXPECT_TRUE(findings.empty()) << "\"" << switches << "\" on " << c.name << ":\n"
                                << ::testing::PrintToString(findings);
  if (out) *out = std::move(result);
  return 0;
}

}  // namespace testing
}  // namespace kly
