// The printf-style formatting engine shared by printf, sprintf, errorf and the
// rendering of numbers.
#pragma once
#include <string>
#include <string_view>

#include "runtime/value.hpp"

namespace marl {

// Formats args[first..count) into `format`; conversions without an argument
// produce nothing.
std::string format_values(std::string_view format, const Value *args, size_t count, size_t first);

}  // namespace marl
