#include "pp_fixture.hpp"

namespace marl::pp::test {
namespace {

using PPInclude = PPTest;

TEST_F(PPInclude, IncludersDirectoryComesBeforeSearchPathsInOrder) {
  write("src/h.mr", "src_h\n");
  write("one/h.mr", "one_h\n");
  write("one/k.mr", "one_k\n");
  write("two/k.mr", "two_k\n");
  write("two/only.mr", "#include \"k.mr\"\n");  // found beside only.mr, not through -I
  write("src/main.mr", "#include \"h.mr\"\n#include <k.mr>\n#include <only.mr>\nend\n");
  PPResult r = run_file("src/main.mr", {"-I" + path("one"), "-I" + path("two") + "/"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "#line 1 \"src/main.mr\"\n"
            "#line 1 \"src/h.mr\"\nsrc_h\n"
            "#line 1 \"one/k.mr\"\none_k\n"
            "#line 1 \"two/only.mr\"\n"
            "#line 1 \"two/k.mr\"\ntwo_k\n"
            "#line 4 \"src/main.mr\"\nend\n");
  // The marker for the return to the includer is written when text follows.
  write("src/main.mr", "#include \"h.mr\"\nend\n");
  EXPECT_EQ(run_file("src/main.mr").out,
            "#line 1 \"src/main.mr\"\n#line 1 \"src/h.mr\"\nsrc_h\n#line 2 \"src/main.mr\"\nend\n");
}

TEST_F(PPInclude, MacroNamesTheFile) {
  write("x.mr", "x\n");
  EXPECT_EQ(pp("#define HDR \"x.mr\"\n#define ANGLED <x.mr>\n#include HDR\n#include ANGLED\n"),
            "#line 1 \"x.mr\"\nx\n#line 1 \"x.mr\"\nx\n#line 5 \"main.mr\"\n");
}

TEST_F(PPInclude, PragmaOnceHoldsForAnySpellingOfThePath) {
  write("lib/o.mr", "#pragma once\nonce\n");
  EXPECT_EQ(pp("#include \"lib/o.mr\"\n#include \"lib/../lib/o.mr\"\n#include <o.mr>\nafter\n",
               {"-I" + path("lib")}),
            "#line 1 \"lib/o.mr\"\n\nonce\n#line 2 \"main.mr\"\n\n\nafter\n");
}

TEST_F(PPInclude, MacrosAndConditionalsCrossFiles) {
  write("defs.mr", "#define V 7\n#ifndef GUARD\nguarded\n#endif\n");
  EXPECT_EQ(pp("#include \"defs.mr\"\nV\n", {"-DGUARD"}),
            "#line 1 \"defs.mr\"\n#line 2 \"main.mr\"\n7\n");
}

TEST_F(PPInclude, MissingFileNamesTheIncluderAndLine) {
  EXPECT_EQ(pp_error("\n#include \"nope.mr\"\n"),
            "main.mr:2: error: include file \"nope.mr\" not found\n");
  EXPECT_EQ(pp_error("#include nope\n"),
            "main.mr:1: error: #include expects \"FILENAME\" or <FILENAME>\n");
  EXPECT_EQ(pp_error("#include \"\"\n"), "main.mr:1: error: empty filename in #include\n");
}

TEST_F(PPInclude, NestingStopsAt200Levels) {
  for (int i = 0; i < 201; ++i)
    write("c" + std::to_string(i) + ".mr", "#include \"c" + std::to_string(i + 1) + ".mr\"\n");
  write("c200.mr", "deepest\n");
  PPResult ok = run_file("c0.mr");  // c0 includes 200 files, one inside the other
  EXPECT_EQ(ok.status, 0) << ok.err;
  EXPECT_NE(ok.out.find("#line 1 \"c200.mr\"\ndeepest\n"), std::string::npos);

  write("c200.mr", "#include \"c201.mr\"\n");
  write("c201.mr", "too deep\n");
  PPResult deep = run_file("c0.mr");
  EXPECT_NE(deep.status, 0);
  EXPECT_EQ(deep.err, "c200.mr:1: error: #include nested too deeply (more than 200 levels)\n");

  write("self.mr", "#include \"self.mr\"\n");
  PPResult cycle = run_file("self.mr");
  EXPECT_NE(cycle.status, 0);
  EXPECT_EQ(cycle.err, "self.mr:1: error: #include nested too deeply (more than 200 levels)\n");
}

TEST_F(PPInclude, ConditionalsMustBalanceInEachFile) {
  write("open.mr", "#if 1\n");
  EXPECT_EQ(pp_error("#include \"open.mr\"\n#endif\n"), "open.mr:1: error: unterminated #if\n");
  write("close.mr", "\n#endif\n");
  EXPECT_EQ(pp_error("#ifdef X\n#include \"close.mr\"\n#endif\n", {"-DX"}),
            "close.mr:2: error: #endif without #if\n");
}

}  // namespace
}  // namespace marl::pp::test
