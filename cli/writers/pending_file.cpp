#include "cli/writers/pending_file.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/writers/write_target.h"

namespace kly {
namespace cli {

namespace {

[[noreturn]] void Fail(const std::string& path, const std::string& reason) {
  throw std::runtime_error("cannot write " + ShownPath(path) + ": " + reason);
}

// Names of the temporaries in being, for the signal handler, which may only read plain memory.
// A run writes at most four files at once (two halves, each an OBJ with its material library).
constexpr int kSignalSlots = 8;
constexpr size_t kSignalPathSize = 4096;
char signal_paths[kSignalSlots][kSignalPathSize];
volatile sig_atomic_t signal_slot_used[kSignalSlots];

int ClaimSignalSlot(const std::string& temporary) {
  if (temporary.size() >= kSignalPathSize) return -1;
  for (int slot = 0; slot < kSignalSlots; ++slot) {
    if (signal_slot_used[slot]) continue;
    std::memcpy(signal_paths[slot], temporary.c_str(), temporary.size() + 1);
    signal_slot_used[slot] = 1;
    return slot;
  }
  return -1;
}

void ReleaseSignalSlot(int slot) {
  if (slot >= 0) signal_slot_used[slot] = 0;
}

extern "C" void RemoveTemporariesAndReraise(int signal) {
  for (int slot = 0; slot < kSignalSlots; ++slot) {
    if (signal_slot_used[slot]) unlink(signal_paths[slot]);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// mkstemp makes its file private (0600); a finished file gets what any new file would.
mode_t CreationMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// Makes a temporary file from `pattern` (ending in XXXXXX) and returns its descriptor; the
// pattern becomes its name.
int MakeTemporary(const std::string& path, std::string& pattern) {
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  const int descriptor = mkstemp(buffer.data());
  if (descriptor < 0) Fail(path, std::strerror(errno));
  pattern = buffer.data();
  return descriptor;
}

// Writes all of `size` bytes, however the descriptor splits them.
bool WriteAll(int descriptor, const char* bytes, size_t size) {
  while (size > 0) {
    const ssize_t written = write(descriptor, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

}  // namespace

void RemovePendingFilesOnSignals() {
  for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ}) {
    std::signal(signal, RemoveTemporariesAndReraise);
  }
}

std::string ShownPath(const std::string& path) {
  return path == "-" ? "standard output" : "'" + path + "'";
}

PendingFile::PendingFile(std::string path) : path_(std::move(path)) {
  if (ToStandardOutput()) {
    OpenUnnamed();
  } else {
    OpenBeside();
  }
  if (!stream_) {
    Abandon();
    if (unnamed_descriptor_ >= 0) close(unnamed_descriptor_);
    Fail(path_, "the temporary file could not be opened");
  }
}

void PendingFile::OpenBeside() {
  WriteTarget target;
  try {
    target = FindWriteTarget(path_);
  } catch (const std::runtime_error& e) {
    Fail(path_, e.what());
  }
  target_ = target.path;
  std::string pattern = target.folder + "." + target.name + ".XXXXXX";
  const int descriptor = MakeTemporary(path_, pattern);
  temporary_ = pattern;
  signal_slot_ = ClaimSignalSlot(temporary_);
  // A replaced file keeps its permissions.
  const int chmod_status = fchmod(descriptor, target.exists ? target.mode : CreationMode());
  const int chmod_error = errno;
  close(descriptor);
  if (chmod_status != 0) {
    Abandon();
    Fail(path_, std::strerror(chmod_error));
  }
  stream_.open(temporary_, std::ios::binary | std::ios::trunc);
}

void PendingFile::OpenUnnamed() {
  const char* folder = std::getenv("TMPDIR");
  std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/kly-output.XXXXXX";
  unnamed_descriptor_ = MakeTemporary(path_, pattern);
  stream_.open(pattern, std::ios::binary | std::ios::trunc);
  // The name goes at once: nothing can be left behind, and the descriptor reads the bytes back.
  unlink(pattern.c_str());
}

PendingFile::~PendingFile() {
  if (stream_.is_open()) stream_.close();
  if (!published_) Abandon();
  if (unnamed_descriptor_ >= 0) close(unnamed_descriptor_);
}

void PendingFile::Abandon() {
  if (!temporary_.empty()) std::remove(temporary_.c_str());
  temporary_.clear();
  ReleaseSignalSlot(signal_slot_);
  signal_slot_ = -1;
}

void PendingFile::Finish() {
  stream_.flush();
  const bool written = static_cast<bool>(stream_);
  // errno still tells why a write failed (a full disk, say) only right after it.
  const int write_error = errno;
  stream_.close();
  if (!written || stream_.fail()) {
    Fail(path_, written ? "closing the file failed" : std::strerror(write_error));
  }
}

void PendingFile::Publish() {
  if (ToStandardOutput()) {
    if (lseek(unnamed_descriptor_, 0, SEEK_SET) != 0) Fail(path_, std::strerror(errno));
    char buffer[1 << 16];
    ssize_t count;
    while ((count = read(unnamed_descriptor_, buffer, sizeof buffer)) != 0) {
      if (count < 0 && errno == EINTR) continue;
      if (count < 0 || !WriteAll(STDOUT_FILENO, buffer, static_cast<size_t>(count))) {
        Fail(path_, std::strerror(errno));
      }
    }
  } else if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
    Fail(path_, std::strerror(errno));
  }
  temporary_.clear();
  ReleaseSignalSlot(signal_slot_);
  signal_slot_ = -1;
  published_ = true;
}

void PendingFile::Withdraw() {
  if (published_ && !ToStandardOutput()) std::remove(target_.c_str());
}

void PendingFile::CommitTogether(const std::vector<PendingFile*>& files) {
  for (PendingFile* file : files) file->Finish();
  std::vector<PendingFile*> order;
  for (PendingFile* file : files) {
    if (!file->ToStandardOutput()) order.push_back(file);
  }
  // Standard output cannot be taken back, so it goes once every file is in place.
  for (PendingFile* file : files) {
    if (file->ToStandardOutput()) order.push_back(file);
  }
  for (size_t i = 0; i < order.size(); ++i) {
    try {
      order[i]->Publish();
    } catch (const std::runtime_error&) {
      for (size_t done = 0; done < i; ++done) order[done]->Withdraw();
      throw;
    }
  }
}

}  // namespace cli
}  // namespace kly
