// Every built-in group, registered by the layer that sees them all.
#pragma once

namespace marl {

// The library's groups, then graphics, native functions and COM. The order
// is the overload order: a later group's variant replaces an earlier one of
// the same name and arity.
void registerAllBuiltins();

}  // namespace marl
