// Delaunay triangulation by divide and conquer (Guibas and Stolfi), with the alternating
// horizontal and vertical cuts of Dwyer that keep both axes balanced on uniform inputs.
//
// During the recursion each partial triangulation is wrapped in a ring of ghost triangles:
// records whose apex is null, one on each hull edge. A recursive call returns two ghost
// handles: farLeft, whose origin is the leftmost vertex, and farRight, whose destination is the
// rightmost one. Ghosts are removed once at the end.
#include <cstring>
#include <exception>
#include <utility>

#include "kly/host/nut.h"
#include "kly/tess/construction.h"
#include "kly/tess/failure.h"
#include "kly/tess/triangulate.h"

namespace {

constexpr uint16_t kSiteSortArray = 0x06;

// The sort works on copies of the coordinates beside each vertex pointer, so that comparisons
// read the array in order instead of chasing pointers into the vertex pool.
struct SortEntry {
  double c[2];
  TessVertex v;
};

template <int axis>
inline bool Before(const SortEntry& a, const SortEntry& b) {
  return a.c[axis] < b.c[axis] || (a.c[axis] == b.c[axis] && a.c[1 - axis] < b.c[1 - axis]);
}

// Quicksort by x, then y, with a random pivot.
void VertexSort(SortEntry* array, uint32_t n) {
  for (;;) {
    if (n == 2) {
      if (Before<0>(array[1], array[0])) std::swap(array[0], array[1]);
      return;
    }
    const SortEntry pivot = array[TessRandom(n)];
    int64_t left = -1, right = n;
    while (left < right) {
      do {
        left++;
      } while (left <= right && Before<0>(array[left], pivot));
      do {
        right--;
      } while (left <= right && Before<0>(pivot, array[right]));
      if (left < right) std::swap(array[left], array[right]);
    }
    const uint32_t leftCount = static_cast<uint32_t>(left);
    const uint32_t rightCount = static_cast<uint32_t>(n - right - 1);
    // Recurse into the smaller part and loop on the larger, to bound the stack depth.
    if (leftCount <= rightCount) {
      if (leftCount > 1) VertexSort(array, leftCount);
      if (rightCount <= 1) return;
      array += right + 1;
      n = rightCount;
    } else {
      if (rightCount > 1) VertexSort(array + right + 1, rightCount);
      if (leftCount <= 1) return;
      n = leftCount;
    }
  }
}

// Quickselect: moves the element of rank `median` on `axis` (then the other axis) to its
// place, smaller ones before it and larger ones after it.
template <int axis>
void VertexMedian(SortEntry* array, uint32_t n, uint32_t median) {
  for (;;) {
    if (n == 2) {
      if (Before<axis>(array[1], array[0])) std::swap(array[0], array[1]);
      return;
    }
    if (n < 2) return;
    const SortEntry pivot = array[TessRandom(n)];
    int64_t left = -1, right = n;
    while (left < right) {
      do {
        left++;
      } while (left <= right && Before<axis>(array[left], pivot));
      do {
        right--;
      } while (left <= right && Before<axis>(pivot, array[right]));
      if (left < right) std::swap(array[left], array[right]);
    }
    if (left > median) {
      n = static_cast<uint32_t>(left);
    } else if (right < static_cast<int64_t>(median) - 1) {
      array += right + 1;
      median -= static_cast<uint32_t>(right + 1);
      n -= static_cast<uint32_t>(right + 1);
    } else {
      return;
    }
  }
}

void AlternateAxes(SortEntry* array, uint32_t n, int axis) {
  const uint32_t half = n / 2;
  // Subsets of three or fewer are triangulated in x order.
  if (n <= 3) axis = 0;
  if (axis == 0) {
    VertexMedian<0>(array, n, half);
  } else {
    VertexMedian<1>(array, n, half);
  }
  if (n - half >= 2) {
    if (half >= 2) AlternateAxes(array, half, 1 - axis);
    AlternateAxes(array + half, n - half, 1 - axis);
  }
}

struct Merger {
  TessMesh& m;
  const TessSwitches& sw;

