#include "eval/numeric_code.hpp"

#include "eval/access.hpp"
#include "eval/operators.hpp"

namespace marl {

namespace {

// Steps: a push, or an operator applied to the top two entries (Stack), to
// the top and a constant (Const), or to the top and a leaf read in place
// (Leaf).
enum StepCode : uint8_t {
  PUSH_CONST,
  PUSH_LEAF,
  NEGATE,
#define MARL_NUMERIC_OP(name) name##_STACK, name##_CONST, name##_LEAF,
  MARL_NUMERIC_OP(ADD) MARL_NUMERIC_OP(SUB) MARL_NUMERIC_OP(MUL) MARL_NUMERIC_OP(DIV)
      MARL_NUMERIC_OP(MOD) MARL_NUMERIC_OP(IDIV) MARL_NUMERIC_OP(POW)
#undef MARL_NUMERIC_OP
  // The comparison at the root of a condition: the top two entries, or the
  // top and a constant or a leaf; the result is 1 or 0.
  COMPARE_STACK,
  COMPARE_CONST,
  COMPARE_LEAF,
  // Ends every piece of code, so the runner needs no count of steps.
  END,
};

// Trees deeper than this are left to the evaluator (their subtrees still get
// code of their own), which also bounds the stack of the runner.
constexpr int kMaxDepth = 16;
constexpr size_t kMaxSteps = 64;

bool isArith(int op) { return op >= OP_ADD && op <= OP_POW; }

bool isLeaf(const Node *n) {
  if (n->opcode == OP_NUMBER || n->opcode == OP_NAME) return true;
  // Elements as elementNumber reads them: a named container, a leaf index.
  return n->opcode == OP_INDEX && n->left->opcode == OP_NAME &&
         (n->right->opcode == OP_NUMBER || n->right->opcode == OP_NAME ||
          n->right->opcode == OP_STRING);
}

uint8_t operatorBase(int op) {
  static_assert(OP_SUB == OP_ADD + 1 && OP_MUL == OP_ADD + 2 && OP_DIV == OP_ADD + 3 &&
                OP_MOD == OP_ADD + 4 && OP_IDIV == OP_ADD + 5 && OP_POW == OP_ADD + 6);
  return static_cast<uint8_t>(ADD_STACK + 3 * (op - OP_ADD));
}

NumericStep leafStep(Node *n) {
  NumericStep s{};
  s.line = n->line;
  if (n->opcode == OP_NUMBER) {
    s.code = PUSH_CONST;
    s.constant = n->number;
  } else {
    s.code = PUSH_LEAF;
    s.leaf = n;
  }
  return s;
}

class Compiler {
 public:
  std::vector<NumericStep> steps;
  int operators = 0;

