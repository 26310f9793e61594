#include "cli/options/color_parse.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <stdexcept>

namespace kly {
namespace cli {

namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lower >= 'a' && lower <= 'f') return lower - 'a' + 10;
  return -1;
}

bool IsHexColor(const std::string& color) {
  if (color.size() != 7 || color[0] != '#') return false;
  return std::all_of(color.begin() + 1, color.end(), [](char c) { return HexDigit(c) >= 0; });
}

}  // namespace

// The sRGB transfer function, undone: what #RRGGBB means on screen as light.
float LinearFromSrgb(int byte) {
  const double c = byte / 255.0;
  return static_cast<float>(c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4));
}

SlotColor ParseSlotColor(const std::string& text, const std::vector<std::string>& slots) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos) {
    throw std::invalid_argument("'" + text + "' has no '='");
  }
  SlotColor result;
  result.slot = text.substr(0, equals);
  if (std::find(slots.begin(), slots.end(), result.slot) == slots.end()) {
    throw std::invalid_argument("'" + result.slot + "' is not a slot of this solid");
  }
  const std::string color = text.substr(equals + 1);
  if (!IsHexColor(color)) throw std::invalid_argument("'" + color + "' is not a #RRGGBB colour");
  for (int k = 0; k < 3; ++k) {
    result.rgb[k] = LinearFromSrgb(HexDigit(color[1 + 2 * k]) * 16 + HexDigit(color[2 + 2 * k]));
  }
  return result;
}

}  // namespace cli
}  // namespace kly
