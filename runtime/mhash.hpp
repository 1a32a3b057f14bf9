// Script hashes: text keys to owned values, iterated in unsigned byte order of
// the keys (a shorter prefix first), whatever the insertion order.
#pragma once
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "runtime/value.hpp"

namespace marl {

class MHash : public MRef {
 public:
  // std::string compares with char_traits<char>, which orders bytes as
  // unsigned and a prefix first: exactly the key order scripts see.
  // Lookups go through a hash index over the map's nodes (whose keys never
  // move), so only inserting a new key pays for the ordered tree.
  using Map = std::map<std::string, HeldValue, std::less<>>;
  Map entries;  // iterate freely; change only through the members below

  MHash() : MRef(ObjType::Hash) {}

  size_t size() const { return entries.size(); }
  const HeldValue *find(std::string_view key) const {
    auto it = index_.find(key);
    return it == index_.end() ? nullptr : &it->second->second;
  }
  void set(std::string_view key, const Value &v);
  // Copies the value out and removes the key; false when it is absent.
  bool take(std::string_view key, Value &out);
  bool erase(std::string_view key);
  void clear();

  MRef *clone() const override;
  const char *typeName() const override { return "hash"; }
  void pushChildren(MarkStack &stack) const override;

 private:
  std::unordered_map<std::string_view, Map::iterator> index_;
};

inline MHash *asHash(const Value &v) {
  return v.is(ObjType::Hash) ? static_cast<MHash *>(v.object) : nullptr;
}

}  // namespace marl
