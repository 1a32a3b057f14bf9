// sub() and gsub(): the first or every match replaced by a template or by a function's result.
#include <string>
#include <vector>

#include "builtins/regexp.hpp"
#include "runtime/error.hpp"
#include "eval/evaluator.hpp"
#include "eval/funcref.hpp"
#include "runtime/conversions.hpp"
#include "runtime/mstring.hpp"
#include "runtime/sjis.hpp"

namespace marl {

namespace {

// A replacement template, parsed once per call rather than once per match.
// "$" is 0x24, never a Shift_JIS trail byte, so a byte-wise scan is safe.
class Template {
 public:
  explicit Template(std::string_view text) : text_(text) {
    size_t literal = 0;
    for (size_t i = 0; i + 1 < text.size(); i++) {
      if (text[i] != '$') continue;
      char c = text[i + 1];
      Piece ref;
      if (c >= '0' && c <= '9')
        ref = {Group, static_cast<size_t>(c - '0'), 0};
      else if (c == '&')
        ref = {Group, 0, 0};
      else if (c == '`')
        ref = {Before, 0, 0};
      else if (c == '\'')
        ref = {After, 0, 0};
      else if (c == '+')
        ref = {Last, 0, 0};
      else if (c == '$')
        ref = {Literal, i + 1, i + 2};  // "$$" is one dollar
      else
        continue;
      if (i > literal) pieces_.push_back({Literal, literal, i});
      pieces_.push_back(ref);
      literal = i + 2;
      i++;
    }
    if (literal < text.size()) pieces_.push_back({Literal, literal, text.size()});
  }

  void expand(std::string &out, std::string_view s, const RegexMatch &m) const {
    for (const Piece &p : pieces_) {
      switch (p.kind) {
        case Literal:
          out.append(text_.substr(p.a, p.b - p.a));
          break;
        case Group:
          out.append(m.text(s, static_cast<int>(p.a)));
          break;
        case Before:
          out.append(s.substr(0, static_cast<size_t>(m.begin(0))));
          break;
        case After:
          out.append(s.substr(static_cast<size_t>(m.end(0))));
          break;
        case Last: {
          int last = m.count() - 1;
          while (last > 0 && !m.matched(last)) last--;
          if (last > 0) out.append(m.text(s, last));
          break;
        }
      }
    }
  }

 private:
  enum Kind { Literal, Group, Before, After, Last };
  struct Piece {
    Kind kind;
    size_t a, b;  // a literal's span in the template, or a group's number in a
  };
  std::string_view text_;
  std::vector<Piece> pieces_;
};

void substitute(Context &ctx, int line, const Args &a, Value &r, bool global, const char *who) {
  std::string_view s = argString(line, a[0]);
  RegExpRef re = patternArgument(line, a[1], who);
  const Value &repl = a[2];
  bool callback = repl.is(ObjType::FuncRef);
  std::string templateText;
  if (MString *t = asString(repl))
    templateText = t->text;
  else if (repl.isNumeric())
    templateText = toText(repl);
  else if (!callback)
    raise_error(line, "Bad argument type in %s()", who);
  Template tmpl(templateText);

  // One result buffer; pieces are appended, so a long subject is copied once.
  std::string out;
  out.reserve(s.size());
  // Two regions in turn: a failed search clears its region, and the match
  // variables describe the last successful one.
  RegexMatch regions[2];
  int cur = 0, last = -1;
  size_t copied = 0, pos = 0;
  while (pos <= s.size() && re->search(line, s, pos, regions[cur])) {
    const RegexMatch &m = regions[cur];
    last = cur;
    cur ^= 1;
    size_t b = static_cast<size_t>(m.begin(0)), e = static_cast<size_t>(m.end(0));
    out.append(s, copied, b - copied);
    if (callback) {
      setMatchVariables(a[0], m);
      Value arg = matchArray(s, m);
      Value res;
      call_value(ctx, res, line, repl, Args{&arg, 1}, who);
      // A function that returns nothing replaces the match with nothing.
      if (!res.isNull()) appendText(out, res);
    } else {
      tmpl.expand(out, s, m);
    }
    copied = e;
    if (!global) break;
    if (e == b) {
      // An empty match: keep the next character and search after it, so
      // the loop always advances (a double-byte character moves as one).
      if (b >= s.size()) break;
      size_t n = sjisCharLength(s, b);
      out.append(s, b, n);
      copied = pos = b + n;
    } else {
      pos = e;
    }
  }
  out.append(s, copied, std::string::npos);
  if (last >= 0) setMatchVariables(a[0], regions[last]);
  r = makeString(std::move(out));
}

}  // namespace

void bi_sub(Context &ctx, int line, const Args &a, Value &r) {
  substitute(ctx, line, a, r, false, "sub");
}

void bi_gsub(Context &ctx, int line, const Args &a, Value &r) {
  substitute(ctx, line, a, r, true, "gsub");
}

}  // namespace marl
