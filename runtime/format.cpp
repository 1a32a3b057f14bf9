// The printf-style formatting engine behind printf, sprintf, errorf and the
// rendering of numbers.
//
// Choices where the C printf family leaves room:
// - Integer conversions (d i o u x X c b) carry 32 bits, as int did on the
//   original platform: the number is truncated toward zero and reduced modulo
//   2^32, so "%x" of -1 is "ffffffff" and "%d" of 3e9 is -1294967296. "ll" or
//   "L" in the directive carries 64 bits instead; "h" and "hh" narrow as
//   in C. A single "l" stays 32 bits (long was 32 bits there). NaN and the
//   infinities convert to 0.
// - "%b" writes the unsigned bit pattern of that integer (a negative number
//   gives its 32-bit two's complement), with width, "-", "0", precision as
//   the minimum digit count, and "#" adding "0b" to a non-zero value.
// - "%s" and "%c" are done here rather than by the C library, so the bytes of
//   a string are kept whole (NUL included); width and precision count bytes.
// - A "%" at the very end of the format, or a directive the format ends
//   inside, outputs nothing.
// - Each conversion's result is cut to 2047 bytes, the size of the original
//   scratch buffer; width and precision are clamped before reaching the C
//   library, which changes nothing within those 2047 bytes.
#include "runtime/format.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "runtime/conversions.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

constexpr size_t kScratch = 2048;
constexpr size_t kMaxResult = kScratch - 1;
// Anything wider than the result bound gives the same first 2047 bytes.
constexpr int kMaxField = 4096;

struct Directive {
  bool minus = false, plus = false, space = false, hash = false, zero = false;
  int width = 0;
  int precision = -1;  // none
  int hCount = 0, lCount = 0, bigL = 0;

  bool wide() const { return lCount >= 2 || bigL > 0; }
};

inline bool isSpecByte(char c) {
  return c == ' ' || c == '+' || c == '-' || c == '#' || (c >= '0' && c <= '9') || c == '.' ||
         c == 'h' || c == 'l' || c == 'L';
}

// Flags count wherever they stand; digits before any "." are the width
// (a leading 0 being the flag), digits after the last "." the precision.
void addToSpec(Directive &s, char c, bool &afterDot) {
  switch (c) {
    case '-': s.minus = true; return;
    case '+': s.plus = true; return;
    case ' ': s.space = true; return;
    case '#': s.hash = true; return;
    case 'h': s.hCount++; return;
    case 'l': s.lCount++; return;
    case 'L': s.bigL++; return;
    case '.':
      afterDot = true;
      s.precision = 0;
      return;
    default: break;
  }
  int d = c - '0';
  if (afterDot) {
    s.precision = std::min(s.precision * 10 + d, kMaxField);
  } else if (d == 0 && s.width == 0) {
    s.zero = true;
  } else {
    s.width = std::min(s.width * 10 + d, kMaxField);
  }
}

// The C library's directive for a numeric conversion, with only the
// flags that are defined for it.
void buildCSpec(char *p, const Directive &s, bool signedConv, bool allowHash, const char *length,
                char letter) {
  *p++ = '%';
  if (s.minus) *p++ = '-';
  if (signedConv && s.plus) *p++ = '+';
  if (signedConv && s.space) *p++ = ' ';
  if (allowHash && s.hash) *p++ = '#';
  if (s.zero) *p++ = '0';
  if (s.width > 0) p += std::snprintf(p, 16, "%d", s.width);
  if (s.precision >= 0) p += std::snprintf(p, 16, ".%d", s.precision);
  while (*length) *p++ = *length++;
  *p++ = letter;
  *p = '\0';
}

void appendScratch(std::string &out, const char *buf, int r) {
  if (r > 0) out.append(buf, std::min(static_cast<size_t>(r), kMaxResult));
}

// Truncates toward zero and keeps the low `bits` bits of the integer.
uint64_t integerBits(double d, int bits) {
  if (!std::isfinite(d)) return 0;
  double t = std::trunc(d);
  if (bits == 32) {
    double m = std::fmod(t, 4294967296.0);
    if (m < 0) m += 4294967296.0;
    return static_cast<uint32_t>(m);
  }
  // Here m + 2^64 would round for a small negative m; two's complement of the
  // 64-bit integer gives the exact pattern instead.
  double m = std::fmod(t, 18446744073709551616.0);
  if (m >= 9223372036854775808.0) return static_cast<uint64_t>(m);
  if (m > -9223372036854775808.0) return static_cast<uint64_t>(static_cast<int64_t>(m));
  return static_cast<uint64_t>(m + 18446744073709551616.0);
}

