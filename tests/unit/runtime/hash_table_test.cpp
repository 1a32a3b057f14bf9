// Hash storage: lookups, the byte order of keys through every change, and
// the values' counters.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

using namespace std::string_literals;
using Reference = std::map<std::string, double>;

// Compares everything observable: size, every lookup, and the key order.
void expectSame(const HashTable &t, const Reference &ref) {
  ASSERT_EQ(t.size(), ref.size());
  auto it = t.begin();
  for (const auto &[key, number] : ref) {
    ASSERT_FALSE(it == t.end());
    EXPECT_EQ(it->first, key);
    EXPECT_EQ(it->second.number(), number);
    ++it;
    const HeldValue *found = t.find(key);
    ASSERT_NE(found, nullptr) << key;
    EXPECT_EQ(found->number(), number);
  }
  EXPECT_TRUE(it == t.end());
}

// Keys that share prefixes, use high bytes and NULs, and include "".
std::string randomKey(std::mt19937 &rng, int spread) {
  static const char kBytes[] = {'a', 'b', 'z', '\0', '\x7f', '\x80', '\xff', '0'};
  std::string k;
  int n = static_cast<int>(rng() % 4);
  for (int i = 0; i < n; i++) k += kBytes[rng() % sizeof kBytes];
  return k + std::to_string(rng() % spread);
}

TEST(HashTable, MatchesAnOrderedMapThroughRandomChanges) {
  for (int spread : {5, 40, 3000}) {  // scanned, just indexed, large and rehashed
    std::mt19937 rng(spread);
    HashTable t;
    Reference ref;
    for (int round = 0; round < 40; round++) {
      for (int i = 0; i < spread / 2 + 3; i++) {
        std::string k = randomKey(rng, spread);
        switch (rng() % 5) {
          case 0:
          case 1:
          case 2: {
            double n = static_cast<double>(rng() % 1000);
            t.set(k, Value::num(n));
            ref[k] = n;
            break;
          }
          case 3:
            EXPECT_EQ(t.erase(k), ref.erase(k) == 1) << k;
            break;
          default: {
            Value out;
            bool had = ref.count(k) != 0;
            ASSERT_EQ(t.take(k, out), had) << k;
            if (had) {
              EXPECT_EQ(out.number, ref[k]);
            }
            ref.erase(k);
          }
        }
        EXPECT_EQ(t.find(k) != nullptr, ref.count(k) != 0) << k;
      }
      // Iterating between changes sorts a part and merges it in later.
      if (round % 3 == 0) expectSame(t, ref);
    }
    expectSame(t, ref);
    HashTable copy(t);
    t.clear();
    expectSame(copy, ref);
    expectSame(t, {});
  }
}

// Keys of every length that differ in one byte only, in scanned tables (a
// few keys) and indexed ones (many): each byte takes part in the compare.
TEST(HashTable, KeysDifferingInOneByteAreDistinct) {
  for (size_t len = 1; len <= 40; len++) {
    HashTable t;
    std::string base(len, 'k');
    base[len / 3] = '\0';
    t.set(base, Value::num(-1));
    for (size_t at = 0; at < len; at++) {
      std::string other = base;
      other[at] ^= 0x41;
      EXPECT_EQ(t.find(other), nullptr) << len << " " << at;
    }
    for (size_t at = 0; at < len; at++) {
      std::string other = base;
      other[at] ^= 0x41;
      t.set(other, Value::num(static_cast<double>(at)));
    }
    ASSERT_EQ(t.size(), len + 1);
    EXPECT_EQ(t.find(base)->number(), -1);
    for (size_t at = 0; at < len; at++) {
      std::string other = base;
      other[at] ^= 0x41;
      EXPECT_EQ(t.find(other)->number(), static_cast<double>(at)) << len << " " << at;
    }
  }
}

TEST(HashTable, KeysRemovedAndAddedAgainKeepByteOrder) {
  HashTable t;
  Reference ref;
  const std::string keys[] = {"b"s, "ab"s, "a"s, ""s, "\xff"s, "a\0b"s, "abc"s, "B"s, "\x80"s};
  for (int pass = 0; pass < 3; pass++) {
    for (const std::string &k : keys) {
      t.set(k, Value::num(pass));
      ref[k] = pass;
    }
    expectSame(t, ref);
    for (const char *k : {"a", "", "\xff", "B"}) {
      t.erase(k);
      ref.erase(k);
    }
    expectSame(t, ref);
  }
  for (int i = 100; i > 0; i--) {  // into the indexed form, in reverse order
    std::string k = "k" + std::to_string(i);
    t.set(k, Value::num(i));
    ref[k] = i;
    t.erase("ab");
    ref.erase("ab");
    t.set("ab", Value::num(-i));
    ref["ab"] = -i;
  }
  expectSame(t, ref);
}

TEST(HashTable, AssigningAValueKeepsTheOrderAndIterators) {
  HashTable t;
  for (int i = 0; i < 50; i++) t.set(std::to_string(i), Value::num(i));
  auto it = t.begin();
  ++it;
  t.set("10", Value::num(99));  // an existing key: no new order needed
  EXPECT_EQ(it->first, "1");
  ++it;
  EXPECT_EQ(it->first, "10");
  EXPECT_EQ(it->second.number(), 99);
}

TEST(HashTable, ValuesAreHeldAndReleased) {
  size_t before = registry().count;
  {
    MHash *h = new MHash();
    Value holder(h);
    for (int i = 0; i < 30; i++) h->set("s" + std::to_string(i), makeString("v"));
    EXPECT_EQ(registry().count, before + 31);
    EXPECT_EQ(h->find("s3")->object()->refs, 1);
    h->erase("s3");
    EXPECT_EQ(registry().count, before + 30);
    Value taken;
    ASSERT_TRUE(h->take("s4", taken));
    EXPECT_EQ(taken.object->refs, 0);
    EXPECT_EQ(taken.object->locks, 1);
    h->set("s5", Value::num(1));  // replacing a string frees it
    EXPECT_EQ(registry().count, before + 29);
    Value copy(h->clone());
    EXPECT_EQ(h->find("s6")->object()->refs, 2);
    EXPECT_EQ(asHash(copy)->size(), 28u);
    h->clear();
    EXPECT_EQ(h->size(), 0u);
    EXPECT_EQ(asHash(copy)->find("s6")->object()->refs, 1);
  }
  EXPECT_EQ(registry().count, before);
}

}  // namespace
}  // namespace marl
