// Writers of the output records, and the passes that run after them. Internal to kly/tess.
#pragma once

#include "kly/tess/mesh_structure.h"
#include "kly/tess/triangulate.h"

// Writes the vertices (unless noPointOutput) and stores each one's output number in its mark.
void WriteVertices(TessMesh& m, const TessSwitches& sw, TessRecord& out);
void WriteTriangles(TessMesh& m, const TessSwitches& sw, TessRecord& out);
void WriteSegments(TessMesh& m, const TessSwitches& sw, TessRecord& out);
void WriteEdges(TessMesh& m, const TessSwitches& sw, TessRecord& out);
// The edge, dual and neighbour writers read the triangle numbers of NumberTriangles.
void WriteDual(TessMesh& m, const TessSwitches& sw, TessRecord& dual);
void WriteNeighbors(TessMesh& m, const TessSwitches& sw, TessRecord& out);

// Numbers the live triangles in pool order, from switches.firstIndex; the dummy gets -1.
void NumberTriangles(TessMesh& m, const TessSwitches& sw);

// What the statistics pass finds; the engine computes it and prints nothing.
struct TessStatistics {
  double shortestEdge, longestEdge, smallestArea, biggestArea, smallestAngle, biggestAngle;
  double worstAspect;
  int32_t angleTable[18];
  int32_t aspectTable[16];
};
TessStatistics ComputeStatistics(TessMesh& m, const TessSwitches& sw);

// The consistency checks of switch C: the count of inverted triangles and asymmetric links,
// and the count of edges that fail the Delaunay test (subsegments excepted).
int32_t CheckMesh(TessMesh& m, const TessSwitches& sw);
int32_t CheckDelaunay(TessMesh& m, const TessSwitches& sw);
