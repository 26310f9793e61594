// The characters of UTF-8 text, for the messages and names that show them.
#pragma once

#include <cstddef>
#include <string>

namespace kly {
namespace cli {

// The byte offset of the first byte that does not start a well-formed UTF-8 character (an
// overlong form, a surrogate, past U+10FFFF, cut short), or npos when the text is well formed.
size_t FirstMalformedByte(const std::string& text);

// The character starting at byte `offset` of well-formed text.
char32_t CharacterAt(const std::string& text, size_t offset);

// "U+0416".
std::string CodePointName(char32_t character);

// The character in UTF-8.
std::string Utf8(char32_t character);

}  // namespace cli
}  // namespace kly
