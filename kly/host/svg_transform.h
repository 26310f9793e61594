// The transform attribute: a list of matrix, translate, scale, rotate, skewX and skewY.
#pragma once

#include <string_view>

#include "kly/host/svg_geometry.h"

namespace kly {
namespace host {

// The product of the list, first item outermost. Throws SvgError "transform: expected ... at
// character N" (counted from 1) when malformed, and "transform with a non-finite value" when a
// value or the product is NaN or infinite.
SvgMatrix ParseTransform(std::string_view text);

}  // namespace host
}  // namespace kly
