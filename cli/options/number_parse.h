// Strict parsing of the numbers and comma-separated vectors that options take. Every failure is
// a std::invalid_argument whose text names the problem in words a user can act on; the option's
// name and what it expects are added by the option (see option_helpers.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace kly {
namespace cli {

// A closed range of accepted numbers; the default accepts every finite one.
struct NumberRange {
  double least = -std::numeric_limits<double>::infinity();
  double most = std::numeric_limits<double>::infinity();
};

// Sizes and coordinates a file's 32-bit floats hold (their largest is 3.4028235e38; the round
// figure keeps the bound a user reads in a message one that is accepted).
constexpr NumberRange kFileFloats{-3.4e38, 3.4e38};

// " from 1e-06 to 3.4e+38", or "" for the default range: what follows "a number" in a message.
std::string RangeText(const NumberRange& range);

// The shortest text that reads back as `value` ("1", "0.5", "1e-05").
std::string FormatNumber(double value);

// A finite decimal number, the whole text and nothing else ("1", "-0.5", "2e-3"), in `range`.
double ParseNumber(const std::string& text, const NumberRange& range = NumberRange());

// A whole number from `min` to `max`, with an optional sign ("-0" is 0); a fraction or text
// around it is refused.
uint32_t ParseCount(const std::string& text, uint32_t min, uint32_t max);

// Exactly `count` numbers in `range` separated by commas, as "1,2,3".
std::vector<double> ParseVector(const std::string& text, std::size_t count,
                                const NumberRange& range = NumberRange());

}  // namespace cli
}  // namespace kly
