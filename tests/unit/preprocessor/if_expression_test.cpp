#include "pp_fixture.hpp"

namespace marl::pp::test {
namespace {

using PPIfExpression = PPTest;

// Each expression is expected to be true (the "yes" group is kept).
TEST_F(PPIfExpression, OperatorsFollowCPrecedenceAndTypes) {
  const char *cases[] = {
      "1 + 2 * 3 == 7",
      "(1 + 2) * 3 == 9",
      "10 - 4 - 3 == 3",
      "-7 / 2 == -3 && -7 % 2 == -1",
      "1 << 4 >> 2 == 4",
      "(1 | 6 & 3 ^ 1) == 3",
      "!0 && !!5 == 1 && ~0 == -1 && -(-3) == +3",
      "1 < 2 == 1 && 3 >= 3 && 2 != 3 && !(2 <= 1) && 4 > 3",
      "0 || 2",
      "(1 ? 2 : 3) == 2 && (0 ? 2 : 0 ? 3 : 4) == 4",
      "(1, 0, 5) == 5",
      "-1 < 0 && !(-1 < 0u)",
      "0xFFFFFFFFFFFFFFFF == -1 && 18446744073709551615 > 0",
      "-1 >> 1 == -1 && 1 << 64 == 0 && 1 << -1 == 0",
      "0x1F == 31 && 017 == 15 && 0b101 == 5 && 10UL == 10 && 7llu == 7",
      "'a' == 97 && '\\n' == 10 && '\\0' == 0 && '\\x41' == 65 && '\\'' == 39",
      "'\\377' < 0 && 'ab' == 24930",
      "UNDEFINED == 0 && true == 0",
      "0 && 1 / 0 || 1",
      "1 || 1 % 0",
      "(1 ? 2 : 1 / 0) == 2",
  };
  for (const char *expr : cases) {
    EXPECT_EQ(pp(std::string("#if ") + expr + "\nyes\n#else\nno\n#endif\n"), "\nyes\n\n\n\n")
        << expr;
  }
}

TEST_F(PPIfExpression, DefinedAndMacros) {
  EXPECT_EQ(
      pp("#define A 3\n#define B A + 1\n#define F(x) x * 2\n#define D defined(A)\n"
         "#if defined A && defined(A) && !defined C && B == 4 && F(B) == 5 && D\nyes\n#endif\n"),
      "\n\n\n\n\nyes\n\n");
  // defined must not see the macro's expansion, only its name
  EXPECT_EQ(pp("#define A B\n#if defined(A) && !defined(B)\nyes\n#endif\n"), "\n\nyes\n\n");
}

TEST_F(PPIfExpression, GroupsAndSkipping) {
  EXPECT_EQ(pp("#if 0\na\n#elif 1\nb\n#elif 1 / 0\nc\n#else\nd\n#endif\n"
               "#ifdef NOPE\n#if garbage (\n#else\n#error never\n#endif\n#endif\n"
               "#ifndef NOPE\ne\n#endif\n"),
            "\n\n\nb\n#line 17 \"main.mr\"\ne\n\n");
}

TEST_F(PPIfExpression, MalformedExpressionsAreErrors) {
  struct Case {
    const char *expr;
    const char *message;
  } cases[] = {
      {"", "#if with no expression"},
      {"1 +", "operator '+' has no right operand"},
      {"(1", "missing ')' in expression"},
      {"1)", "missing '(' in expression"},
      {"1 2", "missing binary operator before token \"2\""},
      {"1 ? 2", "'?' without following ':'"},
      {"1 / 0", "division by zero in #if"},
      {"5 % (2 - 2)", "division by zero in #if"},
      {"1.0", "floating constant in preprocessor expression"},
      {"08", "invalid digit \"8\" in octal constant"},
      {"12abc", "invalid suffix \"abc\" on integer constant"},
      {"99999999999999999999", "integer constant is too large for its type"},
      {"''", "empty character constant"},
      {"'a", "missing terminating ' character"},
      {"\"s\"", "token \"\"s\"\" is not valid in preprocessor expressions"},
      {"1 = 1", "missing binary operator before token \"=\""},
      {"defined", "operator \"defined\" requires an identifier"},
      {"defined(X", "missing ')' after \"defined\""},
      {"* 2", "expected a value before \"*\""},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(pp_error(std::string("\n#if ") + c.expr + "\n#endif\n"),
              std::string("main.mr:2: error: ") + c.message + "\n")
        << c.expr;
  }
  EXPECT_EQ(pp_error("#if 0\n#elif\n#endif\n"), "main.mr:2: error: #elif with no expression\n");
  EXPECT_EQ(pp_error("#if 1 +\\\n 1 /\\\n 0\n#endif\n"),
            "main.mr:1: error: division by zero in #if\n");
}

TEST_F(PPIfExpression, DeepNestingIsAnErrorNotACrash) {
  std::string deep(100000, '(');
  EXPECT_EQ(pp_error("#if " + deep + "1\n#endif\n"),
            "main.mr:1: error: expression nested too deeply in #if\n");
  std::string unary(100000, '-');
  EXPECT_EQ(pp_error("#if " + unary + "1\n#endif\n"),
            "main.mr:1: error: expression nested too deeply in #if\n");
}

}  // namespace
}  // namespace marl::pp::test
