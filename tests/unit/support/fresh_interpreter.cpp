// One interpreter state for the whole test program, made before the first test.
#include "fresh_interpreter.hpp"

#include <gtest/gtest.h>

#include <memory>

#include "driver/interpreter.hpp"

namespace marl::test {

namespace {

std::unique_ptr<Interpreter> state;

class InterpreterEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { freshInterpreter(); }
  void TearDown() override { state.reset(); }
};

[[maybe_unused]] const auto *const environment =
    ::testing::AddGlobalTestEnvironment(new InterpreterEnvironment);

}  // namespace

Interpreter &freshInterpreter() {
  state.reset();
  state = std::make_unique<Interpreter>();
  return *state;
}

}  // namespace marl::test
