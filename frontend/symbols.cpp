// The scope stack, frames' slots and variable lookup.
#include "frontend/symbols.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace marl {

ScopeStack *activeScopes = nullptr;

namespace {

inline ScopeStack &cur() { return *activeScopes; }

inline Name *varName(Name *n) { return n->var ? n->var : n; }

constexpr size_t kChunkSymbols = 1024;

SymMan *newTable(int kind) {
  SymMan *t;
  if (!cur().freeTables.empty()) {
    t = cur().freeTables.back();
    cur().freeTables.pop_back();
  } else {
    t = new SymMan();
  }
  t->kind = kind;
  return t;
}

void dropTable(SymMan *t) {
  t->clear();
  if (t->kind != SCOPE_GLOBAL && cur().freeTables.size() < 64)
    cur().freeTables.push_back(t);
  else
    delete t;
}

// A chunk of slots that hold no variable.
ScopeStack::Chunk newChunk(size_t size) {
  ScopeStack::Chunk c{std::make_unique<Symbol[]>(size), size};
  for (size_t i = 0; i < size; i++) c.symbols[i].live = false;
  return c;
}

}  // namespace

Symbol *takeSlotsSlow(size_t n) {
  ScopeStack &st = cur();
  // Chunks above the one in use hold no frame, so one too small is replaced.
  // The chunk in use stays even when empty: frame marks point into it.
  size_t next = st.chunk + 1;
  size_t size = std::max(kChunkSymbols, n);
  if (next == st.chunks.size())
    st.chunks.push_back(newChunk(size));
  else if (st.chunks[next].size < n)
    st.chunks[next] = newChunk(size);
  st.chunk = next;
  Symbol *p = st.chunks[next].symbols.get();
  st.slotEnd = p + st.chunks[next].size;
  st.slotTop = p + n;
  return p;
}

void returnToChunk(size_t chunk) {
  ScopeStack &st = cur();
  st.chunk = chunk;
  st.slotEnd = st.chunks[chunk].symbols.get() + st.chunks[chunk].size;
}

void SymMan::clear() {
  for (Symbol *s : symbols) {
    if (kind == SCOPE_GLOBAL && s->name->global == s) s->name->global = nullptr;
    s->value.setNull();
  }
  for (Symbol *s : symbols) delete s;
  symbols.clear();
}

ScopeStack::ScopeStack() {
  if (activeScopes) {
    std::fputs("Internal error in ScopeStack: a second stack\n", stderr);
    std::abort();
  }
  activeScopes = this;
  // Chunk 0 is empty, so that the first frame with slots takes a real one
  // (when it runs) the way every later overflow does.
  chunks.push_back(Chunk{nullptr, 0});
}

ScopeStack::~ScopeStack() {
  popScopesTo(0);
  for (SymMan *t : freeTables) delete t;
  activeScopes = nullptr;
}

void pushGlobalScope() {
  Scope g;
  g.kind = SCOPE_GLOBAL;
  g.frame = &cur().base;
  g.extra = newTable(SCOPE_GLOBAL);
  cur().scopes.push(g);
}

void ScopeList::grow() {
  size_t n = size();
  size_t capacity = n < 16 ? 32 : n * 2;
  Scope *bigger = new Scope[capacity];
  for (size_t i = 0; i < n; i++) bigger[i] = base_[i];
  delete[] base_;
  base_ = bigger;
  top_ = bigger + n;
  cap_ = bigger + capacity;
}

void popScope() {
  // Off the stack first: releasing a value can run a finalizer, which opens
  // scopes of its own.
  Scope s = cur().scopes.back();
  cur().scopes.pop();
  if (s.slots) releaseSlots(s);
  if (s.extra) {
    if (s.kind != SCOPE_GLOBAL) s.frame->dynamic -= static_cast<uint32_t>(s.extra->symbols.size());
    dropTable(s.extra);
  }
}

SymMan *globalScope() { return cur().scopes.empty() ? nullptr : cur().scopes.front().extra; }

Symbol *declare(SymMan *scope, Name *name, bool refersToGlobal) {
  name = varName(name);
  Symbol *s = new Symbol{name, refersToGlobal, true, Value()};
  scope->symbols.push_back(s);
  if (scope->kind == SCOPE_GLOBAL && !name->global) name->global = s;
  return s;
}

Symbol *declareInnermost(Name *name, bool refersToGlobal, bool &existed) {
  name = varName(name);
  Scope &s = cur().scopes.back();
  if (s.kind == SCOPE_GLOBAL) {
    existed = name->global != nullptr;
    return existed ? name->global : declare(s.extra, name, refersToGlobal);
  }
  if (s.block >= 0) {
    int32_t slot = s.frame->layout->slotIn(static_cast<uint32_t>(s.block), name);
    if (slot >= 0) {
      Symbol *sym = &s.frame->slots[slot];
      existed = sym->live;
      if (!existed) {
        sym->live = true;
        sym->refersToGlobal = refersToGlobal;
      }
      return sym;
    }
  }
  if (!s.extra) s.extra = newTable(s.kind);
  if (Symbol *sym = s.extra->findHere(name)) {
    existed = true;
    return sym;
  }
  existed = false;
  s.frame->dynamic++;
  return declare(s.extra, name, refersToGlobal);
}

Symbol *findGlobal(Name *name) { return varName(name)->global; }

Symbol *externTarget(Name *name) {
  name = varName(name);
  if (name->global) return name->global;
  return declare(cur().scopes.front().extra, name, true);
}

Symbol *lookupVariable(Name *name) {
  name = varName(name);
  const ScopeList &scopes = cur().scopes;
  for (size_t i = scopes.size(); i-- > 1;) {
    const Scope &s = scopes[i];
    Symbol *sym = nullptr;
    if (s.block >= 0) {
      int32_t slot = s.frame->layout->slotIn(static_cast<uint32_t>(s.block), name);
      if (slot >= 0 && s.frame->slots[slot].live) sym = &s.frame->slots[slot];
    }
    if (!sym && s.extra) sym = s.extra->findHere(name);
    if (!sym && s.kind == SCOPE_FUNCTION && s.frame->statics && *s.frame->statics)
      sym = (*s.frame->statics)->findHere(name);
    if (sym) return sym->refersToGlobal ? externTarget(name) : sym;
    if (s.kind == SCOPE_FUNCTION) break;
  }
  return name->global;
}

}  // namespace marl
