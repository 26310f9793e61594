// The options that say what a run tells on stderr besides its failure: progress and notes, or
// nothing (--quiet); and figures about the files written (--stats).
#pragma once

#include <CLI/CLI.hpp>

namespace kly {
namespace cli {

enum class StatsForm { kNone, kText, kJson };

struct ReportOptions {
  bool quiet = false;
  StatsForm stats = StatsForm::kNone;
};

void AddReportOptions(CLI::App& app, ReportOptions& options);

}  // namespace cli
}  // namespace kly
