// libFuzzer target for the tessellation engine: arbitrary bytes become points, segments and
// hole seeds, triangulated under the library's two switch strings. Every result goes through
// the independent validity checker; an invalid result aborts, and so does the failure 10 on an
// input the engine documents as valid (see ValidInput). Everything is freed.
//
// Conforming runs ("VpDz") still refuse some valid inputs and leave some results invalid (a
// subsegment encroached, an input vertex unused): thin triangles and nearly parallel segments
// whose splits round badly. They are judged only when KLY_FUZZ_STRICT_CONFORMING is set, for
// the runs that work on them; otherwise they must only not crash, hang or leak, as a brief run
// would stop at one of these known faults within a minute and never reach anything new.
//
// Layout of an input (missing bytes read as 0):
//   byte 0: point count (mod 128)   byte 1: segment count (mod 128)
//   byte 2: hole count (mod 8)      byte 3: coordinate format (mod 4), see ReadCoordinate
//   then the points' x, y; then the segments' ends, one byte each, as the byte minus 2 (so
//   that -2, -1 and numbers past the points occur); then the holes' x, y.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/byte_reader.h"
#include "kly/tess/triangulate.h"
#include "tests/testing/tess_checker.h"

namespace {

using kly::testing::PlanarGraph;
using kly::testing::TessKind;
using kly::testing::Triangulation;

constexpr double kPi = 3.14159265358979323846;

// Small integers make collinear and cocircular points common; raw doubles bring NaN,
// infinities, subnormals and huge values; the scaled forms test the extremes of the range.
double ReadCoordinate(ByteReader& reader, int format) {
  switch (format) {
    case 0:
      return static_cast<int8_t>(reader.Byte());
    case 1:
      return reader.Int16();
    case 2:
      return reader.Raw();
    default:
      return static_cast<int8_t>(reader.Byte()) * 0x1.0p-1000;
  }
}

bool AllFinite(const std::vector<double>& values) {
  return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

// What the engine promises to triangulate: at least three points, not all equal, every
// coordinate finite, and every non-zero point coordinate at least 2^-100 of the largest.
bool ValidInput(const PlanarGraph& in) {
  if (in.PointCount() < 3 || !AllFinite(in.points) || !AllFinite(in.holes)) return false;
  double largest = 0.0;
  for (double v : in.points) largest = std::max(largest, std::fabs(v));
  const double smallest = std::ldexp(largest, -100);
  for (double v : in.points)
    if (v != 0.0 && std::fabs(v) < smallest) return false;
  for (int32_t i = 1; i < in.PointCount(); ++i)
    if (in.points[2 * i] != in.points[0] || in.points[2 * i + 1] != in.points[1]) return true;
  return false;
}

[[noreturn]] void Finding(const char* switches, const std::string& what) {
  std::fprintf(stderr, "tess_fuzz: \"%s\": %s\n", switches, what.c_str());
  std::abort();
}

// The engine's result as the checker reads it, or the number it threw.
int32_t Run(const char* switches, const PlanarGraph& graph, Triangulation& result) {
  TessRecord in{}, out{};
  int32_t number = 0;
  try {
    in.points = static_cast<double*>(TessAlloc(0, graph.points.size() * sizeof(double) + 1));
    std::copy(graph.points.begin(), graph.points.end(), in.points);
    in.pointCount = graph.PointCount();
    in.segments = static_cast<int32_t*>(TessAlloc(1, graph.segments.size() * sizeof(int32_t) + 1));
    std::copy(graph.segments.begin(), graph.segments.end(), in.segments);
    in.segmentCount = static_cast<int32_t>(graph.segments.size() / 2);
    in.holes = static_cast<double*>(TessAlloc(2, graph.holes.size() * sizeof(double) + 1));
    std::copy(graph.holes.begin(), graph.holes.end(), in.holes);
    in.holeCount = static_cast<int32_t>(graph.holes.size() / 2);
    triangulate(switches, in, out, nullptr);
    result.points.assign(out.points, out.points + 2 * out.pointCount);
    result.corners.assign(out.corners, out.corners + 3 * out.triangleCount);
    result.neighbors.clear();
    result.segments.assign(out.segments, out.segments + 2 * out.segmentCount);
  } catch (int32_t thrown) {
    // The engine's one failure route; the records are already freed.
    number = thrown;
  } catch (const TriangleFailure&) {
    // Only TessAlloc, outside the engine, may throw this (when memory runs out).
    number = -1;
  }
  TessFreeRecord(&in);
  TessFreeRecord(&out);
  return number;
}

// The smallest angle, in radians, between two valid segments of `in` that leave one place
// (computed in doubles: a filter, not an exact value).
double SmallestAngleAtSharedEnds(const PlanarGraph& in) {
  struct Arm {
    double x, y, dx, dy;
  };
  std::vector<Arm> arms;
  const int32_t n = in.PointCount();
  for (size_t s = 0; s + 1 < in.segments.size(); s += 2) {
    const int32_t a = in.segments[s], b = in.segments[s + 1];
    if (a < 0 || b < 0 || a >= n || b >= n) continue;
    const double ax = in.points[2 * a], ay = in.points[2 * a + 1];
    const double bx = in.points[2 * b], by = in.points[2 * b + 1];
    if (ax == bx && ay == by) continue;
    arms.push_back({ax, ay, bx - ax, by - ay});
    arms.push_back({bx, by, ax - bx, ay - by});
  }
  double smallest = kPi;
  for (size_t i = 0; i < arms.size(); ++i)
    for (size_t j = i + 1; j < arms.size(); ++j) {
      const Arm &u = arms[i], &v = arms[j];
      if (u.x != v.x || u.y != v.y) continue;
      const double angle =
          std::atan2(std::fabs(u.dx * v.dy - u.dy * v.dx), u.dx * v.dx + u.dy * v.dy);
      if (angle > 0.0) smallest = std::min(smallest, angle);
    }
  return smallest;
}

// Whether a conforming run may refuse `in` for a cause the engine names: splitting segments
// that meet at a tiny angle need not end, which it detects (below 1e-9 radians at once). A
// crossing vertex makes the angles there as small as the crossing's, so crossings excuse too.
bool ConformingMayRefuse(const PlanarGraph& in) {
  return kly::testing::SegmentsCross(in) || SmallestAngleAtSharedEnds(in) < 1e-8;
}

// Whether conforming runs are judged (see the head of the file).
bool StrictConforming() {
  static const bool strict = std::getenv("KLY_FUZZ_STRICT_CONFORMING") != nullptr;
  return strict;
}

// Runs `switches` on `graph` and aborts on an invalid result, or on a failure that the input
// does not explain.
void RunAndCheck(const char* switches, TessKind kind, const PlanarGraph& graph, bool valid) {
  Triangulation result;
  const int32_t number = Run(switches, graph, result);
  if (kind == TessKind::kConforming && !StrictConforming()) return;
  if (number == 10 && valid && (kind != TessKind::kConforming || !ConformingMayRefuse(graph)))
    Finding(switches, "failure 10 on a valid input");
  if (number != 0) return;
  kly::testing::TessExpectation expect;
  expect.kind = kind;
  expect.segments_in_domain = false;  // hole seeds and the carving may remove any segment
  const auto findings = kly::testing::CheckTriangulation(graph, result, expect);
  if (!findings.empty()) Finding(switches, findings.front());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ByteReader reader(data, size);
  const int32_t point_count = reader.Byte() % 128;
  const int32_t segment_count = reader.Byte() % 128;
  const int32_t hole_count = reader.Byte() % 8;
  const int format = reader.Byte() % 4;
  PlanarGraph graph;
  for (int32_t i = 0; i < 2 * point_count; ++i)
    graph.points.push_back(ReadCoordinate(reader, format));
  for (int32_t i = 0; i < 2 * segment_count; ++i) graph.segments.push_back(reader.Byte() - 2);
  for (int32_t i = 0; i < 2 * hole_count; ++i)
    graph.holes.push_back(ReadCoordinate(reader, format));
  const bool valid = ValidInput(graph);
  RunAndCheck("Qpz", TessKind::kConstrained, graph, valid);
  RunAndCheck("VpDz", TessKind::kConforming, graph, valid);
  return 0;
}
