// The plain text of a value, the process-wide number format and the strict
// argument conversions of built-ins.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "runtime/error.hpp"
#include "runtime/conversions.hpp"
#include "runtime/format.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

const char kDefaultFormat[] = "%.10g";

NumberFormat *current = nullptr;

// Writes the default rendering of a finite number; buf holds at least 32 bytes.
size_t defaultNumber(char *buf, double d) {
  // Integers below 1e10 are exactly what "%.10g" prints for them, without the
  // cost of the C library's float formatting. -0 keeps its sign, as there.
  if (d > -1e10 && d < 1e10 && d == static_cast<double>(static_cast<int64_t>(d))) {
    int64_t n = static_cast<int64_t>(d);
    bool neg = n < 0 || std::signbit(d);
    uint64_t u = n < 0 ? static_cast<uint64_t>(-n) : static_cast<uint64_t>(n);
    // Two digits a step, from the right, into the end of tmp.
    static const char kPairs[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    char tmp[24];
    char *p = tmp + sizeof tmp;
    while (u >= 100) {
      const char *pair = kPairs + 2 * (u % 100);
      u /= 100;
      *--p = pair[1];
      *--p = pair[0];
    }
    if (u >= 10) {
      *--p = kPairs[2 * u + 1];
      *--p = kPairs[2 * u];
    } else {
      *--p = static_cast<char>('0' + u);
    }
    if (neg) *--p = '-';
    size_t len = static_cast<size_t>(tmp + sizeof tmp - p);
    std::memcpy(buf, p, len);
    return len;
  }
  int r = std::snprintf(buf, 32, kDefaultFormat, d);
  return r > 0 ? static_cast<size_t>(r) : 0;
}

void appendNumber(std::string &out, double d) {
  if (std::isnan(d)) {
    out += "NaN";
  } else if (std::isinf(d)) {
    out += d > 0 ? "+Inf" : "-Inf";
  } else if (current->isDefault || current->applying) {
    char buf[32];
    out.append(buf, defaultNumber(buf, d));
  } else {
    NumberFormat &f = *current;
    f.applying = true;
    Value arg = Value::num(d);
    try {
      out += format_values(f.text, &arg, 1, 0);
    } catch (...) {
      f.applying = false;
      throw;
    }
    f.applying = false;
  }
}

// "<type:xxxxxxxx>": the low 32 bits of the address, as on the original
// 32-bit platform.
void appendObjectTag(std::string &out, const MRef *o) {
  static const char hex[] = "0123456789abcdef";
  uint32_t a = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(o));
  out += '<';
  out += o->typeName();
  out += ':';
  for (int shift = 28; shift >= 0; shift -= 4) out += hex[(a >> shift) & 0xF];
  out += '>';
}

}  // namespace

NumberFormat::NumberFormat() : text(kDefaultFormat) { current = this; }
NumberFormat::~NumberFormat() { current = nullptr; }

const std::string &numberFormat() { return current->text; }

std::string setNumberFormat(std::string fmt) {
  current->isDefault = fmt == kDefaultFormat;
  std::string old = std::move(current->text);
  current->text = std::move(fmt);
  return old;
}

std::string numberText(double d) {
  std::string out;
  appendNumber(out, d);
  return out;
}

void appendText(std::string &out, const Value &v) {
  switch (v.kind) {
    case Kind::Number:
      appendNumber(out, v.number);
      return;
    case Kind::Bool:
      // NaN counts as non-zero here, unlike the truth test.
      out += v.number != 0 ? "true" : "false";
      return;
    case Kind::Object:
      break;
  }
  if (!v.object)
    out += "null";
  else if (v.object->type == ObjType::String)
    out += static_cast<const MString *>(v.object)->text;
  else
    appendObjectTag(out, v.object);
}

void appendText(MText &out, const Value &v) {
  if (const MString *s = asString(v)) {
    out.append(s->text.view());
    return;
  }
  if (v.kind == Kind::Number && std::isfinite(v.number) &&
      (current->isDefault || current->applying)) {
    // The common case without a temporary string.
    char buf[32];
    out.append(buf, defaultNumber(buf, v.number));
    return;
  }
  std::string t;
  appendText(t, v);
  out.append(t);
}

std::string toText(const Value &v) {
  if (const MString *s = asString(v)) return s->text.str();
  std::string out;
  appendText(out, v);
  return out;
}

int32_t argInteger(int line, const Value &v) {
  if (v.kind == Kind::Object || !(v.number >= -2147483648.0 && v.number <= 2147483647.0) ||
      v.number != std::trunc(v.number))
    raise_error(line, "%s", "Cannot convert arg to integer");
  return static_cast<int32_t>(v.number);
}

double argNumber(int line, const Value &v) {
  if (v.kind == Kind::Object) raise_error(line, "%s", "Cannot convert arg to number");
  return v.number;
}

std::string_view argString(int line, const Value &v) {
  const MString *s = asString(v);
  if (!s) raise_error(line, "%s", "Cannot convert arg to string");
  return s->text;
}

}  // namespace marl
