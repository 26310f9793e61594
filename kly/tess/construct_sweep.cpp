// Delaunay triangulation by a sweep (switch F): Fortune's sweep run on the triangulation
// itself. A horizontal line moves upwards through the vertices; below it lies the beach line,
// a sequence of parabolic arcs, one per vertex that can still gain a triangle. Two neighbouring
// arcs meet at a breakpoint, and each breakpoint is the front edge joining the two arcs'
// vertices. Every front edge carries a ghost triangle (apex null) on its unswept side, and the
// ghosts form a ring exactly as in the divide and conquer, so the ring left at the end is the
// convex hull and RemoveGhosts finishes the job.
//
// Events come in (y, x) order: a vertex event splits the arc above the vertex and adds an edge
// with a ghost on each side; a circle event fires at the top of the circle through three
// consecutive arcs' vertices, when the middle arc shrinks to nothing: the left ghost becomes
// the real triangle and the right ghost the new front edge. The vertex events are sorted once;
// the circle events, never more than the front's entries, wait in a binary heap small enough
// to stay in cache.
//
// The breakpoints are ordered left to right in a splay tree (sweep_splay.cpp), searched with
// an exact test. Every front ghost owns one front entry (its tree node and the circle event
// of the arc that follows its destination), named by the ghost's apex word.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <exception>

#include "kly/host/nut.h"
#include "kly/tess/construction.h"
#include "kly/tess/exact_arithmetic.h"
#include "kly/tess/failure.h"
#include "kly/tess/sweep_front.h"
#include "kly/tess/triangulate.h"

namespace {

constexpr uint16_t kSiteVertexEvents = 0x0A;
constexpr uint16_t kSiteEvents = 0x0B;
constexpr uint16_t kSiteCircleEvents = 0x0C;
constexpr int32_t kVertexLookahead = 8;

struct VertexEvent {
  double y, x;
  TessVertex vertex;
};

// The circle event of a front entry's arc, at the top of the circle through the vertices of
// three consecutive arcs, kept as a vertex a plus the offset of the top from it. Summed, the
// top of a nearly flat circle rounds to the height of its vertices: it would come before a
// vertex on that row that lies left of the circle's centre, and the sweep would lose the
// vertex. Kept apart, the key is compared exactly (CompareSums), so that only the error of
// the offset itself, relative to its own size, remains.
struct CircleEvent {
  double yBase, yOffset;
  double xBase, xOffset;
  int32_t entry;
};

// The sign of (a + b) - (c + d), exactly.
int CompareSums(double a, double b, double c, double d) {
  const double estimate = (a + b) - (c + d);
  // Three roundings, each within half a unit of its operands' magnitude.
  const double bound =
      4.0 * DBL_EPSILON * (std::fabs(a) + std::fabs(b) + std::fabs(c) + std::fabs(d));
  if (estimate > bound) return 1;
  if (estimate < -bound) return -1;
  double left[2], right[2], difference[4];
  TwoSum(a, b, left[1], left[0]);
  TwoSum(-c, -d, right[1], right[0]);
  const int32_t length = FastExpansionSumZeroElim(2, left, 2, right, difference);
  const double most = difference[length - 1];
  return (most > 0.0) - (most < 0.0);
}

bool VertexBefore(const VertexEvent& a, const VertexEvent& b) {
  if (a.y != b.y) return a.y < b.y;
  return a.x < b.x;
}
bool CircleBefore(const CircleEvent& a, const CircleEvent& b) {
  const int byHeight = CompareSums(a.yBase, a.yOffset, b.yBase, b.yOffset);
  if (byHeight != 0) return byHeight < 0;
  return CompareSums(a.xBase, a.xOffset, b.xBase, b.xOffset) < 0;
}
bool CircleBeforeVertex(const CircleEvent& c, const VertexEvent& v) {
  const int byHeight = CompareSums(c.yBase, c.yOffset, v.y, 0.0);
  if (byHeight != 0) return byHeight < 0;
  // A circle whose top is a vertex closes before that vertex arrives.
  return CompareSums(c.xBase, c.xOffset, v.x, 0.0) <= 0;
}

// The ghosts of the ring around a front vertex: the next ghost's front edge begins where
// this one's ends.
inline TriHandle NextGhost(TriHandle ghost) {
  return Lnext(Sym(Lnext(ghost)));
}
inline TriHandle PreviousGhost(TriHandle ghost) {
  return Lprev(Sym(Lprev(ghost)));
}

struct Sweeper {
  TessMesh& m;
  const TessSwitches& sw;
  const VertexEvent* vertexEvents;  // sorted by VertexBefore
  int32_t vertexCount;
  int32_t nextVertex = 0;  // the first vertex event not yet taken
  CircleEvent* heap;
  FrontEntry* entries;
  int32_t heapSize = 0;
  FrontTree tree;
  int32_t freeEntries = kNoEntry;  // a stack of released front entries, linked through `left`
  int32_t nextEntry = 0;           // the first front entry never used

