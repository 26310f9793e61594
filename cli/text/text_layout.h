// Lays text out in lines: each line is shaped on its own, lines split at "\n" (or "\r\n") stack
// downward (vertical lines, columns, from right to left), and each line is aligned about x = 0
// (a column about y = 0). Positions are in ems with y up; the first line's baseline (the first
// column's centre line) passes through the origin.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kly/host/font_dict.h"
#include "kly/host/text_shaping.h"

namespace kly {
namespace cli {

// Where a line sits along its direction: start is left of a horizontal line and the top of a
// vertical one.
enum class LineAlign { kStart, kCenter, kEnd };

struct LayoutSettings {
  // Distance between baselines (column centres), in ems; the font's own line spacing when not
  // given.
  std::optional<double> line_height;
  LineAlign align = LineAlign::kStart;
  // Shaping of each line: the font, direction, script, language, features and variation; its
  // text is ignored.
  host::ShapingRequest shaping;
};

struct PlacedGlyph {
  uint32_t glyph;
  // The first character the glyph draws.
  char32_t character;
  // Its origin (the top centre of a vertical glyph), in ems, y up.
  double x;
  double y;
  bool vertical;
};

// `text` is well-formed UTF-8.
std::vector<PlacedGlyph> LayOutText(const std::string& text, const LayoutSettings& settings);

}  // namespace cli
}  // namespace kly
