// Operators on values: arithmetic with broadcasting, comparisons, bits, equality.
#pragma once
#include <cmath>

#include "frontend/node.hpp"
#include "runtime/value.hpp"

namespace marl {

[[noreturn]] void divisionByZero(int line);

// x % y with y != 0. Integer-valued operands within 2^53 take the integer
// remainder, which is what fmod gives for them (sign of the dividend, -0 kept).
inline double numericMod(double x, double y) {
  constexpr double kExact = 9007199254740992.0;
  if (x >= -kExact && x <= kExact && y >= -kExact && y <= kExact) {
    long long ix = static_cast<long long>(x), iy = static_cast<long long>(y);
    if (static_cast<double>(ix) == x && static_cast<double>(iy) == y) {
      long long r = ix % iy;
      if (r == 0) return std::signbit(x) ? -0.0 : 0.0;
      return static_cast<double>(r);
    }
  }
  return std::fmod(x, y);
}

// Arithmetic on two numbers: op is one of OP_ADD .. OP_POW.
inline double numericOp(int line, int op, double x, double y) {
  switch (op) {
    case OP_ADD:
      return x + y;
    case OP_SUB:
      return x - y;
    case OP_MUL:
      return x * y;
    case OP_DIV:
      return x / y;
    case OP_MOD:
      if (y == 0) divisionByZero(line);
      return numericMod(x, y);
    case OP_IDIV: {
      if (y == 0) divisionByZero(line);
      double q = std::trunc(x / y);
      // Truncation to a 64-bit integer; values outside its range saturate.
      if (std::isnan(q)) return q;
      if (q >= 9.2233720368547758e18) return 9.2233720368547758e18;
      if (q <= -9.2233720368547758e18) return -9.2233720368547758e18;
      return static_cast<double>(static_cast<long long>(q));
    }
    default:
      return std::pow(x, y);
  }
}

// Two numbers compared: op is one of OP_EQ .. OP_LE; NaN compares false in
// every order.
inline bool numericCompare(int op, double x, double y) {
  switch (op) {
    case OP_EQ:
      return x == y;
    case OP_NE:
      return x != y;
    case OP_GT:
      return x > y;
    case OP_GE:
      return x >= y;
    case OP_LT:
      return x < y;
    default:
      return x <= y;
  }
}

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
