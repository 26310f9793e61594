// Text output for the text formats (OBJ, MTL, ASCII STL and PLY): lines gather in a buffer that
// goes to the stream in large pieces, since a stream write a number would be far slower on
// meshes of millions of vertices.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <ostream>
#include <string>

namespace kly {
namespace cli {

class TextOutput {
 public:
  explicit TextOutput(std::ostream& out) : out_(out) { text_.reserve(kFlushSize + 256); }
  ~TextOutput() { Flush(); }
  TextOutput(const TextOutput&) = delete;
  TextOutput& operator=(const TextOutput&) = delete;

  TextOutput& operator<<(const char* text) {
    text_ += text;
    return *this;
  }
  TextOutput& operator<<(const std::string& text) {
    text_ += text;
    return *this;
  }
  // The shortest text that reads back as the same float: files hold 32-bit values.
  TextOutput& operator<<(float value) {
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    text_.append(digits, result.ptr);
    return *this;
  }
  TextOutput& operator<<(uint32_t value) {
    char digits[16];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    text_.append(digits, result.ptr);
    return *this;
  }
  // Numbers separated by single blanks, after a blank.
  template <size_t N>
  TextOutput& Floats(const std::array<float, N>& values) {
    for (float value : values) *this << " " << value;
    return *this;
  }
  void EndLine() {
    text_ += '\n';
    if (text_.size() >= kFlushSize) Flush();
  }
  void Flush() {
    out_.write(text_.data(), static_cast<std::streamsize>(text_.size()));
    text_.clear();
  }

 private:
  static constexpr size_t kFlushSize = 1 << 20;
  std::ostream& out_;
  std::string text_;
};

}  // namespace cli
}  // namespace kly
