// The pending-signal flag shared by the signal handlers and the evaluator.
#include "runtime/interrupt.hpp"

namespace marl {

std::atomic<int> pendingSignal{0};

void raiseInterrupt() {
  int sig = pendingSignal.exchange(0);
  throw Interrupted{sig};
}

}  // namespace marl
