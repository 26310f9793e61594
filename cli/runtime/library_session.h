// The library's lifetime inside the command line, and the reports it makes meanwhile.
//
// Every library failure is reported before its number is thrown; the session keeps those
// reports instead of letting the default sink print them, so the command line can put the
// library's own words into the single line that tells the failure.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kly/host/services.h"

namespace kly {
namespace cli {

class LibrarySession {
 public:
  // Checks versions and starts the library; throws std::runtime_error if it cannot.
  LibrarySession();
  ~LibrarySession();
  LibrarySession(const LibrarySession&) = delete;
  LibrarySession& operator=(const LibrarySession&) = delete;

  // Every report since the start, oldest first.
  const std::vector<std::string>& Reports() const { return *reports_; }
  // The newest report, or "" when there was none.
  std::string LastReport() const;

 private:
  std::shared_ptr<std::vector<std::string>> reports_;
  host::ScopedServices services_;
  bool started_ = false;
};

}  // namespace cli
}  // namespace kly
