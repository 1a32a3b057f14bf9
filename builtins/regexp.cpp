// The regular-expression built-ins regexp() and match(), and the group's table.
#include "builtins/regexp.hpp"

#include "builtins/registry.hpp"
#include "runtime/conversions.hpp"
#include "runtime/error.hpp"

namespace marl {

namespace {

int parseFlags(int line, std::string_view letters) {
  int flags = 0;
  for (char c : letters) {
    if (c == 'i')
      flags |= REGEX_IGNORECASE;
    else if (c == 'm')
      flags |= REGEX_MULTILINE;
    else
      raise_error(line, "Bad flag '%c' in regexp()", c);
  }
  return flags;
}

void bi_regexp(Context &, int line, const Args &a, Value &r) {
  int flags = a.size() == 2 ? parseFlags(line, argString(line, a[1])) : 0;
  if (MRegExp *given = asRegExp(a[0])) {
    // Compiled patterns never change, so the object itself can be handed back.
    if (a.size() == 1) {
      r = a[0];
      return;
    }
    RegExpRef re(RegExp::compile(line, given->re->pattern(), flags));
    r = Value(new MRegExp(re.get()));
    return;
  }
  RegExpRef re(RegExp::compile(line, argString(line, a[0]), flags));
  r = Value(new MRegExp(re.get()));
}

void bi_match(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argString(line, a[0]);
  RegExpRef re = patternArgument(line, a[1], "match");
  RegexMatch m;
  if (!re->search(line, s, 0, m)) {
    r.setNull();
    return;
  }
  setMatchVariables(a[0], m);
  r = matchArray(s, m);
}

constexpr BuiltinEntry kRegexp[] = {
    {"regexp", 1, bi_regexp}, {"regexp", 2, bi_regexp}, {"match", 2, bi_match},
    {"sub", 3, bi_sub},       {"gsub", 3, bi_gsub},     {"tr", 3, bi_tr},
};

}  // namespace

std::span<const BuiltinEntry> regexpBuiltins() { return kRegexp; }

}  // namespace marl
