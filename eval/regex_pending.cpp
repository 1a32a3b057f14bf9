// Regular expressions are not wired in yet.
#include "eval/error.hpp"
#include "eval/regex_ops.hpp"

namespace marl {

Value regexLiteral(int line, RegexLit *) { raise_error(line, "Regular expressions are not available"); }
bool regexMatchOperator(int line, const char *, const Value &, const Value &) {
  raise_error(line, "Regular expressions are not available");
}

}  // namespace marl
