#include "cli/options/solid_options.h"

#include "cli/options/option_helpers.h"

namespace kly {
namespace cli {

void AddSolidOptions(CLI::App& app, SolidOptions& options,
                     const std::vector<std::string>& slot_names) {
  AddOutputOptions(app, options.output, slot_names);
  AddMeshOptions(app, options.mesh);
  AddReportOptions(app, options.report);
}

void SettleSolidOptions(SolidOptions& options) {
  SettleOutputOptions(options.output);
  if (options.mesh.split && options.output.path == kStandardOutput) {
    throw OptionError("--split", "writes two files, which cannot share standard output",
                      "a path with it instead of -o -");
  }
}

}  // namespace cli
}  // namespace kly
