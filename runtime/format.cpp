// The printf-style formatting engine behind printf, sprintf, errorf and the
// rendering of numbers.
//
// Each conversion of e E f g G, d i o u x X c and s is made by the C
// library's snprintf with the directive as written, so a directive whose
// pieces stand out of the C order (flags, width, precision, length) comes out
// as the C library shows it ("%3 d" stays "%3 d") and still uses up its
// argument. The C library's reading of a directive is mirrored here so that
// no malformed directive, and no huge width or precision, ever reaches it.
//
// Choices where the C printf family leaves room:
// - Integer conversions (d i o u x X c b) carry 32 bits, as int did on the
//   original platform: the number is truncated toward zero and reduced modulo
//   2^32, so "%x" of -1 is "ffffffff" and "%d" of 3e9 is -1294967296. "ll" or
//   "L" in the directive carries 64 bits instead; "h" and "hh" narrow as
//   in C. A single "l" stays 32 bits (long was 32 bits there). NaN and the
//   infinities convert to 0. "L" or "ll" on e E f g G changes nothing.
// - "%s" takes the argument's text up to its first zero byte, as a C string;
//   "%c" writes one byte (a zero byte too). Length letters on them are
//   ignored rather than meaning wide characters.
// - "%b" writes the unsigned bit pattern of that integer (a negative number
//   gives its 32-bit two's complement), with width, "-", "0", precision as
//   the minimum digit count, and "#" adding "0b" to a non-zero value.
// - A "%" at the very end of the format, or a directive the format ends
//   inside, outputs nothing.
// - Each conversion's result is cut to 2047 bytes, the size of the original
//   scratch buffer; width and precision are clamped before reaching the C
//   library, which changes nothing within those 2047 bytes. A width or
//   precision beyond the C int range makes the C library fail, and the
//   conversion gives nothing.
#include "runtime/format.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <climits>
#include <cstdio>
#include <cstring>

#include "runtime/conversions.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

constexpr size_t kScratch = 2048;
constexpr size_t kMaxResult = kScratch - 1;
// Anything wider than the result bound gives the same first 2047 bytes.
constexpr int kMaxField = 4096;

// The directive of the engine's own "%b", which never reaches the C library.
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

