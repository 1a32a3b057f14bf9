#include "pp_fixture.hpp"

namespace marl::pp::test {
namespace {

using PPOptionsAndErrors = PPTest;

TEST_F(PPOptionsAndErrors, DefinesAndUndefinesApplyInOrder) {
  EXPECT_EQ(
      pp("A B C F(2)\n", {"-DA", "-UA", "-DB=2", "-DA=x y", "-DC", "-DF(v)=v+1", "-UC", "-UNEVER"}),
      "x y 2 C 2+1\n");
  EXPECT_EQ(pp("#ifdef E\nempty[E]\n#endif\n", {"-DE="}), "\nempty[]\n\n");
}

TEST_F(PPOptionsAndErrors, BadCommandLines) {
  write("main.mr", "x\n");
  std::string out = "-o" + path("out.i"), in = path("main.mr");
  auto call = [](std::vector<std::string> args) {
    std::vector<char *> argv;
    for (std::string &a : args) argv.push_back(a.data());
    ::testing::internal::CaptureStderr();
    int status = cpp_main(static_cast<int>(argv.size()), argv.data());
    std::string err = ::testing::internal::GetCapturedStderr();
    return std::make_pair(status, err);
  };
  EXPECT_EQ(call({"", in}),
            std::make_pair(1, std::string("<command-line>: error: no output file given (-o)\n")));
  EXPECT_EQ(call({"", out}),
            std::make_pair(1, std::string("<command-line>: error: no input file given\n")));
  EXPECT_EQ(
      call({"", "-D3", out, in}),
      std::make_pair(
          1, std::string("<command-line>: error: macro names must be identifiers (in \"-D3\")\n")));
  EXPECT_EQ(call({"", "-q", out, in}),
            std::make_pair(1, std::string("<command-line>: error: unknown option \"-q\"\n")));
  auto missing = call({"", out, path("missing.mr")});
  EXPECT_EQ(missing.first, 1);
  EXPECT_EQ(
      relative(missing.second),
      "<command-line>: error: cannot open input file \"missing.mr\": No such file or directory\n");
  auto unwritable = call({"", "-o" + path("no/such/dir/out.i"), in});
  EXPECT_EQ(unwritable.first, 1);
  EXPECT_EQ(relative(unwritable.second),
            "<command-line>: error: cannot write output file \"no/such/dir/out.i\": No such file "
            "or directory\n");
}

TEST_F(PPOptionsAndErrors, UnbalancedConditionals) {
  EXPECT_EQ(pp_error("x\n#else\n"), "main.mr:2: error: #else without #if\n");
  EXPECT_EQ(pp_error("#endif\n"), "main.mr:1: error: #endif without #if\n");
  EXPECT_EQ(pp_error("#elif 1\n"), "main.mr:1: error: #elif without #if\n");
  EXPECT_EQ(pp_error("#if 1\n#else\n#else\n#endif\n"), "main.mr:3: error: #else after #else\n");
  EXPECT_EQ(pp_error("#if 0\n#else\n#elif 1\n#endif\n"), "main.mr:3: error: #elif after #else\n");
  EXPECT_EQ(pp_error("\n#ifdef X\n#if 1\n#endif\n"), "main.mr:2: error: unterminated #ifdef\n");
}

TEST_F(PPOptionsAndErrors, ErrorDirectiveFailsWithItsTextAndWritesNoOutput) {
  write("main.mr", "a\n#if 1\n#error  Needs   version 2 \n#endif\n");
  PPResult r = run_file("main.mr");
  EXPECT_NE(r.status, 0);
  EXPECT_EQ(r.err, "main.mr:3: error: Needs   version 2\n");
  EXPECT_FALSE(std::filesystem::exists(path("out.i")));
  EXPECT_EQ(pp("#if 0\n#error skipped\n#endif\n"), "\n\n\n");
}

TEST_F(PPOptionsAndErrors, ErrorsInIncludedFilesNameThatFile) {
  write("lib/inc.mr", "ok\n\n#error in lib\n");
  EXPECT_EQ(pp_error("#include \"lib/inc.mr\"\n"), "lib/inc.mr:3: error: in lib\n");
}

}  // namespace
}  // namespace marl::pp::test
