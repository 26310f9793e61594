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
  kInsertSuccess = 0,
  kInsertEncroaches = 1,  // success, and a subsegment of the new star is encroached
  kInsertForbidden = 2,   // the vertex lies on a subsegment that forbids it; nothing changed
  kInsertDuplicate = 3    // the vertex equals one in the mesh; nothing changed
};

// After a rotation of the quadrilateral whose outer edges are topLeft, botLeft, botRight and
// topRight, each outer edge's subsegment moves with it by one quarter turn. Most flips have
// none round them: an edge without a subsegment holds the dummy, which stays.
inline void RebondSubsegments(const TessMesh& m, TriHandle topLeft, TriHandle botLeft,
                              TriHandle botRight, TriHandle topRight) {
  const SubHandle topLeftSub = SubsegmentOnEdge(topLeft);
  const SubHandle botLeftSub = SubsegmentOnEdge(botLeft);
  const SubHandle botRightSub = SubsegmentOnEdge(botRight);
  const SubHandle topRightSub = SubsegmentOnEdge(topRight);
  if (topLeftSub.ss == m.dummySubsegment && botLeftSub.ss == m.dummySubsegment &&
      botRightSub.ss == m.dummySubsegment && topRightSub.ss == m.dummySubsegment) {
    return;
  }
  if (topLeftSub.ss == m.dummySubsegment) {
    DetachSubsegment(m, topRight);
  } else {
    TSBond(topRight, topLeftSub);
  }
  if (botLeftSub.ss == m.dummySubsegment) {
    DetachSubsegment(m, topLeft);
  } else {
    TSBond(topLeft, botLeftSub);
  }
  if (botRightSub.ss == m.dummySubsegment) {
    DetachSubsegment(m, botLeft);
  } else {
    TSBond(botLeft, botRightSub);
  }
  if (topRightSub.ss == m.dummySubsegment) {
    DetachSubsegment(m, botRight);
  } else {
    TSBond(botRight, topRightSub);
  }
}

// Rotates the quadrilateral around `edge` one quarter turn counterclockwise: the links of the
// four outer edges move, the corners are rewritten by the caller.
inline void RotateQuadrilateral(const TessMesh& m, TriHandle edge, TriHandle top) {
  const TriHandle topLeft = Lprev(top);
  const TriHandle topLeftNeighbor = Sym(topLeft);
  const TriHandle topRight = Lnext(top);
  const TriHandle topRightNeighbor = Sym(topRight);
  const TriHandle botLeft = Lnext(edge);
  const TriHandle botLeftNeighbor = Sym(botLeft);
  const TriHandle botRight = Lprev(edge);
  const TriHandle botRightNeighbor = Sym(botRight);
  Bond(topLeft, botLeftNeighbor);
  Bond(botLeft, botRightNeighbor);
  Bond(botRight, topRightNeighbor);
  Bond(topRight, topLeftNeighbor);
  if (m.checkSegments) RebondSubsegments(m, topLeft, botLeft, botRight, topRight);
}

// Turns the diagonal of the two triangles on the handle's edge. Inline: segment insertion
// makes about as many flips as there are crossings of its segments with Delaunay edges.
inline void Flip(TessMesh& m, const TessSwitches&, TriHandle flipEdge) {
  TessVertex right = Org(flipEdge);
  TessVertex left = Dest(flipEdge);
  TessVertex bot = Apex(flipEdge);
  const TriHandle top = Sym(flipEdge);
  TessVertex far = Apex(top);
  RotateQuadrilateral(m, flipEdge, top);
  SetOrg(flipEdge, far);
  SetDest(flipEdge, bot);
  SetApex(flipEdge, right);
  SetOrg(top, bot);
  SetDest(top, far);
  SetApex(top, left);
  // The vertex map as RememberCorners on the two triangles, flipEdge's first, would leave it:
  // bot and far are in both and keep the names in top.
  if (m.vertexToTriangleIndex != 0) {
    VertexToTriangle(m, right) = EncodeTri(Lprev(flipEdge));
    VertexToTriangle(m, bot) = EncodeTri(top);
    VertexToTriangle(m, far) = EncodeTri(Lnext(top));
    VertexToTriangle(m, left) = EncodeTri(Lprev(top));
  }
}

// Inserts `vertex`; see insert_vertex.cpp. `splitSubsegment`, when given, is the subsegment on
// the edge of `searchTriangle` that the vertex lies on. On return `searchTriangle` has the new
// vertex as its origin. With `segmentFlaws` the subsegments of the new star are tested for
// encroachment, with `triangleFlaws` its triangles for quality. Once the triangle quality
// stage has begun (checkQuality), the split and the flips are kept for UndoInsertion.
InsertResult InsertVertex(TessMesh& m, const TessSwitches& sw, TessVertex vertex,
                          TriHandle& searchTriangle, const SubHandle* splitSubsegment,
                          bool segmentFlaws, bool triangleFlaws);
