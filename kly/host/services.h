// The one seam of the standalone host: every closed service the library calls reads its
// behaviour from the current HostServices table. Tests and embedding applications replace
// the table (or one entry of it) to capture reports, drive the clock, fail version checks or
// allocations, and later to supply their own offset, glyph and path services.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace kly {
namespace host {

struct HostServices {
  // Receives every report: its id, its flags and its text. Default: one line on stderr.
  std::function<void(uint32_t id, uint32_t flags, const char* text)> report;
  // Seconds since boot. Default: a monotonic clock.
  std::function<double()> seconds_since_boot;
  // Statuses of the five version checks, in the order utility, maths, Bezier, path, text.
  int32_t version_status[5] = {0, 0, 0, 0, 0};
  // Status of PLB_GetHBNAddressProc.
  int32_t binding_lookup_status = 0;
  // Asked before every engine allocation; false makes it fail. Default: always true.
  std::function<bool(uint32_t bytes, uint32_t tag)> allow_allocation;
};

// The table in force. Never empty: unset entries fall back to the defaults.
HostServices& Services();

// The default table: stderr reports, monotonic clock, every check and allocation passing.
HostServices DefaultServices();

// Replaces the table for the lifetime of the object and restores the previous one after.
class ScopedServices {
 public:
  explicit ScopedServices(HostServices replacement);
  ~ScopedServices();
  ScopedServices(const ScopedServices&) = delete;
  ScopedServices& operator=(const ScopedServices&) = delete;

 private:
  HostServices saved_;
};

}  // namespace host
}  // namespace kly
