#include "cli/options/report_options.h"

#include <stdexcept>
#include <string>

#include "cli/options/option_helpers.h"

namespace kly {
namespace cli {

void AddReportOptions(CLI::App& app, ReportOptions& options) {
  app.add_flag("--quiet", options.quiet,
               "Print no progress and no notes; failures and --stats are still printed");
  AddOptionalValueOption(
      app, "--stats", "text or json", "text",
      [&options](const std::string& form) {
        if (form != "text" && form != "json") {
          throw std::invalid_argument("'" + form + "' is not known");
        }
        options.stats = form == "text" ? StatsForm::kText : StatsForm::kJson;
      },
      "[=text|json]",
      "Print on stderr, for each file written, its vertices, triangles, materials, bounds and "
      "open and non-manifold edges (edges between equal positions), and the run's time; "
      "=json prints them as one JSON object");
}

}  // namespace cli
}  // namespace kly
