// Handles' finalizers: run by the collector for unreachable handles and, for
// every handle still unfinalized, by the final cleanup when a run ends.
#pragma once

namespace marl {

class MHandle;

// Calls the handle's finalizer function with its argument in a fresh context
// (nothing when it is not a function reference taking one argument). Errors
// and exit() propagate to the caller.
void runFinalizer(MHandle *h);
// Finalizes, in registry order, every handle not yet finalized, reachable or
// not. A script error is printed as "MESSAGE [in final cleanup]", an exit()
// as "Cannot exit in final cleanup", and the walk goes on. Runs once.
void finalCleanup();

}  // namespace marl
