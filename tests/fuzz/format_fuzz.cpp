// Fuzz target: the formatting engine with arbitrary formats and arguments.
// Input: the format, NUL, then arguments, each a kind byte and its text up to
// the next NUL.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "driver/interpreter.hpp"
#include "runtime/error.hpp"
#include "fuzz_input.hpp"
#include "runtime/format.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"

namespace {

marl::Value argument(uint8_t kind, std::string_view text) {
  using namespace marl;
  switch (kind % 6) {
    case 0:
      return makeString(text);
    case 1:
      return Value::num(std::strtod(std::string(text).c_str(), nullptr));
    case 2: {
      // Raw bits: NaNs, infinities and subnormals as well.
      double d = 0;
      std::memcpy(&d, text.data(), std::min(text.size(), sizeof d));
      return Value::num(d);
    }
    case 3: {
      Value v;
      v.setBool(!text.empty());
      return v;
    }
    case 4:
      return Value(new MArray(text.size() % 4));
    default:
      return Value();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // Objects live in an interpreter state; a fresh one per input.
  marl::Interpreter state;
  using namespace marl;
  fuzz::Input in(data, size);
  std::string_view format = in.part();
  std::vector<Value> args;
  args.push_back(makeString(format));
  while (!in.empty() && args.size() < 64) {
    uint8_t kind = in.byte();
    args.push_back(argument(kind, in.part()));
  }
  try {
    format_values(format, args.data(), args.size(), 1);
    fuzz::call(formatBuiltins(), "sprintf", args);
  } catch (const ScriptError &) {
  } catch (const std::bad_alloc &) {
  }
  return 0;
}
