// The serialized byte format: exact bytes, shared objects and cycles, and
// hostile or truncated input.
#include <gtest/gtest.h>

#include <string>

#include "runtime/error.hpp"
#include "io/serial.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

using namespace std::string_literals;

std::string u32(uint32_t n) {
  std::string s(4, '\0');
  for (int i = 0; i < 4; i++) s[i] = static_cast<char>(n >> (8 * i));
  return s;
}
std::string str(std::string_view s) {
  return u32(static_cast<uint32_t>(s.size())) + std::string(s);
}
std::string newObject(std::string_view type) { return "\x02\x00"s + str(type); }
std::string reference(uint32_t n) { return "\x02\x01"s + u32(n); }

Value array(std::initializer_list<Value> items) {
  MArray *a = new MArray();
  Value v(a);
  for (const Value &e : items) a->push(e);
  return v;
}

MArray *arr(const Value &v) { return asArray(v); }

std::string errorOf(std::string_view bytes) {
  try {
    deserializeValue(bytes);
  } catch (const ScriptError &e) {
    return e.what();
  }
  return "";
}

// An object of a class that has no serialized form.
class Opaque : public MRef {
 public:
  const char *typeName() const override { return "funcref"; }
};

TEST(SerialFormat, ScalarsAndNull) {
  EXPECT_EQ(serializeValue(Value::num(1)), "\x00\x00\x00\x00\x00\x00\x00\xF0\x3F"s);
  EXPECT_EQ(serializeValue(Value()), "\x02\x01\x00\x00\x00\x00"s);
  EXPECT_EQ(serializeValue(Value::boolean(true)), "\x01\x01"s);
  EXPECT_EQ(serializeValue(Value::boolean(false)), "\x01\x00"s);
  Value t = deserializeValue("\x01\x01"s);
  EXPECT_TRUE(t.isBool());
  EXPECT_EQ(t.number, 1.0);
  EXPECT_EQ(deserializeValue(serializeValue(Value::num(-2.5))).number, -2.5);
}

TEST(SerialFormat, StringArrayAndHashBodies) {
  EXPECT_EQ(serializeValue(makeString("abc")),
            "\x02\x00\x06\x00\x00\x00string\x03\x00\x00\x00"
            "abc"s);
  EXPECT_EQ(
      serializeValue(array({Value::num(0), makeString("")})),
      newObject("array") + u32(2) + "\x00"s + std::string(8, '\0') + newObject("string") + u32(0));
  // Entries go in key order, whatever the insertion order.
  MHash *h = new MHash();
  Value hv(h);
  h->set("b", Value::boolean(true));
  h->set("a", Value());
  EXPECT_EQ(serializeValue(hv),
            newObject("hash") + u32(2) + str("a") + reference(0) + str("b") + "\x01\x01"s);
  Value back = deserializeValue(serializeValue(hv));
  MHash *h2 = asHash(back);
  ASSERT_NE(h2, nullptr);
  EXPECT_EQ(h2->size(), 2u);
  EXPECT_TRUE(h2->find("a")->isNull());
  EXPECT_EQ(h2->find("b")->kind(), Kind::Bool);
}

TEST(SerialFormat, CycleBecomesReferenceAndComesBack) {
  Value a = array({Value::num(7)});
  arr(a)->push(a);
  std::string bytes = serializeValue(a);
  EXPECT_EQ(bytes, newObject("array") + u32(2) + "\x00"s + std::string(6, '\0') + "\x1C\x40"s +
                       reference(1));
  Value b = deserializeValue(bytes);
  ASSERT_NE(arr(b), nullptr);
  EXPECT_EQ(arr(b)->items[1].object(), b.object);
  EXPECT_EQ(arr(b)->items[0].number(), 7.0);
  arr(a)->items[1] = Value();  // break the cycles so counting frees them
  arr(b)->items[1] = Value();
}

TEST(SerialFormat, SharedStringIsWrittenOnceAndStaysShared) {
  Value s = makeString("shared");
  Value a = array({s, s, array({s})});
  std::string bytes = serializeValue(a);
  EXPECT_EQ(bytes.find("shared"), bytes.rfind("shared"));
  // The array is object 1, the string object 2.
  EXPECT_NE(bytes.find(reference(2)), std::string::npos);
  Value b = deserializeValue(bytes);
  MArray *outer = arr(b);
  ASSERT_EQ(outer->size(), 3u);
  EXPECT_EQ(outer->items[0].object(), outer->items[1].object());
  EXPECT_EQ(arr(outer->items[2].get())->items[0].object(), outer->items[0].object());
  EXPECT_EQ(asString(outer->items[0].get())->text, "shared");
}

TEST(SerialErrors, UnserializableObjectsAndUnknownFactories) {
  Value a = array({Value::num(1), Value(new Opaque())});
  try {
    serializeValue(a);
    ADD_FAILURE() << "no error";
  } catch (const ScriptError &e) {
    EXPECT_STREQ(e.what(), "error: Object not serializable");
  }
  EXPECT_EQ(errorOf(newObject("func")), "error: Factory not found for func");
  EXPECT_EQ(errorOf(newObject("String")), "error: Factory not found for String");
  EXPECT_EQ(errorOf(newObject("%s%n")), "error: Factory not found for %s%n");
}

TEST(SerialErrors, OddKindsTagsAndReferencesGiveNull) {
  EXPECT_TRUE(deserializeValue("\x07").isNull());
  EXPECT_TRUE(deserializeValue("\x02\x05").isNull());
  EXPECT_TRUE(deserializeValue(reference(1)).isNull());
  // Object 1 is the array itself; 2 does not exist yet.
  Value v = deserializeValue(newObject("array") + u32(2) + reference(2) + reference(1));
  EXPECT_TRUE(arr(v)->items[0].isNull());
  EXPECT_EQ(arr(v)->items[1].object(), v.object);
  arr(v)->items[1] = Value();
  // Bytes after the value are ignored.
  EXPECT_EQ(deserializeValue("\x01\x01garbage"s).number, 1.0);
}

