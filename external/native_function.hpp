// dllfunc(): functions of shared libraries called through C declarations.
#pragma once
#include <span>

#include "builtins/registry.hpp"

namespace marl {

std::span<const BuiltinEntry> nativeBuiltins();

}  // namespace marl
