#include "cli/text/text_letters.h"

namespace kly {
namespace cli {

namespace {

ORT_Matrix3 Matrix(double xx, double yy, double tx, double ty) {
  return ORT_Matrix3{{{xx, 0.0, 0.0}, {0.0, yy, 0.0}, {tx, ty, 1.0}}};
}

}  // namespace

void AddLetters(const std::vector<PlacedGlyph>& glyphs, const HBN_T_NMT::CTPKFontDict& font,
                const std::vector<float>& values, KLY_Text& text) {
  const double scale = kBuildEm / font.UnitsPerEm();
  // Font units run y up; the library's frame y down.
  const ORT_Matrix3 glyph_matrix = Matrix(scale, -scale, 0.0, 0.0);
  for (const PlacedGlyph& glyph : glyphs) {
    KLY_Letter letter(static_cast<int>(glyph.glyph), glyph_matrix,
                      Matrix(1.0, 1.0, glyph.x * kBuildEm, -glyph.y * kBuildEm), true,
                      glyph.vertical ? TYE::kGlyphVertical : TYE::kGlyphHorizontal, font, values);
    text.AddLetter(letter);
  }
}

}  // namespace cli
}  // namespace kly
