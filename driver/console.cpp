// Talk mode: read a line, run it, print its value.
#include <cstdio>
#include <cstring>
#include <strings.h>

#include "driver/driver.hpp"
#include "driver/process.hpp"
#include "driver/runner.hpp"
#include "runtime/conversions.hpp"

namespace marl {

namespace {

// One read of at most 511 bytes; a longer line arrives in pieces.
bool readLine(char *buf, size_t size) {
  if (!std::fgets(buf, static_cast<int>(size), stdin)) return false;
  size_t n = std::strlen(buf);
  if (n > 0 && buf[n - 1] == '\n') buf[n - 1] = '\0';
  return true;
}

void writeOut(const char *text) {
  flushStandardStreams();
  std::fputs(text, stdout);
  std::fflush(stdout);
}

}  // namespace

void run_console() {
  const DriverState &state = driverState();
  char line[512];
  for (;;) {
    writeOut(">");
    if (!readLine(line, sizeof line)) break;
    if (strcasecmp(line, ".quit") == 0) break;
    if (strcasecmp(line, ".help") == 0) {
      std::string text = std::string(bannerText()) +
                         "\n\nCommand:\n    .cls, .quit, .load, .help\n\n";
      writeOut(text.c_str());
      continue;
    }
    if (strcasecmp(line, ".load") == 0) {
      writeOut("File name: ");
      char name[512];
      if (!readLine(name, sizeof name)) break;
      if (*name) {
        if (state.preprocess)
          run_preprocessed_file(name);
        else
          run_script_file(name);
      }
      continue;
    }
    if (strcasecmp(line, ".cls") == 0) {
      writeOut("\x1b[H\x1b[2J");
      continue;
    }
    if (!*line) continue;
    std::string source = line;
    if (source.back() != ';') source += ';';
    Value result = run_script_string(source);
    std::string text = toInspectText(result) + "\n";
    writeOut(text.c_str());
  }
}

}  // namespace marl
