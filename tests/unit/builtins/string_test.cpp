// String built-ins: byte positions, Shift_JIS characters, blanks and tabs.
#include <gtest/gtest.h>

#include "runtime/mstring.hpp"
#include "tests/unit/builtins/call_builtin.hpp"

namespace marl {
namespace {

using test::N;
using test::S;

Value call(const char *name, const std::vector<Value> &args) {
  return test::callBuiltin(stringBuiltins(), name, args);
}

// The text of a call's string result.
std::string text(const char *name, const std::vector<Value> &args) {
  Value v = call(name, args);
  MString *s = asString(v);
  EXPECT_NE(s, nullptr) << name << " did not return a string";
  return s ? s->text.str() : std::string();
}

double number(const char *name, const std::vector<Value> &args) {
  Value v = call(name, args);
  EXPECT_TRUE(v.isNumber()) << name << " did not return a number";
  return v.number;
}

std::string error(const char *name, const std::vector<Value> &args) {
  return test::errorOf(stringBuiltins(), name, args);
}

// "あ" (0x82 0xA0) and "ア" (0x83 0x41, whose trail byte is 'A').
const std::string kA = "\x82\xa0";
const std::string kKa = "\x83\x41";

TEST(StringBuiltins, RegisteredInOrder) {
  EXPECT_EQ(test::surface(stringBuiltins()),
            "chop/1 chomp/1 toupper/1 tolower/1 substr/2 substr/3 rsubstr/2 rsubstr/3 index/2 "
            "index/3 rindex/2 rindex/3 trim/1 ltrim/1 rtrim/1 entab/2 entab/1 detab/2 detab/1 "
            "jsubstr/2 jsubstr/3 jrsubstr/2 jrsubstr/3 jindex/2 jindex/3 jrindex/2 jrindex/3 "
            "jlen/1 chr/1 ord/1");
}

TEST(StringBuiltins, ArgumentConversions) {
  EXPECT_EQ(error("substr", {N(5), N(1)}), "error [7]: Cannot convert arg to string");
  EXPECT_EQ(error("substr", {S("abc"), S("1")}), "error [7]: Cannot convert arg to number");
  // Bools count as numbers; fractions are truncated toward zero.
  EXPECT_EQ(text("substr", {S("abc"), Value::boolean(true)}), "bc");
  EXPECT_EQ(text("substr", {S("abcdef"), N(1.9), N(2.9)}), "bc");
  EXPECT_EQ(text("substr", {S("abcdef"), N(-1.5)}), "f");
}

TEST(StringBuiltins, ResultIsANewStringAndTheArgumentStaysIntact) {
  Value arg = S("abc\n");
  Value out = call("chomp", {arg});
  EXPECT_NE(out.object, arg.object);
  EXPECT_EQ(asString(arg)->text, "abc\n");
  Value upper = call("toupper", {arg});
  EXPECT_EQ(asString(arg)->text, "abc\n");
  EXPECT_EQ(asString(upper)->text, "ABC\n");
}

TEST(StringBuiltins, ChopRemovesOneCharacter) {
  EXPECT_EQ(text("chop", {S("")}), "");
  EXPECT_EQ(text("chop", {S("ab\r\n")}), "ab");
  EXPECT_EQ(text("chop", {S("ab\n\r")}), "ab\n");
  EXPECT_EQ(text("chop", {S("a" + kA)}), "a");
  // A lone lead byte at the end is one character.
  EXPECT_EQ(text("chop", {S("a\x82")}), "a");
  // 0x81 0x81 is one character, so the final '@' stands alone: a backward
  // look at the last two bytes would wrongly take "\x81@" for a character.
  EXPECT_EQ(text("chop", {S("\x81\x81@")}), "\x81\x81");
}

TEST(StringBuiltins, ChompRemovesOneLineEnd) {
  EXPECT_EQ(text("chomp", {S("a\r\n")}), "a");
  EXPECT_EQ(text("chomp", {S("a\n\n")}), "a\n");
  EXPECT_EQ(text("chomp", {S("a\r")}), "a\r");
}

TEST(StringBuiltins, CaseMappingSkipsDoubleByteCharacters) {
  EXPECT_EQ(text("toupper", {S("abz@[`{AZ")}), "ABZ@[`{AZ");
  EXPECT_EQ(text("tolower", {S("ABZ@[`{az")}), "abz@[`{az");
  // 0x82 0x61 is a character whose trail byte reads as 'a'.
  EXPECT_EQ(text("toupper", {S("a\x82"
                               "ab")}),
            "A\x82"
            "aB");
  EXPECT_EQ(text("tolower", {S(kKa + "A")}), kKa + "a");
  // A lead byte before a non-trail byte stands alone; the next byte is mapped.
  EXPECT_EQ(text("toupper", {S("\x82 a")}), "\x82 A");
}

TEST(StringBuiltins, Substr) {
  EXPECT_EQ(text("substr", {S("abcdef"), N(-3)}), "def");
  EXPECT_EQ(text("substr", {S("abcdef"), N(1), N(2)}), "bc");
  EXPECT_EQ(text("substr", {S("abcdef"), N(1), N(-1)}), "bcdef");
  EXPECT_EQ(text("substr", {S("abcdef"), N(4), N(100)}), "ef");
  EXPECT_EQ(text("substr", {S("abc"), N(3)}), "");
  // A start still negative after counting from the end is raised to 0.
  EXPECT_EQ(text("substr", {S("abc"), N(-5), N(2)}), "ab");
  EXPECT_EQ(text("substr", {S("abc"), N(-1e300)}), "abc");
}

TEST(StringBuiltins, Rsubstr) {
  EXPECT_EQ(text("rsubstr", {S("abcdef"), N(4), N(2)}), "cd");
  EXPECT_EQ(text("rsubstr", {S("abcdef"), N(-1)}), "abcde");
  EXPECT_EQ(text("rsubstr", {S("abcdef"), N(-2), N(3)}), "bcd");
  // end - n below 0: everything before end.
  EXPECT_EQ(text("rsubstr", {S("abcdef"), N(2), N(5)}), "ab");
  EXPECT_EQ(text("rsubstr", {S("abcdef"), N(0)}), "");
  EXPECT_EQ(text("rsubstr", {S("abc"), N(-4)}), "");
  // An end past the string is lowered to its length.
  EXPECT_EQ(text("rsubstr", {S("abc"), N(10), N(2)}), "bc");
}

TEST(StringBuiltins, Index) {
  EXPECT_EQ(number("index", {S("abcabc"), S("bc")}), 1);
  EXPECT_EQ(number("index", {S("abcabc"), S("bc"), N(2)}), 4);
  EXPECT_EQ(number("index", {S("abcabc"), S("bc"), N(-2)}), 4);
  EXPECT_EQ(number("index", {S("abcabc"), S("c"), N(-100)}), 2);
  EXPECT_EQ(number("index", {S("abc"), S("abcd")}), -1);
  // An empty pattern is found at the start, up to the string's length.
  EXPECT_EQ(number("index", {S("abc"), S("")}), 0);
  EXPECT_EQ(number("index", {S("abc"), S(""), N(2)}), 2);
  EXPECT_EQ(number("index", {S("abc"), S(""), N(3)}), 3);
  EXPECT_EQ(number("index", {S("abc"), S(""), N(4)}), -1);
  EXPECT_EQ(number("index", {S(""), S("")}), -1);
}

TEST(StringBuiltins, RindexNeverFindsAMatchEndingAtTheEnd) {
  EXPECT_EQ(number("rindex", {S("abcabc"), S("bc")}), 1);
  EXPECT_EQ(number("rindex", {S("abcabc"), S("c")}), 2);
  EXPECT_EQ(number("rindex", {S("abcabc"), S("ab")}), 3);
  EXPECT_EQ(number("rindex", {S("abcabc"), S("ab"), N(-3)}), 3);
  EXPECT_EQ(number("rindex", {S("abcabc"), S("a"), N(100)}), 3);
  EXPECT_EQ(number("rindex", {S("abcabc"), S("abcabc")}), -1);
  EXPECT_EQ(number("rindex", {S("abcabc"), S("a"), N(-7)}), -1);
  EXPECT_EQ(number("rindex", {S("abc"), S("")}), 2);
  EXPECT_EQ(number("rindex", {S(""), S("")}), -1);
}

TEST(StringBuiltins, TrimRemovesSpacesTabsAndFullWidthBlanks) {
  const std::string blank = "\x81\x40";
  std::string s = blank + " \ta b\t" + blank + " ";
  EXPECT_EQ(text("trim", {S(s)}), "a b");
  EXPECT_EQ(text("ltrim", {S(s)}), "a b\t" + blank + " ");
  EXPECT_EQ(text("rtrim", {S(s)}), blank + " \ta b");
  EXPECT_EQ(text("trim", {S("\n a \r")}), "\n a \r");
  // "\x81\x81" is one character and '@' another: no full-width blank at the end.
  EXPECT_EQ(text("rtrim", {S("a\x81\x81@")}), "a\x81\x81@");
  EXPECT_EQ(text("trim", {S("\x81\x81@ ")}), "\x81\x81@");
  // A lead byte before a space stands alone; the space is trimmed.
  EXPECT_EQ(text("rtrim", {S("\x82 ")}), "\x82");
}

TEST(StringBuiltins, DetabExpandsToStopsPerLine) {
  EXPECT_EQ(text("detab", {S("a\tb")}), "a       b");
  EXPECT_EQ(text("detab", {S("ab\tc\n\td"), N(4)}), "ab  c\n    d");
  EXPECT_EQ(text("detab", {S("abcd\tx"), N(4)}), "abcd    x");
  // A double-byte character is two columns wide.
  EXPECT_EQ(text("detab", {S(kA + "\tx"), N(4)}), kA + "  x");
  EXPECT_EQ(text("detab", {S("x\ty"), N(1)}), "x y");
}

TEST(StringBuiltins, EntabReplacesRunsReachingAStop) {
  EXPECT_EQ(text("entab", {S("a       b")}), "a\tb");
  EXPECT_EQ(text("entab", {S("        x"), N(4)}), "\t\tx");
  EXPECT_EQ(text("entab", {S("ab  c\n    d"), N(4)}), "ab\tc\n\td");
  // A single space before a stop stays; a run not reaching a stop stays.
  EXPECT_EQ(text("entab", {S("abc d"), N(4)}), "abc d");
  EXPECT_EQ(text("entab", {S("x  y"), N(4)}), "x  y");
  // Spaces before a tab are absorbed by it.
  EXPECT_EQ(text("entab", {S("  \tx"), N(4)}), "\tx");
  EXPECT_EQ(text("entab", {S(kA + "  x"), N(4)}), kA + "\tx");
  EXPECT_EQ(text("entab", {S("a  b"), N(1)}), "a  b");
}

TEST(StringBuiltins, EntabThenDetabKeepsTheLayout) {
  const char *samples[] = {"  a   b    c\n\t x  \ty", "        \n  ", "ab\t \t  cd   e",
                           "\x82\xa0   \x82\xa0 x    "};
  for (double width : {1.0, 3.0, 4.0, 8.0}) {
    for (const char *s : samples) {
      std::string entabbed = text("entab", {S(s), N(width)});
      EXPECT_EQ(text("detab", {S(entabbed), N(width)}), text("detab", {S(s), N(width)}))
          << "width " << width << ": " << s;
    }
  }
}

TEST(StringBuiltins, TabWidthMustBePositiveAndBounded) {
  EXPECT_EQ(error("detab", {S("x"), N(0)}), "error [7]: Bad argument in detab()");
  EXPECT_EQ(error("detab", {S("x"), N(0.9)}), "error [7]: Bad argument in detab()");
  EXPECT_EQ(error("entab", {S("x"), N(-8)}), "error [7]: Bad argument in entab()");
  // An expansion beyond 256 MiB fails instead of allocating it.
  EXPECT_EQ(error("detab", {S("a\tb"), N(1e9)}), "error [7]: Bad argument in detab()");
  EXPECT_EQ(error("detab", {S("\t\t\t"), N(1e8)}), "error [7]: Bad argument in detab()");
  EXPECT_EQ(text("detab", {S("no tabs"), N(1e300)}), "no tabs");
  EXPECT_EQ(text("entab", {S("a  \tb"), N(1e300)}), "a\tb");
}

TEST(StringBuiltins, JlenCountsCharacters) {
  EXPECT_EQ(number("jlen", {S("a" + kA + "b" + kKa)}), 4);
  EXPECT_EQ(number("jlen", {S("\x82")}), 1);
  EXPECT_EQ(number("jlen", {S("\x82 ")}), 2);
}

TEST(StringBuiltins, JsubstrAndJrsubstrCountCharacters) {
  const std::string s = "a" + kA + "b" + kKa;  // 4 characters, 6 bytes
  EXPECT_EQ(text("jsubstr", {S(s), N(1), N(1)}), kA);
  EXPECT_EQ(text("jsubstr", {S(s), N(1)}), kA + "b" + kKa);
  EXPECT_EQ(text("jsubstr", {S(s), N(-2)}), "b" + kKa);
  EXPECT_EQ(text("jsubstr", {S(s), N(-10), N(2)}), "a" + kA);
  EXPECT_EQ(text("jsubstr", {S(s), N(2), N(100)}), "b" + kKa);
  EXPECT_EQ(text("jrsubstr", {S(s), N(-1)}), "a" + kA + "b");
  EXPECT_EQ(text("jrsubstr", {S(s), N(3), N(2)}), kA + "b");
  EXPECT_EQ(text("jrsubstr", {S(s), N(2), N(9)}), "a" + kA);
  EXPECT_EQ(text("jrsubstr", {S(s), N(99), N(1)}), kKa);
}

TEST(StringBuiltins, JindexMatchesWholeCharacters) {
  const std::string s = kA + "a" + kA;
  EXPECT_EQ(number("jindex", {S(s), S(kA), N(1)}), 2);
  EXPECT_EQ(number("index", {S(s), S(kA), N(1)}), 3);
  EXPECT_EQ(number("jindex", {S(s), S("a")}), 1);
  EXPECT_EQ(number("jindex", {S(s), S(""), N(-1)}), 2);
  EXPECT_EQ(number("jindex", {S(s), S(""), N(3)}), 3);
  EXPECT_EQ(number("jindex", {S(s), S(""), N(4)}), -1);
  // 0x82 0x82 is one character, so the bytes 0x82 0xA0 at offset 1 straddle two.
  EXPECT_EQ(number("index", {S("\x82\x82\xa0"), S(kA)}), 1);
  EXPECT_EQ(number("jindex", {S("\x82\x82\xa0"), S(kA)}), -1);
  // A lone lead byte in the pattern does not match half of a character...
  EXPECT_EQ(number("jindex", {S(kA + "x"), S("\x82")}), -1);
  // ...but does match a lone lead byte of s.
  EXPECT_EQ(number("jindex", {S("x\x82 "), S("\x82")}), 1);
}

TEST(StringBuiltins, JrindexSharesRindexEndBound) {
  const std::string s = kA + "x" + kA + "x";  // 4 characters
  EXPECT_EQ(number("jrindex", {S(s), S(kA)}), 2);
  EXPECT_EQ(number("jrindex", {S(s), S("x")}), 1);  // the x at the end is never found
  EXPECT_EQ(number("jrindex", {S(s), S(kA + "x")}), 0);
  EXPECT_EQ(number("jrindex", {S(s), S(kA), N(1)}), 0);
  EXPECT_EQ(number("jrindex", {S(s), S(""), N(-2)}), 2);
  EXPECT_EQ(number("jrindex", {S("\x82\x82\xa0"
                                 "x"),
                               S(kA)}),
            -1);
}

TEST(StringBuiltins, ChrAndOrd) {
  EXPECT_EQ(text("chr", {N(65)}), "A");
  EXPECT_EQ(text("chr", {N(65.9)}), "A");
  EXPECT_EQ(text("chr", {N(0)}), std::string(1, '\0'));
  EXPECT_EQ(text("chr", {N(0x82a0)}), kA);
  EXPECT_EQ(text("chr", {N(256)}), std::string("\x01\x00", 2));
  // Codes are taken modulo 2^32, then their low 16 bits give two bytes.
  EXPECT_EQ(text("chr", {N(-1)}), "\xff\xff");
  EXPECT_EQ(text("chr", {N(0x10041)}), std::string("\x00\x41", 2));
  EXPECT_EQ(text("chr", {N(4294967296.0 + 66)}), "B");
  EXPECT_EQ(text("chr", {N(1e300)}), std::string(1, '\0'));

  EXPECT_EQ(number("ord", {S("A")}), 65);
  EXPECT_EQ(number("ord", {S("\xff")}), 255);
  EXPECT_EQ(number("ord", {S(kA + "x")}), 0x82a0);
  EXPECT_EQ(number("ord", {S("\x82")}), 0x82);
  EXPECT_EQ(number("ord", {S("")}), 0);
  EXPECT_EQ(number("ord", {call("chr", {N(0x889f)})}), 0x889f);
}

}  // namespace
}  // namespace marl
