// The native-function and COM groups: their surface, and the COM built-ins'
// refusal on this platform.
#include <gtest/gtest.h>

#include "external/com_builtins.hpp"
#include "external/native_function.hpp"
#include "tests/unit/builtins/call_builtin.hpp"

namespace marl {
namespace {

using test::errorOf;
using test::S;
using test::surface;

TEST(ExternalGroups, RegisterTheirVariants) {
  EXPECT_EQ(surface(nativeBuiltins()), "dllfunc/2");
  EXPECT_EQ(surface(comBuiltins()), "comobj/1 comget/1 dotnet/2");
}

TEST(ExternalGroups, ComIsUnavailableAndPointsToTheNetBridge) {
  EXPECT_EQ(errorOf(comBuiltins(), "comobj", {S("Excel.Application")}),
            "error [7]: COM automation is not available on this platform in comobj(); use "
            "dotnet(assembly, type) to reach .NET objects");
  EXPECT_EQ(errorOf(comBuiltins(), "comget", {S("winmgmts:")}),
            "error [7]: COM automation is not available on this platform in comget(); use "
            "dotnet(assembly, type) to reach .NET objects");
  EXPECT_EQ(errorOf(comBuiltins(), "dotnet", {Value(), S("X")}),
            "error [7]: Bad argument type in dotnet()");
}

TEST(ExternalGroups, DllfuncChecksItsArgumentsBeforeLoading) {
  EXPECT_EQ(errorOf(nativeBuiltins(), "dllfunc", {S("libm.so.6"), Value::num(1)}),
            "error [7]: Bad argument type in dllfunc()");
  EXPECT_EQ(errorOf(nativeBuiltins(), "dllfunc", {S("libnot-there.so"), S("int f(")}),
            "error [7]: Bad declaration in dllfunc(): type expected in \"int f(\"");
  Value f =
      test::callBuiltin(nativeBuiltins(), "dllfunc", {S("libm.so.6"), S("double fabs(double)")});
  EXPECT_STREQ(f.object ? f.object->typeName() : "", "dllfunc");
}

}  // namespace
}  // namespace marl
