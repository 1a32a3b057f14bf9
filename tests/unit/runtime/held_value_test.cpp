// Container elements as one 64-bit word: every double bit pattern, booleans,
// null and objects come back unchanged through arrays, hashes, copies, sort,
// pack/unpack and serial; the counters move as before.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "builtins/registry.hpp"
#include "builtins/call_builtin.hpp"
#include "io/serial.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

uint64_t bitsOf(double d) {
  uint64_t b;
  std::memcpy(&b, &d, sizeof b);
  return b;
}
double fromBits(uint64_t b) {
  double d;
  std::memcpy(&d, &b, sizeof d);
  return d;
}

// Patterns next to and inside the tag range, the usual special values, and
// NaNs of both signs with odd payloads.
const std::vector<uint64_t> &patterns() {
  static const std::vector<uint64_t> p = {
      0x0000000000000000ULL,  // +0
      0x8000000000000000ULL,  // -0
      0x7FF0000000000000ULL,  // +inf
      0xFFF0000000000000ULL,  // -inf
      0x7FF8000000000000ULL,  // quiet NaN
      0x7FF0000000000001ULL,  // signalling NaN
      0x7FFFFFFFFFFFFFFFULL,
      0xFFF8000000000000ULL,  // the NaN that 0/0 gives on x86-64
      0xFFF8FFFFFFFFFFFFULL,  // just below the tags
      0xFFF9000000000000ULL,  // looks like false
      0xFFF9000000000001ULL,  // looks like true
      0xFFFA000000000000ULL,  // looks like null
      0xFFFB123456789ABCULL,
      0xFFFE000000001000ULL,  // looks like an object
      0xFFFF000000000000ULL,  // looks like an empty box
      0xFFFFFFFFFFFFFFFFULL,
      0x0000000000000001ULL,  // smallest subnormal
      0x7FEFFFFFFFFFFFFFULL,  // largest finite
      0x3FF0000000000000ULL,  // 1
  };
  return p;
}

void expectNumber(const HeldValue &h, uint64_t bits) {
  EXPECT_EQ(h.kind(), Kind::Number);
  EXPECT_TRUE(h.isNumber());
  EXPECT_TRUE(h.isNumeric());
  EXPECT_FALSE(h.isBool());
  EXPECT_FALSE(h.isNull());
  EXPECT_FALSE(h.isObject());
  EXPECT_EQ(h.object(), nullptr);
  EXPECT_EQ(bitsOf(h.number()), bits);
  Value v = h.get();
  EXPECT_TRUE(v.isNumber());
  EXPECT_EQ(v.object, nullptr);
  EXPECT_EQ(bitsOf(v.number), bits);
  Value into = makeString("replaced");
  h.readInto(into);
  EXPECT_TRUE(into.isNumber());
  EXPECT_EQ(bitsOf(into.number), bits);
}

TEST(HeldValue, OneWordEach) { EXPECT_EQ(sizeof(HeldValue), 8u); }

TEST(HeldValue, EveryDoubleBitPatternRoundTrips) {
  for (uint64_t bits : patterns()) {
    SCOPED_TRACE(testing::Message() << std::hex << bits);
    HeldValue h(Value::num(fromBits(bits)));
    expectNumber(h, bits);
    HeldValue copy(h);
    expectNumber(copy, bits);
    HeldValue assigned;
    assigned = h;
    expectNumber(assigned, bits);
    HeldValue moved(std::move(copy));
    expectNumber(moved, bits);
    EXPECT_TRUE(copy.isNull());  // NOLINT(bugprone-use-after-move): the moved-from state
    assigned = std::move(moved);
    expectNumber(assigned, bits);
    // Over an object and back: the object is released, the number exact.
    Value s = makeString("s");
    HeldValue over(s);
    over = Value::num(fromBits(bits));
    EXPECT_EQ(s.object->refs, 0);
    expectNumber(over, bits);
    over.setNumber(fromBits(bits));
    expectNumber(over, bits);
    over = s;
    EXPECT_EQ(s.object->refs, 1);
  }
}

