// Array and hash built-ins: stack and queue operations, splitting and joining,
// slices, and the callback walkers map, grep and rmap.
#include <algorithm>
#include <cmath>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "builtins/regexp.hpp"
#include "builtins/registry.hpp"
#include "builtins/sort.hpp"
#include "runtime/error.hpp"
#include "eval/evaluator.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"
#include "runtime/sjis.hpp"

namespace marl {

namespace {

// The same cap as array(): a typo must not try to allocate gigabytes.
constexpr double kMaxArrayLength = 268435456.0;

MArray *arrayArg(int line, const Value &v, const char *who) {
  MArray *a = asArray(v);
  if (!a) raise_error(line, "Bad argument type in %s()", who);
  return a;
}

// An index argument truncated toward zero; stays a double so that 1e300 or
// -Inf need no integer conversion before clamping.
double indexArg(int line, const Value &v) { return std::trunc(argNumber(line, v)); }

// A start position as substr reads it: negative counts from the end, and what
// is still negative becomes 0; past the end becomes the size.
size_t startPosition(double start, size_t size) {
  double n = static_cast<double>(size);
  if (std::isnan(start)) return 0;
  if (start < 0) start += n;
  if (start < 0) return 0;
  return start >= n ? size : static_cast<size_t>(start);
}

// How many elements from `start` a count argument covers: absent or negative
// means the rest; otherwise clamped to the rest.
size_t countFrom(const Args &a, size_t index, int line, size_t start, size_t size) {
  size_t rest = size - start;
  if (a.size() <= index) return rest;
  double n = indexArg(line, a[index]);
  if (std::isnan(n) || n < 0 || n >= static_cast<double>(rest)) return rest;
  return static_cast<size_t>(n);
}

Value elementAt(const MArray *a, size_t i) {
  const HeldValue *h = a->at(static_cast<long long>(i));
  return h ? h->get() : Value();
}

void bi_push(Context &, int line, const Args &a, Value &r) {
  arrayArg(line, a[0], "push")->push(a[1]);
  r = a[0];
}

void bi_pop(Context &, int line, const Args &a, Value &r) {
  MArray *arr = arrayArg(line, a[0], "pop");
  if (arr->items.empty()) return;
  r = arr->items.back().get();
  arr->items.pop_back();
}

void bi_unshift(Context &, int line, const Args &a, Value &r) {
  MArray *arr = arrayArg(line, a[0], "unshift");
  arr->items.insert(arr->items.begin(), HeldValue(a[1]));
  r = a[0];
}

void bi_shift(Context &, int line, const Args &a, Value &r) {
  MArray *arr = arrayArg(line, a[0], "shift");
  if (arr->items.empty()) return;
  r = arr->items.front().get();
  arr->items.erase(arr->items.begin());
}

void bi_clear(Context &, int line, const Args &a, Value &r) {
  if (MArray *arr = asArray(a[0]))
    arr->items.clear();
  else if (MHash *h = asHash(a[0]))
    h->clear();
  else
    raise_error(line, "Bad argument type in clear()");
  r = a[0];
}

// Like key(): a hash key that is not a string names nothing, so false.
void bi_erase(Context &, int line, const Args &a, Value &r) {
  if (MArray *arr = asArray(a[0])) {
    double i = indexArg(line, a[1]);
    bool inRange = i >= 0 && i < static_cast<double>(arr->size());
    if (inRange) arr->items.erase(arr->items.begin() + static_cast<ptrdiff_t>(i));
    r.setBool(inRange);
  } else if (MHash *h = asHash(a[0])) {
    MString *k = asString(a[1]);
    r.setBool(k && h->erase(k->text));
  } else {
    raise_error(line, "Bad argument type in erase()");
  }
}

// --- split and join ---

bool isSpace(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

void pushText(MArray *out, std::string_view piece) { out->push(makeString(piece)); }

void splitWhite(MArray *out, std::string_view s) {
  size_t i = 0, n = s.size();
  for (;;) {
    while (i < n && isSpace(static_cast<unsigned char>(s[i]))) i++;
    if (i == n) return;
    size_t start = i;
    while (i < n && !isSpace(static_cast<unsigned char>(s[i]))) i++;
    pushText(out, s.substr(start, i - start));
  }
}

void splitChars(MArray *out, std::string_view s) {
  out->items.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    size_t len = sjisCharLength(s, i);
    pushText(out, s.substr(i, len));
    i += len;
  }
}

// A separator is matched only at character boundaries, so a separator that
// looks like the trail byte of a double-byte character does not cut it. When
// its first byte can never be a trail byte, every hit is a boundary.
void splitText(MArray *out, std::string_view s, std::string_view sep) {
  bool checkBoundary = isTrailByte(static_cast<unsigned char>(sep[0]));
  size_t field = 0, from = 0, boundary = 0;
  for (;;) {
    size_t hit = s.find(sep, from);
    if (hit == std::string_view::npos) break;
    if (checkBoundary) {
      while (boundary < hit) boundary += sjisCharLength(s, boundary);
      if (boundary != hit) {
        from = hit + 1;
        continue;
      }
    }
    pushText(out, s.substr(field, hit - field));
    field = from = boundary = hit + sep.size();
  }
  pushText(out, s.substr(field));
}

// An empty match at the start of a field does not split (it would give an
// empty field before every character); the search moves on one character.
void splitRegex(int line, MArray *out, std::string_view s, const RegExp *re) {
  RegexMatch m;
  size_t field = 0, from = 0;
  while (from < s.size() && re->search(line, s, from, m)) {
    size_t b = static_cast<size_t>(m.begin(0)), e = static_cast<size_t>(m.end(0));
    if (b >= s.size()) break;
    if (e == b && b == field) {
      from = b + sjisCharLength(s, b);
      continue;
    }
    pushText(out, s.substr(field, b - field));
    field = from = e;
  }
  pushText(out, s.substr(field));
}

void bi_split(Context &, int line, const Args &a, Value &r) {
  std::string_view s = argString(line, a[0]);
  MArray *out = new MArray();
  Value holder(out);
  if (a.size() == 1) {
    splitWhite(out, s);
  } else if (MString *sep = asString(a[1])) {
    if (sep->text.empty())
      splitChars(out, s);
    else if (!s.empty())
      splitText(out, s, sep->text);
  } else if (MRegExp *re = asRegExp(a[1])) {
    if (!s.empty()) splitRegex(line, out, s, re->re);
  } else {
    raise_error(line, "Bad argument type in split()");
  }
  r = std::move(holder);
}

void bi_join(Context &, int line, const Args &a, Value &r) {
  MArray *arr = arrayArg(line, a[0], "join");
  std::string_view sep = a.size() > 1 ? std::string_view(argString(line, a[1])) : "";
  std::string text;
  for (size_t i = 0; i < arr->size(); i++) {
    if (i) text += sep;
    const HeldValue &h = arr->items[i];
    // Strings are most of what gets joined: append them without a Value copy.
    if (h.is(ObjType::String))
      text += static_cast<MString *>(h.object())->text;
    else
      appendText(text, h.get());
  }
  r = makeString(std::move(text));
}

// --- building and cutting arrays ---

void bi_cat(Context &, int, const Args &a, Value &r) {
  MArray *out = new MArray();
  Value holder(out);
  size_t total = 0;
  for (size_t i = 0; i < a.size(); i++) total += asArray(a[i]) ? asArray(a[i])->size() : 1;
  out->items.reserve(total);
  for (size_t i = 0; i < a.size(); i++) {
    if (MArray *arr = asArray(a[i]))
      out->items.insert(out->items.end(), arr->items.begin(), arr->items.end());
    else
      out->push(a[i]);
  }
  r = std::move(holder);
}

void bi_slice(Context &, int line, const Args &a, Value &r) {
  MArray *arr = arrayArg(line, a[0], "slice");
  size_t start = startPosition(indexArg(line, a[1]), arr->size());
  size_t n = countFrom(a, 2, line, start, arr->size());
  MArray *out = new MArray();
  Value holder(out);
  auto first = arr->items.begin() + static_cast<ptrdiff_t>(start);
  out->items.assign(first, first + static_cast<ptrdiff_t>(n));
  r = std::move(holder);
}

void bi_splice(Context &, int line, const Args &a, Value &r) {
  MArray *arr = arrayArg(line, a[0], "splice");
  size_t start = startPosition(indexArg(line, a[1]), arr->size());
  size_t n = countFrom(a, 2, line, start, arr->size());
  // Copy the replacement first: it may be the array being changed.
  MArray::Items repl;
  if (a.size() > 3) {
    if (MArray *ra = asArray(a[3]))
      repl = ra->items;
    else
      repl.emplace_back(a[3]);
  }
  MArray *removed = new MArray();
  Value holder(removed);
  auto first = arr->items.begin() + static_cast<ptrdiff_t>(start);
  auto last = first + static_cast<ptrdiff_t>(n);
  removed->items.assign(std::make_move_iterator(first), std::make_move_iterator(last));
  first = arr->items.erase(first, last);
  arr->items.insert(first, std::make_move_iterator(repl.begin()),
                    std::make_move_iterator(repl.end()));
  r = std::move(holder);
}

void bi_resize(Context &, int line, const Args &a, Value &r) {
  MArray *arr = arrayArg(line, a[0], "resize");
  double n = indexArg(line, a[1]);
  if (!(n >= 0 && n <= kMaxArrayLength)) raise_error(line, "Bad argument range in resize()");
  size_t size = static_cast<size_t>(n);
  if (size <= arr->size() || a.size() < 3)
    arr->items.resize(size);
  else
    arr->items.resize(size, HeldValue(a[2]));
  r = a[0];
}

void bi_reverse(Context &, int line, const Args &a, Value &r) {
  MArray *arr = arrayArg(line, a[0], "reverse");
  std::reverse(arr->items.begin(), arr->items.end());
  r = a[0];
}

// --- map, grep, rmap ---

// Checked before the first call, so that an empty array does not hide a
// wrong argument.
void requireFunction(int line, const Value &f, const char *who) {
  if (!f.is(ObjType::FuncRef)) raise_error(line, "Bad argument type in %s()", who);
}

// The arrays after the function. The length of the first one is read once:
// a callback that appends to it cannot make the walk endless.
std::vector<MArray *> arrayArgs(int line, const Args &a, const char *who) {
  std::vector<MArray *> arrays;
  for (size_t i = 1; i < a.size(); i++) arrays.push_back(arrayArg(line, a[i], who));
  return arrays;
}

// Callbacks may change the arrays, so every element is read at its turn and
// a vanished one reads as null.
void loadCallArgs(std::vector<Value> &callArgs, const std::vector<MArray *> &arrays, size_t i) {
  for (size_t j = 0; j < arrays.size(); j++) callArgs[j] = elementAt(arrays[j], i);
}

void bi_map(Context &ctx, int line, const Args &a, Value &r) {
  if (a.size() < 2) raise_error(line, "Too few arguments in map()");
  requireFunction(line, a[0], "map");
  std::vector<MArray *> arrays = arrayArgs(line, a, "map");
  size_t n = arrays[0]->size();
  MArray *out = new MArray();
  Value holder(out);
  out->items.reserve(n);
  std::vector<Value> callArgs(arrays.size());
  Value one;
  for (size_t i = 0; i < n; i++) {
    loadCallArgs(callArgs, arrays, i);
    call_value(ctx, one, line, a[0], Args{callArgs.data(), callArgs.size()}, "map");
    out->push(one);
  }
  r = std::move(holder);
}

void bi_grep(Context &ctx, int line, const Args &a, Value &r) {
  if (a.size() < 2) raise_error(line, "Too few arguments in grep()");
  MRegExp *re = asRegExp(a[0]);
  if (!re) requireFunction(line, a[0], "grep");
  if (re && a.size() > 2) raise_error(line, "Bad argument type in grep()");
  std::vector<MArray *> arrays = arrayArgs(line, a, "grep");
  size_t n = arrays[0]->size();
  MArray *out = new MArray();
  Value holder(out);
  std::vector<Value> callArgs(arrays.size());
  Value verdict;
  RegexMatch m;
  for (size_t i = 0; i < n; i++) {
    loadCallArgs(callArgs, arrays, i);
    bool keep;
    if (re) {
      if (const MString *s = asString(callArgs[0]))
        keep = re->re->search(line, s->text, 0, m);
      else
        keep = re->re->search(line, toText(callArgs[0]), 0, m);
    } else {
      call_value(ctx, verdict, line, a[0], Args{callArgs.data(), callArgs.size()}, "grep");
      keep = truth(verdict);
    }
    if (keep) out->push(callArgs[0]);
  }
  r = std::move(holder);
}

// rmap walks nested arrays with an explicit stack, so deep nesting needs no
// C++ recursion. An array met again on the current path would repeat forever:
// that is an error. Companion arrays descend alongside the first array; a
// companion element that is not an array goes unchanged to every call below.
class RecursiveMapper {
 public:
  RecursiveMapper(Context &ctx, int line, const Value &fn) : ctx_(ctx), line_(line), fn_(fn) {}

