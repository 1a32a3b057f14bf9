// String built-ins: byte-string operations, aware of Shift_JIS double-byte
// characters where a character matters (chop, case mapping, trimming, j…).
#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

#include "builtins/registry.hpp"
#include "builtins/sjis_text.hpp"
#include "runtime/error.hpp"
#include "runtime/conversions.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

// Positions, counts and widths are truncated toward zero. NaN counts as 0 and
// magnitudes are capped at 2^53, far beyond any string, so that the offset
// arithmetic below cannot overflow.
int64_t argCount(int line, const Value &v) {
  double d = std::trunc(argNumber(line, v));
  if (std::isnan(d)) return 0;
  constexpr double kCap = 9007199254740992.0;
  return static_cast<int64_t>(std::clamp(d, -kCap, kCap));
}

std::string_view argText(int line, const Value &v) { return argString(line, v); }

void setText(Value &r, std::string_view s) { r = makeString(s); }

void bi_chop(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  size_t n = s.size();
  size_t cut = 0;
  if (n > 0) {
    if (n - sjis::lastCharStart(s) == 2)
      cut = 2;
    else if (n >= 2 && s[n - 2] == '\r' && s[n - 1] == '\n')
      cut = 2;
    else
      cut = 1;
  }
  setText(r, s.substr(0, n - cut));
}

// Neither CR nor LF can be a trail byte, so no character scan is needed.
void bi_chomp(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  if (!s.empty() && s.back() == '\n') {
    s.remove_suffix(1);
    if (!s.empty() && s.back() == '\r') s.remove_suffix(1);
  }
  setText(r, s);
}

// ASCII letters only; both bytes of a double-byte character are left alone,
// even when a trail byte happens to be an ASCII letter.
void mapCase(int line, const Args &a, Value &r, char from, char to) {
  std::string out(argText(line, a[0]));
  for (size_t i = 0; i < out.size();) {
    size_t w = sjis::charSize(out, i);
    if (w == 1 && out[i] >= from && out[i] <= to) out[i] = static_cast<char>(out[i] ^ 0x20);
    i += w;
  }
  r = makeString(std::move(out));
}

void bi_toupper(Context &, int line, const Args &a, Value &r) { mapCase(line, a, r, 'a', 'z'); }
void bi_tolower(Context &, int line, const Args &a, Value &r) { mapCase(line, a, r, 'A', 'Z'); }

// Shared by substr and jsubstr, in bytes or characters: a negative start
// counts from the end and is raised to 0 if still negative; a negative n
// means to the end. Returns false when nothing is selected.
bool headRange(int64_t len, int64_t &start, int64_t &n) {
  if (start < 0) start = std::max<int64_t>(len + start, 0);
  if (start >= len) return false;
  if (n < 0 || n > len - start) n = len - start;
  return true;
}

// Shared by rsubstr and jrsubstr: the n units ending just before `end`.
// A negative end counts from the end; an end past the end is lowered to it.
bool tailRange(int64_t len, int64_t &end, int64_t &n) {
  if (end < 0) end += len;
  end = std::min(end, len);
  if (end <= 0) return false;
  if (n < 0 || n > end) n = end;
  return true;
}

void bi_substr(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  int64_t start = argCount(line, a[1]);
  int64_t n = a.size() > 2 ? argCount(line, a[2]) : -1;
  if (!headRange(static_cast<int64_t>(s.size()), start, n)) return setText(r, {});
  setText(r, s.substr(start, n));
}

void bi_rsubstr(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  int64_t end = argCount(line, a[1]);
  int64_t n = a.size() > 2 ? argCount(line, a[2]) : -1;
  if (!tailRange(static_cast<int64_t>(s.size()), end, n)) return setText(r, {});
  setText(r, s.substr(end - n, n));
}

// index and jindex: the first start to try, or -1 when no start can match.
// A match may begin no later than len - tlen.
int64_t firstStart(int64_t len, int64_t tlen, int64_t start) {
  if (len == 0) return -1;
  if (start < 0) start = std::max<int64_t>(len + start, 0);
  return start <= len - tlen ? start : -1;
}

// rindex and jrindex: the highest start to try, or -1. The bound len - tlen - 1
// is one lower than a match could begin, so a match ending exactly at the end
// of s is never found; scripts rely on this, so it stays.
int64_t lastStart(int64_t len, int64_t tlen, int64_t start) {
  if (len == 0) return -1;
  if (start < 0) start += len;
  start = std::min(start, len - tlen - 1);
  return start >= 0 ? start : -1;
}