  double Ccw(const double* a, const double* b, const double* c) {
    return CounterClockwise(m.counters, sw, a, b, c);
  }
  // The plain in-circle test is spelled out so that its first stage is inlined here, in the
  // merge's inner loop; weighted vertices take the general test.
  double InCircleTest(const double* a, const double* b, const double* c, const double* d) {
    if (sw.weightMode == 0) return InCircle(m.counters, sw, a, b, c, d);
    return NonRegular(m.counters, sw, a, b, c, d);
  }

  void MergeHulls(TriHandle& farLeft, TriHandle innerLeft, TriHandle innerRight,
                  TriHandle& farRight, int axis) {
    TessVertex innerLeftDest = Dest(innerLeft);
    TessVertex innerLeftApex = Apex(innerLeft);
    TessVertex innerRightOrg = Org(innerRight);
    TessVertex innerRightApex = Apex(innerRight);
    const bool horizontal = sw.alternatingCuts && axis == 1;
    if (horizontal) {
      // The halves lie one above the other: turn the extremal handles from leftmost and
      // rightmost to bottommost and topmost.
      TessVertex farLeftPt = Org(farLeft);
      TessVertex farLeftApex = Apex(farLeft);
      TessVertex farRightPt = Dest(farRight);
      while (farLeftApex[1] < farLeftPt[1]) {
        farLeft = Sym(Lnext(farLeft));
        farLeftPt = farLeftApex;
        farLeftApex = Apex(farLeft);
      }
      TriHandle check = Sym(innerLeft);
      TessVertex checkVertex = Apex(check);
      while (checkVertex[1] > innerLeftDest[1]) {
        innerLeft = Lnext(check);
        innerLeftApex = innerLeftDest;
        innerLeftDest = checkVertex;
        check = Sym(innerLeft);
        checkVertex = Apex(check);
      }
      while (innerRightApex[1] < innerRightOrg[1]) {
        innerRight = Sym(Lnext(innerRight));
        innerRightOrg = innerRightApex;
        innerRightApex = Apex(innerRight);
      }
      check = Sym(farRight);
      checkVertex = Apex(check);
      while (checkVertex[1] > farRightPt[1]) {
        farRight = Lnext(check);
        farRightPt = checkVertex;
        check = Sym(farRight);
        checkVertex = Apex(check);
      }
    }
    // The lower common tangent of the two hulls.
    bool changed;
    do {
      changed = false;
      if (Ccw(innerLeftDest, innerLeftApex, innerRightOrg) > 0.0) {
        innerLeft = Sym(Lprev(innerLeft));
        innerLeftDest = innerLeftApex;
        innerLeftApex = Apex(innerLeft);
        changed = true;
      }
      if (Ccw(innerRightApex, innerRightOrg, innerLeftDest) > 0.0) {
        innerRight = Sym(Lnext(innerRight));
        innerRightOrg = innerRightApex;
        innerRightApex = Apex(innerRight);
        changed = true;
      }
    } while (changed);

    TriHandle leftCand = Sym(innerLeft);
    TriHandle rightCand = Sym(innerRight);
    // The bottom ghost, bonded to both hulls.
    TriHandle baseEdge = MakeTriangle(m, sw);
    Bond(baseEdge, innerLeft);
    baseEdge = Lnext(baseEdge);
    Bond(baseEdge, innerRight);
    baseEdge = Lnext(baseEdge);
    SetOrg(baseEdge, innerRightOrg);
    SetDest(baseEdge, innerLeftDest);
    if (innerLeftDest == Org(farLeft)) farLeft = Lnext(baseEdge);
    if (innerRightOrg == Dest(farRight)) farRight = Lprev(baseEdge);

    TessVertex lowerLeft = innerLeftDest;
    TessVertex lowerRight = innerRightOrg;
    TessVertex upperLeft = Apex(leftCand);
    TessVertex upperRight = Apex(rightCand);
    // Knit upwards, one gear tooth at a time.
    for (;;) {
      const bool leftFinished = Ccw(upperLeft, lowerLeft, lowerRight) <= 0.0;
      const bool rightFinished = Ccw(upperRight, lowerLeft, lowerRight) <= 0.0;
      if (leftFinished && rightFinished) {
        TriHandle top = MakeTriangle(m, sw);
        SetOrg(top, lowerLeft);
        SetDest(top, lowerRight);
        Bond(top, baseEdge);
        top = Lnext(top);
        Bond(top, rightCand);
        top = Lnext(top);
        Bond(top, leftCand);
        if (horizontal) {
          // Back to leftmost and rightmost for the caller.
          TessVertex farLeftPt = Org(farLeft);
          TessVertex farRightPt = Dest(farRight);
          TessVertex farRightApex = Apex(farRight);
          TriHandle check = Sym(farLeft);
          TessVertex checkVertex = Apex(check);
          while (checkVertex[0] < farLeftPt[0]) {
            farLeft = Lprev(check);
            farLeftPt = checkVertex;
            check = Sym(farLeft);
            checkVertex = Apex(check);
          }
          while (farRightApex[0] > farRightPt[0]) {
            farRight = Sym(Lprev(farRight));
            farRightPt = farRightApex;
            farRightApex = Apex(farRight);
          }
        }
        return;
      }
      if (!leftFinished) {
        // Remove edges of the left triangulation that fail the circle test, moving them onto
        // the ghost ring; never eat through to a ghost.
        TriHandle next = Sym(Lprev(leftCand));
        TessVertex nextApex = Apex(next);
        if (nextApex != nullptr) {
          bool bad = InCircleTest(lowerLeft, lowerRight, upperLeft, nextApex) > 0.0;
          while (bad) {
            next = Lnext(next);
            const TriHandle topCasing = Sym(next);
            next = Lnext(next);
            const TriHandle sideCasing = Sym(next);
            Bond(next, topCasing);
            Bond(leftCand, sideCasing);
            leftCand = Lnext(leftCand);
            const TriHandle outerCasing = Sym(leftCand);
            next = Lprev(next);
            Bond(next, outerCasing);
            SetOrg(leftCand, lowerLeft);
            SetDest(leftCand, nullptr);
            SetApex(leftCand, nextApex);
            SetOrg(next, nullptr);
            SetDest(next, upperLeft);
            SetApex(next, nextApex);
            upperLeft = nextApex;
            next = sideCasing;
            nextApex = Apex(next);
            bad = nextApex != nullptr &&
                  InCircleTest(lowerLeft, lowerRight, upperLeft, nextApex) > 0.0;
          }
        }
      }
      if (!rightFinished) {
        TriHandle next = Sym(Lnext(rightCand));
        TessVertex nextApex = Apex(next);
        if (nextApex != nullptr) {
          bool bad = InCircleTest(lowerLeft, lowerRight, upperRight, nextApex) > 0.0;
          while (bad) {
            next = Lprev(next);
            const TriHandle topCasing = Sym(next);
            next = Lprev(next);
            const TriHandle sideCasing = Sym(next);
            Bond(next, topCasing);
            Bond(rightCand, sideCasing);
            rightCand = Lprev(rightCand);
            const TriHandle outerCasing = Sym(rightCand);
            next = Lnext(next);
            Bond(next, outerCasing);
            SetOrg(rightCand, nullptr);
            SetDest(rightCand, lowerRight);
            SetApex(rightCand, nextApex);
            SetOrg(next, upperRight);
            SetDest(next, nullptr);
            SetApex(next, nextApex);
            upperRight = nextApex;
            next = sideCasing;
            nextApex = Apex(next);
            bad = nextApex != nullptr &&
                  InCircleTest(lowerLeft, lowerRight, upperRight, nextApex) > 0.0;
          }
        }
      }
      if (leftFinished ||
          (!rightFinished && InCircleTest(upperLeft, lowerLeft, lowerRight, upperRight) > 0.0)) {
        // New edge from lowerLeft to upperRight.
        Bond(baseEdge, rightCand);
        baseEdge = Lprev(rightCand);
        SetDest(baseEdge, lowerLeft);
        lowerRight = upperRight;
        rightCand = Sym(baseEdge);
        upperRight = Apex(rightCand);
      } else {
        // New edge from upperLeft to lowerRight.
        Bond(baseEdge, leftCand);
        baseEdge = Lnext(leftCand);
        SetOrg(baseEdge, lowerRight);
        lowerLeft = upperLeft;
        leftCand = Sym(baseEdge);
        upperLeft = Apex(leftCand);
      }
    }
  }

