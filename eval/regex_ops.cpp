// Regular expressions in the evaluator: literals, =~ / !~ and the match variables.
#include "eval/regex_ops.hpp"

#include "frontend/names.hpp"
#include "frontend/symbols.hpp"
#include "runtime/error.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

// The match variables' names, interned once.
struct MatchNames {
  Name *group[10];
  Name *whole, *before, *after, *last, *subject;
  MatchNames() {
    char name[3] = {'$', '0', '\0'};
    for (int i = 0; i < 10; i++) {
      name[1] = static_cast<char>('0' + i);
      group[i] = intern(name);
    }
    whole = intern("$&");
    before = intern("$`");
    after = intern("$'");
    last = intern("$+");
    subject = intern("$_");
  }
};

const MatchNames &matchNames() {
  static const MatchNames names;
  return names;
}

void setGlobal(Name *name, Value v) {
  Symbol *s = findGlobal(name);
  if (!s) s = declare(globalScope(), name);
  s->value = std::move(v);
}

}  // namespace

void setMatchVariables(const Value &subject, const RegexMatch &m) {
  // Without a global scope (no script running) there is nowhere to put them.
  if (scopeDepth() == 0) return;
  const MatchNames &names = matchNames();
  std::string_view s = asString(subject)->text;
  for (int i = 0; i < 10; i++) setGlobal(names.group[i], makeString(m.text(s, i)));
  setGlobal(names.whole, makeString(m.text(s, 0)));
  setGlobal(names.before, makeString(s.substr(0, static_cast<size_t>(m.begin(0)))));
  setGlobal(names.after, makeString(s.substr(static_cast<size_t>(m.end(0)))));
  int last = m.count() - 1;
  while (last > 0 && !m.matched(last)) last--;
  setGlobal(names.last, makeString(last > 0 ? m.text(s, last) : std::string_view()));
  // Strings never change in place, so $_ shares the subject instead of copying it.
  setGlobal(names.subject, subject);
}

Value matchArray(std::string_view subject, const RegexMatch &m) {
  MArray *arr = new MArray(static_cast<size_t>(m.count()));
  Value holder(arr);
  for (int i = 0; i < m.count(); i++)
    if (m.matched(i)) arr->items[i] = makeString(m.text(subject, i));
  return holder;
}

Value regexLiteral(int line, RegexLit *lit) {
  if (!lit->compiled) {
    // The node holds one count until the node list is freed at teardown.
    lit->compiled = RegExp::compile(line, lit->pattern, lit->flags);
  }
  return Value(new MRegExp(lit->compiled));
}

bool regexMatchOperator(int line, const char *op, const Value &a, const Value &b) {
  MRegExp *re = asRegExp(a);
  const Value *subject = &b;
  if (!re) {
    re = asRegExp(b);
    subject = &a;
  }
  MString *s = asString(*subject);
  if (!re || !s) raise_error(line, "Bad type operation in operator %s", op);
  RegexMatch m;
  if (!re->re->search(line, s->text, 0, m)) return false;
  setMatchVariables(*subject, m);
  return true;
}

}  // namespace marl
