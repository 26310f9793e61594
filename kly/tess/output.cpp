// Writing the mesh into the output records. Each array is allocated once at its final size,
// unless the caller left it non-null, in which case it is filled in place.
#include "kly/tess/output.h"

#include <cmath>

#include "kly/tess/construction.h"
#include "kly/tess/failure.h"

namespace {

constexpr uint16_t kSitePoints = 0x0E;
constexpr uint16_t kSitePointAttributes = 0x0F;
constexpr uint16_t kSitePointMarkers = 0x10;
constexpr uint16_t kSiteCorners = 0x11;
constexpr uint16_t kSiteTriangleAttributes = 0x12;
constexpr uint16_t kSiteSegments = 0x13;
constexpr uint16_t kSiteSegmentMarkers = 0x14;
constexpr uint16_t kSiteEdges = 0x15;
constexpr uint16_t kSiteEdgeMarkers = 0x16;
constexpr uint16_t kSiteDualPoints = 0x17;
constexpr uint16_t kSiteDualPointAttributes = 0x18;
constexpr uint16_t kSiteDualEdges = 0x19;
constexpr uint16_t kSiteNormals = 0x1A;
constexpr uint16_t kSiteNeighbors = 0x1B;

template <class T>
T* Array(T*& field, uint16_t site, int64_t count) {
  if (field == nullptr && count > 0) {
    if (count > 0xFFFFFFFFll) TessFailOutOfMemory();
    field = static_cast<T*>(TessAllocArray(site, static_cast<uint32_t>(count), sizeof(T)));
  }
  return field;
}

inline int32_t Number(const TessMesh& m, TessVertex v) {
  return VertexMark(m, v);
}

// An edge is written once: from the triangle with the lower number, or from the only one.
inline bool OwnsEdge(const TessMesh& m, TriHandle t, TriHandle across) {
  return across.tri == m.dummyTriangle || TriangleNumber(m, t.tri) < TriangleNumber(m, across.tri);
}

}  // namespace

void WriteVertices(TessMesh& m, const TessSwitches& sw, TessRecord& out) {
  const int32_t attributes = m.vertexAttributes;
  double* points = nullptr;
  double* pointAttributes = nullptr;
  int32_t* markers = nullptr;
  if (!sw.noPointOutput) {
    points = Array(out.points, kSitePoints, 2ll * out.pointCount);
    if (attributes > 0) {
      pointAttributes =
          Array(out.pointAttributes, kSitePointAttributes, int64_t{attributes} * out.pointCount);
    }
    if (!sw.noBoundaryMarkers) markers = Array(out.pointMarkers, kSitePointMarkers, out.pointCount);
  }
  TraversalInit(m.vertices);
  int32_t number = sw.firstIndex;
  size_t index = 0;
  for (TessVertex v = VertexTraverse(m); v != nullptr; v = VertexTraverse(m)) {
    if (sw.dropUnused && VertexType(m, v) == kRemovedVertex) continue;
    if (points != nullptr) {
      points[2 * index] = ScaleByPowerOfTwo(v[0], -m.coordinateExponent);
      points[2 * index + 1] = ScaleByPowerOfTwo(v[1], -m.coordinateExponent);
      for (int32_t j = 0; j < attributes; j++) pointAttributes[index * attributes + j] = v[2 + j];
      if (markers != nullptr) markers[index] = VertexMark(m, v);
    }
    VertexMark(m, v) = number++;
    index++;
  }
}

void WriteTriangles(TessMesh& m, const TessSwitches& sw, TessRecord& out) {
  const int64_t count = m.triangles.items;
  const int64_t perTriangle = sw.elementOrder > 1 ? 6 : 3;
  int32_t* corners = Array(out.corners, kSiteCorners, count * perTriangle);
  const int32_t attributes = m.triangleAttributeCount;
  double* triangleAttributes = nullptr;
  if (attributes > 0) {
    triangleAttributes = Array(out.triangleAttributes, kSiteTriangleAttributes, count * attributes);
  }
  TraversalInit(m.triangles);
  size_t index = 0;
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    const TriHandle t{tri, 0};
    int32_t* written = corners + perTriangle * index;
    written[0] = Number(m, Org(t));
    written[1] = Number(m, Dest(t));
    written[2] = Number(m, Apex(t));
    if (perTriangle == 6) {
      // Node 3 + k is the midpoint of the edge opposite corner k; the edge opposite a corner
      // is that of the handle whose apex it is.
      const TriHandle oppositeCorner[3] = {Lnext(t), Lprev(t), t};
      for (int k = 0; k < 3; k++) {
        written[3 + k] = Number(
            m, reinterpret_cast<TessVertex>(tri[m.highorderIndex + oppositeCorner[k].orient]));
      }
    }
    for (int32_t j = 0; j < attributes; j++) {
      triangleAttributes[index * attributes + j] = ElemAttribute(m, t, j);
    }
    index++;
  }
}

void WriteSegments(TessMesh& m, const TessSwitches& sw, TessRecord& out) {
  const int64_t count = out.segmentCount;
  int32_t* segments = Array(out.segments, kSiteSegments, 2 * count);
  int32_t* markers = nullptr;
  if (!sw.noBoundaryMarkers) markers = Array(out.segmentMarkers, kSiteSegmentMarkers, count);
  TraversalInit(m.subsegments);
  size_t index = 0;
  for (TessWord* ss = SubsegmentTraverse(m); ss != nullptr; ss = SubsegmentTraverse(m)) {
    const SubHandle s{ss, 0};
    segments[2 * index] = Number(m, SOrg(s));
    segments[2 * index + 1] = Number(m, SDest(s));
    if (markers != nullptr) markers[index] = SubsegMark(s);
    index++;
  }
}

