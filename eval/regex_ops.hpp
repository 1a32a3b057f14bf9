// The evaluator's view of regular expressions: literals and =~ / !~.
#pragma once
#include "frontend/node.hpp"
#include "runtime/value.hpp"

namespace marl {

// An MRegExp for a literal, compiled once per node.
Value regexLiteral(int line, RegexLit *lit);
// Matches the string operand against the regular-expression operand (either
// order) and sets the match variables; `op` names the operator in errors.
bool regexMatchOperator(int line, const char *op, const Value &a, const Value &b);

}  // namespace marl
