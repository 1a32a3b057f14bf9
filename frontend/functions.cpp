// The function table and overload choice.
#include "frontend/functions.hpp"

#include <cstdio>
#include <cstdlib>

#include "frontend/symbols.hpp"
#include "runtime/error.hpp"

namespace marl {

// Process-wide and never reset, so a call site's cache cannot match a later table.
uint32_t detail::generation = 1;

namespace {

FunctionTable *current = nullptr;

FuncInfo *infoFor(Name *name) {
  if (name->func) return name->func;
  FuncInfo *f = new FuncInfo();
  f->name = name;
  name->func = f;
  current->entries.emplace(name->text, f);
  return f;
}

void addVariant(FuncInfo *f, func_data *d) {
  for (auto it = f->variants.begin(); it != f->variants.end(); ++it) {
    if ((*it)->arity == d->arity) {
      releaseVariant(*it);
      f->variants.erase(it);
      break;
    }
  }
  f->variants.push_back(d);
  detail::generation++;
}

}  // namespace

func_data::~func_data() { delete statics; }

void destroyVariant(func_data *d) { delete d; }

func_data *FuncInfo::find(int argc) const {
  func_data *variadic = nullptr;
  for (func_data *d : variants) {
    if (d->arity == argc) return d;
    if (d->arity < 0) variadic = d;
  }
  return variadic;
}

void retainFunc(FuncInfo *f) { f->refs++; }

void releaseFunc(FuncInfo *f) {
  if (--f->refs > 0) return;
  if (f->refs < 0) raise_error(0, "Internal error in FuncInfo::release()");
  for (func_data *d : f->variants) releaseVariant(d);
  if (f->name && f->name->func == f) f->name->func = nullptr;
  delete f;
}

void registerFunction(const char *name, int32_t arity, BuiltinHandler handler) {
  func_data *d = new func_data();
  d->handler = handler;
  d->arity = arity;
  addVariant(infoFor(intern(name)), d);
}

void defineFunction(FunctionDef *def) {
  func_data *d = new func_data();
  d->def = def;
  d->arity = static_cast<int32_t>(def->params.size());
  addVariant(infoFor(def->name), d);
}

FuncInfo *findFunction(Name *name) { return name->func; }

FuncInfo *findFunction(std::string_view name) {
  auto it = current->entries.find(name);
  return it == current->entries.end() ? nullptr : it->second;
}

int mainKind() {
  FuncInfo *f = findFunction("main");
  if (!f) return -1;
  if (f->find(1)) return 1;
  if (f->find(0)) return 0;
  return -1;
}

void clearFunctions() {
  // Entries still referred to by function references stay alive, detached.
  for (auto &entry : current->entries) {
    FuncInfo *f = entry.second;
    if (f->name && f->name->func == f) f->name->func = nullptr;
    f->name = nullptr;
    releaseFunc(f);
  }
  current->entries.clear();
  detail::generation++;
}

const std::map<std::string, FuncInfo *, std::less<>> &functionTable() { return current->entries; }

FunctionTable::FunctionTable() {
  if (current) {
    std::fputs("Internal error in FunctionTable: a second table\n", stderr);
    std::abort();
  }
  current = this;
}

FunctionTable::~FunctionTable() {
  clearFunctions();
  current = nullptr;
}

}  // namespace marl
