// The conforming stage: subsegments seen by an opposite apex at more than a right angle are
// split until none is, so that the mesh with its segments is Delaunay.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "kly/tess/constraints.h"
#include "kly/tess/construction.h"
#include "kly/tess/failure.h"
#include "kly/tess/flip_stack.h"
#include "kly/tess/refine.h"
#include "kly/tess/refine_queue.h"

namespace {

inline double Dot(const double* a, const double* b, const double* apex) {
  return (a[0] - apex[0]) * (b[0] - apex[0]) + (a[1] - apex[1]) * (b[1] - apex[1]);
}

inline double SquaredLength(const double* a, const double* b) {
  return (a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]);
}

// Whether `apex` encroaches the subsegment from `org` to `dest`: it sees it at an obtuse
// angle, and, without the conforming switch, inside the diametral lens of goodAngle.
bool Encroaches(const TessSwitches& sw, const double* org, const double* dest, const double* apex) {
  const double dot = Dot(org, dest, apex);
  if (!(dot < 0.0)) return false;
  if (sw.conformingDelaunay) return true;
  const double lens = 2.0 * sw.goodAngle - 1.0;
  return dot * dot >= lens * lens * SquaredLength(org, apex) * SquaredLength(dest, apex);
}

// A pooled bad subsegment is dead when its origin is null: PoolDealloc takes its first word.
void ReleaseBadSubsegment(TessMesh& m, BadSubsegment* bad) {
  bad->subsegOrg = nullptr;
  PoolDealloc(m.badSubsegments, bad);
}

BadSubsegment* NextBadSubsegment(TessMesh& m) {
  BadSubsegment* bad;
  do {
    bad = static_cast<BadSubsegment*>(Traverse(m.badSubsegments));
    if (bad == nullptr) return nullptr;
  } while (bad->subsegOrg == nullptr);
  return bad;
}

constexpr const char* kSplitsDoNotEnd =
    "Conforming refinement does not end: segments meet at too small an angle.";

// Below this angle between two segments at a shared end, every split of both is measured from
// that end (see SplitFraction).
constexpr double kTinyAngle = 1e-3;
// Below this angle even that fails: the split vertices of the two segments must lie at equal
// distances from the shared end to within about the distance times the angle squared, far
// below the rounding of their coordinates. Unaligned, they encroach each other until the
// subsegments are as short as the gap between the segments, some 1 / angle = 1e9 splits a
// shell, far beyond the bound on splits: the stage refuses such input at once.
constexpr double kHopelessAngle = 1e-9;

// The smallest angle at the segment end `end` between the segment towards `far` and another
// subsegment at `end`; kTinyAngle when none is smaller.
double SmallestAngleAt(const TessMesh& m, TessVertex end, TessVertex far) {
  double smallest = kTinyAngle;
  if (m.vertexToTriangleIndex == 0) return smallest;  // no vertex map without segments
  const TessWord encoded = VertexToTriangle(m, end);
  if (encoded == 0) return smallest;
  const TriHandle start = DecodeTri(encoded);
  if (IsDeadTriangle(start.tri) || Org(start) != end) return smallest;
  const double ax = far[0] - end[0], ay = far[1] - end[1];
  // Each triangle at `end` has two edges there: the handle's, and the one from its apex.
  const auto visitEdge = [&](TriHandle edge, TessVertex other) {
    const SubHandle sub = SubsegmentOnEdge(edge);
    if (sub.ss == m.dummySubsegment) return;
    // The segment's own first subsegment.
    if ((SegOrg(sub) == end && SegDest(sub) == far) || (SegOrg(sub) == far && SegDest(sub) == end))
      return;
    const double bx = other[0] - end[0], by = other[1] - end[1];
    smallest = std::min(smallest, std::atan2(std::fabs(ax * by - ay * bx), ax * bx + ay * by));
  };
  const auto visit = [&](TriHandle h) {
    visitEdge(h, Dest(h));
    visitEdge(Lprev(h), Apex(h));
  };
  // Round the vertex counterclockwise, then clockwise from the start when the hull stops it.
  const int64_t limit = static_cast<int64_t>(m.triangles.items) + 3;
  TriHandle h = start;
  int64_t steps = 0;
  do {
    visit(h);
    h = Onext(h);
  } while (h.tri != m.dummyTriangle && !SameHandle(h, start) && ++steps < limit);
  if (h.tri == m.dummyTriangle) {
    for (h = Oprev(start); h.tri != m.dummyTriangle && ++steps < limit; h = Oprev(h)) visit(h);
  }
  return smallest;
}

