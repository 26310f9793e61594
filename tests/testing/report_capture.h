// Test helper: captures every report of the library while it lives, instead of stderr.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "kly/host/services.h"

namespace kly {
namespace testing {

struct Report {
  uint32_t id;
  uint32_t flags;
  std::string text;
};

inline bool operator==(const Report& a, const Report& b) {
  return a.id == b.id && a.flags == b.flags && a.text == b.text;
}
inline std::ostream& operator<<(std::ostream& out, const Report& r) {
  return out << "{0x" << std::hex << r.id << std::dec << ", " << r.flags << ", \"" << r.text
             << "\"}";
}

// The report a failed normalisation makes before it throws 4363: the maths library's id,
// flags 8 and its string table's zero-vector message.
Report NormalisationReport();

class ReportCapture {
 public:
  ReportCapture();
  const std::vector<Report>& reports() const { return *reports_; }
  // The host table in force, for a test to adjust further entries.
  host::HostServices& services() { return host::Services(); }

 private:
  std::shared_ptr<std::vector<Report>> reports_;
  host::ScopedServices scope_;
};

// Runs `body` and returns the int32_t it throws, or 0 when it throws nothing.
template <class Body>
int32_t ThrownNumber(Body body) {
  try {
    body();
  } catch (int32_t number) {
    return number;
  }
  return 0;
}

// Runs `body` and returns what() of the Exception it throws, or "" when it throws none.
template <class Exception, class Body>
std::string ThrownText(Body body) {
  try {
    body();
  } catch (const Exception& e) {
    return e.what();
  }
  return "";
}

}  // namespace testing
}  // namespace kly