void bi_index(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  std::string_view t = argText(line, a[1]);
  int64_t start = firstStart(static_cast<int64_t>(s.size()), static_cast<int64_t>(t.size()),
                             a.size() > 2 ? argCount(line, a[2]) : 0);
  size_t p = start < 0 ? std::string_view::npos : s.find(t, start);
  r.setNumber(p == std::string_view::npos ? -1.0 : static_cast<double>(p));
}

void bi_rindex(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  std::string_view t = argText(line, a[1]);
  int64_t start = lastStart(static_cast<int64_t>(s.size()), static_cast<int64_t>(t.size()),
                            a.size() > 2 ? argCount(line, a[2]) : -1);
  size_t p = start < 0 ? std::string_view::npos : s.rfind(t, start);
  r.setNumber(p == std::string_view::npos ? -1.0 : static_cast<double>(p));
}

// Blanks are spaces, tabs and the full-width blank 0x81 0x40. Trimming moves by
// whole characters, so a 0x81 that is the trail byte of the character before
// never pairs with a following '@'.
bool isBlank(std::string_view s, size_t i, size_t width) {
  if (width == 2) return s[i] == '\x81' && s[i + 1] == '\x40';
  return s[i] == ' ' || s[i] == '\t';
}

size_t leadingBlanks(std::string_view s) {
  size_t i = 0;
  while (i < s.size()) {
    size_t w = sjis::charSize(s, i);
    if (!isBlank(s, i, w)) break;
    i += w;
  }
  return i;
}

// The end of the last non-blank character at or after `from`.
size_t endOfText(std::string_view s, size_t from) {
  size_t end = from;
  for (size_t i = from; i < s.size();) {
    size_t w = sjis::charSize(s, i);
    i += w;
    if (!isBlank(s, i - w, w)) end = i;
  }
  return end;
}

void bi_ltrim(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  setText(r, s.substr(leadingBlanks(s)));
}

void bi_rtrim(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  setText(r, s.substr(0, endOfText(s, 0)));
}

void bi_trim(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  size_t begin = leadingBlanks(s);
  setText(r, s.substr(begin, endOfText(s, begin) - begin));
}

// Tab stops every `width` columns from the start of each line. Columns count
// bytes since the last line feed: a double-byte character is two columns wide,
// and neither a tab, a space nor a line feed can be a trail byte.
constexpr int64_t kDefaultTabWidth = 8;
// detab's result is capped like an array's size, so a huge width fails
// instead of exhausting memory.
constexpr uint64_t kMaxExpanded = 268435456;

uint64_t tabWidth(int line, const Args &a, const char *who) {
  int64_t width = a.size() > 1 ? argCount(line, a[1]) : kDefaultTabWidth;
  if (width <= 0) raise_error(line, "Bad argument in %s()", who);
  return static_cast<uint64_t>(width);
}

void bi_detab(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  uint64_t width = tabWidth(line, a, "detab");
  // Size first, so the result is allocated once and a runaway width is caught.
  uint64_t size = 0;
  uint64_t col = 0;
  for (char c : s) {
    uint64_t w = c == '\t' ? width - col % width : 1;
    size += w;
    if (size > kMaxExpanded) raise_error(line, "Bad argument in detab()");
    col = c == '\n' ? 0 : col + w;
  }
  std::string out;
  out.reserve(size);
  col = 0;
  for (char c : s) {
    if (c == '\t') {
      uint64_t w = width - col % width;
      out.append(w, ' ');
      col += w;
    } else {
      out += c;
      col = c == '\n' ? 0 : col + 1;
    }
  }
  r = makeString(std::move(out));
}

// A run of two or more spaces that ends exactly at a tab stop becomes one tab;
// a single space before a stop stays a space (a tab would save nothing). Spaces
// just before a tab are dropped, since the tab reaches the same stop.
void bi_entab(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  uint64_t width = tabWidth(line, a, "entab");
  std::string out;
  out.reserve(s.size());
  uint64_t col = 0;
  size_t pending = 0;
  for (char c : s) {
    if (c == ' ') {
      pending++;
      if (++col % width == 0) {
        out += pending >= 2 ? '\t' : ' ';
        pending = 0;
      }
    } else if (c == '\t') {
      pending = 0;
      out += '\t';
      col += width - col % width;
    } else {
      out.append(pending, ' ');
      pending = 0;
      out += c;
      col = c == '\n' ? 0 : col + 1;
    }
  }
  out.append(pending, ' ');
  r = makeString(std::move(out));
}

void bi_jlen(Context &, int line, const Args &a, Value &r) {
  r.setNumber(static_cast<double>(sjis::charCount(argText(line, a[0]))));
}

