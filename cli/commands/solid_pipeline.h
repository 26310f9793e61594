// What every solid command does once its options are parsed: build the solid, apply the mesh
// options (subdivide, weld, split), and write the file or the two halves, all or nothing.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/options/solid_options.h"
#include "cli/writers/export_mesh.h"
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
  // The options that scale the solid ("--radius"), named when a position does not fit a file.
  std::string size_options;
  // Triangles the build will make, before any subdivision (0 when only the build can tell).
  double triangles;
  // Colours of the slots that --color does not name, one a slot; the rest are light grey.
  std::vector<Float3> slot_colors = {};
  // Named pieces over the slots, for formats that hold objects (export_mesh.h).
  std::vector<MeshPart> parts = {};
  // Lines for the user ("kly: warning: ..."), printed once the files are in place.
  std::vector<std::string> warnings = {};
};

// Runs the job on `solid`, whose parameters are set and which has not been updated yet. Every
// file is created before the build, so an unwritable path fails at once; all of them are
// encoded before any is renamed into place.
void RunSolid(KLY_Mesh& solid, const SolidJob& job, SolidOptions& options);

// As RunSolid, with `build` in place of the solid's Update: it leaves the built mesh in `mesh`.
void RunMeshJob(KLY_Mesh& mesh, const SolidJob& job, SolidOptions& options,
                const std::function<void()>& build);

}  // namespace cli
}  // namespace kly
