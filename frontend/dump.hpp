// A readable, deterministic rendering of parse trees, for tests and debugging.
#pragma once
#include <string>

#include "frontend/node.hpp"

namespace marl {

// One S-expression per node: "(+ a 1)", "(call f 1 2)", "(if c (block) _)".
// Absent optional children print as "_"; a list prints its elements in order.
std::string dumpTree(const Node *node);
// The statements of a list, one dump per statement, separated by "; ".
std::string dumpList(const Node *first);

}  // namespace marl
