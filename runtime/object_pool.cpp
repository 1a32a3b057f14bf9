// Storage of script objects: free lists by size, carved from large blocks.
// Freed cells are kept for the next object of the same size; blocks are
// never returned, as most short-lived objects are replaced at once by others
// of the same kind. The sanitizer builds use the general allocator, so that
// they see every use of a freed object.
#include <cstddef>
#include <new>

#include "runtime/object.hpp"
#include "runtime/pool_allocator.hpp"

#if defined(__SANITIZE_ADDRESS__)
#define MARL_PLAIN_OBJECT_STORAGE 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MARL_PLAIN_OBJECT_STORAGE 1
#endif
#endif
#ifdef MARL_PLAIN_OBJECT_STORAGE
constexpr bool kPooled = false;
#else
constexpr bool kPooled = true;
#endif

namespace marl {

namespace {

constexpr size_t kGrain = 8;
constexpr size_t kLargest = 256;  // larger objects use the general allocator
constexpr size_t kBlockBytes = 64 * 1024;

struct FreeCell {
  FreeCell *next;
};

struct Block {
  Block *previous;  // all blocks stay reachable, for leak checkers
};

struct Pools {
  FreeCell *free[kLargest / kGrain + 1];
  char *next;  // the unused rest of the newest block
  char *end;
  Block *blocks;
};

constinit Pools pools{};

void *carve(size_t bytes) {
  if (static_cast<size_t>(pools.end - pools.next) < bytes) {
    char *raw = static_cast<char *>(::operator new(kBlockBytes));
    Block *b = reinterpret_cast<Block *>(raw);
    b->previous = pools.blocks;
    pools.blocks = b;
    pools.next = raw + sizeof(Block);
    pools.end = raw + kBlockBytes;
  }
  void *p = pools.next;
  pools.next += bytes;
  return p;
}

}  // namespace

void *poolAllocate(size_t size) {
  if (kPooled && size <= kLargest) {
    size_t cls = (size + kGrain - 1) / kGrain;
    if (FreeCell *c = pools.free[cls]) {
      pools.free[cls] = c->next;
      return c;
    }
    return carve(cls * kGrain);
  }
  return ::operator new(size);
}

void poolFree(void *p, size_t size) noexcept {
  if (!p) return;
  if (kPooled && size <= kLargest) {
    size_t cls = (size + kGrain - 1) / kGrain;
    FreeCell *c = static_cast<FreeCell *>(p);
    c->next = pools.free[cls];
    pools.free[cls] = c;
    return;
  }
  ::operator delete(p);
}

void *MRef::operator new(size_t size) { return poolAllocate(size); }

void MRef::operator delete(void *p, size_t size) { poolFree(p, size); }

}  // namespace marl
