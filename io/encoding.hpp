// Converters between the internal encoding (CP932 / Shift_JIS) and the
// encodings of files: UTF-16LE, UTF-8, EUC-JP; and Base64.
#pragma once
#include <string>
#include <string_view>

namespace marl {

// UTF-16 strings are byte strings of even length holding little-endian units.
std::string sjisToUtf16(std::string_view s);  // characters CP932 lacks never occur
std::string utf16ToSjis(std::string_view u);  // unmappable characters become '?'
std::string sjisToUtf8(std::string_view s);   // each unit encoded separately
std::string utf8ToSjis(std::string_view s);   // the lenient decoder, by lead-byte pattern
int utf8SequenceLength(unsigned char lead);   // 1 for a non-leading pattern, else 2..6
std::string utf16ToUtf8(std::string_view u);  // the unit steps of the two above
std::string utf8ToUtf16(std::string_view s);
std::string sjisToEuc(std::string_view s);
std::string eucToSjis(std::string_view s);
std::string base64Encode(std::string_view s);
std::string base64Decode(std::string_view s);

}  // namespace marl