  Sweeper(TessMesh& mesh, const TessSwitches& switches, const VertexEvent* sortedVertices,
          int32_t count, CircleEvent* heapArray, FrontEntry* entryArray)
      : m(mesh),
        sw(switches),
        vertexEvents(sortedVertices),
        vertexCount(count),
        heap(heapArray),
        entries(entryArray),
        tree(entryArray) {}

  // ---- The events ----

  void Place(int32_t pos, const CircleEvent& event) {
    heap[pos] = event;
    entries[event.entry].heapPos = pos;
  }
  void SiftUp(int32_t pos) {
    const CircleEvent event = heap[pos];
    while (pos > 0) {
      const int32_t parent = (pos - 1) / 2;
      if (!CircleBefore(event, heap[parent])) break;
      Place(pos, heap[parent]);
      pos = parent;
    }
    Place(pos, event);
  }
  void SiftDown(int32_t pos) {
    const CircleEvent event = heap[pos];
    for (;;) {
      int32_t child = 2 * pos + 1;
      if (child >= heapSize) break;
      if (child + 1 < heapSize && CircleBefore(heap[child + 1], heap[child])) child++;
      if (!CircleBefore(heap[child], event)) break;
      Place(pos, heap[child]);
      pos = child;
    }
    Place(pos, event);
  }
  void Push(const CircleEvent& event) {
    heapSize++;
    Place(heapSize - 1, event);
    SiftUp(heapSize - 1);
  }
  int32_t PopCircle() {
    const int32_t entry = heap[0].entry;
    entries[entry].heapPos = kNoEntry;
    heapSize--;
    if (heapSize > 0) {
      Place(0, heap[heapSize]);
      SiftDown(0);
    }
    return entry;
  }
  bool HasEvents() const { return heapSize > 0 || nextVertex < vertexCount; }
  // Whether the next event is a vertex rather than the heap's top.
  bool VertexComesNext() const {
    return nextVertex < vertexCount &&
           (heapSize == 0 || !CircleBeforeVertex(heap[0], vertexEvents[nextVertex]));
  }
  TessVertex TakeVertex() {
    // The records lie in input order, scattered along the sweep: fetch a few events ahead.
    if (nextVertex + kVertexLookahead < vertexCount) {
      __builtin_prefetch(vertexEvents[nextVertex + kVertexLookahead].vertex);
    }
    return vertexEvents[nextVertex++].vertex;
  }
  // Cancels the entry's circle event, if it has one.
  void Cancel(int32_t entry) {
    const int32_t pos = entries[entry].heapPos;
    if (pos == kNoEntry) return;
    entries[entry].heapPos = kNoEntry;
    heapSize--;
    if (pos == heapSize) return;
    const CircleEvent moved = heap[heapSize];
    Place(pos, moved);
    // Whichever way it moves, the element left at pos is in order below.
    SiftUp(pos);
    SiftDown(pos);
  }

  // ---- Front entries ----

  // A ghost's missing apex holds its entry, tagged in the low bit that no vertex address
  // has; FinishFront clears it before the ghosts are removed.
  static int32_t EntryOf(TriHandle ghost) {
    return static_cast<int32_t>(ghost.tri[ghost.orient + 3] >> 1);
  }
  static void SetEntry(TriHandle ghost, int32_t entry) {
    ghost.tri[ghost.orient + 3] = (static_cast<TessWord>(entry) << 1) | 1u;
  }
  TriHandle GhostOf(int32_t entry) const { return DecodeTri(entries[entry].ghost); }

  int32_t NewEntry(TriHandle ghost) {
    int32_t entry = freeEntries;
    if (entry != kNoEntry) {
      freeEntries = entries[entry].left;
    } else {
      entry = nextEntry++;
    }
    FrontEntry& e = entries[entry];
    e.ghost = EncodeTri(ghost);
    e.heapPos = kNoEntry;
    e.left = e.right = kNoEntry;
    e.parent = kOutsideTree;
    SetEntry(ghost, entry);
    return entry;
  }
  void ReleaseEntry(int32_t entry) {
    entries[entry].left = freeEntries;
    freeEntries = entry;
  }

