// Path data, the d attribute of <path>: every command (M L H V C S Q T A Z, absolute and
// relative), implicit repeats (pairs after a moveto are linetos), numbers without separators
// and packed arc flags. Quadratics are raised to cubics and arcs made of cubics (svg_arc.h).
#pragma once

#include <string_view>

#include "kly/host/svg_geometry.h"

namespace kly {
namespace host {

// Appends the path data `text` to `path`. Empty data (white space only) draws nothing.
// Malformed data throws SvgError naming what was expected and where, counting characters from
// 1: "path data: expected a number at character 15"; nothing of it is kept then.
void ParsePathData(std::string_view text, SvgPath& path);

}  // namespace host
}  // namespace kly
