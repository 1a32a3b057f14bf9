// The .NET bridge: managed objects through the Mono runtime's embedding
// interface, seen by scripts as automation objects.
#pragma once
#include <string>

#include "runtime/value.hpp"

namespace marl {

// True when this build has the bridge.
bool dotNetAvailable();
// Loads `assembly` (a path or a name such as "mscorlib") and creates an
// instance of `type` with its parameterless constructor. Starts the runtime
// on first use; raises a script error on failure.
Value createDotNetObject(int line, const std::string &assembly, const std::string &type);
// Stops the runtime, if it was started; every object must be released first.
void shutdownDotNet();

}  // namespace marl