  // Schedules the circle event of the arc between the entry's ghost and the next one, if the
  // two breakpoints converge: that is, if the three vertices turn counterclockwise.
  void ScheduleCircle(int32_t entry) {
    const TriHandle ghost = GhostOf(entry);
    const double* a = Org(ghost);
    const double* b = Dest(ghost);
    const double* c = Dest(NextGhost(ghost));
    const double area = CounterClockwise(m.counters, sw, a, b, c);
    if (area <= 0.0) return;
    const double bx = b[0] - a[0], by = b[1] - a[1];
    const double cx = c[0] - a[0], cy = c[1] - a[1];
    const double bSquare = bx * bx + by * by, cSquare = cx * cx + cy * cy;
    const double half = 0.5 / area;
    const double ux = (cy * bSquare - by * cSquare) * half;
    const double uy = (bx * cSquare - cx * bSquare) * half;
    // The top is the centre's height plus the radius. Below a nearly straight triple the
    // centre lies far down and the sum cancels; uy + r = ux^2 / (r - uy) does not.
    const double radius = std::sqrt(ux * ux + uy * uy);
    const double top = uy >= 0.0 ? uy + radius : ux * ux / (radius - uy);
    Push(CircleEvent{a[1], top, a[0], ux, entry});
  }

  // ---- Events ----

  // The first row of the sweep is the lowest vertices, or the lowest one and the next one
  // up. Each of its edges gets a ghost above, a breakpoint, and one below, which is a
  // breakpoint only when the row is a single edge rising from the lowest vertex.
  TriHandle firstRowUp{}, firstRowDown{}, rowUp{}, rowDown{};

  // Two new triangles bonded along the edge from `from` to `to`: `up` holds it that way round,
  // `down` the other; their apexes are left for the caller.
  void MakeEdgePair(TessVertex from, TessVertex to, TriHandle& up, TriHandle& down) {
    up = MakeTriangle(m, sw);
    down = MakeTriangle(m, sw);
    SetOrg(up, from);
    SetDest(up, to);
    SetOrg(down, to);
    SetDest(down, from);
    Bond(up, down);
  }

  void AddRowEdge(TessVertex from, TessVertex to) {
    TriHandle newUp, newDown;
    MakeEdgePair(from, to, newUp, newDown);
    int32_t previous = kNoEntry;
    if (firstRowUp.tri == nullptr) {
      firstRowUp = newUp;
      firstRowDown = newDown;
    } else {
      Bond(Lnext(rowUp), Lprev(newUp));
      Bond(Lnext(newDown), Lprev(rowDown));
      previous = EntryOf(rowUp);
    }
    tree.InsertAfter(previous, NewEntry(newUp));
    NewEntry(newDown);
    rowUp = newUp;
    rowDown = newDown;
  }
  void CloseRow(bool rising) {
    Bond(Lnext(rowUp), Lprev(rowDown));
    Bond(Lnext(firstRowDown), Lprev(firstRowUp));
    if (rising) tree.InsertAfter(EntryOf(rowUp), EntryOf(rowDown));
  }

  void SplitArcAbove(TessVertex v) {
    const int32_t found = tree.Search(v);
    TriHandle before, after;
    if (found == kNoEntry) {
      after = GhostOf(tree.Leftmost(tree.root));
      before = PreviousGhost(after);
    } else {
      before = GhostOf(found);
      after = NextGhost(before);
    }
    const int32_t beforeEntry = EntryOf(before);
    Cancel(beforeEntry);
    // The arc of s splits into s, v, s: the edge s-v with a ghost on each side.
    TessVertex s = Dest(before);
    TriHandle up, down;
    MakeEdgePair(s, v, up, down);
    Bond(Lnext(up), Lprev(down));
    Bond(Lprev(up), Lnext(before));
    Bond(Lnext(down), Lprev(after));
    const int32_t upEntry = NewEntry(up);
    const int32_t downEntry = NewEntry(down);
    tree.InsertAfter(found, upEntry);
    tree.InsertAfter(upEntry, downEntry);
    ScheduleCircle(beforeEntry);
    ScheduleCircle(downEntry);
  }

  // The arc between the entry's ghost (a, b) and the next (b, c) vanishes: the first ghost
  // becomes the triangle (a, b, c) and the second the front edge (a, c).
  void CloseArc(int32_t entry) {
    const TriHandle ghost = GhostOf(entry);
    const TriHandle toPrevious = Sym(Lprev(ghost));
    const TriHandle next = NextGhost(ghost);
    const int32_t previousEntry = EntryOf(Lprev(toPrevious));
    const int32_t nextEntryOfFront = EntryOf(next);
    Cancel(previousEntry);
    Cancel(nextEntryOfFront);
    tree.Delete(entry);
    ReleaseEntry(entry);
    TessVertex a = Org(ghost);
    TessVertex c = Dest(next);
    const TriHandle belowNext = Sym(next);
    SetApex(ghost, c);
    Bond(Lnext(ghost), belowNext);
    SetOrg(next, a);
    Bond(next, Lprev(ghost));
    Bond(Lprev(next), toPrevious);
    ScheduleCircle(previousEntry);
    ScheduleCircle(nextEntryOfFront);
  }

