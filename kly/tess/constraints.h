// Segments, holes and conforming: the stages that make the input's outline true in the mesh.
// Internal to kly/tess.
#pragma once

#include <cstdint>

#include "kly/tess/mesh_structure.h"

// Marks the handle's edge as a subsegment with `mark` (a mark already non-zero stays), and
// gives its ends the mark where theirs is 0.
void InsertSubsegment(TessMesh& m, const TessSwitches& sw, TriHandle handle, int32_t mark);

// Forces the input's segments into the mesh (segments and markers as in TessRecord; markers
// may be null). Skips, silently, segments with an end out of range or with equal ends. With
// `crossingsFirst` a crossing is placed before the dig that reaches it, which is slower but
// keeps vertices within a rounding of a crossing out of the dig's unfinished triangles.
void InsertSegments(TessMesh& m, const TessSwitches& sw, const int32_t* segments,
                    const int32_t* markers, int32_t count, bool crossingsFirst);

// Makes every hull edge a subsegment with mark 1.
void MarkHull(TessMesh& m, const TessSwitches& sw);

// Eats the triangles outside the outline and in the holes, and spreads the regions.
void CarveHoles(TessMesh& m, const TessSwitches& sw, const double* holes, int32_t holeCount,
                const double* regions, int32_t regionCount);

// Tests a subsegment for encroachment by the apexes on its sides, and pools it as bad when
// encroached. Returns 0 (not encroached), 1 or 2 (the side first found), or 3 (both).
int32_t CheckSegmentForEncroachment(TessMesh& m, const TessSwitches& sw, SubHandle testSubseg);

// Lawson's flips over the whole mesh, subsegments excepted, until every edge passes the circle
// test. Returns whether it flipped any edge.
bool RestoreDelaunay(TessMesh& m, const TessSwitches& sw);

// Fails with "Internal error." unless every triangle turns counterclockwise (exact test).
void RequireValidOrientation(TessMesh& m, const TessSwitches& sw);

// Splits the pooled bad subsegments, and those the splits encroach, until none is left or the
// vertex budget is spent; with `triangleFlaws` the triangles round each split vertex are
// tested for quality. `splits` counts the splits of the whole stage, which fails when they
// pass a bound that grows with the input, plus `allowance` (see conform.cpp). Returns whether
// any split vertex lies off the subsegment it split.
bool SplitEncroachedSegments(TessMesh& m, const TessSwitches& sw, int64_t& splits,
                             int64_t allowance, bool triangleFlaws);

// The refinement stage: splits encroached subsegments, then, given a triangle criterion
// (switches q, a, u), refines the triangles.
void EnforceQuality(TessMesh& m, const TessSwitches& sw);
