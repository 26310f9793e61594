// Point location: a start chosen among random samples of the triangle pool, then a walk.
#include "kly/tess/construction.h"

namespace {

// Samples grow so that 11 x samples^3 stays at or above the live triangle count: the expected
// walk then costs about as much as the sampling.
constexpr int64_t kSampleFactor = 11;
// Samples drawn and read together.
constexpr int kSampleBatch = 32;

inline double SquaredDistance(const double* a, const double* b) {
  const double dx = a[0] - b[0];
  const double dy = a[1] - b[1];
  return dx * dx + dy * dy;
}

}  // namespace

LocateResult PreciseLocate(TessMesh& m, const TessSwitches& sw, const double* point,
                           TriHandle& searchTriangle, bool stopAtSubsegment) {
  TessVertex org = Org(searchTriangle);
  TessVertex dest = Dest(searchTriangle);
  TessVertex apex = Apex(searchTriangle);
  for (;;) {
    if (SamePoint(apex, point)) {
      searchTriangle = Lprev(searchTriangle);
      return kOnVertex;
    }
    const double destOrient = CounterClockwise(m.counters, sw, org, apex, point);
    const double orgOrient = CounterClockwise(m.counters, sw, apex, dest, point);
    bool moveLeft;
    if (destOrient > 0.0) {
      // Both ways are open: take the one that heads more nearly towards the point.
      moveLeft = orgOrient <= 0.0 || (apex[0] - point[0]) * (dest[0] - org[0]) +
                                             (apex[1] - point[1]) * (dest[1] - org[1]) >
                                         0.0;
    } else if (orgOrient > 0.0) {
      moveLeft = false;
    } else {
      if (destOrient == 0.0) {
        searchTriangle = Lprev(searchTriangle);
        return kOnEdge;
      }
      if (orgOrient == 0.0) {
        searchTriangle = Lnext(searchTriangle);
        return kOnEdge;
      }
      return kInTriangle;
    }
    TriHandle backtrack;
    if (moveLeft) {
      backtrack = Lprev(searchTriangle);
      dest = apex;
    } else {
      backtrack = Lnext(searchTriangle);
      org = apex;
    }
    searchTriangle = Sym(backtrack);
    if (m.checkSegments && stopAtSubsegment && HasSubsegment(m, backtrack)) {
      searchTriangle = backtrack;
      return kOutside;
    }
    if (searchTriangle.tri == m.dummyTriangle) {
      searchTriangle = backtrack;
      return kOutside;
    }
    apex = Apex(searchTriangle);
  }
}

LocateResult Locate(TessMesh& m, const TessSwitches& sw, const double* point,
                    TriHandle& searchTriangle) {
  double searchDistance = SquaredDistance(point, Org(searchTriangle));
  if (m.recentTriangle.tri != nullptr && !IsDeadTriangle(m.recentTriangle.tri)) {
    TessVertex org = Org(m.recentTriangle);
    if (SamePoint(org, point)) {
      searchTriangle = m.recentTriangle;
      return kOnVertex;
    }
    const double distance = SquaredDistance(point, org);
    if (distance < searchDistance) {
      searchTriangle = m.recentTriangle;
      searchDistance = distance;
    }
  }

  while (kSampleFactor * m.samples * m.samples * m.samples < m.triangles.items) m.samples++;

  // Draw the samples block by block, in proportion to each block's share of maxItems.
  const TessPool& pool = m.triangles;
  const int64_t maxItems = pool.maxItems;
  int64_t remaining = maxItems;
  int64_t drawn = 0;
  void* block = pool.firstBlock;
  uint32_t capacity = pool.itemsFirstBlock;
  while (maxItems > 0 && drawn < m.samples && block != nullptr && remaining > 0) {
    const uint32_t population =
        static_cast<uint32_t>(remaining < capacity ? remaining : static_cast<int64_t>(capacity));
    int64_t perBlock = (static_cast<int64_t>(m.samples) * capacity - 1) / maxItems + 1;
    const TessWord p = reinterpret_cast<TessWord>(block) + sizeof(void*);
    char* first = reinterpret_cast<char*>(p + pool.alignBytes - p % pool.alignBytes);
    if (perBlock > m.samples - drawn) perBlock = m.samples - drawn;
    drawn += perBlock;
    // In batches: all draws of a batch first, so that the scattered reads of the samples and
    // their origins overlap instead of waiting on each other.
    while (perBlock > 0) {
      const int batch = perBlock < kSampleBatch ? static_cast<int>(perBlock) : kSampleBatch;
      perBlock -= batch;
      TessWord* sample[kSampleBatch];
      for (int i = 0; i < batch; i++) {
        sample[i] = reinterpret_cast<TessWord*>(
            first + static_cast<size_t>(TessRandom(population)) * pool.itemBytes);
        __builtin_prefetch(sample[i] + 1);
        __builtin_prefetch(sample[i] + 4);
      }
      for (int i = 0; i < batch; i++) __builtin_prefetch(Org(TriHandle{sample[i], 0}));
      for (int i = 0; i < batch; i++) {
        if (IsDeadTriangle(sample[i])) continue;
        const double distance = SquaredDistance(point, Org(TriHandle{sample[i], 0}));
        if (distance < searchDistance) {
          searchTriangle = {sample[i], 0};
          searchDistance = distance;
        }
      }
    }
    remaining -= population;
    void* next;
    std::memcpy(&next, block, sizeof next);
    block = next;
    capacity = pool.itemsPerBlock;
  }

  TessVertex org = Org(searchTriangle);
  TessVertex dest = Dest(searchTriangle);
  if (SamePoint(org, point)) return kOnVertex;
  if (SamePoint(dest, point)) {
    searchTriangle = Lnext(searchTriangle);
    return kOnVertex;
  }
  const double ahead = CounterClockwise(m.counters, sw, org, dest, point);
  if (ahead < 0.0) {
    // Right of a hull edge is outside the mesh; there is no triangle to walk from.
    const TriHandle across = Sym(searchTriangle);
    if (across.tri == m.dummyTriangle) return kOutside;
    searchTriangle = across;
  } else if (ahead == 0.0) {
    if ((org[0] < point[0]) == (point[0] < dest[0]) &&
        (org[1] < point[1]) == (point[1] < dest[1])) {
      return kOnEdge;
    }
  }
  return PreciseLocate(m, sw, point, searchTriangle, false);
}
