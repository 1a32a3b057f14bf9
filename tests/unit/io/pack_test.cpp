// Record templates, the type codes, and the pack built-ins' results and messages.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "builtins/registry.hpp"
#include "runtime/error.hpp"
#include "io/pack.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

using namespace std::string_literals;

// Calls a built-in of the pack group as a script would, at line 7.
Value call(const char *name, std::vector<Value> args) {
  for (const BuiltinEntry &e : packBuiltins()) {
    if (std::string_view(e.name) != name || e.arity != static_cast<int>(args.size())) continue;
    Context ctx;
    Value r;
    e.handler(ctx, 7, Args{args.data(), args.size()}, r);
    return r;
  }
  ADD_FAILURE() << name << " not registered with " << args.size() << " arguments";
  return Value();
}

std::string errorOf(const char *name, std::vector<Value> args) {
  try {
    call(name, std::move(args));
  } catch (const ScriptError &e) {
    return e.what();
  }
  return "";
}

Value array(std::initializer_list<Value> items) {
  MArray *a = new MArray();
  Value v(a);
  for (const Value &e : items) a->push(e);
  return v;
}

Value hash(std::initializer_list<std::pair<const char *, Value>> entries) {
  MHash *h = new MHash();
  Value v(h);
  for (const auto &[k, e] : entries) h->set(k, e);
  return v;
}

std::string bytes(const Value &v) { return asString(v)->text.str(); }

long long pksize(const char *t) {
  PackTemplate tp;
  return parseTemplate(t, tp) ? static_cast<long long>(tp.size) : -1;
}

// One field's value in an unpack result: a number, "null", "absent", or
// "[a,b,...]" for an array.
std::string field(const Value &h, const char *name) {
  const HeldValue *e = asHash(h)->find(name);
  if (!e) return "absent";
  auto one = [](const HeldValue &x) {
    return x.isNull() ? "null"s : std::to_string(static_cast<long long>(x.number()));
  };
  MArray *a = asArray(e->get());
  if (!a) return one(*e);
  std::string s = "[";
  for (size_t i = 0; i < a->size(); i++) s += (i ? "," : "") + one(a->items[i]);
  return s + "]";
}

Value unpack(const char *t, std::string data) {
  return call("unpack", {makeString(t), makeString(std::move(data))});
}

TEST(Template, SizesOfValidTemplates) {
  EXPECT_EQ(pksize("int32"), 4);
  EXPECT_EQ(pksize("id=ulong name=char[16] x=double"), 28);
  EXPECT_EQ(pksize("uint16 flags=byte[0x4]"), 6);
  EXPECT_EQ(pksize("a=short[3] double"), 14);
  EXPECT_EQ(pksize("  a = sbyte [ 2 ]b=float\n\t"), 6);
  EXPECT_EQ(pksize("$x=int16 _y1=uchar"), 3);
  EXPECT_EQ(pksize("a=short[3] double"), call("pksize", {makeString("a=short[3] double")}).number);
}

TEST(Template, CountBases) {
  EXPECT_EQ(pksize("byte[0x4]"), 4);
  EXPECT_EQ(pksize("byte[0x1_0]"), 16);
  EXPECT_EQ(pksize("byte[010]"), 8);
  EXPECT_EQ(pksize("byte[0_7]"), 7);
  EXPECT_EQ(pksize("byte[0b11]"), 3);
  EXPECT_EQ(pksize("byte[09]"), 9);  // "0" then 9 is not octal: decimal
  EXPECT_EQ(pksize("byte[1]"), 1);
  EXPECT_EQ(pksize("double[268435456]"), 2147483648LL);
  // Any count that fits in 32 bits, however much memory it would describe.
  EXPECT_EQ(pksize("char[300000000]"), 300000000LL);
  EXPECT_EQ(pksize("a=double[0xffffffff] b=double[0b11111111111111111111111111111111]"),
            68719476720LL);
  EXPECT_EQ(pksize("byte[0_37777777777]"), 4294967295LL);
}

TEST(Template, BadTemplates) {
  for (const char *t : {"",
                        "  ",
                        "int64",
                        "Int32",
                        "a=int64",
                        "a=",
                        "a = ",
                        "a=byte[0]",
                        "a=byte[0x0]",
                        "a=byte[]",
                        "a=byte[",
                        "a=byte[4",
                        "a=byte[4)",
                        "a=byte[-1]",
                        "a=byte[0X4]",
                        "a=byte[0B11]",
                        "a=byte[4x]",
                        "a=byte[0b2]",
                        "a=byte[018]",
                        "a=byte[1_0]",
                        "a=byte[x]",
                        "byte,",
                        "id ulong",
                        "a=byte[0x100000001]",
                        "a=byte[99999999999999999999]"})
    EXPECT_EQ(pksize(t), -1) << '"' << t << '"';
  EXPECT_EQ(errorOf("pksize", {makeString("a=")}), "error [7]: Bad template in pksize()");
  EXPECT_EQ(errorOf("unpack", {makeString("int64"), makeString("")}),
            "error [7]: Bad template in unpack()");
  EXPECT_EQ(errorOf("pack", {makeString("a=byte[0]"), hash({})}),
            "error [7]: Bad template in pack()");
  EXPECT_EQ(errorOf("pksize", {Value::num(1)}), "error [7]: Cannot convert arg to string");
}

