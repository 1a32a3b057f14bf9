// Every unit test runs with an interpreter state, as scripts do; a test that
// needs a clean one replaces it, which tears the old one down in order.
#pragma once

namespace marl {
class Interpreter;
}

namespace marl::test {

// Destroys the current interpreter state and makes a new one (with only the
// global scope); returns it.
Interpreter &freshInterpreter();

}  // namespace marl::test
