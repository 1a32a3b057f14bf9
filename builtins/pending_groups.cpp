// Groups whose built-ins are still being written register nothing yet.
#include "builtins/registry.hpp"

namespace marl {

std::span<const BuiltinEntry> graphicsBuiltins() { return {}; }
std::span<const BuiltinEntry> nativeBuiltins() { return {}; }
std::span<const BuiltinEntry> comBuiltins() { return {}; }

}  // namespace marl
