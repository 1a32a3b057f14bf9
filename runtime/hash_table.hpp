// The storage of script hashes: entries kept densely in a vector, found
// through an open-addressing index, and listed in unsigned byte order of the
// keys (a shorter prefix first), whatever the insertion order.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/pool_allocator.hpp"
#include "runtime/value.hpp"

namespace marl {

class HashTable {
 public:
  struct Entry {
    std::string first;  // the key
    HeldValue second;   // the value
  };

  // Walks the entries in key order. It stays usable while the table is
  // only read or its values assigned, not once a key is added or removed.
  class const_iterator {
   public:
    const_iterator() = default;
    const Entry &operator*() const { return t_->slots_[t_->order_[pos_]]; }
    const Entry *operator->() const { return &**this; }
    const_iterator &operator++() {
      ++pos_;
      return *this;
    }
    const_iterator operator++(int) {
      const_iterator old = *this;
      ++pos_;
      return old;
    }
    bool operator==(const const_iterator &o) const { return pos_ == o.pos_ && t_ == o.t_; }

   private:
    friend class HashTable;
    const_iterator(const HashTable *t, size_t pos) : t_(t), pos_(pos) {}
    const HashTable *t_ = nullptr;
    size_t pos_ = 0;
  };

  HashTable() = default;
  HashTable(const HashTable &other);
  HashTable &operator=(const HashTable &other);

  size_t size() const { return slots_.size(); }
  bool empty() const { return slots_.empty(); }

  const HeldValue *find(std::string_view key) const {
    size_t i = locate(key);
    return i == kNone ? nullptr : &slots_[i].second;
  }
  HeldValue *find(std::string_view key) {
    size_t i = locate(key);
    return i == kNone ? nullptr : &slots_[i].second;
  }
  void set(std::string_view key, const Value &v);
  // Copies the value out and removes the key; false when it is absent.
  bool take(std::string_view key, Value &out);
  bool erase(std::string_view key);
  void clear();
  void reserve(size_t n);

  // In key order; the order is sorted when first asked for after a change.
  const_iterator begin() const {
    sortKeys();
    return {this, 0};
  }
  const_iterator end() const { return {this, slots_.size()}; }

  // In no particular order, for walks that don't show it (marking, copying).
  const PoolVector<Entry> &unordered() const { return slots_; }

 private:
  static constexpr size_t kNone = SIZE_MAX;
  // Up to this many entries a scan of the keys beats hashing one.
  static constexpr size_t kScanLimit = 8;

  // One index cell: 0 when free, else the entry's position + 1 and the
  // low bits of its key's hash.
  struct Cell {
    uint32_t slot;
    uint32_t hash;
  };

  size_t locate(std::string_view key) const;
  size_t cellOf(size_t slot) const;
  void buildIndex(size_t cells);
  void placeInIndex(uint32_t hash, size_t slot);
  void removeCell(size_t cell);
  void removeSlot(size_t slot);
  void sortKeys() const;

  PoolVector<Entry> slots_;
  std::vector<Cell> index_;  // empty while scanning is cheaper; size a power of 2
  // Positions of the entries in key order, for the first `sorted_` entries.
  mutable std::vector<uint32_t> order_;
  mutable uint32_t sorted_ = 0;  // entries are limited to 32-bit positions
  // While the keys are scanned: the position after the last key found,
  // tried first. Records are mostly filled and read field after field.
  mutable uint32_t hint_ = 0;
};

}  // namespace marl
