// The conforming stage: subsegments seen by an opposite apex at more than a right angle are
// split until none is, so that the mesh with its segments is Delaunay.
#include <cmath>

#include "kly/tess/constraints.h"
#include "kly/tess/construction.h"
#include "kly/tess/failure.h"

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

// Whether the edge of `handle` bears a subsegment.
inline bool Guarded(const TessMesh& m, TriHandle handle) {
  return HasSubsegment(m, handle);
}

void SplitOne(TessMesh& m, const TessSwitches& sw, SubHandle current) {
  TessVertex org = SOrg(current);
  TessVertex dest = SDest(current);
  TriHandle encroached = STPivot(current);
  // Is an end shared with another segment? Then split on a power-of-two shell round it.
  bool acuteOrg = Guarded(m, Lnext(encroached));
  bool acuteDest = Guarded(m, Lnext(Lnext(encroached)));
  const TriHandle other = Sym(encroached);
  if (other.tri != m.dummyTriangle) {
    acuteDest = acuteDest || Guarded(m, Lnext(other));
    acuteOrg = acuteOrg || Guarded(m, Lnext(Lnext(other)));
  }
  double split = 0.5;
  if (acuteOrg || acuteDest) {
    // Ruppert's concentric shells: the worst ratio of the two parts is 2:1.
    const double length = std::sqrt(SquaredLength(org, dest));
    double shell = 1.0;
    while (length > 3.0 * shell) shell *= 2.0;
    while (length < 1.5 * shell) shell *= 0.5;
    split = shell / length;
    if (acuteDest) split = 1.0 - split;
  }

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
  VertexMark(m, vertex) = SubsegMark(current);
  VertexType(m, vertex) = kSegmentVertex;
  if (SamePoint(vertex, org) || SamePoint(vertex, dest)) TessFail("Precision error.");
  const InsertResult result = InsertVertex(m, sw, vertex, encroached, &current, true);
  if (result != kSuccessfulVertex && result != kEncroachingVertex) TessFail("Internal error.");
  if (m.steinerLeft > 0) m.steinerLeft--;
  CheckSegmentForEncroachment(m, sw, current);
  CheckSegmentForEncroachment(m, sw, SNext(current));
}

// Segments that meet or cross at a tiny angle are split, shell by shell, about as many times
// as the inverse of the angle before the splits reach the precision of the coordinates:
// millions of vertices for an outline that crosses itself almost in parallel. The stage gives
// up long before that. The bound is far above what a reasonable outline needs (a circle of n
// points gains none; an acute corner some tens a shell).
constexpr int64_t kSplitsPerVertex = 256;
constexpr int64_t kSplitsBeyondVertices = 1 << 18;

void SplitEncroachedSegments(TessMesh& m, const TessSwitches& sw) {
  const int64_t bound = kSplitsPerVertex * m.inVertices + kSplitsBeyondVertices;
  int64_t splits = 0;
  while (m.badSubsegments.items > 0 && m.steinerLeft != 0) {
    TraversalInit(m.badSubsegments);
    for (BadSubsegment* bad = NextBadSubsegment(m); bad != nullptr && m.steinerLeft != 0;
         bad = NextBadSubsegment(m)) {
      const SubHandle current = DecodeSub(bad->encodedSubsegment);
      // Skip a record whose subsegment was split or eaten since it was found.
      if (!IsDeadSubsegment(current.ss) && SOrg(current) == bad->subsegOrg &&
          SDest(current) == bad->subsegDest) {
        if (++splits > bound)
          TessFail("Conforming refinement does not end: segments meet at too small an angle.");
        SplitOne(m, sw, current);
      }
      ReleaseBadSubsegment(m, bad);
    }
  }
}

}  // namespace

int32_t CheckSegmentForEncroachment(TessMesh& m, const TessSwitches& sw, SubHandle testSubseg) {
  int32_t encroached = 0;
  int32_t sides = 0;
  TessVertex org = SOrg(testSubseg);
  TessVertex dest = SDest(testSubseg);
  TriHandle neighbor = STPivot(testSubseg);
  if (neighbor.tri != m.dummyTriangle) {
    sides++;
    if (Encroaches(sw, org, dest, Apex(neighbor))) encroached = 1;
  }
  const SubHandle testSym = SSym(testSubseg);
  neighbor = STPivot(testSym);
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
  TraversalInit(m.subsegments);
  for (TessWord* ss = SubsegmentTraverse(m); ss != nullptr; ss = SubsegmentTraverse(m)) {
    CheckSegmentForEncroachment(m, sw, SubHandle{ss, 0});
  }
  // Free vertices inside a diametral circle would be deleted first without the conforming
  // switch; that needs the triangle criteria of q, a or u, which this build refuses.
  SplitEncroachedSegments(m, sw);
  // A split vertex is nudged towards its segment's line, which at the limit of precision may
  // put it on the wrong side of an apex; such a mesh is refused rather than returned.
  RequireValidOrientation(m, sw);
}
