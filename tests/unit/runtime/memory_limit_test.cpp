// The check that refuses allocations no machine here could hold.
#include <gtest/gtest.h>

#include <cstdint>

#include "runtime/memory_limit.hpp"

namespace marl {
namespace {

TEST(MemoryLimit, BeyondMemoryAtTheEdges) {
  const uint64_t limit = processMemoryLimit();
  ASSERT_GT(limit, 16u);
  EXPECT_FALSE(beyondMemory(limit, 1));
  EXPECT_TRUE(beyondMemory(limit + 1, 1));
  EXPECT_FALSE(beyondMemory(limit / 8, 8));
  EXPECT_TRUE(beyondMemory(limit / 8 + 1, 8));
  EXPECT_TRUE(beyondMemory(UINT64_MAX / 2 + 1, 2));  // the product overflows
  EXPECT_TRUE(beyondMemory(UINT64_MAX, UINT64_MAX));
  EXPECT_FALSE(beyondMemory(UINT64_MAX, 0));
  EXPECT_FALSE(beyondMemory(0, UINT64_MAX));
}

}  // namespace
}  // namespace marl
