// The stack of undoable changes of one vertex insertion, kept while the triangle quality stage
// runs: the split that made room for the vertex, then each flip round it. Undoing them in
// reverse takes the vertex out and leaves every record, link and corner as before, so that the
// handles that other records hold stay true. Internal to kly/tess.
#pragma once

#include "kly/tess/mesh_structure.h"

// How the vertex entered: inside a triangle (one became three) or on an edge (one or two
// became two or four).
enum class InsertionSplit { kInTriangle, kOnEdge };

// Sets up the pool of the stack's records.
void InitFlipStackPool(TessMesh& m);
// Starts the stack of a new insertion. `split` is the handle, after the split, whose origin
// (on an edge) or apex (in a triangle) is the new vertex and whose other two corners are those
// of the old triangle's edge that kept its neighbour.
void BeginFlipStack(TessMesh& m, TriHandle split, InsertionSplit kind);
// Records a flip; `flipped` is the flipped edge's handle after the flip.
void PushFlip(TessMesh& m, TriHandle flipped);
// Undoes the flips and the split of the last insertion; the vertex is then in no triangle.
void UndoInsertion(TessMesh& m);
