// The registry's groups: their sizes and the overload rules of the table.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "builtins/registry.hpp"

namespace marl {
namespace {

struct GroupSize {
  const char *group;
  std::span<const BuiltinEntry> (*entries)();
  size_t variants;
  size_t names;
};

size_t distinctNames(std::span<const BuiltinEntry> g) {
  std::set<std::string> names;
  for (const BuiltinEntry &e : g) names.insert(e.name);
  return names.size();
}

TEST(Registry, GroupsHaveTheirVariantsAndNames) {
  const GroupSize sizes[] = {
      {"core", coreBuiltins, 23, 21},
      {"format", formatBuiltins, 4, 4},
      {"file", fileBuiltins, 19, 11},
  };
  for (const GroupSize &s : sizes) {
    EXPECT_EQ(s.entries().size(), s.variants) << s.group;
    EXPECT_EQ(distinctNames(s.entries()), s.names) << s.group;
  }
}

TEST(Registry, NoGroupRegistersOneArityTwice) {
  for (auto group : {coreBuiltins, formatBuiltins, fileBuiltins}) {
    std::set<std::pair<std::string, int>> seen;
    for (const BuiltinEntry &e : group())
      EXPECT_TRUE(seen.insert({e.name, e.arity}).second) << e.name << "/" << e.arity;
  }
}

}  // namespace
}  // namespace marl
