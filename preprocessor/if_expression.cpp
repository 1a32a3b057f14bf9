#include "preprocessor/if_expression.hpp"

#include <cstdint>
#include <limits>
#include <string>

#include "preprocessor/pp_error.hpp"

namespace marl::pp {
namespace {

// Parentheses, unary operators and ?: nest by recursion; deeper input is an error.
constexpr int kMaxNesting = 200;

// intmax_t / uintmax_t as C evaluates them; the bits are kept unsigned so that overflow wraps
// instead of being undefined.
struct Value {
  std::uint64_t bits = 0;
  bool is_unsigned = false;
  std::int64_t s() const { return static_cast<std::int64_t>(bits); }
  bool truth() const { return bits != 0; }
};

Value signed_value(std::int64_t v) { return Value{static_cast<std::uint64_t>(v), false}; }

enum class Op {
  None,
  Mul,
  Div,
  Mod,
  Add,
  Sub,
  Shl,
  Shr,
  Lt,
  Le,
  Gt,
  Ge,
  Eq,
  Ne,
  BitAnd,
  BitXor,
  BitOr,
  And,
  Or
};

struct OpInfo {
  std::string_view spelling;
  Op op;
  int prec;
};

constexpr OpInfo kBinary[] = {
    {"*", Op::Mul, 10}, {"/", Op::Div, 10},   {"%", Op::Mod, 10},   {"+", Op::Add, 9},
    {"-", Op::Sub, 9},  {"<<", Op::Shl, 8},   {">>", Op::Shr, 8},   {"<", Op::Lt, 7},
    {"<=", Op::Le, 7},  {">", Op::Gt, 7},     {">=", Op::Ge, 7},    {"==", Op::Eq, 6},
    {"!=", Op::Ne, 6},  {"&", Op::BitAnd, 5}, {"^", Op::BitXor, 4}, {"|", Op::BitOr, 3},
    {"&&", Op::And, 2}, {"||", Op::Or, 1},
};

Value shift(Value a, Value n, bool left) {
  // A negative count shifts the other way; counts of 64 and more shift everything out.
  std::uint64_t count;
  if (!n.is_unsigned && n.s() < 0) {
    left = !left;
    count = 0 - n.bits;
  } else {
    count = n.bits;
  }
  if (left) return Value{count >= 64 ? 0 : a.bits << count, a.is_unsigned};
  if (a.is_unsigned) return Value{count >= 64 ? 0 : a.bits >> count, true};
  if (count >= 64) return signed_value(a.s() < 0 ? -1 : 0);
  return signed_value(a.s() >> count);
}

class IfParser {
 public:
  IfParser(Expander &ex, const char *directive) : ex_(ex), directive_(directive) {}

  bool run() {
    advance();
    if (cur_.kind == Tok::End) throw PPError{std::string(directive_) + " with no expression"};
    Value v = comma();
    if (cur_.kind != Tok::End) {
      if (cur_.is(')')) throw PPError{"missing '(' in expression"};
      if (cur_.is(':')) throw PPError{"':' without preceding '?'"};
      throw PPError{"missing binary operator before token \"" + std::string(cur_.text) + "\""};
    }
    return v.truth();
  }

 private:
  void advance() {
    do cur_ = ex_.get();
    while (cur_.kind == Tok::Space || cur_.kind == Tok::Comment || cur_.kind == Tok::Newline);
  }

  void enter() {
    if (++depth_ > kMaxNesting)
      throw PPError{"expression nested too deeply in " + std::string(directive_)};
  }

  Value comma() {
    Value v = conditional();
    while (cur_.is(',')) {
      last_op_ = ",";
      advance();
      v = conditional();
    }
    return v;
  }

  Value conditional() {
    enter();
    Value c = binary(1);
    if (cur_.is('?')) {
      last_op_ = "?";
      advance();
      bool pick = c.truth();
      skip_ += !pick;
      Value a = comma();
      skip_ -= !pick;
      if (!cur_.is(':')) throw PPError{"'?' without following ':'"};
      last_op_ = ":";
      advance();
      skip_ += pick;
      Value b = conditional();
      skip_ -= pick;
      Value r = pick ? a : b;
      r.is_unsigned = a.is_unsigned || b.is_unsigned;
      c = r;
    }
    --depth_;
    return c;
  }

  const OpInfo *binary_op() const {
    if (cur_.kind != Tok::Punct) return nullptr;
    for (const OpInfo &info : kBinary)
      if (info.spelling == cur_.text) return &info;
    return nullptr;
  }

