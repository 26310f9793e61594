// One path of vector artwork made solid: an extrusion whose contours come from the host's path
// playback, with the placements that put it in its layer and a z offset that keeps coplanar
// groups of artwork apart.
//
// The path is moved by the path matrix in the host (single precision) before it is played,
// once, in the constructor. Placements and the coplanar offset are no part of the mesh: they
// change without a rebuild, and ApplyPostMatrix3D, RecomputeLocalBounds and the collapse all
// put the offset in the same place, a translation along z after the placement.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/extrusion/extrusion.h"
#include "kly/host/hbn_paths.h"

class KLY_VectorArt : public KLY_Extrusion {
 public:
  // Transforms `path` by the first two columns of `pathMatrix` and pushes every contour
  // played; with `skipDegenerate`, contours that IsDegenerateContour finds degenerate are left
  // out. Nothing is played when the matrix is not visible (IsVectorArtVisible). A transform
  // that fails throws HBN_T_NMT::CHBNError.
  KLY_VectorArt(const HBN_T_NMT::CGFKPath& path, const ORT_Matrix3& pathMatrix,
                const ORT_Matrix3& postMatrix, bool skipDegenerate);
  KLY_VectorArt(const KLY_VectorArt&) = default;
  KLY_VectorArt& operator=(const KLY_VectorArt&) = default;
  ~KLY_VectorArt() override;

  void Update() override;

  // Whether there is a contour; the matrix is not looked at, unlike a letter's.
  bool IsRenderable(const ORT_Matrix3& matrix) const;
  // False when row 0 or row 1 of `matrix` is shorter than 0.0001.
  static bool IsVectorArtVisible(const ORT_Matrix3& matrix);

  // The placements, as a letter's (letter.h).
  void SetPostMatrix(const ORT_Matrix3& matrix) { postMatrix = matrix; }
  void GetPostMatrix(int32_t index, ORT_Matrix3& out) const;
  void PushPostMatrix(const ORT_Matrix3& matrix);
  void ClearPostMatrices() { postMatrices.clear(); }

  // `matrix` becomes matrix * placement `index` (GetPostMatrix's choice), then is translated
  // by the coplanar offset along z when the offset is not 0.
  void ApplyPostMatrix3D(int32_t index, ORT_Matrix4& matrix) const;
  // The local bounds of the last Update under `matrix` and the coplanar offset; empty without
  // contours.
  KLY_Bounds RecomputeLocalBounds(const ORT_Matrix3& matrix) const;
  // `out` (a KLY_Mesh) gets this mesh moved by postMatrix and the coplanar offset.
  void CollapseArrayToSingleElement(KLY_Geometry* out) const override;

  // Plain store and read; no rebuild.
  void SetCoplanarZOffset(float offset) { CoplanarZOffset = offset; }
  float GetCoplanarZOffset() const { return CoplanarZOffset; }
  void SetCoplanarGroupStart(bool start) { CoplanarGroupStart = start; }
  bool IsCoplanarGroupStart() const { return CoplanarGroupStart; }

 protected:
  ORT_Matrix3 postMatrix;
  std::vector<ORT_Matrix3> postMatrices;
  // Kept and copied with the object; nothing reads it after construction.
  ORT_Matrix3 pathMatrix;
  float CoplanarZOffset = 0.0f;
  bool CoplanarGroupStart = false;

 private:
  void ExtractContoursFromPath(const HBN_T_NMT::CGFKPath& path, const ORT_Matrix3& matrix,
                               bool skipDegenerate);
  // postMatrix or `matrix` as a 4x4 matrix, translated by the coplanar offset.
  ORT_Matrix4 OffsetPlacement(const ORT_Matrix3& matrix) const;
};
