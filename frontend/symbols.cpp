// The scope stack and variable lookup.
#include "frontend/symbols.hpp"

namespace marl {

uint64_t scopeEpochCounter = 1;

namespace {

std::vector<SymMan *> stack;
// Popped scopes and symbols are kept for reuse: blocks inside loops push and
// pop a scope on every pass.
std::vector<SymMan *> freeScopes;
std::vector<Symbol *> freeSymbols;

Symbol *newSymbol(Name *name, bool refersToGlobal) {
  Symbol *s;
  if (!freeSymbols.empty()) {
    s = freeSymbols.back();
    freeSymbols.pop_back();
    s->name = name;
    s->refersToGlobal = refersToGlobal;
  } else {
    s = new Symbol{name, refersToGlobal, Value()};
  }
  return s;
}

inline Name *varName(Name *n) { return n->var ? n->var : n; }

}  // namespace

void SymMan::clear() {
  for (Symbol *s : symbols) {
    if (kind == SCOPE_GLOBAL && s->name->global == s) s->name->global = nullptr;
    s->value.setNull();
    s->name->bindings++;
    // After teardown has emptied the stack, nothing is pooled any more.
    if (!stack.empty() && freeSymbols.size() < 4096)
      freeSymbols.push_back(s);
    else
      delete s;
  }
  symbols.clear();
}

void pushGlobalScope() {
  SymMan *g = new SymMan();
  g->kind = SCOPE_GLOBAL;
  stack.push_back(g);
  scopesChanged();
}

SymMan *pushScope(int kind) {
  SymMan *s;
  if (!freeScopes.empty()) {
    s = freeScopes.back();
    freeScopes.pop_back();
  } else {
    s = new SymMan();
  }
  s->kind = kind;
  s->statics = nullptr;
  stack.push_back(s);
  if (kind != SCOPE_BLOCK) scopesChanged();
  return s;
}

void popScopesTo(size_t depth) {
  while (stack.size() > depth) {
    SymMan *s = stack.back();
    stack.pop_back();
    if (s->kind != SCOPE_BLOCK) scopesChanged();
    s->clear();
    if (s->kind == SCOPE_GLOBAL) {
      delete s;
    } else if (freeScopes.size() < 1024) {
      freeScopes.push_back(s);
    } else {
      delete s;
    }
  }
  if (stack.empty()) {
    for (SymMan *s : freeScopes) delete s;
    freeScopes.clear();
    for (Symbol *s : freeSymbols) delete s;
    freeSymbols.clear();
  }
}

size_t scopeDepth() { return stack.size(); }
SymMan *innermostScope() { return stack.back(); }
SymMan *globalScope() { return stack.front(); }
const std::vector<SymMan *> &scopeStack() { return stack; }

Symbol *declare(SymMan *scope, Name *name, bool refersToGlobal) {
  name = varName(name);
  name->bindings++;
  Symbol *s = newSymbol(name, refersToGlobal);
  scope->symbols.push_back(s);
  if (scope->kind == SCOPE_GLOBAL && !name->global) name->global = s;
  return s;
}

Symbol *findGlobal(Name *name) { return varName(name)->global; }

Symbol *lookupVariable(Name *name) {
  name = varName(name);
  for (size_t i = stack.size(); i-- > 1;) {
    SymMan *scope = stack[i];
    Symbol *s = scope->findHere(name);
    if (!s && scope->statics) s = scope->statics->findHere(name);
    if (s) {
      if (!s->refersToGlobal) return s;
      Symbol *g = name->global;
      if (!g) g = declare(stack.front(), name, true);
      return g;
    }
    if (scope->kind == SCOPE_FUNCTION) break;
  }
  return name->global;
}

}  // namespace marl
