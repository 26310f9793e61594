// Delaunay triangulation by a sweep (switch F): Fortune's sweep run on the triangulation
// itself. A horizontal line moves upwards through the vertices; below it lies the beach line,
// a sequence of parabolic arcs, one per vertex that can still gain a triangle. Two neighbouring
// arcs meet at a breakpoint, and each breakpoint is the front edge joining the two arcs'
// vertices. Every front edge carries a ghost triangle (apex null) on its unswept side, and the
// ghosts form a ring exactly as in the divide and conquer, so the ring left at the end is the
// convex hull and RemoveGhosts finishes the job.
//
// Events come from one binary heap keyed by (y, x): a vertex event splits the arc above the
// vertex and adds an edge with a ghost on each side; a circle event fires at the top of the
// circle through three consecutive arcs' vertices, when the middle arc shrinks to nothing:
// the left ghost becomes the real triangle and the right ghost the new front edge.
//
// The breakpoints are ordered left to right in a splay tree, searched with an exact test.
// Every front ghost owns one front entry (its tree node and the circle event of the arc that
// follows its destination), named by the ghost's apex word.
#include <cmath>
#include <exception>

#include "kly/host/nut.h"
#include "kly/tess/construction.h"
#include "kly/tess/exact_arithmetic.h"
#include "kly/tess/failure.h"
#include "kly/tess/triangulate.h"

