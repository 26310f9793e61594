// The text outline library: plays the outline of one glyph of a font on a player, under two
// matrices and an orientation.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/host/font_dict.h"
#include "kly/host/ort.h"

namespace TYE {

// How a glyph is placed on its line. Horizontal glyphs have their origin on the baseline at
// the left; vertical glyphs have it at the top centre, where a vertical line runs through.
enum GlyphOrientation : int32_t {
  kGlyphHorizontal = 0,
  kGlyphVertical = 1,
};

}  // namespace TYE

// Receives a glyph's outline as it is played. Points arrive in the space of the two matrices.
class GLF_OutlinePlayer {
 public:
  GLF_OutlinePlayer() = default;
  virtual ~GLF_OutlinePlayer() = default;
  // Forget everything played so far (playback may call it first, or not at all).
  virtual void Reset() = 0;
  virtual void MoveTo(double x, double y) = 0;
  virtual void LineTo(double x, double y) = 0;
  virtual void CurveTo(double x1, double y1, double x2, double y2, double x3, double y3) = 0;
  virtual void ClosePath() = 0;
  // The outline is complete.
  virtual void Finish() = 0;
};

// Plays glyph `glyph` of `font` on `player`: a point p in font units reaches the player as
// p * first * second (row vectors, ORT_Matrix3 convention), after the orientation has placed
// the glyph's origin. Quadratic pieces are raised to cubics exactly. `values` are variation
// coordinates of a variable font, one an axis in the font's axis order, in the axis's own
// units; empty means the default instance. Each contour is MoveTo, LineTo/CurveTo..., ClosePath,
// and the playback ends with Finish. An empty font, an empty glyph or a glyph id out of range
// plays Finish alone. Calls the seam's `play_char_outlines` (services.h).
void GLF_PlayCharOutlines(int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                          TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict& font,
                          const std::vector<float>& values, GLF_OutlinePlayer& player);

namespace kly {
namespace host {
// The standalone playback on FreeType, the seam's default.
void PlayCharOutlines(int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                      TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict& font,
                      const std::vector<float>& values, GLF_OutlinePlayer& player);
}  // namespace host
}  // namespace kly
