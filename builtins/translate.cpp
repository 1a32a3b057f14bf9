// tr(): character-by-character transliteration with ranges, double-byte aware.
#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "builtins/regexp.hpp"
#include "runtime/error.hpp"
#include "runtime/conversions.hpp"
#include "runtime/mstring.hpp"
#include "runtime/sjis.hpp"

namespace marl {

namespace {

// A character as one code: a byte, or a double-byte character as lead << 8 | trail.
uint32_t codeAt(std::string_view s, size_t pos, size_t n) {
  uint32_t c = static_cast<unsigned char>(s[pos]);
  return n == 2 ? c << 8 | static_cast<unsigned char>(s[pos + 1]) : c;
}

void appendCode(std::string &out, uint32_t code) {
  if (code > 0xFF) out += static_cast<char>(code >> 8);
  out += static_cast<char>(code & 0xFF);
}

// Expands "a-z" ranges (by code, so between double-byte characters too); a
// backslash takes the next character literally, and a "-" first or last is itself.
std::vector<uint32_t> expandSet(int line, std::string_view set) {
  struct Unit {
    uint32_t code;
    bool dash;  // an unescaped "-"
  };
  std::vector<Unit> units;
  for (size_t i = 0; i < set.size();) {
    bool escaped = set[i] == '\\' && i + 1 < set.size();
    if (escaped) i++;
    size_t n = sjisCharLength(set, i);
    uint32_t code = codeAt(set, i, n);
    units.push_back({code, !escaped && code == '-'});
    i += n;
  }
  std::vector<uint32_t> codes;
  for (size_t i = 0; i < units.size();) {
    if (i + 2 < units.size() && units[i + 1].dash) {
      uint32_t lo = units[i].code, hi = units[i + 2].code;
      if (lo > hi) raise_error(line, "Bad range in tr()");
      for (uint32_t c = lo; c <= hi; c++) codes.push_back(c);
      i += 3;
    } else {
      codes.push_back(units[i].code);
      i++;
    }
  }
  return codes;
}

// What becomes of one character: kept, deleted or replaced by a code.
constexpr int64_t kKeep = -1;
constexpr int64_t kDelete = -2;

class Translation {
 public:
  Translation(const std::vector<uint32_t> &from, const std::vector<uint32_t> &to) {
    single_.fill(kKeep);
    for (size_t i = 0; i < from.size(); i++) {
      // The first mention of a character wins; a short `to` repeats its last one.
      int64_t target = to.empty() ? kDelete : to[i < to.size() ? i : to.size() - 1];
      if (from[i] <= 0xFF) {
        if (single_[from[i]] == kKeep) single_[from[i]] = target;
      } else {
        double_.emplace(from[i], target);
      }
    }
  }

  int64_t operator()(uint32_t code) const {
    if (code <= 0xFF) return single_[code];
    auto it = double_.find(code);
    return it == double_.end() ? kKeep : it->second;
  }

 private:
  std::array<int64_t, 256> single_;
  std::unordered_map<uint32_t, int64_t> double_;
};

}  // namespace

void bi_tr(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argString(line, a[0]);
  Translation map(expandSet(line, argString(line, a[1])), expandSet(line, argString(line, a[2])));
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    size_t n = sjisCharLength(s, i);
    int64_t target = map(codeAt(s, i, n));
    if (target == kKeep)
      out.append(s, i, n);
    else if (target != kDelete)
      appendCode(out, static_cast<uint32_t>(target));
    i += n;
  }
  r = makeString(std::move(out));
}

}  // namespace marl
