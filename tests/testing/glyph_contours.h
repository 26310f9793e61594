// Glyph outlines as the extrusion's contours: every contour of a glyph becomes one closed
// KLY_Contour of lines (code 1) and cubics (three points of code 2), scaled from font units.
// Header-only, so that benchmarks and fuzzers can use it without the test library.
//
// A quadratic arc P0, C, P2 is raised to the cubic P0, P0 + 2/3 (C - P0), P2 + 2/3 (C - P2), P2,
// which traces the same curve. Two conic controls in a row imply the on-curve point midway
// between them. A contour is read from its first on-curve point; one made of conic controls
// only starts at the midpoint of its last and first control.
//
// The closing piece: a curve back to the first point is written out (nothing else can draw it),
// a straight closing line is left to SetClosed(true), so no contour repeats its first point at
// its end unless a curve brings it there. The extrusion closes every contour itself, and a
// repeated point would only give the flattening a zero-length piece to merge away.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kly/curves/contour.h"
#include "kly/host/glyph_outlines.h"

namespace kly {
namespace testing {
namespace glyph_contours_detail {

using Vec3 = ORT_Vector3T<double>;
using host::OutlineContour;
using host::OutlinePoint;
using host::OutlinePointKind;

struct Point {
  Vec3 at;
  OutlinePointKind kind;
};

inline Vec3 Mid(const Vec3& a, const Vec3& b) {
  return {0.5 * (a.x + b.x), 0.5 * (a.y + b.y), 0.0};
}

inline void AppendPoint(KLY_Contour& contour, const Vec3& p, uint32_t code) {
  contour.AppendVertexPosition(p);
  contour.AppendVertexCode(code);
}

inline void AppendCubic(KLY_Contour& contour, const Vec3& c1, const Vec3& c2, const Vec3& end) {
  for (const Vec3& p : {c1, c2, end}) AppendPoint(contour, p, KLY_Contour::kCodeCurve);
}

inline void AppendQuadratic(KLY_Contour& contour, const Vec3& from, const Vec3& control,
                            const Vec3& end) {
  const double t = 2.0 / 3.0;
  AppendCubic(contour, from + (control - from) * t, end + (control - end) * t, end);
}

// The contour's points scaled, rotated to start on the curve, and ending with that start again
// (on-curve), so that every arc finds its end point ahead of it.
inline std::vector<Point> WalkFromStart(const OutlineContour& outline, double scale) {
  const size_t n = outline.size();
  std::vector<Point> scaled(n);
  for (size_t i = 0; i < n; ++i)
    scaled[i] = {{outline[i].x * scale, outline[i].y * scale, 0.0}, outline[i].kind};
  size_t first = 0;
  while (first < n && scaled[first].kind != OutlinePointKind::kOnCurve) ++first;
  std::vector<Point> walk;
  if (first == n) {
    const Point start{Mid(scaled[n - 1].at, scaled[0].at), OutlinePointKind::kOnCurve};
    walk.push_back(start);
    walk.insert(walk.end(), scaled.begin(), scaled.end());
    walk.push_back(start);
    return walk;
  }
  for (size_t i = 0; i <= n; ++i) walk.push_back(scaled[(first + i) % n]);
  return walk;
}

}  // namespace glyph_contours_detail

// One closed contour of a glyph, in font units times `scale`. An empty outline gives an empty
// contour; a malformed one (a cubic control without its partner) is read as far as it goes.
inline KLY_Contour ContourOfOutline(const host::OutlineContour& outline, double scale) {
  using namespace glyph_contours_detail;
  KLY_Contour contour;
  contour.SetClosed(true);
  if (outline.empty()) return contour;
  const std::vector<Point> walk = WalkFromStart(outline, scale);
  const size_t last = walk.size() - 1;  // the start again
  Vec3 pen = walk[0].at;
  AppendPoint(contour, pen, KLY_Contour::kCodeStart);
  size_t i = 1;
  while (i <= last) {
    const Point& p = walk[i];
    if (p.kind == OutlinePointKind::kOnCurve) {
      if (i < last) AppendPoint(contour, p.at, KLY_Contour::kCodeLine);
      pen = p.at;
      i += 1;
    } else if (p.kind == OutlinePointKind::kConic) {
      const bool impliedEnd = walk[i + 1].kind == OutlinePointKind::kConic;
      const Vec3 end = impliedEnd ? Mid(p.at, walk[i + 1].at) : walk[i + 1].at;
      AppendQuadratic(contour, pen, p.at, end);
      pen = end;
      i += impliedEnd ? 1 : 2;
    } else {
      if (i + 2 > last) break;
      AppendCubic(contour, p.at, walk[i + 1].at, walk[i + 2].at);
      pen = walk[i + 2].at;
      i += 3;
    }
  }
  return contour;
}

// Every contour of glyph `glyph` of `font`, in font units times `scale`.
inline std::vector<KLY_Contour> GlyphContours(const host::GlyphOutlines& font, int32_t glyph,
                                              double scale) {
  std::vector<KLY_Contour> contours;
  for (const host::OutlineContour& outline : font.Contours(glyph))
    contours.push_back(ContourOfOutline(outline, scale));
  return contours;
}

}  // namespace testing
}  // namespace kly
