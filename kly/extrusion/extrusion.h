// A solid made from closed outlines: a front face at z = 0 looking along -Z, a back face at the
// total depth looking along +Z, and walls and bevels between them, each a bicubic patch spread
// over one cubic of an outline and one cubic of a bevel profile.
//
// Materials: 0 front face, 1 back face, 2 side wall, 3 bevel.
//
// A build appends to the mesh: nothing empties it first, so a caller that wants a fresh build
// calls ClearGeometry. A build rewrites the contours (every contour goes through the host's
// path offset service), so a second build offsets them once more.
//
// Failures leave Update as a thrown int32_t after a report: 22532 (0x5804) for a contour that
// fails TestContour, 22531 (0x5803) for a front face the engine cannot triangulate and for the
// contour's own BadContour / BadBezier failures (a bevel style outside 0..3 leaves an empty
// profile and fails with BadBezier), 4363 for a zero-length normal, 3 for a material index of
// 4 or more. After a failure `dirty` stays set, the working fields are empty, and the mesh
// keeps what was appended before the failure.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/curves/contour.h"
#include "kly/curves/cubic_bezier_patch.h"
#include "kly/mesh/mesh.h"

struct TessRecord;

class KLY_Extrusion : public KLY_Mesh {
 public:
  enum : int32_t { BevelNone = 0, BevelChamfer = 1, BevelConcave = 2, BevelConvex = 3 };
  enum : uint32_t { kFrontMaterial = 0, kBackMaterial = 1, kSideMaterial = 2, kBevelMaterial = 3 };
  static constexpr uint32_t kNumMaterials = 4;

  KLY_Extrusion();
  KLY_Extrusion(const KLY_Extrusion&) = default;
  KLY_Extrusion& operator=(const KLY_Extrusion&) = default;
  ~KLY_Extrusion() override;

  // Builds if dirty, then KLY_Mesh::Update, then clears dirty.
  void Update() override;

  // Recursion limits of the flattening along the outline (face) and along the bevel profile.
  // Stored as given; the contour cuts max to 10 when it uses them.
  void SetFaceGranularity(uint32_t min, uint32_t max);
  void GetFaceGranularity(uint32_t& min, uint32_t& max) const;
  void SetBevelGranularity(uint32_t min, uint32_t max);
  void GetBevelGranularity(uint32_t& min, uint32_t& max) const;

  // Smallest angle, in degrees, that the front and back faces' triangles should keep: above 0
  // the face is refined with points inside it (its outline's points stay as they are, so the
  // walls still meet it). 0, a negative value or NaN is stored as 0: the face has no points
  // but the outline's. The engine refuses 60 or more, and the build then fails as a face that
  // cannot be triangulated.
  void SetFaceQuality(double minAngleDegrees);
  void GetFaceQuality(double& out) const { out = faceQuality; }

  // Depths: a value at or below 0 (or NaN) is stored as 0.
  void SetExtrusionDepth(double depth);
  void GetExtrusionDepth(double& out) const { out = extrusionDepth; }
  void SetBevelDepth(double depth);
  void GetBevelDepth(double& out) const { out = bevelDepth; }
  void SetHoleBevelDepth(double depth);
  void GetHoleBevelDepth(double& out) const { out = holeBevelDepth; }

  void SetBevelStyle(int32_t style);
  void GetBevelStyle(int32_t& out) const { out = bevelStyle; }
  // Stored and copied; it has no effect on the geometry.
  void SetBevelDirection(uint32_t direction);
  void GetBevelDirection(uint32_t& out) const { out = bevelDirection; }
  // 1: holes are told by winding against the contour with the leftmost point; anything else:
  // by even-odd containment.
  void SetOrientationStyle(uint32_t style);
  void GetOrientationStyle(uint32_t& out) const { out = orientationStyle; }

  void PushContour(const KLY_Contour& contour);
  void GetNumContours(uint32_t& out) const { out = static_cast<uint32_t>(contours.size()); }
  void ClearContours();
  std::vector<KLY_Contour>::iterator beginContours() { return contours.begin(); }
  std::vector<KLY_Contour>::iterator endContours() { return contours.end(); }
  std::vector<KLY_Contour>::const_iterator beginContours() const { return contours.begin(); }
  std::vector<KLY_Contour>::const_iterator endContours() const { return contours.end(); }

  // Slots 0 to 3; any other index reports "invalid extrusion material index." and
  // throws 3. Neither sets dirty.
  void SetMaterial(int32_t index, const KLY_Material& material);
  void GetMaterial(int32_t index, KLY_Material& out) const;
  // Empties `out`, then appends every triangle of material `face`, in mesh order.
  void GetTrianglesForFace(int32_t face, std::vector<KLY_Triangle>& out) const;

