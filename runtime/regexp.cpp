// Regular expressions on Oniguruma: compiling, searching and the regexp object.
#include "runtime/regexp.hpp"

#include <oniguruma.h>

#include <cstdio>

#include "runtime/error.hpp"
#include "runtime/mstring.hpp"
#include "runtime/sjis.hpp"

namespace marl {

namespace {

// The internal encoding is CP932; Oniguruma's Shift_JIS has the same lead and
// trail byte classes, so a trail byte 0x5C is never taken for a backslash.
OnigEncoding encoding() {
  static OnigEncoding enc = [] {
    OnigEncoding e = ONIG_ENCODING_SJIS;
    onig_initialize(&e, 1);
    return e;
  }();
  return enc;
}

// Backtracking limits, so that a catastrophic pattern ends in an error instead
// of running for hours or exhausting memory: 10M retries at one position take
// about 0.1 s, 500M in one search about 5 s; 8M stack entries are about 250 MB.
constexpr unsigned long kRetryLimitInMatch = 10'000'000;
constexpr unsigned long kRetryLimitInSearch = 500'000'000;
constexpr unsigned int kMatchStackLimit = 8'000'000;

struct MatchParam {
  OnigMatchParam *param;
  MatchParam() : param(onig_new_match_param()) {
    onig_initialize_match_param(param);
    onig_set_retry_limit_in_match_of_match_param(param, kRetryLimitInMatch);
    onig_set_retry_limit_in_search_of_match_param(param, kRetryLimitInSearch);
    onig_set_match_stack_limit_size_of_match_param(param, kMatchStackLimit);
  }
  ~MatchParam() { onig_free_match_param(param); }
};

OnigMatchParam *matchParam() {
  static MatchParam p;
  return p.param;
}

// Patterns are quoted in one-line messages of at most 512 bytes: control
// characters are escaped and a long pattern is cut.
std::string shownPattern(std::string_view p) {
  constexpr size_t kMaxShown = 200;
  std::string out;
  for (size_t i = 0; i < p.size();) {
    if (out.size() >= kMaxShown) {
      out += "...";
      break;
    }
    unsigned char c = static_cast<unsigned char>(p[i]);
    size_t n = sjisCharLength(p, i);
    if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else if (c < 0x20 && c != '\t') {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\x%02x", c);
      out += buf;
    } else {
      out.append(p.substr(i, n));
    }
    i += n;
  }
  return out;
}

const UChar *bytes(std::string_view s) {
  // Oniguruma wants a real address even for an empty subject.
  return reinterpret_cast<const UChar *>(s.data() ? s.data() : "");
}

}  // namespace

RegExp::RegExp(re_pattern_buffer *compiled, std::string_view pattern, int flags)
    : compiled_(compiled), pattern_(pattern), flags_(flags) {}

RegExp::~RegExp() { onig_free(compiled_); }

RegExp *RegExp::compile(int line, std::string_view pattern, int flags) {
  OnigOptionType options = ONIG_OPTION_NONE;
  if (flags & REGEX_IGNORECASE) options |= ONIG_OPTION_IGNORECASE;
  // Perl's /m: ^ and $ at every line. Oniguruma's Perl syntax anchors them to
  // the whole subject unless its single-line default is negated; its own
  // MULTILINE option would instead let "." match a line feed.
  if (flags & REGEX_MULTILINE) options |= ONIG_OPTION_NEGATE_SINGLELINE;
  OnigEncoding enc = encoding();
  regex_t *compiled = nullptr;
  OnigErrorInfo info;
  const UChar *p = bytes(pattern);
  int rc = onig_new(&compiled, p, p + pattern.size(), options, enc, ONIG_SYNTAX_PERL, &info);
  if (rc != ONIG_NORMAL) {
    UChar reason[ONIG_MAX_ERROR_MESSAGE_LEN];
    onig_error_code_to_str(reason, rc, &info);
    raise_error(line, "Bad regular expression /%s/: %s", shownPattern(pattern).c_str(),
                reinterpret_cast<const char *>(reason));
  }
  return new RegExp(compiled, pattern, flags);
}

void RegExp::release() {
  if (--count_ > 0) return;
  if (count_ < 0) raise_error(0, "Internal error in RegExp::release()");
  delete this;
}

int RegExp::groups() const { return onig_number_of_captures(compiled_); }

bool RegExp::search(int line, std::string_view subject, size_t start, RegexMatch &m) const {
  const UChar *str = bytes(subject);
  const UChar *end = str + subject.size();
  int rc = onig_search_with_param(compiled_, str, end, str + start, end, m.region_,
                                  ONIG_OPTION_NONE, matchParam());
  if (rc >= 0) {
    // A lone lead byte at the end counts as a whole character to the engine,
    // so a match can claim one byte past the subject; it ends at the end.
    long size = static_cast<long>(subject.size());
    for (int i = 0; i < m.region_->num_regs; i++) {
      if (m.region_->beg[i] > size) m.region_->beg[i] = size;
      if (m.region_->end[i] > size) m.region_->end[i] = size;
    }
    return true;
  }
  if (rc == ONIG_MISMATCH) return false;
  UChar reason[ONIG_MAX_ERROR_MESSAGE_LEN];
  onig_error_code_to_str(reason, rc);
  raise_error(line, "Regular expression /%s/ failed: %s", shownPattern(pattern_).c_str(),
              reinterpret_cast<const char *>(reason));
}

RegexMatch::RegexMatch() : region_(onig_region_new()) {}
RegexMatch::~RegexMatch() { onig_region_free(region_, 1); }
int RegexMatch::count() const { return region_->num_regs; }
long RegexMatch::begin(int i) const { return region_->beg[i]; }
long RegexMatch::end(int i) const { return region_->end[i]; }

std::string_view RegexMatch::text(std::string_view subject, int i) const {
  if (!matched(i)) return {};
  return subject.substr(static_cast<size_t>(begin(i)), static_cast<size_t>(end(i) - begin(i)));
}

MRegExp::MRegExp(RegExp *r) : MRef(ObjType::RegExp), re(r) { re->retain(); }
MRegExp::~MRegExp() { re->release(); }

RegExpRef patternArgument(int line, const Value &v, const char *who) {
  if (MRegExp *m = asRegExp(v)) {
    m->re->retain();
    return RegExpRef(m->re);
  }
  if (MString *s = asString(v)) return RegExpRef(RegExp::compile(line, s->text, 0));
  raise_error(line, "Bad argument type in %s()", who);
}

}  // namespace marl
