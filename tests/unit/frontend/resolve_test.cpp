// The resolver's layouts: which blocks get slots and which slots a name may
// be in. Wrong answers here cost speed (extra slots, longer candidate lists)
// or correctness (a missing candidate), which output tests alone may miss.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frontend/functions.hpp"
#include "frontend/names.hpp"
#include "frontend/node.hpp"
#include "frontend/parse.hpp"
#include "frontend/resolve.hpp"
#include "tests/unit/support/fresh_interpreter.hpp"

namespace marl {
namespace {

class Resolver : public ::testing::Test {
 protected:
  void SetUp() override { test::freshInterpreter(); }

  // Parses a script holding one function `f` and resolves its body.
  const FrameLayout &layoutOf(const std::string &text) {
    ParseResult r = parseText(text);
    EXPECT_TRUE(r.ok);
    FuncInfo *f = findFunction(intern("f"));
    def_ = f->variants.front()->def;
    return functionLayout(def_);
  }
  // Every name node using `name` in the body (not `var` declarators), in
  // source order.
  std::vector<Node *> reads(const char *name) {
    std::vector<Node *> found, stack{def_->body};
    while (!stack.empty()) {
      Node *n = stack.back();
      stack.pop_back();
      if (!n) continue;
      stack.push_back(n->next);  // after this node's own children
      if (n->opcode == OP_VAR) {
        for (Node *d = n->left; d; d = d->next)
          if (d->opcode == OP_ASSIGN) stack.push_back(d->right);
        continue;
      }
      if (n->opcode == OP_NAME && n->payload.name->text == name) found.push_back(n);
      if (n->opcode == OP_IF || n->opcode == OP_WHILE || n->opcode == OP_FOR ||
          n->opcode == OP_SWITCH || n->opcode == OP_FOREACH || n->opcode == OP_TRY) {
        Control *c = n->payload.ctl;
        for (Node *k : {c->d, c->c, c->b, c->a}) stack.push_back(k);
      } else if (n->opcode != OP_FUNCDEF && n->opcode != OP_STRING && n->opcode != OP_REGEX) {
        stack.push_back(n->right);
        stack.push_back(n->left);
      }
    }
    return found;
  }
  static int slotsIn(const FrameLayout &l, uint32_t block) { return l.blocks.at(block).count; }

  FunctionDef *def_ = nullptr;
};

TEST_F(Resolver, ParametersAndBodyComeFirst) {
  const FrameLayout &l = layoutOf("function f(a, b, a) { var c = a; }");
  ASSERT_GE(l.blocks.size(), 2u);
  EXPECT_EQ(slotsIn(l, 0), 2);  // a repeated parameter is one slot
  EXPECT_EQ(slotsIn(l, 1), 1);
  EXPECT_EQ(l.paramSlots, (std::vector<int32_t>{0, 1, 0}));
}

TEST_F(Resolver, AssignmentsAfterASureVarNeedNoSlot) {
  const FrameLayout &l =
      layoutOf("function f(n) { var t = 0; for (var i = 0; i < n; i++) { t = t + i; } return t; }");
  ASSERT_EQ(l.blocks.size(), 3u);
  EXPECT_EQ(slotsIn(l, 2), 0);  // the loop body declares nothing
  for (Node *t : reads("t")) {
    EXPECT_TRUE(t->resolved);
    EXPECT_EQ(t->candidates, 1);
  }
}

TEST_F(Resolver, AVarInsideAnIfIsNotSure) {
  const FrameLayout &l = layoutOf("function f(c) { if (c) var x = 1; { x = 2; } return x; }");
  ASSERT_EQ(l.blocks.size(), 3u);
  EXPECT_EQ(slotsIn(l, 2), 1);  // the inner assignment may declare x itself
  std::vector<Node *> xs = reads("x");
  ASSERT_EQ(xs.size(), 2u);
  EXPECT_EQ(xs[0]->candidates, 2);  // its own block's slot, then the body's
}

TEST_F(Resolver, CaseLabelsJumpOverDeclarations) {
  const FrameLayout &l =
      layoutOf("function f(v) { switch (v) { case 1: var s = 1; case 2: s = 5; } }");
  ASSERT_EQ(l.blocks.size(), 3u);
  EXPECT_EQ(slotsIn(l, 2), 1);
  for (Node *s : reads("s")) EXPECT_EQ(s->candidates, 1);
}

TEST_F(Resolver, ManyShadowingBlocksFallBackToTheWalk) {
  layoutOf(
      "function f() { if (1) var v; { if (1) var v; { if (1) var v; "
      "{ if (1) var v; v = 1; } } } }");
  std::vector<Node *> vs = reads("v");
  ASSERT_FALSE(vs.empty());
  EXPECT_FALSE(vs.back()->resolved);  // four candidates: more than a node holds
}

TEST_F(Resolver, NamesOfNestedFunctionsAreLeftToTheirOwnLayout) {
  const FrameLayout &l = layoutOf("function f() { function g(q) { return q; } return g(1); }");
  EXPECT_EQ(slotsIn(l, 1), 1);  // g itself, as a local
  for (const Name *n : l.slotNames) EXPECT_NE(n->text, "q");
}

}  // namespace
}  // namespace marl
