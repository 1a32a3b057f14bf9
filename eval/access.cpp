// Reading and assigning places: names, array elements, hash keys and members.
#include "eval/access.hpp"

#include <cmath>
#include <optional>
#include <string_view>

#include "runtime/error.hpp"
#include "eval/evaluator.hpp"
#include "eval/external_access.hpp"
#include "eval/operators.hpp"
#include "runtime/conversions.hpp"
#include "runtime/external_object.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

long long truncIndex(double d) {
  // The conversion itself truncates toward zero; only NaN and values
  // beyond the integer range need a decision.
  if (d > -9.0e18 && d < 9.0e18) [[likely]]
    return static_cast<long long>(d);
  if (std::isnan(d)) return 0;
  return d > 0 ? static_cast<long long>(9.0e18) : static_cast<long long>(-9.0e18);
}

// The index shown in "Array range error index:=%d" is the truncated index as
// a 32-bit integer.
int shownIndex(long long i) { return static_cast<int>(static_cast<uint32_t>(i)); }

[[noreturn]] void notDeclared(int line, Name *name) {
  raise_error(line, "Symbol %s not declared", (name->var ? name->var : name)->text.c_str());
}

// The container a name node holds, read in place: only when the index is a
// leaf, since a general index expression could reassign the name first.
[[gnu::always_inline]] inline const Value *containerInPlace(Node *node) {
  if (node->left->opcode != OP_NAME) return nullptr;
  int op = node->right->opcode;
  if (op != OP_NUMBER && op != OP_NAME && op != OP_STRING) return nullptr;
  Symbol *s = variableAt(node->left);
  return s && s->value.object ? &s->value : nullptr;
}

// A string literal, or a name holding a string: the key text in place.
std::optional<std::string_view> leafKey(Node *n) {
  if (n->opcode == OP_STRING) return n->payload.str->bytes;
  if (n->opcode != OP_NAME) return std::nullopt;
  Symbol *s = variableAt(n);
  MString *k = s ? asString(s->value) : nullptr;
  if (!k) return std::nullopt;
  return k->text.view();
}

// a[i] and h[k] on a named container with a leaf index, without a place or a
// copy of the key. False when the general path must decide (and report).
bool readElementFast(Node *node, Value &result) {
  const Value *container = containerInPlace(node);
  if (!container) return false;
  if (MArray *a = asArray(*container)) {
    double d;
    if (!numberLeaf(node->right, d)) return false;
    const HeldValue *h = a->at(truncIndex(d));
    if (!h) return false;
    h->readInto(result);
    return true;
  }
  if (MHash *h = asHash(*container)) {
    std::optional<std::string_view> key = leafKey(node->right);
    if (!key) return false;
    const HeldValue *e = h->find(*key);
    if (e)
      e->readInto(result);
    else
      result.setNull();
    return true;
  }
  return false;
}

}  // namespace

Symbol *variableBeyondFirst(Frame *f, Node *nameNode) {
  if (nameNode->resolved && f->dynamic == 0) [[likely]] {
    for (int k = 0; k < nameNode->candidates; k++) {
      Symbol *s = &f->slots[nameNode->candidate[k]];
      if (s->live) return s->refersToGlobal ? externTarget(nameNode->payload.name) : s;
    }
    Name *name = nameNode->payload.name;
    if (name->var) name = name->var;
    if (f->statics && *f->statics)
      if (Symbol *s = (*f->statics)->findHere(name)) return s;
    return name->global;
  }
  return lookupVariable(nameNode->payload.name);
}

void undeclaredName(Node *nameNode) { notDeclared(nameNode->line, nameNode->payload.name); }

bool writeElementFast(Node *node, const Value &value) {
  const Value *container = containerInPlace(node);
  if (!container) return false;
  if (MArray *a = asArray(*container)) {
    double d;
    if (!numberLeaf(node->right, d)) return false;
    long long i = truncIndex(d);
    if (!a->set(i, value)) raise_error(node->line, "Array range error index:=%d", shownIndex(i));
    return true;
  }
  if (MHash *h = asHash(*container)) {
    std::optional<std::string_view> key = leafKey(node->right);
    if (!key) return false;
    h->set(*key, value);
    return true;
  }
  return false;
}