  Value run(MArray *first, std::vector<Value> companions) {
    Value top;
    enter(first, std::move(companions));
    while (!stack_.empty()) {
      Frame &f = stack_.back();
      if (f.next >= f.size) {
        Value done = std::move(f.out);
        path_.erase(f.src);
        stack_.pop_back();
        if (stack_.empty())
          top = std::move(done);
        else
          finishElement(done);
        continue;
      }
      Value element = elementAt(f.src, f.next);
      std::vector<Value> others;
      others.reserve(f.companions.size());
      for (const Value &c : f.companions) {
        if (MArray *ca = asArray(c))
          others.push_back(elementAt(ca, f.next));
        else
          others.push_back(c);
      }
      if (MArray *nested = asArray(element)) {
        if (path_.count(nested)) raise_error(line_, "Recursive array detected in rmap()");
        enter(nested, std::move(others));  // invalidates f
        continue;
      }
      others.insert(others.begin(), std::move(element));
      Value one;
      call_value(ctx_, one, line_, fn_, Args{others.data(), others.size()}, "rmap");
      finishElement(one);
    }
    return top;
  }

 private:
  struct Frame {
    Value srcHolder;  // keeps the array alive while its frame is open
    MArray *src;
    std::vector<Value> companions;
    Value out;
    size_t size;
    size_t next = 0;
  };

