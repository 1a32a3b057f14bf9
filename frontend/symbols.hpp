// Variables: symbols in scope tables on one process-wide scope stack.
#pragma once
#include <cstdint>
#include <vector>

#include "frontend/names.hpp"
#include "runtime/value.hpp"

namespace marl {

struct func_data;

struct Symbol {
  Name *name;  // interned (already cut to 128 bytes)
  bool refersToGlobal = false;
  Value value;
};

enum ScopeKind : int { SCOPE_BLOCK = 0, SCOPE_GLOBAL = 1, SCOPE_FUNCTION = 2 };

struct SymMan {
  std::vector<Symbol *> symbols;  // declaration order
  int kind = SCOPE_BLOCK;
  SymMan *statics = nullptr;  // a function scope: its function's static table
  Symbol *findHere(Name *n) const {
    for (Symbol *s : symbols)
      if (s->name == n) return s;
    return nullptr;
  }
  void clear();
  ~SymMan() { clear(); }
};

// Raised by the changes that can alter what any name resolves to: a function
// scope pushed or popped, a static table attached. Changes to one name
// (declared, linked, freed) raise that name's `bindings` instead; an empty
// block scope pushed or popped hides nothing and changes neither.
extern uint64_t scopeEpochCounter;
inline uint64_t scopeEpoch() { return scopeEpochCounter; }
inline void scopesChanged() { ++scopeEpochCounter; }

// The scope stack of the interpreter state, with pools of popped scopes and
// symbols (blocks inside loops push and pop a scope on every pass). While it
// exists it is the stack the operations below work on; destroying it drops
// every scope.
struct ScopeStack {
  std::vector<SymMan *> scopes;
  std::vector<SymMan *> freeScopes;
  std::vector<Symbol *> freeSymbols;
  ScopeStack();
  ~ScopeStack();
  ScopeStack(const ScopeStack &) = delete;
  ScopeStack &operator=(const ScopeStack &) = delete;
};

// Scope stack operations.
void pushGlobalScope();
SymMan *pushScope(int kind);
void popScopesTo(size_t depth);
size_t scopeDepth();
SymMan *innermostScope();
SymMan *globalScope();
const std::vector<SymMan *> &scopeStack();

// Appends a new symbol holding null.
Symbol *declare(SymMan *scope, Name *name, bool refersToGlobal = false);
// Walks from the innermost scope out to the first function boundary, then
// the global scope; follows extern links. Null when not found.
Symbol *lookupVariable(Name *name);
Symbol *findGlobal(Name *name);

}  // namespace marl
