// The identity of a cached geometry: a 128-bit value with a strict weak order.
#pragma once

#include <cstdint>

namespace mediabase {
namespace utility {

class Guid {
 public:
  Guid() = default;
  Guid(uint64_t high, uint64_t low) : high_(high), low_(low) {}

  uint64_t High() const { return high_; }
  uint64_t Low() const { return low_; }

  friend bool operator<(const Guid& a, const Guid& b) {
    return a.high_ != b.high_ ? a.high_ < b.high_ : a.low_ < b.low_;
  }
  friend bool operator==(const Guid& a, const Guid& b) {
    return a.high_ == b.high_ && a.low_ == b.low_;
  }

 private:
  uint64_t high_ = 0;
  uint64_t low_ = 0;
};

}  // namespace utility
}  // namespace mediabase
