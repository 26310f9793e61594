#include "cli/options/number_parse.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace kly {
namespace cli {

namespace {

std::string Quoted(const std::string& text) {
  return "'" + text + "'";
}

// strtod alone would accept leading blanks, hexadecimal, "inf" and "nan"; none is a size.
bool LooksDecimal(const std::string& text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!std::isdigit(static_cast<unsigned char>(c)) && c != '.' && c != '-' && c != '+' &&
        c != 'e' && c != 'E') {
      return false;
    }
  }
  return true;
}

}  // namespace

std::string FormatNumber(double value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  return std::string(buffer, result.ptr);
}

std::string RangeText(const NumberRange& range) {
  if (std::isinf(range.least) && std::isinf(range.most)) return "";
  if (std::isinf(range.most)) return " of at least " + FormatNumber(range.least);
  if (std::isinf(range.least)) return " of at most " + FormatNumber(range.most);
  return " from " + FormatNumber(range.least) + " to " + FormatNumber(range.most);
}

double ParseNumber(const std::string& text, const NumberRange& range) {
  if (!LooksDecimal(text)) throw std::invalid_argument(Quoted(text) + " is not a number");
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(text.c_str(), &end);
  if (end != text.c_str() + text.size()) {
    throw std::invalid_argument(Quoted(text) + " is not a number");
  }
  // Overflow gives an infinity; underflow a number next to zero, which is kept.
  if (std::isinf(value) || value < range.least || value > range.most) {
    throw std::invalid_argument(Quoted(text) + " is out of range");
  }
  return value;
}

uint32_t ParseCount(const std::string& text, uint32_t min, uint32_t max) {
  const bool negative = !text.empty() && text[0] == '-';
  const size_t digits_start = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
  if (digits_start == text.size()) throw std::invalid_argument(Quoted(text) + " is not a number");
  uint64_t value = 0;
  bool too_large = false;
  for (size_t i = digits_start; i < text.size(); ++i) {
    const char c = text[i];
    if (!std::isdigit(static_cast<unsigned char>(c))) {
      throw std::invalid_argument(Quoted(text) + " is not a whole number");
    }
    // Past `max` the digits are still checked, but the value no longer grows.
    if (!too_large) value = value * 10 + static_cast<uint64_t>(c - '0');
    too_large = too_large || value > max;
  }
  if (negative && value != 0) throw std::invalid_argument(Quoted(text) + " is negative");
  if (too_large) throw std::invalid_argument(Quoted(text) + " is too large");
  if (value < min) throw std::invalid_argument(Quoted(text) + " is too small");
  return static_cast<uint32_t>(value);
}

std::vector<double> ParseVector(const std::string& text, std::size_t count,
                                const NumberRange& range) {
  std::vector<double> values;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = text.find(',', start);
    const std::string part =
        text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    if (part.empty()) throw std::invalid_argument(Quoted(text) + " has an empty component");
    values.push_back(ParseNumber(part, range));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  if (values.size() != count) {
    throw std::invalid_argument(Quoted(text) + " has " + std::to_string(values.size()) +
                                (values.size() == 1 ? " number" : " numbers"));
  }
  return values;
}

}  // namespace cli
}  // namespace kly
