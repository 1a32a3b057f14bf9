// Handles' finalizers: the collector's path, the final cleanup and the
// interpreter state's teardown, which runs the cleanup before anything goes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "builtins/registry.hpp"
#include "eval/cleanup.hpp"
#include "eval/funcref.hpp"
#include "eval/run.hpp"
#include "frontend/names.hpp"
#include "frontend/symbols.hpp"
#include "runtime/conversions.hpp"
#include "runtime/error.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"
#include "runtime/object.hpp"
#include "support/fresh_interpreter.hpp"

namespace marl {
namespace {

std::vector<std::string> recorded;

void bi_record(Context &, int, const Args &a, Value &) { recorded.push_back(toText(a[0])); }

// Line numbers matter: the messages below name them.
constexpr const char *kFinalizers =
    "function fin(x) { log = log + x + \";\"; }\n"
    "function bad(x) { error(\"bad \", x); }\n"
    "function leave(x) {\n"
    "  exit(4);\n"
    "}\n"
    "function keep(x) { kept = x; }\n"
    "function tell(x) { record(type(x) + suffix); }\n"
    "function litter(x) { var a = [0]; var b = [a]; a[0] = b; kept = \"k\"; }\n"
    "log = \"\"; suffix = \"!\"; kept = null;\n";

class Finalizers : public ::testing::Test {
 protected:
  void SetUp() override {
    test::freshInterpreter();
    registerGroup(coreBuiltins());
    register_builtin("record", 1, bi_record);
    recorded.clear();
    run_script_string(kFinalizers);
  }

  static Value handle(const char *function, Value argument) {
    MHandle *h = new MHandle();
    Value holder(h);
    h->finalizer = Value(new MFuncRef(findFunction(function)));
    h->argument = std::move(argument);
    return holder;
  }

  // A handle whose argument is an array holding the handle: counting alone
  // never frees it once dropped.
  static void cyclicHandle(const char *function) {
    MArray *a = new MArray();
    Value array(a);
    Value h = handle(function, array);
    a->push(h);
  }

  // A global's text; "NAME.type" gives its type instead.
  static std::string global(std::string name) {
    bool type = name.ends_with(".type");
    if (type) name.resize(name.size() - 5);
    Symbol *s = findGlobal(intern(name));
    if (!s) return "<none>";
    if (type) return s->value.object ? s->value.object->typeName() : "null";
    return toText(s->value);
  }
};

TEST_F(Finalizers, FinalCleanupRunsEachHandleOnceInRegistryOrderAndReportsErrors) {
  Value a = handle("fin", makeString("a"));
  Value b = handle("bad", makeString("b"));
  Value c = handle("leave", makeString("c"));
  Value d = handle("fin", makeString("d"));
  testing::internal::CaptureStderr();
  finalCleanup();
  std::string errors = testing::internal::GetCapturedStderr();
  EXPECT_EQ(global("log"), "a;d;");
  EXPECT_EQ(errors,
            "error [2]: bad b [in final cleanup]\n"
            "error [line:4]: Cannot exit in final cleanup [in final cleanup]\n");
  for (const Value *h : {&a, &b, &c, &d}) EXPECT_TRUE(static_cast<MHandle *>(h->object)->finalized);

  // Runs once: a second call, even with a new handle, finalizes nothing.
  Value e = handle("fin", makeString("e"));
  finalCleanup();
  EXPECT_EQ(global("log"), "a;d;");
  EXPECT_FALSE(static_cast<MHandle *>(e.object)->finalized);
}

TEST_F(Finalizers, CollectorFinalizesOnlyUnreachableHandlesAndKeepsWhatTheyStore) {
  Value reachable = handle("fin", makeString("r"));
  cyclicHandle("keep");
  size_t before = registry().count;
  collect(true);
  // keep() stored its argument (the array, and through it the handle) in a
  // global: the second mark phase sees it, so nothing was swept.
  EXPECT_EQ(registry().count, before);
  EXPECT_EQ(global("kept.type"), "array");
  EXPECT_FALSE(static_cast<MHandle *>(reachable.object)->finalized);

  run_script_string("kept = null;");
  collect(true);                            // finalized already: swept without a second call
  EXPECT_EQ(registry().count, before - 3);  // the handle, its array, its function reference
  EXPECT_EQ(global("log"), "");

  cyclicHandle("tell");
  collect(true);
  EXPECT_EQ(recorded, (std::vector<std::string>{"array!"}));

  finalCleanup();
  EXPECT_EQ(global("log"), "r;");
}

// What a finalizer makes and drops is garbage of the same collection; what
// it stores in a global stays.
TEST_F(Finalizers, GarbageMadeByAFinalizerGoesInTheSameCollection) {
  collect(true);
  size_t before = registry().count;
  cyclicHandle("litter");
  collect(true);
  EXPECT_EQ(registry().count, before + 1);  // the text stored in `kept`
  EXPECT_EQ(global("kept"), "k");
}

// A collection cut short by a failing finalizer leaves no marks behind that
// would keep the next collection's garbage.
TEST_F(Finalizers, CollectionAfterAFailedFinalizerFreesAllGarbage) {
  collect(true);
  size_t before = registry().count;
  cyclicHandle("bad");
  {
    MArray *a = new MArray();
    MArray *b = new MArray();
    Value va(a), vb(b);
    a->push(vb);
    b->push(va);
  }
  EXPECT_THROW(collect(true), ScriptError);
  collect(true);
  EXPECT_EQ(registry().count, before);
}

TEST_F(Finalizers, TeardownRunsTheCleanupWhileGlobalsStillExist) {
  declare(globalScope(), intern("held"))->value = handle("tell", makeString("z"));
  cyclicHandle("tell");
  // Reachable or not, every handle is finalized by the teardown, in order.
  test::freshInterpreter();
  EXPECT_EQ(recorded, (std::vector<std::string>{"string!", "array!"}));
  EXPECT_EQ(registry().count, 0u);  // the new state starts empty
}

}  // namespace
}  // namespace marl
