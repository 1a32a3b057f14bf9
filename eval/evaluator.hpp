// The tree-walking evaluator.
#pragma once
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "eval/context.hpp"
#include "eval/numeric_code.hpp"
#include "frontend/functions.hpp"
#include "frontend/node.hpp"

namespace marl {

// Evaluates one node into `result`; may leave a pending jump in `ctx`.
void evaluate(Context &ctx, Value &result, Node *node);
// Evaluates a statement list (chained through `next`); stops at a pending jump.
void evaluateList(Context &ctx, Value &result, Node *first);
// Runs a script function or a built-in with evaluated arguments.
void call_function(Context &ctx, Value &result, int line, func_data *fd, const Args &args);
// Calls a function reference value (callbacks of built-ins); `who` names the
// built-in in "Bad argument type in who()" when `fn` is not callable.
void call_value(Context &ctx, Value &result, int line, const Value &fn, const Args &args,
                const char *who);

// Bounds a run to this many loop iterations and calls, after which every one
// raises "Step budget exhausted"; 0 (the default) removes the bound. For
// running untrusted text to completion, as the fuzzers do.
void setStepBudget(uint64_t steps);

// Process-wide strict-declaration mode.
bool strictMode();
bool setStrictMode(bool on);  // returns the previous mode

// The evaluator's part of the interpreter state. While it exists the
// collector marks roots and runs handles' finalizers through the evaluator;
// destroying it releases the functions defined inside braces.
struct EvaluatorState {
  bool strict = false;
  // Functions defined inside braces get one table entry per definition node,
  // so their static variables persist like those of top-level functions.
  std::unordered_map<FunctionDef *, FuncInfo *> nestedFunctions;
  bool finalCleanupDone = false;
  // The straight-line code of arithmetic trees, owned here; nodes point at it.
  std::vector<std::unique_ptr<NumericCode>> numericCode;
  EvaluatorState();
  ~EvaluatorState();
  EvaluatorState(const EvaluatorState &) = delete;
  EvaluatorState &operator=(const EvaluatorState &) = delete;
};
EvaluatorState &evaluatorState();

}  // namespace marl
