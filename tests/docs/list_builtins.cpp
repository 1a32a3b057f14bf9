// Prints every registered built-in as "group name arity" (arity -1: any number), one a
// line, for the check that the reference documents each of them.
#include <cstdio>

#include "builtins/registry.hpp"
#include "external/com_builtins.hpp"
#include "external/native_function.hpp"
#include "graphics/drawing_builtins.hpp"

int main() {
  using marl::BuiltinEntry;
  struct Group {
    const char *name;
    std::span<const BuiltinEntry> (*entries)();
  };
  const Group groups[] = {
      {"core", marl::coreBuiltins},         {"string", marl::stringBuiltins},
      {"encoding", marl::encodingBuiltins}, {"array", marl::arrayBuiltins},
      {"math", marl::mathBuiltins},         {"regexp", marl::regexpBuiltins},
      {"file", marl::fileBuiltins},         {"system", marl::systemBuiltins},
      {"format", marl::formatBuiltins},     {"pack", marl::packBuiltins},
      {"serial", marl::serialBuiltins},     {"graphics", marl::graphicsBuiltins},
      {"native", marl::nativeBuiltins},     {"com", marl::comBuiltins},
  };
  for (const Group &g : groups)
    for (const BuiltinEntry &e : g.entries()) std::printf("%s %s %d\n", g.name, e.name, e.arity);
  return 0;
}