  bool IsDuplicate(TessVertex v, TessVertex last) {
    if (!SamePoint(v, last)) return false;
    VertexType(m, v) = kRemovedVertex;
    m.removedVertices++;
    return true;
  }

  // Returns a ghost of the final ring: Lnext of its front edge, as RemoveGhosts takes it.
  TriHandle Run() {
    TessVertex first = TakeVertex();
    TessVertex last = first;
    while (nextVertex < vertexCount) {
      TessVertex v = vertexEvents[nextVertex].vertex;
      if (last != first && v[1] != first[1]) break;
      nextVertex++;
      if (IsDuplicate(v, last)) continue;
      AddRowEdge(last, v);
      last = v;
    }
    if (last == first) TessFail("Input vertices are all identical.");
    CloseRow(last[1] != first[1]);
    while (HasEvents()) {
      if (!VertexComesNext()) {
        CloseArc(PopCircle());
        continue;
      }
      TessVertex v = TakeVertex();
      if (IsDuplicate(v, last)) continue;
      SplitArcAbove(v);
      last = v;
    }
    return FinishFront();
  }

  // Gives every ghost of the ring its null apex back; returns one of them in the form that
  // RemoveGhosts takes: the Lnext of its front edge.
  TriHandle FinishFront() {
    const TriHandle start = GhostOf(tree.root);
    TriHandle ghost = start;
    do {
      SetApex(ghost, nullptr);
      ghost = NextGhost(ghost);
    } while (!SameHandle(ghost, start));
    return Lnext(start);
  }
};

// The times of circle events are rounded: near cocircular vertices a circle event may come
// after a vertex that lies just inside its circle, or before one just outside. The front
// stays consistent, so the result is a triangulation, but such an edge fails the exact
// in-circle test. Flipping every failing edge until none is left (each flip lowers the lifted
// surface, so this ends) restores the Delaunay property. Edges on the ghost ring are hull
// edges and stay.
void FlipToDelaunay(TessMesh& m, const TessSwitches& sw) {
  bool flipped;
  do {
    flipped = false;
    TraversalInit(m.triangles);
    for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
      if (tri[3] == 0 || tri[4] == 0 || tri[5] == 0) continue;  // a ghost
      for (uint32_t orient = 0; orient < 3; orient++) {
        const TriHandle edge{tri, orient};
        const TriHandle other = Sym(edge);
        // Each edge once: from the record at the lower address.
        if (other.tri == m.dummyTriangle || other.tri < tri) continue;
        TessVertex far = Apex(other);
        if (far == nullptr) continue;
        if (InCircle(m.counters, sw, Org(edge), Dest(edge), Apex(edge), far) > 0.0) {
          Flip(m, sw, edge);
          flipped = true;
        }
      }
    }
  } while (flipped);
}

}  // namespace

int32_t SweepDelaunay(TessMesh& m, const TessSwitches& sw) {
  const uint32_t count = static_cast<uint32_t>(m.inVertices);
  // Each vertex adds at most two ghosts, and each ghost has at most one circle event.
  const uint32_t entryCount = 2 * count + 2;
  VertexEvent* vertexEvents =
      static_cast<VertexEvent*>(TessAllocArray(kSiteVertexEvents, count, sizeof(VertexEvent)));
  CircleEvent* circleEvents = nullptr;
  FrontEntry* entries = nullptr;
  TriHandle startGhost{};
  const int32_t code = TessFailureCode([&] {
    circleEvents = static_cast<CircleEvent*>(
        TessAllocArray(kSiteCircleEvents, entryCount, sizeof(CircleEvent)));
    entries = static_cast<FrontEntry*>(TessAllocArray(kSiteEvents, entryCount, sizeof(FrontEntry)));
    TraversalInit(m.vertices);
    for (uint32_t i = 0; i < count; i++) {
      TessVertex v = VertexTraverse(m);
      vertexEvents[i] = VertexEvent{v[1], v[0], v};
    }
    // Only the keys are compared, so duplicates keep an order that depends on the input alone.
    std::sort(vertexEvents, vertexEvents + count, VertexBefore);
    Sweeper sweeper(m, sw, vertexEvents, static_cast<int32_t>(count), circleEvents, entries);
    startGhost = sweeper.Run();
  });
  TessFree(entries);
  TessFree(circleEvents);
  TessFree(vertexEvents);
  if (code != 0) throw code;
  FlipToDelaunay(m, sw);
  return RemoveGhosts(m, sw, startGhost);
}
