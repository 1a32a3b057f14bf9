// comobj(), comget() and dotnet(): automation objects; only dotnet() works here.
#pragma once
#include <span>

#include "builtins/registry.hpp"

namespace marl {

std::span<const BuiltinEntry> comBuiltins();

}  // namespace marl
