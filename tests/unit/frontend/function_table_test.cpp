// Overload choice and replacement in the function table; scope lookup rules.
#include <gtest/gtest.h>

#include "frontend/functions.hpp"
#include "frontend/symbols.hpp"
#include "support/fresh_interpreter.hpp"

namespace marl {
namespace {

void h1(Context &, int, const Args &, Value &) {}
void h2(Context &, int, const Args &, Value &) {}
void h3(Context &, int, const Args &, Value &) {}

class Functions : public ::testing::Test {
 protected:
  void SetUp() override { test::freshInterpreter(); }
};

TEST_F(Functions, EqualArityReplacesAndExactBeatsVariadic) {
  registerFunction("ft_f", 1, h1);
  registerFunction("ft_f", 1, h2);
  FuncInfo *f = findFunction("ft_f");
  ASSERT_NE(f, nullptr);
  ASSERT_EQ(f->variants.size(), 1u);
  EXPECT_EQ(f->find(1)->handler, h2);

  registerFunction("ft_g", -1, h1);
  registerFunction("ft_g", 2, h2);
  registerFunction("ft_g", -1, h3);
  FuncInfo *g = findFunction("ft_g");
  EXPECT_EQ(g->variants.size(), 2u);
  EXPECT_EQ(g->find(2)->handler, h2);
  EXPECT_EQ(g->find(3)->handler, h3);
  EXPECT_EQ(g->find(0)->handler, h3);
  EXPECT_EQ(findFunction("ft_f")->find(2), nullptr);
}

TEST_F(Functions, GenerationChangesWithEveryRegistration) {
  uint32_t before = functionGeneration();
  registerFunction("ft_gen", 0, h1);
  EXPECT_NE(functionGeneration(), before);
}

class Scopes : public ::testing::Test {
 protected:
  void SetUp() override { test::freshInterpreter(); }
};

TEST_F(Scopes, FunctionBoundaryHidesCallerLocals) {
  Name *x = intern("sc_x");
  declare(globalScope(), x)->value = Value::num(1);
  bool existed;
  pushFunctionScope();
  declareInnermost(x, false, existed)->value = Value::num(2);
  pushFunctionScope();
  Symbol *s = lookupVariable(x);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->value.number, 1);  // the global, not the caller's local
  popScopesTo(2);
  EXPECT_EQ(lookupVariable(x)->value.number, 2);
}

TEST_F(Scopes, ExternLinkCreatesTheGlobal) {
  Name *y = intern("sc_y");
  bool existed;
  pushFunctionScope();
  declareInnermost(y, true, existed);
  Symbol *s = lookupVariable(y);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s, findGlobal(y));
  s->value = Value::num(5);
  popScopesTo(1);
  EXPECT_EQ(lookupVariable(y)->value.number, 5);
}

TEST_F(Scopes, LongNamesShareTheirFirst128Bytes) {
  std::string a(200, 'a'), b(128, 'a');
  b += "different-tail";
  declare(globalScope(), intern(a))->value = Value::num(7);
  Symbol *s = lookupVariable(intern(b));
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->value.number, 7);
}

}  // namespace
}  // namespace marl
