#include "kly/host/svg_viewport.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "kly/host/svg_numbers.h"

namespace kly {
namespace host {
namespace {

struct LengthUnit {
  const char* name;
  double size;  // in drawing units (px)
};
constexpr LengthUnit kUnits[] = {{"", 1.0},           {"px", 1.0},         {"in", 96.0},
                                 {"cm", 96.0 / 2.54}, {"mm", 96.0 / 25.4}, {"pt", 96.0 / 72.0},
                                 {"pc", 16.0},        {"em", 16.0},        {"ex", 8.0}};

// Where a length of the box lies along an axis: 0 at the start, 0.5 in the middle, 1 at the
// end, as the alignment's part for that axis names it.
bool ReadAlignment(std::string_view word, double& x, double& y) {
  static constexpr const char* kParts[] = {"Min", "Mid", "Max"};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      if (word == std::string("x") + kParts[i] + "Y" + kParts[j]) {
        x = 0.5 * i;
        y = 0.5 * j;
        return true;
      }
    }
  }
  return false;
}

}  // namespace

bool ParseSvgLength(std::string_view text, SvgAxis axis, const SvgViewport& viewport,
                    double& value) {
  SvgScanner scanner(text);
  scanner.SkipSpace();
  double number = 0.0;
  if (!scanner.ReadNumber(number)) return false;
  const size_t unit_start = scanner.Position();
  while (!scanner.AtEnd() && !IsSvgSpace(scanner.Peek())) scanner.Advance();
  const std::string_view unit = text.substr(unit_start, scanner.Position() - unit_start);
  scanner.SkipSpace();
  if (!scanner.AtEnd()) return false;
  if (unit == "%") {
    const double side = axis == SvgAxis::kX ? viewport.width
                        : axis == SvgAxis::kY
                            ? viewport.height
                            : std::hypot(viewport.width, viewport.height) / std::sqrt(2.0);
    value = number / 100.0 * side;
    return true;
  }
  for (const LengthUnit& known : kUnits) {
    if (unit == known.name) {
      value = number * known.size;
      return true;
    }
  }
  return false;
}

SvgViewBox ParseViewBox(std::string_view text) {
  SvgScanner scanner(text);
  double values[4];
  scanner.SkipSpace();
  for (double& value : values) {
    if (&value != values) scanner.SkipCommaSpace();
    if (!scanner.ReadNumber(value)) scanner.Fail("viewBox", "a number");
  }
  scanner.SkipSpace();
  if (!scanner.AtEnd()) scanner.Fail("viewBox", "its end");
  for (double value : values) {
    if (!std::isfinite(value)) throw SvgError("viewBox with a non-finite value");
  }
  if (values[2] < 0.0 || values[3] < 0.0) throw SvgError("viewBox has a negative width or height");
  if (values[2] == 0.0 || values[3] == 0.0) throw SvgError("viewBox has zero width or height");
  return {values[0], values[1], values[2], values[3]};
}

SvgMatrix FitViewBox(const SvgViewBox& box, std::string_view aspect, double width, double height,
                     bool& sliced) {
  SvgScanner scanner(aspect);
  scanner.SkipSpace();
  const auto word = [&]() {
    const size_t start = scanner.Position();
    while (!scanner.AtEnd() && !IsSvgSpace(scanner.Peek())) scanner.Advance();
    const std::string_view read = aspect.substr(start, scanner.Position() - start);
    scanner.SkipSpace();
    return read;
  };
  const std::string_view align = word();
  const std::string_view fit = word();
  const bool stretch = align == "none";
  double align_x = 0.5, align_y = 0.5;
  const bool known_align = align.empty() || stretch || ReadAlignment(align, align_x, align_y);
  if (!known_align || (fit != "" && fit != "meet" && fit != "slice") || !scanner.AtEnd()) {
    throw SvgError(
        "preserveAspectRatio: expected none or xMinYMin to xMaxYMax, then meet or slice");
  }
  sliced = !stretch && fit == "slice";
  double scale_x = width / box.width;
  double scale_y = height / box.height;
  if (!stretch) {
    scale_x = scale_y = sliced ? std::max(scale_x, scale_y) : std::min(scale_x, scale_y);
  }
  // The box's scaled size falls short of (meet) or exceeds (slice) the viewport; the
  // alignment places it within.
  const double tx = align_x * (width - box.width * scale_x) - box.x * scale_x;
  const double ty = align_y * (height - box.height * scale_y) - box.y * scale_y;
  return {scale_x, 0, 0, scale_y, tx, ty};
}

}  // namespace host
}  // namespace kly
