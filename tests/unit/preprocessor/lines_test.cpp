#include "pp_fixture.hpp"

namespace marl::pp::test {
namespace {

using PPLines = PPTest;

TEST_F(PPLines, DirectivesAndSkippedGroupsBecomeEmptyLines) {
  EXPECT_EQ(pp("a\n#define X 1\n#if 0\nskipped\n#endif\nX\n"), "a\n\n\n\n\n1\n");
}

TEST_F(PPLines, LongGapsGetAMarkerInstead) {
  std::string skipped;
  for (int i = 0; i < 20; ++i) skipped += "skipped\n";
  EXPECT_EQ(pp("#if 0\n" + skipped + "#endif\nafter\n"), "#line 23 \"main.mr\"\nafter\n");
}

TEST_F(PPLines, CommentLinesPassThroughUnlessSkipped) {
  EXPECT_EQ(pp("#!/usr/bin/env marl\n# 12 apples\n#comment\n#unknown word\n#\n#  "
               "elsewhere\n#pragma weak x\n"
               "#if 0\n# hidden\n#!x\n#endif\n"),
            "#!/usr/bin/env marl\n# 12 apples\n#comment\n#unknown word\n#\n#  elsewhere\n#pragma "
            "weak x\n\n\n\n\n");
}

TEST_F(PPLines, LineDirectivesPassThroughAndMoveTheNumbering) {
  std::string skipped;
  for (int i = 0; i < 10; ++i) skipped += "#define A" + std::to_string(i) + "\n";
  EXPECT_EQ(pp("#line 100 \"other.mr\"\nx\n" + skipped + "y\n# line 5\n#LINE 7\nz\n"),
            "#line 100 \"other.mr\"\nx\n#line 111 \"other.mr\"\ny\n# line 5\n#LINE 7\nz\n");
  // the numbering named in messages follows #line as well
  EXPECT_EQ(pp_error("#line 50 \"gen.mr\"\n\n#error stop\n"), "gen.mr:51: error: stop\n");
}

TEST_F(PPLines, DirectiveWordsNeedNotStartTheLine) {
  EXPECT_EQ(pp("  #  define X 1\n\t# ifdef X\nX\n #endif\n"), "\n\n1\n\n");
}

TEST_F(PPLines, DirectivesInsideBlockStringsAndCommentsAreText) {
  EXPECT_EQ(pp("s = \"\"\"\n#define X 1\n\"\"\"\n/*\n#error no\n*/ X\n"),
            "s = \"\"\"\n#define X 1\n\"\"\"\n/*\n#error no\n*/ X\n");
  // and a skipped group ends only at an #endif outside them
  EXPECT_EQ(pp("#if 0\n/*\n#endif\n*/\n#endif\nok\n"), "\n\n\n\n\nok\n");
}

TEST_F(PPLines, CrLfLineEnds) {
  write("inc.mr", "inc\r\n");
  EXPECT_EQ(pp("#define X 1 \\\r\n + 2\r\n#ifdef X\r\nX\r\n#endif\r\n#include \"inc.mr\"\r\ns = "
               "\"\"\"\r\nX\r\n\"\"\"\r\n"),
            "\n\n\n1 + 2\r\n#line 1 \"inc.mr\"\ninc\r\n#line 7 \"main.mr\"\ns = "
            "\"\"\"\r\nX\r\n\"\"\"\r\n");
}

TEST_F(PPLines, LineAndFileNamesAreLeftToTheScanner) {
  EXPECT_EQ(pp("print(__LINE__, __FILE__, defined)\n"), "print(__LINE__, __FILE__, defined)\n");
}

TEST_F(PPLines, LastLineWithoutLineFeed) {
  write("inc.mr", "inc");
  EXPECT_EQ(pp("#include \"inc.mr\"\nend"), "#line 1 \"inc.mr\"\ninc\n#line 2 \"main.mr\"\nend");
}

}  // namespace
}  // namespace marl::pp::test
