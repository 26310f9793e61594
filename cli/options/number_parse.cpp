#include "cli/options/number_parse.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace kly {
namespace cli {

namespace {

std::string Quoted(const std::string& text) {
  return "'" + text + "'";
}

bool HasSpace(const std::string& text) {
  for (char c : text) {
    if (std::isspace(static_cast<unsigned char>(c))) return true;
  }
  return false;
}

}  // namespace

double ParseNumber(const std::string& text) {
  // strtod alone would accept leading blanks, hexadecimal, "inf" and "nan"; none is a size.
  if (text.empty() || HasSpace(text)) {
    throw std::invalid_argument(Quoted(text) + " is not a number");
  }
  for (char c : text) {
    if (!std::isdigit(static_cast<unsigned char>(c)) && c != '.' && c != '-' && c != '+' &&
        c != 'e' && c != 'E') {
      throw std::invalid_argument(Quoted(text) + " is not a number");
    }
  }
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(text.c_str(), &end);
  if (end != text.c_str() + text.size()) {
    throw std::invalid_argument(Quoted(text) + " is not a number");
  }
  if (errno == ERANGE && std::isinf(value)) {
    throw std::invalid_argument(Quoted(text) + " is too large");
  }
  return value;
}

uint32_t ParseCount(const std::string& text, uint32_t min, uint32_t max) {
  const std::string range =
      "a whole number from " + std::to_string(min) + " to " + std::to_string(max);
  if (!text.empty() && text[0] == '-') {
    throw std::invalid_argument(Quoted(text) + " is negative; expected " + range);
  }
  if (text.empty()) throw std::invalid_argument("empty value; expected " + range);
  uint64_t value = 0;
  for (char c : text) {
    if (!std::isdigit(static_cast<unsigned char>(c))) {
      throw std::invalid_argument(Quoted(text) + " is not " + range);
    }
    value = value * 10 + static_cast<uint64_t>(c - '0');
    if (value > max) throw std::invalid_argument(Quoted(text) + " is too large; expected " + range);
  }
  if (value < min) throw std::invalid_argument(Quoted(text) + " is too small; expected " + range);
  return static_cast<uint32_t>(value);
}

std::vector<double> ParseVector(const std::string& text, std::size_t count) {
  std::vector<double> values;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = text.find(',', start);
    const std::string part =
        text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    if (part.empty()) {
      throw std::invalid_argument(Quoted(text) + " has an empty component; expected " +
                                  std::to_string(count) + " numbers separated by commas");
    }
    values.push_back(ParseNumber(part));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  if (values.size() != count) {
    throw std::invalid_argument(Quoted(text) + " has " + std::to_string(values.size()) +
                                (values.size() == 1 ? " number" : " numbers") + "; expected " +
                                std::to_string(count) + " separated by commas");
  }
  return values;
}

}  // namespace cli
}  // namespace kly
