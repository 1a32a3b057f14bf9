// Object serialization built-ins: serial, deserial.
#include "builtins/registry.hpp"
#include "io/serial.hpp"
#include "runtime/conversions.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

void bi_serial(Context &, int, const Args &a, Value &r) { r = makeString(serializeValue(a[0])); }

void bi_deserial(Context &, int line, const Args &a, Value &r) {
  r = deserializeValue(argString(line, a[0]));
}

constexpr BuiltinEntry kSerial[] = {
    {"serial", 1, bi_serial},
    {"deserial", 1, bi_deserial},
};

}  // namespace

std::span<const BuiltinEntry> serialBuiltins() { return kSerial; }

}  // namespace marl
