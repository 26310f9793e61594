// Second-order triangles: a node at the midpoint of every edge, made once and shared by the
// two triangles of the edge.
#include "kly/tess/refine.h"

namespace {

inline TessVertex& MidEdgeNode(const TessMesh& m, TriHandle t) {
  return reinterpret_cast<TessVertex&>(t.tri[m.highorderIndex + t.orient]);
}

TessVertex MakeMidpoint(TessMesh& m, TriHandle edge) {
  TessVertex org = Org(edge);
  TessVertex dest = Dest(edge);
  TessVertex node = MakeVertex(m);
  for (int i = 0; i < 2 + m.vertexAttributes; i++) node[i] = 0.5 * (org[i] + dest[i]);
  const TriHandle neighbor = Sym(edge);
  const SubHandle sub =
      m.dummySubsegment != nullptr ? SubsegmentOnEdge(edge) : SubHandle{m.dummySubsegment, 0};
  if (sub.ss != m.dummySubsegment) {
    VertexMark(m, node) = SubsegMark(sub);
    VertexType(m, node) = kSegmentVertex;
  } else if (neighbor.tri == m.dummyTriangle) {
    VertexMark(m, node) = 1;
    VertexType(m, node) = kFreeVertex;
  } else {
    VertexMark(m, node) = 0;
    VertexType(m, node) = kSegmentVertex;
  }
  return node;
}

}  // namespace

void HighOrder(TessMesh& m, const TessSwitches&) {
  // New vertices join the pool as the walk goes; the walk is over triangles only.
  TraversalInit(m.triangles);
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    for (uint32_t orient = 0; orient < 3; orient++) {
      const TriHandle edge{tri, orient};
      if (MidEdgeNode(m, edge) != nullptr) continue;
      TessVertex node = MakeMidpoint(m, edge);
      MidEdgeNode(m, edge) = node;
      const TriHandle neighbor = Sym(edge);
      if (neighbor.tri != m.dummyTriangle) MidEdgeNode(m, neighbor) = node;
    }
  }
}
