// Arithmetic trees compiled to straight-line code over doubles.
//
// An expression such as `(t * 31 + i * j + j % 13) % 1000003` is otherwise
// one handler call, with its operand values, per operator. Its leaves (number
// literals, names, elements of named containers with a leaf index) have no
// side effects, so the whole tree can run as postfix steps on a small stack
// of doubles; when a leaf turns out not to hold a number the code gives up
// and the tree runs as usual, with nothing done twice that could be seen.
#pragma once
#include <cstdint>
#include <vector>

#include "frontend/node.hpp"

namespace marl {

struct NumericStep {
  uint8_t code;
  int32_t line;  // of the operator, for its errors
  union {
    double constant;
    Node *leaf;
  };
};

struct NumericCode {
  std::vector<NumericStep> steps;
  uint32_t misses = 0;     // runs that gave up
  uint8_t comparison = 0;  // the operator of a comparison at the root, if any
};

// The node states kept in Node::numericState.
enum : uint8_t { NUMERIC_UNTRIED = 0, NUMERIC_COMPILED = 1, NUMERIC_REJECTED = 2 };

// Code for the arithmetic tree under `root` (or for a comparison of two such
// trees, whose value is 1 or 0), or null when the tree has other kinds of
// node, is too deep, or is too small to gain from it.
NumericCode *compileNumeric(Node *root);

// Runs code: true with the tree's value in `out`; false, having had no
// effect, when a leaf does not hold a number. Errors are raised where the
// tree raises them.
bool runNumeric(const NumericCode &code, double &out);

}  // namespace marl