  Value binary(int min_prec) {
    Value lhs = unary();
    for (;;) {
      const OpInfo *info = binary_op();
      if (!info || info->prec < min_prec) return lhs;
      last_op_ = info->spelling;
      advance();
      if (info->op == Op::And || info->op == Op::Or) {
        // The right operand is parsed even when its value does not matter, but errors such
        // as division by zero count only where C would evaluate it.
        bool decided = info->op == Op::And ? !lhs.truth() : lhs.truth();
        skip_ += decided;
        Value rhs = binary(info->prec + 1);
        skip_ -= decided;
        bool r = info->op == Op::And ? lhs.truth() && rhs.truth() : lhs.truth() || rhs.truth();
        lhs = signed_value(r);
        continue;
      }
      Value rhs = binary(info->prec + 1);
      lhs = apply(info->op, lhs, rhs);
    }
  }

  Value apply(Op op, Value a, Value b) {
    bool u = a.is_unsigned || b.is_unsigned;
    switch (op) {
      case Op::Mul:
        return Value{a.bits * b.bits, u};
      case Op::Add:
        return Value{a.bits + b.bits, u};
      case Op::Sub:
        return Value{a.bits - b.bits, u};
      case Op::Div:
      case Op::Mod: {
        if (b.bits == 0) {
          if (skip_) return Value{0, u};
          throw PPError{"division by zero in " + std::string(directive_)};
        }
        if (u) return Value{op == Op::Div ? a.bits / b.bits : a.bits % b.bits, true};
        if (a.s() == std::numeric_limits<std::int64_t>::min() && b.s() == -1)
          return op == Op::Div ? a : signed_value(0);  // the one quotient that overflows wraps
        return signed_value(op == Op::Div ? a.s() / b.s() : a.s() % b.s());
      }
      case Op::Shl:
        return shift(a, b, true);
      case Op::Shr:
        return shift(a, b, false);
      case Op::Lt:
        return signed_value(u ? a.bits < b.bits : a.s() < b.s());
      case Op::Le:
        return signed_value(u ? a.bits <= b.bits : a.s() <= b.s());
      case Op::Gt:
        return signed_value(u ? a.bits > b.bits : a.s() > b.s());
      case Op::Ge:
        return signed_value(u ? a.bits >= b.bits : a.s() >= b.s());
      case Op::Eq:
        return signed_value(a.bits == b.bits);
      case Op::Ne:
        return signed_value(a.bits != b.bits);
      case Op::BitAnd:
        return Value{a.bits & b.bits, u};
      case Op::BitXor:
        return Value{a.bits ^ b.bits, u};
      case Op::BitOr:
        return Value{a.bits | b.bits, u};
      default:
        return a;
    }
  }

  Value unary() {
    if (cur_.kind == Tok::Punct && cur_.text.size() == 1 &&
        std::string_view("+-~!").find(cur_.text[0]) != std::string_view::npos) {
      char op = cur_.text[0];
      last_op_ = cur_.text;
      advance();
      enter();
      Value v = unary();
      --depth_;
      switch (op) {
        case '-':
          return Value{0 - v.bits, v.is_unsigned};
        case '~':
          return Value{~v.bits, v.is_unsigned};
        case '!':
          return signed_value(!v.truth());
        default:
          return v;
      }
    }
    return primary();
  }

  Value primary() {
    Token t = cur_;
    switch (t.kind) {
      case Tok::Number:
        advance();
        return number(t.text);
      case Tok::String:
        if (t.text.front() == '\'') {
          advance();
          return char_constant(t.text);
        }
        break;
      case Tok::Ident:
        if (t.text == "defined") return defined();
        advance();
        return Value{};  // a name that is not a macro counts as 0
      case Tok::End:
        throw PPError{"operator '" + std::string(last_op_) + "' has no right operand"};
      case Tok::Punct:
        if (t.is('(')) {
          last_op_ = "(";
          advance();
          Value v = comma();  // conditional() counts the nesting
          if (!cur_.is(')')) throw PPError{"missing ')' in expression"};
          advance();
          return v;
        }
        if (binary_op() || t.is(')') || t.is('?') || t.is(':') || t.is(','))
          throw PPError{"expected a value before \"" + std::string(t.text) + "\""};
        break;
      default:
        break;
    }
    throw PPError{"token \"" + std::string(t.text) + "\" is not valid in preprocessor expressions"};
  }

  Value defined() {
    ex_.set_expand(false);  // the operand is a name, not something to expand
    advance();
    bool paren = cur_.is('(');
    if (paren) advance();
    if (cur_.kind != Tok::Ident) {
      ex_.set_expand(true);
      throw PPError{"operator \"defined\" requires an identifier"};
    }
    bool is_defined = ex_.macros().find(cur_.text) != nullptr;
    if (paren) {
      advance();
      if (!cur_.is(')')) {
        ex_.set_expand(true);
        throw PPError{"missing ')' after \"defined\""};
      }
    }
    ex_.set_expand(true);
    advance();
    return signed_value(is_defined);
  }

