// Benchmarks run their code with an interpreter state, as scripts do. It is
// made before the first benchmark and never torn down.
#pragma once
#include "driver/interpreter.hpp"

namespace marl::bench {

inline Interpreter &interpreter = *new Interpreter();

}  // namespace marl::bench
