// The walls: one bicubic patch for each pair of a contour cubic and a profile cubic, laid band
// by band, cubic by cubic, into the solid's own arrays.
#include <cstdint>
#include <exception>
#include <stdexcept>
#include <vector>

#include "kly/curves/cubic_bezier_patch.h"
#include "kly/extrusion/extrusion.h"
#include "kly/extrusion/patch_frame.h"

namespace {

using Vec3 = ORT_Vector3T<double>;
using kly::extrusion::MakePatchFrame;
using kly::extrusion::PatchFrame;
using kly::extrusion::SpreadPatchFrame;

constexpr double kNoDepth = 1e-6;
// A straight wall always gets three levels across the depth.
constexpr uint32_t kWallLevels = 3;

template <class T>
const T& Checked(const std::vector<T>& list, size_t index) {
  if (index >= list.size()) throw std::out_of_range("invalid vector<T> subscript");
  return list[index];
}

}  // namespace

// Every patch of the walls in mesh order with its grid, worked out before anything is written
// so that the solid's arrays are sized once.
struct KLY_Extrusion::WallPlan {
  struct Patch {
    KLY_CubicBezierPatch patch;
    uint32_t material;
    size_t firstParameter;  // nu u parameters, then nv v parameters, in `parameters`
    uint32_t nu;
    uint32_t nv;
  };
  std::vector<Patch> patches;
  std::vector<size_t> bandEnds;  // where each complete band's patches end
  std::vector<double> parameters;
  uint64_t vertices = 0;  // the mesh's own counts included
  uint64_t triangles = 0;
};

void KLY_Extrusion::BuildPatchGeometry(uint32_t contourIndex, uint32_t curveIndex,
                                       uint32_t profileIndex, tagCUBIC_PATCH_PTS& out) {
  const PatchFrame frame = MakePatchFrame(Checked(bezierChains, contourIndex), curveIndex);
  KLY_Contour& profile = Checked(holeFlags, contourIndex) == 1 ? holeBevelCurve : bevelCurve;
  SpreadPatchFrame(frame, profile, profileIndex, out);
}

uint32_t KLY_Extrusion::PrepareSidePatch(tagCUBIC_PATCH_PTS& geometry, uint32_t contourIndex,
                                         uint32_t curveIndex, uint32_t profileIndex,
                                         KLY_CubicBezierPatch& patch) {
  patch.SetCubicGeometry(geometry);

  // Texture coordinates: u once around the contour, v from the front to the back.
  const auto span = [](const std::vector<double>& lengths, uint32_t index, double& scale,
                       double& offset) {
    const double total = Checked(lengths, lengths.size() - 1);
    const double start = index == 0 ? 0.0 : Checked(lengths, index - 1);
    scale = (Checked(lengths, index) - start) / total;
    offset = start / total;
  };
  double scale = 0.0;
  double offset = 0.0;
  span(contourArcLengths, curveIndex, scale, offset);
  patch.SetUScaleOffset(scale, offset);
  const bool hole = Checked(holeFlags, contourIndex) == 1;
  const std::vector<double>& profileLengths = hole ? holeBevelArcLengths : bevelArcLengths;
  span(profileLengths, profileIndex, scale, offset);
  patch.SetVScaleOffset(scale, offset);

  const bool bevelled = bevelStyle != BevelNone && (!hole || !(holeBevelDepth < kNoDepth));
  const bool bevelBand =
      bevelled && (profileIndex == 0 || profileIndex + 1 == profileLengths.size());
  if (bevelBand) {
    patch.SetGranularity(faceGranularityMin, faceGranularityMax, bevelGranularityMin,
                         bevelGranularityMax);
    return kBevelMaterial;
  }
  patch.SetGranularity(faceGranularityMin, faceGranularityMax, kWallLevels, kWallLevels);
  return kSideMaterial;
}

void KLY_Extrusion::BuildSideMesh(KLY_Mesh& mesh, uint32_t contourIndex, uint32_t curveIndex,
                                  uint32_t profileIndex) {
  tagCUBIC_PATCH_PTS geometry;
  BuildPatchGeometry(contourIndex, curveIndex, profileIndex, geometry);
  KLY_CubicBezierPatch patch;
  const uint32_t material =
      PrepareSidePatch(geometry, contourIndex, curveIndex, profileIndex, patch);
  uint32_t vertexCount = 0;
  uint32_t triangleCount = 0;
  std::vector<double> uParameters;
  std::vector<double> vParameters;
  patch.GetAdaptiveMeshSize(vertexCount, triangleCount, uParameters, vParameters);
  mesh.SetSize(vertexCount, triangleCount);
  patch.FillMesh(mesh, material);
}

