// The engine's linked structure: triangle, subsegment and vertex records in pools, the handles
// that walk them, the two dummy records that stand for "nothing", and TessMesh, the context of
// one triangulate call. Internal to kly/tess.
//
// A triangle record is a row of 64-bit words:
//   0..2  neighbours, encoded handles; word k is across the edge opposite corner k
//   3..5  corners, plain vertex pointers
//   6..8  subsegments of the three edges, encoded (only with useSegments); bit 1 of word 6 is
//         the infection mark of hole carving
//   then  mid-edge vertices (second order), attributes, the area bound, the output number.
// A handle is (record, orient). Its encoded form is the record address with orient in the low
// two bits; records are 8-aligned, so the bits are free. All arithmetic on encoded words is
// done at pointer width.
//
// A subsegment record is nine words: 0, 1 the next subsegments along the segment (encoded),
// 2, 3 its ends, 4, 5 the ends of the whole input segment, 6, 7 the triangles on its sides
// (encoded), 8 the boundary mark (32 bits).
//
// A vertex record is x, y, the attributes, then the mark and the type (32 bits each) and, with
// pslgInput, a word holding the encoded handle of a triangle whose origin it is.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "kly/tess/predicates.h"
#include "kly/tess/switches.h"

using TessWord = uintptr_t;
using TessVertex = double*;

// Vertex types.
constexpr int32_t kInputVertex = 0;
constexpr int32_t kSegmentVertex = 1;
constexpr int32_t kFreeVertex = 2;
constexpr int32_t kDeadVertex = -32768;
constexpr int32_t kRemovedVertex = -32767;  // a duplicate, or eaten with a hole

// Items in each block after the first, for the eight pools.
constexpr uint32_t kTrianglesPerBlock = 4092;
constexpr uint32_t kSubsegmentsPerBlock = 508;
constexpr uint32_t kVerticesPerBlock = 4092;
constexpr uint32_t kViriPerBlock = 1020;
constexpr uint32_t kBadSubsegmentsPerBlock = 252;
constexpr uint32_t kBadTrianglesPerBlock = 4092;
constexpr uint32_t kFlipStackersPerBlock = 252;
constexpr uint32_t kSplayNodesPerBlock = 508;

constexpr uint32_t kSubsegmentBytes = 72;

struct TessPool {
  void* firstBlock;
  void* nowBlock;
  char* nextItem;
  void* deadItemStack;
  void* pathBlock;
  char* pathItem;
  uint32_t alignBytes;
  uint32_t itemBytes;
  uint32_t itemsPerBlock;
  uint32_t itemsFirstBlock;
  int32_t items;
  int32_t maxItems;
  uint32_t unallocatedItems;
  uint32_t pathItemsLeft;
};

struct TriHandle {
  TessWord* tri;
  uint32_t orient;
};

struct SubHandle {
  TessWord* ss;
  uint32_t orient;
};

// An encroached subsegment, with its ends at the time of the finding.
struct BadSubsegment {
  TessWord encodedSubsegment;
  TessVertex subsegOrg;
  TessVertex subsegDest;
};

constexpr int kQueueCount = 4096;

struct TessMesh {
  TessPool triangles;
  TessPool subsegments;
  TessPool vertices;
  TessPool viri;
  TessPool badSubsegments;
  TessPool badTriangles;
  TessPool flipStackers;
  TessPool splayNodes;

  void* queueFront[kQueueCount];
  void* queueTail[kQueueCount];
  int32_t nextNonemptyQueue[kQueueCount];
  int32_t firstNonemptyQueue;
  void* lastFlip;

  double xMin, xMax, yMin, yMax;
  double xMinExtreme;
  int32_t inVertices, inTriangles, inSegments, holeCount, regionCount;
  int32_t removedVertices;
  int32_t edgeCount;
  int32_t meshDimension;
  int32_t vertexAttributes, triangleAttributeCount;
  int32_t hullSize;
  int32_t steinerLeft;
  int32_t vertexMarkIndex, vertexToTriangleIndex, highorderIndex, elemAttribIndex, areaBoundIndex;
  uint32_t checkSegments;
  uint32_t checkQuality;
  uint32_t vertexFileRead;
  int32_t samples;
  int32_t triangleLimit;
  TessCounters counters;

