// Operators on values: arithmetic with broadcasting, comparisons, bits, equality.
#pragma once
#include "frontend/node.hpp"
#include "runtime/value.hpp"

namespace marl {

// Arithmetic: op is one of OP_ADD .. OP_POW.
Value arith(int line, int op, const Value &a, const Value &b);
Value negate(int line, const Value &a);
// Ordering: op is OP_GT, OP_GE, OP_LT or OP_LE.
bool compareOrder(int line, int op, const Value &a, const Value &b);
Value bitOp(int line, int op, const Value &a, const Value &b);  // OP_BITAND .. OP_USHR
Value bitNot(int line, const Value &a);
bool looseEquals(const Value &a, const Value &b);
bool strictEquals(const Value &a, const Value &b);

}  // namespace marl
