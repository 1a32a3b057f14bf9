// Shift_JIS, the internal encoding: byte classes and the width of a character.
#pragma once
#include <cstddef>
#include <string_view>

namespace marl {

inline bool isLeadByte(unsigned char c) {
  return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC);
}
inline bool isTrailByte(unsigned char c) {
  return (c >= 0x40 && c <= 0x7E) || (c >= 0x80 && c <= 0xFC);
}

// Bytes of the character at byte offset `pos`: 2 for a lead byte followed by
// a trail byte, else 1 (a lead byte at the end or before a non-trail byte
// stands alone, so a broken string is still walked byte by byte).
inline size_t sjisCharLength(std::string_view s, size_t pos) {
  return pos + 1 < s.size() && isLeadByte(static_cast<unsigned char>(s[pos])) &&
                 isTrailByte(static_cast<unsigned char>(s[pos + 1]))
             ? 2
             : 1;
}

}  // namespace marl
