// The table of built-in functions. Each group registers itself from one table.
#pragma once
#include <span>

#include "eval/context.hpp"
#include "frontend/functions.hpp"

namespace marl {

struct BuiltinEntry {
  const char *name;
  int32_t arity;  // -1: any number of arguments
  BuiltinHandler handler;
};

void register_builtin(const char *name, int32_t arity, BuiltinHandler handler);
void registerGroup(std::span<const BuiltinEntry> group);

// The groups, in registration order.
std::span<const BuiltinEntry> coreBuiltins();  // conversions, containers, control
std::span<const BuiltinEntry> stringBuiltins();
std::span<const BuiltinEntry> encodingBuiltins();
std::span<const BuiltinEntry> arrayBuiltins();
std::span<const BuiltinEntry> mathBuiltins();
std::span<const BuiltinEntry> regexpBuiltins();
std::span<const BuiltinEntry> fileBuiltins();
std::span<const BuiltinEntry> systemBuiltins();  // time, file system, console
std::span<const BuiltinEntry> formatBuiltins();
std::span<const BuiltinEntry> packBuiltins();
std::span<const BuiltinEntry> serialBuiltins();

// Registers the library's groups in the order above. The layers above add
// their own groups after it (see the driver's registerAllBuiltins).
void registerLibraryBuiltins();

}  // namespace marl
