// The groups of the layers above builtins/ are registered here, after the
// library, so that builtins/ never names them.
#include "driver/builtin_groups.hpp"

#include "builtins/registry.hpp"
#include "external/com_builtins.hpp"
#include "external/native_function.hpp"
#include "graphics/drawing_builtins.hpp"

namespace marl {

void registerAllBuiltins() {
  registerLibraryBuiltins();
  registerGroup(graphicsBuiltins());
  registerGroup(nativeBuiltins());
  registerGroup(comBuiltins());
}

}  // namespace marl
