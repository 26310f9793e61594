// Test helpers for letters and vector art: 2D matrices, scripted outline streams, a glyph
// playback that plays a script for any glyph and records each call, and host paths.
#pragma once

#include <memory>
#include <vector>

#include "kly/host/hbn_paths.h"
#include "kly/host/services.h"
#include "kly/text/letter.h"

namespace kly {
namespace testing {

// Rows (a, b, 0), (c, d, 0), (tx, ty, 1): (x, y) goes to (a x + c y + tx, b x + d y + ty).
inline ORT_Matrix3 Affine(double a, double b, double c, double d, double tx, double ty) {
  return {{{a, b, 0.0}, {c, d, 0.0}, {tx, ty, 1.0}}};
}
inline ORT_Matrix3 Identity3() {
  return Affine(1, 0, 0, 1, 0, 0);
}

// One call of an outline stream: 'R'eset, 'M'ove, 'L'ine, 'C'urve, 'Z' (close), 'F'inish.
struct OutlineStep {
  char op;
  double v[6];
};
using Outline = std::vector<OutlineStep>;

// Plays `outline`, each point moved by `m` as glyph playback moves it.
inline void PlayOutline(const Outline& outline, GLF_OutlinePlayer& player,
                        const ORT_Matrix3& m = Identity3()) {
  auto x = [&](const double* p) { return p[0] * m.m[0][0] + p[1] * m.m[1][0] + m.m[2][0]; };
  auto y = [&](const double* p) { return p[0] * m.m[0][1] + p[1] * m.m[1][1] + m.m[2][1]; };
  for (const OutlineStep& s : outline) {
    const double* v = s.v;
    if (s.op == 'R') player.Reset();
    if (s.op == 'M') player.MoveTo(x(v), y(v));
    if (s.op == 'L') player.LineTo(x(v), y(v));
    if (s.op == 'C') player.CurveTo(x(v), y(v), x(v + 2), y(v + 2), x(v + 4), y(v + 4));
    if (s.op == 'Z') player.ClosePath();
    if (s.op == 'F') player.Finish();
  }
}

// The square [0, 10]^2, counter-clockwise, closed and finished.
inline Outline SquareOutline() {
  return {{'M', {0, 0}}, {'L', {10, 0}}, {'L', {10, 10}}, {'L', {0, 10}}, {'Z', {}}, {'F', {}}};
}

// One call of glyph playback as the service saw it.
struct GlyphCall {
  int glyph;
  ORT_Matrix3 first, second;
  TYE::GlyphOrientation orientation;
  std::vector<float> values;
};

// Installs a glyph playback that plays `outline` for every glyph, moved by the first matrix
// (the second is the identity a letter passes), and records each call.
inline std::shared_ptr<std::vector<GlyphCall>> ScriptGlyphs(host::HostServices& services,
                                                            Outline outline = SquareOutline()) {
  auto calls = std::make_shared<std::vector<GlyphCall>>();
  services.play_char_outlines =
      [calls, outline](int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                       TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict&,
                       const std::vector<float>& values, GLF_OutlinePlayer& player) {
        calls->push_back({glyph, first, second, orientation, values});
        PlayOutline(outline, player, first);
      };
  return calls;
}

// A letter of whatever the installed playback plays for glyph 7.
inline KLY_Letter PlayedLetter(const ORT_Matrix3& glyphMatrix = Identity3(),
                               const ORT_Matrix3& postMatrix = Identity3(), bool extract = true) {
  return KLY_Letter(7, glyphMatrix, postMatrix, extract, TYE::kGlyphHorizontal,
                    HBN_T_NMT::CTPKFontDict(), {});
}

// A host path of open subpaths, each given as its corners x0, y0, x1, y1, ...
inline HBN_T_NMT::CGFKPath PolylinePath(const std::vector<std::vector<float>>& subpaths) {
  HBN_T_NMT::CPVKBezierPath path;
  for (const std::vector<float>& xy : subpaths)
    for (size_t i = 0; i + 1 < xy.size(); i += 2)
      path.Append(xy[i], xy[i + 1], i == 0 ? HBN_T_NMT::kPathMove : HBN_T_NMT::kPathLine);
  return HBN_T_NMT::CGFKPath(path);
}

// The square [0, 10]^2 as a host path.
inline HBN_T_NMT::CGFKPath SquarePath() {
  return PolylinePath({{0, 0, 10, 0, 10, 10, 0, 10}});
}

}  // namespace testing
}  // namespace kly