TEST(TypeCodes, WordsSizesAndValues) {
  const char *words[] = {"char", "sbyte",  "short",  "int16", "long",   "int32", "uchar",
                         "byte", "ushort", "uint16", "ulong", "uint32", "float", "double"};
  const int codes[] = {1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 8};
  for (int i = 0; i < 14; i++) EXPECT_EQ(typeCode(words[i]), codes[i]) << words[i];
  EXPECT_EQ(typeCode("int64"), 0);
  EXPECT_EQ(typeSize(0), 0u);
  EXPECT_EQ(typeSize(3), 4u);
  EXPECT_EQ(typeSize(8), 8u);
  EXPECT_EQ(decodeTyped(2, "\xFF\xFF"), -1);
  EXPECT_EQ(decodeTyped(5, "\xFF\xFF"), 65535);
  EXPECT_EQ(decodeTyped(3, "\x00\x00\x00\x80"), -2147483648.0);
  EXPECT_EQ(decodeTyped(6, "\xFF\xFF\xFF\xFF"), 4294967295.0);
  EXPECT_EQ(decodeTyped(1, "\x80"), -128);
  EXPECT_EQ(decodeTyped(7, "\x00\x00\xC0\x3F"), 1.5);
  std::string out;
  encodeTyped(4, 300, out);           // wraps to the low byte
  encodeTyped(6, -1, out);            // FF FF FF FF
  encodeTyped(2, -1.9, out);          // truncated toward zero
  encodeTyped(3, std::nan(""), out);  // no integer: all low bytes 0
  encodeTyped(1, 1e300, out);
  encodeTyped(7, 0.1, out);  // rounded to single precision
  EXPECT_EQ(out, "\x2C\xFF\xFF\xFF\xFF\xFF\xFF\x00\x00\x00\x00\x00\xCD\xCC\xCC\x3D"s);
}

TEST(TypeCodes, SignedAndUnsignedShareOneRange) {
  EXPECT_TRUE(typeInRange(1, 255) && typeInRange(4, -128) && typeInRange(3, 4294967295.0));
  EXPECT_FALSE(typeInRange(4, 256) || typeInRange(1, -128.5) || typeInRange(2, -32769));
  EXPECT_FALSE(typeInRange(6, 4294967296.0) || typeInRange(3, std::nan("")));
  EXPECT_TRUE(typeInRange(7, 1e300) && typeInRange(8, std::nan("")));
}

TEST(Unpack, ShortDataGivesNullsFromTheFirstMissingValueOn) {
  Value h = unpack("a=int16 b=uint16", "\xFF\xFF\xFF\xFF");
  EXPECT_EQ(field(h, "a"), "-1");
  EXPECT_EQ(field(h, "b"), "65535");
  EXPECT_EQ(field(unpack("a=byte b=int32", "\x01\x02\x03"), "b"), "null");
  EXPECT_EQ(field(unpack("a=byte b=int32", "\x01\x02\x03\x04"), "a"), "1");
  EXPECT_EQ(field(unpack("a=byte b=int32", "\x01\x02\x03\x04"), "b"), "null");
  EXPECT_EQ(field(unpack("a=byte b=int32", "\x01\x02\x03\x04\x05"), "b"), "84148994");
  // Once a value is missing, a smaller later one that would fit is null too.
  Value cut = unpack("a=int32 b=byte c=int16[3]", "\x01\x02\x03");
  EXPECT_EQ(field(cut, "a"), "null");
  EXPECT_EQ(field(cut, "b"), "null");
  EXPECT_EQ(field(cut, "c"), "[null,null,null]");
  EXPECT_EQ(field(unpack("c=int16[3] d=byte", "\x01\x00\x02\x00\x03"s), "c"), "[1,2,null]");
  EXPECT_EQ(asHash(unpack("x=byte", ""))->size(), 1u);
}

TEST(Unpack, UnnamedFieldsAreSkippedAndLaterNamesWin) {
  Value h = unpack("int32 x=byte", "\x01\x02\x03\x04\x05");
  EXPECT_EQ(asHash(h)->size(), 1u);
  EXPECT_EQ(field(h, "x"), "5");
  Value d = unpack("a=byte byte[2] a=int16[1]", "\x01\x02\x03\x04\x05");
  EXPECT_EQ(asHash(d)->size(), 1u);
  EXPECT_EQ(field(d, "a"), "[1284]");
  EXPECT_EQ(field(unpack("int32[2] x=byte", "\x01\x02\x03\x04\x05"), "x"), "null");
}

