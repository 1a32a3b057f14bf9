// Compiled regular expressions on Oniguruma, the search result and the regexp object.
#pragma once
#include <string>
#include <string_view>

#include "runtime/object.hpp"

struct re_pattern_buffer;  // Oniguruma's compiled pattern
struct re_registers;       // Oniguruma's match region

namespace marl {

// Flag bits, as the literal's letters set them.
enum RegexFlags : int { REGEX_IGNORECASE = 1, REGEX_MULTILINE = 2 };

class RegexMatch;

// A compiled pattern. Every MRegExp made from it, and the literal node that
// compiled it, holds one count; it is not a script object.
class RegExp {
 public:
  // Count 1. A bad pattern raises "Bad regular expression /PATTERN/: REASON" at `line`.
  static RegExp *compile(int line, std::string_view pattern, int flags);
  virtual ~RegExp();
  RegExp(const RegExp &) = delete;
  RegExp &operator=(const RegExp &) = delete;

  void retain() { ++count_; }
  // Frees at 0; below 0 raises "Internal error in RegExp::release()".
  void release();

  const std::string &pattern() const { return pattern_; }
  int flags() const { return flags_; }
  int groups() const;  // capture groups, the whole match not counted
  // Searches `subject` from byte `start` (lookbehind and anchors still see the
  // whole subject). A match-time limit raises an error at `line`.
  bool search(int line, std::string_view subject, size_t start, RegexMatch &m) const;

 private:
  RegExp(re_pattern_buffer *compiled, std::string_view pattern, int flags);
  re_pattern_buffer *compiled_;
  std::string pattern_;
  int flags_;
  int count_ = 1;
};

// A counted reference for C++ holders.
class RegExpRef {
 public:
  RegExpRef() = default;
  explicit RegExpRef(RegExp *adopt) : re_(adopt) {}  // takes over one count
  RegExpRef(const RegExpRef &o) : re_(o.re_) {
    if (re_) re_->retain();
  }
  RegExpRef &operator=(const RegExpRef &) = delete;
  ~RegExpRef() {
    if (re_) re_->release();
  }
  RegExp *get() const { return re_; }
  RegExp *operator->() const { return re_; }

 private:
  RegExp *re_ = nullptr;
};

// The spans of the last search: group 0 is the whole match, an unmatched
// group is -1..-1. Reused across searches, so gsub allocates nothing per match.
class RegexMatch {
 public:
  RegexMatch();
  ~RegexMatch();
  RegexMatch(const RegexMatch &) = delete;
  RegexMatch &operator=(const RegexMatch &) = delete;

  int count() const;  // groups + 1
  long begin(int i) const;
  long end(int i) const;
  bool matched(int i) const { return i < count() && begin(i) >= 0; }
  // The group's text, "" when unmatched or out of range.
  std::string_view text(std::string_view subject, int i) const;

 private:
  friend class RegExp;
  re_registers *region_;
};

// The script object: type name "regexp", never cloned.
class MRegExp : public MRef {
 public:
  explicit MRegExp(RegExp *re);  // takes one more count on `re`
  ~MRegExp() override;
  const char *typeName() const override { return "regexp"; }
  RegExp *re;
};

inline MRegExp *asRegExp(const Value &v) {
  return v.is(ObjType::RegExp) ? static_cast<MRegExp *>(v.object) : nullptr;
}

// An argument that names a pattern: an MRegExp's own, or a string compiled on
// the fly; anything else raises "Bad argument type in WHO()".
RegExpRef patternArgument(int line, const Value &v, const char *who);

}  // namespace marl
