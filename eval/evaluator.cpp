// The tree-walking evaluator: one dispatch on opcodes.
#include "eval/evaluator.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "eval/access.hpp"
#include "eval/cleanup.hpp"
#include "eval/external_access.hpp"
#include "eval/frames.hpp"
#include "runtime/error.hpp"
#include "eval/funcref.hpp"
#include "eval/numeric_code.hpp"
#include "eval/operators.hpp"
#include "eval/regex_ops.hpp"
#include "frontend/symbols.hpp"
#include "runtime/conversions.hpp"
#include "runtime/interrupt.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"
#include "runtime/stack_guard.hpp"

namespace marl {

namespace {

using Handler = void (*)(Context &, Value &, Node *);
constexpr uint32_t kOpcodeLimit = OP_USHR_ASSIGN + 1;
// evaluate() without the call: checks, then the node kind's handler.
inline void evaluateNode(Context &ctx, Value &result, Node *node);

EvaluatorState *current = nullptr;
constexpr size_t kMaxScopes = 1000;

// Loop iterations and calls left before a run is stopped; 0 is no budget.
// Once spent it stays spent, so a script cannot catch its way past it.
uint64_t stepsLeft = 0;
bool stepBudgetOn = false;

void takeStep(int line) {
  if (stepsLeft > 0) stepsLeft--;
  if (stepsLeft == 0) raise_error(line, "Step budget exhausted");
}

// Arguments live on the C stack for the common small counts. They are made
// one by one, in order, as they are evaluated: a variable's value is copied
// in without first making a null to assign over.
class ArgBuffer {
 public:
  explicit ArgBuffer(size_t n) : n_(n) {
    data_ = n > kInline ? static_cast<Value *>(::operator new(n * sizeof(Value)))
                        : reinterpret_cast<Value *>(inline_);
  }
  ~ArgBuffer() {
    for (size_t i = 0; i < made_; i++) data_[i].~Value();
    if (data_ != reinterpret_cast<Value *>(inline_)) ::operator delete(data_);
  }
  ArgBuffer(const ArgBuffer &) = delete;
  ArgBuffer &operator=(const ArgBuffer &) = delete;
  // The next argument, null, to be evaluated into.
  Value &addNull() { return *new (data_ + made_++) Value(); }
  void add(const Value &v) { new (data_ + made_++) Value(v); }
  void add(Value &&v) { new (data_ + made_++) Value(std::move(v)); }
  // Every argument is made by now.
  Args args() { return Args{data_, n_}; }

