// Fuzz target: arbitrary bytes as script text, through the scanner and the grammar.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "driver/interpreter.hpp"
#include "frontend/parse.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // Top-level definitions enter the function table: every run gets a fresh
  // interpreter state, whose destruction frees the tree and the table.
  marl::Interpreter state;
  marl::parseText(std::string_view(reinterpret_cast<const char *>(data), size));
  return 0;
}
