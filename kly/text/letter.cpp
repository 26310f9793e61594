#include "kly/text/letter.h"

#include "kly/package/failure.h"
#include "kly/text/contour_player.h"
#include "kly/text/placement.h"

using kly::text::ChoosePlacement;
using kly::text::HasVanishingRow;
using kly::text::Matrix4Of;
using kly::text::RowLength;

KLY_Letter::KLY_Letter(int glyph, const ORT_Matrix3& glyph_matrix, const ORT_Matrix3& post_matrix,
                       bool extract, TYE::GlyphOrientation orientation,
                       const HBN_T_NMT::CTPKFontDict& font, const std::vector<float>& values)
    : postMatrix(post_matrix), glyphMatrix(glyph_matrix) {
  ORT_Matrix3 identity;
  KLY_Check(ORT_SetIdentityMatrix(identity));
  geometry_type = KLY_kTypeLetter;
  if (!extract || HasVanishingRow(glyph_matrix)) return;
  ExtractContoursFromGlyph(glyph, glyph_matrix, identity, orientation, font, values);
}

KLY_Letter::~KLY_Letter() = default;

void KLY_Letter::Update() {
  KLY_Extrusion::Update();
}

bool KLY_Letter::IsRenderable(const ORT_Matrix3& matrix) const {
  // A NaN length fails both comparisons.
  return !contours.empty() && RowLength(matrix, 0) >= 1.0 && RowLength(matrix, 1) >= 1.0;
}

void KLY_Letter::GetPostMatrix(int32_t index, ORT_Matrix3& out) const {
  out = ChoosePlacement(index, postMatrices, postMatrix);
}

void KLY_Letter::PushPostMatrix(const ORT_Matrix3& matrix) {
  // push_back copies its argument before it reallocates, so `matrix` may lie in the stack.
  postMatrices.push_back(matrix);
}

KLY_Bounds KLY_Letter::RecomputeLocalBounds(const ORT_Matrix3& matrix) const {
  KLY_Bounds out;
  if (contours.empty()) return out;
  local_bounds.Transform(Matrix4Of(matrix), out);
  return out;
}

void KLY_Letter::CollapseArrayToSingleElement(KLY_Geometry* out) const {
  KLY_Mesh::CollapseArrayToSingleElement(out);
  KLY_Mesh& mesh = dynamic_cast<KLY_Mesh&>(*out);
  mesh.Transform(Matrix4Of(postMatrix), &mesh);
}

void KLY_Letter::ExtractContoursFromGlyph(int glyph, const ORT_Matrix3& matrix,
                                          const ORT_Matrix3& second,
                                          TYE::GlyphOrientation orientation,
                                          const HBN_T_NMT::CTPKFontDict& font,
                                          const std::vector<float>& values) {
  KLY_ContourPlayer player;
  GLF_PlayCharOutlines(glyph, matrix, second, orientation, font, values, player);
  std::vector<KLY_Contour> played;
  player.GetContours(played);
  // Not filtered: a degenerate contour reaches the extrusion, unlike in vector art.
  for (const KLY_Contour& contour : played) PushContour(contour);
}
