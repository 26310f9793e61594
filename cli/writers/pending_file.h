// A file that appears under its name only when it is complete: it is written to a temporary
// file in the same folder and renamed over the name at the end, so a failure or an interrupted
// run never leaves a half-written file where the user looks for the result.
#pragma once

#include <fstream>
#include <string>

namespace kly {
namespace cli {

// Makes SIGINT, SIGTERM and SIGHUP remove the temporaries of the pending files before the
// process ends as the signal would end it. For programs; a library user keeps its own handlers.
void RemovePendingFilesOnSignals();

class PendingFile {
 public:
  // Creates the temporary now, so an unwritable place is found before any work is done.
  // Throws std::runtime_error naming `path` and the reason.
  explicit PendingFile(std::string path);
  // Removes the temporary unless Commit succeeded.
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  const std::string& Path() const { return path_; }
  std::ostream& Stream() { return stream_; }
  // Flushes, closes and renames the temporary onto the path; throws std::runtime_error if any
  // of that fails, and the temporary is then removed.
  void Commit();

 private:
  // Removes the temporary and forgets it.
  void Abandon();

  std::string path_;
  std::string temporary_;
  std::ofstream stream_;
  bool committed_ = false;
  // The signal handler's slot holding the temporary's name, or -1 when none was free.
  int signal_slot_ = -1;
};

}  // namespace cli
}  // namespace kly
