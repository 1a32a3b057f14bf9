// Fuzz target: arbitrary text run as a whole script. Built-ins that reach
// outside the process (the shell, the file system, the console, sleeping) are
// left out; a step budget and a memory budget make every input finish.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "builtins/registry.hpp"
#include "runtime/memory_limit.hpp"
#include "driver/interpreter.hpp"
#include "eval/run.hpp"
#include "io/process.hpp"
#include "runtime/error.hpp"
#include "eval/evaluator.hpp"
#include "frontend/functions.hpp"
#include "frontend/node.hpp"
#include "frontend/symbols.hpp"
#include "memory_budget.hpp"
#include "runtime/object.hpp"
#include "runtime/stack_guard.hpp"

namespace {

constexpr uint64_t kSteps = 20000;
constexpr size_t kMemory = size_t{128} << 20;

constexpr const char *kLeftOut[] = {
    "system", "open",  "gets",  "eof", "read",    "mkdir", "rmdir", "chdir", "unlink", "rename",
    "fcopy",  "fmove", "chmod", "dir", "fulldir", "sleep", "beep",  "kbhit", "getch",  "getche",
};

bool leftOut(const char *name) {
  for (const char *n : kLeftOut)
    if (std::strcmp(n, name) == 0) return true;
  return false;
}

void registerSafeBuiltins() {
  using Group = std::span<const marl::BuiltinEntry> (*)();
  for (Group group :
       {marl::coreBuiltins, marl::stringBuiltins, marl::encodingBuiltins, marl::arrayBuiltins,
        marl::mathBuiltins, marl::regexpBuiltins, marl::fileBuiltins, marl::systemBuiltins,
        marl::formatBuiltins, marl::packBuiltins, marl::serialBuiltins})
    for (const marl::BuiltinEntry &e : group())
      if (!leftOut(e.name)) marl::register_builtin(e.name, e.arity, e.handler);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // The fuzzer stops a run above 2 GiB: requests that could not be met within
  // 512 MiB are refused as they would be on a small machine.
  marl::capMemoryLimit(uint64_t{512} << 20);
  using namespace marl;
  static bool ready = [] {
    recordStackBounds();
    return true;
  }();
  (void)ready;
  // A fresh interpreter per input; its destruction is the whole teardown.
  Interpreter state;
  registerSafeBuiltins();
  setStepBudget(kSteps);
  fuzz::setMemoryBudget(kMemory);
  run_script_string(std::string_view(reinterpret_cast<const char *>(data), size));
  fuzz::setMemoryBudget(0);
  setStepBudget(0);
  return 0;
}