TEST(Pack, MissingValuesAreZeroAndIntegersWrap) {
  EXPECT_EQ(bytes(call("pack", {makeString("x=byte"), hash({})})), "\x00"s);
  EXPECT_EQ(bytes(call("pack", {makeString("x=byte"), hash({{"x", Value::num(300)}})})), "\x2C");
  Value h = hash({{"a", array({Value::num(1), makeString("0x10")})},
                  {"b", makeString("-2")},
                  {"c", Value::boolean(true)},
                  {"d", array({Value::num(9)})},
                  {"e", makeString("junk")}});
  // a has one value too few, d is an array where one value is due, the
  // unnamed field and e pack as 0.
  std::string out =
      bytes(call("pack", {makeString("a=int16[3] b=int32 c=byte d=byte uint16 e=byte"), h}));
  EXPECT_EQ(out, "\x01\x00\x10\x00\x00\x00\xFE\xFF\xFF\xFF\x01\x00\x00\x00\x00"s);
  EXPECT_EQ(out.size(),
            static_cast<size_t>(pksize("a=int16[3] b=int32 c=byte d=byte uint16 e=byte")));
  EXPECT_EQ(errorOf("pack", {makeString("x=byte"), array({})}),
            "error [7]: Bad argument in pack()");
  EXPECT_EQ(errorOf("pack", {makeString("int64"), Value()}), "error [7]: Bad argument in pack()");
}

TEST(Pack, RoundTripThroughUnpack) {
  const char *t = "id=uint32 v=float[2] d=double s=char";
  Value in = hash({{"id", Value::num(4000000000.0)},
                   {"v", array({Value::num(0.5), Value::num(-3)})},
                   {"d", Value::num(1.0 / 3)},
                   {"s", Value::num(-5)}});
  Value out = unpack(t, bytes(call("pack", {makeString(t), in})));
  EXPECT_EQ(field(out, "id"), "4000000000");
  EXPECT_EQ(asArray(asHash(out)->find("v")->get())->items[0].number(), 0.5);
  EXPECT_EQ(asHash(out)->find("d")->number(), 1.0 / 3);
  EXPECT_EQ(field(out, "s"), "-5");
}

// Templates are kept parsed between calls: the same text, alternated with
// others, must keep giving the same records.
TEST(Pack, RepeatedAndAlternatingTemplates) {
  const char *a = "n=uint16 m=byte";
  const char *b = "m=byte n=uint16";
  Value values = hash({{"n", Value::num(0x0102)}, {"m", Value::num(3)}});
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(bytes(call("pack", {makeString(a), values})), "\x02\x01\x03");
    EXPECT_EQ(bytes(call("pack", {makeString(b), values})), "\x03\x02\x01");
    EXPECT_EQ(field(unpack(a, "\x02\x01\x03"), "n"), "258");
    EXPECT_EQ(field(unpack(b, "\x02\x01\x03"), "n"), "769");
    EXPECT_EQ(pksize(a), call("pksize", {makeString(a)}).number);
    EXPECT_EQ(errorOf("unpack", {makeString("n=uint64"), makeString("")}),
              "error [7]: Bad template in unpack()");
  }
}

// Every unpack of one template starts from the same kept record: nothing of
// an earlier call may show through, and the hashes handed out are separate.
TEST(Unpack, RepeatedCallsGiveFreshHashes) {
  const char *t = "a=uint16 b=byte[2] c=byte";
  Value full = unpack(t, "\x01\x02\x03\x04\x05"s);
  EXPECT_EQ(field(full, "a"), "513");
  EXPECT_EQ(field(full, "c"), "5");
  Value cut = unpack(t, "\x09\x00\x07"s);
  EXPECT_EQ(field(cut, "a"), "9");
  EXPECT_EQ(field(cut, "b"), "[7,null]");
  EXPECT_EQ(field(cut, "c"), "null");
  EXPECT_EQ(field(unpack(t, ""), "a"), "null");
  // Changing one result changes neither the others nor later ones.
  asHash(full)->set("a", Value::num(-1));
  asHash(full)->set("extra", Value::num(1));
  asArray(asHash(full)->find("b")->get())->set(0, Value::num(99));
  Value again = unpack(t, "\x01\x02\x03\x04\x05"s);
  EXPECT_EQ(asHash(again)->size(), 3u);
  EXPECT_EQ(field(again, "a"), "513");
  EXPECT_EQ(field(again, "b"), "[3,4]");
  EXPECT_EQ(field(cut, "a"), "9");
  EXPECT_NE(asHash(full)->find("b")->object(), asHash(again)->find("b")->object());
  // Keys are listed in order whatever the order of the fields.
  std::string keys;
  Value ordered = unpack("z=byte m=byte a=byte", "abc");
  for (const auto &e : asHash(ordered)->entries) keys += e.first;
  EXPECT_EQ(keys, "amz");
}

