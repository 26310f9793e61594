// Runs the `kly` program as a user meets it: as a subprocess in a fresh folder of its own, whose
// exit code, standard output, standard error and left files a test then checks.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace kly {
namespace testing {

struct Outcome {
  int exit_code;
  std::string out;
  std::string err;
};

class CliFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Starts kly with `args` in the work folder; its output goes to files beside that folder, so
  // the folder holds only what kly wrote. A `file_size_limit` of 0 or more bytes is set as the
  // child's RLIMIT_FSIZE.
  pid_t Start(const std::vector<std::string>& args, long file_size_limit = -1);
  // Waits for `child`; a death by signal s gives the exit code 128 + s, as a shell shows it.
  Outcome Finish(pid_t child);
  Outcome Kly(const std::vector<std::string>& args) { return Finish(Start(args)); }

  // The names in the work folder, hidden ones included, sorted.
  std::vector<std::string> Entries() const;
  std::string Contents(const std::string& name) const;

  std::filesystem::path root_;
  std::filesystem::path work_;
};

// "a b c", for SCOPED_TRACE.
std::string Joined(const std::vector<std::string>& args);

}  // namespace testing
}  // namespace kly
