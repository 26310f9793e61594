#include "cli/text/utf8_text.h"

#include <cstdio>

namespace kly {
namespace cli {

namespace {

// The length of the character whose first byte is `lead`, or 0 for a byte no character starts
// with.
size_t SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// The character of `length` bytes at `offset`, or a value past U+10FFFF when the bytes do not
// form one.
char32_t Decode(const std::string& text, size_t offset, size_t length) {
  constexpr char32_t kBad = 0x110000;
  const unsigned char lead = static_cast<unsigned char>(text[offset]);
  if (length == 1) return lead;
  char32_t c = lead & (0x7F >> length);
  for (size_t k = 1; k < length; ++k) {
    const unsigned char next = static_cast<unsigned char>(text[offset + k]);
    if ((next & 0xC0) != 0x80) return kBad;
    c = (c << 6) | (next & 0x3F);
  }
  // The shortest form only, and no surrogates.
  const char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
  if (c < least[length] || (c >= 0xD800 && c <= 0xDFFF)) return kBad;
  return c;
}

}  // namespace

size_t FirstMalformedByte(const std::string& text) {
  size_t offset = 0;
  while (offset < text.size()) {
    const size_t length = SequenceLength(static_cast<unsigned char>(text[offset]));
    if (length == 0 || offset + length > text.size() || Decode(text, offset, length) > 0x10FFFF) {
      return offset;
    }
    offset += length;
  }
  return std::string::npos;
}

char32_t CharacterAt(const std::string& text, size_t offset) {
  return Decode(text, offset, SequenceLength(static_cast<unsigned char>(text[offset])));
}

std::string CodePointName(char32_t character) {
  char name[16];
  std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(character));
  return name;
}

std::string Utf8(char32_t c) {
  std::string out;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

}  // namespace cli
}  // namespace kly
