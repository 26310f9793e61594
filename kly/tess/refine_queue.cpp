// The queues of bad triangles: a linked list of records in each queue, and a list of the
// non-empty queues from the most urgent down, so that taking the next record costs no search.
#include "kly/tess/refine_queue.h"

#include <cmath>

namespace {

constexpr double kSquareRootOfTwo = 1.4142135623730951;
// Half octaves cover the doubles' exponents, subnormals included, within 0 to 2047.
constexpr int32_t kHalfOctaves = kQueueCount / 2;

}  // namespace

int32_t BadTriangleQueue(double key) {
  const bool atLeastOne = key >= 1.0;
  const double magnitude = atLeastOne ? key : 1.0 / key;
  if (!(magnitude < HUGE_VAL)) return atLeastOne ? 0 : kQueueCount - 1;
  const int octaves = std::ilogb(magnitude);
  const double mantissa = std::ldexp(magnitude, -octaves);
  int32_t halfOctaves = 2 * octaves + (mantissa > kSquareRootOfTwo ? 1 : 0);
  if (halfOctaves > kHalfOctaves - 1) halfOctaves = kHalfOctaves - 1;
  return atLeastOne ? kHalfOctaves - 1 - halfOctaves : kHalfOctaves + halfOctaves;
}

void ClearBadTriangleQueues(TessMesh& m) {
  for (int i = 0; i < kQueueCount; i++) {
    m.queueFront[i] = nullptr;
    m.queueTail[i] = nullptr;
    m.nextNonemptyQueue[i] = -1;
  }
  m.firstNonemptyQueue = -1;
}

void EnqueueBadTriangle(TessMesh& m, BadTriangle* bad) {
  const int32_t queue = BadTriangleQueue(bad->key);
  bad->nextTriangle = nullptr;
  if (m.queueFront[queue] != nullptr) {
    static_cast<BadTriangle*>(m.queueTail[queue])->nextTriangle = bad;
    m.queueTail[queue] = bad;
    return;
  }
  // A newly non-empty queue joins the list after the nearest more urgent non-empty one.
  if (queue > m.firstNonemptyQueue) {
    m.nextNonemptyQueue[queue] = m.firstNonemptyQueue;
    m.firstNonemptyQueue = queue;
  } else {
    int32_t before = queue + 1;
    while (m.queueFront[before] == nullptr) before++;
    m.nextNonemptyQueue[queue] = m.nextNonemptyQueue[before];
    m.nextNonemptyQueue[before] = queue;
  }
  m.queueFront[queue] = bad;
  m.queueTail[queue] = bad;
}

void EnqueueBadTriangle(TessMesh& m, TriHandle t, double key) {
  BadTriangle* bad = static_cast<BadTriangle*>(PoolAlloc(m.badTriangles));
  bad->poorTriangle = EncodeTri(t);
  bad->key = key;
  bad->triangleOrg = Org(t);
  bad->triangleDest = Dest(t);
  bad->triangleApex = Apex(t);
  EnqueueBadTriangle(m, bad);
}

BadTriangle* DequeueBadTriangle(TessMesh& m) {
  const int32_t queue = m.firstNonemptyQueue;
  if (queue < 0) return nullptr;
  BadTriangle* bad = static_cast<BadTriangle*>(m.queueFront[queue]);
  m.queueFront[queue] = bad->nextTriangle;
  if (bad->nextTriangle == nullptr) {
    m.queueTail[queue] = nullptr;
    m.firstNonemptyQueue = m.nextNonemptyQueue[queue];
  }
  return bad;
}