  TessVertex boundingVertex1, boundingVertex2, boundingVertex3;
  TessWord* dummyTriangle;
  void* dummyTriangleBase;
  TessWord* dummySubsegment;
  void* dummySubsegmentBase;
  TriHandle recentTriangle;

  // Word (32-bit index) of the output number of a triangle, used by the dual and neighbour
  // writers. It is the word after word 5 when that word is free, else a word appended to the
  // record, so that numbering never overwrites the subsegment or attribute words.
  int32_t triangleNumberIndex;
  // The points are held scaled by 2^coordinateExponent (0 for ordinary magnitudes); seeds are
  // scaled on reading and results scaled back on writing.
  int32_t coordinateExponent;
};

extern const uint32_t plus1mod3[3];
extern const uint32_t minus1mod3[3];

// ---- Triangle handles ----------------------------------------------------------------------

inline TessWord EncodeTri(TriHandle t) {
  return reinterpret_cast<TessWord>(t.tri) | t.orient;
}
inline TriHandle DecodeTri(TessWord word) {
  const uint32_t orient = static_cast<uint32_t>(word & 3);
  return {reinterpret_cast<TessWord*>(word ^ orient), orient};
}

inline TessVertex Org(TriHandle t) {
  return reinterpret_cast<TessVertex>(t.tri[plus1mod3[t.orient] + 3]);
}
inline TessVertex Dest(TriHandle t) {
  return reinterpret_cast<TessVertex>(t.tri[minus1mod3[t.orient] + 3]);
}
inline TessVertex Apex(TriHandle t) {
  return reinterpret_cast<TessVertex>(t.tri[t.orient + 3]);
}
inline void SetOrg(TriHandle t, TessVertex v) {
  t.tri[plus1mod3[t.orient] + 3] = reinterpret_cast<TessWord>(v);
}
inline void SetDest(TriHandle t, TessVertex v) {
  t.tri[minus1mod3[t.orient] + 3] = reinterpret_cast<TessWord>(v);
}
inline void SetApex(TriHandle t, TessVertex v) {
  t.tri[t.orient + 3] = reinterpret_cast<TessWord>(v);
}

inline TriHandle Sym(TriHandle t) {
  return DecodeTri(t.tri[t.orient]);
}
inline TriHandle Lnext(TriHandle t) {
  return {t.tri, plus1mod3[t.orient]};
}
inline TriHandle Lprev(TriHandle t) {
  return {t.tri, minus1mod3[t.orient]};
}
inline TriHandle Onext(TriHandle t) {
  return Sym(Lprev(t));
}
inline TriHandle Oprev(TriHandle t) {
  return Lnext(Sym(t));
}
inline bool SameHandle(TriHandle a, TriHandle b) {
  return a.tri == b.tri && a.orient == b.orient;
}

inline void Bond(TriHandle a, TriHandle b) {
  a.tri[a.orient] = EncodeTri(b);
  b.tri[b.orient] = EncodeTri(a);
}
inline void Dissolve(const TessMesh& m, TriHandle t) {
  t.tri[t.orient] = reinterpret_cast<TessWord>(m.dummyTriangle);
}

inline bool IsDeadTriangle(const TessWord* tri) {
  return tri[1] == 0;
}

// Infection lives in bit 1 of word 6, beside the subsegment handle's orientation bit.
inline bool Infected(TriHandle t) {
  return (t.tri[6] & 2) != 0;
}
inline void Infect(TriHandle t) {
  t.tri[6] |= 2;
}
inline void Uninfect(TriHandle t) {
  t.tri[6] &= ~static_cast<TessWord>(2);
}

inline double& ElemAttribute(const TessMesh& m, TriHandle t, int i) {
  return reinterpret_cast<double*>(t.tri)[m.elemAttribIndex + i];
}
inline double& AreaBound(const TessMesh& m, TriHandle t) {
  return reinterpret_cast<double*>(t.tri)[m.areaBoundIndex];
}
inline int32_t& TriangleNumber(const TessMesh& m, TessWord* tri) {
  return reinterpret_cast<int32_t*>(tri)[m.triangleNumberIndex];
}

// ---- Subsegment handles --------------------------------------------------------------------

inline TessWord EncodeSub(SubHandle s) {
  return reinterpret_cast<TessWord>(s.ss) | s.orient;
}
inline SubHandle DecodeSub(TessWord word) {
  return {reinterpret_cast<TessWord*>(word & ~static_cast<TessWord>(3)),
          static_cast<uint32_t>(word & 1)};
}

