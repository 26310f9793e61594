// `kly cylinder`: a tapered tube with a superellipse or petal cross-section and optional caps.
#pragma once

#include <CLI/CLI.hpp>

namespace kly {
namespace cli {

void AddCylinderCommand(CLI::App& app);

}  // namespace cli
}  // namespace kly
