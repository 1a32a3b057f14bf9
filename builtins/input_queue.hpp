// The queue of input files named on the command line, read through stdin.
#pragma once
#include <string>
#include <vector>

namespace marl {

struct InputQueue {
  std::vector<std::string> files;
  size_t next = 0;
  bool inPlace = false;  // -x: each file is rewritten behind a backup
};

// The interpreter's queue; the driver fills it from the command line.
InputQueue &inputQueue();

// Opens the next input file on the `stdin` object (with -x: behind a backup,
// with `stdout` writing the new file); false when none is left.
bool open_next_input();

}  // namespace marl
