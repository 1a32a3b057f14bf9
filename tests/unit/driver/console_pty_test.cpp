// The console on a terminal: lines are edited before they run.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>

namespace {

class PtySession {
 public:
  PtySession() {
    char home[] = "/tmp/marl-pty-XXXXXX";
    if (!mkdtemp(home)) return;
    home_ = home;
    pid_ = forkpty(&fd_, nullptr, nullptr, nullptr);
    if (pid_ == 0) {
      // A private HOME keeps the history file out of the user's.
      setenv("HOME", home, 1);
      setenv("TERM", "xterm", 1);
      execl(MARL_BINARY, MARL_BINARY, "-t", static_cast<char *>(nullptr));
      _exit(127);
    }
  }
  ~PtySession() {
    if (pid_ > 0) {
      close(fd_);
      int status;
      waitpid(pid_, &status, 0);
    }
    if (!home_.empty()) {
      unlink((home_ + "/.marl_history").c_str());
      rmdir(home_.c_str());
    }
  }
  bool ok() const { return pid_ > 0; }
  void send(const std::string &s) { ASSERT_EQ(write(fd_, s.data(), s.size()), (ssize_t)s.size()); }
  // Reads until `needle` has appeared or the time runs out.
  // Generous: a sanitizer build on a loaded machine starts slowly.
  std::string readUntil(const std::string &needle, int ms = 30000) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (seen_.find(needle) == std::string::npos && std::chrono::steady_clock::now() < end) {
      pollfd p{fd_, POLLIN, 0};
      if (poll(&p, 1, 100) <= 0) continue;
      char buf[512];
      ssize_t n = read(fd_, buf, sizeof buf);
      if (n <= 0) break;
      seen_.append(buf, static_cast<size_t>(n));
    }
    return seen_;
  }
  // The prompt can appear before the line editor takes the terminal out of
  // canonical mode; keys typed before that would be cooked by the terminal.
  bool waitForLineEditor(int ms = 30000) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    termios t;
    while (tcgetattr(fd_, &t) == 0 && (t.c_lflag & ICANON)) {
      if (std::chrono::steady_clock::now() >= end) return false;
      usleep(10000);
    }
    return true;
  }

 private:
  int fd_ = -1;
  pid_t pid_ = -1;
  std::string home_;
  std::string seen_;
};

TEST(ConsolePty, EditedLineRunsAsCorrected) {
  PtySession s;
  ASSERT_TRUE(s.ok());
  s.readUntil(">");
  ASSERT_TRUE(s.waitForLineEditor());
  // Type print(1+4), move the cursor left past the ")", rub out the 4, type 3.
  s.send("print(1+4)");
  s.send("\x1b[D");
  s.send("\x7f");
  s.send("3\r");
  std::string out = s.readUntil("true");
  EXPECT_NE(out.find("\n4\r\n"), std::string::npos) << out;
  s.send(".quit\r");
}

}  // namespace