// The bytes of characters [from, from + n) of s.
std::string_view charRange(std::string_view s, int64_t from, int64_t n) {
  size_t b0 = sjis::advance(s, 0, static_cast<uint64_t>(from));
  size_t b1 = sjis::advance(s, b0, static_cast<uint64_t>(n));
  return s.substr(b0, b1 - b0);
}

void bi_jsubstr(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  int64_t start = argCount(line, a[1]);
  int64_t n = a.size() > 2 ? argCount(line, a[2]) : -1;
  if (!headRange(static_cast<int64_t>(sjis::charCount(s)), start, n)) return setText(r, {});
  setText(r, charRange(s, start, n));
}

void bi_jrsubstr(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  int64_t end = argCount(line, a[1]);
  int64_t n = a.size() > 2 ? argCount(line, a[2]) : -1;
  if (!tailRange(static_cast<int64_t>(sjis::charCount(s)), end, n)) return setText(r, {});
  setText(r, charRange(s, end - n, n));
}

// jindex and jrindex apply index's and rindex's rules in characters, the end
// bound of rindex included; a match must cover whole characters of s.
void bi_jindex(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  std::string_view t = argText(line, a[1]);
  int64_t len = static_cast<int64_t>(sjis::charCount(s));
  int64_t tlen = static_cast<int64_t>(sjis::charCount(t));
  int64_t start = firstStart(len, tlen, a.size() > 2 ? argCount(line, a[2]) : 0);
  int64_t p = start < 0 ? -1 : sjis::findChars(s, t, start, len - tlen);
  r.setNumber(static_cast<double>(p));
}

void bi_jrindex(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  std::string_view t = argText(line, a[1]);
  int64_t len = static_cast<int64_t>(sjis::charCount(s));
  int64_t tlen = static_cast<int64_t>(sjis::charCount(t));
  int64_t start = lastStart(len, tlen, a.size() > 2 ? argCount(line, a[2]) : -1);
  r.setNumber(static_cast<double>(sjis::rfindChars(s, t, start)));
}

// The code is taken modulo 2^32 (so -1 is 0xFFFFFFFF; NaN and infinities are 0). Codes below
// 256 give one byte; any other code gives the two bytes of its low 16 bits,
// high byte first, which is how a double-byte character's code reads.
void bi_chr(Context &, int line, const Args &a, Value &r) {
  double d = std::trunc(argNumber(line, a[0]));
  uint32_t code = 0;
  if (std::isfinite(d)) {
    d = std::fmod(d, 4294967296.0);
    if (d < 0) d += 4294967296.0;
    code = static_cast<uint32_t>(d);
  }
  char bytes[2] = {static_cast<char>(code >> 8), static_cast<char>(code)};
  if (code < 256)
    setText(r, std::string_view(bytes + 1, 1));
  else
    setText(r, std::string_view(bytes, 2));
}

// lead * 256 + trail for a double-byte first character, else the byte's
// unsigned value; 0 for the empty string, as for the NUL that ends C text.
void bi_ord(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argText(line, a[0]);
  double code = 0;
  if (!s.empty()) {
    code = static_cast<unsigned char>(s[0]);
    if (sjis::charSize(s, 0) == 2) code = code * 256 + static_cast<unsigned char>(s[1]);
  }
  r.setNumber(code);
}

constexpr BuiltinEntry kString[] = {
    {"chop", 1, bi_chop},         {"chomp", 1, bi_chomp},       {"toupper", 1, bi_toupper},
    {"tolower", 1, bi_tolower},   {"substr", 2, bi_substr},     {"substr", 3, bi_substr},
    {"rsubstr", 2, bi_rsubstr},   {"rsubstr", 3, bi_rsubstr},   {"index", 2, bi_index},
    {"index", 3, bi_index},       {"rindex", 2, bi_rindex},     {"rindex", 3, bi_rindex},
    {"trim", 1, bi_trim},         {"ltrim", 1, bi_ltrim},       {"rtrim", 1, bi_rtrim},
    {"entab", 2, bi_entab},       {"entab", 1, bi_entab},       {"detab", 2, bi_detab},
    {"detab", 1, bi_detab},       {"jsubstr", 2, bi_jsubstr},   {"jsubstr", 3, bi_jsubstr},
    {"jrsubstr", 2, bi_jrsubstr}, {"jrsubstr", 3, bi_jrsubstr}, {"jindex", 2, bi_jindex},
    {"jindex", 3, bi_jindex},     {"jrindex", 2, bi_jrindex},   {"jrindex", 3, bi_jrindex},
    {"jlen", 1, bi_jlen},         {"chr", 1, bi_chr},           {"ord", 1, bi_ord},
};

}  // namespace

std::span<const BuiltinEntry> stringBuiltins() { return kString; }

}  // namespace marl
