// The triangle stage of refinement: bad triangles are split at their off-centres, the
// shortest first, and a vertex that would encroach a subsegment is taken back and the
// subsegment split instead (Ruppert, with Üngör's off-centres).
#include <cmath>
#include <cstdint>

#include "kly/tess/constraints.h"
#include "kly/tess/construction.h"
#include "kly/tess/flip_stack.h"
#include "kly/tess/refine.h"
#include "kly/tess/refine_queue.h"

namespace {

// Refinement splits subsegments as well as triangles: a free vertex that would encroach one is
// taken back and the subsegment split instead. Outlines need one or two such splits for each
// free vertex (some 1.2 on a gear at 33 degrees, 1.9 at 20). Two segments that nearly touch
// need about their length over their gap, without end: past this many splits for each free
// vertex, beyond the input's share, the stage gives up on them.
constexpr int64_t kSplitsPerFreeVertex = 16;

bool StillAsFound(const BadTriangle& bad, TriHandle t) {
  return !IsDeadTriangle(t.tri) && Org(t) == bad.triangleOrg && Dest(t) == bad.triangleDest &&
         Apex(t) == bad.triangleApex;
}

// Inserts a free vertex at the triangle's off-centre. A vertex that would encroach a
// subsegment is undone; one beyond or on a subsegment is not inserted, and the subsegment is
// then pooled as encroached; one on an existing vertex (at the limit of precision) is dropped.
// Returns whether the vertex was kept.
bool SplitTriangle(TessMesh& m, const TessSwitches& sw, const BadTriangle& bad) {
  TriHandle shortest = DecodeTri(bad.poorTriangle);
  if (!StillAsFound(bad, shortest)) return false;
  TessVertex org = Org(shortest), dest = Dest(shortest), apex = Apex(shortest);
  double centre[2], xi, eta;
  FindCircumcenter(m, sw, org, dest, apex, centre, xi, eta, true);
  PlaceOnOutputGrid(m, centre[0], centre[1]);
  if (SamePoint(centre, org) || SamePoint(centre, dest) || SamePoint(centre, apex)) return false;

  TessVertex vertex = MakeVertex(m);
  vertex[0] = centre[0];
  vertex[1] = centre[1];
  for (int i = 2; i < 2 + m.vertexAttributes; i++) {
    vertex[i] = org[i] + xi * (dest[i] - org[i]) + eta * (apex[i] - org[i]);
  }
  VertexType(m, vertex) = kFreeVertex;
  // The point lies left of the shortest edge, where the location walk may start.
  switch (InsertVertex(m, sw, vertex, shortest, nullptr, true, true)) {
    case kInsertSuccess:
      if (m.steinerLeft > 0) m.steinerLeft--;
      return true;
    case kInsertEncroaches:
      UndoInsertion(m);
      break;
    case kInsertForbidden:
    case kInsertDuplicate:
      break;
  }
  KillVertex(m, vertex);
  return false;
}

}  // namespace

void FindCircumcenter(TessMesh& m, const TessSwitches& sw, const double* org, const double* dest,
                      const double* apex, double* centre, double& xi, double& eta, bool offCentre) {
  m.counters.circumcentreCount++;
  const double xdo = dest[0] - org[0], ydo = dest[1] - org[1];
  const double xao = apex[0] - org[0], yao = apex[1] - org[1];
  const double dodist = xdo * xdo + ydo * ydo;
  const double aodist = xao * xao + yao * yao;
  // Twice the signed area, exact in sign: never zero for a live triangle. Not counted as an
  // orientation test.
  double doubleArea = xdo * yao - xao * ydo;
  if (!sw.noExactArithmetic) {
    doubleArea = CounterClockwise(m.counters, sw, dest, apex, org);
    m.counters.counterClockwiseCount--;
  }
  const double denominator = 0.5 / doubleArea;
  double dx = (yao * dodist - ydo * aodist) * denominator;
  double dy = (xdo * aodist - xao * dodist) * denominator;
  if (offCentre && sw.offCenter > 0.0) {
    // On the bisector of org to dest, offCenter edge lengths from its midpoint, inwards.
    const double offX = 0.5 * xdo - sw.offCenter * ydo;
    const double offY = 0.5 * ydo + sw.offCenter * xdo;
    if (offX * offX + offY * offY < dx * dx + dy * dy) {
      dx = offX;
      dy = offY;
    }
  }
  centre[0] = org[0] + dx;
  centre[1] = org[1] + dy;
  xi = (yao * dx - xao * dy) * (2.0 * denominator);
  eta = (xdo * dy - ydo * dx) * (2.0 * denominator);
}

bool EnforceTriangleQuality(TessMesh& m, const TessSwitches& sw, int64_t& splits) {
  ClearBadTriangleQueues(m);
  TraversalInit(m.triangles);
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    TestTriangle(m, sw, TriHandle{tri, 0});
  }
  m.checkQuality = 1;
  bool offSubsegment = false;
  int64_t freeVertices = 0;
  while (m.badTriangles.items > 0 && m.steinerLeft != 0) {
    BadTriangle* bad = DequeueBadTriangle(m);
    if (SplitTriangle(m, sw, *bad)) freeVertices++;
    if (m.badSubsegments.items > 0) {
      // Its vertex waits until the subsegments it would encroach are split.
      EnqueueBadTriangle(m, bad);
      if (SplitEncroachedSegments(m, sw, splits, kSplitsPerFreeVertex * freeVertices, true))
        offSubsegment = true;
    } else {
      PoolDealloc(m.badTriangles, bad);
    }
  }
  m.checkQuality = 0;
  return offSubsegment;
}