void KLY_Extrusion::PlanWalls(WallPlan& plan) {
  std::vector<Vec3> outerProfile;
  std::vector<Vec3> holeProfile;
  bevelCurve.PureBezier(outerProfile);
  holeBevelCurve.PureBezier(holeProfile);
  bevelCurve.GetBezierArcLength(outerProfile, bevelArcLengths);
  holeBevelCurve.GetBezierArcLength(holeProfile, holeBevelArcLengths);

  // Room for every patch at once: a patch is large, and growing the list copied each of them.
  size_t patchCount = 0;
  for (uint32_t i = 0; i < contours.size(); ++i)
    patchCount +=
        (holeFlags[i] == 1 ? holeProfile : outerProfile).size() / 3 * (bezierChains[i].size() / 3);
  plan.patches.reserve(patchCount);

  std::vector<double> uParameters;
  std::vector<double> vParameters;
  std::vector<PatchFrame> frames;
  for (uint32_t i = 0; i < contours.size(); ++i) {
    const bool hole = holeFlags[i] == 1;
    const uint32_t bands = static_cast<uint32_t>((hole ? holeProfile : outerProfile).size() / 3);
    KLY_Contour& profile = hole ? holeBevelCurve : bevelCurve;
    contours[i].GetBezierArcLength(bezierChains[i], contourArcLengths);
    const uint32_t cubics = static_cast<uint32_t>(bezierChains[i].size() / 3);
    // Each cubic's frame is made in the first band (where a failing one stops the walls, as a
    // band's first patch would) and shared by the others.
    frames.clear();
    for (uint32_t b = 0; b < bands; ++b) {
      for (uint32_t s = 0; s < cubics; ++s) {
        if (b == 0) frames.push_back(MakePatchFrame(bezierChains[i], s));
        WallPlan::Patch planned;
        tagCUBIC_PATCH_PTS geometry;
        SpreadPatchFrame(frames[s], profile, b, geometry);
        planned.material = PrepareSidePatch(geometry, i, s, b, planned.patch);
        uint32_t vertexCount = 0;
        uint32_t triangleCount = 0;
        planned.patch.GetAdaptiveMeshSize(vertexCount, triangleCount, uParameters, vParameters);
        if (plan.vertices + vertexCount > UINT32_MAX ||
            plan.triangles + triangleCount > UINT32_MAX) {
          throw std::length_error("mesh larger than 32-bit counts");
        }
        plan.vertices += vertexCount;
        plan.triangles += triangleCount;
        planned.firstParameter = plan.parameters.size();
        planned.nu = static_cast<uint32_t>(uParameters.size());
        planned.nv = static_cast<uint32_t>(vParameters.size());
        plan.parameters.insert(plan.parameters.end(), uParameters.begin(), uParameters.end());
        plan.parameters.insert(plan.parameters.end(), vParameters.begin(), vParameters.end());
        plan.patches.push_back(planned);
      }
      plan.bandEnds.push_back(plan.patches.size());
    }
  }
}

void KLY_Extrusion::BuildWalls() {
  BuildBevelCurve(false);
  BuildBevelCurve(true);
  WallPlan plan;
  plan.vertices = GetNumVertices();
  plan.triangles = GetNumTriangles();
  // A failure while planning still lets the bands before it be written, as a build that wrote
  // each band as it went would have; the band it stopped in is written too, so that a failure
  // of its grids comes first, and then taken away.
  std::exception_ptr planFailure;
  try {
    PlanWalls(plan);
  } catch (...) {
    planFailure = std::current_exception();
  }
  if (planFailure) plan.bandEnds.push_back(plan.patches.size());
  Reserve(static_cast<uint32_t>(plan.vertices), static_cast<uint32_t>(plan.triangles));

  size_t first = 0;
  uint32_t keptVertices = GetNumVertices();
  uint32_t keptTriangles = GetNumTriangles();
  for (const size_t end : plan.bandEnds) {
    // A band is kept whole or not at all, so a failure leaves only complete bands behind.
    keptVertices = GetNumVertices();
    keptTriangles = GetNumTriangles();
    try {
      for (size_t k = first; k < end; ++k) {
        WallPlan::Patch& planned = plan.patches[k];
        const double* u = plan.parameters.data() + planned.firstParameter;
        planned.patch.AppendGrid(*this, planned.material, u, planned.nu, u + planned.nu,
                                 planned.nv);
      }
    } catch (...) {
      SetSize(keptVertices, keptTriangles);
      throw;
    }
    first = end;
  }
  if (planFailure) {
    SetSize(keptVertices, keptTriangles);
    std::rethrow_exception(planFailure);
  }
}
