#include "cli/commands/plane_command.h"

#include <memory>

#include "cli/commands/solid_pipeline.h"
#include "cli/options/option_helpers.h"
#include "kly/solids/plane.h"

namespace kly {
namespace cli {

namespace {

struct PlaneSettings {
  ORT_Vector2T<double> dimensions{1.0, 1.0};
  uint32_t divisions_x = 4;
  uint32_t divisions_y = 4;
  double curvature = 0.0;
  std::string axis = "x";
  MeshOptions mesh;
};

}  // namespace

void AddPlaneCommand(CLI::App& app) {
  auto settings = std::make_shared<PlaneSettings>();
  CLI::App* command = app.add_subcommand(
      "plane",
      "A sheet with one corner at the origin, flat and facing the viewer, or bent into a "
      "circular arc that keeps its chord; it has no thickness");
  AddVectorOption(*command, "--dimensions", settings->dimensions,
                  "Width along x and height along y. The library's y runs down, so in the file "
                  "the sheet spans x 0 .. W and y 0 .. -H, hanging below the origin");
  AddCountOption(*command, "--divisions-x", settings->divisions_x, 1, 100000000,
                 "Quads along the width");
  AddCountOption(*command, "--divisions-y", settings->divisions_y, 1, 100000000,
                 "Quads along the height");
  AddNumberOption(*command, "--curvature", settings->curvature,
                  "Bend: 0 is flat, 1 or -1 a half cylinder; used clamped to -1 .. 1. Positive "
                  "values bulge away from the viewer, negative ones toward");
  command
      ->add_option("--curvature-axis", settings->axis,
                   "Axis the sheet bends along: x curls the width (the arc's axis runs along "
                   "y), y curls the height")
      ->check(
          [](const std::string& axis) {
            return axis == "x" || axis == "y" ? std::string() : "'" + axis + "' is not x or y";
          },
          "")
      ->type_name("x|y")
      ->default_str("x");
  AddMeshOptions(*command, settings->mesh);
  command->callback([settings] {
    KLY_Plane plane;
    plane.SetDimensions(settings->dimensions);
    plane.SetDivisionsX(settings->divisions_x);
    plane.SetDivisionsY(settings->divisions_y);
    plane.SetCurvature(settings->curvature);
    // The library's third axis value, a sphere section, builds nothing and is not offered.
    plane.SetCurvatureAxis(settings->axis == "x" ? 0 : 1);
    SolidJob job{"plane",
                 "plane (" + std::to_string(settings->divisions_x) + " x " +
                     std::to_string(settings->divisions_y) + " divisions)",
                 {"sheet"},
                 2.0 * settings->divisions_x * static_cast<double>(settings->divisions_y)};
    RunSolid(plane, job, settings->mesh);
  });
}

}  // namespace cli
}  // namespace kly
