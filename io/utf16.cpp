// CP932 <-> UTF-16LE through iconv, with the platform's handling of bytes
// and characters the code page lacks.
#include <iconv.h>

#include <cerrno>
#include <cstdint>

#include "io/encoding.hpp"
#include "runtime/conversions.hpp"
#include "runtime/sjis.hpp"

namespace marl {

namespace {

// What the platform decodes an unassigned or broken double-byte character to.
constexpr unsigned kInvalidUnit = 0x30FB;

// One converter per direction, opened on first use and kept. Without the
// code page (a stripped glibc) every non-ASCII character counts as invalid.
class Iconv {
 public:
  Iconv(const char *to, const char *from) : cd_(iconv_open(to, from)) {}
  ~Iconv() {
    if (ok()) iconv_close(cd_);
  }
  bool ok() const { return cd_ != reinterpret_cast<iconv_t>(-1); }
  // Converts as far as it can; false when it stopped at bad input.
  bool run(const char *&in, size_t &inLeft, char *&out, size_t outLeft) {
    if (!ok()) return inLeft == 0;
    iconv(cd_, nullptr, nullptr, nullptr, nullptr);
    auto *src = const_cast<char *>(in);
    size_t r = iconv(cd_, &src, &inLeft, &out, &outLeft);
    in = src;
    return r != static_cast<size_t>(-1);
  }

 private:
  iconv_t cd_;
};

Iconv &toUtf16() {
  static Iconv c("UTF-16LE", "CP932");
  return c;
}

Iconv &toCp932() {
  static Iconv c("CP932", "UTF-16LE");
  return c;
}

// The single bytes CP932 leaves unassigned, mapped as the platform's table
// does, so that they survive a round trip.
int unitOfStrayByte(unsigned char b) {
  if (b == 0x80) return 0x80;
  if (b == 0xA0) return 0xF8F0;
  if (b >= 0xFD) return 0xF8F1 + (b - 0xFD);
  return -1;
}

int byteOfStrayUnit(unsigned u) {
  if (u == 0x80) return 0x80;
  if (u == 0xF8F0) return 0xA0;
  if (u >= 0xF8F1 && u <= 0xF8F3) return 0xFD + static_cast<int>(u - 0xF8F1);
  return -1;
}

inline void putUnit(char *&o, unsigned u) {
  o[0] = static_cast<char>(u & 0xFF);
  o[1] = static_cast<char>(u >> 8);
  o += 2;
}

inline unsigned unitAt(const unsigned char *p) { return p[0] | (static_cast<unsigned>(p[1]) << 8); }

}  // namespace

std::string sjisToUtf16(std::string_view s) {
  // Every byte gives at most one unit.
  std::string out(s.size() * 2, '\0');
  char *o = out.data();
  const auto *p = reinterpret_cast<const unsigned char *>(s.data());
  size_t n = s.size(), i = 0;
  while (i < n) {
    if (p[i] < 0x80) {
      putUnit(o, p[i++]);
      continue;
    }
    // iconv gets the non-ASCII runs only; a trail byte may be ASCII.
    size_t j = i;
    while (j < n && p[j] >= 0x80) j += isLeadByte(p[j]) && j + 1 < n ? 2 : 1;
    const char *in = s.data() + i;
    size_t left = j - i;
    while (!toUtf16().run(in, left, o, static_cast<size_t>(out.data() + out.size() - o))) {
      auto b = static_cast<unsigned char>(*in);
      int u = unitOfStrayByte(b);
      size_t skip = 1;
      if (u < 0) {
        u = kInvalidUnit;
        if (isLeadByte(b) && left > 1 && isTrailByte(static_cast<unsigned char>(in[1]))) skip = 2;
      }
      putUnit(o, static_cast<unsigned>(u));
      in += skip;
      left -= skip;
    }
    i = j;
  }
  out.resize(static_cast<size_t>(o - out.data()));
  return out;
}

std::string utf16ToSjis(std::string_view u) {
  size_t n = u.size() & ~static_cast<size_t>(1);  // an odd last byte is no unit
  // Every unit gives at most two bytes.
  std::string out(n, '\0');
  char *o = out.data();
  const auto *p = reinterpret_cast<const unsigned char *>(u.data());
  size_t i = 0;
  while (i < n) {
    unsigned c = unitAt(p + i);
    if (c < 0x80) {
      *o++ = static_cast<char>(c);
      i += 2;
      continue;
    }
    size_t j = i;
    while (j < n && unitAt(p + j) >= 0x80) j += 2;
    const char *in = u.data() + i;
    size_t left = j - i;
    // A character the code page lacks becomes the default character, once
    // also when it takes a surrogate pair; a lone surrogate is one as well.
    while (!toCp932().run(in, left, o, static_cast<size_t>(out.data() + out.size() - o))) {
      const auto *q = reinterpret_cast<const unsigned char *>(in);
      unsigned unit = unitAt(q);
      int b = byteOfStrayUnit(unit);
      *o++ = static_cast<char>(b < 0 ? '?' : b);
      size_t skip = 2;
      if (unit >= 0xD800 && unit < 0xDC00 && left >= 4 && unitAt(q + 2) >= 0xDC00 &&
          unitAt(q + 2) < 0xE000)
        skip = 4;
      in += skip;
      left -= skip;
    }
    i = j;
  }
  out.resize(static_cast<size_t>(o - out.data()));
  return out;
}

}  // namespace marl
