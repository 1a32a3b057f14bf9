// Stack bounds of the interpreter thread, for the guard in stack_guard.hpp.
#include "runtime/stack_guard.hpp"

#include <pthread.h>

#include <cstddef>

namespace marl {

namespace {

// Room kept below the floor. Sanitizer builds have far larger frames, so the
// reserve is generous; on small stacks it is an eighth of the stack.
constexpr size_t kReserve = 1024 * 1024;

}  // namespace

void recordStackBounds() {
  pthread_attr_t attr;
  if (pthread_getattr_np(pthread_self(), &attr) != 0) return;
  void *low = nullptr;
  size_t size = 0;
  if (pthread_attr_getstack(&attr, &low, &size) == 0 && size > 0) {
    size_t reserve = size / 8 < kReserve ? size / 8 : kReserve;
    stackFloor = reinterpret_cast<uintptr_t>(low) + reserve;
  }
  pthread_attr_destroy(&attr);
}

}  // namespace marl
