// The parsed-template cache: a cached parse must answer exactly as a fresh one.
#include <gtest/gtest.h>

#include <string>

#include "io/template_cache.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"

namespace marl {
namespace {

// A template's fields as text: "name:code[count] ...", with its size.
std::string describe(const PackTemplate *t) {
  if (!t) return "bad";
  std::string s;
  for (const PackField &f : t->fields)
    s += std::string(f.name) + ":" + std::to_string(f.code) + "[" + std::to_string(f.count) + "] ";
  return s + "=" + std::to_string(t->size);
}

std::string fresh(const std::string &text) {
  PackTemplate t;
  return describe(parseTemplate(text, t) ? &t : nullptr);
}

TEST(TemplateCache, ReusedTextAnswersAsFirstParsed) {
  TemplateCache cache;
  std::string text = "id=ulong x=double name=char[4]";
  std::string first = describe(cache.lookup(text));
  EXPECT_EQ(first, fresh(text));
  // The names must not point into the caller's copy of the text.
  std::string again = text;
  text.assign(text.size(), '#');
  EXPECT_EQ(describe(cache.lookup(again)), first);
  EXPECT_EQ(describe(cache.lookup(again)), first);
}

TEST(TemplateCache, MoreTemplatesThanSlots) {
  TemplateCache cache;
  std::vector<std::string> texts;
  for (size_t i = 0; i < 3 * TemplateCache::kSlots; i++)
    texts.push_back("f" + std::to_string(i) + "=byte[" + std::to_string(i + 1) + "] long");
  // Cycling through all of them evicts each one before it comes back.
  for (int pass = 0; pass < 3; pass++)
    for (size_t i = 0; i < texts.size(); i += pass + 1)
      ASSERT_EQ(describe(cache.lookup(texts[i])), fresh(texts[i])) << texts[i];
  // A few used often stay correct among many used once.
  for (size_t i = 0; i < texts.size(); i++) {
    ASSERT_EQ(describe(cache.lookup(texts[i])), fresh(texts[i]));
    ASSERT_EQ(describe(cache.lookup(texts[0])), fresh(texts[0]));
  }
}

TEST(TemplateCache, BadAndLongTemplates) {
  TemplateCache cache;
  EXPECT_EQ(cache.lookup("a=int64"), nullptr);
  EXPECT_EQ(cache.lookup("a=int64"), nullptr);
  EXPECT_EQ(describe(cache.lookup("a=byte")), "a:4[0] =1");
  EXPECT_EQ(cache.lookup("a=byte[0]"), nullptr);
  EXPECT_EQ(describe(cache.lookup("a=byte")), "a:4[0] =1");
  std::string lengthy;
  while (lengthy.size() <= TemplateCache::kMaxText) lengthy += "a=short b=double ";
  std::string expected = fresh(lengthy);
  EXPECT_EQ(describe(cache.lookup(lengthy)), expected);
  EXPECT_EQ(describe(cache.lookup("b=float")), "b:7[0] =4");
  EXPECT_EQ(describe(cache.lookup(lengthy)), expected);
  EXPECT_EQ(cache.lookup(lengthy + "int64"), nullptr);
  EXPECT_EQ(describe(cache.lookup(lengthy)), expected);
}

// unpack() keeps its hash's keys in the template: a slot taken over by
// another template must not keep the keys of the one before.
TEST(TemplateCache, ReusedSlotsUnpackTheirOwnFields) {
  TemplateCache cache;
  for (size_t i = 0; i < 2 * TemplateCache::kSlots + 3; i++) {
    std::string name = "f" + std::to_string(i);
    PackTemplate *t = cache.lookup(name + "=byte g=byte[1]");
    ASSERT_NE(t, nullptr);
    Value h = unpackRecord(*t, "\x05\x06");
    ASSERT_EQ(asHash(h)->size(), 2u) << name;
    ASSERT_NE(asHash(h)->find(name), nullptr) << name;
    EXPECT_EQ(asHash(h)->find(name)->number(), 5);
    EXPECT_EQ(asArray(asHash(h)->find("g")->get())->items[0].number(), 6);
  }
}

}  // namespace
}  // namespace marl