  void Recurse(TessVertex* array, uint32_t n, int axis, TriHandle& farLeft, TriHandle& farRight) {
    if (n == 2) {
      // One edge: two ghosts, each the other's neighbour all round.
      farLeft = MakeTriangle(m, sw);
      SetOrg(farLeft, array[0]);
      SetDest(farLeft, array[1]);
      farRight = MakeTriangle(m, sw);
      SetOrg(farRight, array[1]);
      SetDest(farRight, array[0]);
      Bond(farLeft, farRight);
      farLeft = Lprev(farLeft);
      farRight = Lnext(farRight);
      Bond(farLeft, farRight);
      farLeft = Lprev(farLeft);
      farRight = Lnext(farRight);
      Bond(farLeft, farRight);
      farLeft = Lprev(farRight);
      return;
    }
    if (n == 3) {
      TriHandle mid = MakeTriangle(m, sw);
      TriHandle tri1 = MakeTriangle(m, sw);
      TriHandle tri2 = MakeTriangle(m, sw);
      TriHandle tri3 = MakeTriangle(m, sw);
      const double area = Ccw(array[0], array[1], array[2]);
      if (area == 0.0) {
        // Collinear: two edges and a ring of four ghosts.
        SetOrg(mid, array[0]);
        SetDest(mid, array[1]);
        SetOrg(tri1, array[1]);
        SetDest(tri1, array[0]);
        SetOrg(tri2, array[2]);
        SetDest(tri2, array[1]);
        SetOrg(tri3, array[1]);
        SetDest(tri3, array[2]);
        Bond(mid, tri1);
        Bond(tri2, tri3);
        mid = Lnext(mid);
        tri1 = Lprev(tri1);
        tri2 = Lnext(tri2);
        tri3 = Lprev(tri3);
        Bond(mid, tri3);
        Bond(tri1, tri2);
        mid = Lnext(mid);
        tri1 = Lprev(tri1);
        tri2 = Lnext(tri2);
        tri3 = Lprev(tri3);
        Bond(mid, tri1);
        Bond(tri2, tri3);
        farLeft = tri1;
        farRight = tri2;
        return;
      }
      // One real triangle, counterclockwise, and a ghost on each of its edges.
      SetOrg(mid, array[0]);
      SetDest(tri1, array[0]);
      SetOrg(tri3, array[0]);
      TessVertex second = area > 0.0 ? array[1] : array[2];
      TessVertex third = area > 0.0 ? array[2] : array[1];
      SetDest(mid, second);
      SetOrg(tri1, second);
      SetDest(tri2, second);
      SetApex(mid, third);
      SetOrg(tri2, third);
      SetDest(tri3, third);
      Bond(mid, tri1);
      mid = Lnext(mid);
      Bond(mid, tri2);
      mid = Lnext(mid);
      Bond(mid, tri3);
      tri1 = Lprev(tri1);
      tri2 = Lnext(tri2);
      Bond(tri1, tri2);
      tri1 = Lprev(tri1);
      tri3 = Lprev(tri3);
      Bond(tri1, tri3);
      tri2 = Lnext(tri2);
      tri3 = Lprev(tri3);
      Bond(tri2, tri3);
      farLeft = tri1;
      farRight = area > 0.0 ? tri2 : Lnext(farLeft);
      return;
    }
    const uint32_t half = n / 2;
    TriHandle innerLeft, innerRight;
    Recurse(array, half, 1 - axis, farLeft, innerLeft);
    Recurse(array + half, n - half, 1 - axis, innerRight, farRight);
    MergeHulls(farLeft, innerLeft, innerRight, farRight, axis);
  }
};

}  // namespace