TEST(HeldValue, BooleansNullAndObjectsKeepTheirKinds) {
  HeldValue t(Value::boolean(true)), f(Value::boolean(false)), n;
  EXPECT_EQ(t.kind(), Kind::Bool);
  EXPECT_TRUE(t.isBool() && t.isNumeric() && !t.isNumber());
  EXPECT_EQ(t.number(), 1.0);
  EXPECT_EQ(f.kind(), Kind::Bool);
  EXPECT_EQ(bitsOf(f.get().number), 0u);
  EXPECT_TRUE(f.get().isBool());
  EXPECT_TRUE(n.isNull() && !n.isNumeric() && !n.isObject());
  EXPECT_EQ(n.kind(), Kind::Object);
  EXPECT_TRUE(n.get().isNull());
  EXPECT_TRUE(HeldValue(Value()).isNull());

  Value s = makeString("held");
  {
    HeldValue h(s);
    EXPECT_EQ(h.kind(), Kind::Object);
    EXPECT_TRUE(h.isObject() && !h.isNumeric() && !h.isNull());
    EXPECT_TRUE(h.is(ObjType::String));
    EXPECT_FALSE(h.is(ObjType::Array));
    EXPECT_EQ(h.object(), s.object);
    EXPECT_EQ(h.number(), 0.0);
    EXPECT_EQ(s.object->refs, 1);
    EXPECT_EQ(s.object->locks, 1);
    {
      Value read = h.get();
      EXPECT_EQ(read.object, s.object);
      EXPECT_EQ(s.object->locks, 2);  // reads lock, elements hold
      HeldValue second(h);
      EXPECT_EQ(s.object->refs, 2);
      Value into;
      h.readInto(into);
      EXPECT_EQ(s.object->locks, 3);
      h.readInto(into);  // the old lock goes as the new one comes
      EXPECT_EQ(s.object->locks, 3);
    }
    EXPECT_EQ(s.object->refs, 1);
    h = Value::boolean(true);
    EXPECT_EQ(s.object->refs, 0);
    EXPECT_TRUE(h.isBool());
  }
  EXPECT_EQ(s.object->locks, 1);
}

TEST(HeldValue, ArraysAndHashesKeepBitsThroughCopiesAndRemoval) {
  MArray *a = new MArray();
  Value av(a);
  MHash *h = new MHash();
  Value hv(h);
  const auto &p = patterns();
  for (size_t i = 0; i < p.size(); i++) {
    a->push(Value::num(fromBits(p[i])));
    h->set("k" + std::to_string(i), Value::num(fromBits(p[i])));
  }
  a->push(Value::boolean(true));
  a->push(Value());
  a->push(hv);
  // Growing past the end moves every element to new storage.
  ASSERT_TRUE(a->set(static_cast<long long>(p.size()) + 40, Value::boolean(false)));

  Value copyA(a->clone());
  Value copyH(h->clone());
  for (const Value &arr : {av, copyA}) {
    MArray *x = asArray(arr);
    for (size_t i = 0; i < p.size(); i++) expectNumber(x->items[i], p[i]);
    EXPECT_TRUE(x->items[p.size()].isBool());
    EXPECT_TRUE(x->items[p.size() + 1].isNull());
    EXPECT_EQ(x->items[p.size() + 2].object(), h);
    EXPECT_TRUE(x->items[p.size() + 3].isNull());
    EXPECT_TRUE(x->items.back().isBool());
  }
  EXPECT_EQ(h->refs, 2);
  for (const Value &hash : {hv, copyH})
    for (size_t i = 0; i < p.size(); i++)
      expectNumber(*asHash(hash)->find("k" + std::to_string(i)), p[i]);
  // Removing keys moves the last entry into the gap.
  Value out;
  ASSERT_TRUE(h->take("k0", out));
  EXPECT_EQ(bitsOf(out.number), p[0]);
  ASSERT_TRUE(h->erase("k1"));
  for (size_t i = 2; i < p.size(); i++) expectNumber(*h->find("k" + std::to_string(i)), p[i]);
}

TEST(HeldValue, DefaultSortKeepsEveryNaNPattern) {
  MArray *a = new MArray();
  Value av(a);
  for (uint64_t b : patterns()) a->push(Value::num(fromBits(b)));
  a->push(Value::boolean(true));
  test::callBuiltin(arrayBuiltins(), "sort", {av});
  ASSERT_EQ(a->size(), patterns().size() + 1);
  std::vector<uint64_t> want, got;
  for (uint64_t b : patterns()) want.push_back(b);
  for (const HeldValue &e : a->items)
    if (e.isNumber()) got.push_back(bitsOf(e.number()));
  std::sort(want.begin(), want.end());
  std::sort(got.begin(), got.end());
  EXPECT_EQ(got, want);
  size_t bools = 0;
  for (const HeldValue &e : a->items) bools += e.isBool();
  EXPECT_EQ(bools, 1u);
}

