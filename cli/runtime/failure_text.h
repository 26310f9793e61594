// Turns a failure number of the library into a line a user can read.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace kly {
namespace cli {

// A few words for a failure number: the library's own numbers, the host statuses it passes
// on, or "unlisted failure" for anything else.
std::string FailureMeaning(int32_t number);

// "failure 4363 (a vector of zero length could not be normalised): <report>", the report
// left out when empty.
std::string DescribeFailure(int32_t number, const std::string& report);

// A failure number thrown by the library, with the stage of the command that met it
// ("building sphere (10 subdivisions)"), for the one line that tells the user.
class LibraryFailure : public std::exception {
 public:
  LibraryFailure(std::string stage, int32_t number) : stage_(std::move(stage)), number_(number) {}
  const char* what() const noexcept override { return stage_.c_str(); }
  const std::string& Stage() const { return stage_; }
  int32_t Number() const { return number_; }

 private:
  std::string stage_;
  int32_t number_;
};

// A failure of a host service (opening a font) thrown with the service's own status, which is
// none of the library's numbers: the service's report alone says what went wrong.
class HostFailure : public LibraryFailure {
 public:
  using LibraryFailure::LibraryFailure;
};

}  // namespace cli
}  // namespace kly
