// Services of the host process: shell commands and the program's directory.
#pragma once
#include <string>

namespace marl {

// Runs `cmd` with `/bin/sh -c` (null: the shell named by SHELL, else /bin/sh);
// the command's exit status 0-255, or -1 when it could not be run.
int runShellCommand(const char *cmd);
// Directory of the running executable with its trailing '/'.
std::string programDirectory();
// Flushes the interpreter's standard output and error objects.
void flushStandardStreams();

}  // namespace marl