int32_t RemoveGhosts(TessMesh& m, const TessSwitches& sw, TriHandle startGhost) {
  // Point location starts from the hull edge that the dummy names.
  m.dummyTriangle[0] = EncodeTri(Sym(Lprev(startGhost)));
  TriHandle dissolveEdge = startGhost;
  int32_t hullSize = 0;
  do {
    hullSize++;
    const TriHandle deadTriangle = Lnext(dissolveEdge);
    dissolveEdge = Sym(Lprev(dissolveEdge));
    if (dissolveEdge.tri != m.dummyTriangle) {
      // On a collinear input the neighbour is a ghost too, whose origin may be its null
      // vertex; the real vertices are all reached through the other ghosts.
      TessVertex org = Org(dissolveEdge);
      if (!sw.pslgInput && org != nullptr && VertexMark(m, org) == 0) VertexMark(m, org) = 1;
      // When all vertices are collinear the neighbour is another ghost, perhaps already
      // killed; only a live real triangle is cut loose.
      if (!IsDeadTriangle(dissolveEdge.tri) && Apex(dissolveEdge) != nullptr) {
        Dissolve(m, dissolveEdge);
      }
    }
    dissolveEdge = Sym(deadTriangle);
    KillTriangle(m, deadTriangle.tri);
  } while (!SameHandle(dissolveEdge, startGhost));
  return hullSize;
}

