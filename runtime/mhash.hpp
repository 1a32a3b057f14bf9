// Script hashes: text keys to owned values, iterated in unsigned byte order of
// the keys (a shorter prefix first), whatever the insertion order.
#pragma once
#include <string_view>

#include "runtime/hash_table.hpp"
#include "runtime/value.hpp"

namespace marl {

class MHash : public MRef {
 public:
  using Map = HashTable;
  Map entries;  // iterate freely (in key order); change only through the members below

  MHash() : MRef(ObjType::Hash) {}

  size_t size() const { return entries.size(); }
  const HeldValue *find(std::string_view key) const { return entries.find(key); }
  // The value of a key, to change in place (the key and its order stay).
  HeldValue *findValue(std::string_view key) { return entries.find(key); }
  void set(std::string_view key, const Value &v) { entries.set(key, v); }
  // Copies the value out and removes the key; false when it is absent.
  bool take(std::string_view key, Value &out) { return entries.take(key, out); }
  bool erase(std::string_view key) { return entries.erase(key); }
  void clear() { entries.clear(); }

  MRef *clone() const override;
  const char *typeName() const override { return "hash"; }
  void pushChildren(MarkStack &stack) const override;
};

inline MHash *asHash(const Value &v) {
  return v.is(ObjType::Hash) ? static_cast<MHash *>(v.object) : nullptr;
}

}  // namespace marl
