// Services of the host process: shell commands and the program's directory.
#include "io/process.hpp"

#include "io/stream.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace marl {

int runShellCommand(const char *cmd) {
  flushStandardStreams();
  std::fflush(nullptr);
  const char *shell = "/bin/sh";
  if (!cmd) {
    const char *s = std::getenv("SHELL");
    if (s && *s) shell = s;
  }
  pid_t pid = fork();
  if (pid < 0) return -1;
  if (pid == 0) {
    if (cmd)
      execl(shell, "sh", "-c", cmd, static_cast<char *>(nullptr));
    else
      execl(shell, shell, static_cast<char *>(nullptr));
    _exit(127);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return -1;
}

void flushStandardStreams() {
  Stream::standard(1).flush();
  Stream::standard(2).flush();
}

std::string programDirectory() {
  std::vector<char> buf(4096);
  ssize_t n = readlink("/proc/self/exe", buf.data(), buf.size() - 1);
  if (n <= 0) return "./";
  std::string path(buf.data(), static_cast<size_t>(n));
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

}  // namespace marl
