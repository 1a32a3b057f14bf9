// The streams of descriptors 0, 1 and 2 that Stream::standard() hands out.
#pragma once
#include "io/stream.hpp"

namespace marl {

// Part of the interpreter state, and the last part to go: everything torn
// down before it may still write. Destroying it flushes the streams; the
// descriptors stay open.
struct StandardStreams {
  Stream streams[3];
  StandardStreams();
  ~StandardStreams();
  StandardStreams(const StandardStreams &) = delete;
  StandardStreams &operator=(const StandardStreams &) = delete;
};

}  // namespace marl