TEST(SerialErrors, CountsBeyondTheInputReadZeros) {
  // The elements past the end are numbers 0, the entries past the end the key "" with 0.
  Value v = deserializeValue(newObject("array") + u32(5) + "\x01\x00\x01"s);
  ASSERT_EQ(arr(v)->size(), 5u);
  EXPECT_EQ(arr(v)->items[0].kind(), Kind::Bool);
  EXPECT_EQ(arr(v)->items[1].kind(), Kind::Bool);  // its byte is cut off
  for (size_t i = 2; i < 5; i++)
    EXPECT_TRUE(arr(v)->items[i].kind() == Kind::Number && arr(v)->items[i].number() == 0) << i;
  Value h = deserializeValue(newObject("hash") + u32(3) + str("k") + "\x01\x01"s);
  ASSERT_EQ(asHash(h)->size(), 2u);
  EXPECT_EQ(asHash(h)->find("")->number(), 0.0);
  EXPECT_EQ(
      asHash(deserializeValue(newObject("hash") + u32(0xFFFFFFFF) + std::string(20, '\0')))->size(),
      1u);
  // Containers open at the end are all completed: [[true, 0], 0, 0].
  std::string nested = newObject("array") + u32(3) + newObject("array") + u32(2) + "\x01\x01"s;
  Value n = deserializeValue(nested);
  ASSERT_EQ(arr(n)->size(), 3u);
  EXPECT_EQ(arr(arr(n)->items[0].get())->size(), 2u);
  EXPECT_EQ(arr(arr(n)->items[0].get())->items[1].number(), 0.0);
  EXPECT_EQ(arr(n)->items[2].number(), 0.0);
}

TEST(SerialErrors, ZerosBeyondMemoryAreRefusedBeforeAllocating) {
  // Ten open arrays each owed 2^32 - 2 zeros: far more than any memory.
  std::string bytes;
  for (int i = 0; i < 10; i++) bytes += newObject("array") + u32(0xFFFFFFFF);
  EXPECT_EQ(errorOf(bytes), "error: Not enough memory in deserial()");
  // Elements present in the input are read one at a time, whatever the count claims.
  std::string inner = newObject("array") + u32(1000);
  Value v = deserializeValue(newObject("array") + u32(1000) + inner + std::string(1000, '\x01'));
  ASSERT_EQ(arr(v)->size(), 1000u);
  MArray *in = arr(arr(v)->items[0].get());
  ASSERT_EQ(in->size(), 1000u);
  EXPECT_EQ(in->items[499].kind(), Kind::Bool);
  EXPECT_EQ(in->items[500].kind(), Kind::Number);
}

TEST(SerialErrors, RepeatedHashKeyDropsAnObjectThatIsReferencedLater) {
  // [ hash(k = [], k = 5), ref 3 ]: the dropped array must still be alive.
  std::string bytes = newObject("array") + u32(2) + newObject("hash") + u32(2) + str("k") +
                      newObject("array") + u32(0) + str("k") + "\x01\x01"s + reference(3);
  Value v = deserializeValue(bytes);
  MArray *outer = arr(v);
  EXPECT_EQ(asHash(outer->items[0].get())->find("k")->kind(), Kind::Bool);
  ASSERT_NE(arr(outer->items[1].get()), nullptr);
  EXPECT_EQ(arr(outer->items[1].get())->size(), 0u);
}

TEST(SerialErrors, TruncatedInputReadsZeros) {
  EXPECT_EQ(deserializeValue("").kind, Kind::Number);
  std::string abc = serializeValue(makeString("abc"));
  EXPECT_EQ(asString(deserializeValue(abc.substr(0, 17)))->text, "a");
  EXPECT_EQ(asString(deserializeValue(abc.substr(0, 14)))->text, "");
  // 2.5 is 00 00 00 00 00 00 04 40: without its last byte it reads as a tiny number.
  Value cut = deserializeValue(serializeValue(Value::num(2.5)).substr(0, 8));
  EXPECT_EQ(cut.kind, Kind::Number);
  EXPECT_LT(cut.number, 1e-300);
  std::string pair = serializeValue(array({Value::num(7), Value::num(8)}));
  // 8.0 is 00 00 00 00 00 00 20 40: its last two bytes are lost.
  Value v = deserializeValue(pair.substr(0, pair.size() - 2));
  EXPECT_EQ(arr(v)->items[0].number(), 7.0);
  EXPECT_EQ(arr(v)->items[1].number(), 0.0);
}

TEST(SerialDepth, MillionNestedArraysRoundTrip) {
  constexpr int kDepth = 1000000;
  Value root(new MArray());
  MArray *tail = arr(root);
  for (int i = 1; i < kDepth; i++) {
    MArray *next = new MArray();
    tail->push(Value(next));
    tail = next;
  }
  tail->push(makeString("bottom"));
  std::string bytes = serializeValue(root);
  size_t level = newObject("array").size() + 4;
  EXPECT_EQ(bytes.size(), kDepth * level + serializeValue(makeString("bottom")).size());
  Value back = deserializeValue(bytes);
  MArray *a = arr(back);
  int depth = 1;
  while (a && a->size() == 1 && arr(a->items[0].get())) {
    a = arr(a->items[0].get());
    depth++;
  }
  EXPECT_EQ(depth, kDepth);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(asString(a->items[0].get())->text, "bottom");
}

}  // namespace
}  // namespace marl
