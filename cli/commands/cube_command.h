// `kly cube`: a box whose six faces are grids of quads, one material slot a face.
#pragma once

#include <CLI/CLI.hpp>

namespace kly {
namespace cli {

void AddCubeCommand(CLI::App& app);

}  // namespace cli
}  // namespace kly
