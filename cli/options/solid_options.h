// Every option a solid command shares, declared once: what happens to the mesh, where and how it
// is written, and what the run reports.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/options/mesh_options.h"
#include "cli/options/output_options.h"
#include "cli/options/report_options.h"

namespace kly {
namespace cli {

struct SolidOptions {
  MeshOptions mesh;
  OutputOptions output;
  ReportOptions report;
};

// `slot_names` are the command's material slots, in order.
void AddSolidOptions(CLI::App& app, SolidOptions& options,
                     const std::vector<std::string>& slot_names);

// After parsing, before any work: settles what depends on several options and refuses options
// that contradict each other, by throwing CLI::ValidationError.
void SettleSolidOptions(SolidOptions& options);

}  // namespace cli
}  // namespace kly
