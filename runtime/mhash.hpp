// Script hashes: text keys to owned values, iterated in unsigned byte order of
// the keys (a shorter prefix first), whatever the insertion order.
#pragma once
#include <map>
#include <string>
#include <string_view>

#include "runtime/value.hpp"

namespace marl {

class MHash : public MRef {
 public:
  // std::string compares with char_traits<char>, which orders bytes as
  // unsigned and a prefix first: exactly the key order scripts see.
  using Map = std::map<std::string, HeldValue, std::less<>>;
  Map entries;

  MHash() : MRef(ObjType::Hash) {}

  size_t size() const { return entries.size(); }
  const HeldValue *find(std::string_view key) const {
    auto it = entries.find(key);
    return it == entries.end() ? nullptr : &it->second;
  }
  void set(std::string_view key, const Value &v);
  // Copies the value out and removes the key; false when it is absent.
  bool take(std::string_view key, Value &out);

  MRef *clone() const override;
  const char *typeName() const override { return "hash"; }
  void pushChildren(MarkStack &stack) const override;
};

inline MHash *asHash(const Value &v) {
  return v.is(ObjType::Hash) ? static_cast<MHash *>(v.object) : nullptr;
}

}  // namespace marl
