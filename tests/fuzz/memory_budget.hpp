// A memory budget for the whole-script fuzz target: the program's operator new
// counts live bytes and throws std::bad_alloc past the budget, so that scripts
// that grow without bound end in the interpreter's own "Out of memory" path
// instead of exhausting the machine.
#pragma once
#include <cstddef>

namespace marl::fuzz {

// Live bytes allowed from now on; 0 lifts the budget.
void setMemoryBudget(size_t bytes);

}  // namespace marl::fuzz