inline TessVertex SOrg(SubHandle s) {
  return reinterpret_cast<TessVertex>(s.ss[2 + s.orient]);
}
inline TessVertex SDest(SubHandle s) {
  return reinterpret_cast<TessVertex>(s.ss[3 - s.orient]);
}
inline void SetSOrg(SubHandle s, TessVertex v) {
  s.ss[2 + s.orient] = reinterpret_cast<TessWord>(v);
}
inline void SetSDest(SubHandle s, TessVertex v) {
  s.ss[3 - s.orient] = reinterpret_cast<TessWord>(v);
}
inline TessVertex SegOrg(SubHandle s) {
  return reinterpret_cast<TessVertex>(s.ss[4 + s.orient]);
}
inline TessVertex SegDest(SubHandle s) {
  return reinterpret_cast<TessVertex>(s.ss[5 - s.orient]);
}
inline void SetSegOrg(SubHandle s, TessVertex v) {
  s.ss[4 + s.orient] = reinterpret_cast<TessWord>(v);
}
inline void SetSegDest(SubHandle s, TessVertex v) {
  s.ss[5 - s.orient] = reinterpret_cast<TessWord>(v);
}

inline SubHandle SSym(SubHandle s) {
  return {s.ss, s.orient ^ 1u};
}
// The subsegment of the same segment that shares this one's origin (word `orient`).
inline SubHandle SPivot(SubHandle s) {
  return DecodeSub(s.ss[s.orient]);
}
// The next subsegment along the segment: the one whose origin is this one's destination.
inline SubHandle SNext(SubHandle s) {
  return DecodeSub(s.ss[1 - s.orient]);
}
// Links two subsegments of one segment that share their origin.
inline void SBond(SubHandle a, SubHandle b) {
  a.ss[a.orient] = EncodeSub(b);
  b.ss[b.orient] = EncodeSub(a);
}
inline void SDissolve(const TessMesh& m, SubHandle s) {
  s.ss[s.orient] = reinterpret_cast<TessWord>(m.dummySubsegment);
}
inline int32_t& SubsegMark(SubHandle s) {
  return *reinterpret_cast<int32_t*>(s.ss + 8);
}
inline bool IsDeadSubsegment(const TessWord* ss) {
  return ss[1] == 0;
}

// Triangle <-> subsegment links: the subsegment on a triangle's edge (the dummy where there is
// none), and the triangle on a subsegment's side (the dummy where there is none).
inline SubHandle SubsegmentOnEdge(TriHandle t) {
  return DecodeSub(t.tri[6 + t.orient]);
}
inline TriHandle TriangleBeside(SubHandle s) {
  return DecodeTri(s.ss[6 + s.orient]);
}
inline void TSBond(TriHandle t, SubHandle s) {
  // Keep the infection bit of word 6 where it is.
  const TessWord keep = t.orient == 0 ? (t.tri[6] & 2) : 0;
  t.tri[6 + t.orient] = EncodeSub(s) | keep;
  s.ss[6 + s.orient] = EncodeTri(t);
}
inline void DetachSubsegment(const TessMesh& m, TriHandle t) {
  const TessWord keep = t.orient == 0 ? (t.tri[6] & 2) : 0;
  t.tri[6 + t.orient] = reinterpret_cast<TessWord>(m.dummySubsegment) | keep;
}
inline void DetachTriangle(const TessMesh& m, SubHandle s) {
  s.ss[6 + s.orient] = reinterpret_cast<TessWord>(m.dummyTriangle);
}
inline bool HasSubsegment(const TessMesh& m, TriHandle t) {
  return SubsegmentOnEdge(t).ss != m.dummySubsegment;
}

// v x 2^exponent, exact unless it leaves the range of doubles; free for the usual 0.
inline double ScaleByPowerOfTwo(double v, int32_t exponent) {
  return exponent == 0 ? v : std::ldexp(v, exponent);
}

