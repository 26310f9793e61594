// "SLOT=#RRGGBB": a colour for one of a command's material slots.
#pragma once

#include <string>
#include <vector>

#include "cli/writers/write_options.h"

namespace kly {
namespace cli {

// The slot must be one of `slots`, spelled exactly; the colour is six hexadecimal digits after
// '#', in either case, read as sRGB and turned into the linear values files take. Throws
// std::invalid_argument naming the problem.
SlotColor ParseSlotColor(const std::string& text, const std::vector<std::string>& slots);

// The linear value of an sRGB byte (0 to 255), as files take colours.
float LinearFromSrgb(int byte);

}  // namespace cli
}  // namespace kly
