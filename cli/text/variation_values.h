// --variation: design coordinates of a variable font by axis tag ("wght=700,wdth=80").
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kly/host/font_dict.h"

namespace kly {
namespace cli {

using AxisSetting = std::pair<std::string, double>;

// "wght=700,wdth=80": tags of four characters, each with a finite number. Throws
// std::invalid_argument naming the problem.
std::vector<AxisSetting> ParseAxisSettings(const std::string& text);

// One value an axis of `axes`, in their order: the setting's where one names the axis, else the
// axis's default. Throws std::invalid_argument for a tag the font has no axis of and for a
// value past its axis, naming `font_name`'s axes.
std::vector<float> VariationValues(const std::vector<AxisSetting>& settings,
                                   const std::vector<HBN_T_NMT::FontAxis>& axes,
                                   const std::string& font_name);

}  // namespace cli
}  // namespace kly
