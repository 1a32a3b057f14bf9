// Reading numbers out of values and text: the seven numeric text forms and the
// lenient conversions behind num(), int(), uint() and convnum().
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "runtime/conversions.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

// C isspace in the "C" locale; the process locale must not change what a
// script reads as a number.
inline bool isWs(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 99;
}

// Hexadecimal, octal and base-2 digits (with "_" ignored) accumulate into 32
// bits that wrap, then read as a signed integer like the literals: 0xffffffff
// is -1.
bool parseRadix(std::string_view digits, unsigned base, double &out) {
  if (digits.empty()) return false;
  uint32_t acc = 0;
  for (char c : digits) {
    if (c == '_') continue;
    unsigned d = static_cast<unsigned>(digitValue(c));
    if (d >= base) return false;
    acc = acc * base + d;
  }
  out = static_cast<double>(static_cast<int32_t>(acc));
  return true;
}

double unsignedDecimalValue(std::string_view body) {
  // Plain integers up to 18 digits are exact in 64 bits; the final
  // conversion to double rounds once, correctly.
  if (body.size() <= 18) {
    uint64_t acc = 0;
    size_t i = 0;
    for (; i < body.size() && isDigit(body[i]); i++)
      acc = acc * 10 + static_cast<unsigned>(body[i] - '0');
    if (i == body.size() || (i + 1 == body.size() && body[i] == '.'))
      return static_cast<double>(acc);
  }
  double d = 0;
  auto r = std::from_chars(body.data(), body.data() + body.size(), d);
  if (r.ec == std::errc::result_out_of_range) {
    // Overflow to infinity or underflow to zero, as the C library gives.
    std::string copy(body);
    return std::strtod(copy.c_str(), nullptr);
  }
  return r.ec == std::errc() ? d : 0.0;
}

// Decimal conversion of text already checked against forms 1 to 3. Like the C
// library's conversion it reads the longest valid prefix ("1.2.3e5" is 1.2),
// and text with no digits to read (".e5") converts to +0 whatever its sign.
double decimalValue(std::string_view body, bool negative) {
  double v = unsignedDecimalValue(body);
  bool converted = !body.empty() &&
                   (isDigit(body[0]) || (body[0] == '.' && body.size() > 1 && isDigit(body[1])));
  return negative && converted ? -v : v;
}

// Forms 1 to 4 after the sign: a decimal fraction, a decimal integer (no
// leading 0, optional trailing "."), a decimal with exponent, or zero.
bool parseDecimal(std::string_view body, bool negative, double &out) {
  if (body.empty()) return false;
  if (body == "0" || body == "0.") {
    out = 0;
    return true;
  }
  size_t e = body.find_first_of("eE");
  if (e != std::string_view::npos) {
    // Form 3: a digit or "." first, then digits and dots, the exponent mark,
    // a sign and at least one digit.
    if (e == 0) return false;
    for (size_t i = 0; i < e; i++)
      if (!isDigit(body[i]) && body[i] != '.') return false;
    size_t i = e + 1;
    if (i < body.size() && (body[i] == '+' || body[i] == '-')) i++;
    if (i == body.size()) return false;
    for (; i < body.size(); i++)
      if (!isDigit(body[i])) return false;
    out = decimalValue(body, negative);
    return true;
  }
  size_t dot = std::string_view::npos;
  for (size_t i = 0; i < body.size(); i++) {
    if (body[i] == '.') {
      if (dot != std::string_view::npos) return false;
      dot = i;
    } else if (!isDigit(body[i])) {
      return false;
    }
  }
  bool fraction = dot != std::string_view::npos && dot + 1 < body.size();  // form 1
  bool integer = body[0] != '0' && body[0] != '.' && !fraction;            // form 2
  if (!fraction && !integer) return false;
  out = decimalValue(body, negative);
  return true;
}

}  // namespace

double nanValue() {
  static const double nan = [] {
    uint64_t bits = 0x7FFFFFFFFFFFFFFFull;
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
  }();
  return nan;
}

bool parseNumericText(std::string_view s, double &out) {
  size_t b = 0, e = s.size();
  while (b < e && isWs(s[b])) b++;
  while (e > b && isWs(s[e - 1])) e--;
  std::string_view body = s.substr(b, e - b);
  if (body.empty()) return false;

  // Forms 5 to 7 take no sign; only a lower-case "x" or "b" marks the base.
  // A leading 0 that is not octal may still start a decimal ("08.5", "01e3").
  if (body.size() >= 2 && body[0] == '0') {
    if (body[1] == 'x') return parseRadix(body.substr(2), 16, out);
    if (body[1] == 'b') return parseRadix(body.substr(2), 2, out);
    if (parseRadix(body.substr(1), 8, out)) return true;
  }

  bool negative = false;
  if (body[0] == '+' || body[0] == '-') {
    negative = body[0] == '-';
    body.remove_prefix(1);
  }
  // The zero form is plain 0 even with a "-"; the others keep the sign.
  return parseDecimal(body, negative, out);
}

bool tryToNumber(const Value &v, double &out) {
  if (v.kind != Kind::Object) {
    out = v.number;
    return true;
  }
  if (const MString *s = asString(v)) return parseNumericText(s->text, out);
  return false;
}

double toNumber(const Value &v) {
  if (v.kind != Kind::Object) return v.number;
  double d;
  return tryToNumber(v, d) ? d : nanValue();
}

Value toInt32Value(const Value &v) {
  double d = toNumber(v);
  // NaN fails both comparisons, so it lands on 0 with the out-of-range values.
  if (!(d >= -2147483648.0 && d <= 2147483647.0)) return Value::num(0);
  return Value::num(static_cast<double>(static_cast<int32_t>(d)));
}

Value toUint32Value(const Value &v) {
  double d = toNumber(v);
  if (!(d >= 0.0 && d <= 4294967295.0)) return Value::num(0);
  return Value::num(static_cast<double>(static_cast<uint32_t>(d)));
}

Value toNumberValue(const Value &v) { return Value::num(toNumber(v)); }

Value toNumberOrNull(const Value &v) {
  double d;
  return tryToNumber(v, d) ? Value::num(d) : Value();
}

}  // namespace marl