// Where to split the subsegment from `org` to `dest`, as a fraction of the way to `dest`.
// Ruppert's concentric shells: a subsegment with an end shared with another segment is split
// at a power of two from that end, so that two segments meeting at a small angle gain
// vertices at equal distances from their shared end, which do not encroach each other.
// Segments that meet at a tiny angle need that all along them, not only at the shared end:
// two nearly parallel segments whose other ends lie apart (a crossing near an end leaves
// these) gain vertices from midpoints that never line up, and each then lies in the
// diametral circle of a subsegment of the other until the subsegments are as short as the gap
// between the segments. So below kTinyAngle every subsegment of such a segment is split at
// the multiple of the largest power of two, in distance from the tiny angle's end, that falls
// in the middle half of the subsegment's span of distances.
double SplitFraction(const TessMesh& m, SubHandle current, TessVertex org, TessVertex dest) {
  TessVertex segOrg = SegOrg(current);
  TessVertex segDest = SegDest(current);
  const double angleOrg = SmallestAngleAt(m, segOrg, segDest);
  const double angleDest = SmallestAngleAt(m, segDest, segOrg);
  if (std::min(angleOrg, angleDest) < kHopelessAngle) TessFail(kSplitsDoNotEnd);
  if (std::min(angleOrg, angleDest) < kTinyAngle) {
    TessVertex centre = angleOrg <= angleDest ? segOrg : segDest;
    const double near = std::hypot(org[0] - centre[0], org[1] - centre[1]);
    const double farther = std::hypot(dest[0] - centre[0], dest[1] - centre[1]);
    const double span = farther - near;
    if (std::fabs(span) > 0.0 && std::isfinite(span)) {
      const double low = std::min(near, farther) + 0.25 * std::fabs(span);
      const double high = std::max(near, farther) - 0.25 * std::fabs(span);
      // A multiple of 2^(top - 1) always falls in a window half as wide as the span; the
      // rounding of low and high may only hide it at the limit of precision.
      const int top = std::ilogb(std::fabs(span));
      for (int exponent = top; exponent >= top - 2; exponent--) {
        const double radius = std::ldexp(std::ceil(std::ldexp(low, -exponent)), exponent);
        if (radius <= high) {
          const double split = (radius - near) / span;
          if (split > 0.0 && split < 1.0) return split;
        }
      }
    }
  }
  // Is an end shared with another segment? Then split on a power-of-two shell round it.
  TriHandle encroached = TriangleBeside(current);
  bool acuteOrg = HasSubsegment(m, Lnext(encroached));
  bool acuteDest = HasSubsegment(m, Lnext(Lnext(encroached)));
  const TriHandle other = Sym(encroached);
  if (other.tri != m.dummyTriangle) {
    acuteDest = acuteDest || HasSubsegment(m, Lnext(other));
    acuteOrg = acuteOrg || HasSubsegment(m, Lnext(Lnext(other)));
  }
  if (!acuteOrg && !acuteDest) return 0.5;
  // The worst ratio of the two parts is 2:1.
  const double length = std::sqrt(SquaredLength(org, dest));
  double shell = 1.0;
  while (length > 3.0 * shell) shell *= 2.0;
  while (length < 1.5 * shell) shell *= 0.5;
  const double split = shell / length;
  return acuteDest ? 1.0 - split : split;
}

// The larger of a span's extents along the two axes; unlike squared lengths, differences of
// doubles do not underflow to zero.
inline double Extent(const double* a, const double* b) {
  return std::max(std::fabs(a[0] - b[0]), std::fabs(a[1] - b[1]));
}