 protected:
  // The pipeline: test, sort and offset the contours, flatten them, face meshes, walls.
  void BuildGeometry();

  // Contour preparation (contour_offset.cpp, contour_optimize.cpp, hole_bounds.cpp).
  void AdjustContoursForBeveling();
  bool IsHoleBound(int index, std::vector<std::vector<ORT_Vector3T<double>>>& polygons);
  void OffsetContour(const KLY_Contour& in, double distance, double limit, double tolerance,
                     KLY_Contour& out);
  void OptimizeContours();

  // Face meshes (faces.cpp).
  void BuildFrontMesh(KLY_Mesh& mesh);
  void BuildBackMesh(KLY_Mesh& mesh);

  // Bevel profiles and walls (bevel_curve.cpp, side_mesh.cpp).
  void BuildBevelCurve(bool forHoles);
  void BuildSideMesh(KLY_Mesh& mesh, uint32_t contourIndex, uint32_t curveIndex,
                     uint32_t profileIndex);
  void BuildPatchGeometry(uint32_t contourIndex, uint32_t curveIndex, uint32_t profileIndex,
                          tagCUBIC_PATCH_PTS& out);

  std::vector<KLY_Contour> contours;
  double extrusionDepth = 0.0;
  double bevelDepth = 0.0;
  int32_t bevelStyle = BevelNone;
  uint32_t bevelDirection = 0;
  uint32_t orientationStyle = 1;
  double holeBevelDepth = 0.0;
  uint32_t faceGranularityMin = 0;
  uint32_t faceGranularityMax = 10;
  uint32_t bevelGranularityMin = 0;
  uint32_t bevelGranularityMax = 10;
  double faceQuality = 0.0;

  // Working data of a build, empty outside one.
  std::vector<std::vector<ORT_Vector3T<double>>> polygons;      // flattened, per contour
  std::vector<std::vector<ORT_Vector3T<double>>> bezierChains;  // cubic chain, per contour
  std::vector<uint32_t> holeFlags;                              // 1 hole, 0 outer
  std::vector<uint32_t> orientationFlags;  // 1 counter-clockwise (signed area >= 0)
  std::vector<double> contourArcLengths;   // cumulative, of the contour being walled
  KLY_Contour bevelCurve;                  // profile of outer contours: (outset, 0, depth)
  KLY_Contour holeBevelCurve;              // profile of holes
  std::vector<double> bevelArcLengths;
  std::vector<double> holeBevelArcLengths;

 private:
  // Step 17 of the pipeline, and the clean-up after a failure.
  void ClearWorkingFields();
  // The engine's input from `polygons` and `holeFlags`: points, closed loops of segments and a
  // seed a hole, into arrays already sized.
  void FillEngineInput(TessRecord& in) const;
  // The engine's output as front-face vertices and triangles, UVs spanning the outline's box.
  void WriteFrontFace(const TessRecord& out, KLY_Mesh& mesh) const;
  // The contour walls, band by band, cubic by cubic, as BuildSideMesh makes each patch and
  // AppendTriangleMesh would append it: planned whole first, then written into arrays
  // reserved once (side_mesh.cpp).
  struct WallPlan;
  void BuildWalls();
  void PlanWalls(WallPlan& plan);
  // The patch of one contour cubic and one profile cubic set up for filling from its
  // `geometry` (texture ranges, granularity); returns its material, bevel or side wall.
  uint32_t PrepareSidePatch(tagCUBIC_PATCH_PTS& geometry, uint32_t contourIndex,
                            uint32_t curveIndex, uint32_t profileIndex,
                            KLY_CubicBezierPatch& patch);
  // Steps shared by AdjustContoursForBeveling and OptimizeContours: every contour closed and
  // flattened into `polygons`; then the results of three points or more put in place of the
  // contours' points and codes, and `polygons` emptied.
  void FlattenContours();
  void ReplaceContours(const std::vector<KLY_Contour>& results);
  // The host path clean-up of one contour, falling back to a copy of `in` as OffsetContour does.
  void ReworkContour(KLY_Contour& in, KLY_Contour& out);
  // The offset service's part of OffsetContour: fills `out` from the service's result for the
  // chain of cubics `chain`, or throws.
  void RunOffsetService(const std::vector<ORT_Vector3T<double>>& chain, double distance,
                        double limit, double tolerance, KLY_Contour& out);
};
