// Variables: the scopes of one process-wide scope stack. Code the resolver
// has seen keeps its variables in the slots of its frame; the global scope,
// static tables and names that only eval'd code declares live in symbol
// tables searched by name.
#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "frontend/names.hpp"
#include "frontend/resolve.hpp"
#include "runtime/value.hpp"

namespace marl {

struct Symbol {
  Name *name = nullptr;  // interned (already cut to 128 bytes)
  bool refersToGlobal = false;
  // A frame slot exists before its variable does: `live` says the variable
  // is declared in the slot's running block. Table symbols are always live.
  bool live = true;
  Value value;
};

enum ScopeKind : int { SCOPE_BLOCK = 0, SCOPE_GLOBAL = 1, SCOPE_FUNCTION = 2 };

// Symbols declared one by one, in declaration order.
struct SymMan {
  std::vector<Symbol *> symbols;
  int kind = SCOPE_BLOCK;
  Symbol *findHere(Name *n) const {
    for (Symbol *s : symbols)
      if (s->name == n) return s;
    return nullptr;
  }
  void clear();
  ~SymMan() { clear(); }
};

// The variables of a running function or top-level run.
struct Frame {
  const FrameLayout *layout = nullptr;  // null: no slots
  Symbol *slots = nullptr;
  SymMan **statics = nullptr;  // the running function's static table, if any
  // Variables declared in this frame's scopes outside its slots (by text
  // that eval runs); while there are any, names are found by walking.
  uint32_t dynamic = 0;
};

// One open scope: a block of a frame (its slots) and the symbols declared in
// it at run time without a slot.
struct Scope {
  int kind = SCOPE_BLOCK;
  int32_t block = -1;  // index into the frame's layout; -1: no slots
  bool slots = false;  // the block has slots (to release when it closes)
  Frame *frame = nullptr;
  SymMan *extra = nullptr;  // made on first use; the global scope's table
};

// The open scopes, bottom first. Blocks and calls open and close scopes all
// the time, so pushing and popping are a few instructions inline.
class ScopeList {
 public:
  ScopeList() = default;
  ScopeList(const ScopeList &) = delete;
  ScopeList &operator=(const ScopeList &) = delete;
  ~ScopeList() { delete[] base_; }
  size_t size() const { return static_cast<size_t>(top_ - base_); }
  bool empty() const { return top_ == base_; }
  Scope &back() { return top_[-1]; }
  Scope &front() { return base_[0]; }
  const Scope &operator[](size_t i) const { return base_[i]; }
  const Scope *begin() const { return base_; }
  const Scope *end() const { return top_; }
  void push(const Scope &s) {
    if (top_ == cap_) grow();
    *top_++ = s;
  }
  // Room for two more, returned uninitialised for the caller to fill.
  Scope *pushTwo() {
    if (cap_ - top_ < 2) grow();
    Scope *s = top_;
    top_ += 2;
    return s;
  }
  void pop() { --top_; }

