// One glyph of a text layer made solid: an extrusion whose contours come from the host's glyph
// playback, with the placements that put it on its line.
//
// The glyph is played once, in the constructor, under the glyph matrix and the orientation;
// the points are extruded as playback hands them over. A new glyph or matrix means a new
// letter. Placements (postMatrix and the stack postMatrices) are no part of the mesh: they
// change without a rebuild and are applied by RecomputeLocalBounds and the collapse.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/extrusion/extrusion.h"
#include "kly/host/font_dict.h"
#include "kly/host/glyph_playback.h"

class KLY_Letter : public KLY_Extrusion {
 public:
  // Plays `glyph` of `font` under `glyphMatrix` and `orientation` (`values` pass through) and
  // pushes every contour played, degenerate ones included. Nothing is played when `extract`
  // is false, or when row 0 or row 1 of `glyphMatrix` is shorter than 0.0001: the letter then
  // holds its place without contours. What playback throws passes through.
  KLY_Letter(int glyph, const ORT_Matrix3& glyphMatrix, const ORT_Matrix3& postMatrix, bool extract,
             TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict& font,
             const std::vector<float>& values);
  KLY_Letter(const KLY_Letter&) = default;
  KLY_Letter& operator=(const KLY_Letter&) = default;
  ~KLY_Letter() override;

  void Update() override;

  // Contours, and rows 0 and 1 of `matrix` at least 1.0 long. Deliberately stricter than the
  // 0.0001 under which the constructor still plays the glyph.
  bool IsRenderable(const ORT_Matrix3& matrix) const;

  // Overwrites postMatrix; the stack and dirty stay.
  void SetPostMatrix(const ORT_Matrix3& matrix) { postMatrix = matrix; }
  // Element `index` of the stack; past its end (a negative index counts as past it) the last
  // element; with an empty stack, postMatrix.
  void GetPostMatrix(int32_t index, ORT_Matrix3& out) const;
  // `matrix` may be an element of the stack itself.
  void PushPostMatrix(const ORT_Matrix3& matrix);
  void ClearPostMatrices() { postMatrices.clear(); }

  // The local bounds of the last Update under `matrix`; empty without contours.
  KLY_Bounds RecomputeLocalBounds(const ORT_Matrix3& matrix) const;
  // `out` (a KLY_Mesh) gets this mesh moved by postMatrix; the stack is not used.
  void CollapseArrayToSingleElement(KLY_Geometry* out) const override;

 protected:
  ORT_Matrix3 postMatrix;
  std::vector<ORT_Matrix3> postMatrices;
  // Kept and copied with the letter; nothing reads it after construction.
  ORT_Matrix3 glyphMatrix;

 private:
  void ExtractContoursFromGlyph(int glyph, const ORT_Matrix3& matrix, const ORT_Matrix3& second,
                                TYE::GlyphOrientation orientation,
                                const HBN_T_NMT::CTPKFontDict& font,
                                const std::vector<float>& values);
};
