// An independent check of an extruded solid: the caps at their depths, covering the outline's
// area, materials by slot, unit normals, and walls that face out of the solid. It reads the
// mesh and the contours the build left, and works everything out itself; of the library it
// calls only KLY_Contour::PolygonalApprox, the flattening the caps are made from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kly/curves/contour.h"
#include "kly/mesh/mesh.h"

namespace kly {
namespace testing {

// What the parameters of a build promise, worked out by the caller from the rules.
struct SolidExpectation {
  double backDepth = 0.0;      // z of every back-face vertex: the total depth
  double holeWallDepth = 0.0;  // how deep the walls of holes reach
  bool bevels = false;         // triangles of material 3 occur, and none may otherwise
  bool straightWalls = false;  // triangles of material 2 occur, and none may otherwise
  double largestOutset = 0.0;  // the farthest a bevel profile stands out of its outline
  uint32_t faceGranularityMin = 0;
  uint32_t faceGranularityMax = 10;
};

struct SolidFindings {
  std::vector<std::string> faults;  // broken invariants, one line each
  // The front face's area differs from the outline's, and the contours cross, touch or run
  // over each other or themselves: the area the outline encloses is then not the sum of its
  // windings.
  bool crossingOutlines = false;
  // The front face's area differs from the outline's, and a hole holds an island (a contour
  // nested two deep): a hole is carved from one seed point inside it, which may fall in the
  // island, so that the island is carved instead of the hole.
  bool islandInHole = false;
  // Wall triangles straddling a fold, where a bevel wider than a concave curve's radius turns
  // the patch over: their corners' normals disagree about the side the triangle faces, or
  // turn by a right angle or more between two corners.
  uint32_t foldTriangles = 0;
  // Wall triangles facing against all their corners' normals, which the surface does not turn
  // by a right angle between: allowed only inside folds, fewer than the fold's triangles.
  uint32_t againstTriangles = 0;
  // Corners of wall triangles whose normal is the patch's stand-in (0, 0, -1) for a point
  // where the surface has no normal of its own; they are left out of the facing test.
  uint32_t standInNormals = 0;
  double frontArea = 0.0;    // sum of the front triangles' areas
  double outlineArea = 0.0;  // area enclosed by the flattened contours
  double perimeter = 0.0;    // length of the flattened contours
  double volume = 0.0;       // by the divergence theorem over every triangle
  // The bounds the volume was held to, when the outline's area is defined.
  double volumeLowest = 0.0;
  double volumeHighest = 0.0;
};

SolidFindings CheckSolid(const KLY_Mesh& mesh, const std::vector<KLY_Contour>& contours,
                         const SolidExpectation& expected);

}  // namespace testing
}  // namespace kly
