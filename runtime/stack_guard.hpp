// The C-stack guard: recursion driven by script input (the evaluator, nested
// eval, deep data) stops with a clean error before the thread's stack runs out.
#pragma once
#include <cstdint>

namespace marl {

// Lowest frame address a guarded routine may use on the interpreter thread:
// the end of its stack plus a reserve for the unguarded work below the last
// check (built-ins, the parser, error reporting). Zero until recorded, which
// turns the guard off.
inline uintptr_t stackFloor = 0;

// Records the calling thread's stack bounds; it becomes the guarded thread.
void recordStackBounds();

// True when the caller's frame lies in the reserve: it must not go deeper.
// One load and one compare, cheap enough for every evaluated node.
inline bool stackNearlyFull() {
  char probe;
  return reinterpret_cast<uintptr_t>(&probe) < stackFloor;
}

}  // namespace marl
