// The evaluator's bounds: the C-stack guard on a thread's ordinary stack, and
// the step budget that the fuzzers run scripts under.
#include <gtest/gtest.h>

#include <string>

#include "runtime/error.hpp"
#include "eval/evaluator.hpp"
#include "frontend/functions.hpp"
#include "frontend/names.hpp"
#include "frontend/node.hpp"
#include "frontend/parse.hpp"
#include "frontend/symbols.hpp"
#include "runtime/stack_guard.hpp"
#include "support/fresh_interpreter.hpp"

namespace marl {
namespace {

class EvalLimitsTest : public ::testing::Test {
 protected:
  void TearDown() override {
    setStepBudget(0);
    test::freshInterpreter();
  }

  // The error the text raises, or "" when it runs to the end.
  std::string run(const std::string &text) {
    ParseResult parsed = parseText(text);
    EXPECT_TRUE(parsed.ok) << text.substr(0, 80);
    Context ctx;
    Value result;
    try {
      evaluateList(ctx, result, parsed.statements);
    } catch (const ScriptError &e) {
      return e.what();
    }
    return "";
  }

  double global(const char *name) {
    Symbol *s = lookupVariable(intern(name));
    return s ? s->value.number : -1;
  }
};

std::string chain(const char *op, size_t terms) {
  std::string text = "x = 1";
  for (size_t i = 1; i < terms; i++) (text += op) += "1";
  return text + ";";
}

// The test runs on the main thread's stack of a few MiB: a chain deep enough
// to overflow it must end in the error instead, and a short one must not.
TEST_F(EvalLimitsTest, StackGuardStopsDeepChains) {
  recordStackBounds();
  ASSERT_NE(stackFloor, 0u);
  EXPECT_EQ(run(chain("+", 1000)), "");
  EXPECT_EQ(global("x"), 1000);
  EXPECT_EQ(run(chain("+", 500000)), "error [1]: Recursion limit exceeded");
  EXPECT_EQ(run(chain(" && ", 500000)), "error [1]: Recursion limit exceeded");
  // The interpreter goes on normally afterwards.
  EXPECT_EQ(run("y = 2 * 21;"), "");
  EXPECT_EQ(global("y"), 42);
}

TEST_F(EvalLimitsTest, StepBudgetEndsLoopsAndRecursionForGood) {
  setStepBudget(1000);
  EXPECT_EQ(run("n = 0; while (1) n++;"), "error: Step budget exhausted");
  EXPECT_GE(global("n"), 990);
  // Once spent it stays spent: catching the error does not buy more steps.
  setStepBudget(500);
  EXPECT_EQ(run("m = 0; for (;;) { try { while (1) m++; } catch (e) { m++; } }"),
            "error: Step budget exhausted");
  EXPECT_LE(global("m"), 501);
  setStepBudget(300);
  EXPECT_EQ(run("function f(n) { return n > 0 ? f(n - 1) : 0; } f(100); f(100); f(100); f(100);"),
            "error [1]: Step budget exhausted");
  // Without a budget the same loops are only bounded by themselves.
  setStepBudget(0);
  EXPECT_EQ(run("k = 0; while (k < 100000) k++;"), "");
  EXPECT_EQ(global("k"), 100000);
}

}  // namespace
}  // namespace marl
