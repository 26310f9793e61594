// The test of one triangle for the quality stage: area bounds, the user test, and the minimum
// angle, with the exception of the angles that no refinement can mend.
#include <cmath>

#include "kly/tess/refine.h"
#include "kly/tess/refine_queue.h"
#include "kly/tess/triangulate.h"

namespace {

thread_local TessTriangleTest gUserTest = TessDefaultTriangleTest;

inline double SquaredLength(const double* a, const double* b) {
  return (a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]);
}

// A segment's two ends, in either order.
struct SegmentEnds {
  TessVertex a = nullptr;
  TessVertex b = nullptr;
};

// The segment of a subsegment at the origin of `around`, found by a walk round that vertex
// (each triangle has two edges there); none when the walk finds no subsegment.
SegmentEnds SegmentThrough(const TessMesh& m, TriHandle around) {
  SegmentEnds found;
  const auto visit = [&](TriHandle h) {
    for (const TriHandle edge : {h, Lprev(h)}) {
      const SubHandle sub = SubsegmentOnEdge(edge);
      if (sub.ss != m.dummySubsegment) {
        found = {SegOrg(sub), SegDest(sub)};
        return true;
      }
    }
    return false;
  };
  const int64_t limit = static_cast<int64_t>(m.triangles.items) + 3;
  TriHandle h = around;
  int64_t steps = 0;
  do {
    if (visit(h)) return found;
    h = Onext(h);
  } while (h.tri != m.dummyTriangle && !SameHandle(h, around) && ++steps < limit);
  if (h.tri == m.dummyTriangle) {
    for (h = Oprev(around); h.tri != m.dummyTriangle && ++steps < limit; h = Oprev(h)) {
      if (visit(h)) return found;
    }
  }
  return found;
}

TessVertex CommonEnd(const SegmentEnds& s, const SegmentEnds& t) {
  if (s.a == t.a || s.a == t.b) return s.a;
  if (s.b == t.a || s.b == t.b) return s.b;
  return nullptr;
}

// Whether the shortest edge's small angle is one that refinement cannot mend: both its ends
// are vertices that split two different segments with a common end, at equal distances from
// it (to within 0.999 to 1.001). Such an edge cuts across a small angle between the two input
// segments, on one of the concentric shells round their common end; any vertex added to mend
// it would encroach on the segments and be undone, for ever.
bool SmallInputAngle(const TessMesh& m, TriHandle shortest) {
  TessVertex end1 = Org(shortest);
  TessVertex end2 = Dest(shortest);
  if (VertexType(m, end1) != kSegmentVertex || VertexType(m, end2) != kSegmentVertex) return false;
  if (HasSubsegment(m, shortest)) return false;  // both on one segment
  const SegmentEnds first = SegmentThrough(m, shortest);
  const SegmentEnds second = SegmentThrough(m, Lnext(shortest));
  if (first.a == nullptr || second.a == nullptr) return false;
  const bool sameSegment =
      (first.a == second.a && first.b == second.b) || (first.a == second.b && first.b == second.a);
  if (sameSegment) return false;
  TessVertex join = CommonEnd(first, second);
  if (join == nullptr) return false;
  const double distance1 = std::sqrt(SquaredLength(end1, join));
  const double distance2 = std::sqrt(SquaredLength(end2, join));
  return distance1 < 1.001 * distance2 && distance1 > 0.999 * distance2;
}

// The caller sees the points scaled back by 2^-coordinateExponent.
double CallerArea(const TessMesh& m, double area) {
  return ScaleByPowerOfTwo(area, -2 * m.coordinateExponent);
}

// The corners go in the order the output writes them, whatever handle the triangle came by.
bool FailsUserTest(const TessMesh& m, TessWord* tri, double area) {
  const TriHandle t{tri, 0};
  const TessVertex corners[3] = {Org(t), Dest(t), Apex(t)};
  double caller[3][2];
  for (int i = 0; i < 3; i++) {
    caller[i][0] = ScaleByPowerOfTwo(corners[i][0], -m.coordinateExponent);
    caller[i][1] = ScaleByPowerOfTwo(corners[i][1], -m.coordinateExponent);
  }
  return gUserTest(caller[0], caller[1], caller[2], CallerArea(m, area));
}

bool TooLarge(const TessMesh& m, const TessSwitches& sw, TriHandle t, double area) {
  if (sw.fixedArea && CallerArea(m, area) > sw.maxArea) return true;
  if (sw.areaPerTriangle) {
    const double bound = AreaBound(m, t);
    if (bound > 0.0 && CallerArea(m, area) > bound) return true;
  }
  return sw.userTest && FailsUserTest(m, t.tri, area);
}

}  // namespace

bool TessDefaultTriangleTest(const double* org, const double* dest, const double* apex, double) {
  const double longest = std::fmax(SquaredLength(org, dest),
                                   std::fmax(SquaredLength(dest, apex), SquaredLength(apex, org)));
  return longest > 0.05 * (org[0] * org[0] + org[1] * org[1]) + 0.02;
}

TessTriangleTest SetTessTriangleTest(TessTriangleTest test) {
  const TessTriangleTest previous = gUserTest;
  gUserTest = test != nullptr ? test : TessDefaultTriangleTest;
  return previous;
}

bool HasTriangleCriterion(const TessSwitches& sw) {
  return sw.minAngle > 0.0 || sw.areaPerTriangle || sw.fixedArea || sw.userTest;
}

TriHandle ShortestEdge(TriHandle t) {
  TessVertex org = Org(t), dest = Dest(t), apex = Apex(t);
  const double oppositeApex = SquaredLength(org, dest);
  const double oppositeOrg = SquaredLength(dest, apex);
  const double oppositeDest = SquaredLength(apex, org);
  if (oppositeApex < oppositeOrg && oppositeApex < oppositeDest) return t;
  return oppositeOrg < oppositeDest ? Lnext(t) : Lprev(t);
}

void TestTriangle(TessMesh& m, const TessSwitches& sw, TriHandle t) {
  const TriHandle shortest = ShortestEdge(t);
  TessVertex org = Org(shortest), dest = Dest(shortest), apex = Apex(shortest);
  const double key = SquaredLength(org, dest);
  const double ax = org[0] - apex[0], ay = org[1] - apex[1];
  const double bx = dest[0] - apex[0], by = dest[1] - apex[1];
  const double area = 0.5 * std::fabs(ax * by - ay * bx);
  if (TooLarge(m, sw, shortest, area)) {
    EnqueueBadTriangle(m, shortest, key);
    return;
  }
  // Without a minimum angle goodAngle is 1.0, which a rounded squared cosine may still pass.
  if (!(sw.minAngle > 0.0)) return;
  const double dot = ax * bx + ay * by;
  const double squaredCosine = dot * dot / ((ax * ax + ay * ay) * (bx * bx + by * by));
  if (dot > 0.0 && squaredCosine > sw.goodAngle && !SmallInputAngle(m, shortest)) {
    EnqueueBadTriangle(m, shortest, key);
  }
}
