// Operators on values: arithmetic with broadcasting, comparisons, bits, equality.
#include "eval/operators.hpp"

#include <cmath>
#include <cstring>
#include <unordered_set>

#include "runtime/error.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

const char *opText(int op) {
  switch (op) {
    case OP_ADD:
      return "+";
    case OP_SUB:
      return "-";
    case OP_MUL:
      return "*";
    case OP_DIV:
      return "/";
    case OP_MOD:
      return "%";
    case OP_IDIV:
      return "\\";
    case OP_POW:
      return "**";
    case OP_GT:
      return ">";
    case OP_GE:
      return ">=";
    case OP_LT:
      return "<";
    case OP_LE:
      return "<=";
    case OP_BITAND:
      return "&";
    case OP_BITOR:
      return "|";
    case OP_BITXOR:
      return "^";
    case OP_SHL:
      return "<<";
    case OP_SHR:
      return ">>";
    case OP_USHR:
      return ">>>";
    default:
      return "?";
  }
}

[[noreturn]] void badType(int line, int op) {
  raise_error(line, "Bad type operation in operator %s", opText(op));
}

// Deeply nested arrays are walked with an explicit stack; only the result
// building recurses, and that is bounded by this depth.
constexpr int kMaxBroadcastDepth = 100000;

// Rejects an array met twice in one operand (a cycle, or a shared inner array).
void checkRecursive(int line, const char *opname, MArray *root) {
  std::unordered_set<MArray *> seen;
  std::vector<MArray *> work{root};
  while (!work.empty()) {
    MArray *a = work.back();
    work.pop_back();
    if (!seen.insert(a).second)
      raise_error(line, "Recursive array detected in operator %s", opname);
    for (auto it = a->items.rbegin(); it != a->items.rend(); ++it)
      if (it->is(ObjType::Array)) work.push_back(static_cast<MArray *>(it->object()));
  }
}

Value scalar(int line, int op, const Value &a, const Value &b) {
  if (a.isNumeric() && b.isNumeric()) return Value::num(numericOp(line, op, a.number, b.number));
  if (op == OP_ADD && (a.is(ObjType::String) || b.is(ObjType::String))) {
    MString *s = new MString();
    Value r(s);
    appendText(s->text, a);
    appendText(s->text, b);
    return r;
  }
  badType(line, op);
}

Value broadcast(int line, int op, const Value &a, const Value &b, int depth) {
  MArray *la = asArray(a);
  MArray *ra = asArray(b);
  if (!la && !ra) return scalar(line, op, a, b);
  if (depth > kMaxBroadcastDepth)
    raise_error(line, "Array nesting too deep in operator %s", opText(op));
  if (la && ra && la->size() != ra->size()) raise_error(line, "Array size not match");
  size_t n = la ? la->size() : ra->size();
  MArray *out = new MArray(n);
  Value result(out);
  for (size_t i = 0; i < n; i++) {
    // Elements are read afresh each pass: the operands are not changed, but
    // taking the element by index keeps this safe if they were.
    Value x = la ? (i < la->size() ? la->items[i].get() : Value()) : a;
    Value y = ra ? (i < ra->size() ? ra->items[i].get() : Value()) : b;
    out->items[i] = broadcast(line, op, x, y, depth + 1);
  }
  return result;
}

int compareText(const Value &a, const Value &b) {
  const MString *sa = asString(a);
  const MString *sb = asString(b);
  std::string ta, tb;
  std::string_view x = sa ? sa->text.view() : std::string_view(ta = toText(a));
  std::string_view y = sb ? sb->text.view() : std::string_view(tb = toText(b));
  return x.compare(y);
}

uint32_t low32(double d) {
  double t = std::trunc(d);
  if (std::isnan(t)) return 0;
  if (t >= 9.2233720368547758e18 || t <= -9.2233720368547758e18) {
    // Out of the 64-bit range: reduce modulo 2^32 directly.
    double m = std::fmod(t, 4294967296.0);
    if (m < 0) m += 4294967296.0;
    return static_cast<uint32_t>(m);
  }
  return static_cast<uint32_t>(static_cast<long long>(t));
}

}  // namespace