// Whether the split vertex leaves a part longer than 7/8 of the subsegment. The fractions
// SplitFraction picks leave at most 3/4, so only the rounding of the vertex's coordinates can:
// the subsegment is then a few units in the last place long along its extent's axis. This is
// where splits closing in on a vertex where segments meet at a small angle end up: the
// segments lie within a rounding of each other, every split there leaves such a part, the
// split vertices pile up a rounding apart and each insertion among them flips a fan of edges
// to all the others. The splits make no progress and grow costlier with their number.
// Comparisons with NaN are false: non-finite coordinates are not this function's business.
bool LeavesLongPart(const double* org, const double* dest, const double* vertex) {
  constexpr double kLongestPart = 7.0 / 8.0;
  const double longest = kLongestPart * Extent(org, dest);
  return Extent(org, vertex) > longest || Extent(vertex, dest) > longest;
}

// Splits the subsegment; returns whether the new vertex lies off it (see EnforceQuality).
bool SplitOne(TessMesh& m, const TessSwitches& sw, SubHandle current, bool triangleFlaws) {
  TessVertex org = SOrg(current);
  TessVertex dest = SDest(current);
  TriHandle encroached = TriangleBeside(current);
  const double split = SplitFraction(m, current, org, dest);

  TessVertex vertex = MakeVertex(m);
  for (int i = 0; i < 2 + m.vertexAttributes; i++) vertex[i] = org[i] + split * (dest[i] - org[i]);
  if (!sw.noExactArithmetic) {
    // One step towards the segment's line, so that the new vertex is more nearly collinear.
    double multiplier = CounterClockwise(m.counters, sw, org, dest, vertex);
    const double divisor = SquaredLength(org, dest);
    if (multiplier != 0.0 && divisor != 0.0) {
      multiplier = multiplier / divisor;
      if (!std::isnan(multiplier)) {
        vertex[0] += multiplier * (dest[1] - org[1]);
        vertex[1] += multiplier * (org[0] - dest[0]);
      }
    }
  }
  PlaceOnOutputGrid(m, vertex[0], vertex[1]);
  const bool offSubsegment = CounterClockwise(m.counters, sw, org, dest, vertex) != 0.0;
  VertexMark(m, vertex) = SubsegMark(current);
  VertexType(m, vertex) = kSegmentVertex;
  if (SamePoint(vertex, org) || SamePoint(vertex, dest)) TessFail("Precision error.");
  if (LeavesLongPart(org, dest, vertex)) TessFail(kSplitsDoNotEnd);
  const InsertResult result =
      InsertVertex(m, sw, vertex, encroached, &current, true, triangleFlaws);
  if (result != kInsertSuccess && result != kInsertEncroaches) TessFail("Internal error.");
  if (m.steinerLeft > 0) m.steinerLeft--;
  CheckSegmentForEncroachment(m, sw, current);
  CheckSegmentForEncroachment(m, sw, SNext(current));
  return offSubsegment;
}

// Segments that meet or cross at a tiny angle are split, shell by shell, about as many times
// as the inverse of the angle before the splits reach the precision of the coordinates:
// millions of vertices for an outline that crosses itself almost in parallel. The stage gives
// up long before that. The bound is far above what a reasonable outline needs (a circle of n
// points gains none; an acute corner some tens a shell). 2^16 splits beyond the vertices'
// share still admit thirty-odd random segments crossing each other. Splits that reach the
// precision of the coordinates, where their cost grows with their number, are refused as soon
// as one leaves a long part (LeavesLongPart).
constexpr int64_t kSplitsPerVertex = 256;
constexpr int64_t kSplitsBeyondVertices = 1 << 16;

void QueueEncroachedSubsegments(TessMesh& m, const TessSwitches& sw) {
  TraversalInit(m.subsegments);
  for (TessWord* ss = SubsegmentTraverse(m); ss != nullptr; ss = SubsegmentTraverse(m)) {
    CheckSegmentForEncroachment(m, sw, SubHandle{ss, 0});
  }
}

}  // namespace

