// Hole carving and regions: an infection spreads from the hull and from each hole seed through
// every edge that no subsegment protects; the infected triangles are eaten.
#include <cmath>
#include <exception>

#include "kly/host/nut.h"
#include "kly/tess/constraints.h"
#include "kly/tess/construction.h"
#include "kly/tess/failure.h"
#include "kly/tess/triangulate.h"

namespace {

constexpr uint16_t kSiteRegionTable = 0x0D;

void AddVirus(TessMesh& m, TessWord* tri) {
  TessWord** slot = static_cast<TessWord**>(PoolAlloc(m.viri));
  *slot = tri;
}

// Gives `v` the mark 1 where it has none.
void MarkBoundaryVertex(TessMesh& m, TessVertex v) {
  if (VertexMark(m, v) == 0) VertexMark(m, v) = 1;
}

// Infects every hull triangle whose hull edge no subsegment protects; a protecting subsegment
// without a mark, and its ends, take the mark 1.
void InfectHull(TessMesh& m) {
  TriHandle hull = DummyHullEdge(m);
  const TriHandle start = hull;
  do {
    if (!Infected(hull)) {
      const SubHandle sub = SubsegmentOnEdge(hull);
      if (sub.ss == m.dummySubsegment) {
        Infect(hull);
        AddVirus(m, hull.tri);
      } else if (SubsegMark(sub) == 0) {
        SubsegMark(sub) = 1;
        MarkBoundaryVertex(m, Org(hull));
        MarkBoundaryVertex(m, Dest(hull));
      }
    }
    hull = Lnext(hull);
    TriHandle next = Oprev(hull);
    while (next.tri != m.dummyTriangle) {
      hull = next;
      next = Oprev(hull);
    }
  } while (!SameHandle(hull, start));
}

// Whether the vertex map names a live triangle at `v` that is not infected: `v` then outlives
// the carving without a walk round it. The map names some triangle of the pool for every
// corner (see InsertSegments); a stale name only costs the walk.
bool MapNamesSurvivor(const TessMesh& m, TessVertex v) {
  if (m.vertexToTriangleIndex == 0) return false;
  const TriHandle named = DecodeTri(VertexToTriangle(m, v));
  return named.tri != nullptr && !IsDeadTriangle(named.tri) && !Infected(named) && Org(named) == v;
}

// Whether the origin of `test`, an eaten triangle, is a corner of a triangle that survives.
// Walks round it both ways, clearing it from the infected triangles met, so that no other
// eaten triangle walks round it again.
bool WalkFindsSurvivor(const TessMesh& m, TriHandle test) {
  bool found = false;
  SetOrg(test, nullptr);
  TriHandle neighbor = Onext(test);
  while (neighbor.tri != m.dummyTriangle && !SameHandle(neighbor, test)) {
    if (Infected(neighbor)) {
      SetOrg(neighbor, nullptr);
    } else {
      found = true;
    }
    neighbor = Onext(neighbor);
  }
  if (neighbor.tri == m.dummyTriangle) {
    neighbor = Oprev(test);
    while (neighbor.tri != m.dummyTriangle) {
      if (Infected(neighbor)) {
        SetOrg(neighbor, nullptr);
      } else {
        found = true;
      }
      neighbor = Oprev(neighbor);
    }
  }
  return found;
}

// Spreads the infection from the triangles in the viri pool and eats every infected triangle,
// with the subsegments between two eaten triangles and the vertices left in no triangle.
void Plague(TessMesh& m) {
  TraversalInit(m.viri);
  for (TessWord** slot = static_cast<TessWord**>(Traverse(m.viri)); slot != nullptr;
       slot = static_cast<TessWord**>(Traverse(m.viri))) {
    TriHandle test{*slot, 0};
    Uninfect(test);
    for (test.orient = 0; test.orient < 3; test.orient++) {
      const TriHandle neighbor = Sym(test);
      const SubHandle sub = SubsegmentOnEdge(test);
      if (neighbor.tri == m.dummyTriangle || Infected(neighbor)) {
        if (sub.ss != m.dummySubsegment) {
          // Both sides die, and the subsegment with them.
          KillSubsegment(m, sub.ss);
          if (neighbor.tri != m.dummyTriangle) DetachSubsegment(m, neighbor);
          DetachSubsegment(m, test);
        }
      } else if (sub.ss == m.dummySubsegment) {
        Infect(neighbor);
        AddVirus(m, neighbor.tri);
      } else {
        // The neighbour survives behind a subsegment, which becomes a boundary. The vertex map
        // of its ends names it, which spares most walks round them (see MapNamesSurvivor).
        DetachTriangle(m, sub);
        if (SubsegMark(sub) == 0) SubsegMark(sub) = 1;
        MarkBoundaryVertex(m, Org(neighbor));
        MarkBoundaryVertex(m, Dest(neighbor));
        if (m.vertexToTriangleIndex != 0) {
          VertexToTriangle(m, Org(neighbor)) = EncodeTri(neighbor);
          VertexToTriangle(m, Dest(neighbor)) = EncodeTri(Lnext(neighbor));
        }
      }
    }
    Infect(test);
  }

  TraversalInit(m.viri);
  for (TessWord** slot = static_cast<TessWord**>(Traverse(m.viri)); slot != nullptr;
       slot = static_cast<TessWord**>(Traverse(m.viri))) {
    TriHandle test{*slot, 0};
    for (test.orient = 0; test.orient < 3; test.orient++) {
      TessVertex vertex = Org(test);
      if (vertex == nullptr || MapNamesSurvivor(m, vertex)) continue;
      if (!WalkFindsSurvivor(m, test)) {
        VertexType(m, vertex) = kRemovedVertex;
        m.removedVertices++;
      }
    }
    for (test.orient = 0; test.orient < 3; test.orient++) {
      const TriHandle neighbor = Sym(test);
      if (neighbor.tri == m.dummyTriangle) {
        m.hullSize--;
      } else {
        Dissolve(m, neighbor);
        // Keep the dummy naming a live hull edge, for any later point location.
        if (!Infected(neighbor)) m.dummyTriangle[0] = EncodeTri(neighbor);
        m.hullSize++;
      }
    }
    KillTriangle(m, test.tri);
  }
  PoolRestart(m.viri);
}

// Spreads a region's attribute and area bound from the triangles in the viri pool through
// every edge that no subsegment protects.
void RegionPlague(TessMesh& m, const TessSwitches& sw, double attribute, double area) {
  TraversalInit(m.viri);
  for (TessWord** slot = static_cast<TessWord**>(Traverse(m.viri)); slot != nullptr;
       slot = static_cast<TessWord**>(Traverse(m.viri))) {
    TriHandle test{*slot, 0};
    Uninfect(test);
    if (sw.regionAttributes) ElemAttribute(m, test, m.triangleAttributeCount) = attribute;
    if (sw.areaPerTriangle) AreaBound(m, test) = area;
    for (test.orient = 0; test.orient < 3; test.orient++) {
      const TriHandle neighbor = Sym(test);
      if (neighbor.tri != m.dummyTriangle && !Infected(neighbor) && !HasSubsegment(m, test)) {
        Infect(neighbor);
        AddVirus(m, neighbor.tri);
      }
    }
    Infect(test);
  }
  TraversalInit(m.viri);
  for (TessWord** slot = static_cast<TessWord**>(Traverse(m.viri)); slot != nullptr;
       slot = static_cast<TessWord**>(Traverse(m.viri))) {
    Uninfect(TriHandle{*slot, 0});
  }
  PoolRestart(m.viri);
}

bool InBounds(const TessMesh& m, const double* point) {
  return point[0] >= m.xMin && point[0] <= m.xMax && point[1] >= m.yMin && point[1] <= m.yMax;
}

// The triangle that holds `seed`, or the dummy. Only a seed left of the hull edge that the
// dummy names is looked for: from the wrong side the location would answer falsely. The
// triangle found becomes the recent triangle, a start for the next seed's location: seeds
// often come in order, and the walk from the nearest random sample can cross thousands of
// triangles of a long thin mesh.
TriHandle FindSeedTriangle(TessMesh& m, const TessSwitches& sw, const double* input) {
  const double seed[2] = {ScaleByPowerOfTwo(input[0], m.coordinateExponent),
                          ScaleByPowerOfTwo(input[1], m.coordinateExponent)};
  if (!InBounds(m, seed)) return {m.dummyTriangle, 0};
  TriHandle search = DummyHullEdge(m);
  if (CounterClockwise(m.counters, sw, Org(search), Dest(search), seed) <= 0.0) {
    return {m.dummyTriangle, 0};
  }
  if (Locate(m, sw, seed, search) == kOutside) return {m.dummyTriangle, 0};
  m.recentTriangle = search;
  return search;
}

void Carve(TessMesh& m, const TessSwitches& sw, const double* holes, int32_t holeCount,
           const double* regions, int32_t regionCount, TriHandle* regionTriangles) {
  const bool useHoles = holeCount > 0 && !sw.ignoreHoles;
  if (useHoles || !sw.convexHullSegments || regionCount > 0) {
    PoolInit(m.viri, sizeof(TessWord*), kViriPerBlock, kViriPerBlock, 0);
  }
  if (!sw.convexHullSegments) InfectHull(m);
  // The seeds' locations move the recent triangle; the stages after carving start from the
  // one the insertions left.
  const TriHandle recentBeforeSeeds = m.recentTriangle;
  if (useHoles) {
    for (int32_t i = 0; i < holeCount; i++) {
      const TriHandle seed = FindSeedTriangle(m, sw, &holes[2 * i]);
      if (seed.tri != m.dummyTriangle && !Infected(seed)) {
        Infect(seed);
        AddVirus(m, seed.tri);
      }
    }
  }
  // Regions are located before any carving, while the whole mesh stands.
  for (int32_t i = 0; i < regionCount; i++) {
    const TriHandle seed = FindSeedTriangle(m, sw, &regions[4 * i]);
    regionTriangles[i] =
        seed.tri != m.dummyTriangle && !Infected(seed) ? seed : TriHandle{m.dummyTriangle, 0};
  }
  m.recentTriangle = recentBeforeSeeds;
  if (m.viri.items > 0) Plague(m);
  if (regionCount > 0) {
    if (sw.regionAttributes && !sw.refineInput) {
      TraversalInit(m.triangles);
      for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
        ElemAttribute(m, TriHandle{tri, 0}, m.triangleAttributeCount) = 0.0;
      }
    }
    for (int32_t i = 0; i < regionCount; i++) {
      const TriHandle seed = regionTriangles[i];
      if (seed.tri == m.dummyTriangle || IsDeadTriangle(seed.tri)) continue;
      Infect(seed);
      AddVirus(m, seed.tri);
      RegionPlague(m, sw, regions[4 * i + 2], regions[4 * i + 3]);
    }
    if (sw.regionAttributes && !sw.refineInput) m.triangleAttributeCount++;
  }
  PoolFree(m.viri);
}

}  // namespace

void CarveHoles(TessMesh& m, const TessSwitches& sw, const double* holes, int32_t holeCount,
                const double* regions, int32_t regionCount) {
  TriHandle* regionTriangles = nullptr;
  if (regionCount > 0) {
    regionTriangles = static_cast<TriHandle*>(
        TessAllocArray(kSiteRegionTable, static_cast<uint32_t>(regionCount), sizeof(TriHandle)));
  }
  const int32_t code = TessFailureCode(
      [&] { Carve(m, sw, holes, holeCount, regions, regionCount, regionTriangles); });
  TessFree(regionTriangles);
  if (code != 0) throw code;
}
