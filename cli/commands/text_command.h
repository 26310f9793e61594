// `kly text`: a line or lines of text, shaped in a font and extruded with bevels.
#pragma once

#include <CLI/CLI.hpp>

namespace kly {
namespace cli {

void AddTextCommand(CLI::App& app);

}  // namespace cli
}  // namespace kly
