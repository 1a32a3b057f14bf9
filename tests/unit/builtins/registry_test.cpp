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
      {"core", coreBuiltins, 23, 21},       {"string", stringBuiltins, 30, 20},
      {"encoding", encodingBuiltins, 2, 2}, {"array", arrayBuiltins, 24, 17},
      {"math", mathBuiltins, 42, 36},       {"regexp", regexpBuiltins, 6, 5},
      {"file", fileBuiltins, 19, 11},       {"system", systemBuiltins, 29, 22},
      {"format", formatBuiltins, 4, 4},     {"pack", packBuiltins, 7, 5},
      {"serial", serialBuiltins, 2, 2},
  };
  size_t variants = 0, names = 0;
  for (const GroupSize &s : sizes) {
    variants += s.entries().size();
    names += distinctNames(s.entries());
  }
  // The library proper; graphics, native functions and COM come on top.
  EXPECT_EQ(variants, 188u);
  EXPECT_EQ(names, 145u);
  for (const GroupSize &s : sizes) {
    EXPECT_EQ(s.entries().size(), s.variants) << s.group;
    EXPECT_EQ(distinctNames(s.entries()), s.names) << s.group;
  }
}

TEST(Registry, NoGroupRegistersOneArityTwice) {
  for (auto group :
       {coreBuiltins, stringBuiltins, encodingBuiltins, arrayBuiltins, mathBuiltins, regexpBuiltins,
        fileBuiltins, systemBuiltins, formatBuiltins, packBuiltins, serialBuiltins}) {
    std::set<std::pair<std::string, int>> seen;
    for (const BuiltinEntry &e : group())
      EXPECT_TRUE(seen.insert({e.name, e.arity}).second) << e.name << "/" << e.arity;
  }
}

}  // namespace
}  // namespace marl
