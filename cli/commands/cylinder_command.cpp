#include "cli/commands/cylinder_command.h"

#include <memory>

#include "cli/commands/solid_pipeline.h"
#include "cli/options/option_helpers.h"
#include "kly/solids/cylinder.h"

namespace kly {
namespace cli {

namespace {

const std::vector<std::string> kSlots = {"side", "caps"};

struct CylinderSettings {
  double top_radius = 1.0;
  double bottom_radius = 1.0;
  double height = 1.0;
  uint32_t radial_divisions = 8;
  uint32_t height_divisions = 1;
  double radial_power = 1.0;
  uint32_t petals = 1;
  double petal_amplitude = 0.0;
  double petal_power = 1.0;
  bool no_cap = false;
  SolidOptions options;
};

}  // namespace

void AddCylinderCommand(CLI::App& app) {
  auto settings = std::make_shared<CylinderSettings>();
  CLI::App* command = app.add_subcommand(
      "cylinder",
      "A tube standing on the origin along y, possibly tapered, whose cross-section is a circle, "
      "a superellipse or a petal shape; material slots: side, caps");
  AddNumberOption(*command, "--top-radius", settings->top_radius,
                  "Radius at the top end; below 1e-5 it is raised to 1e-5", kFileFloats);
  AddNumberOption(*command, "--bottom-radius", settings->bottom_radius,
                  "Radius at the bottom end; below 1e-5 it is raised to 1e-5", kFileFloats);
  AddNumberOption(*command, "--height", settings->height, "Length along y, centred on the origin",
                  kFileFloats);
  AddCountOption(*command, "--radial-divisions", settings->radial_divisions, 3, 100000000,
                 "Points around the cross-section");
  AddCountOption(*command, "--height-divisions", settings->height_divisions, 1, 100000000,
                 "Rings of quads along the height");
  AddNumberOption(*command, "--radial-power", settings->radial_power,
                  "Superellipse exponent of the cross-section: 1 is a circle, smaller values "
                  "square it off toward a square with rounded corners; used clamped to 0.1 .. 1");
  AddCountOption(*command, "--petals", settings->petals, 0, 100000000,
                 "Petals (ripple periods) around the cross-section; 0 is used as 1. Shows only "
                 "with a --petal-amplitude other than 0");
  AddNumberOption(*command, "--petal-amplitude", settings->petal_amplitude,
                  "Depth of the petal ripple as a share of the radius: 0 is none, negative "
                  "values swap petals and gaps; above 1 it is used as 1");
  AddNumberOption(*command, "--petal-power", settings->petal_power,
                  "Exponent of the petal ripple: 1 is a sine, smaller values make fuller, "
                  "flatter-topped petals; used clamped to 0.1 .. 1");
  command->add_flag("--no-cap", settings->no_cap,
                    "Leave both ends open. Default: closed by caps, which go through the "
                    "tessellation engine");
  AddSolidOptions(*command, settings->options, kSlots);
  command->callback([settings] {
    KLY_Cylinder cylinder;
    cylinder.SetTopRadius(settings->top_radius);
    cylinder.SetBottomRadius(settings->bottom_radius);
    cylinder.SetHeight(settings->height);
    cylinder.SetDivisions(settings->radial_divisions, settings->height_divisions);
    cylinder.SetRadialPower(settings->radial_power);
    cylinder.SetNumPedals(settings->petals);
    cylinder.SetPedalAmplitude(settings->petal_amplitude);
    cylinder.SetPedalPower(settings->petal_power);
    cylinder.SetCap(!settings->no_cap);
    const double n = settings->radial_divisions;
    const double m = settings->height_divisions;
    // The side has 2mn triangles; each cap some n more, with the points the engine may add.
    const double triangles = 2.0 * m * n + (settings->no_cap ? 0.0 : 4.0 * n);
    const SolidJob job{"cylinder",
                       "cylinder (" + std::to_string(settings->radial_divisions) + " x " +
                           std::to_string(settings->height_divisions) + " divisions)",
                       kSlots, "--top-radius, --bottom-radius or --height", triangles};
    RunSolid(cylinder, job, settings->options);
  });
}

}  // namespace cli
}  // namespace kly
