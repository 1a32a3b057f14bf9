// The standard streams of the interpreter state.
#include "io/standard_streams.hpp"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace marl {

namespace {

StandardStreams *current = nullptr;

}  // namespace

StandardStreams::StandardStreams() {
  if (current) {
    std::fputs("Internal error in StandardStreams: a second set\n", stderr);
    std::abort();
  }
  for (int fd = 0; fd < 3; fd++) streams[fd].attach(fd);
  current = this;
}

// Each stream's destructor flushes it and lets go of its descriptor.
StandardStreams::~StandardStreams() { current = nullptr; }

Stream &Stream::standard(int fd) {
  if (fd < 0 || fd > 2) throw std::out_of_range("Stream::standard: not a process stream");
  return current->streams[fd];
}

}  // namespace marl
