// The frame every runner shares: execute a parsed source in a fresh context.
#pragma once
#include <new>
#include <string_view>

#include "frontend/parse.hpp"
#include "runtime/value.hpp"

namespace marl {

// Runs the top-level statements over the current scopes. A script error is
// printed and gives null; exit() gives its value; a top-level return gives
// the returned value. The scope depth is restored on every path.
Value runParsed(const ParseResult &parsed);
// A source too large for the memory left is reported as a lack of memory
// while running is, and none of it runs.
ParseResult outOfMemoryWhileParsing();
template <typename Parse>
ParseResult parseWithin(Parse parse) {
  try {
    return parse();
  } catch (const std::bad_alloc &) {
    return outOfMemoryWhileParsing();
  }
}

// Parses and runs a text (a one-line script, eval(), a console line).
Value run_script_string(std::string_view text);

}  // namespace marl