bool elementNumberSlow(Node *n, double &out) {
  const Value *container = containerInPlace(n);
  if (!container) return false;
  const HeldValue *e = nullptr;
  if (MArray *a = asArray(*container)) {
    double d;
    if (!numberLeaf(n->right, d)) return false;
    e = a->at(truncIndex(d));
  } else if (MHash *h = asHash(*container)) {
    std::optional<std::string_view> key = leafKey(n->right);
    if (!key) return false;
    e = h->find(*key);
  }
  return e && e->numberInto(out);
}

HeldValue *numberElementSlow(Node *n, double &out) {
  const Value *container = containerInPlace(n);
  if (!container) return nullptr;
  HeldValue *e = nullptr;
  if (MArray *a = asArray(*container)) {
    double d;
    if (!numberLeaf(n->right, d)) return nullptr;
    long long i = truncIndex(d);
    if (i < 0 || static_cast<size_t>(i) >= a->size()) return nullptr;
    e = &a->items[static_cast<size_t>(i)];
  } else if (MHash *h = asHash(*container)) {
    std::optional<std::string_view> key = leafKey(n->right);
    if (!key) return nullptr;
    e = h->findValue(*key);
  }
  return e && e->numberInto(out) ? e : nullptr;
}

namespace {

// The null a missing hash key reads as.
const HeldValue kMissing;

// `a[i]` or `h[k]` read in place as readElementFast reads it: the element,
// kMissing for a key the hash lacks, null when the general path must read it.
const HeldValue *elementInPlace(Node *n) {
  const Value *container = containerInPlace(n);
  if (!container) return nullptr;
  if (MArray *a = asArray(*container)) {
    double d;
    if (!numberLeaf(n->right, d)) return nullptr;
    return a->at(truncIndex(d));  // out of range: the general path reports it
  }
  if (MHash *h = asHash(*container)) {
    std::optional<std::string_view> key = leafKey(n->right);
    if (!key) return nullptr;
    const HeldValue *e = h->find(*key);
    return e ? e : &kMissing;
  }
  return nullptr;
}

}  // namespace

int elementIsNull(Node *n) {
  const HeldValue *e = elementInPlace(n);
  return e ? e->isNull() : -1;
}

int elementTruthSlow(Node *n) {
  const HeldValue *e = elementInPlace(n);
  if (!e) return -1;
  double d;
  if (e->numberInto(d)) return !std::isnan(d) && d != 0;
  if (e->isBool()) return e->number() != 0;
  if (e->isNull()) return 0;
  return -1;  // objects: truth() decides on the value read
}

namespace {

// `current op (the node's right side)` into `result`: numbers inline, the
// rest by the general operator.
void combineWithRight(Context &ctx, Node *node, int op, const Value &current, Value &result) {
  Value rhs;
  evaluate(ctx, rhs, node->right);
  if (rhs.isNumeric())
    result.setNumber(numericOp(node->line, op, current.number, rhs.number));
  else
    result = arith(node->line, op, current, rhs);
}

// h[k] op= v with a leaf key whose entry holds a number.
bool updateKeyFast(Context &ctx, Node *node, int op, MHash *h, const Value &container,
                   Value &result) {
  std::optional<std::string_view> leaf = leafKey(node->left->right);
  if (!leaf) return false;
  HeldValue *entry = h->findValue(*leaf);
  if (!entry || !entry->isNumeric()) return false;
  Value current = entry->get();
  double y;
  if (numberLeaf(node->right, y)) {
    result.setNumber(numericOp(node->line, op, current.number, y));
    *entry = result;  // nothing ran since the lookup
    return true;
  }
  // The right side may reassign the variables that hold the hash and the key.
  Value keep(container);
  std::string key(*leaf);
  combineWithRight(ctx, node, op, current, result);
  h->set(key, result);
  return true;
}

}  // namespace

