#include "cli/commands/plane_command.h"

#include <cmath>
#include <memory>

#include "cli/commands/solid_pipeline.h"
#include "cli/options/option_helpers.h"
#include "kly/solids/plane.h"

namespace kly {
namespace cli {

namespace {

const std::vector<std::string> kSlots = {"sheet"};

// The library bends a sheet whose bent side is W long along a circle of radius
// R = W / (2·|curvature|), through R·R: below a curvature of about W·4e-155 the square overflows
// and every point becomes infinite. The bend moves the sheet's middle by about W·|curvature| / 4,
// so below this threshold by less than W / 4e9, far below the W / 1.7e7 that the file's 32-bit
// floats resolve at the sheet's size (the library's own rounding, about R·1e-16, is as small):
// such a sheet is built flat. Above it R is at most 1.7e47 for any size a file holds.
constexpr double kFlatCurvature = 1e-9;

struct PlaneSettings {
  ORT_Vector2T<double> dimensions{1.0, 1.0};
  uint32_t divisions_x = 4;
  uint32_t divisions_y = 4;
  double curvature = 0.0;
  std::string axis = "x";
  SolidOptions options;
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
                  "the sheet spans x 0 .. W and y 0 .. -H, hanging below the origin",
                  kFileFloats);
  AddCountOption(*command, "--divisions-x", settings->divisions_x, 1, 100000000,
                 "Quads along the width");
  AddCountOption(*command, "--divisions-y", settings->divisions_y, 1, 100000000,
                 "Quads along the height");
  AddNumberOption(*command, "--curvature", settings->curvature,
                  "Bend: 0 is flat, 1 or -1 a half cylinder; used clamped to -1 .. 1. Positive "
                  "values bulge away from the viewer, negative ones toward. Values smaller "
                  "than 1e-9 in size are built flat: their bend is below a file's precision");
  AddChoiceOption(*command, "--curvature-axis", settings->axis, {"x", "y"},
                  "Axis the sheet bends along: x curls the width (the arc's axis runs along "
                  "y), y curls the height");
  AddSolidOptions(*command, settings->options, kSlots);
  command->callback([settings] {
    KLY_Plane plane;
    plane.SetDimensions(settings->dimensions);
    plane.SetDivisionsX(settings->divisions_x);
    plane.SetDivisionsY(settings->divisions_y);
    const double curvature = settings->curvature;
    plane.SetCurvature(std::fabs(curvature) < kFlatCurvature ? 0.0 : curvature);
    // The library's third axis value, a sphere section, builds nothing and is not offered.
    plane.SetCurvatureAxis(settings->axis == "x" ? 0 : 1);
    const SolidJob job{"plane",
                       "plane (" + std::to_string(settings->divisions_x) + " x " +
                           std::to_string(settings->divisions_y) + " divisions)",
                       kSlots, "--dimensions",
                       2.0 * settings->divisions_x * static_cast<double>(settings->divisions_y)};
    RunSolid(plane, job, settings->options);
  });
}

}  // namespace cli
}  // namespace kly
