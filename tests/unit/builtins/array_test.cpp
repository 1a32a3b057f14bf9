// Array and hash built-ins: container edits, split/join, slices, sorting and
// the callback walkers, with C++ handlers standing in for script callbacks.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "builtins/regexp.hpp"
#include "builtins/registry.hpp"
#include "builtins/sort.hpp"
#include "eval/funcref.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "tests/unit/builtins/call_builtin.hpp"

namespace marl {
namespace {

using test::N;
using test::S;

Value call(const char *name, const std::vector<Value> &args) {
  return test::callBuiltin(arrayBuiltins(), name, args);
}
std::string error(const char *name, const std::vector<Value> &args) {
  return test::errorOf(arrayBuiltins(), name, args);
}
std::string show(const Value &v) { return toInspectText(v); }

Value arr(std::initializer_list<Value> items) {
  MArray *a = new MArray();
  Value v(a);
  for (const Value &i : items) a->push(i);
  return v;
}

// A function reference to a C++ handler, as `&name` gives for a script function.
Value nativeFunction(BuiltinHandler h, int arity) {
  FuncInfo *info = new FuncInfo();
  func_data *d = new func_data();
  d->handler = h;
  d->arity = arity;
  info->variants.push_back(d);
  Value ref(new MFuncRef(info));
  releaseFunc(info);  // the reference keeps it
  return ref;
}

TEST(ArrayBuiltins, RegisteredSurface) {
  EXPECT_EQ(test::surface(arrayBuiltins()),
            "push/2 pop/1 unshift/2 shift/1 clear/1 erase/2 split/1 split/2 join/1 join/2 "
            "cat/-1 slice/2 slice/3 splice/2 splice/3 splice/4 resize/2 resize/3 sort/1 sort/2 "
            "reverse/1 map/-1 grep/-1 rmap/-1");
}

TEST(ArrayBuiltins, SplitForms) {
  EXPECT_EQ(show(call("split", {S(" \t a  b\r\n\f\vc \n")})), "[ \"a\", \"b\", \"c\" ]");
  EXPECT_EQ(show(call("split", {S("  ")})), "[  ]");
  EXPECT_EQ(show(call("split", {S("a,,b,"), S(",")})), "[ \"a\", \"\", \"b\", \"\" ]");
  EXPECT_EQ(show(call("split", {S(","), S(",")})), "[ \"\", \"\" ]");
  EXPECT_EQ(show(call("split", {S(""), S(",")})), "[  ]");
  EXPECT_EQ(show(call("split", {S("a<>b<>"), S("<>")})), "[ \"a\", \"b\", \"\" ]");
  EXPECT_EQ(show(call("split", {S(std::string("a\0b", 3)), S(std::string(1, '\0'))})),
            "[ \"a\", \"b\" ]");
  EXPECT_EQ(error("split", {S("a"), N(1)}), "error [7]: Bad argument type in split()");
  EXPECT_EQ(error("split", {N(1)}), "error [7]: Cannot convert arg to string");
}

TEST(ArrayBuiltins, SplitKeepsDoubleByteCharactersWhole) {
  // 0x95 0x5C is one character whose trail byte is a backslash; 0x82 0xA0 another.
  const std::string hyo = "\x95\x5c", a = "\x82\xa0";
  Value chars = call("split", {S("x" + hyo + a + "\x82"), S("")});
  ASSERT_EQ(asArray(chars)->size(), 4u);
  EXPECT_EQ(toText(asArray(chars)->items[1].get()), hyo);
  EXPECT_EQ(toText(asArray(chars)->items[2].get()), a);
  EXPECT_EQ(toText(asArray(chars)->items[3].get()), "\x82");  // a lone lead byte
  Value fields = call("split", {S(hyo + "\\" + hyo), S("\\")});
  ASSERT_EQ(asArray(fields)->size(), 2u);
  EXPECT_EQ(toText(asArray(fields)->items[0].get()), hyo);
  EXPECT_EQ(toText(asArray(fields)->items[1].get()), hyo);
}

TEST(ArrayBuiltins, SplitAndGrepWithRegularExpressions) {
  Value digits = test::callBuiltin(regexpBuiltins(), "regexp", {S("[0-9]+")});
  EXPECT_EQ(show(call("split", {S("a1b22c3"), digits})), "[ \"a\", \"b\", \"c\", \"\" ]");
  Value empty = test::callBuiltin(regexpBuiltins(), "regexp", {S("x*")});
  EXPECT_EQ(show(call("split", {S("abc"), empty})), "[ \"a\", \"b\", \"c\" ]");
  EXPECT_EQ(show(call("grep", {digits, arr({S("a1"), S("b"), N(7), Value()})})), "[ \"a1\", 7 ]");
  EXPECT_EQ(error("grep", {digits, arr({}), arr({})}), "error [7]: Bad argument type in grep()");
}

TEST(ArrayBuiltins, ResizeBoundsAndFill) {
  Value a = arr({N(1), N(2), N(3)});
  EXPECT_EQ(call("resize", {a, N(1.7)}).object, a.object);
  EXPECT_EQ(show(a), "[ 1 ]");
  call("resize", {a, N(3), S("f")});
  EXPECT_EQ(show(a), "[ 1, \"f\", \"f\" ]");
  call("resize", {a, N(4)});
  EXPECT_EQ(show(a), "[ 1, \"f\", \"f\", null ]");
  for (double bad : {1e12, -1.0, nanValue()})
    EXPECT_EQ(error("resize", {a, N(bad)}), "error [7]: Bad argument range in resize()");
  EXPECT_EQ(asArray(a)->size(), 4u);
  EXPECT_EQ(show(call("reverse", {a})), "[ null, \"f\", \"f\", 1 ]");
}

TEST(ArraySort, DefaultOrderIsStableAcrossKinds) {
  Value inner = arr({});
  Value a = arr({S("b"), N(2), Value(), Value::boolean(true), N(nanValue()), S("B"), inner, N(1),
                 S("\xff"), S("ab"), N(-0.0), S("a"), N(0), Value::boolean(false)});
  call("sort", {a});
  // Numbers and bools by value (1 and true, -0 and 0, 0 and false keep their
  // order), NaN after them, strings by unsigned bytes, then null and objects.
  EXPECT_EQ(
      show(a),
      "[ -0, 0, false, true, 1, 2, NaN, \"B\", \"a\", \"ab\", \"b\", \"\\xff\", null, [  ] ]");
}

TEST(ArraySort, StringsPastTheirFirstEightBytes) {
  Value first = S("common-prefix-b");
  Value second = S("common-prefix-b");
  Value a = arr({S("common-prefix-c"), first, S(std::string("a\0", 2)), S("common-prefix-a"),
                 second, S("a"), S("common-prefix"), S("common-p\xe0")});
  call("sort", {a});
  EXPECT_EQ(show(a),
            "[ \"a\", \"a\\0\", \"common-prefix\", \"common-prefix-a\", \"common-prefix-b\", "
            "\"common-prefix-b\", \"common-prefix-c\", \"common-p\\xe0\" ]");
  // Equal texts keep their order.
  EXPECT_EQ(asArray(a)->items[4].object(), first.object);
  EXPECT_EQ(asArray(a)->items[5].object(), second.object);
}

TEST(ArraySort, DefaultOrderMatchesReferenceOnRandomNumbers) {
  std::mt19937 gen(42);
  std::uniform_int_distribution<int> dist(-500, 500);
  MArray *a = new MArray();
  Value holder(a);
  std::vector<double> expected;
  for (int i = 0; i < 5000; i++) {
    double d = dist(gen) / 4.0;
    a->push(N(d));
    expected.push_back(d);
  }
  std::sort(expected.begin(), expected.end());
  sortDefault(*a);
  for (size_t i = 0; i < expected.size(); i++) ASSERT_EQ(a->items[i].number(), expected[i]) << i;
}

// Comparator stand-ins for script functions.
unsigned chaosState = 1;
MArray *sortTarget = nullptr;
int callsLeft = 0;

void chaosCompare(Context &, int, const Args &, Value &r) {
  chaosState = chaosState * 1103515245u + 12345u;
  r.setNumber(static_cast<int>((chaosState >> 16) % 3) - 1);
}
void byFirstElement(Context &, int, const Args &a, Value &r) {
  r.setNumber(asArray(a[0])->items[0].number() - asArray(a[1])->items[0].number());
}
void failingCompare(Context &, int line, const Args &a, Value &r) {
  if (--callsLeft == 0) raise_error(line, "comparator gave up");
  r.setNumber(a[0].number - a[1].number);
}
void clearingCompare(Context &, int, const Args &a, Value &r) {
  sortTarget->items.clear();
  r.setNumber(a[0].number - a[1].number);
}
void textAnswer(Context &, int, const Args &a, Value &r) {
  r = a[0].number < a[1].number ? S("-1") : S("oops");  // not a number: "equal"
}

TEST(ArraySort, ComparatorSortIsStable) {
  MArray *a = new MArray();
  Value holder(a);
  for (int i = 0; i < 300; i++) a->push(arr({N(i % 7), N(i)}));
  call("sort", {holder, nativeFunction(byFirstElement, 2)});
  for (size_t i = 1; i < a->size(); i++) {
    MArray *prev = asArray(a->items[i - 1].get()), *cur = asArray(a->items[i].get());
    ASSERT_LE(prev->items[0].number(), cur->items[0].number());
    if (prev->items[0].number() == cur->items[0].number()) {
      ASSERT_LT(prev->items[1].number(), cur->items[1].number());
    }
  }
}

TEST(ArraySort, InconsistentComparatorStillGivesAPermutation) {
  MArray *a = new MArray();
  Value holder(a);
  for (int i = 0; i < 2000; i++) a->push(N(i % 50));
  call("sort", {holder, nativeFunction(chaosCompare, 2)});
  std::vector<double> seen;
  for (const HeldValue &h : a->items) seen.push_back(h.number());
  std::sort(seen.begin(), seen.end());
  ASSERT_EQ(seen.size(), 2000u);
  for (size_t i = 0; i < seen.size(); i++) ASSERT_EQ(seen[i], static_cast<double>(i / 40));
  call("sort", {holder, nativeFunction(textAnswer, 2)});  // answers that are not numbers
  EXPECT_EQ(a->size(), 2000u);
}

TEST(ArraySort, ComparatorErrorsAndChangesLeaveTheArrayWhole) {
  Value a = arr({N(3), N(1), N(2), N(5), N(4)});
  callsLeft = 3;
  EXPECT_EQ(error("sort", {a, nativeFunction(failingCompare, 2)}), "error [7]: comparator gave up");
  EXPECT_EQ(show(a), "[ 3, 1, 2, 5, 4 ]");
  sortTarget = asArray(a);
  call("sort", {a, nativeFunction(clearingCompare, 2)});
  EXPECT_EQ(show(a), "[ 1, 2, 3, 4, 5 ]");
  EXPECT_EQ(error("sort", {a, N(1)}), "error [7]: Bad argument type in sort()");
  EXPECT_EQ(error("sort", {N(1)}), "error [7]: Bad argument type in sort()");
}

void addTwo(Context &, int, const Args &a, Value &r) {
  r.setNumber(toNumber(a[0]) + (a.size() > 1 && !a[1].isNull() ? toNumber(a[1]) : 100));
}
void isOdd(Context &, int, const Args &a, Value &r) {
  r.setBool(static_cast<long long>(a[0].number) % 2 != 0);
}

TEST(ArrayCallbacks, MapAndGrep) {
  Value add = nativeFunction(addTwo, -1);
  EXPECT_EQ(show(call("map", {add, arr({N(1), N(2), N(3)}), arr({N(10), N(20)})})),
            "[ 11, 22, 103 ]");
  EXPECT_EQ(show(call("grep", {nativeFunction(isOdd, 1), arr({N(1), N(2), N(3)})})), "[ 1, 3 ]");
  EXPECT_EQ(error("map", {add}), "error [7]: Too few arguments in map()");
  EXPECT_EQ(error("grep", {}), "error [7]: Too few arguments in grep()");
  EXPECT_EQ(error("rmap", {add}), "error [7]: Too few arguments in rmap()");
  // Checked before any element, so an empty array does not hide the mistake.
  EXPECT_EQ(error("map", {N(1), arr({})}), "error [7]: Bad argument type in map()");
  EXPECT_EQ(error("grep", {S("x"), arr({})}), "error [7]: Bad argument type in grep()");
  EXPECT_EQ(error("map", {add, arr({}), N(1)}), "error [7]: Bad argument type in map()");
}

TEST(ArrayCallbacks, RmapDescendsAndRefusesCycles) {
  Value add = nativeFunction(addTwo, -1);
  Value shared = arr({N(1)});
  Value nested = arr({N(1), arr({N(2), arr({N(3)})}), shared, shared});
  EXPECT_EQ(show(call("rmap", {add, nested})), "[ 101, [ 102, [ 103 ] ], [ 101 ], [ 101 ] ]");
  // A companion element that is not an array goes to every call below it.
  EXPECT_EQ(show(call("rmap", {add, arr({arr({N(1), N(2)}), N(3)}), arr({N(10), N(20)})})),
            "[ [ 11, 12 ], 23 ]");
  Value cyc = arr({N(1)});
  asArray(cyc)->push(arr({cyc}));
  EXPECT_EQ(error("rmap", {add, cyc}), "error [7]: Recursive array detected in rmap()");
  asArray(cyc)->items.clear();  // counting alone frees it then; later tests count live objects
  // Deep nesting is walked without C++ recursion.
  Value deep = arr({N(0)});
  for (int i = 0; i < 20000; i++) deep = arr({deep});
  Value mapped = call("rmap", {add, deep});
  EXPECT_TRUE(asArray(mapped) != nullptr);
}

}  // namespace
}  // namespace marl
