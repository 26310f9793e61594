// What every solid command does once its options are parsed: build the solid, apply the mesh
// options (subdivide, weld, split, facet), and write the file or the two halves.
#pragma once

#include <string>
#include <vector>

#include "cli/options/mesh_options.h"
#include "kly/mesh/mesh.h"

namespace kly {
namespace cli {

struct SolidJob {
  // The command's name, which also names the mesh in the file ("sphere").
  std::string name;
  // What the build is called while it runs ("sphere (10 subdivisions)").
  std::string label;
  // Names of the solid's material slots, in order.
  std::vector<std::string> slot_names;
  // Triangles the build will make, before any subdivision.
  double triangles;
};

// The most triangles a command builds, subdivisions included. The library holds 80 to 280 bytes
// a triangle (a sphere shares no vertex) and a file takes some 40 more on the way out, so this
// keeps a run to a few GB instead of letting the system's out-of-memory killer end it without a
// word. The sphere's own limit of 10 rounds, 10,485,760 triangles, fits.
constexpr double kMaxTriangles = 50e6;

// Runs the job on `solid`, whose parameters are set and which has not been updated yet. Files
// are created before the build, so an unwritable path fails at once.
void RunSolid(KLY_Mesh& solid, const SolidJob& job, const MeshOptions& options);

}  // namespace cli
}  // namespace kly
