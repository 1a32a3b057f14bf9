// How scripts reach automation objects and native functions, checked with a
// scripted stand-in object, so that any bridge behind the interface gets the
// same member, element, call and foreach behaviour.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "eval/context.hpp"
#include "runtime/error.hpp"
#include "eval/evaluator.hpp"
#include "frontend/functions.hpp"
#include "frontend/names.hpp"
#include "frontend/node.hpp"
#include "frontend/parse.hpp"
#include "frontend/symbols.hpp"
#include "runtime/conversions.hpp"
#include "runtime/external_object.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"
#include "tests/unit/support/fresh_interpreter.hpp"

namespace marl {
namespace {

std::string joined(std::span<const Value> args) {
  std::string s;
  for (const Value &v : args) s += (s.empty() ? "" : ",") + toText(v);
  return s;
}

// Records every operation; properties live in a map of numbers.
class FakeObject : public MComObj {
 public:
  std::vector<std::string> log;
  double counter = 10;

  void getProperty(int line, const std::string &name, std::span<const Value> args,
                   Value &result) override {
    log.push_back("get " + name + "(" + joined(args) + ")");
    if (name == "Missing") raise_error(line, "COM getprop[%s] failed", name.c_str());
    result = Value::num(counter);
  }
  void setProperty(int, const std::string &name, std::span<const Value> args,
                   const Value &value) override {
    log.push_back("set " + name + "(" + joined(args) + ")=" + toText(value));
    if (value.isNumber()) counter = value.number;
  }
  void invoke(int, const std::string &name, std::span<const Value> args, Value &result) override {
    log.push_back("invoke " + name + "(" + joined(args) + ")");
    result = makeString(name);
  }
  void item(int line, long long index, Value &result) override {
    log.push_back("item " + std::to_string(index));
    if (index > 2) raise_error(line, "Bad index for COM collection");
    result = Value::num(static_cast<double>(index * 100));
  }
  void enumerate(int, std::vector<Value> &out) override {
    log.push_back("enumerate");
    for (int i = 1; i <= 3; i++) out.push_back(Value::num(i));
  }
};

// Adds its arguments; declared with two parameters.
class FakeNative : public MDllFunc {
 public:
  size_t arity() const override { return 2; }
  void call(int, std::span<const Value> args, Value &result) override {
    result = Value::num(args[0].number + args[1].number);
  }
};

class AutomationAccess : public ::testing::Test {
 protected:
  FakeObject *object = nullptr;

  void SetUp() override {
    test::freshInterpreter();
    object = new FakeObject();
    declare(globalScope(), intern("o"))->value = Value(object);
    declare(globalScope(), intern("add"))->value = Value(new FakeNative());
  }
  void TearDown() override { test::freshInterpreter(); }

  // The value of the last statement, as text, or the error message.
  std::string run(std::string_view text) {
    object->log.clear();
    ParseResult r = parseText(text);
    if (!r.ok) return "PARSE ERROR";
    Context ctx;
    Value result;
    try {
      evaluateList(ctx, result, r.statements);
    } catch (const ScriptError &e) {
      return e.what();
    }
    return toText(result);
  }
  std::string log() const {
    std::string s;
    for (const std::string &e : object->log) s += (s.empty() ? "" : "; ") + e;
    return s;
  }
};

TEST_F(AutomationAccess, PropertiesAreReadAndWrittenByName) {
  EXPECT_EQ(run("o.Count;"), "10");
  EXPECT_EQ(log(), "get Count()");
  EXPECT_EQ(run("o.Count = 4;"), "4");
  EXPECT_EQ(log(), "set Count()=4");
  // A compound assignment reads once and writes once; the object is evaluated once.
  EXPECT_EQ(run("o.Count += 5;"), "9");
  EXPECT_EQ(log(), "get Count(); set Count()=9");
  EXPECT_EQ(run("o.Count++;"), "9");
  EXPECT_EQ(log(), "get Count(); set Count()=10");
  EXPECT_EQ(run("o.Missing;"), "error [1]: COM getprop[Missing] failed");
}

TEST_F(AutomationAccess, MemberCallsInvokeAndParameterisedPropertiesSet) {
  EXPECT_EQ(run("o.Append(1, \"x\");"), "Append");
  EXPECT_EQ(log(), "invoke Append(1,x)");
  EXPECT_EQ(run("o.Item(\"k\", 2) = 7;"), "7");
  EXPECT_EQ(log(), "set Item(k,2)=7");
  EXPECT_EQ(run("o.Item(3) += 1;"), "8");
  EXPECT_EQ(log(), "get Item(3); set Item(3)=8");
  // A call's result is not a place on anything else.
  EXPECT_EQ(run("h = struct(a); h.a(1) = 2;"), "error [1]: Bad type operation in operator .");
}

TEST_F(AutomationAccess, ElementsNeedNumbersAndCannotBeAssigned) {
  EXPECT_EQ(run("o[2.7];"), "200");
  EXPECT_EQ(log(), "item 2");
  EXPECT_EQ(run("o[true];"), "100");
  EXPECT_EQ(run("o[\"a\"];"), "error [1]: COM collection index must be number");
  EXPECT_EQ(run("o[null];"), "error [1]: COM collection index must be number");
  EXPECT_EQ(run("o[9];"), "error [1]: Bad index for COM collection");
  EXPECT_EQ(run("o[0] = 1;"), "error [1]: Cannot assign to COM collection element");
  EXPECT_EQ(run("o[0] += 1;"), "error [1]: Cannot assign to COM collection element");
}

TEST_F(AutomationAccess, ForeachWalksTheEnumeratedElements) {
  EXPECT_EQ(run("s = 0; foreach (x in o) s = s * 10 + x; s;"), "123");
  EXPECT_EQ(log(), "enumerate");
  EXPECT_EQ(run("n = 0; foreach (x in o) { n++; break; } n;"), "1");
  EXPECT_EQ(run("foreach (x in add) x;"),
            "error [1]: Argument must be collection in foreach statement");
}

TEST_F(AutomationAccess, NativeFunctionsAreCalledThroughVariablesWithExactCounts) {
  EXPECT_EQ(run("add(2, 3);"), "5");
  EXPECT_EQ(run("add(2);"), "error [1]: Incorrect argument count for DLL function");
  EXPECT_EQ(run("add(1, 2, 3);"), "error [1]: Incorrect argument count for DLL function");
  EXPECT_EQ(run("h = struct(f); h.f = add; h.f(4, 5);"), "9");
  EXPECT_EQ(run("add.x;"), "error [1]: Bad type operation in operator .");
  EXPECT_EQ(run("add[0];"), "error [1]: Bad array operation for non-array object");
}

}  // namespace
}  // namespace marl
