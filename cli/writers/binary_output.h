// Little-endian binary output in large pieces, for the binary formats (PLY, STL).
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>

namespace kly {
namespace cli {

class BinaryOutput {
 public:
  explicit BinaryOutput(std::ostream& out) : out_(out) { bytes_.reserve(kFlushSize + 64); }
  ~BinaryOutput() { Flush(); }
  BinaryOutput(const BinaryOutput&) = delete;
  BinaryOutput& operator=(const BinaryOutput&) = delete;

  void Text(const std::string& text) { bytes_ += text; }
  void U8(uint8_t value) { bytes_ += static_cast<char>(value); }
  void U16(uint16_t value) {
    U8(static_cast<uint8_t>(value));
    U8(static_cast<uint8_t>(value >> 8));
  }
  void U32(uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) U8(static_cast<uint8_t>(value >> shift));
    if (bytes_.size() >= kFlushSize) Flush();
  }
  void F32(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    U32(bits);
  }
  template <size_t N>
  void F32s(const std::array<float, N>& values) {
    for (float value : values) F32(value);
  }

  void Flush() {
    out_.write(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
    bytes_.clear();
  }

 private:
  static constexpr size_t kFlushSize = 1 << 20;
  std::ostream& out_;
  std::string bytes_;
};

}  // namespace cli
}  // namespace kly
