// The queue of input files named on the command line, read through stdin.
#pragma once

namespace marl {

// Opens the next input file on the `stdin` object (with -x: behind a backup,
// with `stdout` writing the new file); false when none is left.
bool open_next_input();

}  // namespace marl
