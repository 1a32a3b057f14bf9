// Interned names: each distinct identifier exists once, so lookups compare
// pointers. A name also caches what the global scope and the function table
// hold under it, which makes those lookups O(1).
#pragma once
#include <string>
#include <string_view>

namespace marl {

struct Symbol;
struct FuncInfo;

struct Name {
  std::string text;
  // Variables keep only the first 128 bytes of a name: longer names that share
  // them are one variable. `var` is the interned name of that prefix (or this).
  Name *var = nullptr;
  Symbol *global = nullptr;  // the global scope's symbol, if declared there
  FuncInfo *func = nullptr;  // the function table's entry, if any
};

Name *intern(std::string_view text);

}  // namespace marl
