// `kly sphere`: an ellipsoid or superquadric, subdivided from an octahedron.
#pragma once

#include <CLI/CLI.hpp>

namespace kly {
namespace cli {

void AddSphereCommand(CLI::App& app);

}  // namespace cli
}  // namespace kly
