// The bell and single keys from the terminal. Without a terminal on standard
// input there are no key presses to wait for: kbhit() is false and getch()
// reads the next byte of standard input.
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

#include "builtins/system.hpp"
#include "io/process.hpp"
#include "io/stream.hpp"
#include "runtime/interrupt.hpp"

namespace marl {

namespace {

// Non-canonical input without echo while the object lives; the old settings
// come back however the caller leaves. Signals stay on, so Ctrl-C still works.
class RawTerminal {
 public:
  explicit RawTerminal(cc_t minBytes) {
    if (tcgetattr(0, &saved_) != 0) return;
    termios raw = saved_;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = minBytes;
    raw.c_cc[VTIME] = 0;
    active_ = tcsetattr(0, TCSANOW, &raw) == 0;
  }
  ~RawTerminal() {
    if (active_) tcsetattr(0, TCSANOW, &saved_);
  }
  RawTerminal(const RawTerminal &) = delete;
  RawTerminal &operator=(const RawTerminal &) = delete;

 private:
  termios saved_{};
  bool active_ = false;
};

bool terminalInput() { return isatty(0) == 1; }

// The byte, or -1 at the end of the input. Pending output is flushed first so
// that a prompt is visible before the wait.
int readKey() {
  flushStandardStreams();
  // Through the shared stream, so bytes that gets() buffered are not skipped.
  if (!terminalInput()) return Stream::standard(0).getc();
  RawTerminal raw(1);
  unsigned char c;
  for (;;) {
    ssize_t n = ::read(0, &c, 1);
    if (n == 1) return c;
    if (n < 0 && errno == EINTR) {
      // Ctrl-C must stop a script waiting for a key; the terminal's
      // settings come back as the wait unwinds.
      checkInterrupt();
      continue;
    }
    return -1;
  }
}

}  // namespace

void bi_beep(Context &, int, const Args &, Value &) {
  Stream &err = Stream::standard(2);
  err.write("\a");
  err.flush();
}

void bi_kbhit(Context &, int, const Args &, Value &r) {
  if (!terminalInput()) {
    r.setBool(false);
    return;
  }
  // Canonical mode would hold keys back until Enter; poll in raw mode.
  RawTerminal raw(0);
  pollfd p{0, POLLIN, 0};
  r.setBool(poll(&p, 1, 0) == 1 && (p.revents & POLLIN));
}

void bi_getch(Context &, int, const Args &, Value &r) { r.setNumber(readKey()); }

void bi_getche(Context &, int, const Args &, Value &r) {
  int c = readKey();
  if (c >= 0) {
    char byte = static_cast<char>(c);
    Stream &out = Stream::standard(1);
    out.write(std::string_view(&byte, 1));
    out.flush();
  }
  r.setNumber(c);
}

}  // namespace marl
