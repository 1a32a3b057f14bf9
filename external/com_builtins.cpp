// comobj(), comget() and dotnet(): automation objects.
#include "external/com_builtins.hpp"

#include "builtins/registry.hpp"
#include "runtime/error.hpp"
#include "external/dotnet_bridge.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

// There is no COM on this platform; managed objects are reached through the
// .NET bridge instead.
[[noreturn]] void comUnavailable(int line, const char *who) {
  raise_error(line,
              "COM automation is not available on this platform in %s(); use dotnet(assembly, "
              "type) to reach .NET objects",
              who);
}

void bi_comobj(Context &, int line, const Args &, Value &) { comUnavailable(line, "comobj"); }
void bi_comget(Context &, int line, const Args &, Value &) { comUnavailable(line, "comget"); }

void bi_dotnet(Context &, int line, const Args &a, Value &r) {
  MString *assembly = asString(a[0]);
  MString *type = asString(a[1]);
  if (!assembly || !type) raise_error(line, "Bad argument type in dotnet()");
  r = createDotNetObject(line, assembly->text.str(), type->text.str());
}

const BuiltinEntry kCom[] = {
    {"comobj", 1, bi_comobj},
    {"comget", 1, bi_comget},
    {"dotnet", 2, bi_dotnet},
};

}  // namespace

std::span<const BuiltinEntry> comBuiltins() { return kCom; }

}  // namespace marl
