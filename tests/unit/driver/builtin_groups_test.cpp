// All groups registered together: every variant present, in the overload
// order the groups have always had.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "builtins/registry.hpp"
#include "driver/builtin_groups.hpp"
#include "external/com_builtins.hpp"
#include "external/native_function.hpp"
#include "frontend/functions.hpp"
#include "graphics/drawing_builtins.hpp"
#include "tests/unit/support/fresh_interpreter.hpp"

namespace marl {
namespace {

using Variants = std::vector<std::pair<int32_t, BuiltinHandler>>;

// What the table must hold when the groups are registered in this order and
// a later variant of equal arity replaces an earlier one (moving to the end).
std::map<std::string, Variants> expectedTable() {
  const std::span<const BuiltinEntry> groups[] = {
      coreBuiltins(),   stringBuiltins(),   encodingBuiltins(), arrayBuiltins(),  mathBuiltins(),
      regexpBuiltins(), fileBuiltins(),     systemBuiltins(),   formatBuiltins(), packBuiltins(),
      serialBuiltins(), graphicsBuiltins(), nativeBuiltins(),   comBuiltins(),
  };
  std::map<std::string, Variants> table;
  for (auto group : groups) {
    for (const BuiltinEntry &e : group) {
      Variants &v = table[e.name];
      std::erase_if(v, [&](const auto &p) { return p.first == e.arity; });
      v.emplace_back(e.arity, e.handler);
    }
  }
  return table;
}

TEST(BuiltinGroups, RegisterEveryGroupInOverloadOrder) {
  test::freshInterpreter();
  registerAllBuiltins();
  std::map<std::string, Variants> expected = expectedTable();
  ASSERT_EQ(functionTable().size(), expected.size());
  for (const auto &[name, info] : functionTable()) {
    Variants got;
    for (const func_data *d : info->variants) got.emplace_back(d->arity, d->handler);
    EXPECT_EQ(got, expected[name]) << name;
  }
  test::freshInterpreter();
}

}  // namespace
}  // namespace marl
