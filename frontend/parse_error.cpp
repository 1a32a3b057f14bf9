// Syntax errors: printed at once with the scanner's position and counted.
#include "frontend/parse_error.hpp"

#include <cstdio>

#include "frontend/node.hpp"
#include "frontend/parse_tree.hpp"
#include "frontend/scanner.hpp"

namespace marl {

void report_parse_error(const char *message) {
  const char *file = fileNameAt(currentFileIndex());
  int line = currentLine();
  std::fflush(stdout);
  if (file && *file)
    std::fprintf(stderr, "error [%s:%d]: %s\n", file, line, message);
  else
    std::fprintf(stderr, "error [%d]: %s\n", line, message);
  parseTree().syntaxErrors++;
}

int parse_error_count() { return parseTree().syntaxErrors; }

}  // namespace marl
