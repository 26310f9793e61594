// The engine's switch set: what one call of triangulate is asked to do, settled from the switch
// string before any work starts. Fields are in the parser's table order; every flag is a 32-bit
// word that is 0 or 1 unless told otherwise.
#pragma once

#include <cstdint>

struct TessSwitches {
  int32_t pslgInput = 0;           // p: a graph with segments and holes
  int32_t refineInput = 0;         // r: rebuild an existing triangulation from `corners`
  int32_t qualityMesh = 0;         // q, a, u, D, L: the refinement stage runs
  int32_t areaPerTriangle = 0;     // a without a number: bounds from `triangleAreas`
  int32_t fixedArea = 0;           // a with a number: one global area bound
  int32_t userTest = 0;            // u
  int32_t regionAttributes = 0;    // A
  int32_t convexHullSegments = 0;  // c: keep the convex hull, carve no concavities
  int32_t weightMode = 0;          // w sets 1, W sets 2: regular triangulation lifts
  int32_t dropUnused = 0;          // j: unused vertices left out of the output
  int32_t firstIndex = 1;          // z sets 0
  int32_t writeEdges = 0;          // e
  int32_t writeDual = 0;           // v
  int32_t writeNeighbors = 0;      // n
  int32_t geomview = 0;            // g: read by nothing
  int32_t noBoundaryMarkers = 0;   // B
  int32_t noSegmentOutput = 0;     // P
  int32_t noPointOutput = 0;       // N
  int32_t noTriangleOutput = 0;    // E
  int32_t noIterationNumber = 0;   // no letter sets it; the tests that read it never fire
  int32_t ignoreHoles = 0;         // O
  int32_t noExactArithmetic = 0;   // X: predicates stop at their floating-point filter
  int32_t conformingDelaunay = 0;  // D, L
  int32_t incrementalBuild = 0;    // i
  int32_t sweepBuild = 0;          // F
  int32_t alternatingCuts = 1;     // l sets 0: vertical cuts only
  int32_t splitSegments = 0;       // s
  int32_t checkResult = 0;         // C
  int32_t quiet = 0;               // Q
  int32_t verbosity = 0;           // V, one more each time
  int32_t useSegments = 0;         // derived: p, r, the q group or c
  int32_t elementOrder = 1;        // o2 sets 2
  int32_t noBoundarySplits = 0;    // Y, one more each time: 1 hull segments, 2 all segments
  int32_t steinerLimit = -1;       // S and digits; S alone gives 0; -1 is no limit
  double minAngle = 0.0;           // q and a number, degrees; q alone gives 20.0
  double goodAngle = 1.0;          // derived: cos(minAngle) squared
  double offCenter = 0.0;          // derived: off-centre factor of the refinement
  double maxArea = -1.0;           // a and a number
};

// Resets `switches` to the defaults above, then applies each letter of `text` (null reads as
// ""), then settles the derived fields. Unknown characters and dashes are skipped. Raises
// "Maximum area must be greater than zero." through TessFail for a with a number <= 0.
void ParseSwitches(const char* text, TessSwitches& switches);
