// Counting, the collector and the container storage rules.
#include <gtest/gtest.h>

#include <cmath>

#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

size_t live() { return registry().count; }

TEST(Counting, ObjectDiesWithItsLastHolder) {
  size_t before = live();
  {
    Value s = makeString("abc");
    Value t = s;
    EXPECT_EQ(s.object->locks, 2);
    EXPECT_EQ(live(), before + 1);
  }
  EXPECT_EQ(live(), before);
}

TEST(Counting, SelfAssignmentKeepsCounters) {
  Value s = makeString("x");
  Value &alias = s;
  s = alias;
  EXPECT_EQ(s.object->locks, 1);
  MArray *a = new MArray(1);
  Value holder(a);
  a->items[0] = s;
  a->items[0] = a->items[0];
  EXPECT_EQ(s.object->refs, 1);
}

TEST(Counting, ContainerReleasesElements) {
  size_t before = live();
  {
    MArray *a = new MArray();
    Value holder(a);
    a->push(makeString("one"));
    a->push(makeString("two"));
    EXPECT_EQ(live(), before + 3);
  }
  EXPECT_EQ(live(), before);
}

TEST(Collector, CyclesSurviveCountingAndDieInCollection) {
  collect(true);  // garbage left by other tests must not skew the count
  size_t before = live();
  {
    MArray *a = new MArray();
    MArray *b = new MArray();
    Value va(a), vb(b);
    a->push(vb);
    b->push(va);
  }
  EXPECT_EQ(live(), before + 2);
  collect(true);
  EXPECT_EQ(live(), before);
}

TEST(Collector, LockedObjectsAndWhatTheyHoldSurvive) {
  MArray *outer = new MArray();
  Value keep(outer);
  MArray *inner = new MArray();
  outer->push(Value(inner));
  inner->push(makeString("deep"));
  size_t count = live();
  collect(true);
  EXPECT_EQ(live(), count);
  ASSERT_EQ(outer->size(), 1u);
}

TEST(Collector, MillionNestedArraysNeedNoDeepStack) {
  collect(true);
  size_t before = live();
  {
    MArray *root = new MArray();
    Value holder(root);
    MArray *cur = root;
    for (int i = 0; i < 1000000; i++) {
      MArray *next = new MArray();
      cur->push(Value(next));
      cur = next;
    }
    // A cycle back to the root forces the collector to do the freeing.
    cur->push(holder);
  }
  collect(true);
  EXPECT_EQ(live(), before);
}

TEST(Collector, LongChainFreedByCountingWithoutRecursion) {
  size_t before = live();
  {
    MArray *root = new MArray();
    Value holder(root);
    MArray *cur = root;
    for (int i = 0; i < 1000000; i++) {
      MArray *next = new MArray();
      cur->push(Value(next));
      cur = next;
    }
  }
  EXPECT_EQ(live(), before);
}

// Strings are roots when locked, like every object, though the collector
// never marks from them.
TEST(Collector, LockedStringsSurviveUnlockedGarbageStringsGo) {
  collect(true);
  size_t before = live();
  Value alone = makeString("alone");
  {
    MArray *a = new MArray();
    Value va(a);
    a->push(va);
    a->push(makeString("in a cycle"));
  }
  EXPECT_EQ(live(), before + 3);
  collect(true);
  EXPECT_EQ(live(), before + 1);
  EXPECT_TRUE(asString(alone)->text == std::string_view("alone"));
  collect(true);
  EXPECT_EQ(live(), before + 1);
}

// Marks left over from one collection would keep the next one's garbage.
TEST(Collector, SurvivorsOfOneCollectionCanDieInTheNext) {
  collect(true);
  size_t before = live();
  MArray *outer = new MArray();
  Value keep(outer);
  {
    MArray *a = new MArray();
    MArray *b = new MArray();
    Value va(a), vb(b);
    a->push(vb);
    b->push(va);
    a->push(makeString("held by a cycle"));
    MHash *h = new MHash();
    b->push(Value(h));
    h->set("k", makeString("held by a hash in the cycle"));
    outer->push(va);
  }
  collect(true);
  EXPECT_EQ(live(), before + 6);
  outer->items.clear();
  collect(true);
  EXPECT_EQ(live(), before + 1);
}

