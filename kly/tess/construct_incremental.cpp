// Delaunay triangulation by incremental insertion (switch i): every vertex goes into a large
// bounding triangle through InsertVertex, then the triangles that touch its corners go.
#include "kly/tess/construction.h"
#include "kly/tess/failure.h"
#include "kly/tess/triangulate.h"

namespace {

constexpr uint16_t kSiteBoundingVertex1 = 0x07;
constexpr uint16_t kSiteBoundingVertex2 = 0x08;
constexpr uint16_t kSiteBoundingVertex3 = 0x09;

TessVertex MakeBoundingVertex(TessMesh& m, uint16_t site, double x, double y) {
  TessVertex v = static_cast<TessVertex>(TessAlloc(site, m.vertices.itemBytes));
  v[0] = x;
  v[1] = y;
  return v;
}

// The corners stand far enough out (50, 40 and 60 widths) that no circumcircle test between
// input vertices is changed by them; InsertVertex treats them as points at infinity.
void BoundingBox(TessMesh& m, const TessSwitches& sw) {
  double width = m.xMax - m.xMin;
  if (m.yMax - m.yMin > width) width = m.yMax - m.yMin;
  if (width == 0.0) width = 1.0;
  m.boundingVertex1 =
      MakeBoundingVertex(m, kSiteBoundingVertex1, m.xMin - 50.0 * width, m.yMin - 40.0 * width);
  m.boundingVertex2 =
      MakeBoundingVertex(m, kSiteBoundingVertex2, m.xMax + 50.0 * width, m.yMin - 40.0 * width);
  m.boundingVertex3 =
      MakeBoundingVertex(m, kSiteBoundingVertex3, 0.5 * (m.xMin + m.xMax), m.yMax + 60.0 * width);
  const TriHandle box = MakeTriangle(m, sw);
  SetOrg(box, m.boundingVertex1);
  SetDest(box, m.boundingVertex2);
  SetApex(box, m.boundingVertex3);
  m.dummyTriangle[0] = EncodeTri(box);
}

inline bool IsBoxCorner(const TessMesh& m, TessVertex v) {
  return v == m.boundingVertex1 || v == m.boundingVertex2 || v == m.boundingVertex3;
}

inline bool TouchesBox(const TessMesh& m, TessWord* tri) {
  const TriHandle t{tri, 0};
  return IsBoxCorner(m, Org(t)) || IsBoxCorner(m, Dest(t)) || IsBoxCorner(m, Apex(t));
}

// Kills every triangle with a corner of the bounding triangle. Each edge between such a
// triangle and a surviving one is a hull edge; returns their count.
int32_t RemoveBox(TessMesh& m, const TessSwitches& sw) {
  int32_t hullSize = 0;
  TraversalInit(m.triangles);
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    if (!TouchesBox(m, tri)) continue;
    for (uint32_t orient = 0; orient < 3; orient++) {
      const TriHandle neighbor = Sym(TriHandle{tri, orient});
      if (neighbor.tri == m.dummyTriangle || IsDeadTriangle(neighbor.tri) ||
          TouchesBox(m, neighbor.tri)) {
        continue;
      }
      hullSize++;
      if (!sw.pslgInput) {
        TessVertex org = Org(neighbor);
        if (VertexMark(m, org) == 0) VertexMark(m, org) = 1;
      }
      Dissolve(m, neighbor);
      m.dummyTriangle[0] = EncodeTri(neighbor);
    }
    KillTriangle(m, tri);
  }
  TessFree(m.boundingVertex1);
  TessFree(m.boundingVertex2);
  TessFree(m.boundingVertex3);
  m.boundingVertex1 = m.boundingVertex2 = m.boundingVertex3 = nullptr;
  return hullSize;
}

}  // namespace

int32_t IncrementalDelaunay(TessMesh& m, const TessSwitches& sw) {
  BoundingBox(m, sw);
  TraversalInit(m.vertices);
  for (TessVertex v = VertexTraverse(m); v != nullptr; v = VertexTraverse(m)) {
    TriHandle start{m.dummyTriangle, 0};
    if (InsertVertex(m, sw, v, start, nullptr, false, false) == kInsertDuplicate) {
      VertexType(m, v) = kRemovedVertex;
      m.removedVertices++;
    }
  }
  return RemoveBox(m, sw);
}
