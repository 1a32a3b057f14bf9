// Registration of the built-in groups.
#include "builtins/registry.hpp"

namespace marl {

void register_builtin(const char *name, int32_t arity, BuiltinHandler handler) {
  registerFunction(name, arity, handler);
}

void registerGroup(std::span<const BuiltinEntry> group) {
  for (const BuiltinEntry &e : group) register_builtin(e.name, e.arity, e.handler);
}

void registerLibraryBuiltins() {
  registerGroup(coreBuiltins());
  registerGroup(stringBuiltins());
  registerGroup(encodingBuiltins());
  registerGroup(arrayBuiltins());
  registerGroup(mathBuiltins());
  registerGroup(regexpBuiltins());
  registerGroup(fileBuiltins());
  registerGroup(systemBuiltins());
  registerGroup(formatBuiltins());
  registerGroup(packBuiltins());
  registerGroup(serialBuiltins());
}

}  // namespace marl
