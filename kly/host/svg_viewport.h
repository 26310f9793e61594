// Lengths with units, and the viewBox that maps a drawing's own units onto its viewport.
#pragma once

#include <string_view>

#include "kly/host/svg_geometry.h"

namespace kly {
namespace host {

// The box that percentages refer to, in drawing units.
struct SvgViewport {
  double width = 0, height = 0;
};

// Which side of the viewport a percentage is of: width, height, or the diagonal over root 2
// (for radii).
enum class SvgAxis { kX, kY, kDiagonal };

// `text` as a length in drawing units: a number, then nothing or px (1), in (96), cm (96 /
// 2.54), mm (96 / 25.4), pt (96 / 72), pc (16), em (16, the default font size), ex (8), or %.
// False when it is not a length.
bool ParseSvgLength(std::string_view text, SvgAxis axis, const SvgViewport& viewport,
                    double& value);

struct SvgViewBox {
  double x = 0, y = 0, width = 0, height = 0;
};

// "min-x min-y width height". Throws SvgError when malformed ("viewBox: expected a number at
// character N"), when width or height is negative, and "viewBox has zero width or height".
SvgViewBox ParseViewBox(std::string_view text);

// The matrix that fits `box` into a viewport `width` by `height` at the origin, by the
// preserveAspectRatio value `aspect` (empty: xMidYMid meet): none stretches; meet scales
// uniformly to fit inside and slice to cover, aligned by xMin/xMid/xMax and YMin/YMid/YMax.
// `sliced` tells whether slice was asked, since nothing is clipped. Throws SvgError for an
// unknown value.
SvgMatrix FitViewBox(const SvgViewBox& box, std::string_view aspect, double width, double height,
                     bool& sliced);

}  // namespace host
}  // namespace kly
