// How much memory the process may ever use, for refusing requests that
// could never be met before anything is allocated.
#pragma once
#include <cstdint>

namespace marl {

// The smallest of the machine's physical memory and the address-space and
// data-segment limits of the process, in bytes.
uint64_t processMemoryLimit();

// Lowers the limit for the rest of the process (never raises it): fuzzing
// and embedding hosts run with less memory than the machine has.
void capMemoryLimit(uint64_t bytes);

// True when `count` items of `itemSize` bytes each could never be held.
bool beyondMemory(uint64_t count, uint64_t itemSize);

}  // namespace marl