TEST(HeldValue, PackAndUnpackKeepEveryBitPattern) {
  std::string bytes;
  for (uint64_t b : patterns()) bytes.append(reinterpret_cast<const char *>(&b), 8);
  std::string tmpl = "v=double[" + std::to_string(patterns().size()) + "]";
  Value h = test::callBuiltin(packBuiltins(), "unpack", {makeString(tmpl), makeString(bytes)});
  MArray *v = asArray(asHash(h)->find("v")->get());
  ASSERT_NE(v, nullptr);
  for (size_t i = 0; i < patterns().size(); i++) expectNumber(v->items[i], patterns()[i]);
  Value again = test::callBuiltin(packBuiltins(), "pack", {makeString(tmpl), h});
  EXPECT_EQ(asString(again)->text, bytes);

  // One field at a time, through a hash value rather than an array.
  for (uint64_t b : patterns()) {
    std::string one(reinterpret_cast<const char *>(&b), 8);
    Value f =
        test::callBuiltin(packBuiltins(), "unpack", {makeString("d=double"), makeString(one)});
    expectNumber(*asHash(f)->find("d"), b);
    Value back = test::callBuiltin(packBuiltins(), "pack", {makeString("d=double"), f});
    EXPECT_EQ(asString(back)->text, one);
  }

  Value split =
      test::callBuiltin(packBuiltins(), "bsplit", {makeString(bytes), makeString("double")});
  for (size_t i = 0; i < patterns().size(); i++)
    expectNumber(asArray(split)->items[i], patterns()[i]);
}

TEST(HeldValue, SerialKeepsBitsKindsAndSharing) {
  MArray *a = new MArray();
  Value av(a);
  for (uint64_t b : patterns()) a->push(Value::num(fromBits(b)));
  MHash *h = new MHash();
  Value hv(h);
  h->set("nan", Value::num(fromBits(0xFFFE000000001000ULL)));
  h->set("t", Value::boolean(true));
  h->set("null", Value());
  a->push(Value::boolean(false));
  a->push(Value());
  a->push(hv);
  a->push(hv);
  std::string bytes = serializeValue(av);
  Value back = deserializeValue(bytes);
  MArray *b = asArray(back);
  ASSERT_NE(b, nullptr);
  size_t n = patterns().size();
  ASSERT_EQ(b->size(), n + 4);
  for (size_t i = 0; i < n; i++) expectNumber(b->items[i], patterns()[i]);
  EXPECT_TRUE(b->items[n].isBool());
  EXPECT_EQ(b->items[n].number(), 0.0);
  EXPECT_TRUE(b->items[n + 1].isNull());
  EXPECT_EQ(b->items[n + 2].object(), b->items[n + 3].object());
  MHash *bh = asHash(b->items[n + 2].get());
  ASSERT_NE(bh, nullptr);
  expectNumber(*bh->find("nan"), 0xFFFE000000001000ULL);
  EXPECT_TRUE(bh->find("t")->isBool());
  EXPECT_TRUE(bh->find("null")->isNull());
  EXPECT_EQ(serializeValue(back), bytes);
}

// Boxed numbers are not objects: the collector neither sees nor frees them,
// and a container freed while sweeping still frees its boxes (the sanitizer
// build reports a leak otherwise).
TEST(HeldValue, CollectedCyclesFreeTheirBoxes) {
  size_t before = registry().count;
  {
    MArray *a = new MArray();
    Value av(a);
    MArray *b = new MArray();
    b->push(av);
    a->push(Value(b));
    for (uint64_t bits : patterns()) {
      a->push(Value::num(fromBits(bits)));
      b->push(Value::num(fromBits(bits)));
    }
  }
  EXPECT_EQ(registry().count, before + 2);
  collect(false);
  EXPECT_EQ(registry().count, before);
}

}  // namespace
}  // namespace marl
