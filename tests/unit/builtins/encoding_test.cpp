// encode and decode: the type words and messages; and the registered surface
// of the binary groups.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "builtins/registry.hpp"
#include "runtime/error.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

using namespace std::string_literals;

Value call(const char *name, const Value &a, const Value &b) {
  for (const BuiltinEntry &e : encodingBuiltins()) {
    if (std::string_view(e.name) != name) continue;
    Value args[] = {a, b};
    Context ctx;
    Value r;
    e.handler(ctx, 3, Args{args, 2}, r);
    return r;
  }
  ADD_FAILURE() << name << " not registered";
  return Value();
}

std::string encode(std::string text, const char *type) {
  return asString(call("encode", makeString(std::move(text)), makeString(type)))->text.str();
}
std::string decode(std::string bytes, const char *type) {
  return asString(call("decode", makeString(std::move(bytes)), makeString(type)))->text.str();
}

std::string errorOf(const char *name, const Value &a, const Value &b) {
  try {
    call(name, a, b);
  } catch (const ScriptError &e) {
    return e.what();
  }
  return "";
}

// The codec itself is tested in tests/unit/io/encoding_test.cpp; these check
// that both words reach it, in both directions.
TEST(Encodings, Base64Words) {
  EXPECT_EQ(encode("Ma", "b64"), "TWE=");
  EXPECT_EQ(encode("M", "base64"), "TQ==");
  EXPECT_EQ(decode("TW Fu", "base64"), "Man");
  EXPECT_EQ(decode("TWFuTQ", "b64"), "Man");
  EXPECT_EQ(decode("TQ==TWFu", "b64"), "M");
}

TEST(Encodings, EachWordUsesItsConverter) {
  EXPECT_EQ(encode("ab", "utf16"), "a\0b\0"s);
  EXPECT_EQ(decode("a\0b\0c"s, "utf16"), "ab");
  EXPECT_EQ(encode("\x82\xA0", "utf8"), "\xE3\x81\x82");
  EXPECT_EQ(decode("\xE3\x81\x82", "utf8"), "\x82\xA0");
  EXPECT_EQ(encode("\x82\xA0", "euc"), "\xA4\xA2");
  EXPECT_EQ(decode("\xA4\xA2", "euc"), "\x82\xA0");
  EXPECT_EQ(decode("\x82\xA0\0"s, "sjis"), "\x82\xA0\0"s);
  // "sjis" hands back the argument itself.
  Value s = makeString("x");
  EXPECT_EQ(call("encode", s, makeString("sjis")).object, s.object);
}

TEST(Encodings, UnknownWordsAndNonStrings) {
  EXPECT_EQ(errorOf("encode", makeString("x"), makeString("latin1")),
            "error [3]: Unknown encoding type in encode()");
  EXPECT_EQ(errorOf("decode", makeString("x"), makeString("SJIS")),
            "error [3]: Unknown encoding type in decode()");
  EXPECT_EQ(errorOf("encode", Value::num(5), makeString("b64")),
            "error [3]: Cannot convert arg to string");
  EXPECT_EQ(errorOf("decode", makeString("x"), Value()), "error [3]: Cannot convert arg to string");
}

TEST(Registry, BinaryGroupsHaveTheirVariants) {
  auto surface = [](std::span<const BuiltinEntry> g) {
    std::string s;
    for (const BuiltinEntry &e : g) s += std::string(e.name) + "/" + std::to_string(e.arity) + " ";
    return s;
  };
  EXPECT_EQ(surface(encodingBuiltins()), "encode/2 decode/2 ");
  EXPECT_EQ(surface(packBuiltins()), "pksize/1 unpack/2 pack/2 bsplit/1 bsplit/2 bjoin/1 bjoin/2 ");
  EXPECT_EQ(surface(serialBuiltins()), "serial/1 deserial/1 ");
}

}  // namespace
}  // namespace marl
