// Tells a user on stderr what a long stage is doing. The library builds synchronously on the
// calling thread, so a small ticker thread watches the clock: a stage that has run for a second
// is announced ("kly: building sphere (10 subdivisions)..."), and when it ends its time is
// given. Quick stages print nothing, and under --quiet no stage does.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace kly {
namespace cli {

class StageProgress {
 public:
  explicit StageProgress(std::string what);
  // Stops the ticker; an announced stage that ends normally prints its time.
  ~StageProgress();
  StageProgress(const StageProgress&) = delete;
  StageProgress& operator=(const StageProgress&) = delete;

 private:
  void Watch();

  std::string what_;
  std::mutex mutex_;
  std::condition_variable finished_signal_;
  bool finished_ = false;
  bool announced_ = false;
  bool failed_ = false;
  int exceptions_at_start_;
  std::thread ticker_;
};

}  // namespace cli
}  // namespace kly
