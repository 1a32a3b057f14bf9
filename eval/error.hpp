// Script errors, the exit request and the parse-error reporter.
#pragma once
#include <stdexcept>
#include <string>

#include "runtime/value.hpp"

namespace marl {

// A script error; its text is the finished message line, without line feed.
class ScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Formats the message (512-byte buffer) and throws "error [LINE]: MESSAGE",
// or "error: MESSAGE" when line < 1.
[[noreturn]] void raise_error(int line, const char *format, ...)
    __attribute__((format(printf, 2, 3)));
// The same for a message that must not be read as a format (user texts).
[[noreturn]] void raise_message(int line, const std::string &message);

// Thrown by exit(); carries the exit value and the line of the call.
class MExit {
 public:
  Value value;
  int line;
  MExit(Value v, int l) : value(std::move(v)), line(l) {}
};

// Prints "error [FILE:LINE]: MESSAGE" or "error [LINE]: MESSAGE" for the
// scanner's current position and counts the error; does not throw.
void report_parse_error(const char *message);
int parse_error_count();
void reset_parse_error_count();

// The scanner's position, consulted by report_parse_error; set by the front end.
struct SourcePosition {
  const char *(*fileName)() = nullptr;  // current file name or null
  int (*line)() = nullptr;
};
void setSourcePosition(SourcePosition p);

}  // namespace marl
