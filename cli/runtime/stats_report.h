// Prints --stats on stderr: a few lines a file, or one JSON object for the whole run.
#pragma once

#include <vector>

#include "cli/options/report_options.h"
#include "cli/runtime/mesh_stats.h"

namespace kly {
namespace cli {

// `seconds` is the run's time from the parsed command line to the last file in place.
void PrintStats(const std::vector<MeshStats>& files, double seconds, StatsForm form);

}  // namespace cli
}  // namespace kly
