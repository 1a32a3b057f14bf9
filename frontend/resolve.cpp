// The resolver: one pass over a function body (or top-level statements)
// that gives each block the slots of the names it may declare and each name
// the slots that may hold it. Nothing here decides whether a name is
// declared: that is still settled when the code runs, by the slots' `live`
// flags, so a `var` takes effect only when it runs, as before.
#include "frontend/resolve.hpp"

#include <algorithm>
#include <memory>

#include "frontend/names.hpp"

namespace marl {

namespace {

inline Name *variableName(Name *n) { return n->var ? n->var : n; }

// A name node with more candidate slots than a node can hold is left to the
// run-time walk, which gives the same answer more slowly.
constexpr int kMaxCandidates = 3;

class Resolver {
 public:
  explicit Resolver(FrameLayout &layout) : layout_(layout) {}

  int32_t newBlock(int32_t parent) {
    parents_.push_back(parent);
    needsScope_.push_back(false);
    declared_.emplace_back();
    surely_.emplace_back();
    return static_cast<int32_t>(parents_.size() - 1);
  }

  // `node` declares `name` in `block` when it runs; -1 is the global scope,
  // which has no slots.
  void declaration(Node *node, int32_t block, Name *name) {
    if (block < 0) return;
    name = variableName(name);
    auto &names = declared_[block];
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    sites_.push_back(Site{node, block, name});
  }
  // From here to the end of `block`, `name` is declared there: a `var`
  // statement of the block itself (not one inside an if or a loop) has run,
  // and nothing in a block runs again what came before it.
  void surelyDeclared(int32_t block, Name *name) {
    if (block >= 0) surely_[block].push_back(variableName(name));
  }

  // `block` and the blocks around it must open their scopes when they run:
  // code in them calls functions, and a call counts the open scopes against
  // the recursion limit (and eval declares into the innermost scope).
  void needsScope(int32_t block) {
    for (; block >= 0 && !needsScope_[block]; block = parents_[block]) needsScope_[block] = true;
  }

  // Walks a statement list (or, with `list` false, one node).
  void walk(Node *root, int32_t block, bool list);
  void finish();

 private:
  struct Work {
    Node *node;
    int32_t block;
    bool statement;        // a statement of the block's own list
    Name *mark = nullptr;  // not a node: `mark` is surely declared from here
  };
  struct Site {
    Node *node;
    int32_t block;
    Name *name;
  };
  struct Reference {
    Node *node;
    int32_t block;
    int32_t surely;  // the innermost block where the name is surely declared, or -1
  };

  // The stack runs last-in first-out: children are pushed last first, so
  // that everything is visited in source order.
  void push(Node *n, int32_t block, bool statement = false) {
    if (n) stack_.push_back(Work{n, block, statement});
  }
  void pushList(Node *head, int32_t block, bool statement = false) {
    size_t first = stack_.size();
    for (Node *n = head; n; n = n->next) push(n, block, statement);
    std::reverse(stack_.begin() + static_cast<std::ptrdiff_t>(first), stack_.end());
  }
  int32_t surelyIn(int32_t block, Name *name) const {
    name = variableName(name);
    for (int32_t b = block; b >= 0; b = parents_[b])
      if (std::find(surely_[b].begin(), surely_[b].end(), name) != surely_[b].end()) return b;
    return -1;
  }
  void reference(Node *n, int32_t block) {
    references_.push_back(Reference{n, block, surelyIn(block, n->payload.name)});
  }
  // A place an assignment stores into: a name there is declared where it
  // stands when no visible scope has it, which cannot happen when one surely has.
  void target(Node *t, int32_t block) {
    if (t->opcode == OP_NAME) {
      reference(t, block);
      if (references_.back().surely < 0) declaration(t, block, t->payload.name);
    } else if (t->opcode == OP_ARRAY) {
      for (Node *e = t->left; e; e = e->next)
        if (e->opcode != OP_NULL) target(e, block);
    } else {
      push(t, block);
    }
  }
  // A loop or catch variable: `var x` declares, a plain place is assigned.
  void loopVariable(Node *t, int32_t block) {
    if (t->opcode == OP_VAR && t->left) {
      declaration(t->left, block, t->left->payload.name);
      reference(t->left, block);  // each pass stores into it
    } else
      target(t, block);
  }
  void declarators(Node *list, int32_t block, bool declare, bool statement) {
    size_t first = stack_.size();
    for (Node *d = list; d; d = d->next) {
      Node *name = d->opcode == OP_NAME ? d : d->left;
      bool named = name && name->opcode == OP_NAME;
      if (declare && named) declaration(name, block, name->payload.name);
      if (d->opcode == OP_ASSIGN || d->opcode == OP_INDEX) push(d->right, block);
      if (declare && named && statement)
        stack_.push_back(Work{nullptr, block, false, name->payload.name});
    }
    std::reverse(stack_.begin() + static_cast<std::ptrdiff_t>(first), stack_.end());
  }
  void visit(const Work &w);

