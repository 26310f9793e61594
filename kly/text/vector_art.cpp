#include "kly/text/vector_art.h"

#include <memory>
#include <string>

#include "kly/host/path_playback.h"
#include "kly/package/failure.h"
#include "kly/text/placement.h"
#include "kly/text/vector_art_player.h"

using kly::text::ChoosePlacement;
using kly::text::HasVanishingRow;
using kly::text::Matrix4Of;
using kly::text::TranslateByZOffset;

KLY_VectorArt::KLY_VectorArt(const HBN_T_NMT::CGFKPath& path, const ORT_Matrix3& path_matrix,
                             const ORT_Matrix3& post_matrix, bool skip_degenerate)
    : postMatrix(post_matrix), pathMatrix(path_matrix) {
  geometry_type = KLY_kTypeVectorArt;
  if (!IsVectorArtVisible(path_matrix)) return;
  ExtractContoursFromPath(path, path_matrix, skip_degenerate);
}

KLY_VectorArt::~KLY_VectorArt() = default;

void KLY_VectorArt::Update() {
  KLY_Extrusion::Update();
}

bool KLY_VectorArt::IsRenderable(const ORT_Matrix3&) const {
  return !contours.empty();
}

bool KLY_VectorArt::IsVectorArtVisible(const ORT_Matrix3& matrix) {
  return !HasVanishingRow(matrix);
}

void KLY_VectorArt::GetPostMatrix(int32_t index, ORT_Matrix3& out) const {
  out = ChoosePlacement(index, postMatrices, postMatrix);
}

void KLY_VectorArt::PushPostMatrix(const ORT_Matrix3& matrix) {
  // push_back copies its argument before it reallocates, so `matrix` may lie in the stack.
  postMatrices.push_back(matrix);
}

void KLY_VectorArt::ApplyPostMatrix3D(int32_t index, ORT_Matrix4& matrix) const {
  const ORT_Matrix4 placement = Matrix4Of(ChoosePlacement(index, postMatrices, postMatrix));
  KLY_Check(ORT_ConcatMatrix4(matrix, placement, matrix));
  TranslateByZOffset(CoplanarZOffset, matrix);
}

KLY_Bounds KLY_VectorArt::RecomputeLocalBounds(const ORT_Matrix3& matrix) const {
  KLY_Bounds out;
  if (contours.empty()) return out;
  local_bounds.Transform(OffsetPlacement(matrix), out);
  return out;
}

void KLY_VectorArt::CollapseArrayToSingleElement(KLY_Geometry* out) const {
  KLY_Mesh::CollapseArrayToSingleElement(out);
  KLY_Mesh& mesh = dynamic_cast<KLY_Mesh&>(*out);
  mesh.Transform(OffsetPlacement(postMatrix), &mesh);
}

ORT_Matrix4 KLY_VectorArt::OffsetPlacement(const ORT_Matrix3& matrix) const {
  ORT_Matrix4 placed = Matrix4Of(matrix);
  TranslateByZOffset(CoplanarZOffset, placed);
  return placed;
}

void KLY_VectorArt::ExtractContoursFromPath(const HBN_T_NMT::CGFKPath& path,
                                            const ORT_Matrix3& matrix, bool skip_degenerate) {
  KLY_VectorArtPlayer player;
  // The path service works in single precision: the first two columns of the three rows.
  const float affine[6] = {static_cast<float>(matrix.m[0][0]), static_cast<float>(matrix.m[0][1]),
                           static_cast<float>(matrix.m[1][0]), static_cast<float>(matrix.m[1][1]),
                           static_cast<float>(matrix.m[2][0]), static_cast<float>(matrix.m[2][1])};
  std::unique_ptr<HBN_T_NMT::CGFKPath> moved;
  const int32_t status = path.Transform(affine, moved);
  if (status != 0 || moved == nullptr) {
    throw HBN_T_NMT::CHBNError("the path could not be transformed for extrusion (status " +
                               std::to_string(status) + ")");
  }
  PLB_PlayOutlines(*moved, player);
  std::vector<KLY_Contour> played;
  player.GetContours(played);
  for (KLY_Contour& contour : played) {
    if (skip_degenerate && contour.IsDegenerateContour()) continue;
    PushContour(contour);
  }
}
