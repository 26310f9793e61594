// The type engine's shaping: one line of text in a font becomes the glyphs that draw it, with
// their positions, as HarfBuzz places them (kerning, ligatures, marks, right-to-left and
// vertical runs). Calls the seam's `shape_text` (services.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kly/host/font_dict.h"

namespace kly {
namespace host {

enum class TextDirection { kAuto, kLeftToRight, kRightToLeft, kTopToBottom, kBottomToTop };

struct ShapingRequest {
  HBN_T_NMT::CTPKFontDict font;
  // One line, UTF-8; a line break in it is shaped as any other character.
  std::string text;
  // kAuto takes the direction of the script.
  TextDirection direction = TextDirection::kAuto;
  // An ISO 15924 tag ("Latn", "Arab"), or "" to tell it from the text.
  std::string script;
  // A BCP 47 tag ("en", "ar"), or "" for none.
  std::string language;
  // Font features, each as "kern=0", "-liga" or "+smcp" (see IsFeatureText).
  std::vector<std::string> features;
  // Design coordinates of a variable font, one an axis in the font's order; empty for the
  // default instance.
  std::vector<float> variation;
};

// One glyph in visual order: for a right-to-left line the first glyph is the leftmost.
// Advances and offsets are in font units with y up, as the font's own outlines.
struct ShapedGlyph {
  uint32_t glyph = 0;
  // The byte offset in the text of the first character the glyph draws.
  uint32_t cluster = 0;
  int32_t x_advance = 0;
  int32_t y_advance = 0;
  int32_t x_offset = 0;
  int32_t y_offset = 0;
};

// For a vertical line (top to bottom or bottom to top) the offsets are from the glyph's vertical
// origin, the top centre where glyph playback's vertical orientation puts it, instead of from
// its horizontal origin.
struct ShapedLine {
  std::vector<ShapedGlyph> glyphs;
  // The direction the line was shaped in, never kAuto.
  TextDirection direction = TextDirection::kLeftToRight;
  // The font's extents across the line, in font units: above and below the baseline (below is
  // negative) and the gap to the next line; for a vertical line, right and left of its centre.
  int32_t ascender = 0;
  int32_t descender = 0;
  int32_t line_gap = 0;
};

// Whether `text` is one feature setting HarfBuzz reads ("kern=0", "-liga", "+smcp",
// "aalt[3:5]=2").
bool IsFeatureText(const std::string& text);

// Shapes through the seam. An empty font shapes every character to glyph 0 with no advance.
// Throws std::invalid_argument for a feature that IsFeatureText refuses.
ShapedLine ShapeText(const ShapingRequest& request);

// The standalone shaping on HarfBuzz, the seam's default.
ShapedLine ShapeWithHarfBuzz(const ShapingRequest& request);

}  // namespace host
}  // namespace kly
