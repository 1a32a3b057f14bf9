// UTF-8 <-> CP932 by way of UTF-16 units, with the original decoder's
// lead-byte rule.
#include <algorithm>
#include <cstdint>

#include "io/encoding.hpp"

namespace marl {

namespace {

bool isAscii(std::string_view s) {
  return std::all_of(s.begin(), s.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

int utf8SequenceLength(unsigned char b) {
  if (b < 0x80) return 1;
  // Bits 5 and 4 decide before bit 6 is looked at: 0xD0-0xDF are not two-byte
  // leads here, and 0x80-0x8F are.
  if ((b & 0x30) == 0) return 2;
  if ((b & 0x10) == 0) return 3;
  if ((b & 0x08) == 0) return 4;
  if ((b & 0x04) == 0) return 5;
  if ((b & 0x02) == 0) return 6;
  return 1;
}

std::string utf16ToUtf8(std::string_view units) {
  std::string out;
  out.reserve(units.size() * 3 / 2);
  const auto *p = reinterpret_cast<const unsigned char *>(units.data());
  // Surrogates are encoded one by one, three bytes each.
  for (size_t i = 0; i + 1 < units.size(); i += 2) {
    unsigned u = p[i] | (static_cast<unsigned>(p[i + 1]) << 8);
    if (u < 0x80) {
      out.push_back(static_cast<char>(u));
    } else if (u < 0x800) {
      out.push_back(static_cast<char>(0xC0 | ((u >> 6) & 0x1F)));
      out.push_back(static_cast<char>(0x80 | (u & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xE0 | (u >> 12)));
      out.push_back(static_cast<char>(0x80 | ((u >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (u & 0x3F)));
    }
  }
  return out;
}

std::string utf8ToUtf16(std::string_view s) {
  std::string units;
  units.reserve(s.size() * 2);
  auto put = [&units](unsigned u) {
    units.push_back(static_cast<char>(u & 0xFF));
    units.push_back(static_cast<char>(u >> 8));
  };
  const auto *p = reinterpret_cast<const unsigned char *>(s.data());
  size_t n = s.size();
  for (size_t i = 0; i < n;) {
    unsigned b = p[i];
    if (b < 0x80) {
      put(b);
      i++;
      continue;
    }
    size_t len = static_cast<size_t>(utf8SequenceLength(static_cast<unsigned char>(b)));
    // A sequence cut off by the end of the text yields nothing.
    if (len > n - i) break;
    if (len == 2) {
      put(((b & 0x1F) << 6) | (p[i + 1] & 0x3Fu));
    } else if (len == 3) {
      put(((b << 12) | ((p[i + 1] & 0x3Fu) << 6) | (p[i + 2] & 0x3Fu)) & 0xFFFF);
    }
    // Longer sequences and bytes of no pattern give no unit.
    i += len;
  }
  return units;
}

// ASCII text, the common case, is the same in both encodings.
std::string sjisToUtf8(std::string_view s) {
  return isAscii(s) ? std::string(s) : utf16ToUtf8(sjisToUtf16(s));
}

std::string utf8ToSjis(std::string_view s) {
  return isAscii(s) ? std::string(s) : utf16ToSjis(utf8ToUtf16(s));
}

}  // namespace marl
