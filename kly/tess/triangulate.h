// The tessellation engine's one door: a planar constrained / conforming Delaunay mesher.
//
// Everything goes in and out through TessRecord. A caller zeroes its records, fills the input
// arrays with TessAlloc, calls triangulate, and releases both records with TessFreeRecord.
// triangulate throws an int32_t on failure (10 for every failure of the engine itself), after
// it has already freed the input, output and dual records; freeing them again is harmless.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

// One record for input, output and the optional dual output. The arrays belong to the record
// and are released by TessFreeRecord. Numbers in the arrays count from 0 under switch z and
// from 1 otherwise. An output array left non-null by the caller is filled in place; one left
// null is allocated by the engine.
struct TessRecord {
  int32_t triangleLimit = 0;  // highest count of live triangles; 0 means no limit

  double* points = nullptr;           // x, y of each vertex
  double* pointAttributes = nullptr;  // pointAttributeCount numbers a vertex
  int32_t* pointMarkers = nullptr;    // a marker a vertex
  int32_t pointCount = 0;
  int32_t pointAttributeCount = 0;

  int32_t* corners = nullptr;            // cornerCount vertex numbers a triangle
  double* triangleAttributes = nullptr;  // triangleAttributeCount numbers a triangle
  double* triangleAreas = nullptr;       // an area bound a triangle (refinement input)
  int32_t* neighbors = nullptr;          // three triangle numbers a triangle, -1 for none
  int32_t triangleCount = 0;
  int32_t cornerCount = 0;  // 3, or 6 for second-order triangles
  int32_t triangleAttributeCount = 0;

  int32_t* segments = nullptr;        // two vertex numbers a segment
  int32_t* segmentMarkers = nullptr;  // a marker a segment
  int32_t segmentCount = 0;

  double* holes = nullptr;  // x, y of a seed inside each hole
  int32_t holeCount = 0;

  double* regions = nullptr;  // x, y, attribute, area bound of each region
  int32_t regionCount = 0;

  int32_t* edges = nullptr;        // two vertex numbers an edge
  int32_t* edgeMarkers = nullptr;  // a marker an edge
  double* normals = nullptr;       // x, y of each dual edge's direction
  int32_t edgeCount = 0;
};

// Zero-filled engine memory of `bytes` bytes, tagged 0x540000 | site. Raises the live block
// count. On failure it throws TriangleFailure("(triangulate) out of memory"), or the int32_t
// status of the text formatter should that fail.
void* TessAlloc(uint16_t site, uint32_t bytes);

// Frees the fourteen arrays of `record` that are non-null, nulls them, and zeroes the nine
// counts; triangleLimit stays. A null record does nothing. Idempotent.
void TessFreeRecord(TessRecord* record);

// Triangulates `in` as `switches` ask, writing `out` and, under switch v, `dual` (which may
// be null otherwise). Throws an int32_t on failure; see the head of this file.
// A NaN or infinite input coordinate is a failure (the int32_t 10), never a hang. Points of
// any finite magnitude are taken: very large or very small ones are worked on scaled by a
// power of two and come back exactly. What is refused (10) is a span: a non-zero coordinate
// below 2^-100 times the largest, where the predicates' products could underflow.
// Refinement: q sets a minimum angle (below 60 degrees; refinement is sure to end up to about
// 33), a an area bound (a number, or without one the regions' fourth numbers), u the test
// below, S a budget of added vertices; o2 writes six nodes a triangle, node 3 + k at the
// midpoint of the edge opposite corner k. Switch r (rebuilding a given triangulation) is
// refused.
void triangulate(const char* switches, TessRecord& in, TessRecord& out, TessRecord* dual);

// The triangle test of switch u: true when the counterclockwise triangle org, dest, apex, of
// the given area (all in the caller's coordinates), is to be refined. It must become false
// for small enough triangles, or refinement goes on until the vertex budget of switch S, or
// the precision of the coordinates, ends it.
using TessTriangleTest = bool (*)(const double* org, const double* dest, const double* apex,
                                  double area);

// The test that switch u applies unless replaced: a triangle whose longest squared edge is
// above 0.05 (x^2 + y^2) + 0.02, with x, y its origin, is refined. The mesh grows coarser
// away from (0, 0).
bool TessDefaultTriangleTest(const double* org, const double* dest, const double* apex,
                             double area);

// Makes `test` the test of switch u for the calling thread's later calls of triangulate; null
// brings back TessDefaultTriangleTest. Returns the test it replaces. Each thread has its own.
TessTriangleTest SetTessTriangleTest(TessTriangleTest test);

// What the engine throws internally, and what TessAlloc throws straight to a caller outside
// triangulate. It holds the formatted failure text, e.g. "(triangulate) Internal error.".
// what() is deliberately the base's: the text is for the engine's own handlers, which turn
// every TriangleFailure into the number 10.
class TriangleFailure : public std::exception {
 public:
  explicit TriangleFailure(std::string text) : text_(std::move(text)) {}
  TriangleFailure(const TriangleFailure& other) = default;
  ~TriangleFailure() override = default;

  const std::string& text() const { return text_; }

 private:
  std::string text_;
};
