// Syntax errors: printed at once with the scanner's position and counted.
#include "frontend/parse_error.hpp"

#include <cstdio>

#include "frontend/node.hpp"
#include "frontend/scanner.hpp"

namespace marl {

namespace {

int parseErrors = 0;

}  // namespace

void report_parse_error(const char *message) {
  const char *file = fileNameAt(currentFileIndex());
  int line = currentLine();
  std::fflush(stdout);
  if (file && *file)
    std::fprintf(stderr, "error [%s:%d]: %s\n", file, line, message);
  else
    std::fprintf(stderr, "error [%d]: %s\n", line, message);
  parseErrors++;
}

int parse_error_count() { return parseErrors; }
void reset_parse_error_count() { parseErrors = 0; }

}  // namespace marl
