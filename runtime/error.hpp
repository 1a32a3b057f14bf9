// Script errors and the exit request: the two ways a run ends early.
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

}  // namespace marl
