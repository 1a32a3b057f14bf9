// Talk mode: read a line, run it, print its value.
#include <strings.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <editline/readline.h>

#include "driver/driver.hpp"
#include "io/process.hpp"
#include "driver/runner.hpp"
#include "eval/run.hpp"
#include "runtime/conversions.hpp"

namespace marl {

namespace {

// Lines are handled in pieces of at most 511 bytes, as one read of the
// console's 512-byte buffer would deliver them.
constexpr size_t kPiece = 511;

void writeOut(const std::string &text) {
  flushStandardStreams();
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

class LineSource {
 public:
  LineSource() : terminal_(isatty(0) && isatty(1)) {
    if (!terminal_) return;
    const char *home = std::getenv("HOME");
    if (home && *home) historyPath_ = std::string(home) + "/.marl_history";
    using_history();
    if (!historyPath_.empty()) read_history(historyPath_.c_str());
  }
  ~LineSource() {
    if (terminal_ && !historyPath_.empty()) write_history(historyPath_.c_str());
  }

  // The next piece of input without its line feed; false at the end.
  bool next(const char *prompt, std::string &out) {
    if (!pending_.empty()) return takePiece(out);
    if (!terminal_) {
      writeOut(prompt);
      char buf[kPiece + 1];
      if (!std::fgets(buf, sizeof buf, stdin)) return false;
      out = buf;
      if (!out.empty() && out.back() == '\n') out.pop_back();
      return true;
    }
    flushStandardStreams();
    char *line = readline(prompt);
    if (!line) return false;
    if (*line) add_history(line);
    pending_ = line;
    std::free(line);
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

  bool terminal_;
  std::string historyPath_;
  std::string pending_;
};

bool is(const std::string &line, const char *command) {
  return strcasecmp(line.c_str(), command) == 0 && line.size() == std::strlen(command);
}

}  // namespace

void run_console() {
  const DriverState &state = driverState();
  LineSource input;
  std::string line;
  while (input.next(">", line)) {
    if (is(line, ".quit")) break;
    if (is(line, ".help")) {
      writeOut(std::string(bannerText()) + "\n\nCommand:\n    .cls, .quit, .load, .help\n\n");
      continue;
    }
    if (is(line, ".load")) {
      std::string name;
      if (!input.next("File name: ", name)) break;
      if (!name.empty()) {
        if (state.preprocess)
          run_preprocessed_file(name);
        else
          run_script_file(name);
      }
      continue;
    }
    if (is(line, ".cls")) {
      writeOut("\x1b[H\x1b[2J");
      continue;
    }
    if (line.empty()) continue;
    if (line.back() != ';') line += ';';
    Value result = run_script_string(line);
    writeOut(toInspectText(result) + "\n");
  }
}

}  // namespace marl
