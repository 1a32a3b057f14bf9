// Binary record built-ins: pksize, unpack, pack, bsplit, bjoin.
#include "builtins/registry.hpp"
#include "runtime/error.hpp"
#include "io/pack.hpp"
#include "io/template_cache.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

// The parsed template, reused across calls; a bad one names the built-in.
// The result is valid until the next template is looked up.
PackTemplate &parsedOrRaise(int line, std::string_view text, const char *who) {
  thread_local TemplateCache cache;
  PackTemplate *t = cache.lookup(text);
  if (!t) raise_error(line, "Bad template in %s()", who);
  return *t;
}

void bi_pksize(Context &, int line, const Args &a, Value &r) {
  const PackTemplate &t = parsedOrRaise(line, argString(line, a[0]), "pksize");
  r.setNumber(static_cast<double>(t.size));
}

void bi_unpack(Context &, int line, const Args &a, Value &r) {
  std::string_view text = argString(line, a[0]);
  std::string_view data = argString(line, a[1]);
  PackTemplate &t = parsedOrRaise(line, text, "unpack");
  if (!unpackFitsMemory(t)) raise_error(line, "Not enough memory in unpack()");
  r = unpackRecord(t, data);
}

void bi_pack(Context &, int line, const Args &a, Value &r) {
  std::string_view text = argString(line, a[0]);
  MHash *values = asHash(a[1]);
  if (!values) raise_error(line, "Bad argument in pack()");
  PackTemplate &t = parsedOrRaise(line, text, "pack");
  if (!packFitsMemory(t)) raise_error(line, "Not enough memory in pack()");
  // The record is written straight into the new string's bytes.
  Value out(MString::zeroed(t.size));
  packRecordInto(t, *values, static_cast<MString *>(out.object)->text.data());
  r = std::move(out);
}

// The optional type word of bsplit/bjoin: "uchar" when absent, 0 when bad.
int typeArg(const Args &a) {
  if (a.size() < 2) return 4;
  MString *w = asString(a[1]);
  return w ? typeCode(w->text) : 0;
}

void bi_bsplit(Context &, int line, const Args &a, Value &r) {
  MString *data = asString(a[0]);
  int code = typeArg(a);
  if (!data || !code) raise_error(line, "Bad argument in bsplit()");
  size_t size = typeSize(code);
  size_t n = data->text.size() / size;
  MArray *out = new MArray(n);
  r = Value(out);
  const char *p = data->text.data();
  for (size_t i = 0; i < n; i++) out->items[i] = Value::num(decodeTyped(code, p + i * size));
}

void bi_bjoin(Context &, int line, const Args &a, Value &r) {
  MArray *values = asArray(a[0]);
  int code = typeArg(a);
  if (!values || !code) raise_error(line, "Bad argument in bjoin()");
  size_t size = typeSize(code);
  std::string out(values->size() * size, '\0');
  for (size_t i = 0; i < values->size(); i++) {
    const HeldValue &e = values->items[i];
    if (!e.isNumeric()) raise_error(line, "Bad argument type in bjoin()");
    double d = e.number();
    if (!typeInRange(code, d)) raise_error(line, "Bad argument range in bjoin()");
    encodeTypedAt(code, d, out.data() + i * size);
  }
  r = makeString(std::move(out));
}

constexpr BuiltinEntry kPack[] = {
    {"pksize", 1, bi_pksize}, {"unpack", 2, bi_unpack}, {"pack", 2, bi_pack},
    {"bsplit", 1, bi_bsplit}, {"bsplit", 2, bi_bsplit}, {"bjoin", 1, bi_bjoin},
    {"bjoin", 2, bi_bjoin},
};

}  // namespace

std::span<const BuiltinEntry> packBuiltins() { return kPack; }

}  // namespace marl
