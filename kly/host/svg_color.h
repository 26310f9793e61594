// SVG colours and paints: #rgb, #rrggbb (and their forms with alpha, whose alpha is dropped),
// rgb() and rgba() with numbers or percentages, and the CSS colour names.
#pragma once

#include <string_view>

#include "kly/host/svg_reader.h"

namespace kly {
namespace host {

// False, with `color` untouched, when `text` is no colour.
bool ParseSvgColor(std::string_view text, SvgColor& color);

// The CSS colour name `name`, in any case. False when there is none.
bool LookUpSvgColorName(std::string_view name, SvgColor& color);

// A fill as written: a colour, none (or transparent), currentColor, or a paint server
// (url(#...)), which the reader draws black.
struct SvgPaint {
  enum Kind { kColor, kNone, kCurrentColor, kServer };
  Kind kind = kColor;
  SvgColor color;
};

// False when `text` is no paint.
bool ParseSvgPaint(std::string_view text, SvgPaint& paint);

}  // namespace host
}  // namespace kly