// "%b" reads its directive leniently: flags count wherever they stand; digits
// before any "." are the width (a leading 0 being the flag), digits after the
// last "." the precision.
void addToSpec(Directive &s, char c, bool &afterDot) {
  switch (c) {
    case '-':
      s.minus = true;
      return;
    case '+':
      s.plus = true;
      return;
    case ' ':
      s.space = true;
      return;
    case '#':
      s.hash = true;
      return;
    case 'h':
      s.hCount++;
      return;
    case 'l':
      s.lCount++;
      return;
    case 'L':
      s.bigL++;
      return;
    case '.':
      afterDot = true;
      s.precision = 0;
      return;
    default:
      break;
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

// How the C library reads the bytes between "%" and the conversion letter:
// flags, width, "." and precision, one length (h, hh, l, ll or L). `stop` is
// where that reading ended; before the end of the text, the byte there is
// what the C library takes for the conversion, and it shows the directive
// instead of converting.
struct CDirective {
  bool minus = false, plus = false, space = false, hash = false, zero = false;
  long long width = 0;
  long long precision = -1;
  const char *length = "";
  bool overflow = false;  // a width or precision past INT_MAX
  size_t stop = 0;
};

long long readCInt(std::string_view text, size_t &i, bool &overflow) {
  long long v = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; i++) {
    v = v * 10 + (text[i] - '0');
    if (v > INT_MAX) {
      overflow = true;
      v = INT_MAX;
    }
  }
  return v;
}

CDirective readCDirective(std::string_view text) {
  CDirective d;
  size_t i = 0;
  for (; i < text.size(); i++) {
    char c = text[i];
    if (c == '-')
      d.minus = true;
    else if (c == '+')
      d.plus = true;
    else if (c == ' ')
      d.space = true;
    else if (c == '#')
      d.hash = true;
    else if (c == '0')
      d.zero = true;
    else
      break;
  }
  d.width = readCInt(text, i, d.overflow);
  if (i < text.size() && text[i] == '.') {
    i++;
    d.precision = readCInt(text, i, d.overflow);
  }
  if (i < text.size()) {
    if (text[i] == 'h') {
      i++;
      d.length = "h";
      if (i < text.size() && text[i] == 'h') {
        i++;
        d.length = "hh";
      }
    } else if (text[i] == 'l') {
      i++;
      d.length = "l";
      if (i < text.size() && text[i] == 'l') {
        i++;
        d.length = "ll";
      }
    } else if (text[i] == 'L') {
      i++;
      d.length = "L";
    }
  }
  d.stop = i;
  return d;
}

// What the C library writes for a directive it cannot read: "%", the flags
// in its own order, width, precision, the byte it stopped at, and then the
// rest of the directive as plain text.
void appendShownDirective(std::string &out, const CDirective &d, std::string_view text,
                          char letter) {
  std::string shown = "%";
  if (d.hash) shown += '#';
  if (d.plus)
    shown += '+';
  else if (d.space)
    shown += ' ';
  if (d.minus) shown += '-';
  if (d.zero && !d.minus) shown += '0';
  if (d.width != 0) shown += std::to_string(d.width);
  if (d.precision >= 0) shown += '.' + std::to_string(d.precision);
  shown.append(text.substr(d.stop));
  shown += letter;
  out.append(shown, 0, std::min(shown.size(), kMaxResult));
}

// The directive handed to the C library, widths clamped; `length` replaces
// the written length letters.
std::string cFormat(const CDirective &d, const char *length, char letter) {
  std::string f = "%";
  if (d.minus) f += '-';
  if (d.plus) f += '+';
  if (d.space) f += ' ';
  if (d.hash) f += '#';
  if (d.zero) f += '0';
  if (d.width > 0) f += std::to_string(std::min<long long>(d.width, kMaxField));
  if (d.precision >= 0) f += '.' + std::to_string(std::min<long long>(d.precision, kMaxField));
  f += length;
  f += letter;
  return f;
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
void appendField(std::string &out, std::string_view prefix, std::string_view body,
                 const Directive &s, bool zeroPad) {
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

// The C library's conversions write into the scratch buffer; each returns
// what snprintf does: the full length of the result, or -1.
int convertString(char *buf, const Value &arg, const CDirective &d) {
  std::string temp;
  const char *text;
  if (const MString *str = asString(arg)) {
    text = str->text.c_str();
  } else {
    appendText(temp, arg);
    text = temp.c_str();
  }
  return std::snprintf(buf, kScratch, cFormat(d, "", 's').c_str(), text);
}

int convertInteger(char *buf, double d, const CDirective &s, char letter) {
  std::string_view len = s.length;
  bool wide = len == "ll" || len == "L";
  uint64_t u = integerBits(d, wide ? 64 : 32);
  if (letter == 'c')
    return std::snprintf(buf, kScratch, cFormat(s, "", 'c').c_str(), static_cast<int>(u & 0xFF));
  std::string f = cFormat(s, s.length, letter);
  if (letter == 'd' || letter == 'i') {
    int32_t low = static_cast<int32_t>(static_cast<uint32_t>(u));
    if (wide) return std::snprintf(buf, kScratch, f.c_str(), static_cast<long long>(u));
    if (len == "l") return std::snprintf(buf, kScratch, f.c_str(), static_cast<long>(low));
    return std::snprintf(buf, kScratch, f.c_str(), static_cast<int>(low));
  }
  uint32_t low = static_cast<uint32_t>(u);
  if (wide) return std::snprintf(buf, kScratch, f.c_str(), static_cast<unsigned long long>(u));
  if (len == "l") return std::snprintf(buf, kScratch, f.c_str(), static_cast<unsigned long>(low));
  return std::snprintf(buf, kScratch, f.c_str(), static_cast<unsigned>(low));
}

int convertDouble(char *buf, double d, const CDirective &s, char letter) {
  std::string_view len = s.length;
  if (len == "ll" || len == "L")
    return std::snprintf(buf, kScratch, cFormat(s, "L", letter).c_str(),
                         static_cast<long double>(d));
  return std::snprintf(buf, kScratch, cFormat(s, "", letter).c_str(), d);
}

int convert(char *buf, const Value &arg, const CDirective &d, char letter) {
  if (letter == 's') return convertString(buf, arg, d);
  if (std::strchr("eEfgG", letter)) return convertDouble(buf, toNumber(arg), d, letter);
  return convertInteger(buf, toNumber(arg), d, letter);
}

// Past the clamp, a precision adds only zeros to the digits (integers, "f",
// "e", and "g" with "#"), so the C library's full length is known without
// making it; past INT_MAX bytes the C library fails.
bool beyondCLength(const Value &arg, const CDirective &d, char letter) {
  if (d.precision <= kMaxField) return false;
  if (letter == 's' || letter == 'c' || ((letter == 'g' || letter == 'G') && !d.hash)) return false;
  // "inf" and "nan" take no precision.
  if (std::strchr("eEfgG", letter) && !std::isfinite(toNumber(arg))) return false;
  CDirective bare = d;
  bare.width = 0;
  char buf[kScratch];
  long long natural = convert(buf, arg, bare, letter);
  if (natural < 0) return false;
  natural += d.precision - kMaxField;
  return std::max(natural, d.width) > INT_MAX;
}

// One conversion of the C library's groups; false when the letter is none.
bool formatThroughC(std::string &out, std::string_view text, char letter, const Value *arg) {
  if (letter == '\0' || !std::strchr("eEfgGdiouxXcs", letter)) return false;
  if (!arg) return true;
  CDirective d = readCDirective(text);
  if (d.overflow) return true;  // the C library fails and writes nothing
  if (d.stop < text.size()) {
    appendShownDirective(out, d, text, letter);
    return true;
  }
  if (beyondCLength(*arg, d, letter)) return true;
  char buf[kScratch];
  appendScratch(out, buf, convert(buf, *arg, d, letter));
  return true;
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
    size_t j = pct + 1;
    while (j < n && isSpecByte(format[j])) j++;
    if (j >= n) break;
    std::string_view text = format.substr(pct + 1, j - pct - 1);
    char letter = format[j];
    i = j + 1;
    if (letter == '%') {
      out += '%';
      continue;
    }
    // Every conversion uses up one argument, shown or not.
    const Value *arg = next < count ? &args[next] : nullptr;
    if (formatThroughC(out, text, letter, arg)) {
      if (arg) next++;
      continue;
    }
    if (letter == 'b') {
      if (arg) {
        Directive dir;
        bool afterDot = false;
        for (char c : text) addToSpec(dir, c, afterDot);
        formatBinary(out, integerBits(toNumber(*arg), dir.wide() ? 64 : 32), dir);
        next++;
      }
      continue;
    }
    // An unknown conversion drops its directive, keeps the letter and
    // takes no argument.
    out += letter;
  }
  return out;
}

}  // namespace marl
