// Script errors and the parse-error reporter.
#include "eval/error.hpp"

#include <cstdarg>
#include <cstdio>

namespace marl {

namespace {

SourcePosition position;
int parseErrors = 0;

[[noreturn]] void throwLine(int line, const char *message) {
  // Both buffers are 512 bytes: longer messages are cut, never overrun.
  char text[512];
  if (line >= 1)
    std::snprintf(text, sizeof text, "error [%d]: %s", line, message);
  else
    std::snprintf(text, sizeof text, "error: %s", message);
  throw ScriptError(text);
}

}  // namespace

void raise_error(int line, const char *format, ...) {
  char message[512];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(message, sizeof message, format, ap);
  va_end(ap);
  throwLine(line, message);
}

void raise_message(int line, const std::string &message) {
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, "%s", message.c_str());
  throwLine(line, buffer);
}

void setSourcePosition(SourcePosition p) { position = p; }

void report_parse_error(const char *message) {
  const char *file = position.fileName ? position.fileName() : nullptr;
  int line = position.line ? position.line() : 0;
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
