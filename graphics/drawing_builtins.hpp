// The graphics built-ins: windows, drawing, pictures and text.
#pragma once
#include <span>

#include "builtins/registry.hpp"

namespace marl {

std::span<const BuiltinEntry> graphicsBuiltins();

}  // namespace marl
