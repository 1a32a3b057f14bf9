// The frame every runner shares: execute a parsed source in a fresh context.
#pragma once
#include <string_view>

#include "frontend/parse.hpp"
#include "runtime/value.hpp"

namespace marl {

// Runs the top-level statements over the current scopes. A script error is
// printed and gives null; exit() gives its value; a top-level return gives
// the returned value. The scope depth is restored on every path.
Value runParsed(const ParseResult &parsed);
// Parses and runs a text (a one-line script, eval(), a console line).
Value run_script_string(std::string_view text);

}  // namespace marl