 private:
  static constexpr size_t kInline = 6;
  alignas(Value) unsigned char inline_[kInline * sizeof(Value)];
  Value *data_;
  size_t n_;
  size_t made_ = 0;
};

size_t countList(Node *n) {
  size_t c = 0;
  for (; n; n = n->next) c++;
  return c;
}

[[noreturn, gnu::cold, gnu::noinline]] void recursionTooDeep(int line) {
  raise_error(line, "Recursion limit exceeded");
}

// Consumes a pending break/continue at a loop. Returns true when the loop must
// end (break here, or a jump that belongs to an outer construct).
inline bool loopShouldExit(Context &ctx, bool &continuing) {
  // Every run that does not end goes round a loop or through calls: those
  // are where a signal stops a script and where the collector runs (code
  // without either makes a bounded amount of garbage).
  checkInterrupt();
  maybeCollect();
  if (stepBudgetOn) takeStep(0);
  continuing = false;
  if (ctx.jump == JUMP_NONE) return false;
  if (ctx.jump == JUMP_RETURN) return true;
  if (--ctx.remaining > 0) return true;
  int kind = ctx.jump;
  ctx.clearJump();
  if (kind == JUMP_BREAK) return true;
  continuing = true;
  return false;
}

int jumpLevel(Context &ctx, Node *node) {
  if (!node->left) return 1;
  Value v;
  evaluateNode(ctx, v, node->left);
  double d = toNumber(v);
  if (std::isnan(d) || std::trunc(d) < 1)
    raise_error(node->line, "break/continue level must be 1 or larger value");
  double t = std::trunc(d);
  return t > 1e9 ? 1000000000 : static_cast<int>(t);
}

void declareArraySize(Context &ctx, Symbol *sym, Node *decl) {
  if (!decl->right) {
    sym->value = Value(new MArray());
    return;
  }
  Value size;
  evaluateNode(ctx, size, decl->right);
  if (!size.isNumeric()) raise_error(decl->line, "Array size declaration must be number");
  double n = std::trunc(size.number);
  if (!(n > 0)) n = 0;
  // A declaration is not allowed to exhaust memory silently.
  if (n > 268435456.0) raise_error(decl->line, "Array size too large");
  sym->value = Value(new MArray(static_cast<size_t>(n)));
}

Name *declaratorName(Node *d) {
  if (d->opcode == OP_NAME) return d->payload.name;
  if (d->opcode == OP_ASSIGN || d->opcode == OP_INDEX) return d->left->payload.name;
  return nullptr;
}

void initialiseDeclarator(Context &ctx, Symbol *sym, Node *d) {
  if (d->opcode == OP_ASSIGN) {
    Value v;
    evaluateNode(ctx, v, d->right);
    sym->value = std::move(v);
  } else if (d->opcode == OP_INDEX) {
    declareArraySize(ctx, sym, d);
  }
}

void evalVar(Context &ctx, Node *node) {
  for (Node *d = node->left; d; d = d->next) {
    Node *nameNode = d->opcode == OP_NAME ? d : d->left;
    Symbol *sym = declareAtNode(nameNode, nameNode->payload.name, d->line, true);
    initialiseDeclarator(ctx, sym, d);
  }
}

SymMan *functionStatics(int line);

void evalStatic(Context &ctx, Node *node) {
  for (Node *d = node->left; d; d = d->next) {
    Name *name = declaratorName(d);
    Name *vn = name->var ? name->var : name;
    SymMan *table = functionStatics(d->line);
    if (table->findHere(vn)) continue;
    Symbol *sym = declare(table, vn);
    initialiseDeclarator(ctx, sym, d);
  }
}

void evalExtern(Node *node) {
  for (Node *d = node->left; d; d = d->next) {
    Name *name = d->payload.name;
    Name *vn = name->var ? name->var : name;
    if (innermostIsGlobal()) {
      if (strictMode() && vn->global)
        raise_error(d->line, "Symbol %s already declared", vn->text.c_str());
      raise_error(d->line, "Variable cannot extern from global scope");
    }
    declareAtNode(d, vn, d->line, true)->refersToGlobal = true;
  }
}

// The static table of the running function, made on first use; at the top
// level, the global scope.
SymMan *functionStatics(int) {
  SymMan **statics = runningFrame()->statics;
  if (!statics) return globalScope();
  if (!*statics) {
    *statics = new SymMan();
    (*statics)->kind = SCOPE_FUNCTION;
  }
  return *statics;
}

// Calls what a call node's callee names, with its arguments evaluated.
void callEvaluated(Context &ctx, Value &result, Node *node, const Args &args) {
  Node *callee = node->right;
  if (callee->opcode == OP_NAME) {
    func_data *fd = nullptr;
    if (node->cacheGen == functionGeneration()) {
      fd = node->cachedFunc;
    } else {
      FuncInfo *f = findFunction(callee->payload.name);
      fd = f ? f->find(static_cast<int>(args.size())) : nullptr;
      node->cachedFunc = fd;
      node->cacheGen = functionGeneration();
    }
    if (fd) {
      call_function(ctx, result, node->line, fd, args);
      return;
    }
    Symbol *s = lookupVariable(callee->payload.name);
    if (s && s->value.is(ObjType::FuncRef)) {
      Value fn = s->value;
      call_value(ctx, result, node->line, fn, args, nullptr);
      return;
    }
    if (s && callNativeValue(s->value, node->line, args, result)) return;
    const std::string &name = callee->payload.name->text;
    if (findFunction(callee->payload.name))
      raise_error(node->line, "Function %s() [arg count:%d] not defined", name.c_str(),
                  static_cast<int>(args.size()));
    raise_error(node->line, "Function %s() not defined", name.c_str());
  }
  if (callee->opcode == OP_MEMBER) {
    // A function reference kept in a hash member can be called as o.m(...);
    // on an automation object o.m(...) invokes its method m.
    Value obj, member;
    evaluateNode(ctx, obj, callee->left);
    const std::string &name = callee->right->payload.name->text;
    if (invokeAutomationMember(obj, name, node->line, args, result)) return;
    readMember(obj, name, node->line, member);
    if (member.is(ObjType::FuncRef)) {
      call_value(ctx, result, node->line, member, args, nullptr);
      return;
    }
    if (callNativeValue(member, node->line, args, result)) return;
  }
  raise_error(node->line, "Bad type operation in operator .");
}

// The checks every call makes once its arguments are evaluated.
inline void enterCall(int line) {
  if (scopeDepth() > kMaxScopes) raise_error(line, "Recursion limit exceeded");
  checkInterrupt();
  maybeCollect();
  if (stepBudgetOn) takeStep(line);
}

void runDiscardedIf(Context &ctx, Value &scratch, Node *n);
[[gnu::always_inline]] inline void runLoopBody(Context &ctx, Value &scratch, Node *body);
void runDiscardedBlock(Context &ctx, Value &scratch, Node *n);
bool assignDiscarded(Node *n);
bool updateDiscarded(Node *n);
// Node::statementState
enum : uint8_t { STATEMENT_UNTRIED = 0, STATEMENT_IN_PLACE = 1, STATEMENT_GENERAL = 2 };

// A statement whose value nobody reads: a loop's body or step. `i++` on a
// variable holding a number just adds; everything else is evaluated.
[[gnu::always_inline]] inline void evaluateDiscarded(Context &ctx, Value &scratch, Node *n) {
  switch (n->opcode) {
    case OP_PREINC:
    case OP_POSTINC:
    case OP_PREDEC:
    case OP_POSTDEC:
      if (n->left->opcode == OP_NAME) {
        Symbol *s = variableAt(n->left);
        if (s && s->value.isNumber()) {
          s->value.number += n->opcode == OP_PREINC || n->opcode == OP_POSTINC ? 1 : -1;
          return;
        }
      }
      break;
    case OP_ADD_ASSIGN:
    case OP_SUB_ASSIGN:
      if (n->left->opcode == OP_NAME &&
          (n->right->opcode == OP_NUMBER || n->right->opcode == OP_NAME)) {
        // `i += step` with a number leaf: the variable is read before the
        // step, as the handler reads them.
        Symbol *s = variableAt(n->left);
        double y;
        if (s && s->value.isNumber() && numberLeaf(n->right, y)) {
          s->value.number = n->opcode == OP_ADD_ASSIGN ? s->value.number + y : s->value.number - y;
          return;
        }
        break;
      }
      [[fallthrough]];
    case OP_MUL_ASSIGN:
    case OP_DIV_ASSIGN:
    case OP_MOD_ASSIGN:
    case OP_IDIV_ASSIGN:
    case OP_POW_ASSIGN:
      if (n->statementState != STATEMENT_GENERAL && updateDiscarded(n)) return;
      break;
    case OP_IF:
      runDiscardedIf(ctx, scratch, n);
      return;
    case OP_ASSIGN:
      if (n->statementState != STATEMENT_GENERAL && assignDiscarded(n)) return;
      break;
    case OP_BLOCK:
      runDiscardedBlock(ctx, scratch, n);
      return;
    default:
      break;
  }
  evaluateNode(ctx, scratch, n);
}

// An argument: a name is copied from its variable without a dispatch (an
// undeclared one is left to its handler, which reports it).
inline void evaluateArgument(Context &ctx, Value &slot, Node *a) {
  if (a->opcode == OP_NAME)
    if (Symbol *s = variableAt(a)) {
      slot = s->value;
      return;
    }
  evaluateNode(ctx, slot, a);
}

inline bool testCondition(Context &ctx, Node *n, Value &scratch);

// Runs the body of a script function whose frame runs, with its scopes open
// and its parameters set; the body block's statements run here rather than
// through its node. A return among them, also as the whole then-branch of an
// if without else (a guard: `if (n < 2) return n;`), gives its value straight
// to the caller, without a pending jump; one nested deeper leaves its value in
// the context.
[[gnu::always_inline]] inline void runBody(Context &ctx, Value &result, FunctionDef *def) {
  Value statement;
  for (Node *s = def->body->left; s; s = s->next) {
    Node *ret = nullptr;
    if (s->opcode == OP_RETURN) {
      ret = s;
    } else if (s->opcode == OP_IF && s->payload.ctl->b->opcode == OP_RETURN && !s->payload.ctl->c) {
      if (!testCondition(ctx, s->payload.ctl->a, statement)) continue;
      ret = s->payload.ctl->b;
    }
    if (ret) {
      if (ret->left)
        evaluateArgument(ctx, result, ret->left);
      else
        result.setNull();
      return;
    }
    evaluateNode(ctx, statement, s);
    if (ctx.jump != JUMP_NONE) [[unlikely]] {
      if (ctx.jump != JUMP_RETURN) break;
      result = std::move(ctx.returned);
      ctx.jump = JUMP_NONE;
      return;
    }
  }
  result.setNull();
  settleJump(ctx, result);
}

// An argument of a script function, evaluated into its parameter: as
// evaluateArgument, and also a sum or difference of two number leaves (`n - 1`,
// the usual argument of recursion) is computed without a dispatch.
inline void evaluateParameter(Context &ctx, Value &slot, Node *a) {
  if (a->opcode == OP_NAME) {
    if (Symbol *s = variableAt(a)) {
      slot = s->value;
      return;
    }
  } else if (a->opcode == OP_ADD || a->opcode == OP_SUB) {
    // Leaves have no side effects, so nothing has happened when one is not a
    // number and the handler takes over.
    double x, y;
    if (numberLeaf(a->left, x) && numberLeaf(a->right, y)) {
      slot.setNumber(a->opcode == OP_ADD ? x + y : x - y);
      return;
    }
  }
  evaluateNode(ctx, slot, a);
}

// The slots of a call's frame, taken before its arguments are evaluated and
// given back on every exit; parameters that never became variables (an
// argument raised an error) are emptied here.
class ReservedFrame {
 public:
  ReservedFrame(Frame &frame, const FrameLayout &layout, SymMan **statics)
      : frame_(frame), layout_(layout), mark_(reserveFrame(frame, &layout, statics)) {}
  ~ReservedFrame() {
    if (!scoped_)
      for (int32_t slot : layout_.paramSlots) {
        Symbol &p = frame_.slots[slot];
        p.live = false;
        p.value.setNull();
      }
    leaveFrame(mark_);
  }
  ReservedFrame(const ReservedFrame &) = delete;
  ReservedFrame &operator=(const ReservedFrame &) = delete;
  // The parameters are variables of the call's scope from here on: closing
  // it releases them.
  void scoped() { scoped_ = true; }

