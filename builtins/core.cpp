// Core built-ins: conversions, constructors, inspection, copies, errors and control.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <unordered_map>

#include "builtins/registry.hpp"
#include "runtime/error.hpp"
#include "eval/evaluator.hpp"
#include "eval/run.hpp"
#include "runtime/conversions.hpp"
#include "runtime/format.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"
#include "io/process.hpp"

namespace marl {

namespace {

void bi_int(Context &, int, const Args &a, Value &r) { r = toInt32Value(a[0]); }
void bi_uint(Context &, int, const Args &a, Value &r) { r = toUint32Value(a[0]); }
void bi_num(Context &, int, const Args &a, Value &r) { r = toNumberValue(a[0]); }
void bi_convnum(Context &, int, const Args &a, Value &r) { r = toNumberOrNull(a[0]); }
void bi_str(Context &, int, const Args &a, Value &r) { r = makeString(toText(a[0])); }

// Sizes of nested arrays are capped so that a typo cannot exhaust memory.
constexpr double kMaxDimension = 268435456.0;

Value buildArray(int line, const Args &a, size_t dim, const Value &fill) {
  if (dim >= a.size()) return fill;
  double n = std::trunc(toNumber(a[dim]));
  if (!(n > 0)) n = 0;
  if (n > kMaxDimension) raise_error(line, "Array size too large");
  MArray *arr = new MArray(static_cast<size_t>(n));
  Value holder(arr);
  for (size_t i = 0; i < arr->size(); i++) arr->items[i] = buildArray(line, a, dim + 1, fill);
  return holder;
}

void bi_array(Context &, int line, const Args &a, Value &r) {
  if (a.size() == 0) {
    r = Value(new MArray());
    return;
  }
  r = buildArray(line, a, 0, Value());
}

void bi_arrayi(Context &, int line, const Args &a, Value &r) {
  if (a.size() < 2) raise_error(line, "too few argument in arrayi()");
  Args dims{a.v + 1, a.size() - 1};
  r = buildArray(line, dims, 0, a[0]);
}

void bi_hash(Context &, int line, const Args &a, Value &r) {
  MHash *h = new MHash();
  r = Value(h);
  for (size_t i = 0; i < a.size(); i += 2) {
    std::string_view key = argString(line, a[i]);
    h->set(key, i + 1 < a.size() ? a[i + 1] : Value());
  }
}

void bi_type(Context &, int, const Args &a, Value &r) {
  const Value &v = a[0];
  if (v.isNumber())
    r = makeString("number");
  else if (v.isBool())
    r = makeString("bool");
  else if (!v.object)
    r = makeString("unknown");
  else
    r = makeString(v.object->typeName());
}

void bi_len(Context &, int line, const Args &a, Value &r) {
  if (MString *s = asString(a[0]))
    r.setNumber(static_cast<double>(s->text.size()));
  else if (MArray *arr = asArray(a[0]))
    r.setNumber(static_cast<double>(arr->size()));
  else if (MHash *h = asHash(a[0]))
    r.setNumber(static_cast<double>(h->size()));
  else
    raise_error(line, "Bad argument type in len()");
}

void bi_keys(Context &, int line, const Args &a, Value &r) {
  MArray *out = new MArray();
  Value holder(out);
  if (MArray *arr = asArray(a[0])) {
    out->items.reserve(arr->size());
    for (size_t i = 0; i < arr->size(); i++) out->push(Value::num(static_cast<double>(i)));
  } else if (MHash *h = asHash(a[0])) {
    out->items.reserve(h->size());
    for (auto &e : h->entries) out->push(makeString(e.first));
  } else {
    raise_error(line, "Bad argument type in keys()");
  }
  r = std::move(holder);
}

void bi_key(Context &, int line, const Args &a, Value &r) {
  r.setBool(false);
  if (MArray *arr = asArray(a[0])) {
    double d = argNumber(line, a[1]);
    double t = std::trunc(d);
    r.setBool(t >= 0 && t < static_cast<double>(arr->size()));
  } else if (MHash *h = asHash(a[0])) {
    if (MString *k = asString(a[1])) r.setBool(h->find(k->text) != nullptr);
  } else {
    raise_error(line, "Bad argument type in key()");
  }
}

void bi_copy(Context &, int line, const Args &a, Value &r) {
  if (!a[0].object) {
    r = a[0];
    return;
  }
  MRef *c = a[0].object->clone();
  if (!c) raise_error(line, "Object not clonable in copy()");
  r = Value(c);
}

// Copies with a memo so shared objects stay shared and cycles stay cycles;
// containers are filled from a work list, so deep nesting needs no recursion.
class DeepCopier {
 public:
  explicit DeepCopier(int line) : line_(line) {}

