// Reading and assigning places: names, array elements, hash keys and members.
#pragma once
#include <cmath>
#include <string>
#include <vector>

#include "eval/context.hpp"
#include "frontend/node.hpp"
#include "frontend/symbols.hpp"
#include "runtime/marray.hpp"

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
// Raises "Symbol %s not declared" for a name node.
[[noreturn, gnu::cold]] void undeclaredName(Node *nameNode);
// Stores `value` into the place the node denotes; `result` receives the stored value.
void s_set(Context &ctx, Node *node, const Value &value);

// `a[i] = v` or `h[k] = v` on a named container with a leaf index, as
// s_set stores it; false (nothing done) when the general path must decide.
bool writeElementFast(Node *node, const Value &value);
// `a[i] op= v` (an arithmetic op) on a named array with a leaf index, or
// `h[k] op= v` on a named hash with a leaf key, whose element holds a
// number, without a place; false (nothing done) otherwise.
bool updateElementFast(Context &ctx, Node *node, int op, Value &result);
void resolvePlace(Context &ctx, Node *node, Place &place);
void readPlace(const Place &place, Value &result);
void writePlace(Place &place, const Value &value);

// The variable a name node denotes (null when not declared) while frame `f`
// runs. A resolved
// name is held by one of its candidate slots or is a global, unless text
// run by eval has declared names the resolver never saw in this frame.
Symbol *variableBeyondFirst(Frame *f, Node *nameNode);
inline Symbol *variableIn(Frame *f, Node *nameNode) {
  // Most names are held by their innermost candidate slot: that one is
  // tried here, the rest of the search is out of line.
  if (nameNode->resolved && nameNode->candidates && f->dynamic == 0) [[likely]] {
    Symbol *s = &f->slots[nameNode->candidate[0]];
    if (s->live && !s->refersToGlobal) [[likely]]
      return s;
  }
  return variableBeyondFirst(f, nameNode);
}
inline Symbol *variableAt(Node *nameNode) { return variableIn(runningFrame(), nameNode); }
// A number literal or a name holding a number (not a boolean): its value
// without evaluating a node. Reading either has no side
// effect, so a caller may fall back to the general path after a false answer. `a[i]` or `h[k]` on a
// named container with a leaf index whose element holds a number (not a boolean): that number, read
// in place.
bool elementNumberSlow(Node *n, double &out);
inline bool numberLeaf(Node *n, double &out);
inline bool elementNumber(Node *n, double &out) {
  // A named array and a number index within its length: read here, since
  // this is what inner loops do; everything else is decided out of line.
  if (n->left->opcode == OP_NAME && n->right->opcode <= OP_NAME) {
    Symbol *s = variableAt(n->left);
    MArray *a = s ? asArray(s->value) : nullptr;
    double d;
    if (a && numberLeaf(n->right, d) && d >= 0 && d < static_cast<double>(a->size()))
      return a->items[static_cast<size_t>(d)].numberInto(out);
  }
  return elementNumberSlow(n, out);
}
inline bool numberLeaf(Node *n, double &out) {
  if (n->opcode == OP_NUMBER) {
    out = n->number;
    return true;
  }
  if (n->opcode == OP_NAME) {
    Symbol *s = variableAt(n);
    if (s && s->value.isNumber()) {
      out = s->value.number;
      return true;
    }
  }
  return false;
}
// An operand of arithmetic or of an ordering: a number leaf, or an element
// holding a number. Elements are tried only here, where numbers are usual;
// elsewhere (`==`) the element is read once, by its node.
inline bool numberOperand(Node *n, double &out) {
  return numberLeaf(n, out) || (n->opcode == OP_INDEX && elementNumber(n, out));
}
// The element `a[i]` or `h[k]` (as elementNumber finds it) when it holds a
// number, with that number; null otherwise. The pointer is good until
// something runs that could change the container.
HeldValue *numberElement(Node *n, double &out);
// The truth of `a[i]` or `h[k]` read in place, as elementNumber reads
// them, when the element is a number, a boolean or null (a missing key is
// null): 1 or 0. -1 when the general path must read it.
int elementTruthSlow(Node *n);
inline int elementTruth(Node *n) {
  // A named array and a number index within its length, read here as
  // elementNumber reads it; everything else out of line.
  if (n->left->opcode == OP_NAME && n->right->opcode <= OP_NAME) {
    Symbol *s = variableAt(n->left);
    MArray *a = s ? asArray(s->value) : nullptr;
    double d;
    if (a && numberLeaf(n->right, d) && d >= 0 && d < static_cast<double>(a->size())) {
      const HeldValue &e = a->items[static_cast<size_t>(d)];
      if (e.numberInto(d)) return !std::isnan(d) && d != 0;
      if (e.isBool()) return e.number() != 0;
      if (e.isNull()) return 0;
      return -1;
    }
  }
  return elementTruthSlow(n);
}
// Whether `a[i]` or `h[k]`, read as elementTruth reads it, is null: 1 or 0;
// -1 when the general path must read it.
int elementIsNull(Node *n);
// The variable an assignment to a name node stores into: found by the scope
// walk, or declared in the innermost scope (an error in strict mode).
Symbol *declareForAssignment(Node *nameNode);
inline Symbol *variableForAssignment(Node *nameNode) {
  Symbol *s = variableAt(nameNode);
  return s ? s : declareForAssignment(nameNode);
}
// Declares the name of a declaring node (`var`, a loop or catch variable,
// `let`, a nested function) in the innermost scope, or finds it declared
// there already ("Symbol %s already declared" in strict mode when asked).
Symbol *declareAtNode(Node *node, Name *name, int line, bool strictCheck);

}  // namespace marl
