// Reading the numbers of SVG attribute values (path data, transforms, point lists, viewBox,
// lengths): numbers with signs, fractions and exponents written without separators where the
// grammar allows ("M1.5.5", "1e-3-2"), and the commas and white space between them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "kly/host/svg_reader.h"

namespace kly {
namespace host {

class SvgScanner {
 public:
  explicit SvgScanner(std::string_view text) : text_(text) {}

  bool AtEnd() const { return at_ >= text_.size(); }
  // The next character, or '\0' at the end.
  char Peek() const { return AtEnd() ? '\0' : text_[at_]; }
  void Advance() { ++at_; }
  size_t Position() const { return at_; }
  std::string_view Rest() const { return text_.substr(at_); }

  void SkipSpace();
  // White space, at most one comma, white space. True when there was a comma.
  bool SkipCommaSpace();

  // A number at the current position (no space skipped). False, with nothing read, when none
  // starts here. A value past the range of a double reads as an infinity; one below it as 0.
  bool ReadNumber(double& value);
  // An arc flag: the single character 0 or 1.
  bool ReadFlag(bool& value);

  // Fails with "`what`: expected `expected` at character N", N counted from 1.
  [[noreturn]] void Fail(const std::string& what, const std::string& expected) const;

 private:
  std::string_view text_;
  size_t at_ = 0;
};

bool IsSvgSpace(char c);

// `text` as one number with nothing else around it but white space.
bool ParseSvgNumber(std::string_view text, double& value);

}  // namespace host
}  // namespace kly
