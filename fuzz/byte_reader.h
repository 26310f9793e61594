// The fuzzers' view of their input: bytes read in order, missing bytes read as 0, so that every
// input, however short, decodes to something.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

class ByteReader {
 public:
  ByteReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }
  int16_t Int16() { return static_cast<int16_t>(Byte() | (Byte() << 8)); }
  // Eight bytes as the bits of a double: NaN, infinities and subnormals included.
  double Raw() {
    uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) bits |= static_cast<uint64_t>(Byte()) << (8 * i);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};
