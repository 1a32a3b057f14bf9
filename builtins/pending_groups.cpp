// Graphics is not available on this platform yet: its group registers
// nothing. (Native functions and COM register from external/.)
#include "builtins/registry.hpp"

namespace marl {

std::span<const BuiltinEntry> graphicsBuiltins() { return {}; }

}  // namespace marl
