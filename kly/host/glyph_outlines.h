// Glyph outlines read from a font file: the standalone glyph source of the host.
//
// Each glyph comes back as its closed contours in font units, either as the font stores them
// (points tagged on-curve, conic control or cubic control) or flattened into polylines.
// Failures are FreeType's own status numbers, thrown as int32_t after a report.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "kly/host/ort.h"

namespace kly {
namespace host {

enum class OutlinePointKind : uint8_t {
  kOnCurve,  // an end point of a line or curve
  kConic,    // control point of a quadratic arc; two in a row imply an on-curve midpoint
  kCubic,    // one of the two control points of a cubic arc
};

struct OutlinePoint {
  double x;
  double y;
  OutlinePointKind kind;
};

// A closed contour: the last point joins the first.
using OutlineContour = std::vector<OutlinePoint>;
// A closed polyline: the last point joins the first, which is not repeated; no two consecutive
// points are equal.
using OutlinePolyline = std::vector<ORT_Vector2T<double>>;

class GlyphOutlines {
 public:
  // Opens the face at `font_path` (face 0).
  explicit GlyphOutlines(const char* font_path);
  ~GlyphOutlines();
  GlyphOutlines(const GlyphOutlines&) = delete;
  GlyphOutlines& operator=(const GlyphOutlines&) = delete;

  int32_t GlyphCount() const;
  // Font units per em, the scale of all coordinates.
  int32_t UnitsPerEm() const;

  // The contours of glyph `glyph` (0 .. GlyphCount() - 1) as stored, unhinted; a glyph without
  // an outline (a space, a bitmap) has none.
  std::vector<OutlineContour> Contours(int32_t glyph) const;

  // The same contours with every conic and cubic arc replaced by chords that stay within
  // `tolerance` font units of the curve. Contours that collapse to fewer than two distinct
  // points are dropped.
  std::vector<OutlinePolyline> Polylines(int32_t glyph, double tolerance) const;

 private:
  struct Face;
  std::unique_ptr<Face> face_;
};

}  // namespace host
}  // namespace kly
