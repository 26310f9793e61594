// `kly svg`: the filled shapes of an SVG drawing, extruded with bevels, each in its fill colour.
#pragma once

#include <CLI/CLI.hpp>

namespace kly {
namespace cli {

void AddSvgCommand(CLI::App& app);

}  // namespace cli
}  // namespace kly