  bool emit(Node *n, int depth) {
    if (depth > kMaxDepth || steps.size() >= kMaxSteps) return false;
    if (isLeaf(n)) {
      steps.push_back(leafStep(n));
      return true;
    }
    if (n->opcode == OP_NEG) {
      if (!emit(n->left, depth + 1)) return false;
      steps.push_back(NumericStep{NEGATE, n->line, {0.0}});
      operators++;
      return true;
    }
    if (!isArith(n->opcode)) return false;
    if (!emit(n->left, depth + 1)) return false;
    uint8_t base = operatorBase(n->opcode);
    operators++;
    // A leaf on the right is folded into the operator's step.
    if (isLeaf(n->right)) {
      NumericStep s = leafStep(n->right);
      s.code = static_cast<uint8_t>(s.code == PUSH_CONST ? base + 1 : base + 2);
      s.line = n->line;
      steps.push_back(s);
      return true;
    }
    if (!emit(n->right, depth + 1)) return false;
    steps.push_back(NumericStep{base, n->line, {0.0}});
    return true;
  }
};

}  // namespace

namespace {

bool isComparison(int op) { return op >= OP_EQ && op <= OP_LE; }

bool readsLeaf(uint8_t code) {
  if (code == PUSH_LEAF || code == COMPARE_LEAF) return true;
  return code >= ADD_STACK && code <= POW_LEAF && (code - ADD_STACK) % 3 == 2;
}

}  // namespace

NumericCode *compileNumeric(Node *root) {
  Compiler c;
  auto *code = new NumericCode();
  if (isComparison(root->opcode)) {
    // A comparison of two arithmetic trees (`x * x + y * y <= 4.0`).
    code->comparison = static_cast<uint8_t>(root->opcode);
    c.operators++;
    if (!c.emit(root->left, 1)) c.steps.clear();
    if (!c.steps.empty()) {
      if (isLeaf(root->right)) {
        NumericStep s = leafStep(root->right);
        s.code = s.code == PUSH_CONST ? COMPARE_CONST : COMPARE_LEAF;
        c.steps.push_back(s);
      } else if (c.emit(root->right, 1)) {
        c.steps.push_back(NumericStep{COMPARE_STACK, root->line, {0.0}});
      } else {
        c.steps.clear();
      }
    }
  } else if (!c.emit(root, 0)) {
    c.steps.clear();
  }
  // One operator on leaves is as fast through its handler, except a
  // condition on an element, which the handler reads into a value first.
  bool element = false;
  for (const NumericStep &s : c.steps)
    if (code->comparison && readsLeaf(s.code) && s.leaf->opcode == OP_INDEX) element = true;
  if (c.steps.empty() || (c.operators < 2 && !element)) {
    delete code;
    return nullptr;
  }
  code->steps = std::move(c.steps);
  code->steps.push_back(NumericStep{END, root->line, {0.0}});
  return code;
}

namespace {

// A name leaf's number in frame `f`.
inline bool nameNumber(Frame *f, Node *n, double &out) {
  Symbol *s = variableIn(f, n);
  if (!s || !s->value.isNumber()) return false;
  out = s->value.number;
  return true;
}

// An element leaf's number, as elementNumber reads it; one copy out of
// line, since every step that reads a leaf would inline it.
[[gnu::noinline]] bool elementLeafNumber(Frame *f, Node *n, double &out) {
  if (n->left->opcode == OP_NAME) {
    Symbol *s = variableIn(f, n->left);
    MArray *a = s ? asArray(s->value) : nullptr;
    double d;
    Node *i = n->right;
    if (a &&
        (i->opcode == OP_NUMBER ? (d = i->number, true)
                                : i->opcode == OP_NAME && nameNumber(f, i, d)) &&
        d >= 0 && d < static_cast<double>(a->size()))
      return a->items[static_cast<size_t>(d)].numberInto(out);
  }
  return elementNumberSlow(n, out);
}

// A leaf's number, with the running frame looked up once per run: nothing
// a step does can change it.
inline bool leafNumber(Frame *f, Node *n, double &out) {
  if (n->opcode == OP_NAME) return nameNumber(f, n, out);
  return elementLeafNumber(f, n, out);
}

}  // namespace

bool runNumeric(const NumericCode &code, double &out) {
  Frame *f = runningFrame();
  double stack[kMaxDepth + 2];
  double *top = stack;  // the next free entry
  double y;
  for (const NumericStep *step = code.steps.data();; step++) {
    const NumericStep &s = *step;
    switch (s.code) {
      case PUSH_CONST:
        *top++ = s.constant;
        break;
      case PUSH_LEAF:
        if (!leafNumber(f, s.leaf, *top)) return false;
        top++;
        break;
      case NEGATE:
        top[-1] = -top[-1];
        break;
#define MARL_NUMERIC_OP(name)                                    \
  case name##_STACK:                                             \
    top--;                                                       \
    top[-1] = numericOp(s.line, OP_##name, top[-1], top[0]);     \
    break;                                                       \
  case name##_CONST:                                             \
    top[-1] = numericOp(s.line, OP_##name, top[-1], s.constant); \
    break;                                                       \
  case name##_LEAF:                                              \
    if (!leafNumber(f, s.leaf, y)) return false;                 \
    top[-1] = numericOp(s.line, OP_##name, top[-1], y);          \
    break;
        MARL_NUMERIC_OP(ADD)
        MARL_NUMERIC_OP(SUB)
        MARL_NUMERIC_OP(MUL)
        MARL_NUMERIC_OP(DIV)
        MARL_NUMERIC_OP(MOD)
        MARL_NUMERIC_OP(IDIV)
        MARL_NUMERIC_OP(POW)
#undef MARL_NUMERIC_OP
      case COMPARE_STACK:
        top--;
        top[-1] = numericCompare(code.comparison, top[-1], top[0]);
        break;
      case COMPARE_CONST:
        top[-1] = numericCompare(code.comparison, top[-1], s.constant);
        break;
      case COMPARE_LEAF:
        if (!leafNumber(f, s.leaf, y)) return false;
        top[-1] = numericCompare(code.comparison, top[-1], y);
        break;
      case END:
        out = stack[0];
        return true;
      default:
        __builtin_unreachable();
    }
  }
}

}  // namespace marl
