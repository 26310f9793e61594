#include "cli/commands/cube_command.h"

#include <memory>

#include "cli/commands/solid_pipeline.h"
#include "cli/options/option_helpers.h"
#include "kly/solids/cube.h"

namespace kly {
namespace cli {

namespace {

// Face order of the library: z = -Z faces the viewer, y = -Y is the top.
const std::vector<std::string> kSlots = {"front", "back", "left", "right", "top", "bottom"};

struct CubeSettings {
  ORT_Vector3T<double> dimensions{1.0, 1.0, 1.0};
  uint32_t divisions = 4;
  SolidOptions options;
};

}  // namespace

void AddCubeCommand(CLI::App& app) {
  auto settings = std::make_shared<CubeSettings>();
  CLI::App* command = app.add_subcommand(
      "cube",
      "A box centred on the origin whose six faces are grids of quads; one material slot a "
      "face (front, back, left, right, top, bottom)");
  AddVectorOption(
      *command, "--dimensions", settings->dimensions,
      "Half extents: the box spans -X to X, -Y to Y and -Z to Z. A negative value mirrors "
      "the box, which turns it inside out",
      kFileFloats);
  AddCountOption(*command, "--divisions", settings->divisions, 1, 1000000,
                 "Quads along each edge of each face: 12*N*N triangles");
  AddSolidOptions(*command, settings->options, kSlots);
  command->callback([settings] {
    KLY_Cube cube;
    cube.SetDimensions(settings->dimensions);
    cube.SetDivisions(settings->divisions);
    const double n = settings->divisions;
    const SolidJob job{"cube", "cube (" + std::to_string(settings->divisions) + " divisions)",
                       kSlots, "--dimensions", 12.0 * n * n};
    RunSolid(cube, job, settings->options);
  });
}

}  // namespace cli
}  // namespace kly
