#include "cli/options/mesh_options.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "cli/options/number_parse.h"
#include "cli/options/option_helpers.h"

namespace kly {
namespace cli {

namespace {

// 4^n is 2^(2n).
static_assert(static_cast<double>(uint64_t{1} << (2 * kMaxSubdivideRounds)) <= kMaxTriangles &&
                  static_cast<double>(uint64_t{1} << (2 * kMaxSubdivideRounds + 2)) > kMaxTriangles,
              "one more round passes the triangle limit even for a single triangle");

void AddSubdivide(CLI::App& app, MeshOptions& options) {
  const std::string expected =
      "a whole number of rounds from 0 to " + std::to_string(kMaxSubdivideRounds) + " in all";
  AddOptionalValueOption(
      app, "--subdivide", expected, "1",
      [&options](const std::string& text) {
        const uint32_t rounds = ParseCount(text, 0, kMaxSubdivideRounds);
        if (options.subdivide_rounds + rounds > kMaxSubdivideRounds) {
          throw std::invalid_argument(std::to_string(options.subdivide_rounds + rounds) +
                                      " rounds in all are too many");
        }
        options.subdivide_rounds += rounds;
      },
      "[=N]",
      "Split every triangle in four at its edge midpoints, then weld them; N rounds (1 without "
      "a value), repeated occurrences adding up, at most " +
          std::to_string(kMaxSubdivideRounds) + " in all. Default: none");
}

void AddWeld(CLI::App& app, MeshOptions& options) {
  const NumberRange tolerances{kLeastWeldTolerance, NumberRange().most};
  AddParsedOption(
      app, "--weld", "a number" + RangeText(tolerances),
      [&options, tolerances](const std::string& text) {
        options.weld_tolerance = ParseNumber(text, tolerances);
        options.weld = true;
      },
      "Merge vertices closer than TOL on every axis; TOL is at least 1e-6, the library's least. "
      "Only positions count: the first vertex of a cluster keeps its normal and UV, so texture "
      "seams and hard edges are lost. Default: no welding")
      ->type_name("TOL");
}

void AddSplit(CLI::App& app, MeshOptions& options) {
  AddParsedOption(
      app, "--split", "4 numbers separated by commas, A, B and C not all zero",
      [&options](const std::string& text) {
        const std::vector<double> v = ParseVector(text, 4);
        if (v[0] == 0.0 && v[1] == 0.0 && v[2] == 0.0) {
          throw std::invalid_argument("the plane's normal A,B,C is zero");
        }
        options.split = true;
        options.split_plane = ORT_PlaneEq{v[0], v[1], v[2], v[3]};
      },
      "Cut by the plane A*x + B*y + C*z + D = 0 (file coordinates: +Y up, +Z toward the viewer) "
      "and write NAME.front.EXT (where it is positive) and NAME.back.EXT. Default: no split")
      ->type_name("A,B,C,D");
}

}  // namespace

void AddMeshOptions(CLI::App& app, MeshOptions& options) {
  AddSubdivide(app, options);
  AddWeld(app, options);
  AddSplit(app, options);
}

ORT_PlaneEq LibraryPlane(const ORT_PlaneEq& file_plane) {
  return ORT_PlaneEq{file_plane.a, -file_plane.b, -file_plane.c, file_plane.d};
}

}  // namespace cli
}  // namespace kly
