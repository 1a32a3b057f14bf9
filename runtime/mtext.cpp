// Growth of string texts: from inside the object into a heap buffer, and
// between heap buffers.
#include "runtime/mtext.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace marl {

void MText::release() {
  std::free(heapData());
  raw_[0] = raw_[1] = 0;
}

void MText::regrow(size_t cap) {
  size_t used = size();
  char *p = static_cast<char *>(std::malloc(cap + 1));
  if (!p) throw std::bad_alloc();
  std::memcpy(p, data(), used + 1);
  if (onHeap()) std::free(heapData());
  raw_[0] = static_cast<char>(kHeapTag);
  std::memcpy(raw_ + kDataAt, &p, sizeof p);
  store(kSizeAt, used);
  store(kCapAt, cap);
}

void MText::reserve(size_t n) {
  if (n > capacity()) regrow(n);
}

void MText::appendGrowing(const char *p, size_t n) {
  size_t used = size();
  if (n > SIZE_MAX / 2 - used) throw std::bad_alloc();
  size_t cap = capacity();
  size_t want = std::max(used + n, cap * 2);
  // The old bytes stay valid until the copy is done: `p` may point into them.
  char *q = static_cast<char *>(std::malloc(want + 1));
  if (!q) throw std::bad_alloc();
  std::memcpy(q, data(), used);
  std::memcpy(q + used, p, n);
  q[used + n] = '\0';
  if (onHeap()) std::free(heapData());
  raw_[0] = static_cast<char>(kHeapTag);
  std::memcpy(raw_ + kDataAt, &q, sizeof q);
  store(kSizeAt, used + n);
  store(kCapAt, want);
}

void MText::append(size_t n, char c) {
  size_t used = size();
  if (n > SIZE_MAX / 2 - used) throw std::bad_alloc();
  resize(used + n, c);
}

void MText::resize(size_t n, char fill) {
  size_t used = size();
  if (n > used) {
    if (n > capacity()) {
      if (n > SIZE_MAX / 2) throw std::bad_alloc();
      regrow(std::max(n, used * 2));
    }
    std::memset(data() + used, fill, n - used);
  }
  setSize(n);
}

}  // namespace marl
