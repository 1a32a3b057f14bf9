// The printf-style formatting engine.
#include <gtest/gtest.h>

#include <cstdio>
#include <cwchar>
#include <initializer_list>
#include <limits>
#include <random>
#include <vector>

#include "runtime/conversions.hpp"
#include "runtime/format.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

std::string fmt(std::string_view format, std::initializer_list<Value> args = {}) {
  std::vector<Value> v(args);
  return format_values(format, v.data(), v.size(), 0);
}
Value num(double d) { return Value::num(d); }
Value str(const char *s) { return makeString(s); }

TEST(Format, MixedConversions) {
  EXPECT_EQ(fmt("%5.2f|%-3d|%s", {num(3.14159), num(7), str("x")}), " 3.14|7  |x");
  EXPECT_EQ(fmt("%08.3f", {num(3.14159)}), "0003.142");
  EXPECT_EQ(fmt("%+d %+d", {num(5), num(-5)}), "+5 -5");
  EXPECT_EQ(fmt("% d", {num(5)}), " 5");
  EXPECT_EQ(fmt("%e|%G", {num(12345.678), num(1e-10)}), "1.234568e+04|1E-10");
  EXPECT_EQ(fmt("%lf %Lf", {num(0.5), num(0.25)}), "0.500000 0.250000");
  EXPECT_EQ(fmt(std::string_view("a\0b%d", 5), {num(1)}), std::string("a\0b1", 4));
}

TEST(Format, PercentUnknownLettersAndUnfinishedSpecs) {
  EXPECT_EQ(fmt("100%%|%5%|%-%"), "100%|%|%");
  // An unknown letter drops its directive and takes no argument.
  EXPECT_EQ(fmt("%q|%-5.2q|%y%d|%*d", {num(4)}), "q|q|y4|*d");
  EXPECT_EQ(fmt("abc%", {num(1)}), "abc");
  EXPECT_EQ(fmt("abc%-08.", {num(1)}), "abc");
}

TEST(Format, ArgumentsRunOut) {
  EXPECT_EQ(fmt("%d %d", {num(1)}), "1 ");
  EXPECT_EQ(fmt("[%s|%5d|%f|%b|%c]%q"), "[||||]q");
  std::vector<Value> args = {num(1), num(2), num(3)};
  EXPECT_EQ(format_values("%d-%d-%d", args.data(), args.size(), 1), "2-3-");
  EXPECT_EQ(format_values("%d", args.data(), args.size(), 5), "");
}

TEST(Format, IntegersTruncateTowardZero) {
  EXPECT_EQ(fmt("%d|%d|%i", {num(2.9), num(-2.9), num(-0.5)}), "2|-2|0");
  EXPECT_EQ(fmt("%d|%d|%d", {Value::boolean(true), str("12"), str("0x10")}), "1|12|16");
  // Non-numeric text, NaN and the infinities become 0.
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(fmt("%d|%d|%d", {str("abc"), num(nanValue()), num(inf)}), "0|0|0");
}

TEST(Format, IntegerWidth) {
  // 32 bits by default, as int was on the original platform.
  EXPECT_EQ(fmt("%x|%X|%#x|%o|%#o", {num(255), num(255), num(255), num(8), num(8)}),
            "ff|FF|0xff|10|010");
  EXPECT_EQ(fmt("%x|%u", {num(-1), num(-1)}), "ffffffff|4294967295");
  EXPECT_EQ(fmt("%d|%ld|%d|%d", {num(3e9), num(3e9), num(4294967303.0), num(1e300)}),
            "-1294967296|-1294967296|7|0");
  // "ll" or "L" carries 64 bits; "h" and "hh" narrow.
  EXPECT_EQ(fmt("%lld", {num(3e9)}), "3000000000");
  EXPECT_EQ(fmt("%llx", {num(-1)}), "ffffffffffffffff");
  EXPECT_EQ(fmt("%Ld", {num(-3e9)}), "-3000000000");
  // Past the 64-bit range the integer wraps modulo 2^64.
  EXPECT_EQ(fmt("%lld|%lld|%lld", {num(-9.2e18), num(-9.3e18), num(9.3e18)}),
            "-9200000000000000000|9146744073709551616|-9146744073709551616");
  EXPECT_EQ(fmt("%hd|%hhu", {num(70000), num(257)}), "4464|1");
  EXPECT_EQ(fmt("%05d|%-5d|%.3d", {num(-42), num(42), num(7)}), "-0042|42   |007");
}

