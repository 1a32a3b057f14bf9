// The parse tree belongs to one interpreter state: a new state starts with no
// nodes, no file names and no syntax errors counted.
#include <gtest/gtest.h>

#include <string>

#include "frontend/node.hpp"
#include "frontend/parse.hpp"
#include "frontend/parse_error.hpp"
#include "frontend/parse_tree.hpp"
#include "tests/unit/support/fresh_interpreter.hpp"

namespace marl {
namespace {

class ParseTreeState : public ::testing::Test {
 protected:
  void SetUp() override { test::freshInterpreter(); }
  void TearDown() override { test::freshInterpreter(); }
};

TEST_F(ParseTreeState, FileNamesStartOverInANewState) {
  int first = enterFileName("first.mr");
  enterFileName("second.mr");
  test::freshInterpreter();
  EXPECT_EQ(fileNameAt(first + 1), nullptr);
  EXPECT_EQ(enterFileName("second.mr"), 0);
  EXPECT_STREQ(fileNameAt(0), "second.mr");
}

TEST_F(ParseTreeState, SyntaxErrorsAreCountedPerState) {
  EXPECT_EQ(parse_error_count(), 0);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(parseText("x = ;").ok);
  EXPECT_FALSE(parseText("if (").ok);
  testing::internal::GetCapturedStderr();
  EXPECT_GE(parse_error_count(), 2);
  test::freshInterpreter();
  EXPECT_EQ(parse_error_count(), 0);
}

// Thousands of nodes fill several chunks; every one is still readable, and
// freeing them all leaves the tree ready for the next parse.
TEST_F(ParseTreeState, NodesSpanChunksAndAreFreedTogether) {
  std::string text;
  for (int i = 0; i < 2000; i++)
    text += "x" + std::to_string(i) + " = \"s\" + " + std::to_string(i) + ";\n";
  ParseResult r = parseText(text);
  ASSERT_TRUE(r.ok);
  EXPECT_GT(parseTree().chunks.size(), 2u);
  int statements = 0;
  for (Node *n = r.statements; n; n = n->next) statements++;
  EXPECT_EQ(statements, 2000);
  freeAllNodes();
  EXPECT_TRUE(parseTree().chunks.empty());
  EXPECT_TRUE(parseText("y = 1;").ok);
  EXPECT_EQ(parseTree().chunks.size(), 1u);
}

}  // namespace
}  // namespace marl
