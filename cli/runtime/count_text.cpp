#include "cli/runtime/count_text.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace kly {
namespace cli {

std::string CountText(double count) {
  if (count >= 1e15) {
    char text[32];
    std::snprintf(text, sizeof text, "about %.1e", count);
    return text;
  }
  const std::string digits = std::to_string(static_cast<uint64_t>(std::llround(count)));
  std::string grouped;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) grouped += ',';
    grouped += digits[i];
  }
  return grouped;
}

}  // namespace cli
}  // namespace kly
