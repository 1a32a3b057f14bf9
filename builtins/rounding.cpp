// Rounding to whole numbers and to decimal places.
#include "builtins/rounding.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace marl {

// With s the sign of x (-1 when x < 0, else 1), s * ceil(|x|) when the
// fractional part of |x| reaches one half (or passes it, for ToEven), else
// s * floor(|x|); so round(-0.3) is -0. The fraction |x| - floor(|x|) is exact.
double roundWhole(double x, Tie tie) {
  double s = x < 0 ? -1.0 : 1.0;
  double m = std::fabs(x);
  double low = std::floor(m);
  double frac = m - low;
  bool up = frac > 0.5 || (frac == 0.5 && (tie == Tie::AwayFromZero || std::fmod(low, 2.0) != 0));
  return s * (up ? low + 1 : low);
}

// Doubles have at most 17 significant digits between 1e-324 and 1e308, so
// beyond these bounds the answer no longer depends on `digits`.
constexpr int kDigitsBound = 400;

double roundDecimal(double x, int digits, Tie tie) {
  if (digits == 0 || !std::isfinite(x) || x == 0) return roundWhole(x, tie);
  if (digits > kDigitsBound) return x;
  if (digits < -kDigitsBound) digits = -kDigitsBound;

  // The shortest text that reads back as x: "-d.ddde±XX".
  char text[64];
  auto res = std::to_chars(text, text + sizeof text, x, std::chars_format::scientific);
  *res.ptr = '\0';
  const char *p = text;
  bool negative = *p == '-';
  if (negative) p++;
  char mantissa[24];
  int count = 0;
  for (; *p != 'e'; p++)
    if (*p != '.') mantissa[count++] = *p;
  int exponent = std::atoi(p + 1);  // value = d.ddd * 10^exponent

  // Digit i has the place value 10^(exponent - i); keep those at 10^-digits or above.
  int keep = exponent + digits + 1;
  if (keep >= count) return x;
  bool up;
  if (keep < 0) {
    up = false;  // below a tenth of the rounding unit
  } else {
    char next = mantissa[keep];
    bool more = false;
    for (int i = keep + 1; i < count; i++) more |= mantissa[i] != '0';
    if (next != '5' || more)
      up = next >= '5';
    else
      up = tie == Tie::AwayFromZero || (keep > 0 && (mantissa[keep - 1] - '0') % 2 != 0);
  }

  // The kept digits form an integer in units of 10^-digits. Build its text with
  // a spare leading digit for the carry and read it back: exact decimal in,
  // correctly rounded double out (strtod, unlike from_chars, gives ±inf on overflow).
  char out[48];
  int n = 0;
  if (negative) out[n++] = '-';
  out[n++] = '0';
  if (keep > 0) std::memcpy(out + n, mantissa, keep);
  n += std::max(keep, 0);
  if (up) {
    int i = n - 1;
    while (out[i] == '9') out[i--] = '0';
    out[i]++;
  }
  std::snprintf(out + n, sizeof out - n, "e%d", -digits);
  return std::strtod(out, nullptr);
}

}  // namespace marl
