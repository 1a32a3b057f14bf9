// Fuzz target: arbitrary bytes as script text, through the scanner and the grammar.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frontend/parse_error.hpp"
#include "frontend/functions.hpp"
#include "frontend/parse.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  marl::parseText(std::string_view(reinterpret_cast<const char *>(data), size));
  // Top-level definitions went to the function table; every run starts empty.
  marl::clearFunctions();
  marl::freeAllNodes();
  marl::reset_parse_error_count();
  return 0;
}
