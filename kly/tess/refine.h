// The triangle quality stage: Ruppert's refinement with off-centres, driven by the minimum
// angle of switch q, the area bounds of switch a and regions, and the user test of switch u;
// and the second-order nodes of switch o2. Internal to kly/tess.
#pragma once

#include <cstdint>

#include "kly/tess/mesh_structure.h"

// Whether the switches give a triangle criterion: a minimum angle, an area bound or the user
// test. Only then do the queues of bad triangles and the stack of flips exist.
bool HasTriangleCriterion(const TessSwitches& sw);

// The handle of the triangle's shortest edge: the edge opposite the apex when strictly
// shorter than the other two, else the edge opposite the origin when shorter than the one
// opposite the destination, else that one. The angle at the handle's apex is the smallest.
TriHandle ShortestEdge(TriHandle t);

// Files the triangle as bad when it exceeds an area bound, fails the user test, or has an
// angle below the minimum that refinement can mend (see triangle_test.cpp).
void TestTriangle(TessMesh& m, const TessSwitches& sw, TriHandle t);

// Where refinement puts a vertex for the counterclockwise triangle org, dest, apex whose
// shortest edge is org to dest: its circumcentre, or, with `offCentre` and nearer to that
// edge, the off-centre on the edge's bisector, from which the edge is seen at slightly more
// than the minimum angle. `xi` and `eta` are the point's coordinates along dest - org and
// apex - org, for the interpolation of attributes.
void FindCircumcenter(TessMesh& m, const TessSwitches& sw, const double* org, const double* dest,
                      const double* apex, double* centre, double& xi, double& eta, bool offCentre);

// Splits bad triangles, and the subsegments their vertices would encroach, until none is bad
// or the vertex budget of switch S is spent; `splits` counts the subsegment splits. Returns whether
// a vertex that split a subsegment was rounded off it (see EnforceQuality).
bool EnforceTriangleQuality(TessMesh& m, const TessSwitches& sw, int64_t& splits);

// Gives every edge its midpoint node, shared by the triangles on both sides (switch o2).
void HighOrder(TessMesh& m, const TessSwitches& sw);
