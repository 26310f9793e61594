// Delaunay construction, point location and vertex insertion: the operations that build and
// grow the triangulation. Internal to kly/tess.
#pragma once

#include <atomic>
#include <cstdint>

#include "kly/tess/mesh_structure.h"

// The engine's random seed, reset to 1 at each entry of triangulate. It steers the sort's
// pivots, the medians of the cuts and the samples of point location only.
extern std::atomic<uint32_t> gTessRandomSeed;

// A linear congruential draw in [0, choices).
inline uint32_t TessRandom(uint32_t choices) {
  const uint32_t seed =
      (gTessRandomSeed.load(std::memory_order_relaxed) * 1366u + 150889u) % 714025u;
  gTessRandomSeed.store(seed, std::memory_order_relaxed);
  return seed / (714025u / choices + 1u);
}

// The three constructions; each returns the hull size. The pools must be set up.
int32_t DivideAndConquerDelaunay(TessMesh& m, const TessSwitches& sw);
int32_t IncrementalDelaunay(TessMesh& m, const TessSwitches& sw);
int32_t SweepDelaunay(TessMesh& m, const TessSwitches& sw);
// Removes the ring of ghost triangles that starts at `startGhost`; returns the hull size.
int32_t RemoveGhosts(TessMesh& m, const TessSwitches& sw, TriHandle startGhost);

// Results of point location.
enum LocateResult : int32_t { kInTriangle = 0, kOnEdge = 1, kOnVertex = 2, kOutside = 3 };

// `searchTriangle` is the start and the answer: the point lies on or left of its edge, and on
// its origin under kOnVertex.
LocateResult Locate(TessMesh& m, const TessSwitches& sw, const double* point,
                    TriHandle& searchTriangle);
LocateResult PreciseLocate(TessMesh& m, const TessSwitches& sw, const double* point,
                           TriHandle& searchTriangle, bool stopAtSubsegment);

// The hull edge that the dummy triangle names: where a location without a better start begins.
inline TriHandle DummyHullEdge(const TessMesh& m) {
  return DecodeTri(m.dummyTriangle[0]);
}

// Results of InsertVertex.
enum InsertResult : int32_t {
  kSuccessfulVertex = 0,
  kEncroachingVertex = 1,
  kViolatingVertex = 2,
  kDuplicateVertex = 3
};

// Turns the diagonal of the two triangles on the handle's edge.
void Flip(TessMesh& m, const TessSwitches& sw, TriHandle flipEdge);

// Inserts `vertex`; see insert_vertex.cpp. `splitSubsegment`, when given, is the subsegment on
// the edge of `searchTriangle` that the vertex lies on. On return `searchTriangle` has the new
// vertex as its origin.
InsertResult InsertVertex(TessMesh& m, const TessSwitches& sw, TessVertex vertex,
                          TriHandle& searchTriangle, const SubHandle* splitSubsegment,
                          bool segmentFlaws);
