// How values become text and numbers.
#pragma once
#include <string>
#include <string_view>

#include "runtime/mtext.hpp"
#include "runtime/value.hpp"

namespace marl {

// The quiet NaN (bits 0x7FFFFFFFFFFFFFFF) that non-numeric text converts to.
double nanValue();

// Plain text: numbers through the number format, "true"/"false", "null",
// string bytes, "<type:address>" for other objects.
std::string toText(const Value &v);
void appendText(std::string &out, const Value &v);
void appendText(MText &out, const Value &v);
std::string numberText(double d);
// Structural rendering, as the console shows results; cut to "..." at depth 11.
std::string toInspectText(const Value &v, int depth = 0);
// Quoted and escaped; a Shift_JIS pair is copied as it is.
std::string quoteText(std::string_view bytes);

double toNumber(const Value &v);
bool tryToNumber(const Value &v, double &out);
// The seven numeric text forms; false when the whole text matches none.
bool parseNumericText(std::string_view s, double &out);

// Strict argument conversions of built-ins; they raise their message at `line`.
int32_t argInteger(int line, const Value &v);
double argNumber(int line, const Value &v);
std::string_view argString(int line, const Value &v);

Value toInt32Value(const Value &v);
Value toUint32Value(const Value &v);
Value toNumberValue(const Value &v);
Value toNumberOrNull(const Value &v);

// The number format, part of the interpreter state: "%.10g" until format()
// changes it. While it exists it is the one numbers are rendered with.
struct NumberFormat {
  std::string text;
  bool isDefault = true;
  // Set while the format is being applied: a format such as "%s" would
  // otherwise render its number through itself without end.
  bool applying = false;
  NumberFormat();
  ~NumberFormat();
  NumberFormat(const NumberFormat &) = delete;
  NumberFormat &operator=(const NumberFormat &) = delete;
};

const std::string &numberFormat();
std::string setNumberFormat(std::string fmt);  // returns the previous one

}  // namespace marl
