// SVG's elliptical arc as cubics.
#pragma once

#include "kly/host/svg_geometry.h"

namespace kly {
namespace host {

// Appends the arc from the path's current point to `end`, as path data's A command draws it:
// radii taken as magnitudes and scaled up together when too small to reach `end`; the centre
// found from the end points, the flags and the x axis rotation (degrees); the sweep cut into
// equal parts of at most 90 degrees, each one cubic. A zero radius draws a line; an arc that
// ends where it starts draws nothing.
void AppendArc(SvgPath& path, double rx, double ry, double rotation, bool large_arc, bool sweep,
               Vec2 end);

}  // namespace host
}  // namespace kly
