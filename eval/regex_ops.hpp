// The evaluator's view of regular expressions: literals, =~ / !~ and the
// match variables that every successful match sets.
#pragma once
#include <string_view>

#include "frontend/node.hpp"
#include "runtime/regexp.hpp"
#include "runtime/value.hpp"

namespace marl {

// An MRegExp for a literal, compiled once per node.
Value regexLiteral(int line, RegexLit *lit);
// Matches the string operand against the regular-expression operand (either
// order) and sets the match variables; `op` names the operator in errors.
bool regexMatchOperator(int line, const char *op, const Value &a, const Value &b);

// Sets the global $0..$9, $&, $`, $', $+ and $_ from a successful match of
// `subject` (an MString).
void setMatchVariables(const Value &subject, const RegexMatch &m);
// [whole match, group 1, ...]; an unmatched group is null.
Value matchArray(std::string_view subject, const RegexMatch &m);

}  // namespace marl
