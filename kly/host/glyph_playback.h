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
// and the playback ends with Finish (the standalone playback calls Reset first). An empty font, an
// empty glyph or a glyph id out of range plays Finish alone. Calls the seam's `play_char_outlines`
// (services.h).
void GLF_PlayCharOutlines(int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                          TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict& font,
                          const std::vector<float>& values, GLF_OutlinePlayer& player);

namespace kly {
namespace host {
// The standalone playback on FreeType, the seam's default.
//
// Calls Reset, plays every contour of the glyph as FreeType loads it unscaled and unhinted
// (composite glyphs assembled, bitmaps never used), and ends with Finish. An empty font, a
// glyph id out of range and a glyph without outline play Reset and Finish alone. A contour is
// MoveTo, then LineTo and CurveTo in the font's order, then ClosePath. It starts at its first
// on-curve point (midway between its last and first control when it has none); a straight
// closing line back to that point is left to ClosePath, while a curve back to it is played.
// A contour that encloses nothing (a lone point, as TrueType keeps anchors, or one line there
// and back) is not played.
// Between two conic controls the implied on-curve point is their exact midpoint. A failing load
// is reported naming the glyph and the font file, and FreeType's status thrown; so is a cubic
// control without its partner (FreeType's "invalid outline", 20).
//
// A point p in font units is played as (p - o) * first * second, where o is the origin of the
// orientation in the glyph's own units: (0, 0) for horizontal; for vertical the top centre,
// o = (horiBearingX - vertBearingX, horiBearingY + vertBearingY) from FreeType's unscaled glyph
// metrics (the vertical bearings lead from the vertical origin to the top left corner of the
// glyph's box, x rightwards and y downwards). Fonts without vertical metrics get bearings
// FreeType makes up: vertBearingX = horiBearingX - horiAdvance / 2, so o.x lies half the
// advance right of the horizontal origin, and vertBearingY = (vertAdvance - height) / 2 with
// the typographic ascender minus descender as vertAdvance, which centres each glyph's box in
// its cell (DejaVu Sans's 'l': o = (284, 1802)).
//
// `values` of a variable font are design coordinates, the i-th for the font's i-th axis
// (CTPKFontDict::Axes): axes past the values take their default, values past the axes are
// ignored, a value outside its axis is clamped to it and a NaN takes the default. Every call
// sets all coordinates, so no call inherits another's. A font without axes ignores `values`.
void PlayCharOutlines(int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                      TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict& font,
                      const std::vector<float>& values, GLF_OutlinePlayer& player);
}  // namespace host
}  // namespace kly