// Pads `body` (preceded by `prefix`) to the width: spaces on the left, on the
// right with "-", or zeros between prefix and body. Cut to the result bound.
void appendField(std::string &out, std::string_view prefix, std::string_view body, const Directive &s,
                 bool zeroPad) {
  size_t start = out.size();
  size_t len = prefix.size() + body.size();
  size_t pad = static_cast<size_t>(s.width) > len ? static_cast<size_t>(s.width) - len : 0;
  if (pad && !s.minus && !zeroPad) out.append(std::min(pad, kMaxResult), ' ');
  out.append(prefix);
  if (pad && !s.minus && zeroPad) out.append(std::min(pad, kMaxResult), '0');
  size_t room = kMaxResult - std::min(out.size() - start, kMaxResult);
  out.append(body.substr(0, room));
  if (pad && s.minus) out.append(pad, ' ');
  if (out.size() - start > kMaxResult) out.resize(start + kMaxResult);
}

void formatString(std::string &out, const Value &arg, const Directive &s) {
  std::string temp;
  std::string_view text;
  if (const MString *str = asString(arg)) {
    text = str->text;
  } else {
    appendText(temp, arg);
    text = temp;
  }
  if (s.precision >= 0 && static_cast<size_t>(s.precision) < text.size())
    text = text.substr(0, static_cast<size_t>(s.precision));
  appendField(out, {}, text, s, false);
}

void formatBinary(std::string &out, uint64_t u, const Directive &s) {
  char digits[64];
  size_t n = 0;
  for (uint64_t v = u; v; v >>= 1) digits[63 - n++] = static_cast<char>('0' + (v & 1));
  std::string_view body(digits + 64 - n, n);
  std::string zeros;
  size_t minDigits = s.precision >= 0 ? static_cast<size_t>(s.precision) : 1;
  if (n < minDigits) {
    zeros.assign(std::min(minDigits - n, kMaxResult), '0');
    zeros.append(body);
    body = zeros;
  }
  appendField(out, s.hash && u ? "0b" : "", body, s, s.zero && s.precision < 0);
}

void formatInteger(std::string &out, double d, const Directive &s, char letter) {
  int bits = s.wide() ? 64 : 32;
  uint64_t u = integerBits(d, bits);
  if (letter == 'b') {
    formatBinary(out, u, s);
    return;
  }
  if (letter == 'c') {
    char c = static_cast<char>(u & 0xFF);
    appendField(out, {}, std::string_view(&c, 1), s, false);
    return;
  }
  bool isSigned = letter == 'd' || letter == 'i';
  const char *length = bits == 64 ? "ll" : s.hCount >= 2 ? "hh" : s.hCount == 1 ? "h" : "";
  char dir[64];
  buildCSpec(dir, s, isSigned, !isSigned && letter != 'u', length, letter);
  char buf[kScratch];
  int r;
  if (bits == 64)
    r = isSigned ? std::snprintf(buf, sizeof buf, dir, static_cast<long long>(u))
                 : std::snprintf(buf, sizeof buf, dir, static_cast<unsigned long long>(u));
  else
    r = isSigned ? std::snprintf(buf, sizeof buf, dir, static_cast<int>(static_cast<int32_t>(u)))
                 : std::snprintf(buf, sizeof buf, dir, static_cast<unsigned>(u));
  appendScratch(out, buf, r);
}

void formatDouble(std::string &out, double d, const Directive &s, char letter) {
  // Length letters mean nothing for a double here (long double was double).
  char dir[64];
  buildCSpec(dir, s, true, true, "", letter);
  char buf[kScratch];
  appendScratch(out, buf, std::snprintf(buf, sizeof buf, dir, d));
}

}  // namespace

std::string format_values(std::string_view format, const Value *args, size_t count, size_t first) {
  std::string out;
  out.reserve(format.size() + 16);
  size_t next = first;
  size_t i = 0;
  const size_t n = format.size();
  while (i < n) {
    size_t pct = format.find('%', i);
    if (pct == std::string_view::npos) {
      out.append(format.substr(i));
      break;
    }
    out.append(format.substr(i, pct - i));
    Directive dir;
    bool afterDot = false;
    size_t j = pct + 1;
    while (j < n && isSpecByte(format[j])) addToSpec(dir, format[j++], afterDot);
    if (j >= n) break;
    char letter = format[j];
    i = j + 1;
    switch (letter) {
      case '%':
        out += '%';
        break;
      case 'e': case 'E': case 'f': case 'g': case 'G':
        if (next < count) formatDouble(out, toNumber(args[next++]), dir, letter);
        break;
      case 'd': case 'i': case 'o': case 'u': case 'x': case 'X': case 'c': case 'b':
        if (next < count) formatInteger(out, toNumber(args[next++]), dir, letter);
        break;
      case 's':
        if (next < count) formatString(out, args[next++], dir);
        break;
      default:
        // An unknown conversion drops its directive, keeps the letter and
        // takes no argument.
        out += letter;
        break;
    }
  }
  return out;
}

}  // namespace marl
