// The graphics manager's path clean-up: a reworked copy of a path that draws the same outline
// with fewer, sounder pieces.
//
// Per subpath: pieces of no length (a line to its own start, a cubic whose points all equal
// its start) are dropped; a cubic whose control points lie on its chord, between its ends, is
// a line; consecutive lines running on in one direction are merged into one. Points that stay
// are not moved, and windings are kept. A subpath left with no piece is dropped.
#pragma once

#include <cstdint>

#include "kly/host/hbn_paths.h"
#include "kly/host/offset_path.h"

namespace kly {
namespace host {

// Streams the reworked path to `sink` in the path types of HBN_T_NMT (a move, lines and curve
// points, a close at the first point a subpath). Returns 0, or a non-zero status with nothing
// streamed for a malformed path: non-finite coordinates, a piece before the first move, a
// cubic cut short, a subpath that does not end with a close.
int32_t ReworkPath(const float* points, const int32_t* types, int32_t count,
                   const OffsetPathSink& sink);

}  // namespace host
}  // namespace kly

// The path's clean-up entry: streams the reworked `path` to `callback` through the host
// services' `rework_path` (by default kly::host::ReworkPath). Returns its status; an exception
// of the service becomes a non-zero status.
int32_t GFK_ReworkPath(const HBN_T_NMT::CGFKPath& path, GFKOffsetPathCallback callback,
                       void* refcon);
