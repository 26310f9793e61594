#include "cli/commands/sphere_command.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "cli/commands/solid_pipeline.h"
#include "cli/options/option_helpers.h"
#include "kly/solids/sphere.h"

namespace kly {
namespace cli {

namespace {

const std::vector<std::string> kSlots = {"surface"};

struct SphereSettings {
  ORT_Vector3T<double> radius{1.0, 1.0, 1.0};
  ORT_Vector3T<double> power{1.0, 1.0, 1.0};
  uint32_t subdivisions = 3;
  SolidOptions options;
};

}  // namespace

void AddSphereCommand(CLI::App& app) {
  auto settings = std::make_shared<SphereSettings>();
  CLI::App* command = app.add_subcommand(
      "sphere",
      "An ellipsoid centred on the origin, or a superquadric (a rounded box) through --power; "
      "built by splitting an octahedron, so its triangles are nearly even");
  AddVectorOption(
      *command, "--radius", settings->radius,
      "Radii along x, y and z. A negative radius mirrors the solid, which turns it inside "
      "out; a zero radius flattens it, and its normals then come from its faces",
      kFileFloats);
  AddVectorOption(*command, "--power", settings->power,
                  "Superquadric exponent for each axis: 1 is the ellipsoid, smaller values "
                  "square the shape off toward a box (below 0.001 every point lands on a "
                  "corner of it); values above 1 are used as 1");
  AddCountOption(*command, "--subdivisions", settings->subdivisions, 0, 1000000,
                 "Rounds of splitting, each making four triangles of one: 10*4^N triangles. "
                 "Values above 10 are built as 10 (10,485,760 triangles)");
  AddSolidOptions(*command, settings->options, kSlots);
  command->callback([settings] {
    KLY_Sphere sphere;
    sphere.SetRadius(settings->radius);
    sphere.SetPower(settings->power);
    sphere.SetSubdivisions(settings->subdivisions);
    const uint32_t rounds = std::min(settings->subdivisions, KLY_Sphere::kMaxSubdivisions);
    const SolidJob job{"sphere", "sphere (" + std::to_string(rounds) + " subdivisions)", kSlots,
                       "--radius", 10.0 * std::pow(4.0, rounds)};
    RunSolid(sphere, job, settings->options);
  });
}

}  // namespace cli
}  // namespace kly
