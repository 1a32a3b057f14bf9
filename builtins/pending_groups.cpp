// Native functions and COM are not available on this platform yet: their
// groups register nothing.
#include "builtins/registry.hpp"

namespace marl {

std::span<const BuiltinEntry> nativeBuiltins() { return {}; }
std::span<const BuiltinEntry> comBuiltins() { return {}; }

}  // namespace marl
