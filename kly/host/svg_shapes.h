// The outlines of SVG's basic shapes, in the shape's own user units.
#pragma once

#include <string_view>
#include <vector>

#include "kly/host/svg_geometry.h"

namespace kly {
namespace host {

// A rectangle from (x, y) with corners rounded by rx and ry, as SVG resolves them: a missing
// (negative here) radius takes the other's value, both 0 when both are missing, and each is
// clamped to half its side. Drawn clockwise on screen (y down) from the top edge.
void AppendRect(SvgPath& path, double x, double y, double width, double height, double rx,
                double ry);

// Four quarter-ellipse cubics, clockwise on screen from (cx + rx, cy).
void AppendEllipse(SvgPath& path, double cx, double cy, double rx, double ry);

// The points attribute of <polygon> and <polyline>: coordinate pairs apart by commas or white
// space. Throws SvgError "points: expected a number at character N" (counted from 1) when
// malformed and "points: an odd number of coordinates".
std::vector<Vec2> ParsePoints(std::string_view text);

void AppendPolygon(SvgPath& path, const std::vector<Vec2>& points);

}  // namespace host
}  // namespace kly
