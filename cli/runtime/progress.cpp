#include "cli/runtime/progress.h"

#include <chrono>
#include <cstdio>
#include <exception>

#include "cli/runtime/notes.h"

namespace kly {
namespace cli {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kAnnounceAfter(1);

}  // namespace

StageProgress::StageProgress(std::string what)
    : what_(std::move(what)), exceptions_at_start_(std::uncaught_exceptions()) {
  if (!Quiet()) ticker_ = std::thread([this] { Watch(); });
}

StageProgress::~StageProgress() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    finished_ = true;
    // Counted here, on the stage's own thread: the count is per thread.
    failed_ = std::uncaught_exceptions() > exceptions_at_start_;
  }
  finished_signal_.notify_one();
  if (ticker_.joinable()) ticker_.join();
}

void StageProgress::Watch() {
  const Clock::time_point start = Clock::now();
  std::unique_lock<std::mutex> lock(mutex_);
  if (!finished_signal_.wait_for(lock, kAnnounceAfter, [this] { return finished_; })) {
    announced_ = true;
    std::fprintf(stderr, "kly: %s...\n", what_.c_str());
    finished_signal_.wait(lock, [this] { return finished_; });
  }
  // A stage left by a failure says nothing more: the failure's own line follows.
  if (announced_ && !failed_) {
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    std::fprintf(stderr, "kly: %s took %.1f s\n", what_.c_str(), seconds);
  }
}

}  // namespace cli
}  // namespace kly
