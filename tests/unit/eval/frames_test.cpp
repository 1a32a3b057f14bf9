// Every way out of a call or a block unwinds scopes and running marks alike.
#include <gtest/gtest.h>

#include "builtins/registry.hpp"
#include "eval/evaluator.hpp"
#include "eval/run.hpp"
#include "frontend/names.hpp"
#include "frontend/symbols.hpp"
#include "runtime/conversions.hpp"
#include "support/fresh_interpreter.hpp"

namespace marl {
namespace {

class Unwinding : public ::testing::Test {
 protected:
  void SetUp() override {
    test::freshInterpreter();
    registerGroup(coreBuiltins());
  }
  static std::string run(const char *text) {
    testing::internal::CaptureStderr();
    Value v = run_script_string(text);
    errors = testing::internal::GetCapturedStderr();
    return toText(v);
  }
  static void expectUnwound() {
    EXPECT_EQ(scopeDepth(), 1u);
    EXPECT_EQ(runningFrame(), &activeScopes->base);
  }
  static inline std::string errors;
};

TEST_F(Unwinding, ErrorsExitAndJumpsLeaveOnlyTheGlobalScope) {
  run("function deep(n) { var x = n; { var y = n; if (n == 0) error(\"down\"); "
      "return deep(n - 1); } }\ndeep(5);");
  EXPECT_EQ(errors, "error [1]: down\n");
  expectUnwound();

  EXPECT_EQ(run("function leave(n) { { var z; while (1) { exit(n); } } }\nleave(7);"), "7");
  expectUnwound();

  run("function bad() { { break; } }\nbad();");
  EXPECT_EQ(errors, "error [1]: Bad break or continue\n");
  expectUnwound();

  EXPECT_EQ(run("{ var a = 1; return a + 1; }"), "2");
  expectUnwound();
}

TEST_F(Unwinding, StaticAfterAFailedCallIsTheTopLevelsAgain) {
  run("function f() { static s = 1; error(\"x\"); }\nf();");
  EXPECT_EQ(errors, "error [1]: x\n");
  // With the running mark left behind, this would land in f's table.
  run("static top = 3;");
  Symbol *s = findGlobal(intern("top"));
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(toText(s->value), "3");
}

TEST_F(Unwinding, RedefiningARunningFunctionKeepsItsBodyAlive) {
  EXPECT_EQ(run("function g() { eval(\"function g() { return 2; }\"); return 1; }\n"
                "a = g(); b = g(); a * 10 + b;"),
            "12");
  expectUnwound();
}

}  // namespace
}  // namespace marl