 private:
  void grow();
  Scope *base_ = nullptr;
  Scope *top_ = nullptr;
  Scope *cap_ = nullptr;
};

// Where enterFrame left the slot stack and the running frame.
struct FrameMark {
  Frame *previous;
  Symbol *top;
  size_t chunk;
};

// The scope stack of the interpreter state. While it exists it is the stack
// the operations below work on; destroying it drops every scope.
struct ScopeStack {
  ScopeList scopes;
  Frame base;            // the global level's frame: no slots
  Frame *frame = &base;  // the running frame
  // Frames take their slots from chunks that never move, so a symbol's
  // address stays valid while its frame runs.
  struct Chunk {
    std::unique_ptr<Symbol[]> symbols;
    size_t size;
  };
  std::vector<Chunk> chunks;
  size_t chunk = 0;           // the chunk in use
  Symbol *slotTop = nullptr;  // its first free symbol
  Symbol *slotEnd = nullptr;  // its end
  std::vector<SymMan *> freeTables;
  ScopeStack();
  ~ScopeStack();
  ScopeStack(const ScopeStack &) = delete;
  ScopeStack &operator=(const ScopeStack &) = delete;
};
extern ScopeStack *activeScopes;
inline Frame *runningFrame() { return activeScopes->frame; }

// Scope stack operations.
void pushGlobalScope();
// The scope of a block or switch node of the running frame's code (a node
// the resolver never saw opens one without slots).
inline void pushBlockScope(const Node *node) {
  Scope s;
  s.block = node->slot;
  s.slots = node->resolved;
  s.frame = activeScopes->frame;
  activeScopes->scopes.push(s);
}
// The outermost scope of a call: block 0 of the running frame's layout.
inline void pushFunctionScope() {
  Scope s;
  s.kind = SCOPE_FUNCTION;
  s.frame = activeScopes->frame;
  s.block = s.frame->layout ? 0 : -1;
  s.slots = s.block == 0 && s.frame->layout->blocks[0].count > 0;
  activeScopes->scopes.push(s);
}
// The two scopes a call of a script function opens: its parameters (block 0
// of the running frame's layout) and its body block.
inline void pushCallScopes(const Node *body) {
  Frame *f = activeScopes->frame;
  Scope *s = activeScopes->scopes.pushTwo();
  s[0].kind = SCOPE_FUNCTION;
  s[0].block = 0;
  s[0].slots = f->layout->blocks[0].count > 0;
  s[0].frame = f;
  s[0].extra = nullptr;
  s[1].kind = SCOPE_BLOCK;
  s[1].block = body->slot;
  s[1].slots = body->resolved;
  s[1].frame = f;
  s[1].extra = nullptr;
}
// Closes the innermost scope, releasing its variables.
void popScope();
// Ends the variables of a block's slots.
inline void releaseSlots(const Scope &s) {
  const FrameLayout::Block &b = s.frame->layout->blocks[s.block];
  Symbol *slots = s.frame->slots;
  for (uint32_t i = b.first; i < b.first + b.count; i++) {
    Symbol &sym = slots[i];
    if (!sym.live) continue;
    sym.live = false;
    sym.refersToGlobal = false;
    sym.value.setNull();
  }
}
inline void popScopesTo(size_t depth) {
  ScopeList &list = activeScopes->scopes;
  while (list.size() > depth) {
    const Scope &s = list.back();
    if (s.extra) {
      popScope();
    } else if (!s.slots) {
      list.pop();  // most scopes hold nothing to release
    } else {
      // Off the stack first: releasing a value can run a finalizer, which
      // opens scopes of its own.
      Scope closing = s;
      list.pop();
      releaseSlots(closing);
    }
  }
}
inline size_t scopeDepth() { return activeScopes->scopes.size(); }
inline bool innermostIsGlobal() { return activeScopes->scopes.back().kind == SCOPE_GLOBAL; }
SymMan *globalScope();

Symbol *takeSlotsSlow(size_t n);
// Gives `frame` fresh slots for `layout`; the running frame stays as it is
// until activateFrame, so a call can evaluate its arguments (in the caller's
// frame) straight into the slots of its parameters. Slots come back from
// leaveFrame with no live variable (every block that made one live released
// it when it closed), so they need no setting up here.
inline FrameMark reserveFrame(Frame &frame, const FrameLayout *layout, SymMan **statics) {
  ScopeStack &st = *activeScopes;
  FrameMark mark{st.frame, st.slotTop, st.chunk};
  frame.layout = layout;
  frame.statics = statics;
  frame.dynamic = 0;
  size_t n = layout ? layout->slotCount() : 0;
  // Compared as addresses: a pointer difference divides by the symbol size.
  Symbol *top = st.slotTop;
  if (reinterpret_cast<uintptr_t>(top) + n * sizeof(Symbol) <=
      reinterpret_cast<uintptr_t>(st.slotEnd)) [[likely]] {
    frame.slots = top;
    st.slotTop = top + n;
  } else {
    frame.slots = takeSlotsSlow(n);
  }
  return mark;
}
inline void activateFrame(Frame &frame) { activeScopes->frame = &frame; }
// reserveFrame, then makes `frame` the running frame.
inline FrameMark enterFrame(Frame &frame, const FrameLayout *layout, SymMan **statics) {
  FrameMark mark = reserveFrame(frame, layout, statics);
  activateFrame(frame);
  return mark;
}
void returnToChunk(size_t chunk);
// Gives the slots back (every block of the frame is closed by then).
inline void leaveFrame(const FrameMark &mark) {
  ScopeStack &st = *activeScopes;
  st.frame = mark.previous;
  if (st.chunk != mark.chunk) [[unlikely]]
    returnToChunk(mark.chunk);
  st.slotTop = mark.top;
}

// Appends a new symbol holding null to a table.
Symbol *declare(SymMan *scope, Name *name, bool refersToGlobal = false);
// Declares `name` in the innermost scope: its slot when its block has one,
// else its table. `existed` tells whether it was declared there already.
Symbol *declareInnermost(Name *name, bool refersToGlobal, bool &existed);
// Declares the variable of a slot of the running frame.
inline Symbol *declareSlot(int32_t slot, bool &existed) {
  Symbol *s = &runningFrame()->slots[slot];
  existed = s->live;
  if (!existed) {
    s->live = true;
    s->refersToGlobal = false;
  }
  return s;
}
// Walks from the innermost scope out to the first function boundary, then
// the global scope; follows extern links. Null when not found.
Symbol *lookupVariable(Name *name);
Symbol *findGlobal(Name *name);
// The global symbol an extern link stands for, declared when missing.
Symbol *externTarget(Name *name);
// Visits the live symbols of every open scope (collector roots).
template <typename F>
void forEachVisibleSymbol(F &&f) {
  for (const Scope &s : activeScopes->scopes) {
    if (s.block >= 0) {
      const FrameLayout::Block &b = s.frame->layout->blocks[s.block];
      for (uint32_t i = b.first; i < b.first + b.count; i++)
        if (s.frame->slots[i].live) f(&s.frame->slots[i]);
    }
    if (s.extra)
      for (Symbol *sym : s.extra->symbols) f(sym);
  }
}

}  // namespace marl