TEST(Collector, DroppedNestingOfManyStringsIsFreed) {
  size_t before = live();
  {
    MArray *outer = new MArray();
    Value holder(outer);
    MArray *inner = new MArray(200000);
    outer->push(Value(inner));
    for (size_t i = 0; i < inner->size(); i++) inner->items[i] = makeString(std::to_string(i));
    MHash *h = new MHash();
    outer->push(Value(h));
    h->set("s", makeString("x"));
    collect(true);
    EXPECT_EQ(live(), before + 200004);
  }
  EXPECT_EQ(live(), before);
}

TEST(Collector, AutomaticThresholdFollowsLiveCount) {
  collect(true);
  std::vector<Value> keep;
  for (int i = 0; i < 40; i++) keep.push_back(makeString("k"));
  registry().threshold = live();
  maybeCollect();
  size_t c = live();
  EXPECT_EQ(registry().threshold, c < 16 ? c + 16 : 2 * c);
}

TEST(Truth, TableOfFalseValues) {
  EXPECT_FALSE(truth(Value::num(std::nan(""))));
  EXPECT_FALSE(truth(Value::num(0)));
  EXPECT_FALSE(truth(Value()));
  EXPECT_FALSE(truth(makeString("")));
  EXPECT_TRUE(truth(makeString("0")));
  EXPECT_FALSE(truth(Value(new MArray())));
  EXPECT_FALSE(truth(Value(new MHash())));
  EXPECT_TRUE(truth(Value(new MArray(1))));
  EXPECT_TRUE(truth(Value::boolean(true)));
  EXPECT_TRUE(truth(Value::num(-0.5)));
}

TEST(Containers, ArraySetGrowsWithNullsAndRejectsNegative) {
  MArray *a = new MArray();
  Value holder(a);
  EXPECT_TRUE(a->set(5, Value::num(1)));
  ASSERT_EQ(a->size(), 6u);
  for (int i = 0; i < 5; i++) EXPECT_TRUE(a->items[i].isNull());
  EXPECT_FALSE(a->set(-1, Value::num(2)));
  EXPECT_EQ(a->size(), 6u);
  EXPECT_EQ(a->at(-1), nullptr);
  EXPECT_EQ(a->at(6), nullptr);
}

TEST(Containers, HashKeysInUnsignedByteOrder) {
  MHash *h = new MHash();
  Value holder(h);
  for (const char *k : {"b", "ab", "a", "B", "\xe0", "c"}) h->set(k, Value::num(1));
  std::vector<std::string> keys;
  for (auto &e : h->entries) keys.push_back(e.first);
  EXPECT_EQ(keys, (std::vector<std::string>{"B", "a", "ab", "b", "c", "\xe0"}));
  Value out;
  EXPECT_TRUE(h->take("ab", out));
  EXPECT_FALSE(h->take("ab", out));
  EXPECT_EQ(h->size(), 5u);
}

TEST(Containers, CloneIsShallow) {
  MArray *inner = new MArray(1);
  MArray *outer = new MArray();
  Value vo(outer);
  outer->push(Value(inner));
  outer->push(Value::num(1));
  Value copy(outer->clone());
  MArray *c = static_cast<MArray *>(copy.object);
  EXPECT_EQ(c->items[0].object(), inner);
  c->items[1] = Value::num(2);
  EXPECT_EQ(outer->items[1].number(), 1);
}

TEST(Containers, StringsHoldNulBytes) {
  Value s = makeString(std::string("a\0b", 3));
  EXPECT_EQ(asString(s)->text.size(), 3u);
}

}  // namespace
}  // namespace marl
