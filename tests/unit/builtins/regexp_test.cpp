// Regular expressions: compiling, matching, match variables, sub/gsub, tr and the operators.
#include <gtest/gtest.h>

#include "builtins/regexp.hpp"
#include "builtins/registry.hpp"
#include "eval/funcref.hpp"
#include "eval/regex_ops.hpp"
#include "frontend/symbols.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "tests/unit/builtins/call_builtin.hpp"
#include "support/fresh_interpreter.hpp"

namespace marl {
namespace {

using test::errorOf;
using test::N;
using test::S;

// "表" is 0x95 0x5C: its trail byte is a backslash. "あ" is 0x82 0xA0.
const std::string kHyo = "\x95\x5c";
const std::string kA = "\x82\xa0";

class Regexp : public ::testing::Test {
 protected:
  void SetUp() override { test::freshInterpreter(); }

  static Value call(const char *name, const std::vector<Value> &args) {
    return test::callBuiltin(regexpBuiltins(), name, args);
  }
  static std::string text(const char *name, const std::vector<Value> &args) {
    return toText(call(name, args));
  }
  static std::string error(const char *name, const std::vector<Value> &args) {
    return errorOf(regexpBuiltins(), name, args);
  }
  static Value re(const char *pattern, const char *flags = "") {
    return call("regexp", {S(pattern), S(flags)});
  }
  static std::string var(const char *name) {
    Symbol *s = findGlobal(intern(name));
    return s ? toText(s->value) : "<undeclared>";
  }
  static bool matches(const Value &r, std::string_view subject) {
    return regexMatchOperator(3, "=~", makeString(subject), r);
  }
};

TEST_F(Regexp, BadPatternsAndFlagsRaiseClearErrors) {
  EXPECT_EQ(error("regexp", {S("a(")}),
            "error [7]: Bad regular expression /a(/: end pattern with unmatched parenthesis");
  EXPECT_EQ(error("regexp", {S("a\n(")}),
            "error [7]: Bad regular expression /a\\n(/: end pattern with unmatched parenthesis");
  // A long pattern is cut so the message stays one bounded line.
  std::string longPattern(600, 'a');
  longPattern += "(";
  std::string msg = error("regexp", {S(longPattern)});
  EXPECT_NE(msg.find("aaa.../: end pattern"), std::string::npos) << msg;
  EXPECT_EQ(error("regexp", {S("a"), S("ix")}), "error [7]: Bad flag 'x' in regexp()");
  EXPECT_EQ(error("regexp", {N(1)}), "error [7]: Cannot convert arg to string");
  EXPECT_EQ(error("match", {S("a"), N(1)}), "error [7]: Bad argument type in match()");
  EXPECT_EQ(error("gsub", {S("a"), S("a"), Value()}), "error [7]: Bad argument type in gsub()");
}

TEST_F(Regexp, FlagsFollowPerlMeaning) {
  Value plain = re("^b$"), multi = re("^b$", "m");
  EXPECT_FALSE(matches(plain, "a\nb\nc"));
  EXPECT_TRUE(matches(multi, "a\nb\nc"));
  EXPECT_TRUE(matches(plain, "b\n"));  // $ before a final line feed, as in Perl
  // m never lets "." cross a line feed; (?s) does.
  EXPECT_FALSE(matches(re("a.b", "m"), "a\nb"));
  EXPECT_TRUE(matches(re("(?s)a.b"), "a\nb"));
  EXPECT_TRUE(matches(re("ABC", "i"), "xabcx"));
  EXPECT_FALSE(matches(re("ABC"), "xabcx"));
  EXPECT_EQ(asRegExp(re("a", "mi"))->re->flags(), REGEX_IGNORECASE | REGEX_MULTILINE);
}

TEST_F(Regexp, DoubleByteTextIsMatchedByCharacters) {
  // The trail byte 0x5C of 表 is neither a backslash in the pattern nor in the subject.
  EXPECT_TRUE(matches(re(kHyo.c_str()), "xx" + kHyo));
  EXPECT_FALSE(matches(re("\\\\"), kHyo));
  EXPECT_TRUE(matches(re("\\\\"), kHyo + "\\"));
  Value dot = call("match", {S(kHyo + kA), S("^(.)(.)$")});
  ASSERT_NE(asArray(dot), nullptr);
  EXPECT_EQ(toText(asArray(dot)->items[1].get()), kHyo);
  EXPECT_EQ(toText(asArray(dot)->items[2].get()), kA);
  // A lone lead byte at the end is not read past.
  EXPECT_FALSE(matches(re("x."), "x\x82"));
}

TEST_F(Regexp, MatchSetsVariablesAndFailureKeepsThem) {
  ASSERT_TRUE(matches(re("(\\d+)-(x)?(\\d+)"), "ab12-34cd"));
  EXPECT_EQ(var("$0"), "12-34");
  EXPECT_EQ(var("$&"), "12-34");
  EXPECT_EQ(var("$1"), "12");
  EXPECT_EQ(var("$2"), "");  // unmatched group
  EXPECT_EQ(var("$3"), "34");
  EXPECT_EQ(var("$9"), "");
  EXPECT_EQ(var("$`"), "ab");
  EXPECT_EQ(var("$'"), "cd");
  EXPECT_EQ(var("$+"), "34");
  EXPECT_EQ(var("$_"), "ab12-34cd");

  EXPECT_FALSE(matches(re("zz"), "nothing"));
  EXPECT_EQ(var("$1"), "12");
  EXPECT_EQ(var("$_"), "ab12-34cd");

  // Fewer groups this time: the old $3 must not survive.
  ASSERT_TRUE(matches(re("(a)|(b)"), "xa"));
  EXPECT_EQ(var("$3"), "");
  EXPECT_EQ(var("$+"), "a");
}

TEST_F(Regexp, MatchReturnsGroupsOrNull) {
  Value m = call("match", {S("2024-01-15"), re("(\\d+)-(\\d+)-(x)?")});
  MArray *arr = asArray(m);
  ASSERT_NE(arr, nullptr);
  ASSERT_EQ(arr->size(), 4u);
  EXPECT_EQ(toText(arr->items[0].get()), "2024-01-");
  EXPECT_EQ(toText(arr->items[2].get()), "01");
  EXPECT_TRUE(arr->items[3].isNull());
  EXPECT_EQ(var("$2"), "01");
  EXPECT_TRUE(call("match", {S("abc"), S("x")}).isNull());
  EXPECT_EQ(error("match", {S("abc"), S("[")}),
            "error [7]: Bad regular expression /[/: premature end of char-class");
}

TEST_F(Regexp, SubstitutionTemplates) {
  EXPECT_EQ(text("sub", {S("John Smith"), S("(\\w+) (\\w+)"), S("$2, $1")}), "Smith, John");
  EXPECT_EQ(text("sub", {S("a-b"), S("-"), S("[$`|$&|$'] $$1 $9$")}), "a[a|-|b] $1 $b");
  EXPECT_EQ(text("gsub", {S("a1b22"), S("\\d"), S("<$0>")}), "a<1>b<2><2>");
  EXPECT_EQ(text("gsub", {S("ab"), S("(a)|(b)"), S("$+")}), "ab");
  EXPECT_EQ(text("gsub", {S("a.b.c"), S("\\."), N(0)}), "a0b0c");
  // After gsub the variables describe its last match, against the whole subject.
  EXPECT_EQ(var("$`"), "a.b");
  EXPECT_EQ(var("$'"), "c");
  EXPECT_EQ(text("gsub", {S("aaa"), S("^a"), S("b")}), "baa");
  EXPECT_EQ(text("sub", {S("abc"), S("x"), S("y")}), "abc");
}

TEST_F(Regexp, EmptyMatchesAdvanceByOneCharacter) {
  EXPECT_EQ(text("gsub", {S("abc"), S("x*"), S("-")}), "-a-b-c-");
  EXPECT_EQ(text("gsub", {S("baaac"), S("a*"), S("-")}), "-b--c-");
  EXPECT_EQ(text("gsub", {S(""), S("x*"), S("-")}), "-");
  EXPECT_EQ(text("gsub", {S(kHyo + kA), S(""), S("|")}), "|" + kHyo + "|" + kA + "|");
  EXPECT_EQ(text("gsub", {S("a\nb"), re("$", "m"), S(";")}), "a;\nb;");
}

void wrapGroup(Context &, int, const Args &a, Value &r) {
  std::string s = toText(asArray(a[0])->items[1].get());
  r = s == "skip" ? Value() : makeString("<" + s + ">");
}

TEST_F(Regexp, FunctionReplacementGetsTheMatchArray) {
  // A detached function record: the reference owns it, the table never sees it.
  FuncInfo *info = new FuncInfo();
  info->variants.push_back(new func_data());
  info->variants[0]->handler = wrapGroup;
  info->variants[0]->arity = 1;
  Value fn(new MFuncRef(info));
  releaseFunc(info);
  EXPECT_EQ(text("gsub", {S("a=1, skip=2"), S("(\\w+)=\\d"), fn}), "<a>, ");
  EXPECT_EQ(var("$1"), "skip");
  EXPECT_EQ(text("sub", {S("x=1 y=2"), S("(\\w)=\\d"), fn}), "<x> y=2");
}

TEST_F(Regexp, CatastrophicPatternIsBounded) {
  EXPECT_EQ(error("match", {S(std::string(30, 'x')), S("(x+x+)+y")}),
            "error [7]: Regular expression /(x+x+)+y/ failed: retry-limit-in-match over");
}

TEST_F(Regexp, TranslateRangesDeletesAndRepeats) {
  EXPECT_EQ(text("tr", {S("hello"), S("a-y"), S("b-z")}), "ifmmp");
  EXPECT_EQ(text("tr", {S("hello world"), S("a-z"), S("A-C")}), "CCCCC CCCCC");
  EXPECT_EQ(text("tr", {S("a-b-c"), S("-"), S("")}), "abc");
  EXPECT_EQ(text("tr", {S("a-b_c"), S("_-"), S("=+")}), "a+b=c");
  EXPECT_EQ(text("tr", {S("a-z"), S("a\\-z"), S("123")}), "123");
  EXPECT_EQ(text("tr", {S("aab"), S("aa"), S("xy")}), "xxb");  // the first mention wins
  // Full-width Ａ-Ｃ (0x8260-0x8262) to ASCII, and a double-byte character to a byte.
  EXPECT_EQ(text("tr", {S("\x82\x60\x82\x62" + kHyo), S("\x82\x60-\x82\x79" + kHyo), S("a-z\\\\")}),
            "ac\\");
  // A backslash in `from` does not hit the trail byte of 表.
  EXPECT_EQ(text("tr", {S(kHyo + "\\"), S("\\\\"), S("/")}), kHyo + "/");
  EXPECT_EQ(error("tr", {S("x"), S("z-a"), S("")}), "error [7]: Bad range in tr()");
}

TEST_F(Regexp, OperatorsCheckTypesAndLiteralsCompileOnce) {
  Value r = re("b");
  EXPECT_TRUE(regexMatchOperator(3, "=~", r, S("abc")));
  EXPECT_TRUE(regexMatchOperator(3, "=~", S("abc"), r));
  auto opError = [](const Value &a, const Value &b) {
    try {
      regexMatchOperator(3, "!~", a, b);
    } catch (const ScriptError &e) {
      return std::string(e.what());
    }
    return std::string();
  };
  EXPECT_EQ(opError(S("abc"), S("abc")), "error [3]: Bad type operation in operator !~");
  EXPECT_EQ(opError(r, r), "error [3]: Bad type operation in operator !~");
  EXPECT_EQ(opError(r, N(1)), "error [3]: Bad type operation in operator !~");

  RegexLit lit;
  lit.pattern = "a+";
  lit.flags = REGEX_IGNORECASE;
  Value first = regexLiteral(5, &lit), second = regexLiteral(5, &lit);
  ASSERT_NE(lit.compiled, nullptr);
  EXPECT_NE(first.object, second.object);
  EXPECT_EQ(asRegExp(first)->re, asRegExp(second)->re);
  EXPECT_EQ(asRegExp(first)->re, lit.compiled);
  EXPECT_EQ(toText(call("regexp", {first})), toText(first));  // handed back, not copied
  static_cast<RegExp *>(lit.compiled)->release();

  RegexLit bad;
  bad.pattern = "*";
  EXPECT_THROW(regexLiteral(5, &bad), ScriptError);
  EXPECT_EQ(bad.compiled, nullptr);
}

}  // namespace
}  // namespace marl