bool updateElementFast(Context &ctx, Node *node, int op, Value &result) {
  Node *target = node->left;
  const Value *container = containerInPlace(target);
  if (!container) return false;
  if (MHash *h = asHash(*container)) return updateKeyFast(ctx, node, op, h, *container, result);
  MArray *a = asArray(*container);
  double d;
  if (!a || !numberLeaf(target->right, d)) return false;
  long long i = truncIndex(d);
  const HeldValue *element = a->at(i);
  if (!element || !element->isNumeric()) return false;
  // From here on the general path would do the same: the element is read
  // before the right side runs, and the array read is the one written.
  Value current = element->get();
  double y;
  if (numberLeaf(node->right, y)) {
    result.setNumber(numericOp(node->line, op, current.number, y));
  } else {
    Value keep(*container);  // the right side may drop the variable's array
    combineWithRight(ctx, node, op, current, result);
  }
  if (!a->set(i, result)) raise_error(node->line, "Array range error index:=%d", shownIndex(i));
  return true;
}

namespace {

// `o.m(args)` as a place: a parameterised property of an automation object.
void resolvePropertyCall(Context &ctx, Node *node, Place &place) {
  for (Node *a = node->left; a; a = a->next) {
    place.args.emplace_back();
    evaluate(ctx, place.args.back(), a);
  }
  Node *callee = node->right;
  if (callee->opcode == OP_MEMBER) evaluate(ctx, place.container, callee->left);
  if (!asComObj(place.container)) raise_error(node->line, "Bad type operation in operator .");
  place.kind = Place::Property;
  place.key = callee->right->payload.name->text;
}

}  // namespace

Symbol *declareForAssignment(Node *nameNode) {
  Name *name = nameNode->payload.name;
  if (strictMode()) notDeclared(nameNode->line, name);
  bool existed;
  if (nameNode->resolved && nameNode->slot >= 0) return declareSlot(nameNode->slot, existed);
  return declareInnermost(name, false, existed);
}

Symbol *declareAtNode(Node *node, Name *name, int line, bool strictCheck) {
  bool existed;
  Symbol *s =
      node->slot >= 0 ? declareSlot(node->slot, existed) : declareInnermost(name, false, existed);
  if (existed && strictCheck && strictMode())
    raise_error(line, "Symbol %s already declared", (name->var ? name->var : name)->text.c_str());
  return s;
}

void s_get(Context &ctx, Value &result, Node *node) {
  switch (node->opcode) {
    case OP_NAME: {
      Symbol *s = variableAt(node);
      if (!s) notDeclared(node->line, node->payload.name);
      result = s->value;
      return;
    }
    case OP_INDEX: {
      if (readElementFast(node, result)) return;
      Value container, index;
      evaluate(ctx, container, node->left);
      evaluate(ctx, index, node->right);
      if (MArray *a = asArray(container)) {
        if (!index.isNumeric()) raise_error(node->line, "Array index must be number");
        long long i = truncIndex(index.number);
        const HeldValue *h = a->at(i);
        if (!h) raise_error(node->line, "Array range error index:=%d", shownIndex(i));
        h->readInto(result);
        return;
      }
      if (MHash *h = asHash(container)) {
        MString *k = asString(index);
        if (!k) raise_error(node->line, "Hash index must be string");
        const HeldValue *e = h->find(k->text);
        if (e)
          e->readInto(result);
        else
          result.setNull();
        return;
      }
      if (readAutomationItem(container, index, node->line, result)) return;
      raise_error(node->line, "Bad array operation for non-array object");
    }
    case OP_MEMBER: {
      Value container;
      evaluate(ctx, container, node->left);
      readMember(container, node->right->payload.name->text, node->line, result);
      return;
    }
  }
  raise_error(node->line, "Internal error in s_get()");
}

void readMember(const Value &container, const std::string &name, int line, Value &result) {
  MHash *h = asHash(container);
  if (!h) {
    if (readAutomationProperty(container, name, line, result)) return;
    raise_error(line, "Bad type operation in operator .");
  }
  const HeldValue *e = h->find(name);
  if (!e) raise_error(line, "Hash member %s is not declared in operator .", name.c_str());
  e->readInto(result);
}

