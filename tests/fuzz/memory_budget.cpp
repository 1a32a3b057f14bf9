// Replaces the global allocation functions (all of them, so that no pair is
// mixed with the sanitizer's own) with counting ones.
#include "memory_budget.hpp"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace marl::fuzz {

namespace {

size_t live = 0;
size_t limit = 0;  // live bytes allowed; 0: no budget

void *take(size_t n, size_t align, bool nothrow) {
  if (n == 0) n = 1;
  void *p = nullptr;
  if (limit == 0 || (n <= limit && live <= limit - n))
    p = align ? std::aligned_alloc(align, (n + align - 1) / align * align) : std::malloc(n);
  if (!p) {
    if (nothrow) return nullptr;
    throw std::bad_alloc();
  }
  live += malloc_usable_size(p);
  return p;
}

void give(void *p) {
  if (!p) return;
  size_t n = malloc_usable_size(p);
  live = n < live ? live - n : 0;
  std::free(p);
}

}  // namespace

void setMemoryBudget(size_t bytes) { limit = bytes == 0 ? 0 : live + bytes; }

}  // namespace marl::fuzz

using marl::fuzz::give;
using marl::fuzz::take;

void *operator new(size_t n) { return take(n, 0, false); }
void *operator new[](size_t n) { return take(n, 0, false); }
void *operator new(size_t n, const std::nothrow_t &) noexcept { return take(n, 0, true); }
void *operator new[](size_t n, const std::nothrow_t &) noexcept { return take(n, 0, true); }
void *operator new(size_t n, std::align_val_t a) { return take(n, static_cast<size_t>(a), false); }
void *operator new[](size_t n, std::align_val_t a) {
  return take(n, static_cast<size_t>(a), false);
}
void *operator new(size_t n, std::align_val_t a, const std::nothrow_t &) noexcept {
  return take(n, static_cast<size_t>(a), true);
}
void *operator new[](size_t n, std::align_val_t a, const std::nothrow_t &) noexcept {
  return take(n, static_cast<size_t>(a), true);
}
void operator delete(void *p) noexcept { give(p); }
void operator delete[](void *p) noexcept { give(p); }
void operator delete(void *p, const std::nothrow_t &) noexcept { give(p); }
void operator delete[](void *p, const std::nothrow_t &) noexcept { give(p); }
void operator delete(void *p, size_t) noexcept { give(p); }
void operator delete[](void *p, size_t) noexcept { give(p); }
void operator delete(void *p, std::align_val_t) noexcept { give(p); }
void operator delete[](void *p, std::align_val_t) noexcept { give(p); }
void operator delete(void *p, std::align_val_t, const std::nothrow_t &) noexcept { give(p); }
void operator delete[](void *p, std::align_val_t, const std::nothrow_t &) noexcept { give(p); }
void operator delete(void *p, size_t, std::align_val_t) noexcept { give(p); }
void operator delete[](void *p, size_t, std::align_val_t) noexcept { give(p); }
