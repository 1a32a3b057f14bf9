// The scope stack and variable lookup.
#include "frontend/symbols.hpp"

#include <cstdio>
#include <cstdlib>

namespace marl {

namespace {

ScopeStack *current = nullptr;
inline ScopeStack &cur() { return *current; }

Symbol *newSymbol(Name *name, bool refersToGlobal) {
  Symbol *s;
  if (!cur().freeSymbols.empty()) {
    s = cur().freeSymbols.back();
    cur().freeSymbols.pop_back();
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
    // Once the stack is empty or gone (teardown), nothing is pooled any more.
    if (current && !current->scopes.empty() && current->freeSymbols.size() < 4096)
      current->freeSymbols.push_back(s);
    else
      delete s;
  }
  symbols.clear();
}

ScopeStack::ScopeStack() {
  if (current) {
    std::fputs("Internal error in ScopeStack: a second stack\n", stderr);
    std::abort();
  }
  current = this;
}

ScopeStack::~ScopeStack() {
  popScopesTo(0);
  current = nullptr;
}

void pushGlobalScope() {
  SymMan *g = new SymMan();
  g->kind = SCOPE_GLOBAL;
  cur().scopes.push_back(g);
}

SymMan *pushScope(int kind) {
  SymMan *s;
  if (!cur().freeScopes.empty()) {
    s = cur().freeScopes.back();
    cur().freeScopes.pop_back();
  } else {
    s = new SymMan();
  }
  s->kind = kind;
  s->statics = nullptr;
  cur().scopes.push_back(s);
  return s;
}

void popScopesTo(size_t depth) {
  while (cur().scopes.size() > depth) {
    SymMan *s = cur().scopes.back();
    cur().scopes.pop_back();
    s->clear();
    if (s->kind == SCOPE_GLOBAL) {
      delete s;
    } else if (cur().freeScopes.size() < 1024) {
      cur().freeScopes.push_back(s);
    } else {
      delete s;
    }
  }
  if (cur().scopes.empty()) {
    for (SymMan *s : cur().freeScopes) delete s;
    cur().freeScopes.clear();
    for (Symbol *s : cur().freeSymbols) delete s;
    cur().freeSymbols.clear();
  }
}

size_t scopeDepth() { return cur().scopes.size(); }
SymMan *innermostScope() { return cur().scopes.back(); }
SymMan *globalScope() { return cur().scopes.front(); }
const std::vector<SymMan *> &scopeStack() { return cur().scopes; }

Symbol *declare(SymMan *scope, Name *name, bool refersToGlobal) {
  name = varName(name);
  Symbol *s = newSymbol(name, refersToGlobal);
  scope->symbols.push_back(s);
  if (scope->kind == SCOPE_GLOBAL && !name->global) name->global = s;
  return s;
}

Symbol *findGlobal(Name *name) { return varName(name)->global; }

Symbol *lookupVariable(Name *name) {
  name = varName(name);
  for (size_t i = cur().scopes.size(); i-- > 1;) {
    SymMan *scope = cur().scopes[i];
    Symbol *s = scope->findHere(name);
    if (!s && scope->statics) s = scope->statics->findHere(name);
    if (s) {
      if (!s->refersToGlobal) return s;
      Symbol *g = name->global;
      if (!g) g = declare(cur().scopes.front(), name, true);
      return g;
    }
    if (scope->kind == SCOPE_FUNCTION) break;
  }
  return name->global;
}

}  // namespace marl