void divisionByZero(int line) { raise_error(line, "Division by 0"); }

Value arith(int line, int op, const Value &a, const Value &b) {
  if (a.isNumeric() && b.isNumeric()) return Value::num(numericOp(line, op, a.number, b.number));
  MArray *la = asArray(a);
  MArray *ra = asArray(b);
  if (!la && !ra) return scalar(line, op, a, b);
  if (op != OP_POW) {
    if (la) checkRecursive(line, opText(op), la);
    if (ra) checkRecursive(line, opText(op), ra);
  }
  return broadcast(line, op, a, b, 0);
}

Value negate(int line, const Value &a) {
  if (a.isNumeric()) return Value::num(-a.number);
  MArray *arr = asArray(a);
  if (!arr) raise_error(line, "Bad type operation in operator -");
  checkRecursive(line, "-", arr);
  // -x is x * -1 element by element, which keeps the nesting rules in one place.
  struct Neg {
    static Value run(int line, const Value &v, int depth) {
      if (v.isNumeric()) return Value::num(-v.number);
      MArray *a = asArray(v);
      if (!a) raise_error(line, "Bad type operation in operator -");
      if (depth > kMaxBroadcastDepth) raise_error(line, "Array nesting too deep in operator -");
      MArray *out = new MArray(a->size());
      Value r(out);
      for (size_t i = 0; i < a->size() && i < out->size(); i++)
        out->items[i] = run(line, a->items[i].get(), depth + 1);
      return r;
    }
  };
  return Neg::run(line, a, 0);
}

bool compareOrder(int line, int op, const Value &a, const Value &b) {
  bool sa = a.is(ObjType::String), sb = b.is(ObjType::String);
  int c;
  if (a.isNumeric() && b.isNumeric()) return numericCompare(op, a.number, b.number);
  if (!sa && !sb) badType(line, op);
  c = compareText(a, b);
  switch (op) {
    case OP_GT:
      return c > 0;
    case OP_GE:
      return c >= 0;
    case OP_LT:
      return c < 0;
    default:
      return c <= 0;
  }
}

Value bitOp(int line, int op, const Value &a, const Value &b) {
  if (!a.isNumeric() || !b.isNumeric()) badType(line, op);
  uint32_t x = low32(a.number), y = low32(b.number);
  uint32_t r;
  switch (op) {
    case OP_BITAND:
      r = x & y;
      break;
    case OP_BITOR:
      r = x | y;
      break;
    case OP_BITXOR:
      r = x ^ y;
      break;
    case OP_SHL:
      r = x << (y & 31);
      break;
    case OP_SHR:
      r = static_cast<uint32_t>(static_cast<int32_t>(x) >> (y & 31));
      break;
    default:
      r = x >> (y & 31);
      break;
  }
  return Value::num(static_cast<int32_t>(r));
}

Value bitNot(int line, const Value &a) {
  if (!a.isNumeric()) raise_error(line, "Bad type operation in operator ~");
  return Value::num(static_cast<int32_t>(~low32(a.number)));
}

bool looseEquals(const Value &a, const Value &b) {
  if (a.isNull() || b.isNull()) return a.isNull() && b.isNull();
  if (a.isNumeric() && b.isNumeric()) return a.number == b.number;
  if (a.is(ObjType::String) || b.is(ObjType::String)) return compareText(a, b) == 0;
  return a.object == b.object && a.object != nullptr;
}

bool strictEquals(const Value &a, const Value &b) {
  if (a.kind != b.kind) return false;
  if (a.kind != Kind::Object) return a.number == b.number;
  if (!a.object || !b.object) return a.object == b.object;
  MString *sa = asString(a), *sb = asString(b);
  if (sa || sb) return sa && sb && sa->text == sb->text;
  return a.object == b.object;
}

}  // namespace marl
