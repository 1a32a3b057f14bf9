// Object storage: cells handed out again after objects die must not overlap
// live objects of any size.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

// An object whose size grows with N, to reach every free list and beyond.
template <size_t N>
class Sized : public MRef {
 public:
  explicit Sized(unsigned char fill) { bytes.fill(fill); }
  std::array<unsigned char, N> bytes;
};

// Objects of one size with the fill each was given; every other one dies
// each round and the next round reuses the cells.
template <size_t N>
void churnAndCheck() {
  size_t before = registry().count;
  std::vector<std::pair<Value, unsigned char>> live;
  for (int round = 0; round < 4; round++) {
    for (int i = 0; i < 3000; i++) {
      auto fill = static_cast<unsigned char>(i * 7 + round);
      live.emplace_back(Value(new Sized<N>(fill)), fill);
    }
    std::vector<std::pair<Value, unsigned char>> survivors;
    for (size_t i = 0; i < live.size(); i += 2) survivors.push_back(live[i]);
    live.swap(survivors);
  }
  for (const auto &[v, fill] : live)
    for (unsigned char c : static_cast<Sized<N> *>(v.object)->bytes) ASSERT_EQ(c, fill);
  live.clear();
  EXPECT_EQ(registry().count, before);
}

TEST(ObjectStorage, ReusedCellsDoNotOverlapLiveObjects) {
  churnAndCheck<8>();
  churnAndCheck<100>();
  churnAndCheck<300>();  // past the largest pooled size
}

TEST(ObjectStorage, ContainersSurviveNeighboursDying) {
  std::vector<Value> strings;
  MHash *h = new MHash();
  Value holder(h);
  for (int i = 0; i < 5000; i++) {
    std::string text = "value " + std::to_string(i);
    strings.push_back(makeString(text));
    MArray *a = new MArray();
    Value ah(a);
    a->push(strings.back());
    h->set(std::to_string(i), ah);
    if (i % 3 == 0) strings.back().setNull();  // its cell is free for the next one
  }
  for (int i = 0; i < 5000; i++) {
    const HeldValue *e = h->find(std::to_string(i));
    ASSERT_NE(e, nullptr);
    MArray *a = static_cast<MArray *>(e->object());
    ASSERT_EQ(a->size(), 1u);
    EXPECT_EQ(static_cast<MString *>(a->items[0].object())->text, "value " + std::to_string(i));
  }
}

}  // namespace
}  // namespace marl

namespace marl {
namespace {

// Element vectors share the pools with objects: growing through every
// cell size and past the largest, with objects made in between, keeps
// every element.
TEST(ObjectStorage, ElementVectorsGrowAndShrinkAmongObjects) {
  std::vector<MArray::Items> vectors(50);
  std::vector<Value> objects;
  for (size_t n = 1; n <= 80; n++) {
    for (size_t v = 0; v < vectors.size(); v++) {
      vectors[v].emplace_back(Value::num(static_cast<double>(v * 1000 + n)));
      objects.push_back(makeString("between"));
    }
    if (n % 10 == 0) objects.clear();
  }
  for (size_t v = 0; v < vectors.size(); v++) {
    ASSERT_EQ(vectors[v].size(), 80u);
    for (size_t n = 1; n <= 80; n++) ASSERT_EQ(vectors[v][n - 1].number(), double(v * 1000 + n));
    vectors[v].resize(3);
    vectors[v].shrink_to_fit();
    EXPECT_EQ(vectors[v][2].number(), double(v * 1000 + 3));
  }
}

}  // namespace
}  // namespace marl