  Value run(const Value &v) {
    Value result = copyOne(v);
    while (!work_.empty()) {
      auto [src, dst] = work_.back();
      work_.pop_back();
      if (src->type == ObjType::Array) {
        MArray *s = static_cast<MArray *>(src);
        MArray *d = static_cast<MArray *>(dst);
        d->items.resize(s->size());
        for (size_t i = 0; i < s->size() && i < d->size(); i++)
          d->items[i] = copyOne(s->items[i].get());
      } else {
        MHash *s = static_cast<MHash *>(src);
        MHash *d = static_cast<MHash *>(dst);
        for (auto &e : s->entries) d->set(e.first, copyOne(e.second.get()));
      }
    }
    return result;
  }

 private:
  Value copyOne(const Value &v) {
    if (!v.object) return v;
    auto it = memo_.find(v.object);
    if (it != memo_.end()) return Value(it->second);
    MRef *copy;
    switch (v.object->type) {
      case ObjType::String:
        copy = new MString(static_cast<MString *>(v.object)->text);
        break;
      case ObjType::Array:
        copy = new MArray();
        break;
      case ObjType::Hash:
        copy = new MHash();
        break;
      default:
        raise_error(line_, "Object not clonable in deepcopy()");
    }
    Value holder(copy);
    memo_.emplace(v.object, copy);
    // The memo keeps every copy locked until the copy is complete.
    keep_.push_back(holder);
    if (copy->type != ObjType::String) work_.emplace_back(v.object, copy);
    return holder;
  }

  int line_;
  std::unordered_map<MRef *, MRef *> memo_;
  std::vector<Value> keep_;
  std::vector<std::pair<MRef *, MRef *>> work_;
};

void bi_deepcopy(Context &, int line, const Args &a, Value &r) {
  DeepCopier copier(line);
  r = copier.run(a[0]);
}

void bi_gc(Context &, int, const Args &, Value &r) {
  collect(true);
  r.setNull();
}

void bi_error(Context &, int line, const Args &a, Value &) {
  std::string text;
  for (size_t i = 0; i < a.size(); i++) appendText(text, a[i]);
  raise_message(line, text);
}

void bi_errorf(Context &, int line, const Args &a, Value &) {
  if (a.size() == 0) raise_message(line, "");
  std::string fmt = toText(a[0]);
  raise_message(line, format_values(fmt, a.v, a.size(), 1));
}

void bi_exit(Context &, int line, const Args &a, Value &) {
  throw MExit(a.size() ? a[0] : Value(), line);
}

void bi_system(Context &, int, const Args &a, Value &r) {
  int status = a.size() ? runShellCommand(toText(a[0]).c_str()) : runShellCommand(nullptr);
  r.setNumber(status);
}

void bi_eval(Context &, int, const Args &a, Value &r) {
  std::string text = toText(a[0]);
  text += ';';
  r = run_script_string(text);
}

void bi_strict(Context &, int, const Args &a, Value &r) { r.setBool(setStrictMode(truth(a[0]))); }

constexpr BuiltinEntry kCore[] = {
    {"int", 1, bi_int},        {"uint", 1, bi_uint},         {"num", 1, bi_num},
    {"str", 1, bi_str},        {"convnum", 1, bi_convnum},   {"array", -1, bi_array},
    {"arrayi", -1, bi_arrayi}, {"hash", -1, bi_hash},        {"type", 1, bi_type},
    {"copy", 1, bi_copy},      {"deepcopy", 1, bi_deepcopy}, {"len", 1, bi_len},
    {"keys", 1, bi_keys},      {"key", 2, bi_key},           {"gc", 0, bi_gc},
    {"error", -1, bi_error},   {"errorf", -1, bi_errorf},    {"exit", 0, bi_exit},
    {"exit", 1, bi_exit},      {"system", 0, bi_system},     {"system", 1, bi_system},
    {"eval", 1, bi_eval},      {"strict", 1, bi_strict},
};

}  // namespace

std::span<const BuiltinEntry> coreBuiltins() { return kCore; }

}  // namespace marl