void NumberTriangles(TessMesh& m, const TessSwitches& sw) {
  TraversalInit(m.triangles);
  int32_t number = sw.firstIndex;
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    TriangleNumber(m, tri) = number++;
  }
  TriangleNumber(m, m.dummyTriangle) = -1;
}

void WriteEdges(TessMesh& m, const TessSwitches& sw, TessRecord& out) {
  const int64_t count = m.edgeCount;
  int32_t* edges = Array(out.edges, kSiteEdges, 2 * count);
  int32_t* markers = nullptr;
  if (!sw.noBoundaryMarkers) markers = Array(out.edgeMarkers, kSiteEdgeMarkers, count);
  TraversalInit(m.triangles);
  size_t index = 0;
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    for (uint32_t orient = 0; orient < 3; orient++) {
      const TriHandle t{tri, orient};
      const TriHandle across = Sym(t);
      if (!OwnsEdge(m, t, across)) continue;
      edges[2 * index] = Number(m, Org(t));
      edges[2 * index + 1] = Number(m, Dest(t));
      if (markers != nullptr) {
        if (sw.useSegments) {
          const SubHandle sub = SubsegmentOnEdge(t);
          markers[index] = sub.ss == m.dummySubsegment ? 0 : SubsegMark(sub);
        } else {
          markers[index] = across.tri == m.dummyTriangle ? 1 : 0;
        }
      }
      index++;
    }
  }
}

void WriteDual(TessMesh& m, const TessSwitches& sw, TessRecord& dual) {
  const int64_t triangles = m.triangles.items;
  const int32_t attributes = m.vertexAttributes;
  double* points = Array(dual.points, kSiteDualPoints, 2 * triangles);
  double* pointAttributes = nullptr;
  if (attributes > 0) {
    pointAttributes = Array(dual.pointAttributes, kSiteDualPointAttributes, triangles * attributes);
  }
  // Circumcentres, with the vertex attributes interpolated there.
  TraversalInit(m.triangles);
  size_t index = 0;
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    const TriHandle t{tri, 0};
    TessVertex org = Org(t);
    TessVertex dest = Dest(t);
    TessVertex apex = Apex(t);
    m.counters.circumcentreCount++;
    const double xdo = dest[0] - org[0];
    const double ydo = dest[1] - org[1];
    const double xao = apex[0] - org[0];
    const double yao = apex[1] - org[1];
    const double doDistance = xdo * xdo + ydo * ydo;
    const double aoDistance = xao * xao + yao * yao;
    const double denominator = sw.noExactArithmetic
                                   ? 0.5 / (xdo * yao - xao * ydo)
                                   : 0.5 / CounterClockwise(m.counters, sw, dest, apex, org);
    const double dx = (yao * doDistance - ydo * aoDistance) * denominator;
    const double dy = (xdo * aoDistance - xao * doDistance) * denominator;
    points[2 * index] = ScaleByPowerOfTwo(org[0] + dx, -m.coordinateExponent);
    points[2 * index + 1] = ScaleByPowerOfTwo(org[1] + dy, -m.coordinateExponent);
    const double xi = (yao * dx - xao * dy) * (2.0 * denominator);
    const double eta = (xdo * dy - ydo * dx) * (2.0 * denominator);
    for (int32_t j = 0; j < attributes; j++) {
      pointAttributes[index * attributes + j] =
          org[2 + j] + xi * (dest[2 + j] - org[2 + j]) + eta * (apex[2 + j] - org[2 + j]);
    }
    index++;
  }
  // Dual edges: between the circumcentres of two neighbours, or a ray from a hull triangle's
  // circumcentre along the outward normal of its hull edge (-1 as the far end).
  const int64_t edges = m.edgeCount;
  int32_t* edgeList = Array(dual.edges, kSiteDualEdges, 2 * edges);
  double* normals = Array(dual.normals, kSiteNormals, 2 * edges);
  TraversalInit(m.triangles);
  index = 0;
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    for (uint32_t orient = 0; orient < 3; orient++) {
      const TriHandle t{tri, orient};
      const TriHandle across = Sym(t);
      if (!OwnsEdge(m, t, across)) continue;
      edgeList[2 * index] = TriangleNumber(m, tri);
      if (across.tri == m.dummyTriangle) {
        TessVertex org = Org(t);
        TessVertex dest = Dest(t);
        edgeList[2 * index + 1] = -1;
        normals[2 * index] = ScaleByPowerOfTwo(dest[1] - org[1], -m.coordinateExponent);
        normals[2 * index + 1] = ScaleByPowerOfTwo(org[0] - dest[0], -m.coordinateExponent);
      } else {
        edgeList[2 * index + 1] = TriangleNumber(m, across.tri);
        normals[2 * index] = 0.0;
        normals[2 * index + 1] = 0.0;
      }
      index++;
    }
  }
}

void WriteNeighbors(TessMesh& m, const TessSwitches&, TessRecord& out) {
  int32_t* neighbors = Array(out.neighbors, kSiteNeighbors, 3ll * m.triangles.items);
  TraversalInit(m.triangles);
  size_t index = 0;
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    // Neighbour i lies across from corner i, corners being written org, dest, apex.
    neighbors[3 * index] = TriangleNumber(m, Sym(TriHandle{tri, 1}).tri);
    neighbors[3 * index + 1] = TriangleNumber(m, Sym(TriHandle{tri, 2}).tri);
    neighbors[3 * index + 2] = TriangleNumber(m, Sym(TriHandle{tri, 0}).tri);
    index++;
  }
}
