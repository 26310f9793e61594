// Laid-out glyphs as the library's letters, in the library's frame (x right, y down).
#pragma once

#include <vector>

#include "cli/text/text_layout.h"
#include "kly/host/font_dict.h"
#include "kly/text/text.h"

namespace kly {
namespace cli {

// The library flattens curves to a fixed tolerance of 1/128 of a unit, so text is built at an
// em of 16 units, where that tolerance is 1/2048 em: a font unit of a TrueType font of 2048
// units per em, as fine as the outline's own grid. A larger em spends far more triangles on
// curves and bevels for no visible gain. The mesh is scaled to the size asked afterwards.
constexpr double kBuildEm = 16.0;

// Appends one letter a glyph to `text`, in order: the glyph's outline scaled from font units to
// kBuildEm and turned y down (its glyph matrix), placed at its origin (its post matrix), played
// in the glyph's orientation with the font's variation `values`.
void AddLetters(const std::vector<PlacedGlyph>& glyphs, const HBN_T_NMT::CTPKFontDict& font,
                const std::vector<float>& values, KLY_Text& text);

}  // namespace cli
}  // namespace kly
