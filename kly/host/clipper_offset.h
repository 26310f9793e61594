// Clipper's offset of a closed polygon on its integer grid: the one place that knows Clipper.
#pragma once

#include <vector>

#include "kly/host/vec2.h"

namespace kly {
namespace host {

// Coordinates given to OffsetOnGrid, and those of its results, stay within +-kGridRange; the
// grid keeps Clipper in its fast 64-bit range (below 2^30).
constexpr double kGridRange = 536870912.0;  // 2^29

// Offsets the closed polygon (coordinates rounded to the integer grid; a counter-clockwise
// polygon, of positive area, grows with a positive `delta`) by `delta` grid units with mitred
// joins: a miter longer than `miter_limit` times |delta| (at least 2) is squared off at
// |delta| from the corner. Parts of the offset that cross each other are resolved (Clipper's
// union), so `result` holds simple polygons: outer boundaries counter-clockwise, holes
// clockwise; none when the polygon collapses. Returns false, with `result` empty, when Clipper
// refuses a coordinate.
bool OffsetOnGrid(const std::vector<Vec2>& polygon, double delta, double miter_limit,
                  std::vector<std::vector<Vec2>>& result);

}  // namespace host
}  // namespace kly
