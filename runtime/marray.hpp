// Script arrays: a growable sequence of owned elements, indexed from 0.
#pragma once
#include "runtime/pool_allocator.hpp"
#include "runtime/value.hpp"

namespace marl {

class MArray : public MRef {
 public:
  using Items = PoolVector<HeldValue>;
  Items items;

  MArray() : MRef(ObjType::Array) {}
  explicit MArray(size_t n) : MRef(ObjType::Array), items(n) {}

  size_t size() const { return items.size(); }
  // The element at index, or none when the index is out of range.
  const HeldValue *at(long long index) const {
    return index >= 0 && static_cast<size_t>(index) < items.size() ? &items[index] : nullptr;
  }
  // Fails (false) for a negative index; grows with nulls past the end.
  bool set(long long index, const Value &v) {
    if (index >= 0 && static_cast<size_t>(index) < items.size()) [[likely]] {
      items[static_cast<size_t>(index)] = v;
      return true;
    }
    return setGrowing(index, v);
  }
  bool setGrowing(long long index, const Value &v);
  void resize(size_t n) { items.resize(n); }
  void push(const Value &v) { items.emplace_back(v); }

  MRef *clone() const override;
  const char *typeName() const override { return "array"; }
  void pushChildren(MarkStack &stack) const override;
};

inline MArray *asArray(const Value &v) {
  return v.is(ObjType::Array) ? static_cast<MArray *>(v.object) : nullptr;
}

}  // namespace marl
