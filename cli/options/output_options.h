// The options that say where a mesh goes and how a file holds it: the path, the format, ASCII,
// normals, and material colours.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/writers/write_options.h"

namespace kly {
namespace cli {

// The output path that means standard output.
inline const std::string kStandardOutput = "-";

struct OutputOptions {
  std::string path;
  // "" when not given.
  std::string format;
  // "" when neither --normals nor --facet was given.
  std::string normals;
  bool facet = false;
  bool crease_given = false;
  WriteOptions write;
};

// `slot_names` are the command's material slots, which --color names.
void AddOutputOptions(CLI::App& app, OutputOptions& options,
                      const std::vector<std::string>& slot_names);

// After parsing: settles the format (--format, else the path's extension) and the normals, and
// refuses options that contradict each other, by throwing CLI::ValidationError.
void SettleOutputOptions(OutputOptions& options);

}  // namespace cli
}  // namespace kly