// A name given twice keeps one key, holding what the last of its fields
// says: a single value or an array, whichever comes last.
TEST(Unpack, RepeatedNamesTakeTheLastField) {
  EXPECT_EQ(field(unpack("a=byte[2] a=byte", "\x01\x02\x03"), "a"), "3");
  EXPECT_EQ(field(unpack("a=byte a=byte[2]", "\x01\x02\x03"), "a"), "[2,3]");
  Value h = unpack("a=byte b=byte a=int16 b=byte[1]", "\x01\x02\x03\x00\x04"s);
  EXPECT_EQ(asHash(h)->size(), 2u);
  EXPECT_EQ(field(h, "a"), "3");
  EXPECT_EQ(field(h, "b"), "[4]");
  EXPECT_EQ(field(unpack("a=byte b=byte a=int16", "\x01\x02\x03"), "a"), "null");
  // Many fields: the record is searched through an index, not scanned.
  std::string many, data;
  for (int i = 0; i < 40; i++) {
    many += "f" + std::to_string(i % 20) + "=byte ";
    data += static_cast<char>(i);
  }
  Value big = unpack(many.c_str(), data);
  EXPECT_EQ(asHash(big)->size(), 20u);
  EXPECT_EQ(field(big, "f0"), "20");
  EXPECT_EQ(field(big, "f19"), "39");
}

// pack() tries where it found a name last time first: hashes of other shapes
// and key orders, and ones lacking the name, must still be read by name.
TEST(Pack, HashesOfDifferentShapes) {
  Value t = makeString("b=byte a=byte[2] c=byte");
  Value first = hash(
      {{"a", array({Value::num(1), Value::num(2)})}, {"b", Value::num(3)}, {"c", Value::num(4)}});
  Value reordered = hash({{"c", Value::num(7)}, {"b", Value::num(8)}, {"x", Value::num(0)}});
  Value sameLengths = hash({{"c", Value::num(5)}, {"d", Value::num(6)}, {"b", Value::num(9)}});
  Value large = hash({});
  for (int i = 0; i < 30; i++) asHash(large)->set("k" + std::to_string(i), Value::num(i));
  asHash(large)->set("c", Value::num(11));
  for (int round = 0; round < 2; round++) {
    EXPECT_EQ(bytes(call("pack", {t, first})), "\x03\x01\x02\x04");
    EXPECT_EQ(bytes(call("pack", {t, reordered})), "\x08\x00\x00\x07"s);
    EXPECT_EQ(bytes(call("pack", {t, sameLengths})), "\x09\x00\x00\x05"s);
    EXPECT_EQ(bytes(call("pack", {t, large})), "\x00\x00\x00\x0B"s);
    EXPECT_EQ(bytes(call("pack", {t, hash({})})), "\x00\x00\x00\x00"s);
  }
  // A key removed after a pack moves the others.
  Value shrinking = hash({{"a", Value::num(0)}, {"b", Value::num(1)}, {"c", Value::num(2)}});
  EXPECT_EQ(bytes(call("pack", {t, shrinking})), "\x01\x00\x00\x02"s);
  asHash(shrinking)->erase("a");
  EXPECT_EQ(bytes(call("pack", {t, shrinking})), "\x01\x00\x00\x02"s);
  asHash(shrinking)->erase("b");
  EXPECT_EQ(bytes(call("pack", {t, shrinking})), "\x00\x00\x00\x02"s);
}

// The rest of bsplit and bjoin is covered by tests/scripts/binary/bsplit.mr.
TEST(BsplitBjoin, WholeValuesAndSharedRanges) {
  Value a = call("bsplit", {makeString("\x01\x00\xFF\xFF\x07"s), makeString("int16")});
  ASSERT_EQ(asArray(a)->size(), 2u);
  EXPECT_EQ(asArray(a)->items[1].number(), -1);
  EXPECT_EQ(errorOf("bsplit", {makeString("ab"), Value::num(4)}),
            "error [7]: Bad argument in bsplit()");
  EXPECT_EQ(bytes(call("bjoin", {array({Value::num(1), Value::num(-1)})})), "\x01\xFF");
  EXPECT_EQ(errorOf("bjoin", {array({Value::num(256)})}),
            "error [7]: Bad argument range in bjoin()");
  EXPECT_EQ(errorOf("bjoin", {array({Value::num(1)}), makeString("int64")}),
            "error [7]: Bad argument in bjoin()");
  EXPECT_EQ(errorOf("bjoin", {array({Value()})}), "error [7]: Bad argument type in bjoin()");
}

}  // namespace
}  // namespace marl
