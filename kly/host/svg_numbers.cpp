#include "kly/host/svg_numbers.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace kly {
namespace host {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The decimal order of magnitude of a number from_chars could not hold: positive means it
// overflowed, otherwise it underflowed.
long Magnitude(std::string_view mantissa, long exponent) {
  size_t i = 0;
  while (i < mantissa.size() && (mantissa[i] == '0' || mantissa[i] == '.')) {
    if (mantissa[i] == '.') {
      // Only a fraction: count its leading zeros.
      size_t zeros = 0;
      for (size_t j = i + 1; j < mantissa.size() && mantissa[j] == '0'; ++j) ++zeros;
      return exponent - static_cast<long>(zeros);
    }
    ++i;
  }
  size_t digits = 0;
  while (i + digits < mantissa.size() && IsDigit(mantissa[i + digits])) ++digits;
  return exponent + static_cast<long>(digits);
}

}  // namespace

bool IsSvgSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

void SvgScanner::SkipSpace() {
  while (!AtEnd() && IsSvgSpace(text_[at_])) ++at_;
}

bool SvgScanner::SkipCommaSpace() {
  SkipSpace();
  const bool comma = Peek() == ',';
  if (comma) {
    ++at_;
    SkipSpace();
  }
  return comma;
}

bool SvgScanner::ReadNumber(double& value) {
  size_t i = at_;
  const auto digits = [&]() {
    const size_t first = i;
    while (i < text_.size() && IsDigit(text_[i])) ++i;
    return i - first;
  };
  const bool negative = i < text_.size() && text_[i] == '-';
  if (i < text_.size() && (text_[i] == '+' || text_[i] == '-')) ++i;
  const size_t mantissa_start = i;
  size_t count = digits();
  if (i < text_.size() && text_[i] == '.') {
    const size_t dot = i++;
    const size_t fraction = digits();
    // "1." is a number; a lone "." is not.
    if (count + fraction == 0) i = dot;
    count += fraction;
  }
  if (count == 0) return false;
  const size_t mantissa_end = i;
  long exponent = 0;
  if (i < text_.size() && (text_[i] == 'e' || text_[i] == 'E')) {
    // An exponent needs digits; otherwise the 'e' starts what follows ("1em").
    size_t j = i + 1;
    if (j < text_.size() && (text_[j] == '+' || text_[j] == '-')) ++j;
    if (j < text_.size() && IsDigit(text_[j])) {
      const size_t exponent_start = j;
      i = j;
      digits();
      const auto parsed =
          std::from_chars(text_.data() + exponent_start, text_.data() + i, exponent);
      // Past a long, the exponent only has to keep its side of the range.
      if (parsed.ec == std::errc::result_out_of_range) exponent = 1000000;
      if (text_[exponent_start - 1] == '-') exponent = -exponent;
    }
  }
  const std::string_view number = text_.substr(mantissa_start, i - mantissa_start);
  double magnitude = 0.0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), magnitude);
  if (result.ec == std::errc::result_out_of_range) {
    const std::string_view mantissa = text_.substr(mantissa_start, mantissa_end - mantissa_start);
    magnitude = Magnitude(mantissa, exponent) > 0 ? std::numeric_limits<double>::infinity() : 0.0;
  }
  value = negative ? -magnitude : magnitude;
  at_ = i;
  return true;
}

bool SvgScanner::ReadFlag(bool& value) {
  if (Peek() != '0' && Peek() != '1') return false;
  value = Peek() == '1';
  ++at_;
  return true;
}

void SvgScanner::Fail(const std::string& what, const std::string& expected) const {
  throw SvgError(what + ": expected " + expected + " at character " + std::to_string(at_ + 1));
}

bool ParseSvgNumber(std::string_view text, double& value) {
  SvgScanner scanner(text);
  scanner.SkipSpace();
  if (!scanner.ReadNumber(value)) return false;
  scanner.SkipSpace();
  return scanner.AtEnd();
}

}  // namespace host
}  // namespace kly
