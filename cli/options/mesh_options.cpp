#include "cli/options/mesh_options.h"

#include <stdexcept>
#include <vector>

#include "cli/options/number_parse.h"
#include "cli/options/option_helpers.h"
#include "cli/writers/mesh_writer.h"

namespace kly {
namespace cli {

void AddMeshOptions(CLI::App& app, MeshOptions& options) {
  app.add_option("-o,--output", options.output,
                 "File to write; its extension picks the format: .glb (glTF 2.0 binary), .obj, "
                 ".stl (binary) or .ply (binary)")
      ->required()
      ->type_name("PATH")
      ->check(
          [](const std::string& path) {
            try {
              FormatForPath(path);
            } catch (const std::invalid_argument& e) {
              return std::string(e.what());
            }
            return std::string();
          },
          "");
  AddParsedOption(
      app, "--weld",
      [&options](const std::string& text) {
        const double tolerance = ParseNumber(text);
        if (tolerance < 0.0) throw std::invalid_argument("a tolerance must not be negative");
        options.weld = true;
        options.weld_tolerance = tolerance;
      },
      "Merge vertices closer than TOL on every axis (at least 1e-6). Only positions count: the "
      "first vertex of a cluster keeps its normal and UV, so texture seams and hard edges "
      "are lost. Default: no welding")
      ->type_name("TOL");
  app.add_flag("--subdivide", options.subdivide_rounds,
               "Split every triangle in four at its edge midpoints, then weld them; repeat the "
               "flag for more rounds. Default: none");
  AddParsedOption(
      app, "--split",
      [&options](const std::string& text) {
        const std::vector<double> v = ParseVector(text, 4);
        if (v[0] == 0.0 && v[1] == 0.0 && v[2] == 0.0) {
          throw std::invalid_argument("the plane's normal A,B,C must not be zero");
        }
        options.split = true;
        options.split_plane = ORT_PlaneEq{v[0], v[1], v[2], v[3]};
      },
      "Cut by the plane A*x + B*y + C*z + D = 0 (file coordinates: +Y up, +Z toward the viewer) "
      "and write NAME.front.EXT (where it is positive) and NAME.back.EXT. Default: no split")
      ->type_name("A,B,C,D");
  app.add_flag("--facet", options.facet,
               "Shade flat: every triangle gets its own corners with its face normal. Default: "
               "smooth, with the solid's vertex normals");
}

ORT_PlaneEq LibraryPlane(const ORT_PlaneEq& file_plane) {
  return ORT_PlaneEq{file_plane.a, -file_plane.b, -file_plane.c, file_plane.d};
}

}  // namespace cli
}  // namespace kly
