// Walking Shift_JIS text by characters, for the j… string built-ins.
#pragma once
#include <cstdint>
#include <string_view>

#include "runtime/conversions.hpp"

namespace marl::sjis {

// Bytes of the character at byte offset i: 2 for a lead byte followed by a
// trail byte, else 1 (a lead byte at the end or before a non-trail stands alone).
inline size_t charSize(std::string_view s, size_t i) {
  return i + 1 < s.size() && isLeadByte(static_cast<unsigned char>(s[i])) &&
                 isTrailByte(static_cast<unsigned char>(s[i + 1]))
             ? 2
             : 1;
}

size_t charCount(std::string_view s);
// Byte offset reached after stepping over `chars` characters from byte offset
// `from`; stops at the end of s.
size_t advance(std::string_view s, size_t from, uint64_t chars);
// Byte offset where the last character of a non-empty s begins.
size_t lastCharStart(std::string_view s);

// Character position of the first occurrence of t that begins at a character
// position in [first, last] and covers whole characters of s, or -1.
int64_t findChars(std::string_view s, std::string_view t, int64_t first, int64_t last);
// The same for the last such occurrence at a character position <= last.
int64_t rfindChars(std::string_view s, std::string_view t, int64_t last);

}  // namespace marl::sjis