  void enter(MArray *src, std::vector<Value> companions) {
    path_.insert(src);
    MArray *out = new MArray();
    Value outHolder(out);
    out->items.reserve(src->size());
    stack_.push_back(
        Frame{Value(src), src, std::move(companions), std::move(outHolder), src->size()});
  }

  void finishElement(const Value &v) {
    Frame &f = stack_.back();
    static_cast<MArray *>(f.out.object)->push(v);
    f.next++;
  }

  Context &ctx_;
  int line_;
  const Value &fn_;
  std::vector<Frame> stack_;
  std::unordered_set<const MArray *> path_;
};

void bi_rmap(Context &ctx, int line, const Args &a, Value &r) {
  if (a.size() < 2) raise_error(line, "Too few arguments in rmap()");
  requireFunction(line, a[0], "rmap");
  std::vector<MArray *> arrays = arrayArgs(line, a, "rmap");
  std::vector<Value> companions(a.v + 2, a.v + a.size());
  RecursiveMapper mapper(ctx, line, a[0]);
  r = mapper.run(arrays[0], std::move(companions));
}

constexpr BuiltinEntry kArray[] = {
    {"push", 2, bi_push},     {"pop", 1, bi_pop},       {"unshift", 2, bi_unshift},
    {"shift", 1, bi_shift},   {"clear", 1, bi_clear},   {"erase", 2, bi_erase},
    {"split", 1, bi_split},   {"split", 2, bi_split},   {"join", 1, bi_join},
    {"join", 2, bi_join},     {"cat", -1, bi_cat},      {"slice", 2, bi_slice},
    {"slice", 3, bi_slice},   {"splice", 2, bi_splice}, {"splice", 3, bi_splice},
    {"splice", 4, bi_splice}, {"resize", 2, bi_resize}, {"resize", 3, bi_resize},
    {"sort", 1, bi_sort},     {"sort", 2, bi_sort},     {"reverse", 1, bi_reverse},
    {"map", -1, bi_map},      {"grep", -1, bi_grep},    {"rmap", -1, bi_rmap},
};

}  // namespace

std::span<const BuiltinEntry> arrayBuiltins() { return kArray; }

}  // namespace marl