TEST(Format, Characters) {
  EXPECT_EQ(fmt("%c%c|%3c|%-3c|%03c", {num(72), num(105.7), num(65), num(66), num(67)}),
            "Hi|  A|B  |  C");
  EXPECT_EQ(fmt("%c%c%c", {num(321), num(0), num(-126)}), std::string("A\0\x82", 3));
}

TEST(Format, Binary) {
  EXPECT_EQ(fmt("%b|%b|%b", {num(5), num(0), num(5.9)}), "101|0|101");
  EXPECT_EQ(fmt("%b", {num(-1)}), std::string(32, '1'));
  EXPECT_EQ(fmt("%b", {num(-2)}), std::string(31, '1') + "0");
  EXPECT_EQ(fmt("%llb", {num(-1)}), std::string(64, '1'));
  EXPECT_EQ(fmt("%8b|%-8b|%08b", {num(5), num(5), num(5)}), "     101|101     |00000101");
  EXPECT_EQ(fmt("%.6b|%#b|%#b|%#08b", {num(5), num(5), num(0), num(5)}), "000101|0b101|0|0b000101");
  EXPECT_EQ(fmt("%08.4b", {num(5)}), "    0101");
}

TEST(Format, Strings) {
  EXPECT_EQ(fmt("%5s|%-5s|%.2s|%05s", {str("ab"), str("ab"), str("abc"), str("ab")}),
            "   ab|ab   |ab|   ab");
  // The C library stops a string at its first zero byte; the width pads what is left.
  Value zeroInside = makeString(std::string("A\0B", 3));
  EXPECT_EQ(fmt("%s|%3s|%-3s|%.2s", {zeroInside, zeroInside, zeroInside, zeroInside}),
            "A|  A|A  |A");
  EXPECT_EQ(fmt("%s", {makeString(std::string("\0B", 2))}), "");
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(fmt("%s|%s|%s|%s", {num(1.0 / 3.0), Value(), Value::boolean(false), num(-inf)}),
            "0.3333333333|null|false|-Inf");

  std::string tag = fmt("%s", {Value(new MArray())});
  ASSERT_EQ(tag.size(), 16u);
  EXPECT_EQ(tag.substr(0, 7), "<array:");
  EXPECT_EQ(tag.back(), '>');
  EXPECT_EQ(tag.find_first_not_of("0123456789abcdef", 7), 15u);
}

TEST(Format, NonFiniteDoubles) {
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(fmt("%f|%e|%g|%5.1f", {num(inf), num(-inf), num(nanValue()), num(inf)}),
            "inf|-inf|nan|  inf");
  EXPECT_EQ(fmt("%f", {str("abc")}), "nan");
  EXPECT_EQ(fmt("%G", {num(inf)}), "INF");
}

