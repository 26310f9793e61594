#include "cli/writers/pending_file.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace kly {
namespace cli {

namespace {

[[noreturn]] void Fail(const std::string& path, const std::string& reason) {
  throw std::runtime_error("cannot write '" + path + "': " + reason);
}

// Names of the temporaries in being, for the signal handler, which may only read plain memory.
// A handful is enough: a command writes at most two files at once.
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

}  // namespace

void RemovePendingFilesOnSignals() {
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, RemoveTemporariesAndReraise);
}

PendingFile::PendingFile(std::string path) : path_(std::move(path)) {
  struct stat existing;
  if (stat(path_.c_str(), &existing) == 0 && S_ISDIR(existing.st_mode)) {
    Fail(path_, "it is a folder");
  }
  const size_t slash = path_.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : path_.substr(0, slash + 1);
  const std::string name = slash == std::string::npos ? path_ : path_.substr(slash + 1);
  if (name.empty()) Fail(path_, "no file name");
  std::string pattern = folder + "." + name + ".XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  const int descriptor = mkstemp(buffer.data());
  if (descriptor < 0) Fail(path_, std::strerror(errno));
  temporary_ = buffer.data();
  signal_slot_ = ClaimSignalSlot(temporary_);
  const int chmod_status = fchmod(descriptor, CreationMode());
  close(descriptor);
  if (chmod_status != 0) {
    const int error = errno;
    Abandon();
    Fail(path_, std::strerror(error));
  }
  stream_.open(temporary_, std::ios::binary | std::ios::trunc);
  if (!stream_) {
    Abandon();
    Fail(path_, "the temporary file could not be opened");
  }
}

PendingFile::~PendingFile() {
  if (committed_) return;
  stream_.close();
  Abandon();
}

void PendingFile::Abandon() {
  std::remove(temporary_.c_str());
  ReleaseSignalSlot(signal_slot_);
  signal_slot_ = -1;
}

void PendingFile::Commit() {
  stream_.flush();
  const bool written = static_cast<bool>(stream_);
  // errno still tells why a write failed (a full disk, say) only right after it.
  const int write_error = errno;
  stream_.close();
  if (!written || stream_.fail()) {
    Fail(path_, written ? "closing the file failed" : std::strerror(write_error));
  }
  if (std::rename(temporary_.c_str(), path_.c_str()) != 0) Fail(path_, std::strerror(errno));
  ReleaseSignalSlot(signal_slot_);
  signal_slot_ = -1;
  committed_ = true;
}

}  // namespace cli
}  // namespace kly
