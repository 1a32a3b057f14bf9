// Sorting arrays. The default order compares numbers directly; a script
// comparator goes through a merge sort of our own, which terminates and stays
// in bounds whatever the comparator answers.
#include "builtins/sort.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string_view>
#include <vector>

#include "runtime/error.hpp"
#include "eval/evaluator.hpp"
#include "runtime/conversions.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

// A number or bool pulled out of its holder: sorting 16-byte keys is much
// faster than moving holders around.
struct NumberKey {
  double number;
  Kind kind;
};

Value numberValue(const NumberKey &k) {
  return k.kind == Kind::Bool ? Value::boolean(k.number != 0) : Value::num(k.number);
}

// A string's sort key: its first eight bytes packed big-endian decide most
// comparisons without touching the string itself; the position breaks ties,
// which keeps the sort stable.
struct TextKey {
  uint64_t prefix;
  std::string_view text;
  size_t index;
};

TextKey textKey(const HeldValue &h, size_t index) {
  std::string_view text = static_cast<const MString *>(h.object())->text;
  uint64_t prefix = 0;
  for (size_t i = 0; i < 8; i++)
    prefix = prefix << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0u);
  return TextKey{prefix, text, index};
}

bool textBefore(const TextKey &x, const TextKey &y) {
  if (x.prefix != y.prefix) return x.prefix < y.prefix;
  // std::string_view compares bytes as unsigned, a prefix first: the key
  // order of hashes.
  int c = x.text.compare(y.text);
  return c != 0 ? c < 0 : x.index < y.index;
}

// Bottom-up merge sort of positions. Each merge step asks the comparator once
// and always advances, so the number of calls is bounded by n log n whatever
// it answers; a NaN or non-numeric answer counts as "equal".
class ComparatorSort {
 public:
  ComparatorSort(Context &ctx, int line, const Value &cmp, const std::vector<Value> &items)
      : ctx_(ctx), line_(line), cmp_(cmp), items_(items) {}

  std::vector<size_t> run() {
    size_t n = items_.size();
    std::vector<size_t> order(n), buf(n);
    std::iota(order.begin(), order.end(), size_t{0});
    for (size_t width = 1; width < n; width *= 2) {
      for (size_t lo = 0; lo < n; lo += 2 * width) {
        size_t mid = std::min(lo + width, n), hi = std::min(lo + 2 * width, n);
        merge(order, buf, lo, mid, hi);
      }
      order.swap(buf);
    }
    return order;
  }

 private:
  // Equal elements keep their order: the right one goes first only when the
  // comparator says the left one is greater.
  void merge(const std::vector<size_t> &src, std::vector<size_t> &dst, size_t lo, size_t mid,
             size_t hi) {
    size_t i = lo, j = mid, k = lo;
    while (i < mid && j < hi) dst[k++] = greater(src[i], src[j]) ? src[j++] : src[i++];
    while (i < mid) dst[k++] = src[i++];
    while (j < hi) dst[k++] = src[j++];
  }

  bool greater(size_t x, size_t y) {
    pair_[0] = items_[x];
    pair_[1] = items_[y];
    call_value(ctx_, verdict_, line_, cmp_, Args{pair_, 2}, "sort");
    return toNumber(verdict_) > 0;
  }

  Context &ctx_;
  int line_;
  const Value &cmp_;
  const std::vector<Value> &items_;
  Value pair_[2];
  Value verdict_;
};

}  // namespace

void sortDefault(MArray &a) {
  MArray::Items &items = a.items;
  size_t numeric = 0, strings = 0;
  for (const HeldValue &h : items) {
    if (h.isNumeric())
      numeric++;
    else if (h.is(ObjType::String))
      strings++;
  }
  std::vector<NumberKey> numbers, nans;
  std::vector<HeldValue> texts, others;
  numbers.reserve(numeric);
  texts.reserve(strings);
  others.reserve(items.size() - numeric - strings);
  for (HeldValue &h : items) {
    if (h.isNumeric())
      (std::isnan(h.number()) ? nans : numbers).push_back(NumberKey{h.number(), h.kind()});
    else if (h.is(ObjType::String))
      texts.push_back(std::move(h));
    else
      others.push_back(std::move(h));
  }
  std::stable_sort(numbers.begin(), numbers.end(),
                   [](const NumberKey &x, const NumberKey &y) { return x.number < y.number; });
  std::vector<TextKey> textKeys;
  textKeys.reserve(texts.size());
  for (size_t i = 0; i < texts.size(); i++) textKeys.push_back(textKey(texts[i], i));
  std::sort(textKeys.begin(), textKeys.end(), textBefore);
  // Numbers hold no object and the rest was moved out: clearing releases nothing.
  items.clear();
  for (const NumberKey &k : numbers) items.emplace_back(numberValue(k));
  for (const NumberKey &k : nans) items.emplace_back(numberValue(k));
  for (const TextKey &k : textKeys) items.push_back(std::move(texts[k.index]));
  for (HeldValue &h : others) items.push_back(std::move(h));
}

// The comparator may change the array or raise an error: it sorts a copy,
// and the array receives the result only when the sort has finished.
void bi_sort(Context &ctx, int line, const Args &a, Value &r) {
  MArray *arr = asArray(a[0]);
  if (!arr) raise_error(line, "Bad argument type in sort()");
  if (a.size() == 1) {
    sortDefault(*arr);
    r = a[0];
    return;
  }
  if (!a[1].is(ObjType::FuncRef)) raise_error(line, "Bad argument type in sort()");
  std::vector<Value> items;
  items.reserve(arr->size());
  for (const HeldValue &h : arr->items) items.push_back(h.get());
  ComparatorSort sorter(ctx, line, a[1], items);
  std::vector<size_t> order = sorter.run();
  MArray::Items sorted;
  sorted.reserve(order.size());
  for (size_t i : order) sorted.emplace_back(items[i]);
  arr->items = std::move(sorted);
  r = a[0];
}

}  // namespace marl
