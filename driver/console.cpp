// Talk mode: read a line, run it, print its value.
#include <signal.h>
#include <errno.h>
#include <poll.h>
#include <strings.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <editline/readline.h>

#include "driver/completion.hpp"
#include "driver/driver.hpp"
#include "io/process.hpp"
#include "driver/runner.hpp"
#include "driver/signals.hpp"
#include "eval/run.hpp"
#include "runtime/conversions.hpp"
#include "runtime/interrupt.hpp"

namespace marl {

namespace {

// Lines are handled in pieces of at most 511 bytes, as one read of the
// console's 512-byte buffer would deliver them.
constexpr size_t kPiece = 511;

// Shown after the fixed help text, on a terminal only.
constexpr const char *kCommandHelp =
    "    .cls     clear the screen\n"
    "    .quit    leave the console (Ctrl-D does too)\n"
    "    .load    ask for a file name and run that script\n"
    "    .help    show this text\n"
    "TAB completes names; Ctrl-C clears the line or stops a running command.\n\n";

void writeOut(const std::string &text) {
  flushStandardStreams();
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

char *nextCandidate(const char *text, int state) {
  static std::vector<std::string> found;
  static size_t index;
  if (state == 0) {
    found = completionCandidates(text);
    index = 0;
  }
  return index < found.size() ? strdup(found[index++].c_str()) : nullptr;
}

bool lineCancelled = false;

// Forgets a Ctrl-C that has nothing left to stop; other signals stay.
void dropCtrlC() {
  int sig = SIGINT;
  pendingSignal.compare_exchange_strong(sig, 0);
}

// The line editor reads keys with the terminal's signal keys turned off, so
// Ctrl-C arrives here as a byte. It and a signal end the line as Enter would
// (the editor has no other clean way out of a read); the caller then drops
// the line.
int readKey(FILE *in) {
  unsigned char c;
  for (;;) {
    // A signal can come just before the read starts; polling in short
    // steps sees it all the same.
    if (interruptPending()) break;
    pollfd p{fileno(in), POLLIN, 0};
    if (poll(&p, 1, 100) <= 0) continue;  // also EINTR: the flag is looked at first
    ssize_t n = ::read(fileno(in), &c, 1);
    if (n == 1 && c != '\x03') return c;
    if (n == 1) break;
    if (n < 0 && errno == EINTR) continue;
    return EOF;
  }
  lineCancelled = true;
  return '\n';
}

char **completeName(const char *text, int, int) {
  rl_attempted_completion_over = 1;  // no file names in place of script names
  return rl_completion_matches(text, nextCandidate);
}

class LineSource {
 public:
  LineSource() : terminal_(isatty(0) && isatty(1)) {
    if (!terminal_) return;
    const char *home = std::getenv("HOME");
    if (home && *home) historyPath_ = std::string(home) + "/.marl_history";
    // Set before the editor starts (using_history starts it): its own
    // handlers would pass a signal on to the whole process group, while ours
    // only records it.
    rl_catch_signals = 0;
    rl_getc_function = readKey;
    rl_attempted_completion_function = completeName;
    rl_completion_append_character = '\0';  // a name is followed by "(" or an operator
    using_history();
    if (!historyPath_.empty()) read_history(historyPath_.c_str());
  }
  ~LineSource() { saveHistory(); }

  bool terminal() const { return terminal_; }
  // The signal that ended the input (SIGTERM, SIGHUP), or 0.
  int endedBy() const { return endedBy_; }

  // The next piece of input without its line feed; false at the end.
  bool next(const char *prompt, std::string &out) {
    if (!pending_.empty()) return takePiece(out);
    if (!terminal_) {
      writeOut(prompt);
      char buf[kPiece + 1];
      if (!std::fgets(buf, sizeof buf, stdin)) {
        endedBy_ = pendingSignal.exchange(0);
        return false;
      }
      out = buf;
      if (!out.empty() && out.back() == '\n') out.pop_back();
      return true;
    }
    for (;;) {
      flushStandardStreams();
      lineCancelled = false;
      char *line = readline(prompt);
      int sig = pendingSignal.load();
      if (sig != 0 && sig != SIGINT) endedBy_ = pendingSignal.exchange(0);
      if (!endedBy_ && lineCancelled) {
        // Ctrl-C at the prompt drops the line and asks again.
        dropCtrlC();
        std::free(line);
        continue;
      }
      if (!line || endedBy_) {
        dropCtrlC();
        std::free(line);
        return false;
      }
      // A SIGINT not seen by readKey came after Enter, once the editor had
      // handed the terminal back: it belongs to the line just entered and
      // stays pending, so that the command stops at its first step.
      if (*line) {
        add_history(line);
        saveHistory();  // at once: no way out of the session loses it
      }
      pending_ = line;
      std::free(line);
      break;
    }
    if (pending_.empty()) {
      out.clear();
      return true;
    }
    return takePiece(out);
  }

 private:
  bool takePiece(std::string &out) {
    out = pending_.substr(0, kPiece);
    pending_.erase(0, out.size());
    return true;
  }
  void saveHistory() {
    if (terminal_ && !historyPath_.empty()) write_history(historyPath_.c_str());
  }

  bool terminal_;
  int endedBy_ = 0;
  std::string historyPath_;
  std::string pending_;
};

bool is(const std::string &line, const char *command) {
  return strcasecmp(line.c_str(), command) == 0 && line.size() == std::strlen(command);
}

// Ctrl-C stops only the command it interrupts; other signals end the session.
template <typename Run>
void runInterruptible(Run run) {
  try {
    run();
    // A blocking read gives up on a signal and returns; if that was the
    // command's last step, nothing after it has looked at the signal yet.
    checkInterrupt();
  } catch (const Interrupted &i) {
    if (i.signal != SIGINT) throw;
    writeOut("");
    std::fprintf(stderr, "error: Interrupted\n");
  }
}

}  // namespace

int run_console() {
  const DriverState &state = driverState();
  LineSource input;
  std::string line;
  try {
    while (input.next(">", line)) {
      // A Ctrl-C typed just after Enter stops what the line runs; a line
      // that runs no script code lets it go, or it would drop the next one.
      bool command =
          is(line, ".quit") || is(line, ".help") || is(line, ".load") || is(line, ".cls");
      if (command || line.empty()) dropCtrlC();
      if (is(line, ".quit")) break;
      if (is(line, ".help")) {
        writeOut(std::string(bannerText()) + "\n\nCommand:\n    .cls, .quit, .load, .help\n\n");
        if (input.terminal()) writeOut(kCommandHelp);
        continue;
      }
      if (is(line, ".load")) {
        std::string name;
        if (!input.next("File name: ", name)) break;
        if (!name.empty()) {
          runInterruptible([&] {
            if (state.preprocess)
              run_preprocessed_file(name);
            else
              run_script_file(name);
          });
        }
        continue;
      }
      if (is(line, ".cls")) {
        writeOut("\x1b[H\x1b[2J");
        continue;
      }
      if (line.empty()) continue;
      if (line.back() != ';') line += ';';
      runInterruptible([&] {
        Value result = run_script_string(line);
        checkInterrupt();  // no value for a command that was stopped
        writeOut(toInspectText(result) + "\n");
      });
    }
  } catch (const Interrupted &i) {
    return 128 + i.signal;
  }
  return input.endedBy() ? 128 + input.endedBy() : 0;
}

}  // namespace marl
