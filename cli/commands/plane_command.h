// `kly plane`: a sheet anchored at a corner, flat or bent into a circular arc.
#pragma once

#include <CLI/CLI.hpp>

namespace kly {
namespace cli {

void AddPlaneCommand(CLI::App& app);

}  // namespace cli
}  // namespace kly