  FrameLayout &layout_;
  std::vector<Work> stack_;
  std::vector<int32_t> parents_;
  std::vector<bool> needsScope_;
  std::vector<std::vector<Name *>> declared_;
  std::vector<std::vector<Name *>> surely_;
  std::vector<Site> sites_;
  std::vector<Reference> references_;
  std::vector<Node *> blockNodes_;
};

void Resolver::walk(Node *root, int32_t block, bool list) {
  if (list)
    pushList(root, block, true);
  else
    push(root, block, true);
  while (!stack_.empty()) {
    Work w = stack_.back();
    stack_.pop_back();
    if (w.node)
      visit(w);
    else
      surelyDeclared(w.block, w.mark);
  }
}

void Resolver::visit(const Work &w) {
  Node *n = w.node;
  int32_t block = w.block;
  switch (n->opcode) {
    case OP_NAME:
      reference(n, block);
      return;
    case OP_BLOCK: {
      int32_t inner = newBlock(block);
      n->slot = inner;
      blockNodes_.push_back(n);
      pushList(n->left, inner, true);
      return;
    }
    case OP_SWITCH: {
      // The subject and the statements run in one scope of their own; the
      // braces of the body open none. A case label jumps over statements,
      // so none of them is sure to have run.
      Control *c = n->payload.ctl;
      int32_t inner = newBlock(block);
      n->slot = inner;
      blockNodes_.push_back(n);
      if (c->b && c->b->opcode == OP_BLOCK)
        pushList(c->b->left, inner);
      else
        push(c->b, inner);
      push(c->a, inner);
      return;
    }
    case OP_FUNCDEF:
      // The body is resolved on its own, at its first call.
      needsScope(block);
      declaration(n, block, n->payload.func->name);
      return;
    case OP_VAR:
      declarators(n->left, block, true, w.statement);
      return;
    case OP_STATIC:
      declarators(n->left, block, false, false);
      return;
    case OP_EXTERN:
      for (Node *d = n->left; d; d = d->next) declaration(d, block, d->payload.name);
      return;
    case OP_FOREACH: {
      Control *c = n->payload.ctl;
      push(c->c, block);
      push(c->b, block);
      loopVariable(c->a, block);
      return;
    }
    case OP_TRY: {
      Control *c = n->payload.ctl;
      push(c->c, block);
      if (c->b) loopVariable(c->b, block);
      push(c->a, block);
      return;
    }
    case OP_ASSIGN:
      target(n->left, block);
      push(n->right, block);
      return;
    case OP_LET:
      needsScope(block);
      push(n->right, block);
      if (n->left->opcode == OP_NAME)
        declaration(n->left, block, n->left->payload.name);
      else
        push(n->left, block);
      return;
    case OP_CALL:
      needsScope(block);
      // A callee name with no function falls back to a variable.
      if (n->right->opcode == OP_NAME)
        reference(n->right, block);
      else if (n->right->opcode == OP_MEMBER)
        push(n->right->left, block);
      pushList(n->left, block);
      return;
    case OP_MEMBER:
      push(n->left, block);
      return;
    case OP_STRUCT:
    case OP_HASH: {
      size_t first = stack_.size();
      for (Node *k = n->left; k; k = k->next) push(k->left, block);
      std::reverse(stack_.begin() + static_cast<std::ptrdiff_t>(first), stack_.end());
      return;
    }
    case OP_FUNCREF:
    case OP_NUMBER:
    case OP_STRING:
    case OP_REGEX:
    case OP_NULL:
    case OP_TRUE:
    case OP_FALSE:
    case OP_DEFAULT:
      return;
    case OP_FOR: {
      // A `var` in the first part of a for statement runs before the rest.
      Control *c = n->payload.ctl;
      push(c->d, block);
      push(c->c, block);
      push(c->b, block);
      push(c->a, block, w.statement);
      return;
    }
    case OP_IF:
    case OP_WHILE:
    case OP_DO:
    case OP_COND: {
      Control *c = n->payload.ctl;
      push(c->c, block);
      push(c->b, block);
      push(c->a, block);
      return;
    }
    default:
      push(n->right, block);
      pushList(n->left, block);
      return;
  }
}

void Resolver::finish() {
  for (auto &names : declared_) {
    FrameLayout::Block b;
    b.first = layout_.slotCount();
    b.count = static_cast<uint32_t>(names.size());
    layout_.slotNames.insert(layout_.slotNames.end(), names.begin(), names.end());
    layout_.blocks.push_back(b);
  }
  for (Node *n : blockNodes_) {
    n->resolved = layout_.blocks[n->slot].count > 0;
    // A block with no variables and no calls leaves no trace in its scope.
    n->scopeless = n->opcode == OP_BLOCK && !n->resolved && !needsScope_[n->slot];
  }
  for (const Site &s : sites_)
    if (s.node) s.node->slot = layout_.slotIn(static_cast<uint32_t>(s.block), s.name);
  for (const Reference &r : references_) {
    Node *n = r.node;
    Name *name = variableName(n->payload.name);
    int count = 0;
    bool fits = true;
    for (int32_t b = r.block; b >= 0; b = parents_[b]) {
      int32_t slot = layout_.slotIn(static_cast<uint32_t>(b), name);
      if (slot >= 0) {
        if (count == kMaxCandidates) {
          fits = false;
          break;
        }
        n->candidate[count++] = slot;
      }
      // Scopes further out are hidden behind a variable surely declared here.
      if (b == r.surely) break;
    }
    // Readers test `candidates` alone first: it is nonzero only when resolved.
    n->candidates = fits ? static_cast<uint8_t>(count) : 0;
    n->resolved = fits;
  }
}

}  // namespace

int32_t FrameLayout::slotIn(uint32_t block, const Name *name) const {
  const Block &b = blocks[block];
  for (uint32_t i = b.first; i < b.first + b.count; i++)
    if (slotNames[i] == name) return static_cast<int32_t>(i);
  return -1;
}

const FrameLayout &functionLayout(FunctionDef *def) {
  if (def->layout) return *def->layout;
  auto layout = std::make_unique<FrameLayout>();
  Resolver r(*layout);
  int32_t params = r.newBlock(-1);
  // A repeated parameter name is one variable: the first argument's.
  for (Name *p : def->params) {
    r.declaration(nullptr, params, p);
    r.surelyDeclared(params, p);
  }
  r.walk(def->body, params, false);
  r.finish();
  for (Name *p : def->params) {
    int32_t slot = layout->slotIn(0, variableName(p));
    for (int32_t earlier : layout->paramSlots)
      if (earlier == slot) layout->distinctParams = false;
    layout->paramSlots.push_back(slot);
  }
  def->layout = layout.release();
  return *def->layout;
}

FrameLayout *resolveTopLevel(Node *statements) {
  auto layout = std::make_unique<FrameLayout>();
  Resolver r(*layout);
  r.walk(statements, -1, true);
  r.finish();
  return layout.release();
}

FunctionDef::~FunctionDef() { delete layout; }

}  // namespace marl
