// Reading and assigning places: names, array elements, hash keys and members.
#pragma once
#include <string>

#include "eval/context.hpp"
#include "frontend/node.hpp"
#include "frontend/symbols.hpp"

namespace marl {

// A resolved place, so that compound assignments and ++/-- evaluate the
// container and the index once.
struct Place {
  enum Kind { Variable, Element, Key, Member } kind = Variable;
  Symbol *symbol = nullptr;
  Value container;
  long long index = 0;
  std::string key;
  int line = 0;
};

void s_get(Context &ctx, Value &result, Node *node);
// Stores `value` into the place the node denotes; `result` receives the stored value.
void s_set(Context &ctx, Node *node, const Value &value);

void resolvePlace(Context &ctx, Node *node, Place &place);
void readPlace(const Place &place, Value &result);
void writePlace(Place &place, const Value &value);

// The variable an assignment to `name` stores into: found by the scope walk,
// or declared in the innermost scope (an error in strict mode).
Symbol *variableForAssignment(Name *name, int line);
// Declares `name` in the innermost scope (or reuses it there).
Symbol *declareHere(Name *name, int line, bool strictCheck);

}  // namespace marl
