// Syntax errors: printed at once with the scanner's position and counted.
#pragma once

namespace marl {

// Prints "error [FILE:LINE]: MESSAGE" or "error [LINE]: MESSAGE" for the
// scanner's current position and counts the error; does not throw.
void report_parse_error(const char *message);
// Syntax errors reported since the interpreter state was made.
int parse_error_count();

}  // namespace marl
