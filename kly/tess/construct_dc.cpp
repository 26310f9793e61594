// Delaunay triangulation by divide and conquer (Guibas and Stolfi), with the alternating
// horizontal and vertical cuts of Dwyer that keep both axes balanced on uniform inputs.
//
// During the recursion each partial triangulation is wrapped in a ring of ghost triangles:
// records whose apex is null, one on each hull edge. A recursive call returns two ghost
// handles: farLeft, whose origin is the leftmost vertex, and farRight, whose destination is the
// rightmost one. Ghosts are removed once at the end.
#include <algorithm>
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

// A key whose unsigned order is the order of the doubles; -0 and +0 share one key as they
// compare equal.
inline uint64_t OrderKey(double value) {
  uint64_t bits;
  const double normalised = value + 0.0;
  std::memcpy(&bits, &normalised, sizeof bits);
  return (bits >> 63) != 0 ? ~bits : bits | (uint64_t{1} << 63);
}

// A stable least-significant-digit radix sort on the 64-bit key of each item, 11 bits a pass;
// a pass whose digit is the same for every item is skipped. `spare` holds n items.
template <class Item, class KeyOf>
void RadixSort(Item* items, Item* spare, uint32_t n, KeyOf keyOf) {
  constexpr int kBits = 11;
  constexpr int kPasses = 6;
  constexpr uint32_t kBuckets = 1u << kBits;
  static_assert(kBits * kPasses >= 64, "the passes must cover the key");
  uint32_t counts[kPasses][kBuckets] = {};
  for (uint32_t i = 0; i < n; i++) {
    const uint64_t key = keyOf(items[i]);
    for (int pass = 0; pass < kPasses; pass++)
      counts[pass][(key >> (pass * kBits)) & (kBuckets - 1)]++;
  }
  Item* source = items;
  Item* target = spare;
  for (int pass = 0; pass < kPasses; pass++) {
    uint32_t* count = counts[pass];
    if (count[(keyOf(source[0]) >> (pass * kBits)) & (kBuckets - 1)] == n) continue;
    uint32_t start = 0;
    for (uint32_t b = 0; b < kBuckets; b++) {
      const uint32_t c = count[b];
      count[b] = start;
      start += c;
    }
    for (uint32_t i = 0; i < n; i++) {
      target[count[(keyOf(source[i]) >> (pass * kBits)) & (kBuckets - 1)]++] = source[i];
    }
    std::swap(source, target);
  }
  if (source != items) std::memcpy(items, source, static_cast<size_t>(n) * sizeof *items);
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

// Sorts by x, then y, by radix on x and insertion within runs of equal x. False, with the
// entries in no particular order, when two entries are the same point.
bool SortDistinct(SortEntry* entries, SortEntry* spare, uint32_t n) {
  if (n < 2) return false;
  RadixSort(entries, spare, n, [](const SortEntry& e) { return OrderKey(e.c[0]); });
  for (uint32_t i = 1; i < n; i++) {
    if (entries[i].c[0] != entries[i - 1].c[0]) continue;
    const SortEntry moving = entries[i];
    uint32_t j = i;
    for (; j > 0 && entries[j - 1].c[0] == moving.c[0] && entries[j - 1].c[1] > moving.c[1]; j--) {
      entries[j] = entries[j - 1];
    }
    entries[j] = moving;
    if (j > 0 && entries[j - 1].c[0] == moving.c[0] && entries[j - 1].c[1] == moving.c[1]) {
      return false;
    }
  }
  return true;
}

// The order of the alternating cuts. Each subset of the recursion is held twice, in x order
// and in y order, in the same slice of two arrays; an entry carries both its ranks. A cut at
// the median of one axis takes the first half of that axis's slice as it is and splits the
// other slice stably by comparing ranks with the median's, so both stay sorted and no
// selection is ever run. The result is the layout a median selection at every level would
// give: each cut's lower half first, subsets of three or fewer in x order.
struct RankPair {
  uint32_t x;
  uint32_t y;
};

// The vertices in the order the recursion takes them: their records, and beside them a copy of
// their coordinates in the same order. The merge reads the copies, whose neighbours in the
// array are neighbours in the plane, instead of records scattered in input order over the
// vertex pool.
struct VertexOrder {
  TessVertex* records;
  double* coordinates;

  VertexOrder From(uint32_t first) const {
    return {records + first, coordinates + 2 * static_cast<size_t>(first)};
  }
  void Write(uint32_t i, const SortEntry& entry) const {
    std::memcpy(records + i, &entry.v, sizeof *records);
    coordinates[2 * static_cast<size_t>(i)] = entry.c[0];
    coordinates[2 * static_cast<size_t>(i) + 1] = entry.c[1];
  }
};

// The slices move between three arrays: a split writes the other axis's slice into the spare
// array, whose old contents are spent, and the arrays trade roles for that range.
struct CutOrder {
  const SortEntry* entries;

  // Splits `from` (n entries) stably into `to`: first the `lowerCount` entries whose rank on
  // `axis` is below `median`.
  template <int axis>
  static void StableSplit(const RankPair* from, RankPair* to, uint32_t n, uint32_t lowerCount,
                          uint32_t median) {
    uint32_t first = 0, second = lowerCount;
    for (uint32_t i = 0; i < n; i++) {
      const RankPair entry = from[i];
      // Masks rather than a branch: the sides alternate at random at the top cuts.
      const uint32_t lowerMask = 0u - ((axis == 0 ? entry.x : entry.y) < median ? 1u : 0u);
      to[(first & lowerMask) | (second & ~lowerMask)] = entry;
      first -= lowerMask;
      second += 1 + lowerMask;
    }
  }

  // Writes the n vertices of this subset into `order`, in cut order.
  void Cut(uint32_t n, int axis, RankPair* byX, RankPair* byY, RankPair* spare, VertexOrder order) {
    if (n <= 3) {
      // Subsets of three or fewer are triangulated in x order, which byX holds.
      for (uint32_t i = 0; i < n; i++) order.Write(i, entries[byX[i].x]);
      return;
    }
    const uint32_t half = n / 2;
    if (axis == 0) {
      // Halves of three or fewer read only byX.
      if (n - half > 3) StableSplit<0>(byY, spare, n, half, byX[half].x);
      Cut(half, 1, byX, spare, byY, order);
      Cut(n - half, 1, byX + half, spare + half, byY + half, order.From(half));
    } else {
      StableSplit<1>(byX, spare, n, half, byY[half].y);
      Cut(half, 0, spare, byY, byX, order);
      Cut(n - half, 0, spare + half, byY + half, byX + half, order.From(half));
    }
  }
};

// A y key with its x rank; ordering by both is ordering by y then x, the points being distinct.
struct YEntry {
  double y;
  uint32_t rank;
};

struct Merger {
  TessMesh& m;
  const TessSwitches& sw;
  // The vertices the recursion takes: the copies when `coordinates` is set, else the records.
  const TessVertex* records;
  double* coordinates;

  TessVertex VertexAt(uint32_t i) const {
    return coordinates != nullptr ? coordinates + 2 * static_cast<size_t>(i) : records[i];
  }

  double Ccw(const double* a, const double* b, const double* c) {
    return CounterClockwise(m.counters, sw, a, b, c);
  }
  // The plain in-circle test is spelled out so that its first stage is inlined here, in the
  // merge's inner loop; weighted vertices take the general test. Left to itself the compiler
  // keeps this a call, which costs the merge a few per cent.
  __attribute__((always_inline)) double InCircleTest(const double* a, const double* b,
                                                     const double* c, const double* d) {
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
            const TriHandle topNeighbor = Sym(next);
            next = Lnext(next);
            const TriHandle sideNeighbor = Sym(next);
            Bond(next, topNeighbor);
            Bond(leftCand, sideNeighbor);
            leftCand = Lnext(leftCand);
            const TriHandle outerNeighbor = Sym(leftCand);
            next = Lprev(next);
            Bond(next, outerNeighbor);
            SetOrg(leftCand, lowerLeft);
            SetDest(leftCand, nullptr);
            SetApex(leftCand, nextApex);
            SetOrg(next, nullptr);
            SetDest(next, upperLeft);
            SetApex(next, nextApex);
            upperLeft = nextApex;
            next = sideNeighbor;
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
            const TriHandle topNeighbor = Sym(next);
            next = Lprev(next);
            const TriHandle sideNeighbor = Sym(next);
            Bond(next, topNeighbor);
            Bond(rightCand, sideNeighbor);
            rightCand = Lprev(rightCand);
            const TriHandle outerNeighbor = Sym(rightCand);
            next = Lnext(next);
            Bond(next, outerNeighbor);
            SetOrg(rightCand, nullptr);
            SetDest(rightCand, lowerRight);
            SetApex(rightCand, nextApex);
            SetOrg(next, upperRight);
            SetDest(next, nullptr);
            SetApex(next, nextApex);
            upperRight = nextApex;
            next = sideNeighbor;
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

  // Two or three vertices in x order.
  void Triangulate(const TessVertex* array, uint32_t n, TriHandle& farLeft, TriHandle& farRight) {
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
    }
  }

  void Recurse(uint32_t first, uint32_t n, int axis, TriHandle& farLeft, TriHandle& farRight) {
    if (n <= 3) {
      const TessVertex array[3] = {VertexAt(first), VertexAt(first + 1),
                                   n == 3 ? VertexAt(first + 2) : nullptr};
      Triangulate(array, n, farLeft, farRight);
      return;
    }
    const uint32_t half = n / 2;
    TriHandle innerLeft, innerRight;
    Recurse(first, half, 1 - axis, farLeft, innerLeft);
    Recurse(first + half, n - half, 1 - axis, innerRight, farRight);
    MergeHulls(farLeft, innerLeft, innerRight, farRight, axis);
  }
};

// The merge ran on the copies: points every corner at the record its copy was made from.
void PointCornersAtRecords(TessMesh& m, const VertexOrder& order) {
  TraversalInit(m.triangles);
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    for (int corner = 3; corner < 6; corner++) {
      if (tri[corner] == 0) continue;  // a ghost's missing corner
      const double* copy = reinterpret_cast<const double*>(tri[corner]);
      tri[corner] = reinterpret_cast<TessWord>(order.records[(copy - order.coordinates) / 2]);
    }
  }
}

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
  // The radix sorts' spare room, then the y entries, then the recursion's vertex order.
  SortEntry* spare = nullptr;
  RankPair* ranks = nullptr;
  TriHandle farLeft{}, farRight{};
  const int32_t code = TessFailureCode([&] {
    spare = static_cast<SortEntry*>(TessAllocArray(kSiteSortArray, count, sizeof(SortEntry)));
    TraversalInit(m.vertices);
    for (uint32_t i = 0; i < count; i++) {
      TessVertex v = VertexTraverse(m);
      entries[i] = SortEntry{{v[0], v[1]}, v};
    }
    if (!SortDistinct(entries, spare, count)) {
      // Which of several equal vertices survives is the one the quicksort leaves first; the
      // radix order would pick another, so repeated vertices take the quicksort from the
      // input order.
      TraversalInit(m.vertices);
      for (uint32_t i = 0; i < count; i++) {
        TessVertex v = VertexTraverse(m);
        entries[i] = SortEntry{{v[0], v[1]}, v};
      }
      VertexSort(entries, count);
    }
    uint32_t kept = 0;
    for (uint32_t j = 1; j < count; j++) {
      if (entries[kept].c[0] == entries[j].c[0] && entries[kept].c[1] == entries[j].c[1]) {
        VertexType(m, entries[j].v) = kRemovedVertex;
        m.removedVertices++;
      } else {
        entries[++kept] = entries[j];
      }
    }
    const uint32_t n = kept + 1;
    // The recursion needs two distinct vertices to end.
    if (n < 2) TessFail("Input vertices are all identical.");
    // The order takes the spare's room, records first: 24 bytes a vertex, as much as an entry.
    char* orderRoom = static_cast<char*>(static_cast<void*>(spare));
    const VertexOrder order{
        reinterpret_cast<TessVertex*>(orderRoom),
        reinterpret_cast<double*>(orderRoom + static_cast<size_t>(n) * sizeof(TessVertex))};
    if (sw.alternatingCuts) {
      YEntry* yEntries = reinterpret_cast<YEntry*>(static_cast<void*>(spare));
      // byX, byY and the split's spare; first the y sort's spare.
      ranks = static_cast<RankPair*>(TessAllocArray(kSiteSortArray, n, 3 * sizeof(RankPair)));
      for (uint32_t i = 0; i < n; i++) yEntries[i] = YEntry{entries[i].c[1], i};
      // Stable on the x ranks, so equal ys stay in x order.
      RadixSort(yEntries, reinterpret_cast<YEntry*>(static_cast<void*>(ranks)), n,
                [](const YEntry& e) { return OrderKey(e.y); });
      RankPair* byX = ranks;
      RankPair* byY = ranks + n;
      for (uint32_t i = 0; i < n; i++) {
        byY[i] = RankPair{yEntries[i].rank, i};
        byX[yEntries[i].rank].y = i;
      }
      for (uint32_t i = 0; i < n; i++) byX[i].x = i;
      // The y entries are spent. The first cut is vertical, at the median of the x order.
      CutOrder{entries}.Cut(n, 0, byX, byY, ranks + 2 * static_cast<size_t>(n), order);
      TessFree(ranks);
      ranks = nullptr;
    } else {
      for (uint32_t i = 0; i < n; i++) order.Write(i, entries[i]);
    }
    TessFree(entries);
    entries = nullptr;
    // Weighted in-circle tests read the weight from the record, so they run on the records.
    const bool onCopies = sw.weightMode == 0;
    Merger merger{m, sw, order.records, onCopies ? order.coordinates : nullptr};
    merger.Recurse(0, n, 0, farLeft, farRight);
    if (onCopies) PointCornersAtRecords(m, order);
  });
  TessFree(entries);
  TessFree(spare);
  TessFree(ranks);
  if (code != 0) throw code;
  return RemoveGhosts(m, sw, farLeft);
}
