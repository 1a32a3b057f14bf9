// SIGINT, SIGTERM and SIGHUP: recorded by a handler, acted on by the evaluator.
#pragma once

namespace marl {

// Installs the handlers, except for signals the parent left ignored.
void installSignalHandlers();
// Keeps the signals away from the calling thread, so that they interrupt
// the interpreter's thread (and its blocking reads) instead.
void blockSignalsHere();
// A second signal before the first was acted on ends the process at once
// (a script stuck in a call that never returns must still be stoppable).
// The console clears the flag itself at the prompt.
void clearPendingSignal();

}  // namespace marl
