// Parsing one source into its top-level statement list.
#pragma once
#include <string>
#include <string_view>

#include "frontend/node.hpp"

namespace marl {

struct ParseResult {
  bool ok = false;
  Node *statements = nullptr;  // the top-level statements, chained through `next`
};

// Opens the file for the scanner (entering its name in the file-name list)
// and parses it; `opened` tells whether the file could be read.
ParseResult parseFile(const std::string &path, bool &opened);
// Parses text that has no file (the file name is empty).
ParseResult parseText(std::string_view text);

int currentLine();
int currentFileIndex();

}  // namespace marl