TEST(Format, ResultCutAt2047Bytes) {
  EXPECT_EQ(fmt("%5000d", {num(1)}), std::string(2047, ' '));
  EXPECT_EQ(fmt("%-5000d|", {num(1)}), "1" + std::string(2046, ' ') + "|");
  // A width or precision past the C int range, or a result longer than
  // that, makes the C library fail: the directive gives nothing.
  EXPECT_EQ(fmt("[%99999999999999999999d|%.2147483648f|%+.2147483647d|%.2147483647f]",
                {num(1), num(2), num(3), num(1e10)}),
            "[|||]");
  EXPECT_EQ(fmt("%2147483647.0d", {num(3)}), std::string(2047, ' '));
  EXPECT_EQ(fmt("%.2147483647g|%.2147483647s", {num(0.1), str("ab")}),
            "0.1000000000000000055511151231257827021181583404541015625|ab");
  EXPECT_EQ(fmt("%5000s", {str("x")}), std::string(2047, ' '));
  EXPECT_EQ(fmt("%-5000s", {str("x")}), "x" + std::string(2046, ' '));
  EXPECT_EQ(fmt("%5000b", {num(1)}), std::string(2047, ' '));
  EXPECT_EQ(fmt("%.5000b", {num(1)}), std::string(2047, '0'));
  EXPECT_EQ(fmt("%.2047b", {num(1)}), std::string(2046, '0') + "1");

  std::string big = fmt("%.5000f", {num(1)});
  ASSERT_EQ(big.size(), 2047u);
  EXPECT_EQ(big.substr(0, 4), "1.00");
  EXPECT_EQ(fmt("%s", {makeString(std::string(3000, 'z'))}), std::string(2047, 'z'));
  // The bound is per conversion, not for the whole result.
  EXPECT_EQ(fmt("%3000d%3000d", {num(1), num(2)}).size(), 4094u);
}

// The C library's own text for `format` applied to one argument of the
// conversion's group, so that each directive is judged by snprintf itself.
std::string cLibrary(const std::string &format, char letter, double number) {
  char buf[2048];
  bool longForm = format.find('L') != std::string::npos || format.find("ll") != std::string::npos;
  bool anyL = format.find_first_of("lL") != std::string::npos;
  int r;
  switch (letter) {
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
      r = longForm
              ? std::snprintf(buf, sizeof buf, format.c_str(), static_cast<long double>(number))
              : std::snprintf(buf, sizeof buf, format.c_str(), number);
      break;
    case 's':
      r = anyL ? std::snprintf(buf, sizeof buf, format.c_str(), L"abc")
               : std::snprintf(buf, sizeof buf, format.c_str(), "abc");
      break;
    default:
      // Non-negative values below 2^31 read the same through every integer length.
      r = std::snprintf(buf, sizeof buf, format.c_str(), static_cast<long long>(number));
  }
  return r < 0 ? std::string() : std::string(buf, std::min<size_t>(static_cast<size_t>(r), 2047));
}

TEST(Format, DirectivesAsTheCLibraryReadsThem) {
  struct Case {
    const char *format;
    const char *text;
  };
  // Pieces out of the C order: the C library shows the directive's text
  // (in its own spelling) and the argument is still used up.
  for (const Case &c :
       {Case{"[%3 d]", "[%3 d]"}, Case{"[%.5.3d]", "[%.5.3d]"}, Case{"[%l5d]", "[%5d]"},
        Case{"[%hld]", "[%ld]"}, Case{"[%..f]", "[%.0.f]"}, Case{"[%#- +05.3 x]", "[%#+-5.3 x]"},
        Case{"[%5 .2s]", "[%5 .2s]"}, Case{"[%-#0 +5.3hhd]", "[+042 ]"}}) {
    EXPECT_EQ(fmt(c.format, {num(42)}), c.text) << c.format;
  }
  EXPECT_EQ(fmt("%3 d|%d", {num(1), num(2)}), "%3 d|2");

  std::mt19937 rng(20240611);
  const std::string pieces = " +-#0123456789.hlL";
  const std::string letters = "deEfgGiouxXcs";
  const double values[] = {42, 0, 7, 65, 300, 70000, 3.25, 1234.5678};
  for (int i = 0; i < 40000; i++) {
    std::string format = "%";
    size_t n = rng() % 6;
    for (size_t k = 0; k < n; k++) format += pieces[rng() % pieces.size()];
    char letter = letters[rng() % letters.size()];
    format += letter;
    double v = values[rng() % std::size(values)];
    // "%lc" is a wide character in the C library; keep to ASCII letters.
    if (letter == 'c') v = 65 + rng() % 26;
    Value arg = letter == 's' ? str("abc") : num(v);
    ASSERT_EQ(fmt("<" + format + ">", {arg}), "<" + cLibrary(format, letter, v) + ">")
        << format << " of " << v;
  }
}

}  // namespace
}  // namespace marl
