// Text and number conversions of values, and the console's structural rendering.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

#include "runtime/error.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"
#include "support/fresh_interpreter.hpp"

namespace marl {
namespace {

const double kInf = std::numeric_limits<double>::infinity();

std::string textOf(double d) { return toText(Value::num(d)); }

// Expects `fn` to raise a script error with exactly `message`.
template <typename Fn>
void expectError(Fn fn, const char *message) {
  try {
    fn();
    ADD_FAILURE() << "no error raised, expected: " << message;
  } catch (const ScriptError &e) {
    EXPECT_STREQ(e.what(), message);
  }
}

TEST(NumberText, DefaultFormat) {
  const std::pair<double, const char *> cases[] = {
      {1.0 / 3.0, "0.3333333333"},
      {0.5, "0.5"},
      {3, "3"},
      {-123, "-123"},
      {-0.0, "-0"},
      {1e21, "1e+21"},
      {1e-5, "1e-05"},
      {0.1 + 0.2, "0.3"},
      // Around the integer fast path's edge: ten digits still print in full.
      {9999999999.0, "9999999999"},
      {-9999999999.0, "-9999999999"},
      {1e10, "1e+10"},
      {9007199254740993.0, "9.007199255e+15"},
      // Non-finite numbers never reach the format.
      {kInf, "+Inf"},
      {-kInf, "-Inf"},
      {nanValue(), "NaN"},
      {-nanValue(), "NaN"}};
  for (const auto &[d, text] : cases) EXPECT_EQ(textOf(d), text);
  // The integer path writes digits in pairs: every length, both parities,
  // both signs, against the C library.
  for (double p = 1; p <= 1e9; p *= 10)
    for (double d : {p - 1, p, p + 1, p * 3 + 7, -p, -(p * 7 + 3)}) {
      char want[32];
      std::snprintf(want, sizeof want, "%.10g", d);
      EXPECT_EQ(textOf(d), want) << d;
    }

  uint64_t bits;
  double nan = nanValue();
  std::memcpy(&bits, &nan, sizeof bits);
  EXPECT_EQ(bits, 0x7FFFFFFFFFFFFFFFull);
}

// Restores the process-wide number format whatever a test does to it.
class CustomNumberFormat : public ::testing::Test {
 protected:
  void TearDown() override { test::freshInterpreter(); }
};

TEST_F(CustomNumberFormat, AppliesToEveryFiniteNumber) {
  EXPECT_EQ(setNumberFormat("%.3f"), "%.10g");
  EXPECT_EQ(numberFormat(), "%.3f");
  EXPECT_EQ(textOf(1.0 / 3.0), "0.333");
  EXPECT_EQ(textOf(3), "3.000");
  EXPECT_EQ(textOf(-kInf), "-Inf");
  EXPECT_EQ(setNumberFormat("[%d]"), "%.3f");
  EXPECT_EQ(textOf(-2.9), "[-2]");
  setNumberFormat("%.10g");
  EXPECT_EQ(textOf(1.0 / 3.0), "0.3333333333");
}

TEST_F(CustomNumberFormat, StringConversionDoesNotRecurse) {
  setNumberFormat("<%s>");
  std::string buf = "x=";
  appendText(buf, Value::num(2.5));
  EXPECT_EQ(buf, "x=<2.5>");
}

TEST(ValueText, OtherKinds) {
  Value nanBool = Value::boolean(true);
  nanBool.number = nanValue();
  std::string buf = "n=";
  for (const Value &v : {Value::num(1.5), Value::boolean(true), Value::boolean(false), nanBool,
                         Value(), makeString(std::string("a\0b", 3))})
    appendText(buf, v);
  EXPECT_EQ(buf, std::string("n=1.5truefalsetruenulla\0b", 25));

  Value arr(new MArray());
  char expected[32];
  std::snprintf(expected, sizeof expected, "<array:%08x>",
                static_cast<unsigned>(reinterpret_cast<uintptr_t>(arr.object) & 0xFFFFFFFFu));
  EXPECT_EQ(toText(arr), expected);
}

TEST(NumericText, Forms) {
  const std::pair<const char *, double> good[] = {
      {"0.5", 0.5},       {".5", 0.5},
      {"-.25", -0.25},    {"08.5", 8.5},
      {"1.", 1},  // fraction
      {" 12 ", 12},       {"\t+7\n", 7},
      {"-42", -42},       {"123456789012345678901", 1.2345678901234568e20},
      {"1e3", 1000},      {"+.5e-3", 0.0005},
      {"2E+2", 200},      {"01e3", 1000},
      {"1.2.3e5", 1.2},   {".e5", 0},
      {"1e999", kInf},    {"-1e999", -kInf},  // exponent
      {"0", 0},           {"-0.", 0},
      {" 0. ", 0},  // zero
      {"0x1F", 31},       {"0x_ff", 255},
      {"0xffffffff", -1}, {"0x100000001", 1},
      {"0x_", 0},         {"010", 8},
      {"017", 15},        {"0_7", 7},
      {"0b101", 5},       {"0b_1_1", 3}};
  for (const auto &[text, value] : good) {
    double d = -999;
    EXPECT_TRUE(parseNumericText(text, d)) << text;
    EXPECT_EQ(d, value) << text;
  }
  for (const char *text : {"",      "   ",   "abc",  "+",    "--1", ".",    "1.2.3", "1 2",
                           "12abc", "1_000", "1e",   "e5",   "1e+", "0X1F", "0x",    "-0x10",
                           "0xg",   "08",    "-010", "0b12", "0B1", "inf",  "nan",   "0x1p3"}) {
    double d;
    EXPECT_FALSE(parseNumericText(text, d)) << text;
  }
}

TEST(NumericText, SignOfZeroAndViewBounds) {
  double d;
  ASSERT_TRUE(parseNumericText("-0.", d));
  EXPECT_FALSE(std::signbit(d));  // the zero form is plain 0
  ASSERT_TRUE(parseNumericText("-0.0", d));
  EXPECT_TRUE(std::signbit(d));  // a decimal fraction keeps its sign
  // Where no digit can be read nothing is converted, so the sign is lost;
  // where one can, the sign stays even on a zero.
  for (const char *text : {"-.e5", "-..5e3", " -.E-1 "}) {
    ASSERT_TRUE(parseNumericText(text, d)) << text;
    EXPECT_TRUE(d == 0 && !std::signbit(d)) << text;
  }
  for (const char *text : {"-0e5", "-.0e1", "-.0.e1", "-0.0.e2"}) {
    ASSERT_TRUE(parseNumericText(text, d)) << text;
    EXPECT_TRUE(d == 0 && std::signbit(d)) << text;
  }
  EXPECT_FALSE(parseNumericText(std::string_view("12\0", 3), d));
  ASSERT_TRUE(parseNumericText(std::string_view("123e5", 2), d));
  EXPECT_EQ(d, 12);
}

TEST(ToNumber, ByKind) {
  double d = 0;
  EXPECT_TRUE(tryToNumber(Value::boolean(true), d) && d == 1);
  EXPECT_FALSE(tryToNumber(Value(), d));
  EXPECT_FALSE(tryToNumber(Value(new MArray()), d));
  EXPECT_TRUE(std::isnan(toNumber(makeString("08"))));
  EXPECT_TRUE(std::isnan(toNumberValue(makeString("12abc")).number));
  EXPECT_TRUE(toNumberOrNull(makeString("abc")).isNull());
  Value three = toNumberOrNull(makeString("3"));
  EXPECT_TRUE(three.isNumber() && three.number == 3);
}

TEST(ToNumber, Int32AndUint32Ranges) {
  const std::pair<double, double> i32[] = {{-2.9, -2},         {2147483647.0, 2147483647.0},
                                           {2147483647.5, 0},  {-2147483648.0, -2147483648.0},
                                           {-2147483648.5, 0}, {3e9, 0},
                                           {nanValue(), 0},    {kInf, 0}};
  for (const auto &[in, out] : i32) EXPECT_EQ(toInt32Value(Value::num(in)).number, out) << in;
  EXPECT_EQ(toInt32Value(makeString("2.9")).number, 2);
  EXPECT_FALSE(std::signbit(toInt32Value(Value::num(-0.5)).number));

  const std::pair<double, double> u32[] = {
      {-1, 0}, {-0.5, 0}, {4294967295.0, 4294967295.0}, {4294967295.9, 0}, {4294967296.0, 0}};
  for (const auto &[in, out] : u32) EXPECT_EQ(toUint32Value(Value::num(in)).number, out) << in;
  EXPECT_EQ(toUint32Value(makeString("0xffffffff")).number, 0);  // hex text reads as -1
}

TEST(ArgConversions, AcceptedValuesAndMessages) {
  EXPECT_EQ(argInteger(1, Value::num(-2147483648.0)), INT32_MIN);
  EXPECT_EQ(argInteger(1, Value::boolean(true)), 1);
  EXPECT_EQ(argNumber(1, Value::boolean(false)), 0);
  Value s = makeString("abc");
  EXPECT_EQ(argString(1, s).data(), asString(s)->text.data());

  const char *intMsg = "error [7]: Cannot convert arg to integer";
  for (const Value &v : {Value::num(2.5), Value::num(2147483648.0), Value::num(-2147483649.0),
                         Value::num(nanValue()), makeString("3"), Value()})
    expectError([&] { argInteger(7, v); }, intMsg);
  expectError([] { argNumber(3, makeString("3")); }, "error [3]: Cannot convert arg to number");
  expectError([] { argNumber(3, Value()); }, "error [3]: Cannot convert arg to number");
  expectError([] { argString(5, Value::num(5)); }, "error [5]: Cannot convert arg to string");
  expectError([] { argString(0, Value(new MArray())); }, "error: Cannot convert arg to string");
}

TEST(QuoteText, Escapes) {
  EXPECT_EQ(quoteText(""), "\"\"");
  EXPECT_EQ(quoteText("say \"hi\" \\ ok"), "\"say \"hi\" \\ ok\"");
  EXPECT_EQ(quoteText(std::string("\0\a\b\t\n\v\f\r", 8)), "\"\\0\\a\\b\\t\\n\\v\\f\\r\"");
  EXPECT_EQ(quoteText("\x1b\x7f\x80\xfd\xff"), "\"\\x1b\\x7f\\x80\\xfd\\xff\"");
  // Half-width katakana are single printable bytes.
  EXPECT_EQ(quoteText("\xa1\xb1\xdf"), "\"\xa1\xb1\xdf\"");
  // A Shift_JIS pair is copied as it is, even when its trail byte is '\\' or '"'.
  EXPECT_EQ(quoteText("\x82\xa0\x95\x5c"), "\"\x82\xa0\x95\x5c\"");
  EXPECT_EQ(quoteText("\x81\x22"), "\"\\x81\"\"");  // 0x22 is no trail byte
  EXPECT_EQ(quoteText("\xe0\x0a"), "\"\\xe0\\n\"");
  EXPECT_EQ(quoteText("a\x82"), "\"a\\x82\"");  // lone lead byte at the end
}

TEST(InspectText, Containers) {
  EXPECT_EQ(toInspectText(Value::num(1.5)), "1.5");
  EXPECT_EQ(toInspectText(Value()), "null");
  EXPECT_EQ(toInspectText(makeString("a\nb")), "\"a\\nb\"");

  MArray *inner = new MArray();
  Value innerV(inner);
  MHash *h = new MHash();
  Value hv(h);
  EXPECT_EQ(toInspectText(innerV), "[  ]");
  EXPECT_EQ(toInspectText(hv), "hash(  )");

  inner->push(Value::num(1));
  inner->push(makeString("x"));
  inner->push(Value::boolean(false));
  h->set("b", innerV);
  h->set("a\"", Value());
  MArray *outer = new MArray();
  Value outerV(outer);
  outer->push(hv);
  outer->push(Value(new MArray()));
  EXPECT_EQ(toInspectText(outerV), "[ hash( \"a\"\"=null, \"b\"=[ 1, \"x\", false ] ), [  ] ]");
  EXPECT_EQ(toInspectText(innerV, 11), "...");
  EXPECT_EQ(toInspectText(innerV, 10), "[ ..., ..., ... ]");
}

TEST(InspectText, SelfContainingArrayStopsAtDepth) {
  MArray *a = new MArray();
  Value av(a);
  a->push(av);
  std::string expected;
  for (int i = 0; i < 11; i++) expected += "[ ";
  expected += "...";
  for (int i = 0; i < 11; i++) expected += " ]";
  EXPECT_EQ(toInspectText(av), expected);
  EXPECT_EQ(toInspectText(av, -1000), expected);
  a->items.clear();  // break the cycle so the array is freed
}

TEST(InspectText, WideSelfReferenceIsBounded) {
  // Eight self-references would render 8^11 leaves; the output is cut instead.
  MArray *a = new MArray();
  Value av(a);
  for (int i = 0; i < 8; i++) a->push(av);
  std::string text = toInspectText(av);
  EXPECT_LT(text.size(), (size_t{1} << 24) + 1024);
  EXPECT_TRUE(text.ends_with(", ... ]")) << text.substr(text.size() - 40);
  a->items.clear();
}

}  // namespace
}  // namespace marl
