// Shift_JIS <-> EUC-JP by arithmetic on the JIS row and cell.
#include <cstdint>

#include "io/encoding.hpp"
#include "runtime/conversions.hpp"
#include "runtime/sjis.hpp"

namespace marl {

std::string sjisToEuc(std::string_view s) {
  std::string out;
  // Only half-width katakana grow (0x8E prefix); a pair stays two bytes.
  out.reserve(s.size() + s.size() / 8);
  const auto *p = reinterpret_cast<const unsigned char *>(s.data());
  size_t n = s.size();
  for (size_t i = 0; i < n; i++) {
    unsigned s1 = p[i];
    if (s1 < 0x80) {
      // Runs of ASCII (most of any script) are copied whole.
      size_t run = i + 1;
      while (run < n && p[run] < 0x80) run++;
      out.append(s.data() + i, run - i);
      i = run - 1;
      continue;
    }
    if (isLeadByte(static_cast<unsigned char>(s1)) && i + 1 < n && isTrailByte(p[i + 1])) {
      unsigned s2 = p[i + 1];
      unsigned e1;
      if (s1 > 0x9F)
        e1 = s2 >= 0x9F ? (s1 + 0x50) * 2 : s1 * 2 - 0x61;
      else
        e1 = s2 >= 0x9F ? (s1 + 0x10) * 2 : s1 * 2 + 0x1F;
      unsigned e2 = s2 < 0x7F ? s2 - 0x1F : s2 < 0x9F ? s2 - 0x20 : s2 - 0x7E;
      out.push_back(static_cast<char>(0x80 | (e1 & 0xFF)));
      out.push_back(static_cast<char>(0x80 | (e2 & 0xFF)));
      i++;
    } else if (s1 >= 0xA1 && s1 <= 0xDF) {
      out.push_back(static_cast<char>(0x8E));
      out.push_back(static_cast<char>(s1));
    } else {
      out.push_back(static_cast<char>(s1));
    }
  }
  return out;
}

std::string eucToSjis(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  const auto *p = reinterpret_cast<const unsigned char *>(s.data());
  size_t n = s.size();
  size_t i = 0;
  while (i < n) {
    unsigned b1 = p[i];
    if (b1 < 0x80) {
      out.push_back(static_cast<char>(b1));
      i++;
    } else if (b1 == 0x8E) {
      // Half-width katakana: the byte after the prefix is already Shift_JIS.
      if (i + 1 < n) out.push_back(static_cast<char>(p[i + 1]));
      i += 2;
    } else if (b1 == 0x8F) {
      // JIS X 0212 has no Shift_JIS form; the three bytes are dropped.
      i += 3;
    } else {
      // A lead byte cut off by the end of the text has no character to give.
      if (i + 1 >= n) break;
      unsigned j1 = b1 & 0x7F;
      unsigned j2 = p[i + 1] & 0x7Fu;
      unsigned s1 = j1 < 0x5F ? (j1 + 0xE1) >> 1 : (j1 + 0x161) >> 1;
      unsigned s2;
      if (j1 & 1)
        s2 = j2 < 0x60 ? j2 + 0x1F : j2 + 0x20;
      else
        s2 = j2 + 0x7E;
      out.push_back(static_cast<char>(s1 & 0xFF));
      out.push_back(static_cast<char>(s2 & 0xFF));
      i += 2;
    }
  }
  return out;
}

}  // namespace marl
