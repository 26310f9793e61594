// The bad triangles of the refinement stage, in 4096 first-in first-out queues keyed by the
// squared length of each triangle's shortest edge: the shortest are served first, so that
// small features are resolved before the large triangles round them are split. Internal to
// kly/tess.
#pragma once

#include "kly/tess/mesh_structure.h"

// A triangle found bad, with its corners at the time of the finding: a record whose triangle
// was changed or killed since no longer matches them and is passed over.
struct BadTriangle {
  TessWord poorTriangle;
  double key;  // squared length of the shortest edge
  TessVertex triangleOrg, triangleDest, triangleApex;
  BadTriangle* nextTriangle;
};

// Empties every queue; the records stay in the badTriangles pool.
void ClearBadTriangleQueues(TessMesh& m);
// Files `bad` at the back of the queue of its key.
void EnqueueBadTriangle(TessMesh& m, BadTriangle* bad);
// A new record for the triangle `t` with `key`, filed.
void EnqueueBadTriangle(TessMesh& m, TriHandle t, double key);
// The front of the most urgent non-empty queue, taken out of it; null when all are empty.
BadTriangle* DequeueBadTriangle(TessMesh& m);

// The queue of a key, 0 to 4095: the key is about sqrt(2)^e with e a whole number of half
// octaves, and the queues run from the largest keys (0) to the smallest (4095).
int32_t BadTriangleQueue(double key);
