// Interrupts: a signal handler only records the signal; the evaluator acts on
// it between steps, where unwinding is safe.
//
// The hook: evaluate() calls checkInterrupt() once per node it evaluates, so
// loops and calls notice a signal within one step. An evaluator written anew
// must keep one such call where every loop iteration and every call passes.
// Interrupted unwinds like exit(): through `try` in scripts, to the runner.
#pragma once
#include <atomic>

namespace marl {

// The signal waiting to be acted on, or 0. Written by signal handlers.
extern std::atomic<int> pendingSignal;
static_assert(std::atomic<int>::is_always_lock_free, "signal handlers need a lock-free flag");

// Thrown where the evaluator notices a pending signal. It is not a script
// error: `try` in a script does not catch it.
struct Interrupted {
  int signal;
};

// Consumes the pending signal and throws Interrupted.
[[noreturn]] void raiseInterrupt();

// The evaluator's one check, once per evaluated node.
inline void checkInterrupt() {
  if (pendingSignal.load(std::memory_order_relaxed) != 0) [[unlikely]]
    raiseInterrupt();
}

// True while a signal waits: blocking reads give up instead of retrying.
inline bool interruptPending() { return pendingSignal.load(std::memory_order_relaxed) != 0; }

}  // namespace marl
