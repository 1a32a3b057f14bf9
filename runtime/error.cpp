// Script errors: one routine formats every run-time message.
#include "runtime/error.hpp"

#include <cstdarg>
#include <cstdio>

namespace marl {

namespace {

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

}  // namespace marl
