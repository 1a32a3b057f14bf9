// Walking Shift_JIS text by characters, for the j… string built-ins.
#pragma once
#include <cstdint>
#include <string_view>

#include "runtime/sjis.hpp"

namespace marl::sjis {

inline size_t charSize(std::string_view s, size_t i) { return sjisCharLength(s, i); }

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
