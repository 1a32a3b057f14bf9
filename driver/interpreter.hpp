// The interpreter state: everything a run keeps between statements, owned by
// one object. Its members are declared in the reverse of the teardown order,
// so destroying it is the teardown.
#pragma once
#include "builtins/input_queue.hpp"
#include "builtins/random.hpp"
#include "driver/driver.hpp"
#include "eval/evaluator.hpp"
#include "frontend/functions.hpp"
#include "frontend/parse_tree.hpp"
#include "frontend/symbols.hpp"
#include "io/standard_streams.hpp"
#include "runtime/conversions.hpp"
#include "runtime/object.hpp"

namespace marl {

// Stops the .NET runtime, if it was started, once every object is released.
struct ExternalRuntimes {
  ExternalRuntimes() = default;
  ~ExternalRuntimes();
  ExternalRuntimes(const ExternalRuntimes &) = delete;
  ExternalRuntimes &operator=(const ExternalRuntimes &) = delete;
};

// One per process: the language runs on one thread and the parts below are
// reached by each layer as "the current one". Construction pushes the global
// scope. Destruction flushes the standard streams, waits for a picture still
// on the screen to be closed, runs the final cleanup of handles, then, member
// by member: the driver's state, the input queue, the random generator and
// the evaluator's state; every scope; the function table; the last release
// of every object; the .NET runtime; the parse tree; the standard streams.
class Interpreter {
 public:
  Interpreter();
  ~Interpreter();
  Interpreter(const Interpreter &) = delete;
  Interpreter &operator=(const Interpreter &) = delete;
  static Interpreter *current();

  StandardStreams streams;
  ParseTree tree;

 private:
  ExternalRuntimes external_;

 public:
  MObjMan objects;
  NumberFormat numberFormat;
  FunctionTable functions;
  ScopeStack scopes;
  EvaluatorState evaluator;
  RandomGenerator random;
  InputQueue input;
  DriverState driver;
};

}  // namespace marl