bool SplitEncroachedSegments(TessMesh& m, const TessSwitches& sw, int64_t& splits,
                             int64_t allowance, bool triangleFlaws) {
  const int64_t bound = kSplitsPerVertex * m.inVertices + kSplitsBeyondVertices + allowance;
  bool offSubsegment = false;
  while (m.badSubsegments.items > 0 && m.steinerLeft != 0) {
    TraversalInit(m.badSubsegments);
    for (BadSubsegment* bad = NextBadSubsegment(m); bad != nullptr && m.steinerLeft != 0;
         bad = NextBadSubsegment(m)) {
      const SubHandle current = DecodeSub(bad->encodedSubsegment);
      // Skip a record whose subsegment was split or eaten since it was found.
      if (!IsDeadSubsegment(current.ss) && SOrg(current) == bad->subsegOrg &&
          SDest(current) == bad->subsegDest) {
        if (++splits > bound) TessFail(kSplitsDoNotEnd);
        if (SplitOne(m, sw, current, triangleFlaws)) offSubsegment = true;
      }
      ReleaseBadSubsegment(m, bad);
    }
  }
  return offSubsegment;
}

int32_t CheckSegmentForEncroachment(TessMesh& m, const TessSwitches& sw, SubHandle testSubseg) {
  int32_t encroached = 0;
  int32_t sides = 0;
  TessVertex org = SOrg(testSubseg);
  TessVertex dest = SDest(testSubseg);
  TriHandle neighbor = TriangleBeside(testSubseg);
  if (neighbor.tri != m.dummyTriangle) {
    sides++;
    if (Encroaches(sw, org, dest, Apex(neighbor))) encroached = 1;
  }
  const SubHandle testSym = SSym(testSubseg);
  neighbor = TriangleBeside(testSym);
  if (neighbor.tri != m.dummyTriangle) {
    sides++;
    if (Encroaches(sw, org, dest, Apex(neighbor))) encroached += 2;
  }
  if (encroached != 0 && (sw.noBoundarySplits == 0 || (sw.noBoundarySplits == 1 && sides == 2))) {
    BadSubsegment* bad = static_cast<BadSubsegment*>(PoolAlloc(m.badSubsegments));
    if (encroached == 1) {
      bad->encodedSubsegment = EncodeSub(testSubseg);
      bad->subsegOrg = org;
      bad->subsegDest = dest;
    } else {
      bad->encodedSubsegment = EncodeSub(testSym);
      bad->subsegOrg = dest;
      bad->subsegDest = org;
    }
  }
  return encroached;
}

void EnforceQuality(TessMesh& m, const TessSwitches& sw) {
  PoolInit(m.badSubsegments, sizeof(BadSubsegment), kBadSubsegmentsPerBlock,
           kBadSubsegmentsPerBlock, 0);
  const bool triangleStage = HasTriangleCriterion(sw);
  if (triangleStage) {
    PoolInit(m.badTriangles, sizeof(BadTriangle), kBadTrianglesPerBlock, kBadTrianglesPerBlock, 0);
    InitFlipStackPool(m);
  }
  // Carving may have eaten the triangle a vertex names; SplitFraction walks round segment ends.
  if (m.vertexToTriangleIndex != 0) {
    TraversalInit(m.triangles);
    for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m))
      RememberCorners(m, tri);
  }
  QueueEncroachedSubsegments(m, sw);
  // Without the conforming switch, free vertices inside a diametral circle could be deleted
  // before the subsegment is split; this build keeps them, which costs some extra vertices.
  int64_t splits = 0;
  bool offSubsegment = SplitEncroachedSegments(m, sw, splits, 0, false);
  if (triangleStage && EnforceTriangleQuality(m, sw, splits)) offSubsegment = true;
  // The flips round a split vertex keep the mesh Delaunay only when the vertex lies on the
  // subsegment it splits. Rounded off it, on the far side of a sliver whose apex is within a
  // rounding of the subsegment's line (the splits next to a vertex that a crossed segment
  // passes within a rounding of make these), the vertex can lie outside that sliver's circle
  // and leave the edge from it to the apex failing the circle test, which the walk round the
  // vertex never makes. Such a mesh gets a pass of flips over all edges; flips give
  // subsegments new apexes, which may encroach them, so the splits go on until a pass flips
  // nothing.
  while (offSubsegment && RestoreDelaunay(m, sw)) {
    QueueEncroachedSubsegments(m, sw);
    offSubsegment = SplitEncroachedSegments(m, sw, splits, 0, false);
    if (triangleStage && EnforceTriangleQuality(m, sw, splits)) offSubsegment = true;
  }
  // A split vertex is nudged towards its segment's line, which at the limit of precision may
  // put it on the wrong side of an apex; such a mesh is refused rather than returned.
  RequireValidOrientation(m, sw);
}
