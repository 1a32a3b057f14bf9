// The parser: a source's tokens to a parse tree; top-level functions enter the
// function table while parsing.
#pragma once
#include <string>
#include <string_view>

#include "frontend/node.hpp"
#include "frontend/scanner.hpp"

namespace marl {

struct ParseResult {
  bool ok = false;             // no syntax error was reported
  Node *statements = nullptr;  // the top-level statements, chained through `next`
};

// Parses the source opened by openSourcePath/openSourceText. Errors are
// reported through report_parse_error as they are found.
ParseResult parseOpenSource();
// `opened` tells whether the file could be read; nothing is parsed when not.
ParseResult parseFile(const std::string &path, bool &opened);
ParseResult parseText(std::string_view text);

}  // namespace marl
