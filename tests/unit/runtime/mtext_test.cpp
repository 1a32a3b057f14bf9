// String texts: inline up to the limit, on the heap beyond it, always
// NUL-terminated, any bytes inside.
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <set>
#include <string>

#include "runtime/mstring.hpp"
#include "runtime/mtext.hpp"

namespace marl {
namespace {

// Bytes that include NULs and high bytes, so a C-string shortcut shows.
std::string pattern(size_t n) {
  std::string s;
  for (size_t i = 0; i < n; i++) s += static_cast<char>(i % 5 == 0 ? 0 : 0x7F + i * 13);
  return s;
}

void expectText(const MText &t, const std::string &want) {
  ASSERT_EQ(t.size(), want.size());
  EXPECT_EQ(t.view(), want);
  EXPECT_EQ(t.c_str()[want.size()], '\0');
  EXPECT_GE(t.capacity(), t.size());
  EXPECT_EQ(t.empty(), want.empty());
}

TEST(MText, BoundaryLengthsRoundTrip) {
  const size_t k = MText::kInline;
  for (size_t n : {size_t{0}, size_t{1}, k - 1, k, k + 1, k + 2, size_t{100}, size_t{4096}}) {
    std::string want = pattern(n);
    MText t(want);
    expectText(t, want);
    MText copy(t);
    expectText(copy, want);
    MText assigned;
    assigned = t;
    expectText(assigned, want);
  }
}

TEST(MText, GrowsByteByByteAcrossTheInlineLimit) {
  MText t;
  std::string want;
  for (size_t i = 0; i < 300; i++) {
    char c = static_cast<char>(i % 7 == 0 ? 0 : 'a' + i % 26);
    t.push_back(c);
    want.push_back(c);
    expectText(t, want);
  }
}

TEST(MText, AppendsInPlaceWithAmortizedGrowth) {
  MText t;
  std::set<const char *> buffers;
  for (int i = 0; i < 100000; i++) {
    t += 'x';
    buffers.insert(t.data());
  }
  EXPECT_EQ(t.size(), 100000u);
  // Doubling: a few dozen buffers at most, not one per append.
  EXPECT_LT(buffers.size(), 40u);
  // Within the capacity the bytes stay where they are.
  t.reserve(t.size() + 10);
  const char *at = t.data();
  t.append("0123456789", 10);
  EXPECT_EQ(t.data(), at);
  EXPECT_EQ(t.view().substr(100000), "0123456789");
}

TEST(MText, AppendAndAssignFromItsOwnBytes) {
  for (size_t n : {size_t{5}, size_t{14}, size_t{20}, size_t{100}}) {
    std::string want = pattern(n);
    MText t(want);
    t.append(t.view());  // inline to inline, across the limit, heap to heap
    expectText(t, want + want);
    t.assign(t.view().substr(3));
    expectText(t, (want + want).substr(3));
  }
}

TEST(MText, ResizeClearAndCompare) {
  MText t(std::string_view("abc"));
  t.resize(40, 'z');
  expectText(t, "abc" + std::string(37, 'z'));
  t.resize(2);
  expectText(t, "ab");
  t.resize(5);
  expectText(t, std::string("ab\0\0\0", 5));
  t.clear();
  expectText(t, "");
  t.append(std::string_view());  // no address at all
  t.assign(std::string_view());
  expectText(t, "");
  t.append(size_t{3}, 'q');
  EXPECT_TRUE(t == std::string_view("qqq"));
  EXPECT_LT(t.compare("qqr"), 0);
  EXPECT_GT(t.compare(std::string_view("qq\0", 3)), 0);
  // Sizes no machine could hold fail cleanly and leave the text as it was.
  EXPECT_THROW(t.append(SIZE_MAX, 'x'), std::bad_alloc);
  EXPECT_THROW(t.resize(SIZE_MAX), std::bad_alloc);
  expectText(t, "qqq");
}

TEST(MText, ShortStringLivesInsideItsObject) {
  std::string at28(MText::kInline, '\0');
  Value s = makeString(at28);
  const char *object = reinterpret_cast<const char *>(s.object);
  const char *bytes = asString(s)->text.data();
  EXPECT_TRUE(bytes > object && bytes + MText::kInline < object + sizeof(MString));
  Value longer = makeString(pattern(MText::kInline + 1));
  expectText(asString(longer)->text, pattern(MText::kInline + 1));
  Value zeros(MString::zeroed(24));
  expectText(asString(zeros)->text, std::string(24, '\0'));
}

}  // namespace
}  // namespace marl
