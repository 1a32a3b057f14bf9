// Reading and assigning places: names, array elements, hash keys and members.
#pragma once
#include <string>
#include <vector>

#include "eval/context.hpp"
#include "frontend/node.hpp"
#include "frontend/symbols.hpp"

namespace marl {

// A resolved place, so that compound assignments and ++/-- evaluate the
// container and the index once.
struct Place {
  // Property: a (parameterised) property of an automation object.
  enum Kind { Variable, Element, Key, Member, Property } kind = Variable;
  Symbol *symbol = nullptr;
  Value container;
  long long index = 0;
  std::string key;
  std::vector<Value> args;  // a parameterised property's arguments
  int line = 0;
};

// `a.name` of an evaluated container: a hash member or an automation property.
void readMember(const Value &container, const std::string &name, int line, Value &result);

void s_get(Context &ctx, Value &result, Node *node);
// Stores `value` into the place the node denotes; `result` receives the stored value.
void s_set(Context &ctx, Node *node, const Value &value);

void resolvePlace(Context &ctx, Node *node, Place &place);
void readPlace(const Place &place, Value &result);
void writePlace(Place &place, const Value &value);

// Declares `name` in the innermost scope (or reuses it there).
Symbol *declareHere(Name *name, int line, bool strictCheck);

}  // namespace marl
