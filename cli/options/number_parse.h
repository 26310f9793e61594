// Strict parsing of the numbers and comma-separated vectors that options take. Every failure is
// a std::invalid_argument whose text names the problem in words a user can act on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kly {
namespace cli {

// A finite decimal number, the whole text and nothing else ("1", "-0.5", "2e-3").
double ParseNumber(const std::string& text);

// A whole number from `min` to `max`; a sign, a fraction or text around it is refused.
uint32_t ParseCount(const std::string& text, uint32_t min, uint32_t max);

// Exactly `count` numbers separated by commas, as "1,2,3".
std::vector<double> ParseVector(const std::string& text, std::size_t count);

}  // namespace cli
}  // namespace kly
