// triangulate: the phases of one run, in their fixed order, inside one failure route.
//
// Input that the engine refuses, each with a failure that leaves triangulate as the int32_t 10
// after all records are freed:
//   - fewer than three points;
//   - a NaN or infinite coordinate: a NaN makes every orientation test false and a walk
//     through the mesh endless, an infinity makes NaNs of the differences;
//   - all points equal ("Input vertices are all identical.");
//   - a missing array that a non-zero count asks for, or the same record as input and output;
//   - switch r: this build does not rebuild a given triangulation (and so takes no per-triangle
//     area bounds from `triangleAreas`; switch a without a number takes its bounds from the
//     regions);
//   - a minimum angle (switch q) of 60 degrees or more, which no triangle can meet;
//   - a non-zero coordinate below 2^-100 times the largest one: two such coordinates may
//     differ by so little that the predicates' products underflow, and an exact sign is then
//     no longer guaranteed ("Input coordinates span too many orders of magnitude.").
// A constrained run whose segment insertion fails runs once more, from the untouched input,
// with each crossing placed before the dig that reaches it (see InsertSegments): rounded
// inputs whose segments cross within a rounding of a vertex need it, and inputs that succeed
// the ordinary way keep their results bit for bit.
// Coordinates of any magnitude are taken otherwise: when the largest lies outside 2^-64 to
// 2^64, the engine works on the points scaled by a power of two that brings it near 1, which
// changes no predicate's sign and keeps the in-circle test's fourth powers clear of overflow
// and underflow, and scales its results back exactly.
// All points on one line are no failure: the result has no triangles, and no segment can be
// placed. Segments naming a vertex outside the input, or with equal ends, are skipped.
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <exception>

#include "kly/host/nut.h"
#include "kly/tess/constraints.h"
#include "kly/tess/construction.h"
#include "kly/tess/exact_arithmetic.h"
#include "kly/tess/failure.h"
#include "kly/tess/output.h"
#include "kly/tess/refine.h"
#include "kly/tess/triangulate.h"

