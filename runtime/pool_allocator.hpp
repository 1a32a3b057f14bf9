// Element storage of arrays and hashes from the object pools: small
// containers are made and dropped at the rate of the objects that own them,
// and a free list beats the general allocator at that.
#pragma once
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace marl {

// Cells of up to the pools' largest size come from their free lists, larger
// blocks from the general allocator; `bytes` must be the same for both calls.
void *poolAllocate(size_t bytes);
void poolFree(void *p, size_t bytes) noexcept;

template <class T>
struct PoolAllocator {
  using value_type = T;
  PoolAllocator() = default;
  template <class U>
  PoolAllocator(const PoolAllocator<U> &) noexcept {}
  T *allocate(size_t n) {
    if (n > SIZE_MAX / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T *>(poolAllocate(n * sizeof(T)));
  }
  void deallocate(T *p, size_t n) noexcept { poolFree(p, n * sizeof(T)); }
  friend bool operator==(const PoolAllocator &, const PoolAllocator &) { return true; }
};

template <class T>
using PoolVector = std::vector<T, PoolAllocator<T>>;

}  // namespace marl
