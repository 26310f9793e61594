// The options that change the mesh between its build and the file: subdivide, weld, split.
#pragma once

#include <cstdint>

#include <CLI/CLI.hpp>

#include "kly/host/ort.h"

namespace kly {
namespace cli {

// The most triangles a command builds, subdivisions included. The library holds 80 to 280 bytes
// a triangle (a sphere shares no vertex) and a file takes some 40 more on the way out, so this
// keeps a run to a few GB instead of letting the system's out-of-memory killer end it without a
// word. The sphere's own limit of 10 rounds, 10,485,760 triangles, fits.
constexpr double kMaxTriangles = 50e6;

// Subdivision makes four triangles of one, so a mesh of a single triangle passes the limit after
// 13 rounds (4^13 = 67,108,864): more can never be built.
constexpr uint32_t kMaxSubdivideRounds = 12;

// The library welds with a box of at least 1e-6; a smaller tolerance would not do what it says,
// so it is refused.
constexpr double kLeastWeldTolerance = 1e-6;

struct MeshOptions {
  // Each round splits every triangle in four (and welds the new midpoints).
  uint32_t subdivide_rounds = 0;
  bool weld = false;
  double weld_tolerance = 0.0;
  // Given in the file's frame (+Y up, +Z toward the viewer); `front` is its positive side.
  bool split = false;
  ORT_PlaneEq split_plane{0.0, 0.0, 0.0, 0.0};
};

void AddMeshOptions(CLI::App& app, MeshOptions& options);

// The split plane in the library's frame (y down, z away from the viewer): the files map
// (x, y, z) to (x, -y, -z), so a plane a·x' + b·y' + c·z' + d of the file's coordinates is
// a·x - b·y - c·z + d of the library's.
ORT_PlaneEq LibraryPlane(const ORT_PlaneEq& file_plane);

}  // namespace cli
}  // namespace kly
