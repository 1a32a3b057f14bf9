// Base64 with the original's lenient decoder.
#include <array>
#include <cstdint>

#include "io/encoding.hpp"

namespace marl {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
constexpr int kPad = 64;

// Index in the alphabet, or -1 for a character the decoder skips.
constexpr std::array<int8_t, 256> kIndex = [] {
  std::array<int8_t, 256> t{};
  t.fill(-1);
  for (int i = 0; i < 65; i++) t[static_cast<unsigned char>(kAlphabet[i])] = static_cast<int8_t>(i);
  return t;
}();

}  // namespace

std::string base64Encode(std::string_view s) {
  std::string out;
  out.reserve((s.size() + 2) / 3 * 4);
  const auto *p = reinterpret_cast<const unsigned char *>(s.data());
  size_t n = s.size(), i = 0;
  for (; i + 2 < n; i += 3) {
    uint32_t v = (uint32_t{p[i]} << 16) | (uint32_t{p[i + 1]} << 8) | p[i + 2];
    out += {kAlphabet[v >> 18], kAlphabet[(v >> 12) & 63], kAlphabet[(v >> 6) & 63],
            kAlphabet[v & 63]};
  }
  if (n - i == 2) {
    uint32_t v = (uint32_t{p[i]} << 16) | (uint32_t{p[i + 1]} << 8);
    out += {kAlphabet[v >> 18], kAlphabet[(v >> 12) & 63], kAlphabet[(v >> 6) & 63], '='};
  } else if (n - i == 1) {
    uint32_t v = uint32_t{p[i]} << 16;
    out += {kAlphabet[v >> 18], kAlphabet[(v >> 12) & 63], '=', '='};
  }
  return out;
}

std::string base64Decode(std::string_view s) {
  std::string out;
  out.reserve(s.size() / 4 * 3);
  int group[4];
  int count = 0;
  for (char ch : s) {
    // The text is a C string to the decoder: a NUL ends it.
    if (ch == '\0') break;
    int v = kIndex[static_cast<unsigned char>(ch)];
    if (v < 0) continue;
    group[count++] = v;
    if (count < 4 && v != kPad) continue;
    // A pad ends the group early; the characters before it carry the bytes.
    int digits = v == kPad ? count - 1 : count;
    uint32_t bits = 0;
    for (int k = 0; k < 4; k++)
      bits = (bits << 6) | static_cast<uint32_t>(k < digits ? group[k] : 0);
    int bytes = digits > 1 ? digits - 1 : 0;
    for (int k = 0; k < bytes; k++) out.push_back(static_cast<char>((bits >> (16 - 8 * k)) & 0xFF));
    if (bytes < 3) break;  // a padded group is the last
    count = 0;
  }
  return out;
}

}  // namespace marl
