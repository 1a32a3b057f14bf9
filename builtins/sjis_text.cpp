// Walking Shift_JIS text by characters.
#include "builtins/sjis_text.hpp"
#include "runtime/sjis.hpp"

namespace marl::sjis {

size_t charCount(std::string_view s) {
  size_t count = 0;
  for (size_t i = 0; i < s.size(); i += charSize(s, i)) count++;
  return count;
}

size_t advance(std::string_view s, size_t from, uint64_t chars) {
  size_t i = from;
  for (; chars > 0 && i < s.size(); chars--) i += charSize(s, i);
  return i;
}

size_t lastCharStart(std::string_view s) {
  size_t last = 0;
  for (size_t i = 0; i < s.size(); i += charSize(s, i)) last = i;
  return last;
}

namespace {

// Matches may only start at character boundaries, and must end at one: t's
// last byte, when it is a lone lead byte in t, must not pair with the next
// byte of s. Jumps between candidates with find() so that long runs without
// a match cost a memchr, not a character walk per position.
int64_t scan(std::string_view s, std::string_view t, int64_t first, int64_t last, bool wantLast) {
  const size_t m = t.size();
  const bool loneLeadAtEnd =
      m > 0 && isLeadByte(static_cast<unsigned char>(t[m - 1])) && lastCharStart(t) == m - 1;
  size_t bi = advance(s, 0, static_cast<uint64_t>(first));
  int64_t ci = first;
  int64_t found = -1;
  while (ci <= last) {
    size_t p = s.find(t, bi);
    if (p == std::string_view::npos) break;
    while (bi < p) {
      bi += charSize(s, bi);
      ci++;
    }
    if (ci > last) break;
    if (bi != p) continue;  // p was inside a double-byte character
    bool split =
        loneLeadAtEnd && p + m < s.size() && isTrailByte(static_cast<unsigned char>(s[p + m]));
    if (!split) {
      if (!wantLast) return ci;
      found = ci;
    }
    if (bi >= s.size()) break;
    bi += charSize(s, bi);
    ci++;
  }
  return found;
}

}  // namespace

int64_t findChars(std::string_view s, std::string_view t, int64_t first, int64_t last) {
  return first > last ? -1 : scan(s, t, first, last, false);
}

int64_t rfindChars(std::string_view s, std::string_view t, int64_t last) {
  return last < 0 ? -1 : scan(s, t, 0, last, true);
}

}  // namespace marl::sjis
