// The function table: every name's variants, built-in or script-defined,
// told apart by arity (-1: any number of arguments).
#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "frontend/names.hpp"
#include "frontend/node.hpp"
#include "runtime/value.hpp"

namespace marl {

class Context;
struct SymMan;

// A read-only run of evaluated arguments.
struct Args {
  const Value *v;
  size_t n;
  size_t size() const { return n; }
  const Value &operator[](size_t i) const { return v[i]; }
};

using BuiltinHandler = void (*)(Context &ctx, int line, const Args &args, Value &result);

struct func_data {
  int32_t counter = 1;
  BuiltinHandler handler = nullptr;  // set for a built-in
  FunctionDef *def = nullptr;        // set for a script function
  SymMan *statics = nullptr;         // the function's `static` variables, made on first use
  int32_t arity = 0;
  ~func_data();
};

struct FuncInfo {
  Name *name = nullptr;
  std::vector<func_data *> variants;  // registration order
  int32_t refs = 1;
  // An exact arity wins; else the last variadic variant; else none.
  func_data *find(int argc) const;
};

// A running call holds its variant, so redefining a function inside its own
// body does not free what is executing.
inline void retainVariant(func_data *d) { d->counter++; }
void destroyVariant(func_data *d);
inline void releaseVariant(func_data *d) {
  if (--d->counter <= 0) destroyVariant(d);
}

void retainFunc(FuncInfo *f);
void releaseFunc(FuncInfo *f);  // "Internal error in FuncInfo::release()" below zero

// The function table of the interpreter state. While it exists it is the
// table the operations below work on; destroying it clears it.
struct FunctionTable {
  std::map<std::string, FuncInfo *, std::less<>> entries;
  FunctionTable();
  ~FunctionTable();
  FunctionTable(const FunctionTable &) = delete;
  FunctionTable &operator=(const FunctionTable &) = delete;
};

// Adds a variant, replacing one of equal arity.
void registerFunction(const char *name, int32_t arity, BuiltinHandler handler);
void defineFunction(FunctionDef *def);  // a script function at the top level
FuncInfo *findFunction(Name *name);
FuncInfo *findFunction(std::string_view name);
// Bumped whenever a variant is added or removed, so that call sites can cache.
namespace detail {
extern uint32_t generation;
}
inline uint32_t functionGeneration() { return detail::generation; }
// 1: main takes one argument; 0: none; -1: no usable main.
int mainKind();
void clearFunctions();
// Visits every function's static tables (collector roots).
template <typename F>
void forEachFunction(F &&f);
const std::map<std::string, FuncInfo *, std::less<>> &functionTable();

template <typename F>
void forEachFunction(F &&f) {
  for (auto &entry : functionTable()) f(entry.second);
}

}  // namespace marl
