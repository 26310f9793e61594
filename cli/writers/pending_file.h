// A file that appears under its name only when it is complete: it is written to a temporary
// file in the same folder and renamed over the name at the end, so a failure or an interrupted
// run never leaves a half-written file where the user looks for the result. The files of one
// run are committed together: either all appear or none does.
#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace kly {
namespace cli {

// Makes SIGINT, SIGTERM, SIGHUP and SIGXFSZ (a file past the size limit) remove the temporaries
// of the pending files before the process ends as the signal would end it. For programs; a
// library user keeps its own handlers.
void RemovePendingFilesOnSignals();

// How messages name a path: "'out/cube.glb'", or "standard output" for "-".
std::string ShownPath(const std::string& path);

class PendingFile {
 public:
  // Creates the temporary now, so an unwritable place is found before any work is done. A
  // symbolic link is followed to its target, whose folder then holds the temporary. An existing
  // file that is read-only (no write permission for anyone, or none for this user) is refused,
  // as are folders and anything else that is not a regular file. The path "-" is standard
  // output: its bytes wait in an unnamed temporary file and are copied out at the commit.
  // Throws std::runtime_error naming `path` and the reason.
  explicit PendingFile(std::string path);
  // Removes the temporary unless the file was committed.
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  const std::string& Path() const { return path_; }
  std::ostream& Stream() { return stream_; }

  // Commits this file alone (see CommitTogether).
  void Commit() { CommitTogether({this}); }

  // Commits every file or none: each is flushed and closed first (a full disk shows here), then
  // each is renamed onto its path, standard output last; if a rename fails, the files renamed
  // before it are removed again. Throws std::runtime_error naming the path that failed.
  static void CommitTogether(const std::vector<PendingFile*>& files);

 private:
  bool ToStandardOutput() const { return path_ == "-"; }
  void OpenBeside();
  void OpenUnnamed();
  // Flushes and closes the stream; throws if any byte could not be written.
  void Finish();
  // Puts the finished bytes under the path.
  void Publish();
  // Removes a published file again.
  void Withdraw();
  // Removes the temporary and forgets it.
  void Abandon();

  std::string path_;
  // Where the bytes go: the path, or the end of its chain of symbolic links.
  std::string target_;
  std::string temporary_;
  // Standard output's unnamed temporary, read back at the commit.
  int unnamed_descriptor_ = -1;
  std::ofstream stream_;
  bool published_ = false;
  // The signal handler's slot holding the temporary's name, or -1 when none was free.
  int signal_slot_ = -1;
};

}  // namespace cli
}  // namespace kly
