// Fuzz target: regular expressions compiled and matched on arbitrary
// Shift_JIS bytes through the built-ins. Input: a flags byte, the pattern,
// NUL, the replacement, NUL, the subject.
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

#include "driver/interpreter.hpp"
#include "runtime/error.hpp"
#include "frontend/symbols.hpp"
#include "fuzz_input.hpp"
#include "runtime/mstring.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // Objects live in an interpreter state; a fresh one per input.
  marl::Interpreter state;
  using namespace marl;
  fuzz::Input in(data, size);
  uint8_t flags = in.byte();
  std::string_view pattern = in.part();
  Value replacement = makeString(in.part());
  Value subject = makeString(in.rest());
  std::string flagText;
  if (flags & 1) flagText += 'i';
  if (flags & 2) flagText += 'm';
  try {
    Value re = fuzz::call(regexpBuiltins(), "regexp", {makeString(pattern), makeString(flagText)});
    fuzz::call(regexpBuiltins(), "match", {subject, re});
    fuzz::call(regexpBuiltins(), "sub", {subject, re, replacement});
    fuzz::call(regexpBuiltins(), "gsub", {subject, re, replacement});
    fuzz::call(arrayBuiltins(), "split", {subject, re});
  } catch (const ScriptError &) {
  } catch (const std::bad_alloc &) {
  }
  try {
    // tr() takes character lists and ranges rather than a pattern.
    fuzz::call(regexpBuiltins(), "tr", {subject, makeString(pattern), replacement});
  } catch (const ScriptError &) {
  }
  return 0;
}