 private:
  bool scoped_ = false;
  Frame &frame_;
  const FrameLayout &layout_;
  FrameMark mark_;
};

// A call with its arguments gathered first: built-ins, variables holding a
// function, and script functions whose parameters cannot take their
// arguments in place. `fd` is the variant the site has cached, if any.
[[gnu::noinline]] void callWithArgs(Context &ctx, Value &result, Node *node, func_data *fd) {
  // A cached variant of fixed arity was chosen for exactly this many.
  size_t argc = fd && fd->arity >= 0 ? static_cast<size_t>(fd->arity) : countList(node->left);
  ArgBuffer buf(argc);
  for (Node *a = node->left; a; a = a->next) {
    // A name is copied from its variable without a dispatch (an undeclared
    // one is left to its handler, which reports it).
    if (a->opcode == OP_NAME)
      if (Symbol *s = variableAt(a)) {
        buf.add(s->value);
        continue;
      }
    evaluateNode(ctx, buf.addNull(), a);
  }
  if (fd && fd->handler && node->cacheGen == functionGeneration()) {
    // A built-in the site has cached, and no argument redefined functions:
    // what call_function does for it, without finding it again.
    enterCall(node->line);
    result.setNull();
    fd->handler(ctx, node->line, buf.args(), result);
    return;
  }
  callEvaluated(ctx, result, node, buf.args());
}

// A call of the script function the site has cached: each argument is
// evaluated straight into its parameter's slot. The site cached `fd` for its
// own argument count, and a script function takes exactly as many arguments
// as it has parameters, so the counts agree. A repeated parameter name (one
// variable for two arguments) takes the general way.
[[gnu::noinline]] void callInPlace(Context &ctx, Value &result, Node *node, func_data *fd) {
  FunctionDef *def = fd->def;
  const FrameLayout &layout = def->layout ? *def->layout : functionLayout(def);
  if (!layout.distinctParams) [[unlikely]] {
    callWithArgs(ctx, result, node, nullptr);
    return;
  }
  // Held from here: an argument may redefine the function, and the layout
  // belongs to the variant.
  CallFrame running(fd);
  Frame frame;
  ReservedFrame slots(frame, layout, &fd->statics);
  // A parameter is live once its argument is in: nothing sees the frame
  // before it runs, and ReservedFrame empties it again if the call never does.
  const int32_t *param = layout.paramSlots.data();
  for (Node *a = node->left; a; a = a->next) {
    Symbol &p = frame.slots[*param++];
    evaluateParameter(ctx, p.value, a);
    p.live = true;
  }
  if (node->cacheGen != functionGeneration()) [[unlikely]] {
    // An argument redefined functions: call what the name means now.
    size_t argc = layout.paramSlots.size();
    ArgBuffer buf(argc);
    for (size_t i = 0; i < argc; i++) buf.add(std::move(frame.slots[layout.paramSlots[i]].value));
    callEvaluated(ctx, result, node, buf.args());
    return;
  }
  enterCall(node->line);
  activateFrame(frame);
  ScopeGuard scopes;
  pushCallScopes(def->body);
  slots.scoped();
  runBody(ctx, result, def);
}

void evalCall(Context &ctx, Value &result, Node *node) {
  func_data *fd = nullptr;
  if (node->right->opcode == OP_NAME && node->cacheGen == functionGeneration()) {
    fd = node->cachedFunc;
    if (fd && fd->def) {
      callInPlace(ctx, result, node, fd);
      return;
    }
  }
  callWithArgs(ctx, result, node, fd);
}

void evalFuncDef(Node *node) {
  FunctionDef *def = node->payload.func;
  FuncInfo *&info = current->nestedFunctions[def];
  if (!info) {
    info = new FuncInfo();
    info->name = def->name;
    func_data *d = new func_data();
    d->def = def;
    d->arity = static_cast<int32_t>(def->params.size());
    info->variants.push_back(d);
  }
  Symbol *s = declareAtNode(node, def->name, node->line, false);
  s->value = Value(new MFuncRef(info));
}

void evalForeach(Context &ctx, Value &result, Node *node) {
  Control *c = node->payload.ctl;
  Node *target = c->a;
  if (target->opcode == OP_VAR) {
    declareAtNode(target->left, target->left->payload.name, target->line, true);
    target = target->left;
  }
  Value coll;
  evaluateNode(ctx, coll, c->b);
  // An automation collection is walked as the array of its elements.
  Value elements;
  if (automationElements(coll, node->line, elements)) coll = elements;
  Value body;
  bool continuing;
  if (MArray *a = asArray(coll)) {
    for (size_t i = 0; i < a->size(); i++) {
      s_set(ctx, target, a->items[i].get());
      runLoopBody(ctx, body, c->c);
      if (loopShouldExit(ctx, continuing)) break;
    }
  } else if (MHash *h = asHash(coll)) {
    std::vector<std::string> keys;
    keys.reserve(h->size());
    for (auto &e : h->entries) keys.push_back(e.first);
    for (auto &k : keys) {
      s_set(ctx, target, makeString(k));
      runLoopBody(ctx, body, c->c);
      if (loopShouldExit(ctx, continuing)) break;
    }
  } else {
    raise_error(node->line, "Argument must be collection in foreach statement");
  }
  result.setNull();
}

void evalSwitch(Context &ctx, Value &result, Node *node) {
  Control *c = node->payload.ctl;
  ScopeGuard scope;
  pushBlockScope(node);
  {
    Value subject;
    evaluateNode(ctx, subject, c->a);
    Node *body = c->b;
    Node *list = body->opcode == OP_BLOCK ? body->left : body;
    bool single = body->opcode != OP_BLOCK;
    Node *start = nullptr;
    Node *fallback = nullptr;
    for (Node *s = list; s; s = single ? nullptr : s->next) {
      if (s->opcode == OP_CASE) {
        Value label;
        evaluateNode(ctx, label, s->left);
        if (looseEquals(subject, label)) {
          start = s;
          break;
        }
      } else if (s->opcode == OP_DEFAULT && !fallback) {
        fallback = s;
      }
    }
    if (!start) start = fallback;
    if (start) {
      if (single)
        evaluateNode(ctx, result, start);
      else
        evaluateList(ctx, result, start);
    }
    if (ctx.jump == JUMP_BREAK && --ctx.remaining <= 0) ctx.clearJump();
  }
}

void evalTry(Context &ctx, Value &result, Node *node) {
  Control *c = node->payload.ctl;
  size_t depth = scopeDepth();
  try {
    evaluateNode(ctx, result, c->a);
  } catch (const ScriptError &e) {
    popScopesTo(depth);
    if (c->b) {
      Node *target = c->b;
      if (target->opcode == OP_VAR) {
        declareAtNode(target->left, target->left->payload.name, target->line, true);
        target = target->left;
      }
      s_set(ctx, target, makeString(e.what()));
    }
    if (c->c) evaluateNode(ctx, result, c->c);
  }
}

// True when the variable is the only holder of its string: the one lock of
// the symbol plus the one of `current`, the copy read before the right side.
inline bool appendableString(const Symbol *sym, const Value &current) {
  const MRef *o = current.object;
  return o && o == sym->value.object && o->type == ObjType::String && o->locks == 2 && o->refs == 0;
}

// `s += a + b + ...` (up to kMaxPieces operands) on a variable that alone
// holds its string, where `a` is a string and each other operand is a string
// literal, a number literal or another variable holding a string or a
// number: the additions would concatenate the operands' texts, so each is
// appended in turn, with no string made in between. None of the operands has
// a side effect or can fail, so false (nothing done) leaves it all to the
// general path.
constexpr int kMaxPieces = 8;
bool appendPieces(Node *node, Value &result) {
  Symbol *sym = variableAt(node->left);
  MRef *o = sym ? sym->value.object : nullptr;
  if (!o || o->type != ObjType::String || o->locks != 1 || o->refs != 0) return false;
  Node *pieces[kMaxPieces];
  int n = 0;
  Node *r = node->right;
  for (; r->opcode == OP_ADD; r = r->left) {
    if (n == kMaxPieces - 1) return false;
    pieces[n++] = r->right;
  }
  pieces[n++] = r;
  const Value *values[kMaxPieces];
  for (int k = 0; k < n; k++) {
    Node *p = pieces[k];
    values[k] = nullptr;
    if (p->opcode == OP_STRING || (p->opcode == OP_NUMBER && p != r)) continue;
    if (p->opcode != OP_NAME) return false;
    Symbol *v = variableAt(p);
    if (!v || v == sym || !(v->value.is(ObjType::String) || (v->value.isNumber() && p != r)))
      return false;
    values[k] = &v->value;
  }
  MText &text = static_cast<MString *>(o)->text;
  for (int k = n - 1; k >= 0; k--) {
    Node *p = pieces[k];
    if (p->opcode == OP_STRING)
      text += p->payload.str->bytes;
    else if (p->opcode == OP_NUMBER)
      appendText(text, Value::num(p->number));
    else
      appendText(text, *values[k]);
  }
  result = sym->value;
  return true;
}

void compoundAssign(Context &ctx, Value &result, Node *node, int op) {
  // The previous statement's value may still hold the string `s += t` grows.
  result.setNull();
  if (op == OP_ADD && node->left->opcode == OP_NAME && appendPieces(node, result)) return;
  if (node->left->opcode == OP_INDEX && op <= OP_POW && updateElementFast(ctx, node, op, result))
    return;
  Place place;
  resolvePlace(ctx, node->left, place);
  Value current;
  readPlace(place, current);
  Value rhs;
  evaluateNode(ctx, rhs, node->right);
  if (op == OP_ADD && place.kind == Place::Variable && !asArray(rhs) &&
      appendableString(place.symbol, current)) {
    // Nobody else can see the string, so growing it is the same as replacing it.
    current.setNull();
    appendText(static_cast<MString *>(place.symbol->value.object)->text, rhs);
    result = place.symbol->value;
    return;
  }
  switch (op) {
    case OP_ADD:
    case OP_SUB:
    case OP_MUL:
    case OP_DIV:
    case OP_MOD:
    case OP_IDIV:
    case OP_POW:
      result = arith(node->line, op, current, rhs);
      break;
    default:
      result = bitOp(node->line, op, current, rhs);
  }
  writePlace(place, result);
}

void incDec(Context &ctx, Value &result, Node *node, double delta, bool prefix) {
  Node *t = node->left;
  if (t->opcode != OP_NAME && t->opcode != OP_INDEX && t->opcode != OP_MEMBER)
    raise_error(node->line, "Bad type operation in operator %s", delta > 0 ? "++" : "--");
  if (t->opcode == OP_NAME) {
    Symbol *sym = variableAt(t);
    if (sym && sym->value.isNumeric()) {
      Value current = sym->value;
      sym->value.setNumber(current.number + delta);
      if (prefix)
        result = sym->value;
      else
        result = current;
      return;
    }
  }
  Place place;
  resolvePlace(ctx, t, place);
  Value current;
  readPlace(place, current);
  Value updated = arith(node->line, delta > 0 ? OP_ADD : OP_SUB, current, Value::num(1));
  writePlace(place, updated);
  result = prefix ? std::move(updated) : std::move(current);
}

bool chainLink(int op, int line, const Value &a, const Value &b) {
  switch (op) {
    case OP_CHAIN_EQ:
      return looseEquals(a, b);
    case OP_CHAIN_NE:
      return !looseEquals(a, b);
    case OP_CHAIN_GT:
      return compareOrder(line, OP_GT, a, b);
    case OP_CHAIN_GE:
      return compareOrder(line, OP_GE, a, b);
    case OP_CHAIN_LT:
      return compareOrder(line, OP_LT, a, b);
    default:
      return compareOrder(line, OP_LE, a, b);
  }
}

// Straight-line code that keeps giving up (strings joined with `+`) is
// dropped after this many tries.
constexpr uint32_t kNumericMisses = 16;

[[gnu::noinline]] void compileNumericAt(Node *node) {
  NumericCode *code = compileNumeric(node);
  if (!code) {
    node->numericState = NUMERIC_REJECTED;
    return;
  }
  current->numericCode.emplace_back(code);
  node->numeric = code;
  node->numericState = NUMERIC_COMPILED;
}

// The tree under an arithmetic node run as straight-line code; false when it
// has none or a leaf did not hold a number (nothing has been done then).
inline bool numericByCode(Node *node, double &out) {
  if (node->numericState == NUMERIC_UNTRIED) [[unlikely]]
    compileNumericAt(node);
  if (node->numericState != NUMERIC_COMPILED) return false;
  if (runNumeric(*node->numeric, out)) [[likely]]
    return true;
  if (++node->numeric->misses >= kNumericMisses) node->numericState = NUMERIC_REJECTED;
  return false;
}

// The truth of a condition; a comparison of two number leaves, or one with
// code, is decided without evaluating nodes or making a value.
[[gnu::always_inline]] inline bool testCondition(Context &ctx, Node *n, Value &scratch) {
  if (n->opcode >= OP_EQ && n->opcode <= OP_LE) {
    double x, y;
    // Elements are tried as numbers for the orderings only, as in execCompare.
    bool numbers = n->opcode >= OP_GT ? numberOperand(n->left, x) && numberOperand(n->right, y)
                                      : numberLeaf(n->left, x) && numberLeaf(n->right, y);
    if (numbers) return numericCompare(n->opcode, x, y);
    if (numericByCode(n, x)) return x != 0;
  } else if (n->opcode == OP_INDEX) {
    int t = elementTruth(n);
    if (t >= 0) return t;
  }
  evaluateNode(ctx, scratch, n);
  return truth(scratch);
}

bool plainCompare(int op, int line, const Value &a, const Value &b) {
  switch (op) {
    case OP_EQ:
      return looseEquals(a, b);
    case OP_NE:
      return !looseEquals(a, b);
    default:
      return compareOrder(line, op, a, b);
  }
}

// a < b <= c: each operand is evaluated once; the chain stops at the first
// link that fails.
void evalChain(Context &ctx, Value &result, Node *node) {
  Value left;
  evaluateNode(ctx, left, node->left);
  Node *rest = node->right;
  for (;;) {
    Value mid;
    evaluateNode(ctx, mid, rest->left);
    int linkOp = node->opcode;
    if (!chainLink(linkOp, node->line, left, mid)) {
      result.setBool(false);
      return;
    }
    if (rest->opcode >= OP_CHAIN_EQ && rest->opcode <= OP_CHAIN_LE) {
      node = rest;
      rest = rest->right;
      left = std::move(mid);
      continue;
    }
    Value right;
    evaluateNode(ctx, right, rest->right);
    result.setBool(plainCompare(rest->opcode, rest->line, mid, right));
    return;
  }
}

void evalLet(Context &ctx, Value &result, Node *node) {
  if (node->left->opcode != OP_NAME) raise_error(node->line, "Bad type operation in let()");
  Value v;
  evaluateNode(ctx, v, node->right);
  Symbol *s = declareAtNode(node->left, node->left->payload.name, node->line, true);
  s->value = v;
  result = std::move(v);
}

void evalSwap(Context &ctx, Value &result, Node *node) {
  Place a, b;
  resolvePlace(ctx, node->left, a);
  resolvePlace(ctx, node->right, b);
  Value va, vb;
  readPlace(a, va);
  readPlace(b, vb);
  writePlace(a, vb);
  writePlace(b, va);
  result.setNull();
}

}  // namespace

void setStepBudget(uint64_t steps) {
  stepsLeft = steps;
  stepBudgetOn = steps > 0;
}

bool strictMode() { return current->strict; }
bool setStrictMode(bool on) {
  bool old = current->strict;
  current->strict = on;
  return old;
}

void evaluateList(Context &ctx, Value &result, Node *first) {
  for (Node *s = first; s; s = s->next) {
    evaluateNode(ctx, result, s);
    if (ctx.jump != JUMP_NONE) return;
  }
}

namespace {

void execName(Context &, Value &result, Node *node) {
  Symbol *s = variableAt(node);
  if (!s) [[unlikely]]
    undeclaredName(node);
  result = s->value;
}

void execNumber(Context &, Value &result, Node *node) { result.setNumber(node->number); }

void execString(Context &, Value &result, Node *node) {
  result = makeString(node->payload.str->bytes);
}

void execCall(Context &ctx, Value &result, Node *node) { evalCall(ctx, result, node); }

// `a[i] = v` on a named array with a number leaf index within its length:
// the store, without a place. False (nothing done) otherwise.
inline bool storeElementInPlace(Node *target, const Value &v) {
  if (target->left->opcode != OP_NAME) return false;
  double d;
  if (!numberLeaf(target->right, d)) return false;
  Symbol *s = variableAt(target->left);
  MArray *a = s ? asArray(s->value) : nullptr;
  // Below 0 the index truncates toward zero: the general path decides.
  if (!a || !(d >= 0 && d < static_cast<double>(a->size()))) return false;
  a->items[static_cast<size_t>(d)] = v;
  return true;
}

void execAssign(Context &ctx, Value &result, Node *node) {
  Value v;
  evaluateNode(ctx, v, node->right);
  if (node->left->opcode == OP_NAME) {
    // The value runs first; only then is the target looked up (or declared).
    variableForAssignment(node->left)->value = v;
    result = std::move(v);
    return;
  }
  if (node->left->opcode == OP_INDEX && storeElementInPlace(node->left, v)) {
    result = std::move(v);
    return;
  }
  if (node->left->opcode == OP_ARRAY) {
    s_set(ctx, node->left, v);
    result.setNull();
    return;
  }
  s_set(ctx, node->left, v);
  result = std::move(v);
}

void execIndex(Context &ctx, Value &result, Node *node) { s_get(ctx, result, node); }

// `"text" + v` or `v + "text"` with v anything but an array: the sum is
// the two texts joined, made as one string with no string object for the
// literal. The literal has no side effect, so v may run first either way.
[[gnu::noinline]] void joinLiteral(Context &ctx, Value &result, Node *node) {
  bool literalFirst = node->left->opcode == OP_STRING;
  const std::string &literal = (literalFirst ? node->left : node->right)->payload.str->bytes;
  Value v;
  evaluateNode(ctx, v, literalFirst ? node->right : node->left);
  if (asArray(v)) {
    // Element by element: the general operator.
    Value text = makeString(literal);
    result = literalFirst ? arith(node->line, OP_ADD, text, v) : arith(node->line, OP_ADD, v, text);
    return;
  }
  MString *joined = new MString();
  Value made(joined);
  if (literalFirst) joined->text = literal;
  appendText(joined->text, v);
  if (!literalFirst) joined->text += literal;
  result = std::move(made);
}

// One instance per operator, so that the operator's arithmetic is inlined.
template <int Op>
void execArith(Context &ctx, Value &result, Node *node) {
  {
    double out;
    if (numericByCode(node, out)) {
      result.setNumber(out);
      return;
    }
  }
  if constexpr (Op == OP_ADD) {
    if (node->left->opcode == OP_STRING || node->right->opcode == OP_STRING) {
      joinLiteral(ctx, result, node);
      return;
    }
  }
  // Leaves are read without a call; a leaf's number is taken before
  // the right side runs, as evaluating it into a value would.
  double x, y;
  Value a, b;
  bool leftLeaf = numberOperand(node->left, x);
  if (!leftLeaf) {
    evaluateNode(ctx, a, node->left);
    x = a.number;
  }
  bool rightLeaf = numberOperand(node->right, y);
  if (!rightLeaf) {
    evaluateNode(ctx, b, node->right);
    y = b.number;
  }
  if ((leftLeaf || a.isNumeric()) && (rightLeaf || b.isNumeric())) {
    result.setNumber(numericOp(node->line, Op, x, y));
    return;
  }
  if (leftLeaf) a = Value::num(x);
  if (rightLeaf) b = Value::num(y);
  result = arith(node->line, Op, a, b);
}

// Elements are tried as numbers for the orderings only: `==` and `!=` are as
// likely to compare objects, and a failed try would read the element twice.
template <int Op>
inline bool compareOperand(Node *n, double &out) {
  if constexpr (Op == OP_EQ || Op == OP_NE)
    return numberLeaf(n, out);
  else
    return numberOperand(n, out);
}

// `x == null` and `x != null`: whether x is null, with a variable looked at
// in place.
bool isNullOperand(Context &ctx, Node *n) {
  if (n->opcode == OP_NAME) {
    if (Symbol *s = variableAt(n)) return s->value.isNull();
  } else if (n->opcode == OP_INDEX) {
    int null = elementIsNull(n);
    if (null >= 0) return null;
  }
  Value v;
  evaluateNode(ctx, v, n);
  return v.isNull();
}

template <int Op>
void execCompare(Context &ctx, Value &result, Node *node) {
  {
    double out;
    if (numericByCode(node, out)) {
      result.setBool(out != 0);
      return;
    }
  }
  if constexpr (Op == OP_EQ || Op == OP_NE) {
    Node *other = node->right->opcode == OP_NULL  ? node->left
                  : node->left->opcode == OP_NULL ? node->right
                                                  : nullptr;
    if (other) {
      bool null = isNullOperand(ctx, other);
      result.setBool(Op == OP_EQ ? null : !null);
      return;
    }
  }
  double x, y;
  Value a, b;
  bool leftLeaf = compareOperand<Op>(node->left, x);
  if (!leftLeaf) {
    evaluateNode(ctx, a, node->left);
    x = a.number;
  }
  bool rightLeaf = compareOperand<Op>(node->right, y);
  if (!rightLeaf) {
    evaluateNode(ctx, b, node->right);
    y = b.number;
  }
  if ((leftLeaf || a.isNumeric()) && (rightLeaf || b.isNumeric())) {
    result.setBool(numericCompare(Op, x, y));
    return;
  }
  if (leftLeaf) a = Value::num(x);
  if (rightLeaf) b = Value::num(y);
  result.setBool(plainCompare(Op, node->line, a, b));
}

void execSeq(Context &ctx, Value &result, Node *node) {
  Value a, b;
  evaluateNode(ctx, a, node->left);
  evaluateNode(ctx, b, node->right);
  bool eq = strictEquals(a, b);
  result.setBool(node->opcode == OP_SEQ ? eq : !eq);
}

void execChainEq(Context &ctx, Value &result, Node *node) { evalChain(ctx, result, node); }

void execPreinc(Context &ctx, Value &result, Node *node) { incDec(ctx, result, node, 1, true); }

void execPostinc(Context &ctx, Value &result, Node *node) { incDec(ctx, result, node, 1, false); }

void execPredec(Context &ctx, Value &result, Node *node) { incDec(ctx, result, node, -1, true); }

void execPostdec(Context &ctx, Value &result, Node *node) { incDec(ctx, result, node, -1, false); }

// A block's value is its last statement's: the statements before it run as
// statements whose value is not read.
inline void runBlockStatements(Context &ctx, Value &result, Node *first) {
  result.setNull();
  for (Node *s = first; s; s = s->next) {
    if (s->next)
      evaluateDiscarded(ctx, result, s);
    else
      evaluateNode(ctx, result, s);
    if (ctx.jump != JUMP_NONE) return;
  }
}

void execBlock(Context &ctx, Value &result, Node *node) {
  if (node->scopeless) {
    runBlockStatements(ctx, result, node->left);
    return;
  }
  ScopeGuard scope;
  pushBlockScope(node);
  runBlockStatements(ctx, result, node->left);
}

void execIf(Context &ctx, Value &result, Node *node) {
  Control *c = node->payload.ctl;
  Value cond;
  if (testCondition(ctx, c->a, cond))
    evaluateNode(ctx, result, c->b);
  else if (c->c)
    evaluateNode(ctx, result, c->c);
  else
    result.setNull();
}

// A loop's body; the statements of a block that opens no scope run here
// directly, each as a statement whose value is not read.
[[gnu::always_inline]] inline void runLoopBody(Context &ctx, Value &scratch, Node *body) {
  if (body->opcode == OP_BLOCK && body->scopeless) {
    for (Node *s = body->left; s; s = s->next) {
      evaluateDiscarded(ctx, scratch, s);
      if (ctx.jump != JUMP_NONE) return;
    }
    return;
  }
  evaluateDiscarded(ctx, scratch, body);
}

// An `if` whose value is not read: its branch runs as a loop body does.
[[gnu::noinline]] void runDiscardedIf(Context &ctx, Value &scratch, Node *n) {
  // Nested ifs recurse here, not through evaluateNode: check the stack as it does.
  if (stackNearlyFull()) [[unlikely]] {
    evaluateNode(ctx, scratch, n);
    return;
  }
  Control *c = n->payload.ctl;
  Node *branch = testCondition(ctx, c->a, scratch) ? c->b : c->c;
  if (branch) runLoopBody(ctx, scratch, branch);
}

// A number computed with no side effect: a number leaf, an element holding
// a number, one arithmetic operator on such operands, or straight-line code.
// False when the general path must run it (nothing has been done then).
inline bool sideEffectFreeNumber(Node *r, double &out) {
  if (numberOperand(r, out)) return true;
  if (r->opcode < OP_ADD || r->opcode > OP_POW) return false;
  if (numericByCode(r, out)) return true;
  double x, y;
  if (!numberOperand(r->left, x) || !numberOperand(r->right, y)) return false;
  out = numericOp(r->line, r->opcode, x, y);
  return true;
}

// A name or `name[leaf]`: an operand sideEffectFreeNumber reads in place.
bool plainOperandShape(Node *x) {
  if (x->opcode == OP_NUMBER || x->opcode == OP_NAME) return true;
  if (x->opcode != OP_INDEX || x->left->opcode != OP_NAME) return false;
  int i = x->right->opcode;
  return i == OP_NUMBER || i == OP_NAME || i == OP_STRING;
}

// Whether sideEffectFreeNumber can ever take the node, by its shape alone.
bool plainNumberShape(Node *r) {
  if (plainOperandShape(r)) return true;
  if (r->opcode < OP_ADD || r->opcode > OP_POW) return false;
  if (plainOperandShape(r->left) && plainOperandShape(r->right)) return true;
  if (r->numericState == NUMERIC_UNTRIED) compileNumericAt(r);
  return r->numericState == NUMERIC_COMPILED;
}

// A statement node whose values keep sending it to the general path (an
// element holding arrays, say) stops trying after this many misses.
constexpr uint8_t kStatementMisses = 16;

// Counts a miss for a statement node that the in-place path could not take.
[[gnu::cold]] bool statementMiss(Node *n) {
  if (++n->statementMisses >= kStatementMisses) n->statementState = STATEMENT_GENERAL;
  return false;
}

// Decides an assignment node's statementState from its shape.
[[gnu::cold]] bool decideStatement(Node *n) {
  Node *r = n->right;
  bool plain = plainOperandShape(n->left) && n->left->opcode != OP_NUMBER &&
               ((n->opcode == OP_ASSIGN &&
                 (r->opcode == OP_TRUE || r->opcode == OP_FALSE || r->opcode == OP_NULL)) ||
                plainNumberShape(r));
  n->statementState = plain ? STATEMENT_IN_PLACE : STATEMENT_GENERAL;
  return plain;
}

// `x = v` or `a[i] = v` as a statement, with v a boolean, null or a number
// as sideEffectFreeNumber makes it: stored with no value made for the
// assignment. After a false answer (nothing stored) the general path runs
// it all again, which is safe since nothing in v has a side effect.
[[gnu::noinline]] bool assignDiscarded(Node *n) {
  if (n->statementState == STATEMENT_UNTRIED && !decideStatement(n)) return false;
  Node *r = n->right;
  double d;
  if (r->opcode > OP_FALSE) [[likely]] {
    if (!sideEffectFreeNumber(r, d)) return statementMiss(n);
    // The value first; only then is the target looked up (or declared).
    if (n->left->opcode == OP_NAME) {
      variableForAssignment(n->left)->value.setNumber(d);
      return true;
    }
    Value v = Value::num(d);
    return storeElementInPlace(n->left, v) || writeElementFast(n->left, v) || statementMiss(n);
  }
  Value v;  // null
  if (r->opcode != OP_NULL) v.setBool(r->opcode == OP_TRUE);
  if (n->left->opcode == OP_NAME) {
    variableForAssignment(n->left)->value = v;
    return true;
  }
  return storeElementInPlace(n->left, v) || writeElementFast(n->left, v);
}

// A block whose value is not read; one without a scope runs as a loop body.
[[gnu::noinline]] void runDiscardedBlock(Context &ctx, Value &scratch, Node *n) {
  if (stackNearlyFull()) [[unlikely]] {
    evaluateNode(ctx, scratch, n);
    return;
  }
  if (n->scopeless) {
    runLoopBody(ctx, scratch, n);
    return;
  }
  ScopeGuard scope;
  pushBlockScope(n);
  for (Node *s = n->left; s; s = s->next) {
    evaluateDiscarded(ctx, scratch, s);
    if (ctx.jump != JUMP_NONE) return;
  }
}

// `x op= v` or `a[i] op= v` (an arithmetic op) as a statement, on a variable
// or element holding a number, with v as sideEffectFreeNumber makes it: the
// number is updated where it lives. The target is read before v, as the
// handlers read it; false (nothing done) leaves it all to them.
[[gnu::noinline]] bool updateDiscarded(Node *n) {
  if (n->statementState == STATEMENT_UNTRIED && !decideStatement(n)) return false;
  int op = n->opcode - OP_ADD_ASSIGN + OP_ADD;
  Node *t = n->left;
  double x, y;
  if (t->opcode == OP_NAME) {
    Symbol *s = variableAt(t);
    if (!s || !s->value.isNumber() || !sideEffectFreeNumber(n->right, y)) return statementMiss(n);
    s->value.number = numericOp(n->line, op, s->value.number, y);
    return true;
  }
  HeldValue *e = numberElement(t, x);
  if (!e || !sideEffectFreeNumber(n->right, y)) return statementMiss(n);
  e->setNumber(numericOp(n->line, op, x, y));
  return true;
}

void execWhile(Context &ctx, Value &result, Node *node) {
  Control *c = node->payload.ctl;
  Value cond, body;
  bool continuing;
  for (;;) {
    if (!testCondition(ctx, c->a, cond)) break;
    if (c->b) runLoopBody(ctx, body, c->b);
    if (loopShouldExit(ctx, continuing)) break;
  }
  result.setNull();
}

void execDo(Context &ctx, Value &result, Node *node) {
  Control *c = node->payload.ctl;
  Value cond, body;
  bool continuing;
  for (;;) {
    if (c->b) evaluateNode(ctx, body, c->b);
    if (loopShouldExit(ctx, continuing)) break;
    if (!testCondition(ctx, c->a, cond)) break;
  }
  result.setNull();
}

// A counted loop: a step `i++`, `i--`, `i += leaf` or `i -= leaf` and a test
// `i <op> ...` whose name nodes denote the same variable (same name, same
// candidate slots), since nothing runs between the step and the test. The
// step's name node, or null for other loops.
Node *countedName(const Control *c) {
  Node *step = c->c, *test = c->b;
  if (!step || !test || test->opcode < OP_EQ || test->opcode > OP_LE) return nullptr;
  if (step->opcode == OP_ADD_ASSIGN || step->opcode == OP_SUB_ASSIGN) {
    if (step->right->opcode != OP_NUMBER && step->right->opcode != OP_NAME) return nullptr;
  } else if (step->opcode < OP_PREINC || step->opcode > OP_POSTDEC) {
    return nullptr;
  }
  Node *name = step->left, *tested = test->left;
  if (name->opcode != OP_NAME || tested->opcode != OP_NAME || !name->resolved ||
      !tested->resolved || name->payload.name != tested->payload.name ||
      name->candidates != tested->candidates)
    return nullptr;
  for (int k = 0; k < name->candidates; k++)
    if (name->candidate[k] != tested->candidate[k]) return nullptr;
  return name;
}

// A counted loop's step and test with the variable looked up once: -1 when
// nothing was done (the variable or the step is not a number), else the
// test's truth.
[[gnu::always_inline]] inline int countedStep(Context &ctx, Control *c, Node *name,
                                              Value &scratch) {
  Symbol *s = variableAt(name);
  if (!s || !s->value.isNumber()) return -1;
  Node *step = c->c;
  double y;
  switch (step->opcode) {
    case OP_PREINC:
    case OP_POSTINC:
      s->value.number += 1;
      break;
    case OP_PREDEC:
    case OP_POSTDEC:
      s->value.number -= 1;
      break;
    default:
      if (!numberLeaf(step->right, y)) return -1;
      s->value.number = step->opcode == OP_ADD_ASSIGN ? s->value.number + y : s->value.number - y;
  }
  if (numberLeaf(c->b->right, y)) return numericCompare(c->b->opcode, s->value.number, y);
  return testCondition(ctx, c->b, scratch);
}

void execFor(Context &ctx, Value &result, Node *node) {
  Control *c = node->payload.ctl;
  Value tmp, cond, body;
  bool continuing;
  if (c->a) evaluateNode(ctx, tmp, c->a);
  Node *counted = countedName(c);
  bool tested = false;
  for (;;) {
    if (!tested && c->b && !testCondition(ctx, c->b, cond)) break;
    if (c->d) runLoopBody(ctx, body, c->d);
    if (loopShouldExit(ctx, continuing)) break;
    if (counted) {
      int test = countedStep(ctx, c, counted, cond);
      if (test == 0) break;
      tested = test > 0;
      if (tested) continue;
    }
    if (c->c) evaluateDiscarded(ctx, tmp, c->c);
  }
  result.setNull();
}

// `&&` (Stop false) and `||` (Stop true): the right operand runs only when
// the left one does not decide.
// The operands are tested as conditions: only their truth is needed.
template <bool Stop>
void execLogical(Context &ctx, Value &result, Node *node) {
  Value scratch;
  if (testCondition(ctx, node->left, scratch) == Stop) {
    result.setBool(Stop);
    return;
  }
  result.setBool(testCondition(ctx, node->right, scratch));
}

void execNot(Context &ctx, Value &result, Node *node) {
  Value a;
  evaluateNode(ctx, a, node->left);
  result.setBool(!truth(a));
}

void execNeg(Context &ctx, Value &result, Node *node) {
  Value a;
  evaluateNode(ctx, a, node->left);
  result = negate(node->line, a);
}

void execCond(Context &ctx, Value &result, Node *node) {
  Control *c = node->payload.ctl;
  Value cond;
  evaluateNode(ctx, cond, c->a);
  evaluateNode(ctx, result, truth(cond) ? c->b : c->c);
}

void execReturn(Context &ctx, Value &result, Node *node) {
  // A variable's value is copied straight to where the call takes it from.
  Node *e = node->left;
  Symbol *s = e && e->opcode == OP_NAME ? variableAt(e) : nullptr;
  if (s) {
    ctx.returned = s->value;
  } else {
    Value v;
    if (e) evaluateNode(ctx, v, e);
    ctx.returned = std::move(v);
  }
  ctx.setReturn(node->line);
  result.setNull();
}

void execBreak(Context &ctx, Value &result, Node *node) {
  int level = jumpLevel(ctx, node);
  ctx.setJump(node->opcode == OP_BREAK ? JUMP_BREAK : JUMP_CONTINUE, node->line, level);
  result.setNull();
}

void execNull(Context &, Value &result, Node *) { result.setNull(); }

void execTrue(Context &, Value &result, Node *) { result.setBool(true); }

void execFalse(Context &, Value &result, Node *) { result.setBool(false); }

void execVar(Context &ctx, Value &result, Node *node) {
  evalVar(ctx, node);
  result.setNull();
}

void execStatic(Context &ctx, Value &result, Node *node) {
  evalStatic(ctx, node);
  result.setNull();
}

void execExtern(Context &, Value &result, Node *node) {
  evalExtern(node);
  result.setNull();
}

void execArray(Context &ctx, Value &result, Node *node) {
  MArray *a = new MArray(countList(node->left));
  Value holder(a);
  size_t i = 0;
  Value v;
  for (Node *e = node->left; e; e = e->next) {
    evaluateNode(ctx, v, e);
    a->items[i++] = v;
  }
  result = std::move(holder);
}

void execStruct(Context &ctx, Value &result, Node *node) {
  MHash *h = new MHash();
  Value holder(h);
  Value v;
  for (Node *k = node->left; k; k = k->next) {
    v.setNull();
    if (k->left) evaluateNode(ctx, v, k->left);
    const std::string &key =
        node->opcode == OP_STRUCT ? k->payload.name->text : k->payload.str->bytes;
    h->set(key, v);
  }
  result = std::move(holder);
}

void execList28(Context &ctx, Value &result, Node *node) {
  result.setNull();
  for (Node *e = node->left; e; e = e->next) evaluateNode(ctx, result, e);
}

void execComma(Context &ctx, Value &result, Node *node) {
  Value a;
  evaluateNode(ctx, a, node->left);
  evaluateNode(ctx, result, node->right);
}

void execSwap(Context &ctx, Value &result, Node *node) { evalSwap(ctx, result, node); }

void execLet(Context &ctx, Value &result, Node *node) { evalLet(ctx, result, node); }

void execFuncref(Context &, Value &result, Node *node) {
  Name *name = node->left->payload.name;
  FuncInfo *f = findFunction(name);
  if (!f) raise_error(node->line, "Function %s() not defined", name->text.c_str());
  result = Value(new MFuncRef(f));
}

void execFuncdef(Context &, Value &result, Node *node) {
  evalFuncDef(node);
  result.setNull();
}

void execForeach(Context &ctx, Value &result, Node *node) { evalForeach(ctx, result, node); }

void execTry(Context &ctx, Value &result, Node *node) { evalTry(ctx, result, node); }

void execSwitch(Context &ctx, Value &result, Node *node) { evalSwitch(ctx, result, node); }

void execCase(Context &, Value &, Node *) {}

void execMatch(Context &ctx, Value &result, Node *node) {
  Value a, b;
  evaluateNode(ctx, a, node->left);
  evaluateNode(ctx, b, node->right);
  bool m = regexMatchOperator(node->line, node->opcode == OP_MATCH ? "=~" : "!~", a, b);
  result.setBool(node->opcode == OP_MATCH ? m : !m);
}

void execRegex(Context &, Value &result, Node *node) {
  result = regexLiteral(node->line, node->payload.regex);
}

void execBitnot(Context &ctx, Value &result, Node *node) {
  Value a;
  evaluateNode(ctx, a, node->left);
  result = bitNot(node->line, a);
}

void execBitand(Context &ctx, Value &result, Node *node) {
  Value a, b;
  evaluateNode(ctx, a, node->left);
  evaluateNode(ctx, b, node->right);
  result = bitOp(node->line, node->opcode, a, b);
}

// `name op= v` (an arithmetic op) on a variable holding a number, with the
// operator inlined; everything else is compoundAssign's.
template <int Op>
void execArithAssign(Context &ctx, Value &result, Node *node) {
  if (node->left->opcode == OP_NAME) {
    // An undeclared name is left to the general path, which reports it.
    Symbol *sym = variableAt(node->left);
    if (sym && sym->value.isNumeric()) {
      double x = sym->value.number, y;
      if (numberLeaf(node->right, y)) {
        double r = numericOp(node->line, Op, x, y);
        result.setNumber(r);
        sym->value.setNumber(r);
        return;
      }
      Value rhs;
      evaluateNode(ctx, rhs, node->right);
      if (rhs.isNumeric()) {
        result.setNumber(numericOp(node->line, Op, x, rhs.number));
        sym->value = result;
        return;
      }
      Value current = Value::num(x);
      result = arith(node->line, Op, current, rhs);
      sym->value = result;
      return;
    }
  }
  compoundAssign(ctx, result, node, Op);
}

void execAndAssign(Context &ctx, Value &result, Node *node) {
  compoundAssign(ctx, result, node, OP_BITAND);
}

void execOrAssign(Context &ctx, Value &result, Node *node) {
  compoundAssign(ctx, result, node, OP_BITOR);
}

void execXorAssign(Context &ctx, Value &result, Node *node) {
  compoundAssign(ctx, result, node, OP_BITXOR);
}

void execShrAssign(Context &ctx, Value &result, Node *node) {
  compoundAssign(ctx, result, node, OP_SHR);
}

void execShlAssign(Context &ctx, Value &result, Node *node) {
  compoundAssign(ctx, result, node, OP_SHL);
}

void execUshrAssign(Context &ctx, Value &result, Node *node) {
  compoundAssign(ctx, result, node, OP_USHR);
}

// One handler per node kind; evaluate() dispatches through this table.
void execUnknown(Context &, Value &, Node *node) {
  raise_error(node->line, "Unknwon opcode %d", node->opcode);
}

struct HandlerTable {
  Handler at[kOpcodeLimit];
  constexpr HandlerTable() : at() {
    for (auto &h : at) h = execUnknown;
    at[OP_NAME] = execName;
    at[OP_NUMBER] = execNumber;
    at[OP_STRING] = execString;
    at[OP_CALL] = execCall;
    at[OP_ASSIGN] = execAssign;
    at[OP_INDEX] = execIndex;
    at[OP_MEMBER] = execIndex;
    at[OP_ADD] = execArith<OP_ADD>;
    at[OP_SUB] = execArith<OP_SUB>;
    at[OP_MUL] = execArith<OP_MUL>;
    at[OP_DIV] = execArith<OP_DIV>;
    at[OP_MOD] = execArith<OP_MOD>;
    at[OP_IDIV] = execArith<OP_IDIV>;
    at[OP_POW] = execArith<OP_POW>;
    at[OP_EQ] = execCompare<OP_EQ>;
    at[OP_NE] = execCompare<OP_NE>;
    at[OP_GT] = execCompare<OP_GT>;
    at[OP_GE] = execCompare<OP_GE>;
    at[OP_LT] = execCompare<OP_LT>;
    at[OP_LE] = execCompare<OP_LE>;
    at[OP_SEQ] = execSeq;
    at[OP_SNE] = execSeq;
    at[OP_CHAIN_EQ] = execChainEq;
    at[OP_CHAIN_NE] = execChainEq;
    at[OP_CHAIN_GT] = execChainEq;
    at[OP_CHAIN_GE] = execChainEq;
    at[OP_CHAIN_LT] = execChainEq;
    at[OP_CHAIN_LE] = execChainEq;
    at[OP_PREINC] = execPreinc;
    at[OP_POSTINC] = execPostinc;
    at[OP_PREDEC] = execPredec;
    at[OP_POSTDEC] = execPostdec;
    at[OP_BLOCK] = execBlock;
    at[OP_IF] = execIf;
    at[OP_WHILE] = execWhile;
    at[OP_DO] = execDo;
    at[OP_FOR] = execFor;
    at[OP_ANDAND] = execLogical<false>;
    at[OP_OROR] = execLogical<true>;
    at[OP_NOT] = execNot;
    at[OP_NEG] = execNeg;
    at[OP_COND] = execCond;
    at[OP_RETURN] = execReturn;
    at[OP_BREAK] = execBreak;
    at[OP_CONTINUE] = execBreak;
    at[OP_NULL] = execNull;
    at[OP_TRUE] = execTrue;
    at[OP_FALSE] = execFalse;
    at[OP_VAR] = execVar;
    at[OP_STATIC] = execStatic;
    at[OP_EXTERN] = execExtern;
    at[OP_ARRAY] = execArray;
    at[OP_STRUCT] = execStruct;
    at[OP_HASH] = execStruct;
    at[OP_LIST28] = execList28;
    at[OP_LIST] = execList28;
    at[OP_LIST84] = execList28;
    at[OP_COMMA] = execComma;
    at[OP_SWAP] = execSwap;
    at[OP_LET] = execLet;
    at[OP_FUNCREF] = execFuncref;
    at[OP_FUNCDEF] = execFuncdef;
    at[OP_FOREACH] = execForeach;
    at[OP_TRY] = execTry;
    at[OP_SWITCH] = execSwitch;
    at[OP_CASE] = execCase;
    at[OP_DEFAULT] = execCase;
    at[OP_MATCH] = execMatch;
    at[OP_NMATCH] = execMatch;
    at[OP_REGEX] = execRegex;
    at[OP_BITNOT] = execBitnot;
    at[OP_BITAND] = execBitand;
    at[OP_BITOR] = execBitand;
    at[OP_BITXOR] = execBitand;
    at[OP_SHR] = execBitand;
    at[OP_SHL] = execBitand;
    at[OP_USHR] = execBitand;
    at[OP_ADD_ASSIGN] = execArithAssign<OP_ADD>;
    at[OP_SUB_ASSIGN] = execArithAssign<OP_SUB>;
    at[OP_MUL_ASSIGN] = execArithAssign<OP_MUL>;
    at[OP_DIV_ASSIGN] = execArithAssign<OP_DIV>;
    at[OP_MOD_ASSIGN] = execArithAssign<OP_MOD>;
    at[OP_IDIV_ASSIGN] = execArithAssign<OP_IDIV>;
    at[OP_POW_ASSIGN] = execArithAssign<OP_POW>;
    at[OP_AND_ASSIGN] = execAndAssign;
    at[OP_OR_ASSIGN] = execOrAssign;
    at[OP_XOR_ASSIGN] = execXorAssign;
    at[OP_SHR_ASSIGN] = execShrAssign;
    at[OP_SHL_ASSIGN] = execShlAssign;
    at[OP_USHR_ASSIGN] = execUshrAssign;
  }
};
constexpr HandlerTable kHandlers;

inline void evaluateNode(Context &ctx, Value &result, Node *node) {
  // Deep trees (long operator chains) and nested eval recurse here; the C
  // stack gives out long before memory does.
  if (stackNearlyFull()) [[unlikely]]
    recursionTooDeep(node->line);
  uint32_t op = static_cast<uint32_t>(node->opcode);
  (op < kOpcodeLimit ? kHandlers.at[op] : execUnknown)(ctx, result, node);
}

}  // namespace

void evaluate(Context &ctx, Value &result, Node *node) { evaluateNode(ctx, result, node); }

void call_function(Context &ctx, Value &result, int line, func_data *fd, const Args &args) {
  enterCall(line);
  if (fd->handler) {
    result.setNull();
    fd->handler(ctx, line, args, result);
    return;
  }
  FunctionDef *def = fd->def;
  const FrameLayout &layout = def->layout ? *def->layout : functionLayout(def);
  CallFrame running(fd);
  Frame frame;
  FrameGuard slots(frame, &layout, &fd->statics);
  ScopeGuard scopes;
  pushCallScopes(def->body);
  // A repeated parameter name is one variable, holding the first argument.
  for (size_t i = 0; i < layout.paramSlots.size(); i++) {
    Symbol &p = frame.slots[layout.paramSlots[i]];
    if (p.live) continue;
    p.live = true;
    if (i < args.size()) p.value = args[i];
  }
  runBody(ctx, result, def);
}

void call_value(Context &ctx, Value &result, int line, const Value &fn, const Args &args,
                const char *who) {
  MFuncRef *ref = asFuncRef(fn);
  if (!ref) {
    if (who) raise_error(line, "Bad argument type in %s()", who);
    raise_error(line, "Bad type operation in operator .");
  }
  func_data *fd = ref->info->find(static_cast<int>(args.size()));
  if (!fd) {
    const char *name = ref->info->name ? ref->info->name->text.c_str() : "";
    raise_error(line, "Function %s() [arg count:%d] not defined", name,
                static_cast<int>(args.size()));
  }
  // Keep the function alive even if the reference is overwritten by the call.
  Value keep = fn;
  call_function(ctx, result, line, fd, args);
}

void pushFunctionStatics(const FuncInfo *f, MarkStack &stack) {
  for (func_data *d : f->variants)
    if (d->statics)
      for (Symbol *s : d->statics->symbols)
        if (s->value.object) stack.push_back(s->value.object);
}

void MFuncRef::pushChildren(MarkStack &stack) const { pushFunctionStatics(info, stack); }

namespace {

void markRoots(MarkStack &stack) {
  forEachVisibleSymbol([&](Symbol *s) {
    if (s->value.object) stack.push_back(s->value.object);
  });
  forEachFunction([&](FuncInfo *f) { pushFunctionStatics(f, stack); });
  for (auto &entry : current->nestedFunctions) pushFunctionStatics(entry.second, stack);
}

}  // namespace

EvaluatorState::EvaluatorState() {
  if (current) {
    std::fputs("Internal error in EvaluatorState: a second state\n", stderr);
    std::abort();
  }
  current = this;
  setRootMarker(markRoots);
  setFinalizer(runFinalizer);
}

EvaluatorState::~EvaluatorState() {
  setRootMarker(nullptr);
  setFinalizer(nullptr);
  for (auto &entry : nestedFunctions) releaseFunc(entry.second);
  current = nullptr;
}

EvaluatorState &evaluatorState() { return *current; }

}  // namespace marl