namespace {

constexpr uint16_t kSiteEventHeap = 0x0A;
constexpr uint16_t kSiteEvents = 0x0B;

constexpr int32_t kNone = -1;
constexpr int32_t kOutsideTree = -2;  // a parent link: the entry is not in the tree

// Entries [0, vertexCount) are vertex events; the rest are front entries, one per ghost.
struct SweepEvent {
  double x, y;      // the key: the vertex, or the top of the circle of a circle event
  TessWord item;    // the vertex, or the encoded handle of the ghost's front edge
  int32_t heapPos;  // kNone when not in the heap
  int32_t left, right, parent;
};

// e * f exactly for short expansions; h must hold 2 * eLen * fLen doubles.
int32_t MultiplyExpansions(int32_t eLen, const double* e, int32_t fLen, const double* f,
                           double* h) {
  double product[64], sum[128];
  int32_t hLen = ScaleExpansionZeroElim(eLen, e, f[0], h);
  for (int32_t i = 1; i < fLen; i++) {
    const int32_t pLen = ScaleExpansionZeroElim(eLen, e, f[i], product);
    const int32_t sLen = FastExpansionSumZeroElim(hLen, h, pLen, product, sum);
    for (int32_t k = 0; k < sLen; k++) h[k] = sum[k];
    hLen = sLen;
  }
  return hLen;
}

// |d|^2 for a vector whose components are the two-term expansions dx and dy.
int32_t SquaredLength(const double* dx, const double* dy, double* h) {
  double xx[8], yy[8];
  const int32_t xLen = MultiplyExpansions(2, dx, 2, dx, xx);
  const int32_t yLen = MultiplyExpansions(2, dy, 2, dy, yy);
  return FastExpansionSumZeroElim(xLen, xx, yLen, yy, h);
}

// The sign of (vy - Ry) |v - L|^2 - (vy - Ly) |v - R|^2, computed exactly.
double BreakpointDeterminantExact(const double* left, const double* right, const double* v) {
  double dLx[2], dLy[2], dRx[2], dRy[2];
  TwoDiff(v[0], left[0], dLx[1], dLx[0]);
  TwoDiff(v[1], left[1], dLy[1], dLy[0]);
  TwoDiff(v[0], right[0], dRx[1], dRx[0]);
  TwoDiff(v[1], right[1], dRy[1], dRy[0]);
  double squareL[16], squareR[16], termL[64], termR[64], total[128];
  const int32_t sLLen = SquaredLength(dLx, dLy, squareL);
  const int32_t sRLen = SquaredLength(dRx, dRy, squareR);
  const int32_t tLLen = MultiplyExpansions(sLLen, squareL, 2, dRy, termL);
  int32_t tRLen = MultiplyExpansions(sRLen, squareR, 2, dLy, termR);
  for (int32_t k = 0; k < tRLen; k++) termR[k] = -termR[k];
  const int32_t totalLen = FastExpansionSumZeroElim(tLLen, termL, tRLen, termR, total);
  return total[totalLen - 1];
}

// Positive when, on the sweep line through v, the arc of `right` stands above the arc of
// `left` at v's abscissa. An arc of vertex p at sweep height s is the set of points as far
// from p as from the line: y = (s + py) / 2 - (x - px)^2 / (2 (s - py)); multiplying the
// difference of the two arcs by 2 (s - Ly)(s - Ry) gives this determinant.
double BreakpointDeterminant(const double* left, const double* right, const double* v) {
  const double dLx = v[0] - left[0], dLy = v[1] - left[1];
  const double dRx = v[0] - right[0], dRy = v[1] - right[1];
  const double squareL = dLx * dLx + dLy * dLy;
  const double squareR = dRx * dRx + dRy * dRy;
  const double det = dRy * squareL - dLy * squareR;
  // Each term carries a relative error of a few ulps; 1e-14 bounds it with room to spare.
  const double bound = 1e-14 * (std::fabs(dRy) * squareL + std::fabs(dLy) * squareR);
  if (det > bound || -det > bound) return det;
  return BreakpointDeterminantExact(left, right, v);
}

// Whether v, on the sweep line, lies right of the breakpoint where the arc of `left` gives
// way to the arc of `right`. Two arcs of different heights cross twice; the narrower one (of
// the higher vertex) stands above the other between the crossings, around its own vertex.
// Where `right` is higher, the breakpoint is the left crossing, and everything right of its
// vertex lies right of it; where `left` is higher, it is the right crossing. A tie goes left.
bool RightOfBreakpoint(const double* left, const double* right, const double* v) {
  if (left[1] < right[1]) return v[0] > right[0] || BreakpointDeterminant(left, right, v) > 0.0;
  if (left[1] > right[1]) return v[0] > left[0] && BreakpointDeterminant(left, right, v) > 0.0;
  return BreakpointDeterminant(left, right, v) > 0.0;
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
  SweepEvent* events;
  int32_t* heap;
  int32_t vertexCount;
  int32_t heapSize = 0;
  int32_t root = kNone;
  int32_t freeEntries = kNone;  // a stack of released front entries, linked through `left`
  int32_t nextEntry;            // the first front entry never used

  Sweeper(TessMesh& mesh, const TessSwitches& switches, SweepEvent* eventArray, int32_t* heapArray,
          int32_t vertices)
      : m(mesh),
        sw(switches),
        events(eventArray),
        heap(heapArray),
        vertexCount(vertices),
        nextEntry(vertices) {}

  // ---- The event heap ----

  bool Before(int32_t a, int32_t b) const {
    const SweepEvent& ea = events[a];
    const SweepEvent& eb = events[b];
    if (ea.y != eb.y) return ea.y < eb.y;
    if (ea.x != eb.x) return ea.x < eb.x;
    // A circle whose top is a vertex closes before that vertex arrives.
    return a >= vertexCount && b < vertexCount;
  }
  void Place(int32_t pos, int32_t event) {
    heap[pos] = event;
    events[event].heapPos = pos;
  }
  void SiftUp(int32_t pos) {
    const int32_t event = heap[pos];
    while (pos > 0) {
      const int32_t parent = (pos - 1) / 2;
      if (!Before(event, heap[parent])) break;
      Place(pos, heap[parent]);
      pos = parent;
    }
    Place(pos, event);
  }
  void SiftDown(int32_t pos) {
    const int32_t event = heap[pos];
    for (;;) {
      int32_t child = 2 * pos + 1;
      if (child >= heapSize) break;
      if (child + 1 < heapSize && Before(heap[child + 1], heap[child])) child++;
      if (!Before(heap[child], event)) break;
      Place(pos, heap[child]);
      pos = child;
    }
    Place(pos, event);
  }
  void Push(int32_t event) {
    heap[heapSize] = event;
    events[event].heapPos = heapSize;
    heapSize++;
    SiftUp(heapSize - 1);
  }
  int32_t Pop() {
    const int32_t top = heap[0];
    events[top].heapPos = kNone;
    heapSize--;
    if (heapSize > 0) {
      heap[0] = heap[heapSize];
      SiftDown(0);
    }
    return top;
  }
  void Remove(int32_t event) {
    const int32_t pos = events[event].heapPos;
    if (pos == kNone) return;
    events[event].heapPos = kNone;
    heapSize--;
    if (pos == heapSize) return;
    const int32_t moved = heap[heapSize];
    Place(pos, moved);
    SiftUp(pos);
    SiftDown(events[moved].heapPos);
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
  TriHandle GhostOf(int32_t entry) const { return DecodeTri(events[entry].item); }

  int32_t NewEntry(TriHandle ghost) {
    int32_t entry = freeEntries;
    if (entry != kNone) {
      freeEntries = events[entry].left;
    } else {
      entry = nextEntry++;
    }
    SweepEvent& e = events[entry];
    e.item = EncodeTri(ghost);
    e.heapPos = kNone;
    e.left = e.right = kNone;
    e.parent = kOutsideTree;
    SetEntry(ghost, entry);
    return entry;
  }
  void ReleaseEntry(int32_t entry) {
    events[entry].left = freeEntries;
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
    events[entry].x = a[0] + ux;
    events[entry].y = a[1] + uy + std::sqrt(ux * ux + uy * uy);
    Push(entry);
  }

  // ---- The splay tree of breakpoints, left to right ----

  void Rotate(int32_t x) {
    SweepEvent& ex = events[x];
    const int32_t p = ex.parent;
    SweepEvent& ep = events[p];
    const int32_t g = ep.parent;
    if (ep.left == x) {
      ep.left = ex.right;
      if (ex.right != kNone) events[ex.right].parent = p;
      ex.right = p;
    } else {
      ep.right = ex.left;
      if (ex.left != kNone) events[ex.left].parent = p;
      ex.left = p;
    }
    ep.parent = x;
    ex.parent = g;
    if (g == kNone) {
      root = x;
    } else if (events[g].left == p) {
      events[g].left = x;
    } else {
      events[g].right = x;
    }
  }
  void Splay(int32_t x) {
    while (events[x].parent != kNone) {
      const int32_t p = events[x].parent;
      const int32_t g = events[p].parent;
      if (g != kNone) Rotate((events[g].left == p) == (events[p].left == x) ? p : x);
      Rotate(x);
    }
  }
  int32_t Leftmost(int32_t node) const {
    while (events[node].left != kNone) node = events[node].left;
    return node;
  }
  // Puts `entry` just after `predecessor` in the tree, or first when that is kNone.
  void InsertAfter(int32_t predecessor, int32_t entry) {
    SweepEvent& e = events[entry];
    e.left = e.right = kNone;
    if (root == kNone) {
      e.parent = kNone;
      root = entry;
      return;
    }
    if (predecessor != kNone && events[predecessor].right == kNone) {
      events[predecessor].right = entry;
      e.parent = predecessor;
    } else {
      const int32_t below = Leftmost(predecessor == kNone ? root : events[predecessor].right);
      events[below].left = entry;
      e.parent = below;
    }
    Splay(entry);
  }
  void Delete(int32_t entry) {
    if (events[entry].parent == kOutsideTree) return;
    Splay(entry);
    const int32_t left = events[entry].left;
    const int32_t right = events[entry].right;
    if (left == kNone) {
      root = right;
      if (right != kNone) events[right].parent = kNone;
    } else {
      events[left].parent = kNone;
      root = left;
      int32_t last = left;
      while (events[last].right != kNone) last = events[last].right;
      Splay(last);
      events[last].right = right;
      if (right != kNone) events[right].parent = last;
    }
    events[entry].parent = kOutsideTree;
  }
  // The last breakpoint left of v, or kNone when v lies left of them all.
  int32_t Search(const double* v) {
    int32_t node = root, last = kNone, found = kNone;
    while (node != kNone) {
      last = node;
      const TriHandle ghost = GhostOf(node);
      if (RightOfBreakpoint(Org(ghost), Dest(ghost), v)) {
        found = node;
        node = events[node].right;
      } else {
        node = events[node].left;
      }
    }
    if (last != kNone) Splay(last);
    return found;
  }

  // ---- Events ----

  // The first row of the sweep is the lowest vertices, or the lowest one and the next one
  // up. Each of its edges gets a ghost above, a breakpoint, and one below, which is a
  // breakpoint only when the row is a single edge rising from the lowest vertex.
  TriHandle firstRowUp{}, firstRowDown{}, rowUp{}, rowDown{};

  void AddRowEdge(TessVertex from, TessVertex to) {
    const TriHandle newUp = MakeTriangle(m, sw);
    const TriHandle newDown = MakeTriangle(m, sw);
    SetOrg(newUp, from);
    SetDest(newUp, to);
    SetOrg(newDown, to);
    SetDest(newDown, from);
    Bond(newUp, newDown);
    int32_t previous = kNone;
    if (firstRowUp.tri == nullptr) {
      firstRowUp = newUp;
      firstRowDown = newDown;
    } else {
      Bond(Lnext(rowUp), Lprev(newUp));
      Bond(Lnext(newDown), Lprev(rowDown));
      previous = EntryOf(rowUp);
    }
    InsertAfter(previous, NewEntry(newUp));
    NewEntry(newDown);
    rowUp = newUp;
    rowDown = newDown;
  }
  void CloseRow(bool rising) {
    Bond(Lnext(rowUp), Lprev(rowDown));
    Bond(Lnext(firstRowDown), Lprev(firstRowUp));
    if (rising) InsertAfter(EntryOf(rowUp), EntryOf(rowDown));
  }

  void VertexEvent(TessVertex v) {
    const int32_t found = Search(v);
    TriHandle before, after;
    if (found == kNone) {
      after = GhostOf(Leftmost(root));
      before = PreviousGhost(after);
    } else {
      before = GhostOf(found);
      after = NextGhost(before);
    }
    const int32_t beforeEntry = EntryOf(before);
    Remove(beforeEntry);
    // The arc of s splits into s, v, s: the edge s-v with a ghost on each side.
    TessVertex s = Dest(before);
    const TriHandle up = MakeTriangle(m, sw);
    const TriHandle down = MakeTriangle(m, sw);
    SetOrg(up, s);
    SetDest(up, v);
    SetOrg(down, v);
    SetDest(down, s);
    Bond(up, down);
    Bond(Lnext(up), Lprev(down));
    Bond(Lprev(up), Lnext(before));
    Bond(Lnext(down), Lprev(after));
    const int32_t upEntry = NewEntry(up);
    const int32_t downEntry = NewEntry(down);
    InsertAfter(found, upEntry);
    InsertAfter(upEntry, downEntry);
    ScheduleCircle(beforeEntry);
    ScheduleCircle(downEntry);
  }

  // The arc between the entry's ghost (a, b) and the next (b, c) vanishes: the first ghost
  // becomes the triangle (a, b, c) and the second the front edge (a, c).
  void CircleEvent(int32_t entry) {
    const TriHandle ghost = GhostOf(entry);
    const TriHandle toPrevious = Sym(Lprev(ghost));
    const TriHandle next = NextGhost(ghost);
    const int32_t previousEntry = EntryOf(Lprev(toPrevious));
    const int32_t nextEntryOfFront = EntryOf(next);
    Remove(previousEntry);
    Remove(nextEntryOfFront);
    Delete(entry);
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
    VertexType(m, v) = kUndeadVertex;
    m.removedVertices++;
    return true;
  }

  // Returns a ghost of the final ring: Lnext of its front edge, as RemoveGhosts takes it.
  TriHandle Run() {
    for (int32_t i = 0; i < vertexCount; i++) Push(i);
    TessVertex first = reinterpret_cast<TessVertex>(events[Pop()].item);
    TessVertex last = first;
    while (heapSize > 0) {
      TessVertex v = reinterpret_cast<TessVertex>(events[heap[0]].item);
      if (last != first && v[1] != first[1]) break;
      Pop();
      if (IsDuplicate(v, last)) continue;
      AddRowEdge(last, v);
      last = v;
    }
    if (last == first) TessFail("Input vertices are all identical.");
    CloseRow(last[1] != first[1]);
    while (heapSize > 0) {
      const int32_t event = Pop();
      if (event >= vertexCount) {
        CircleEvent(event);
        continue;
      }
      TessVertex v = reinterpret_cast<TessVertex>(events[event].item);
      if (IsDuplicate(v, last)) continue;
      VertexEvent(v);
      last = v;
    }
    return FinishFront();
  }

  // Gives every ghost of the ring its null apex back; returns one of them in the form that
  // RemoveGhosts takes: the Lnext of its front edge.
  TriHandle FinishFront() {
    const TriHandle start = GhostOf(root);
    TriHandle ghost = start;
    do {
      SetApex(ghost, nullptr);
      ghost = NextGhost(ghost);
    } while (!SameHandle(ghost, start));
    return Lnext(start);
  }
};

}  // namespace

int32_t SweepDelaunay(TessMesh& m, const TessSwitches& sw) {
  const uint32_t count = static_cast<uint32_t>(m.inVertices);
  // Front entries: each vertex adds at most two ghosts.
  const uint32_t entries = count + 2 * count + 2;
  SweepEvent* events =
      static_cast<SweepEvent*>(TessAllocArray(kSiteEvents, entries, sizeof(SweepEvent)));
  int32_t* heap = nullptr;
  int32_t code = 0;
  TriHandle startGhost{};
  try {
    heap = static_cast<int32_t*>(TessAllocArray(kSiteEventHeap, entries, sizeof(int32_t)));
    TraversalInit(m.vertices);
    for (uint32_t i = 0; i < count; i++) {
      TessVertex v = VertexTraverse(m);
      events[i] =
          SweepEvent{v[0], v[1], reinterpret_cast<TessWord>(v), kNone, kNone, kNone, kOutsideTree};
    }
    Sweeper sweeper(m, sw, events, heap, static_cast<int32_t>(count));
    startGhost = sweeper.Run();
  } catch (const TriangleFailure&) {
    code = 10;
  } catch (int32_t number) {
    code = number;
  } catch (const std::exception& e) {
    code = NUT_TranslateAndReportException(e);
  }
  TessFree(heap);
  TessFree(events);
  if (code != 0) throw code;
  return RemoveGhosts(m, sw, startGhost);
}
