#include "kly/host/glyph_playback.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_MULTIPLE_MASTERS_H

#include <algorithm>
#include <cmath>
#include <string>

#include "kly/host/font_face.h"

namespace kly {
namespace host {
namespace {

using Point = ORT_Vector2T<double>;

// Unscaled and unhinted: the outline as designed, in font units. Composite glyphs are
// assembled by FreeType.
constexpr FT_Int32 kLoadFlags = FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP;

Point Apply(const ORT_Matrix3& m, Point p) {
  return {p.x * m.m[0][0] + p.y * m.m[1][0] + m.m[2][0],
          p.x * m.m[0][1] + p.y * m.m[1][1] + m.m[2][1]};
}

std::string GlyphName(int glyph, const FontFace& font) {
  return "glyph " + std::to_string(glyph) + " of font file \"" + font.path + "\"";
}

// A design coordinate in 16.16: clamped to the axis (as FreeType would), NaN taken as default.
FT_Fixed DesignCoordinate(float value, const HBN_T_NMT::FontAxis& axis) {
  const double v = std::isnan(value) ? axis.default_value
                                     : std::clamp<double>(value, axis.minimum, axis.maximum);
  return static_cast<FT_Fixed>(std::lround(v * 65536.0));
}

// Sets every coordinate of a variable font: the given values, the default for the axes past
// them. Fonts without axes ignore the values.
void SetVariation(const FontFace& font, const std::vector<float>& values) {
  if (font.axes.empty()) return;
  std::vector<FT_Fixed> coordinates(std::min(values.size(), font.axes.size()));
  for (size_t i = 0; i < coordinates.size(); ++i)
    coordinates[i] = DesignCoordinate(values[i], font.axes[i]);
  const FT_Error status = FT_Set_Var_Design_Coordinates(
      font.face, static_cast<FT_UInt>(coordinates.size()), coordinates.data());
  if (status != 0) FailFont(status, "Cannot set the variation of font file \"" + font.path + "\"");
}

// Where the glyph's origin lies in its own font units. The vertical origin is the top centre:
// FreeType's vertical bearings run from it to the top left of the glyph's box, whose corner
// the horizontal bearings place from the horizontal origin.
Point OriginOf(const FT_Glyph_Metrics& metrics, TYE::GlyphOrientation orientation) {
  if (orientation != TYE::kGlyphVertical) return {0.0, 0.0};
  return {static_cast<double>(metrics.horiBearingX - metrics.vertBearingX),
          static_cast<double>(metrics.horiBearingY + metrics.vertBearingY)};
}

Point Mid(Point a, Point b) {
  return {(a.x + b.x) * 0.5, (a.y + b.y) * 0.5};
}

struct OutlinePoint {
  Point at;
  char tag;  // FT_CURVE_TAG_ON, _CONIC or _CUBIC
};

// The points of contour `first`..`last` in order from its first on-curve point, ending with
// that point again so that every piece finds its end ahead of it. A contour of conic controls
// alone starts midway between its last and first control.
std::vector<OutlinePoint> ContourFromStart(const FT_Outline& outline, int first, int last) {
  const int n = last - first + 1;
  std::vector<OutlinePoint> points(n);
  for (int i = 0; i < n; ++i) {
    const FT_Vector& v = outline.points[first + i];
    points[i] = {{static_cast<double>(v.x), static_cast<double>(v.y)},
                 static_cast<char>(FT_CURVE_TAG(outline.tags[first + i]))};
  }
  const auto on = std::find_if(points.begin(), points.end(),
                               [](const OutlinePoint& p) { return p.tag == FT_CURVE_TAG_ON; });
  if (on == points.end()) {
    points.insert(points.begin(), {Mid(points.back().at, points.front().at), FT_CURVE_TAG_ON});
  } else {
    std::rotate(points.begin(), on, points.end());
  }
  points.push_back(points.front());
  return points;
}

// One piece of a contour in font units: a line to `end`, or a cubic through c1, c2 to `end`.
struct Piece {
  bool curve;
  Point c1, c2, end;
};

// The pieces after the first point, quadratics raised to cubics: the quadratic p0 q p2 is the
// cubic p0, p0 + 2/3 (q - p0), p2 + 2/3 (q - p2), p2. False when a cubic control lacks its
// partner or its end. (FreeType's own walk is not used: it rounds the point implied between two
// conic controls to whole font units.)
bool ContourPieces(const std::vector<OutlinePoint>& points, std::vector<Piece>& pieces) {
  const double t = 2.0 / 3.0;
  const size_t end = points.size() - 1;
  Point pen = points[0].at;
  size_t i = 1;
  while (i <= end) {
    const OutlinePoint& p = points[i];
    if (p.tag == FT_CURVE_TAG_ON) {
      pieces.push_back({false, p.at, p.at, p.at});
      i += 1;
    } else if (p.tag == FT_CURVE_TAG_CONIC) {
      // The last point is on-curve, so a conic control always has a point after it.
      const bool implied = points[i + 1].tag == FT_CURVE_TAG_CONIC;
      const Point to = implied ? Mid(p.at, points[i + 1].at) : points[i + 1].at;
      pieces.push_back({true, pen + (p.at - pen) * t, to + (p.at - to) * t, to});
      i += implied ? 1 : 2;
    } else {
      if (i + 2 > end || points[i + 1].tag != FT_CURVE_TAG_CUBIC ||
          points[i + 2].tag != FT_CURVE_TAG_ON)
        return false;
      pieces.push_back({true, p.at, points[i + 1].at, points[i + 2].at});
      i += 3;
    }
    pen = pieces.back().end;
  }
  // The pieces end with a line back to the start unless a curve brings them there; ClosePath
  // draws that line, and a repeated first point would only be a zero-length piece.
  while (!pieces.empty() && !pieces.back().curve && pieces.back().end == points[0].at)
    pieces.pop_back();
  return true;
}

// From font units to the player's space: the orientation's origin moved to (0, 0), then the
// two matrices in turn.
struct Placement {
  Point origin;
  const ORT_Matrix3& first;
  const ORT_Matrix3& second;
  Point operator()(Point p) const { return Apply(second, Apply(first, p - origin)); }
};

void PlayContour(Point start, const std::vector<Piece>& pieces, const Placement& place,
                 GLF_OutlinePlayer& player) {
  const Point s = place(start);
  player.MoveTo(s.x, s.y);
  for (const Piece& piece : pieces) {
    const Point end = place(piece.end);
    if (!piece.curve) {
      player.LineTo(end.x, end.y);
      continue;
    }
    const Point c1 = place(piece.c1), c2 = place(piece.c2);
    player.CurveTo(c1.x, c1.y, c2.x, c2.y, end.x, end.y);
  }
  player.ClosePath();
}

// A lone point (TrueType keeps anchors as contours of one point: 'u' of DejaVu Sans has one)
// or a single line there and back encloses nothing, and no rasteriser draws it.
bool EnclosesArea(const std::vector<Piece>& pieces) {
  return pieces.size() > 1 || (pieces.size() == 1 && pieces[0].curve);
}

void PlayOutline(int glyph, const FT_Outline& outline, const Placement& place, const FontFace& font,
                 GLF_OutlinePlayer& player) {
  int first = 0;
  std::vector<Piece> pieces;
  for (int c = 0; c < outline.n_contours; ++c) {
    const int last = outline.contours[c];
    if (last < first) continue;
    const std::vector<OutlinePoint> points = ContourFromStart(outline, first, last);
    pieces.clear();
    if (!ContourPieces(points, pieces))
      FailFont(FT_Err_Invalid_Outline, "The outline of " + GlyphName(glyph, font) +
                                           " has a cubic control without its partner");
    if (EnclosesArea(pieces)) PlayContour(points[0].at, pieces, place, player);
    first = last + 1;
  }
}

}  // namespace

void PlayCharOutlines(int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                      TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict& font,
                      const std::vector<float>& values, GLF_OutlinePlayer& player) {
  player.Reset();
  const FontFace* face = font.Face();
  if (face && glyph >= 0 && glyph < face->face->num_glyphs) {
    SetVariation(*face, values);
    const FT_Error status = FT_Load_Glyph(face->face, static_cast<FT_UInt>(glyph), kLoadFlags);
    if (status != 0) FailFont(status, "Cannot load " + GlyphName(glyph, *face));
    const FT_GlyphSlot slot = face->face->glyph;
    if (slot->format == FT_GLYPH_FORMAT_OUTLINE) {
      const Placement place{OriginOf(slot->metrics, orientation), first, second};
      PlayOutline(glyph, slot->outline, place, *face, player);
    }
  }
  player.Finish();
}

}  // namespace host
}  // namespace kly