void resolvePlace(Context &ctx, Node *node, Place &place) {
  place.line = node->line;
  switch (node->opcode) {
    case OP_NAME:
      // Only compound assignment, ++/-- and swap come here; they read the
      // name first, so an undeclared one fails as reading does and stays undeclared.
      place.kind = Place::Variable;
      place.symbol = variableAt(node);
      if (!place.symbol) notDeclared(node->line, node->payload.name);
      return;
    case OP_INDEX: {
      Value index;
      evaluate(ctx, place.container, node->left);
      evaluate(ctx, index, node->right);
      if (asArray(place.container)) {
        if (!index.isNumeric()) raise_error(node->line, "Array index must be number");
        place.kind = Place::Element;
        place.index = truncIndex(index.number);
        return;
      }
      if (asHash(place.container)) {
        MString *k = asString(index);
        if (!k) raise_error(node->line, "Hash index must be string");
        place.kind = Place::Key;
        place.key = k->text;
        return;
      }
      if (asComObj(place.container))
        raise_error(node->line, "Cannot assign to COM collection element");
      raise_error(node->line, "Bad array operation for non-array object");
    }
    case OP_MEMBER: {
      evaluate(ctx, place.container, node->left);
      place.key = node->right->payload.name->text;
      if (asComObj(place.container)) {
        place.kind = Place::Property;
        return;
      }
      if (!asHash(place.container)) raise_error(node->line, "Bad type operation in operator .");
      place.kind = Place::Member;
      return;
    }
    case OP_CALL:
      resolvePropertyCall(ctx, node, place);
      return;
  }
  raise_error(node->line, "Internal error in s_set()");
}

void readPlace(const Place &place, Value &result) {
  switch (place.kind) {
    case Place::Variable:
      result = place.symbol->value;
      return;
    case Place::Element: {
      const HeldValue *h = asArray(place.container)->at(place.index);
      if (!h) raise_error(place.line, "Array range error index:=%d", shownIndex(place.index));
      h->readInto(result);
      return;
    }
    case Place::Key: {
      const HeldValue *e = asHash(place.container)->find(place.key);
      if (e)
        e->readInto(result);
      else
        result.setNull();
      return;
    }
    case Place::Member: {
      const HeldValue *e = asHash(place.container)->find(place.key);
      if (!e)
        raise_error(place.line, "Hash member %s is not declared in operator .", place.key.c_str());
      e->readInto(result);
      return;
    }
    case Place::Property:
      asComObj(place.container)->getProperty(place.line, place.key, place.args, result);
      return;
  }
}

void writePlace(Place &place, const Value &value) {
  switch (place.kind) {
    case Place::Variable:
      place.symbol->value = value;
      return;
    case Place::Element:
      if (!asArray(place.container)->set(place.index, value))
        raise_error(place.line, "Array range error index:=%d", shownIndex(place.index));
      return;
    case Place::Key:
      asHash(place.container)->set(place.key, value);
      return;
    case Place::Member: {
      MHash *h = asHash(place.container);
      if (!h->find(place.key))
        raise_error(place.line, "Hash member %s is not declared in operator .", place.key.c_str());
      h->set(place.key, value);
      return;
    }
    case Place::Property:
      asComObj(place.container)->setProperty(place.line, place.key, place.args, value);
      return;
  }
}

void s_set(Context &ctx, Node *node, const Value &value) {
  if (node->opcode == OP_NAME) {
    variableForAssignment(node)->value = value;
    return;
  }
  if (node->opcode == OP_ARRAY) {
    MArray *src = asArray(value);
    long long i = 0;
    for (Node *t = node->left; t; t = t->next, i++) {
      if (t->opcode == OP_NULL) continue;
      if (src) {
        const HeldValue *h = src->at(i);
        s_set(ctx, t, h ? h->get() : Value());
      } else {
        s_set(ctx, t, value);
      }
    }
    return;
  }
  if (node->opcode == OP_INDEX && writeElementFast(node, value)) return;
  Place place;
  resolvePlace(ctx, node, place);
  writePlace(place, value);
}

}  // namespace marl
