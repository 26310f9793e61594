// The splay tree of the sweep's front and its key: the exact position of a vertex against a
// breakpoint of the beach line.
#include <cmath>

#include "kly/tess/exact_arithmetic.h"
#include "kly/tess/sweep_front.h"

namespace {

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

}  // namespace

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

void FrontTree::Rotate(int32_t x) {
  FrontEntry& ex = entries[x];
  const int32_t p = ex.parent;
  FrontEntry& ep = entries[p];
  ReplaceChild(p, x);
  if (ep.left == x) {
    ep.left = ex.right;
    if (ex.right != kNoEntry) entries[ex.right].parent = p;
    ex.right = p;
  } else {
    ep.right = ex.left;
    if (ex.left != kNoEntry) entries[ex.left].parent = p;
    ex.left = p;
  }
  ep.parent = x;
}
void FrontTree::Splay(int32_t x) {
  while (entries[x].parent != kNoEntry) {
    const int32_t p = entries[x].parent;
    const int32_t g = entries[p].parent;
    if (g != kNoEntry) Rotate((entries[g].left == p) == (entries[p].left == x) ? p : x);
    Rotate(x);
  }
}
int32_t FrontTree::Leftmost(int32_t node) const {
  while (entries[node].left != kNoEntry) node = entries[node].left;
  return node;
}
// Without splaying: the predecessor is mostly the node the last search splayed to the root, so
// the new leaf hangs close to it.
void FrontTree::InsertAfter(int32_t predecessor, int32_t entry) {
  FrontEntry& e = entries[entry];
  e.left = e.right = kNoEntry;
  if (root == kNoEntry) {
    e.parent = kNoEntry;
    root = entry;
    return;
  }
  if (predecessor != kNoEntry && entries[predecessor].right == kNoEntry) {
    entries[predecessor].right = entry;
    e.parent = predecessor;
  } else {
    const int32_t below = Leftmost(predecessor == kNoEntry ? root : entries[predecessor].right);
    entries[below].left = entry;
    e.parent = below;
  }
}
// Replaces `node` by `child` (or nothing) under node's parent.
void FrontTree::ReplaceChild(int32_t node, int32_t child) {
  const int32_t parent = entries[node].parent;
  if (child != kNoEntry) entries[child].parent = parent;
  if (parent == kNoEntry) {
    root = child;
  } else if (entries[parent].left == node) {
    entries[parent].left = child;
  } else {
    entries[parent].right = child;
  }
}
// A plain unlinking, without splaying: searches splay the tree often enough, and a deletion
// has no locality to exploit.
void FrontTree::Delete(int32_t entry) {
  if (entries[entry].parent == kOutsideTree) return;
  FrontEntry& e = entries[entry];
  if (e.left == kNoEntry) {
    ReplaceChild(entry, e.right);
  } else if (e.right == kNoEntry) {
    ReplaceChild(entry, e.left);
  } else {
    // The predecessor, the rightmost of the left subtree, takes the entry's place.
    int32_t last = e.left;
    while (entries[last].right != kNoEntry) last = entries[last].right;
    if (last != e.left) {
      ReplaceChild(last, entries[last].left);
      entries[last].left = e.left;
      entries[e.left].parent = last;
    }
    entries[last].right = e.right;
    entries[e.right].parent = last;
    ReplaceChild(entry, last);
  }
  e.parent = kOutsideTree;
}
int32_t FrontTree::Search(const double* v) {
  int32_t node = root, last = kNoEntry, found = kNoEntry;
  while (node != kNoEntry) {
    last = node;
    const TriHandle ghost = DecodeTri(entries[node].ghost);
    if (RightOfBreakpoint(Org(ghost), Dest(ghost), v)) {
      found = node;
      node = entries[node].right;
    } else {
      node = entries[node].left;
    }
  }
  if (last != kNoEntry) Splay(last);
  return found;
}
