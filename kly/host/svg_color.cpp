#include "kly/host/svg_color.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "kly/host/svg_numbers.h"

namespace kly {
namespace host {
namespace {

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsSvgSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSvgSpace(text.back())) text.remove_suffix(1);
  return text;
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
  }
  return true;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// #rgb, #rgba, #rrggbb, #rrggbbaa: one or two hex digits a channel; alpha is dropped.
bool ParseHex(std::string_view digits, SvgColor& color) {
  const size_t n = digits.size();
  if (n != 3 && n != 4 && n != 6 && n != 8) return false;
  for (char c : digits) {
    if (HexDigit(c) < 0) return false;
  }
  const size_t width = n <= 4 ? 1 : 2;
  uint8_t channels[3];
  for (size_t i = 0; i < 3; ++i) {
    const int high = HexDigit(digits[i * width]);
    const int low = width == 1 ? high : HexDigit(digits[i * width + 1]);  // #f80 is #ff8800
    channels[i] = static_cast<uint8_t>(16 * high + low);
  }
  color = {channels[0], channels[1], channels[2]};
  return true;
}

// One channel of rgb(): 0 to 255, or a percentage of 255; rounded and clamped.
bool ReadChannel(SvgScanner& scanner, uint8_t& channel) {
  double value = 0.0;
  if (!scanner.ReadNumber(value)) return false;
  if (scanner.Peek() == '%') {
    scanner.Advance();
    value = value * 255.0 / 100.0;  // exact at 50%, where 2.55 falls just short of 127.5
  }
  if (std::isnan(value)) return false;
  channel = static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
  return true;
}

// The inside of rgb( ... ) or rgba( ... ) up to its ')': three channels apart by commas or
// spaces, then perhaps an alpha after a comma or '/', which is dropped.
bool ParseFunction(std::string_view inside, SvgColor& color) {
  SvgScanner scanner(inside);
  scanner.SkipSpace();
  uint8_t channels[3];
  for (int i = 0; i < 3; ++i) {
    if (i > 0) scanner.SkipCommaSpace();
    if (!ReadChannel(scanner, channels[i])) return false;
  }
  scanner.SkipSpace();
  if (scanner.Peek() == ',' || scanner.Peek() == '/') {
    scanner.Advance();
    scanner.SkipSpace();
    uint8_t alpha = 0;
    if (!ReadChannel(scanner, alpha)) return false;
    scanner.SkipSpace();
  }
  if (scanner.Peek() != ')') return false;
  scanner.Advance();
  scanner.SkipSpace();
  if (!scanner.AtEnd()) return false;
  color = {channels[0], channels[1], channels[2]};
  return true;
}

}  // namespace

bool ParseSvgColor(std::string_view text, SvgColor& color) {
  text = Trim(text);
  if (!text.empty() && text.front() == '#') return ParseHex(text.substr(1), color);
  if (StartsWithNoCase(text, "rgba(")) return ParseFunction(text.substr(5), color);
  if (StartsWithNoCase(text, "rgb(")) return ParseFunction(text.substr(4), color);
  return LookUpSvgColorName(text, color);
}

bool ParseSvgPaint(std::string_view text, SvgPaint& paint) {
  text = Trim(text);
  const auto is = [&](std::string_view word) {
    return text.size() == word.size() && StartsWithNoCase(text, word);
  };
  if (is("none") || is("transparent")) {
    paint = {SvgPaint::kNone, {}};
  } else if (is("currentcolor")) {
    paint = {SvgPaint::kCurrentColor, {}};
  } else if (StartsWithNoCase(text, "url(")) {
    paint = {SvgPaint::kServer, {}};
  } else {
    SvgColor color;
    if (!ParseSvgColor(text, color)) return false;
    paint = {SvgPaint::kColor, color};
  }
  return true;
}

}  // namespace host
}  // namespace kly
