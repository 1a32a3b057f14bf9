// Fuzz target: a pack template and data bytes through pksize, unpack and pack.
// Input: template, NUL, data.
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

#include "driver/interpreter.hpp"
#include "runtime/error.hpp"
#include "fuzz_input.hpp"
#include "io/pack.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // Objects live in an interpreter state; a fresh one per input.
  marl::Interpreter state;
  using namespace marl;
  fuzz::Input in(data, size);
  std::string_view text = in.part();
  std::string_view bytes = in.rest();
  try {
    PackTemplate t;
    if (!parseTemplate(text, t) || !unpackFitsMemory(t)) return 0;
    // unpack() makes every array field whole, however little data there is:
    // counts in the millions only measure allocation speed.
    uint64_t elements = 0;
    for (const PackField &f : t.fields) elements += f.count;
    if (elements > (uint64_t{1} << 20)) return 0;
    Value record = unpackRecord(t, bytes);
    MHash *fields = asHash(record);
    if (!fields) __builtin_trap();
    // A record packs to exactly the template's size, whatever its values.
    if (t.size < (uint64_t{1} << 24) && packRecord(t, *fields).size() != t.size) __builtin_trap();
    // The same through the built-ins, which take the template as a string.
    Value tpl = makeString(text);
    fuzz::call(packBuiltins(), "pksize", {tpl});
    Value unpacked = fuzz::call(packBuiltins(), "unpack", {tpl, makeString(bytes)});
    if (t.size < (uint64_t{1} << 24)) fuzz::call(packBuiltins(), "pack", {tpl, unpacked});
    fuzz::call(packBuiltins(), "bsplit", {makeString(bytes), makeString(text)});
  } catch (const ScriptError &) {
  } catch (const std::bad_alloc &) {
  }
  return 0;
}
