// Fuzz target: arbitrary bytes to deserial(); whatever it accepts must
// serialize again, and read back to the same bytes.
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>

#include "driver/interpreter.hpp"
#include "runtime/memory_limit.hpp"
#include "runtime/error.hpp"
#include "io/serial.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // Requests that could not be met within 4 MiB are refused as they would be
  // on a small machine. A few bytes can ask for an array of millions of
  // elements (cut-off data reads as zeros), whose round trip under the
  // sanitizers takes seconds and measures only allocation; refused, it still
  // covers the refusal, and the fuzzer keeps its pace.
  marl::capMemoryLimit(uint64_t{4} << 20);
  // Objects live in an interpreter state; a fresh one per input.
  marl::Interpreter state;
  using namespace marl;
  try {
    Value v = deserializeValue(std::string_view(reinterpret_cast<const char *>(data), size));
    std::string bytes = serializeValue(v);
    Value again = deserializeValue(bytes);
    if (serializeValue(again) != bytes) __builtin_trap();
  } catch (const ScriptError &) {
  } catch (const std::bad_alloc &) {
  }
  return 0;
}