  static int digit_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 99;
  }

  static Value number(std::string_view text) {
    unsigned base = 10;
    size_t i = 0;
    if (text.size() > 1 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
      base = 16;
      i = 2;
    } else if (text.size() > 1 && text[0] == '0' && (text[1] == 'b' || text[1] == 'B')) {
      base = 2;
      i = 2;
    } else if (text[0] == '0') {
      base = 8;
    }
    bool floating = text.find('.') != std::string_view::npos ||
                    (base == 16 ? text.find_first_of("pP") != std::string_view::npos
                                : base != 2 && text.find_first_of("eE") != std::string_view::npos);
    if (floating) throw PPError{"floating constant in preprocessor expression"};
    const size_t digits_start = i;
    std::uint64_t v = 0;
    bool overflow = false;
    for (; i < text.size(); ++i) {
      unsigned d = static_cast<unsigned>(digit_value(text[i]));
      if (d >= base) {
        if (base == 8 && d < 10)
          throw PPError{"invalid digit \"" + std::string(1, text[i]) + "\" in octal constant"};
        if (base == 2 && d < 10)
          throw PPError{"invalid digit \"" + std::string(1, text[i]) + "\" in binary constant"};
        break;
      }
      if (v > (std::numeric_limits<std::uint64_t>::max() - d) / base) overflow = true;
      v = v * base + d;
    }
    std::string_view suffix = text.substr(i);
    if ((base != 8 && i == digits_start) || !valid_suffix(suffix)) {
      std::string_view shown = i == digits_start && base != 8 ? text.substr(1) : suffix;
      throw PPError{"invalid suffix \"" + std::string(shown) + "\" on integer constant"};
    }
    if (overflow) throw PPError{"integer constant is too large for its type"};
    bool is_unsigned = suffix.find_first_of("uU") != std::string_view::npos ||
                       v > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return Value{v, is_unsigned};
  }

  // u or U, l or L or ll or LL, in either order, each at most once.
  static bool valid_suffix(std::string_view s) {
    bool seen_u = false, seen_l = false;
    while (!s.empty()) {
      if (s[0] == 'u' || s[0] == 'U') {
        if (seen_u) return false;
        seen_u = true;
        s.remove_prefix(1);
      } else if (s[0] == 'l' || s[0] == 'L') {
        if (seen_l) return false;
        seen_l = true;
        s.remove_prefix(s.size() > 1 && s[1] == s[0] ? 2 : 1);
      } else {
        return false;
      }
    }
    return true;
  }

  // A C character constant: plain char is signed, several characters combine into an int.
  static Value char_constant(std::string_view text) {
    if (text.size() < 2 || text.back() != '\'') throw PPError{"missing terminating ' character"};
    std::string_view body = text.substr(1, text.size() - 2);
    if (body.empty()) throw PPError{"empty character constant"};
    std::uint32_t acc = 0;
    int count = 0;
    unsigned last = 0;
    for (size_t i = 0; i < body.size();) {
      unsigned c = static_cast<unsigned char>(body[i++]);
      if (c == '\\' && i < body.size()) {
        char e = body[i++];
        switch (e) {
          case 'n':
            c = '\n';
            break;
          case 't':
            c = '\t';
            break;
          case 'r':
            c = '\r';
            break;
          case 'a':
            c = '\a';
            break;
          case 'b':
            c = '\b';
            break;
          case 'f':
            c = '\f';
            break;
          case 'v':
            c = '\v';
            break;
          case 'e':
            c = 27;
            break;
          case 'x':
            c = 0;
            while (i < body.size() && digit_value(body[i]) < 16)
              c = (c << 4 | digit_value(body[i++])) & 0xFFF;
            c &= 0xFF;
            break;
          default:
            if (e >= '0' && e <= '7') {
              c = static_cast<unsigned>(e - '0');
              for (int n = 1; n < 3 && i < body.size() && body[i] >= '0' && body[i] <= '7'; ++n)
                c = c * 8 + static_cast<unsigned>(body[i++] - '0');
              c &= 0xFF;
            } else {
              c = static_cast<unsigned char>(e);  // \\ \' \" \? and unknown escapes
            }
        }
      }
      acc = acc << 8 | c;
      last = c;
      ++count;
    }
    if (count == 1) return signed_value(static_cast<signed char>(last));
    return signed_value(static_cast<std::int32_t>(acc));
  }

  Expander &ex_;
  const char *directive_;
  Token cur_;
  std::string_view last_op_;
  int depth_ = 0;
  int skip_ = 0;  // > 0 inside an operand whose value C would not evaluate
};

}  // namespace

bool eval_if_expression(Expander &ex, const char *directive) {
  return IfParser(ex, directive).run();
}

}  // namespace marl::pp
