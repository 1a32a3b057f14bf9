#include "pp_fixture.hpp"

namespace marl::pp::test {
namespace {

using PPExpansion = PPTest;

TEST_F(PPExpansion, ObjectAndFunctionLikeMacrosAreRescanned) {
  EXPECT_EQ(pp("#define N 4\n"
               "#define TWICE(x) ((x) * 2)\n"
               "#define ADD(a, b) a + b\n"
               "#define LATER N\n"
               "v = TWICE(N) + ADD(f(1, 2), (3, 4)) + LATER;\n"
               "w = TWICE(TWICE(1));\n"),
            "\n\n\n\nv = ((4) * 2) + f(1, 2) + (3, 4) + 4;\nw = ((((1) * 2)) * 2);\n");
}

TEST_F(PPExpansion, FunctionLikeNameWithoutParenthesesIsText) {
  EXPECT_EQ(pp("#define max(a, b) ((a) > (b) ? (a) : (b))\nmax = 3; f(max);\ny = max\n(1, 2);\n"),
            "\nmax = 3; f(max);\ny = ((1) > (2) ? (1) : (2));\n\n");
}

TEST_F(PPExpansion, StringifyEscapesQuotesAndBackslashes) {
  EXPECT_EQ(pp("#define S(x) #x\nS(a   +  b) S(\"q\\n\") S('c\\d') S()\n"),
            "\n\"a + b\" \"\\\"q\\\\n\\\"\" \"'c\\\\d'\" \"\"\n");
}

TEST_F(PPExpansion, PasteMakesNewTokensThatAreRescanned) {
  EXPECT_EQ(pp("#define CAT(a, b) a ## b\n"
               "#define ab done\n"
               "#define OBJ x ## 1\n"
               "CAT(a, b) CAT(x, 12) CAT(, y) CAT(z, ) [CAT(,)] CAT(+, =) OBJ\n"),
            "\n\n\ndone x12 y z [] += x1\n");
}

TEST_F(PPExpansion, PasteOperandsAreNotExpandedFirst) {
  EXPECT_EQ(
      pp("#define A 1\n#define CAT(a, b) a ## b\n#define CALL(a) CAT(a, 2)\nCAT(A, 2) CALL(A)\n"),
      "\n\n\nA2 12\n");
}

TEST_F(PPExpansion, VariadicMacros) {
  EXPECT_EQ(
      pp("#define LOG(fmt, ...) printf(fmt, __VA_ARGS__)\n"
         "#define ELIDE(fmt, ...) printf(fmt, ## __VA_ARGS__)\n"
         "#define NAMED(args...) g(args)\n"
         "#define STR(...) #__VA_ARGS__\n"
         "LOG(\"%d %d\", 1, (2, 3));\n"
         "ELIDE(\"x\"); ELIDE(\"x\", 1);\n"
         "NAMED(1, 2) STR(a, b)\n"),
      "\n\n\n\nprintf(\"%d %d\", 1, (2, 3));\nprintf(\"x\"); printf(\"x\",1);\ng(1, 2) \"a, b\"\n");
}

TEST_F(PPExpansion, SelfReferenceIsNotExpandedAgain) {
  EXPECT_EQ(pp("#define foo foo + 1\n"
               "#define a b\n"
               "#define b a\n"
               "#define f(x) x * g\n"
               "#define g(x) f(x)\n"
               "foo; a; b; f(2)(9);\n"),
            "\n\n\n\n\nfoo + 1; a; b; 2 * 9 * g;\n");
}

TEST_F(PPExpansion, MacroCallInsideItsOwnArgument) {
  EXPECT_EQ(pp("#define f(x) [x]\n#define g f\nf(f(1)) g(g(2))\n"), "\n\n[[1]] [[2]]\n");
}

TEST_F(PPExpansion, NoExpansionInsideStringsAndComments) {
  EXPECT_EQ(pp("#define X 1\n"
               "s = \"X \\\" X\" + 'X' + 'it\\'s X' + X; // X\n"
               "t = 'open X\n"
               "X /* X\n"
               "X */ X # X\n"
               "u = \"\"\"\n"
               "X \"\n"
               "  \"\"\" X\n"
               "\"\"\" X\n"
               "$' X\n"),
            "\n"
            "s = \"X \\\" X\" + 'X' + 'it\\'s X' + 1; // X\n"
            "t = 'open X\n"
            "1 /* X\n"
            "X */ 1 # X\n"
            "u = \"\"\"\n"
            "X \"\n"
            "  \"\"\" X\n"
            "\"\"\" 1\n"
            "$' 1\n");
}

TEST_F(PPExpansion, HashCommentContinuesAfterBackslash) {
  EXPECT_EQ(pp("#define X 1\n# note \\\nX\nX\n"), "\n# note \\\nX\n1\n");
}

TEST_F(PPExpansion, ShiftJisTrailByteIsNotABackslash) {
  // 0x95 0x5C is one Shift_JIS character; its second byte must not escape the quote.
  EXPECT_EQ(pp("#define X 1\ns = \"\x95\\\" + X\n"), "\ns = \"\x95\\\" + 1\n");
}

TEST_F(PPExpansion, ExpansionsDoNotPasteIntoNeighbours) {
  EXPECT_EQ(pp("#define M -\n#define E\n#define P(x) -x\n-M a-E-b P(-1) M=\n"),
            "\n\n\n- - a- -b - -1 - =\n");
}

TEST_F(PPExpansion, ArgumentsSpanningLinesKeepLaterLinesInPlace) {
  EXPECT_EQ(pp("#define F(a, b) a + b\nx = F(1,\n  2\n  );\ny\n"), "\nx = 1 + 2;\n\n\ny\n");
  EXPECT_EQ(
      pp("#define F(...) __VA_ARGS__\nF(1,  // first\n#ifdef F\n 2\n#else\n 3\n#endif\n)\nz\n"),
      "\n1, 2\n\n\n\n\n\n\nz\n");
}

TEST_F(PPExpansion, UndefAndRedefine) {
  EXPECT_EQ(pp("#define X 1\nX\n#undef X\nX\n#define X 2\nX\n#undef NEVER\n"), "\n1\n\nX\n\n2\n\n");
}

TEST_F(PPExpansion, DirectiveLinesJoinContinuationsAndDropComments) {
  EXPECT_EQ(pp("#  define X 1 \\\n  + 2 /* a\n  comment */ + 3 // end\n  #define Y 'a//b'\nX Y\n"),
            "\n\n\n\n1 + 2 + 3 'a//b'\n");
}

TEST_F(PPExpansion, WrongArgumentCounts) {
  EXPECT_EQ(pp_error("#define F(a, b) a\n\nF(1)\n"),
            "main.mr:3: error: macro \"F\" requires 2 arguments, but only 1 given\n");
  EXPECT_EQ(pp_error("#define F(a) a\nF(1, 2)\n"),
            "main.mr:2: error: macro \"F\" passed 2 arguments, but takes just 1\n");
  EXPECT_EQ(pp_error("#define F(a) a\nF(1,\n"),
            "main.mr:2: error: unterminated argument list invoking macro \"F\"\n");
}

TEST_F(PPExpansion, MalformedDefinitions) {
  EXPECT_EQ(pp_error("#define\n"), "main.mr:1: error: no macro name given in #define directive\n");
  EXPECT_EQ(pp_error("#define 3 x\n"), "main.mr:1: error: macro names must be identifiers\n");
  EXPECT_EQ(pp_error("#define F(a, a) a\n"), "main.mr:1: error: duplicate macro parameter \"a\"\n");
  EXPECT_EQ(pp_error("#define F(a b\n"), "main.mr:1: error: expected ',' or ')', found \"b\"\n");
  EXPECT_EQ(pp_error("#define F(a) #b\n"),
            "main.mr:1: error: '#' is not followed by a macro parameter\n");
  EXPECT_EQ(pp_error("#define F(a) ## a\n"),
            "main.mr:1: error: '##' cannot appear at either end of a macro expansion\n");
}

TEST_F(PPExpansion, RunawayInputIsAnErrorNotACrash) {
  std::string deep = "#define f(x) x\n";
  for (int i = 0; i < 500; ++i) deep += "f(";
  deep += "1";
  for (int i = 0; i < 500; ++i) deep += ")";
  EXPECT_EQ(pp_error(deep + "\n"),
            "main.mr:2: error: macro calls nested too deeply in arguments\n");

  std::string blowup = "#define a0 x x\n";
  for (int i = 1; i < 40; ++i)
    blowup += "#define a" + std::to_string(i) + " a" + std::to_string(i - 1) + " a" +
              std::to_string(i - 1) + "\n";
  EXPECT_EQ(pp_error(blowup + "a39\n"), "main.mr:41: error: macro expansion too large\n");
}

}  // namespace
}  // namespace marl::pp::test
