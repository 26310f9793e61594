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

// One step of an outline stream, with its coordinates.
struct OutlineStep {
  enum Kind { kReset, kMove, kLine, kCurve, kClose, kFinish } kind;
  std::vector<double> values;
};
using Outline = std::vector<OutlineStep>;

// Plays `outline` on `player`, each point (x, y) moved by `matrix` as glyph playback moves it.
inline void PlayOutline(const Outline& outline, GLF_OutlinePlayer& player,
                        const ORT_Matrix3& matrix = Identity3()) {
  const auto& m = matrix.m;
  auto x = [&](const std::vector<double>& v, int i) {
    return v[i] * m[0][0] + v[i + 1] * m[1][0] + m[2][0];
  };
  auto y = [&](const std::vector<double>& v, int i) {
    return v[i] * m[0][1] + v[i + 1] * m[1][1] + m[2][1];
  };
  for (const OutlineStep& s : outline) {
    const std::vector<double>& v = s.values;
    switch (s.kind) {
      case OutlineStep::kReset:
        player.Reset();
        break;
      case OutlineStep::kMove:
        player.MoveTo(x(v, 0), y(v, 0));
        break;
      case OutlineStep::kLine:
        player.LineTo(x(v, 0), y(v, 0));
        break;
      case OutlineStep::kCurve:
        player.CurveTo(x(v, 0), y(v, 0), x(v, 2), y(v, 2), x(v, 4), y(v, 4));
        break;
      case OutlineStep::kClose:
        player.ClosePath();
        break;
      case OutlineStep::kFinish:
        player.Finish();
        break;
    }
  }
}

// The square [x0, x0 + side] x [y0, y0 + side], counter-clockwise, closed and finished.
inline Outline SquareOutline(double x0, double y0, double side) {
  const double x1 = x0 + side, y1 = y0 + side;
  return {{OutlineStep::kMove, {x0, y0}}, {OutlineStep::kLine, {x1, y0}},
          {OutlineStep::kLine, {x1, y1}}, {OutlineStep::kLine, {x0, y1}},
          {OutlineStep::kClose, {}},      {OutlineStep::kFinish, {}}};
}

// One call of glyph playback as the service saw it.
struct GlyphCall {
  int glyph;
  ORT_Matrix3 first, second;
  TYE::GlyphOrientation orientation;
  std::vector<float> values;
};

// Plays `outline` for every glyph, moved by the first matrix (the second is the identity a
// letter passes), and records each call.
class ScriptedGlyphs {
 public:
  explicit ScriptedGlyphs(Outline outline) : outline_(std::move(outline)) {}
  void InstallIn(host::HostServices& services) const {
    auto calls = calls_;
    auto outline = outline_;
    services.play_char_outlines =
        [calls, outline](int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                         TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict&,
                         const std::vector<float>& values, GLF_OutlinePlayer& player) {
          calls->push_back({glyph, first, second, orientation, values});
          PlayOutline(outline, player, first);
        };
  }
  const std::vector<GlyphCall>& calls() const { return *calls_; }

 private:
  std::shared_ptr<std::vector<GlyphCall>> calls_ = std::make_shared<std::vector<GlyphCall>>();
  Outline outline_;
};

// A letter of whatever the installed playback plays for glyph 7, under `glyphMatrix`.
inline KLY_Letter PlayedLetter(const ORT_Matrix3& glyphMatrix = Identity3(),
                               const ORT_Matrix3& postMatrix = Identity3(), bool extract = true) {
  return KLY_Letter(7, glyphMatrix, postMatrix, extract, TYE::kGlyphHorizontal,
                    HBN_T_NMT::CTPKFontDict(), {});
}

// A host path of subpaths given as (x, y) corners: a move, then lines, left open.
inline HBN_T_NMT::CGFKPath PolylinePath(const std::vector<std::vector<float>>& subpaths) {
  HBN_T_NMT::CPVKBezierPath path;
  for (const std::vector<float>& xy : subpaths)
    for (size_t i = 0; i + 1 < xy.size(); i += 2)
      path.Append(xy[i], xy[i + 1], i == 0 ? HBN_T_NMT::kPathMove : HBN_T_NMT::kPathLine);
  return HBN_T_NMT::CGFKPath(path);
}

}  // namespace testing
}  // namespace kly
