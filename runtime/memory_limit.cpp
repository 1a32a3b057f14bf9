// How much memory the process may ever use.
#include "runtime/memory_limit.hpp"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

namespace marl {

namespace {

uint64_t cap = UINT64_MAX;

// Read once: pack() and read() ask on every call, and the machine's memory
// and the process's limits do not change under a running script.
uint64_t systemMemoryLimit() {
  uint64_t limit = UINT64_MAX;
  long pages = sysconf(_SC_PHYS_PAGES);
  long pageSize = sysconf(_SC_PAGESIZE);
  if (pages > 0 && pageSize > 0)
    limit = static_cast<uint64_t>(pages) * static_cast<uint64_t>(pageSize);
  for (int resource : {RLIMIT_AS, RLIMIT_DATA}) {
    rlimit rl;
    if (getrlimit(resource, &rl) == 0 && rl.rlim_cur != RLIM_INFINITY)
      limit = std::min<uint64_t>(limit, rl.rlim_cur);
  }
  return limit;
}

}  // namespace

void capMemoryLimit(uint64_t bytes) { cap = std::min(cap, bytes); }

uint64_t processMemoryLimit() {
  static const uint64_t system = systemMemoryLimit();
  return std::min(cap, system);
}

// A multiplication, not a division: pack() and unpack() ask on every call.
bool beyondMemory(uint64_t count, uint64_t itemSize) {
  uint64_t bytes;
  return __builtin_mul_overflow(count, itemSize, &bytes) || bytes > processMemoryLimit();
}

}  // namespace marl