// The coordinates of the output grid: what the caller gets once the mesh is scaled back by
// 2^-coordinateExponent. Scaling back up (a negative exponent) is exact; scaling back down
// rounds where the results fall among the subnormals, so that tiny inputs, scaled up to work
// on, have a grid coarser than the doubles they are worked on in. A vertex the engine adds is
// placed on the grid before the predicates judge it: the triangles they find turned are then
// those the caller gets, and a rounding that makes two vertices one or puts one off its
// segment is met by the handling every rounded vertex has.
inline double OnOutputGrid(const TessMesh& m, double v) {
  if (m.coordinateExponent <= 0) return v;
  return std::ldexp(std::ldexp(v, -m.coordinateExponent), m.coordinateExponent);
}
inline void PlaceOnOutputGrid(const TessMesh& m, double& x, double& y) {
  x = OnOutputGrid(m, x);
  y = OnOutputGrid(m, y);
}
// The neighbour of v, a coordinate on the output grid, on the grid towards `toward`.
inline double NextOnOutputGrid(const TessMesh& m, double v, double toward) {
  if (m.coordinateExponent <= 0) return std::nextafter(v, toward);
  const double scaledBack = std::ldexp(v, -m.coordinateExponent);
  return std::ldexp(std::nextafter(scaledBack, toward), m.coordinateExponent);
}

// ---- Vertices ------------------------------------------------------------------------------

inline int32_t& VertexMark(const TessMesh& m, TessVertex v) {
  return reinterpret_cast<int32_t*>(v)[m.vertexMarkIndex];
}
inline int32_t& VertexType(const TessMesh& m, TessVertex v) {
  return reinterpret_cast<int32_t*>(v)[m.vertexMarkIndex + 1];
}
inline TessWord& VertexToTriangle(const TessMesh& m, TessVertex v) {
  return reinterpret_cast<TessWord*>(v)[m.vertexToTriangleIndex];
}
// Under pslgInput each vertex names a triangle of which it is the origin, so that a segment's
// ends are found without a point location. Every operation that rewrites a triangle's corners
// calls this on it, which keeps the names valid.
inline void RememberCorners(const TessMesh& m, TessWord* tri) {
  if (m.vertexToTriangleIndex == 0) return;
  for (uint32_t orient = 0; orient < 3; orient++) {
    const TriHandle t{tri, orient};
    VertexToTriangle(m, Org(t)) = EncodeTri(t);
  }
}
inline bool SamePoint(const double* a, const double* b) {
  return a[0] == b[0] && a[1] == b[1];
}

// TessAlloc of `count` items of `size` bytes; a total beyond 32 bits is "out of memory" rather
// than a truncated block.
void* TessAllocArray(uint16_t site, uint32_t count, size_t size);

// ---- Pools (pools.cpp) ---------------------------------------------------------------------

void PoolZero(TessPool& pool);
void PoolInit(TessPool& pool, uint32_t bytes, uint32_t perBlock, uint32_t firstBlockCount,
              uint32_t alignment);
void PoolRestart(TessPool& pool);
void* PoolAlloc(TessPool& pool);
void PoolDealloc(TessPool& pool, void* item);
void TraversalInit(TessPool& pool);
void* Traverse(TessPool& pool);
void PoolFree(TessPool& pool);

TessWord* TriangleTraverse(TessMesh& m);
TessWord* SubsegmentTraverse(TessMesh& m);
TessVertex VertexTraverse(TessMesh& m);
// The vertex numbered `number` (counted from switches.firstIndex) by a walk over the blocks.
TessVertex GetVertex(TessMesh& m, const TessSwitches& b, int32_t number);
// The 0-based input number of an input vertex: input vertices fill the first block in order.
int32_t InputVertexIndex(const TessMesh& m, TessVertex v);

// Sets up the record layout, the triangle and subsegment pools and the dummies.
void InitTriangleSubsegmentPools(TessMesh& m, const TessSwitches& b);
TriHandle MakeTriangle(TessMesh& m, const TessSwitches& b);
SubHandle MakeSubsegment(TessMesh& m);
void KillTriangle(TessMesh& m, TessWord* tri);
void KillSubsegment(TessMesh& m, TessWord* ss);
void KillVertex(TessMesh& m, TessVertex v);
// A fresh vertex record from the vertex pool, type and mark 0, coordinates unset.
TessVertex MakeVertex(TessMesh& m);

// Zeroes every pool and the dummies, so that a teardown at any later point is safe.
void MeshZero(TessMesh& m);
// Frees every pool and dummy that exists; safe after a failure in any phase.
void MeshTearDown(TessMesh& m);
