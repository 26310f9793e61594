#include "cli/text/variation_values.h"

#include <algorithm>
#include <stdexcept>

#include "cli/options/number_parse.h"

namespace kly {
namespace cli {

namespace {

std::string AxesText(const std::vector<HBN_T_NMT::FontAxis>& axes) {
  if (axes.empty()) return "it has no axes";
  std::string text = "its axes are";
  for (const HBN_T_NMT::FontAxis& axis : axes) {
    text += " " + axis.tag + " (" + FormatNumber(axis.minimum) + " to " +
            FormatNumber(axis.maximum) + ")";
  }
  return text;
}

}  // namespace

std::vector<AxisSetting> ParseAxisSettings(const std::string& text) {
  std::vector<AxisSetting> settings;
  size_t start = 0;
  while (start <= text.size()) {
    const size_t end = std::min(text.find(',', start), text.size());
    const std::string item = text.substr(start, end - start);
    const size_t equals = item.find('=');
    if (equals != 4) {
      throw std::invalid_argument("'" + item + "' is not TAG=VALUE with a tag of 4 characters");
    }
    settings.emplace_back(item.substr(0, 4), ParseNumber(item.substr(5)));
    start = end + 1;
  }
  return settings;
}

std::vector<float> VariationValues(const std::vector<AxisSetting>& settings,
                                   const std::vector<HBN_T_NMT::FontAxis>& axes,
                                   const std::string& font_name) {
  std::vector<float> values;
  for (const HBN_T_NMT::FontAxis& axis : axes) {
    values.push_back(static_cast<float>(axis.default_value));
  }
  for (const AxisSetting& setting : settings) {
    size_t k = 0;
    while (k < axes.size() && axes[k].tag != setting.first) ++k;
    if (k == axes.size()) {
      throw std::invalid_argument("'" + setting.first + "' is not an axis of " + font_name + "; " +
                                  AxesText(axes));
    }
    if (setting.second < axes[k].minimum || setting.second > axes[k].maximum) {
      throw std::invalid_argument(setting.first + "=" + FormatNumber(setting.second) +
                                  " lies outside the axis of " + font_name + "; " + AxesText(axes));
    }
    values[k] = static_cast<float>(setting.second);
  }
  return values;
}

}  // namespace cli
}  // namespace kly