int32_t DivideAndConquerDelaunay(TessMesh& m, const TessSwitches& sw) {
  const uint32_t count = static_cast<uint32_t>(m.inVertices);
  SortEntry* entries =
      static_cast<SortEntry*>(TessAllocArray(kSiteSortArray, count, sizeof(SortEntry)));
  int32_t code = 0;
  TriHandle farLeft{}, farRight{};
  try {
    TraversalInit(m.vertices);
    for (uint32_t i = 0; i < count; i++) {
      TessVertex v = VertexTraverse(m);
      entries[i] = SortEntry{{v[0], v[1]}, v};
    }
    VertexSort(entries, count);
    uint32_t kept = 0;
    for (uint32_t j = 1; j < count; j++) {
      if (entries[kept].c[0] == entries[j].c[0] && entries[kept].c[1] == entries[j].c[1]) {
        VertexType(m, entries[j].v) = kUndeadVertex;
        m.removedVertices++;
      } else {
        entries[++kept] = entries[j];
      }
    }
    const uint32_t n = kept + 1;
    // The recursion needs two distinct vertices to end.
    if (n < 2) TessFail("Input vertices are all identical.");
    if (sw.alternatingCuts) {
      const uint32_t half = n / 2;
      if (n - half >= 2) {
        if (half >= 2) AlternateAxes(entries, half, 1);
        AlternateAxes(entries + half, n - half, 1);
      }
    }
    // The recursion takes plain pointers; they overwrite the entries from the front, each
    // after its entry was read.
    TessVertex* array = reinterpret_cast<TessVertex*>(static_cast<void*>(entries));
    for (uint32_t i = 0; i < n; i++) {
      TessVertex v = entries[i].v;
      std::memcpy(array + i, &v, sizeof v);
    }
    Merger merger{m, sw};
    merger.Recurse(array, n, 0, farLeft, farRight);
  } catch (const TriangleFailure&) {
    code = 10;
  } catch (int32_t number) {
    code = number;
  } catch (const std::exception& e) {
    code = NUT_TranslateAndReportException(e);
  }
  TessFree(entries);
  if (code != 0) throw code;
  return RemoveGhosts(m, sw, farLeft);
}
