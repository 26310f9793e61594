#include "kly/host/glyph_outlines.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <algorithm>
#include <cmath>
#include <string>

#include "kly/host/font_face.h"

namespace kly {
namespace host {
namespace {

// A bound on the chords of one arc, so that a zero or absurd tolerance cannot exhaust memory.
constexpr int kMaxChordsPerArc = 1024;

OutlinePointKind KindOfTag(char tag) {
  switch (FT_CURVE_TAG(tag)) {
    case FT_CURVE_TAG_ON:
      return OutlinePointKind::kOnCurve;
    case FT_CURVE_TAG_CONIC:
      return OutlinePointKind::kConic;
    default:
      return OutlinePointKind::kCubic;
  }
}

// Chord count for an arc whose second derivative is bounded by `second_derivative`: the chord
// of a parameter step h deviates from the arc by at most |B''| h^2 / 8.
int ChordCount(double second_derivative, double tolerance) {
  if (!(tolerance > 0.0)) return kMaxChordsPerArc;
  const double n = std::ceil(std::sqrt(second_derivative / (8.0 * tolerance)));
  return static_cast<int>(std::clamp(n, 1.0, static_cast<double>(kMaxChordsPerArc)));
}

struct Flattener {
  double tolerance;
  std::vector<OutlinePolyline> polylines;
  ORT_Vector2T<double> pen{0.0, 0.0};

  void Add(ORT_Vector2T<double> p) {
    OutlinePolyline& line = polylines.back();
    if (line.empty() || line.back().x != p.x || line.back().y != p.y) line.push_back(p);
    pen = p;
  }
};

ORT_Vector2T<double> ToPoint(const FT_Vector* v) {
  return {static_cast<double>(v->x), static_cast<double>(v->y)};
}

double Length(ORT_Vector2T<double> v) {
  return std::hypot(v.x, v.y);
}

int MoveTo(const FT_Vector* to, void* user) {
  auto* f = static_cast<Flattener*>(user);
  f->polylines.emplace_back();
  f->Add(ToPoint(to));
  return 0;
}

int LineTo(const FT_Vector* to, void* user) {
  static_cast<Flattener*>(user)->Add(ToPoint(to));
  return 0;
}

int ConicTo(const FT_Vector* control, const FT_Vector* to, void* user) {
  auto* f = static_cast<Flattener*>(user);
  const ORT_Vector2T<double> p0 = f->pen, p1 = ToPoint(control), p2 = ToPoint(to);
  // B'' = 2 (p0 - 2 p1 + p2), constant along the arc.
  const int n = ChordCount(2.0 * Length(p0 - p1 * 2.0 + p2), f->tolerance);
  for (int i = 1; i <= n; ++i) {
    const double t = static_cast<double>(i) / n, s = 1.0 - t;
    f->Add(p0 * (s * s) + p1 * (2.0 * s * t) + p2 * (t * t));
  }
  return 0;
}

int CubicTo(const FT_Vector* control1, const FT_Vector* control2, const FT_Vector* to, void* user) {
  auto* f = static_cast<Flattener*>(user);
  const ORT_Vector2T<double> p0 = f->pen, p1 = ToPoint(control1), p2 = ToPoint(control2),
                             p3 = ToPoint(to);
  // B'' = 6 ((1 - t)(p0 - 2 p1 + p2) + t (p1 - 2 p2 + p3)), bounded by its larger end.
  const double bound = 6.0 * std::max(Length(p0 - p1 * 2.0 + p2), Length(p1 - p2 * 2.0 + p3));
  const int n = ChordCount(bound, f->tolerance);
  for (int i = 1; i <= n; ++i) {
    const double t = static_cast<double>(i) / n, s = 1.0 - t;
    f->Add(p0 * (s * s * s) + p1 * (3.0 * s * s * t) + p2 * (3.0 * s * t * t) + p3 * (t * t * t));
  }
  return 0;
}

}  // namespace

struct GlyphOutlines::Face {
  std::shared_ptr<FontFace> font;

  // Loads `glyph` unscaled and unhinted; its outline stays valid until the next load.
  const FT_Outline* Load(int32_t glyph) const {
    const FT_Error status =
        FT_Load_Glyph(font->face, static_cast<FT_UInt>(glyph),
                      FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP);
    if (status != 0) FailFont(status, "Cannot load glyph " + std::to_string(glyph));
    if (font->face->glyph->format != FT_GLYPH_FORMAT_OUTLINE) return nullptr;
    return &font->face->glyph->outline;
  }
};

GlyphOutlines::GlyphOutlines(const char* font_path) : face_(new Face{OpenFontFace(font_path, 0)}) {}

GlyphOutlines::~GlyphOutlines() = default;

int32_t GlyphOutlines::GlyphCount() const {
  return static_cast<int32_t>(face_->font->face->num_glyphs);
}

int32_t GlyphOutlines::UnitsPerEm() const {
  return face_->font->face->units_per_EM;
}

std::vector<OutlineContour> GlyphOutlines::Contours(int32_t glyph) const {
  std::vector<OutlineContour> contours;
  const FT_Outline* outline = face_->Load(glyph);
  if (!outline) return contours;
  int first = 0;
  for (int c = 0; c < outline->n_contours; ++c) {
    const int last = outline->contours[c];
    OutlineContour contour;
    for (int i = first; i <= last; ++i) {
      contour.push_back({static_cast<double>(outline->points[i].x),
                         static_cast<double>(outline->points[i].y), KindOfTag(outline->tags[i])});
    }
    contours.push_back(std::move(contour));
    first = last + 1;
  }
  return contours;
}

std::vector<OutlinePolyline> GlyphOutlines::Polylines(int32_t glyph, double tolerance) const {
  Flattener flattener{tolerance, {}, {0.0, 0.0}};
  const FT_Outline* outline = face_->Load(glyph);
  if (!outline) return {};
  FT_Outline_Funcs funcs{};
  funcs.move_to = MoveTo;
  funcs.line_to = LineTo;
  funcs.conic_to = ConicTo;
  funcs.cubic_to = CubicTo;
  const FT_Error status =
      FT_Outline_Decompose(const_cast<FT_Outline*>(outline), &funcs, &flattener);
  if (status != 0) FailFont(status, "Cannot read the outline of glyph " + std::to_string(glyph));
  std::vector<OutlinePolyline> result;
  for (OutlinePolyline& line : flattener.polylines) {
    while (line.size() > 1 && line.back().x == line.front().x && line.back().y == line.front().y)
      line.pop_back();
    if (line.size() >= 2) result.push_back(std::move(line));
  }
  return result;
}

}  // namespace host
}  // namespace kly
