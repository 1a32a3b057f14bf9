// Hash storage: a dense entry vector, a linear-probing index over it, and
// the key order sorted lazily.
#include "runtime/hash_table.hpp"

#include <algorithm>
#include <cstring>
#include <new>

namespace marl {

namespace {

// Keys are mostly short words: eight bytes at a time, each block mixed by
// one multiplication, then the halves folded so the low bits (the cell
// number) depend on every byte.
uint32_t hashOf(std::string_view key) {
  constexpr uint64_t kMul = 0x9E3779B97F4A7C15ULL;
  const char *p = key.data();
  size_t n = key.size();
  uint64_t h = 0x2545F4914F6CDD1DULL ^ (n * kMul);
  for (; n >= 8; p += 8, n -= 8) {
    uint64_t w;
    std::memcpy(&w, p, 8);
    h = (h ^ w) * kMul;
    h ^= h >> 29;
  }
  if (n) {
    // The tail without a variable-length copy: two overlapping 4-byte
    // loads cover 4 to 7 bytes, three single bytes cover 1 to 3.
    uint64_t w;
    if (n >= 4) {
      uint32_t lo, hi;
      std::memcpy(&lo, p, 4);
      std::memcpy(&hi, p + n - 4, 4);
      w = (uint64_t{hi} << 32) | lo;
    } else {
      w = (uint64_t{static_cast<uint8_t>(p[0])} << 16) |
          (uint64_t{static_cast<uint8_t>(p[n >> 1])} << 8) | static_cast<uint8_t>(p[n - 1]);
    }
    h = (h ^ w) * kMul;
    h ^= h >> 29;
  }
  h *= 0xBF58476D1CE4E5B9ULL;
  return static_cast<uint32_t>(h ^ (h >> 32));
}

// n bytes, n >= 1. Keys are mostly short words: up to 16 bytes take two
// overlapping loads each side instead of a call to memcmp.
[[gnu::always_inline]] inline bool sameBytes(const char *p, const char *q, size_t n) {
  if (n >= 8) {
    if (n > 16) return std::memcmp(p, q, n) == 0;
    uint64_t a, b, c, d;
    std::memcpy(&a, p, 8);
    std::memcpy(&b, q, 8);
    std::memcpy(&c, p + n - 8, 8);
    std::memcpy(&d, q + n - 8, 8);
    return ((a ^ b) | (c ^ d)) == 0;
  }
  if (n >= 4) {
    uint32_t a, b, c, d;
    std::memcpy(&a, p, 4);
    std::memcpy(&b, q, 4);
    std::memcpy(&c, p + n - 4, 4);
    std::memcpy(&d, q + n - 4, 4);
    return ((a ^ b) | (c ^ d)) == 0;
  }
  return p[0] == q[0] && p[n >> 1] == q[n >> 1] && p[n - 1] == q[n - 1];
}

// Most keys differ in length: check that before comparing.
[[gnu::always_inline]] inline bool sameKey(const std::string &a, std::string_view b) {
  return a.size() == b.size() && (b.empty() || sameBytes(a.data(), b.data(), b.size()));
}

}  // namespace

HashTable::HashTable(const HashTable &other)
    : slots_(other.slots_),
      index_(other.index_),
      order_(other.order_),
      sorted_(other.sorted_),
      hint_(other.hint_) {}

HashTable &HashTable::operator=(const HashTable &other) {
  if (this == &other) return *this;
  if (slots_.empty()) {
    // Nothing to release: copy in place (a fresh hash given its entries).
    slots_ = other.slots_;
    index_ = other.index_;
    order_ = other.order_;
    sorted_ = other.sorted_;
    hint_ = other.hint_;
    return *this;
  }
  HashTable copy(other);
  // The old entries are released last, when `copy` goes.
  slots_.swap(copy.slots_);
  index_.swap(copy.index_);
  order_.swap(copy.order_);
  std::swap(sorted_, copy.sorted_);
  std::swap(hint_, copy.hint_);
  return *this;
}

size_t HashTable::locate(std::string_view key) const {
  if (index_.empty()) {
    size_t n = slots_.size(), h = hint_;
    if (h < n && sameKey(slots_[h].first, key)) {
      hint_ = static_cast<uint32_t>(h + 1);
      return h;
    }
    for (size_t i = 0; i < n; i++) {
      if (sameKey(slots_[i].first, key)) {
        hint_ = static_cast<uint32_t>(i + 1);
        return i;
      }
    }
    return kNone;
  }
  uint32_t h = hashOf(key);
  size_t mask = index_.size() - 1;
  for (size_t c = h & mask;; c = (c + 1) & mask) {
    const Cell &cell = index_[c];
    if (cell.slot == 0) return kNone;
    if (cell.hash == h && sameKey(slots_[cell.slot - 1].first, key)) return cell.slot - 1;
  }
}

size_t HashTable::cellOf(size_t slot) const {
  size_t mask = index_.size() - 1;
  for (size_t c = hashOf(slots_[slot].first) & mask;; c = (c + 1) & mask)
    if (index_[c].slot == slot + 1) return c;
}

void HashTable::placeInIndex(uint32_t hash, size_t slot) {
  size_t mask = index_.size() - 1;
  size_t c = hash & mask;
  while (index_[c].slot != 0) c = (c + 1) & mask;
  index_[c] = {static_cast<uint32_t>(slot + 1), hash};
}

void HashTable::buildIndex(size_t cells) {
  std::vector<Cell> old(cells, Cell{0, 0});
  old.swap(index_);
  if (old.empty()) {
    for (size_t i = 0; i < slots_.size(); i++) placeInIndex(hashOf(slots_[i].first), i);
  } else {
    // The old cells keep each key's hash: no key is hashed again.
    for (const Cell &c : old)
      if (c.slot) placeInIndex(c.hash, c.slot - 1);
  }
}

void HashTable::set(std::string_view key, const Value &v) {
  size_t found = locate(key);
  if (found != kNone) {
    slots_[found].second = v;
    return;
  }
  size_t n = slots_.size() + 1;
  // Cell positions are stored in 32 bits.
  if (n >= UINT32_MAX) throw std::bad_alloc();
  // The index grows before the entry is added, so a failed allocation
  // leaves the table as it was.
  if (index_.empty() ? n > kScanLimit : n * 4 > index_.size() * 3)
    buildIndex(index_.empty() ? 32 : index_.size() * 2);
  slots_.push_back(Entry{std::string(key), HeldValue(v)});
  if (!index_.empty()) placeInIndex(hashOf(key), n - 1);
}

void HashTable::reserve(size_t n) {
  slots_.reserve(n);
  if (n > kScanLimit) {
    size_t cells = index_.empty() ? 32 : index_.size();
    while (n * 4 > cells * 3) cells *= 2;
    if (cells != index_.size()) buildIndex(cells);
  }
}

// Backward-shift deletion: later cells of the same run move up, so lookups
// never need tombstones.
void HashTable::removeCell(size_t cell) {
  size_t mask = index_.size() - 1;
  size_t hole = cell;
  for (size_t c = (cell + 1) & mask; index_[c].slot != 0; c = (c + 1) & mask) {
    size_t home = index_[c].hash & mask;
    if (((c - home) & mask) >= ((c - hole) & mask)) {
      index_[hole] = index_[c];
      hole = c;
    }
  }
  index_[hole] = {0, 0};
}

// Moves the last entry into the freed position, keeping the entries dense.
void HashTable::removeSlot(size_t slot) {
  size_t last = slots_.size() - 1;
  if (slot != last) {
    if (!index_.empty()) index_[cellOf(last)].slot = static_cast<uint32_t>(slot + 1);
    slots_[slot] = std::move(slots_[last]);
  }
  slots_.pop_back();
  order_.clear();
  sorted_ = 0;
}

bool HashTable::take(std::string_view key, Value &out) {
  size_t slot = locate(key);
  if (slot == kNone) return false;
  out = slots_[slot].second.get();
  erase(key);
  return true;
}

bool HashTable::erase(std::string_view key) {
  size_t slot = locate(key);
  if (slot == kNone) return false;
  if (!index_.empty()) removeCell(cellOf(slot));
  // Released only once the table is consistent again: freeing the value
  // may free other objects.
  Entry gone = std::move(slots_[slot]);
  removeSlot(slot);
  return true;
}

void HashTable::clear() {
  PoolVector<Entry> gone;
  gone.swap(slots_);
  index_ = {};
  order_ = {};
  sorted_ = 0;
}

void HashTable::sortKeys() const {
  size_t n = slots_.size();
  if (sorted_ == n) return;
  order_.resize(n);
  for (size_t i = sorted_; i < n; i++) order_[i] = static_cast<uint32_t>(i);
  // std::string compares bytes as unsigned, a prefix first: the order
  // scripts see.
  auto less = [this](uint32_t a, uint32_t b) { return slots_[a].first < slots_[b].first; };
  auto mid = order_.begin() + static_cast<std::ptrdiff_t>(sorted_);
  std::sort(mid, order_.end(), less);
  std::inplace_merge(order_.begin(), mid, order_.end(), less);
  sorted_ = static_cast<uint32_t>(n);
}

}  // namespace marl
