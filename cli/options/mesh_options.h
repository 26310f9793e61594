// The options every solid command shares: where to write, and what to do to the mesh between
// its build and the file.
#pragma once

#include <cstdint>
#include <string>

#include <CLI/CLI.hpp>

#include "kly/host/ort.h"

namespace kly {
namespace cli {

struct MeshOptions {
  std::string output;
  // Each round splits every triangle in four (and welds the new midpoints).
  uint32_t subdivide_rounds = 0;
  bool weld = false;
  double weld_tolerance = 0.0;
  // Given in the file's frame (+Y up, +Z toward the viewer); `front` is its positive side.
  bool split = false;
  ORT_PlaneEq split_plane{0.0, 0.0, 0.0, 0.0};
  bool facet = false;
};

void AddMeshOptions(CLI::App& app, MeshOptions& options);

// The split plane in the library's frame (y down, z away from the viewer): the files map
// (x, y, z) to (x, -y, -z), so a plane a·x' + b·y' + c·z' + d of the file's coordinates is
// a·x - b·y - c·z + d of the library's.
ORT_PlaneEq LibraryPlane(const ORT_PlaneEq& file_plane);

}  // namespace cli
}  // namespace kly
