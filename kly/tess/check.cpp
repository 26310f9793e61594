// The statistics pass and the consistency checks. Neither reports anything: triangulate runs
// them when asked and throws their findings away.
#include <cmath>

#include "kly/tess/constraints.h"
#include "kly/tess/failure.h"
#include "kly/tess/output.h"

namespace {

inline double SquaredLength(const double* a, const double* b) {
  return (a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]);
}

}  // namespace

TessStatistics ComputeStatistics(TessMesh& m, const TessSwitches& sw) {
  // Aspect ratios are filed against these upper bounds; the last bucket takes the rest.
  static const double kAspectBounds[15] = {1.5,  2.0,  2.5,   3.0,   4.0,    6.0,     10.0,    15.0,
                                           25.0, 50.0, 100.0, 300.0, 1000.0, 10000.0, 100000.0};
  TessStatistics s{};
  s.smallestArea = s.shortestEdge = s.smallestAngle = HUGE_VAL;
  TraversalInit(m.triangles);
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    const TriHandle t{tri, 0};
    const double* p[3] = {Org(t), Dest(t), Apex(t)};
    double lengths[3];
    double longest = 0.0;
    for (int i = 0; i < 3; i++) {
      lengths[i] = SquaredLength(p[(i + 1) % 3], p[(i + 2) % 3]);
      if (lengths[i] > longest) longest = lengths[i];
      if (lengths[i] < s.shortestEdge) s.shortestEdge = lengths[i];
      if (lengths[i] > s.longestEdge) s.longestEdge = lengths[i];
    }
    const double area = 0.5 * std::fabs(CounterClockwise(m.counters, sw, p[0], p[1], p[2]));
    if (area < s.smallestArea) s.smallestArea = area;
    if (area > s.biggestArea) s.biggestArea = area;
    // Aspect: the longest edge over the smallest altitude, which is 2 area / longest.
    const double aspect = area > 0.0 ? longest / (4.0 * area * area / longest) : HUGE_VAL;
    if (aspect > s.worstAspect) s.worstAspect = aspect;
    int bucket = 0;
    while (bucket < 15 && aspect > kAspectBounds[bucket] * kAspectBounds[bucket]) bucket++;
    s.aspectTable[bucket]++;
    for (int i = 0; i < 3; i++) {
      const double* a = p[i];
      const double* b = p[(i + 1) % 3];
      const double* c = p[(i + 2) % 3];
      const double dot = (b[0] - a[0]) * (c[0] - a[0]) + (b[1] - a[1]) * (c[1] - a[1]);
      const double norms = std::sqrt(lengths[(i + 2) % 3] * lengths[(i + 1) % 3]);
      const double angle =
          norms > 0.0 ? std::acos(std::fmax(-1.0, std::fmin(1.0, dot / norms))) * 180.0 / M_PI
                      : 0.0;
      if (angle < s.smallestAngle) s.smallestAngle = angle;
      if (angle > s.biggestAngle) s.biggestAngle = angle;
      int angleBucket = static_cast<int>(angle / 10.0);
      if (angleBucket > 17) angleBucket = 17;
      if (angleBucket < 0) angleBucket = 0;
      s.angleTable[angleBucket]++;
    }
  }
  s.shortestEdge = std::sqrt(s.shortestEdge);
  s.longestEdge = std::sqrt(s.longestEdge);
  return s;
}

int32_t CheckMesh(TessMesh& m, const TessSwitches& sw) {
  // Orientation is decided exactly whatever the switches say.
  TessSwitches exact = sw;
  exact.noExactArithmetic = 0;
  int32_t findings = 0;
  TraversalInit(m.triangles);
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    for (uint32_t orient = 0; orient < 3; orient++) {
      const TriHandle t{tri, orient};
      TessVertex org = Org(t);
      TessVertex dest = Dest(t);
      if (orient == 0 && CounterClockwise(m.counters, exact, org, dest, Apex(t)) <= 0.0) {
        findings++;
      }
      const TriHandle across = Sym(t);
      if (across.tri == m.dummyTriangle) continue;
      const TriHandle back = Sym(across);
      if (!SameHandle(back, t) || Org(across) != dest || Dest(across) != org) findings++;
    }
  }
  return findings;
}

int32_t CheckDelaunay(TessMesh& m, const TessSwitches& sw) {
  int32_t findings = 0;
  TraversalInit(m.triangles);
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    for (uint32_t orient = 0; orient < 3; orient++) {
      const TriHandle t{tri, orient};
      const TriHandle across = Sym(t);
      if (across.tri == m.dummyTriangle || across.tri < tri) continue;
      if (m.checkSegments && HasSubsegment(m, t)) continue;
      if (NonRegular(m.counters, sw, Org(t), Dest(t), Apex(t), Apex(across)) > 0.0) findings++;
    }
  }
  return findings;
}

void RequireValidOrientation(TessMesh& m, const TessSwitches& sw) {
  TessSwitches exact = sw;
  exact.noExactArithmetic = 0;
  TraversalInit(m.triangles);
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    const TriHandle t{tri, 0};
    if (CounterClockwise(m.counters, exact, Org(t), Dest(t), Apex(t)) <= 0.0) {
      TessFail("Internal error.");
    }
  }
}
