// Groups whose built-ins are still being written register nothing yet.
#include "builtins/registry.hpp"

namespace marl {

std::span<const BuiltinEntry> stringBuiltins() { return {}; }
std::span<const BuiltinEntry> encodingBuiltins() { return {}; }
std::span<const BuiltinEntry> arrayBuiltins() { return {}; }
std::span<const BuiltinEntry> mathBuiltins() { return {}; }
std::span<const BuiltinEntry> regexpBuiltins() { return {}; }
std::span<const BuiltinEntry> fileBuiltins() { return {}; }
std::span<const BuiltinEntry> systemBuiltins() { return {}; }
std::span<const BuiltinEntry> packBuiltins() { return {}; }
std::span<const BuiltinEntry> serialBuiltins() { return {}; }
std::span<const BuiltinEntry> graphicsBuiltins() { return {}; }
std::span<const BuiltinEntry> nativeBuiltins() { return {}; }
std::span<const BuiltinEntry> comBuiltins() { return {}; }

}  // namespace marl
