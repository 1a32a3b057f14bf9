// Fuzz target: encode() and decode() for every encoding word on arbitrary
// bytes. Input: a byte choosing the word and the direction, then the text.
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

#include "driver/interpreter.hpp"
#include "runtime/error.hpp"
#include "fuzz_input.hpp"
#include "runtime/mstring.hpp"

namespace {

constexpr const char *kWords[] = {"sjis", "euc", "utf8", "utf16", "base64", "b64", "UTF8", "Euc"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // Objects live in an interpreter state; a fresh one per input.
  marl::Interpreter state;
  using namespace marl;
  fuzz::Input in(data, size);
  uint8_t choice = in.byte();
  Value word = makeString(kWords[choice % std::size(kWords)]);
  Value text = makeString(in.rest());
  const char *first = choice & 0x80 ? "decode" : "encode";
  const char *second = choice & 0x80 ? "encode" : "decode";
  try {
    Value once = fuzz::call(encodingBuiltins(), first, {text, word});
    Value back = fuzz::call(encodingBuiltins(), second, {once, word});
    // base64 loses nothing: any bytes come back from their encoding.
    std::string_view w = asString(word)->text;
    MString *result = asString(back);
    if (!(choice & 0x80) && (w == "base64" || w == "b64") &&
        (!result || result->text != asString(text)->text))
      __builtin_trap();
  } catch (const ScriptError &) {
  } catch (const std::bad_alloc &) {
  }
  return 0;
}
