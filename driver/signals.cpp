// SIGINT, SIGTERM and SIGHUP. The handler does nothing but record the
// signal; everything else happens on the interpreter's thread.
#include "driver/signals.hpp"

#include <signal.h>
#include <unistd.h>

#include "runtime/interrupt.hpp"

namespace marl {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

void onSignal(int sig) {
  // Still pending: the interpreter is stuck somewhere it cannot look, and
  // the user asked twice. _exit is safe here; buffered output is lost.
  if (pendingSignal.load() != 0) _exit(128 + sig);
  pendingSignal.store(sig);
}

}  // namespace

void installSignalHandlers() {
  for (int sig : kSignals) {
    struct sigaction old;
    if (sigaction(sig, nullptr, &old) != 0 || old.sa_handler == SIG_IGN) continue;
    struct sigaction sa {};
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    // No SA_RESTART: a blocking read returns EINTR and sees the flag.
    sa.sa_flags = 0;
    sigaction(sig, &sa, nullptr);
  }
}

void blockSignalsHere() {
  sigset_t set;
  sigemptyset(&set);
  for (int sig : kSignals) sigaddset(&set, sig);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void clearPendingSignal() { pendingSignal.store(0); }

}  // namespace marl