namespace {

// Outside this range of the largest coordinate the points are scaled (see the head).
constexpr int kLargestUnscaledExponent = 64;
// Non-zero coordinates below 2^-kWidestSpanExponent of the largest are refused (see the head).
constexpr int kWidestSpanExponent = 100;

// Thrown by Run when the ordinary segment insertion failed (see the head).
struct RetryWithCrossingsFirst {};

// Every triangle has an angle of at most 60 degrees.
constexpr double kLargestMinimumAngle = 60.0;

void RefuseMissingStages(const TessSwitches& sw) {
  if (sw.refineInput)
    TessFail("Refining a triangulation (switch r) is not available in this build.");
  if (sw.minAngle >= kLargestMinimumAngle) TessFail("Minimum angle must be below 60 degrees.");
}

// Moves the input points into the vertex pool and finds their bounding rectangle.
void TransferVertices(TessMesh& m, TessSwitches& sw, const TessRecord& in) {
  m.inVertices = in.pointCount;
  m.vertexAttributes = in.pointAttributeCount;
  if (m.inVertices < 3) TessFail("Input must have at least three input vertices.");
  if (in.points == nullptr) TessFail("Input points are missing.");
  if (m.vertexAttributes < 0 || (m.vertexAttributes > 0 && in.pointAttributes == nullptr)) {
    TessFail("Input point attributes are missing.");
  }
  if (m.vertexAttributes == 0) sw.weightMode = 0;

  m.vertexMarkIndex = ((2 + m.vertexAttributes) * 8 + 3) / 4;
  uint32_t vertexBytes = static_cast<uint32_t>((m.vertexMarkIndex + 2) * 4);
  m.vertexToTriangleIndex = 0;
  if (sw.pslgInput) {
    m.vertexToTriangleIndex = static_cast<int32_t>((vertexBytes + 7) / 8);
    vertexBytes = static_cast<uint32_t>((m.vertexToTriangleIndex + 1) * 8);
  }
  const uint32_t firstBlock = m.inVertices > static_cast<int32_t>(kVerticesPerBlock)
                                  ? static_cast<uint32_t>(m.inVertices)
                                  : kVerticesPerBlock;
  PoolInit(m.vertices, vertexBytes, kVerticesPerBlock, firstBlock, 8);

  double largest = 0.0;
  for (size_t i = 0; i < 2 * static_cast<size_t>(m.inVertices); i++) {
    const double magnitude = std::fabs(in.points[i]);
    if (!(magnitude <= DBL_MAX)) TessFail("Input coordinates must be finite.");
    largest = magnitude > largest ? magnitude : largest;
  }
  // With every coordinate 0 or at least 2^-100 of the largest, two that differ do so by at
  // least 2^-152 of it, whose fourth power with the error terms of the in-circle test stays
  // far above the smallest double once the largest is scaled near 1.
  const double smallest = std::ldexp(largest, -kWidestSpanExponent);
  for (size_t i = 0; i < 2 * static_cast<size_t>(m.inVertices); i++) {
    const double magnitude = std::fabs(in.points[i]);
    if (magnitude != 0.0 && magnitude < smallest) {
      TessFail("Input coordinates span too many orders of magnitude.");
    }
  }
  m.coordinateExponent = 0;
  if (largest > 0.0 && std::abs(std::ilogb(largest)) > kLargestUnscaledExponent) {
    m.coordinateExponent = -std::ilogb(largest);
  }

  const int32_t attributes = m.vertexAttributes;
  for (int32_t i = 0; i < m.inVertices; i++) {
    TessVertex v = MakeVertex(m);
    const double x = ScaleByPowerOfTwo(in.points[2 * static_cast<size_t>(i)], m.coordinateExponent);
    const double y =
        ScaleByPowerOfTwo(in.points[2 * static_cast<size_t>(i) + 1], m.coordinateExponent);
    v[0] = x;
    v[1] = y;
    for (int32_t j = 0; j < attributes; j++) {
      v[2 + j] = in.pointAttributes[static_cast<size_t>(i) * attributes + j];
    }
    VertexMark(m, v) = in.pointMarkers != nullptr ? in.pointMarkers[i] : 0;
    if (i == 0) {
      m.xMin = m.xMax = x;
      m.yMin = m.yMax = y;
    } else {
      m.xMin = x < m.xMin ? x : m.xMin;
      m.xMax = x > m.xMax ? x : m.xMax;
      m.yMin = y < m.yMin ? y : m.yMin;
      m.yMax = y > m.yMax ? y : m.yMax;
    }
  }
  const double left = 10.0 * m.xMin;
  const double right = 9.0 * m.xMax;
  m.xMinExtreme = left - right;
}

int32_t BuildDelaunay(TessMesh& m, const TessSwitches& sw) {
  m.triangleAttributeCount = 0;
  InitTriangleSubsegmentPools(m, sw);
  if (sw.incrementalBuild) return IncrementalDelaunay(m, sw);
  if (sw.sweepBuild) return SweepDelaunay(m, sw);
  return DivideAndConquerDelaunay(m, sw);
}

void SetOutputCounts(TessMesh& m, const TessSwitches& sw, const TessRecord& in, TessRecord& out,
                     TessRecord* dual) {
  out.triangleLimit = in.triangleLimit;
  out.pointCount = m.vertices.items - (sw.dropUnused ? m.removedVertices : 0);
  out.pointAttributeCount = m.vertexAttributes;
  out.triangleCount = m.triangles.items;
  out.cornerCount = (sw.elementOrder + 1) * (sw.elementOrder + 2) / 2;
  out.triangleAttributeCount = m.triangleAttributeCount;
  out.edgeCount = m.edgeCount;
  out.segmentCount = sw.useSegments ? m.subsegments.items : m.hullSize;
  if (dual != nullptr) {
    dual->pointCount = m.triangles.items;
    dual->pointAttributeCount = m.vertexAttributes;
    dual->edgeCount = m.edgeCount;
  }
}

void InsertInputSegments(TessMesh& m, const TessSwitches& sw, const TessRecord& in,
                         bool crossingsFirst) {
  const int32_t count = in.segmentCount > 0 ? in.segmentCount : 0;
  if (count > 0 && in.segments == nullptr) TessFail("Input segments are missing.");
  try {
    InsertSegments(m, sw, in.segments, in.segmentMarkers, count, crossingsFirst);
  } catch (int32_t number) {
    if (number == 10 && !crossingsFirst && !sw.splitSegments) throw RetryWithCrossingsFirst{};
    throw;
  }
}

void Run(TessMesh& m, TessSwitches& sw, const char* switchText, TessRecord& in, TessRecord& out,
         TessRecord* dual, bool crossingsFirst) {
  m.triangleLimit = in.triangleLimit;
  ParseSwitches(switchText, sw);
  RefuseMissingStages(sw);
  if (&in == &out || &in == dual || &out == dual) {
    TessFail("Input, output and dual records must be separate.");
  }
  m.steinerLeft = sw.steinerLimit;

  TransferVertices(m, sw, in);
  m.hullSize = BuildDelaunay(m, sw);
  if (m.triangles.items == 0) m.hullSize = 0;
  m.boundingVertex1 = m.boundingVertex2 = m.boundingVertex3 = nullptr;

  if (sw.useSegments) {
    m.checkSegments = 1;
    if (sw.pslgInput) {
      InsertInputSegments(m, sw, in, crossingsFirst);
    } else {
      m.inSegments = 0;
    }
    if ((sw.convexHullSegments || !sw.pslgInput) && m.triangles.items > 0) MarkHull(m, sw);
  }

  if (sw.pslgInput && m.triangles.items > 0) {
    m.holeCount = in.holeCount > 0 ? in.holeCount : 0;
    m.regionCount = in.regionCount > 0 ? in.regionCount : 0;
    if (m.holeCount > 0 && in.holes == nullptr) TessFail("Input holes are missing.");
    if (m.regionCount > 0 && in.regions == nullptr) TessFail("Input regions are missing.");
    CarveHoles(m, sw, in.holes, m.holeCount, in.regions, m.regionCount);
  } else {
    m.holeCount = 0;
    m.regionCount = 0;
  }

  if (sw.qualityMesh && m.triangles.items > 0) EnforceQuality(m, sw);

  m.edgeCount = (3 * m.triangles.items + m.hullSize) / 2;
  if (sw.elementOrder > 1) HighOrder(m, sw);
  SetOutputCounts(m, sw, in, out, dual);

  WriteVertices(m, sw, out);
  if (!sw.noTriangleOutput) WriteTriangles(m, sw, out);
  if ((sw.pslgInput || sw.convexHullSegments) && !sw.noSegmentOutput) {
    WriteSegments(m, sw, out);
  }
  out.holeCount = m.holeCount;
  out.regionCount = m.regionCount;
  if (sw.pslgInput) {
    // The seeds change owner: from here on only the output holds them.
    if (out.holes != in.holes) TessFree(out.holes);
    if (out.regions != in.regions) TessFree(out.regions);
    out.holes = in.holes;
    out.regions = in.regions;
    in.holes = nullptr;
    in.regions = nullptr;
  } else {
    out.holes = nullptr;
    out.regions = nullptr;
  }
  if (sw.writeEdges || sw.writeDual || sw.writeNeighbors) NumberTriangles(m, sw);
  if (sw.writeEdges) WriteEdges(m, sw, out);
  if (sw.writeDual && dual != nullptr) WriteDual(m, sw, *dual);
  if (sw.writeNeighbors) WriteNeighbors(m, sw, out);

  if (sw.verbosity > 0 && !sw.quiet) ComputeStatistics(m, sw);
  if (sw.checkResult) {
    CheckMesh(m, sw);
    CheckDelaunay(m, sw);
  }
}

// One run in a mesh of its own, torn down before it returns the failure number, or 0.
// `retry` is set when the run asks to be repeated with crossings placed first.
int32_t TriangulateOnce(const char* switchText, TessRecord* in, TessRecord* out, TessRecord* dual,
                        bool crossingsFirst, bool& retry) {
  // The mesh lives on the stack: about 90 kB, most of it the refinement stage's queues.
  TessMesh m;
  MeshZero(m);
  m.recentTriangle = {nullptr, 0};
  m.removedVertices = 0;
  m.samples = 1;
  m.checkSegments = 0;
  m.checkQuality = 0;
  m.vertexFileRead = 0;
  m.meshDimension = 2;
  m.counters = TessCounters{};
  m.inSegments = m.holeCount = m.regionCount = 0;
  m.hullSize = 0;
  m.edgeCount = 0;
  m.triangleAttributeCount = 0;
  m.vertexAttributes = 0;
  m.triangleNumberIndex = 0;
  m.coordinateExponent = 0;
  m.firstNonemptyQueue = -1;
  m.lastFlip = nullptr;
  gTessRandomSeed.store(1, std::memory_order_relaxed);
  ExactInit();

  TessSwitches sw;
  int32_t code = 0;
  try {
    code = TessFailureCode([&] {
      if (in == nullptr || out == nullptr) TessFail("Input and output records are required.");
      Run(m, sw, switchText, *in, *out, dual, crossingsFirst);
    });
  } catch (const RetryWithCrossingsFirst&) {
    retry = true;
    code = 10;
  }
  MeshTearDown(m);
  return code;
}

}  // namespace

void triangulate(const char* switchText, TessRecord& in, TessRecord& out, TessRecord* dual) {
  bool retry = false;
  int32_t code = TriangulateOnce(switchText, &in, &out, dual, false, retry);
  if (retry) code = TriangulateOnce(switchText, &in, &out, dual, true, retry);
  if (code != 0) {
    TessFreeRecord(&in);
    TessFreeRecord(&out);
    TessFreeRecord(dual);
    throw code;
  }
}
