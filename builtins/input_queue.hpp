// The queue of input files named on the command line, read through stdin.
#pragma once
#include <string>
#include <vector>

namespace marl {

// Part of the interpreter state; while it exists it is the queue that
// open_next_input() takes from. The driver fills it from the command line.
struct InputQueue {
  std::vector<std::string> files;
  size_t next = 0;
  bool inPlace = false;  // -x: each file is rewritten behind a backup
  InputQueue();
  ~InputQueue();
  InputQueue(const InputQueue &) = delete;
  InputQueue &operator=(const InputQueue &) = delete;
};

InputQueue &inputQueue();

// Opens the next input file on the `stdin` object (with -x: behind a backup,
// with `stdout` writing the new file); false when none is left.
bool open_next_input();

}  // namespace marl
