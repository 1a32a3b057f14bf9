// Managed objects as automation objects, and values across the boundary.
#pragma once
#ifdef MARL_HAVE_MONO
#include "external/mono_api.hpp"

#include <string>

#include "runtime/value.hpp"

namespace marl {

MonoDomain *dotNetDomain();
// A managed value as a script value: primitives and strings are converted,
// arrays become arrays, anything else is wrapped as an automation object.
Value fromManaged(int line, MonoObject *o, const char *what, const std::string &name);
// The Message of a managed exception, in the internal encoding.
std::string exceptionMessage(MonoObject *exc);

}  // namespace marl
#endif
