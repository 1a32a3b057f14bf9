// The console on a terminal: lines are edited before they run.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
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
      if (waitFor() < 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
      }
    }
    if (!home_.empty()) {
      unlink((home_ + "/.marl_history").c_str());
      rmdir(home_.c_str());
    }
  }
  bool ok() const { return pid_ > 0; }
  pid_t pid() const { return pid_; }
  // The exit status, or -1 when the process has not ended within the time.
  int waitFor(int ms = 30000) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    int status;
    while (std::chrono::steady_clock::now() < end) {
      pid_t r = waitpid(pid_, &status, WNOHANG);
      if (r == pid_) {
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status);
      }
      if (r < 0) return -1;
      readUntil("\x01", 50);  // keep the terminal drained
    }
    return -1;
  }
  std::string history() const {
    std::ifstream in(home_ + "/.marl_history");
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  // What has arrived since the last mark.
  void mark() { from_ = seen_.size(); }
  std::string sinceMark() const { return seen_.substr(from_); }
  void send(const std::string &s) { ASSERT_EQ(write(fd_, s.data(), s.size()), (ssize_t)s.size()); }
  // Reads until `needle` has appeared or the time runs out.
  // Generous: a sanitizer build on a loaded machine starts slowly.
  std::string readUntil(const std::string &needle, int ms = 30000) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (seen_.find(needle, from_) == std::string::npos &&
           std::chrono::steady_clock::now() < end) {
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
  // Waits for the next prompt and for the editor to own the terminal.
  bool prompt(const std::string &text = ">") {
    readUntil(text);
    return waitForLineEditor();
  }
  // getch() reads keys one by one with the signal keys still on.
  bool waitForKeyRead(int ms = 30000) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    termios t;
    while (tcgetattr(fd_, &t) == 0 && ((t.c_lflag & ICANON) || !(t.c_lflag & ISIG))) {
      if (std::chrono::steady_clock::now() >= end) return false;
      usleep(10000);
    }
    return true;
  }
  // After a line is entered the editor hands the terminal back (signal keys
  // on again); Ctrl-C typed before that is read as a plain byte.
  bool waitForCommandToRun(int ms = 30000) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    termios t;
    while (tcgetattr(fd_, &t) == 0 && !(t.c_lflag & ISIG)) {
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
  size_t from_ = 0;
};

TEST(ConsolePty, EditedLineRunsAsCorrected) {
  PtySession s;
  ASSERT_TRUE(s.ok());
  ASSERT_TRUE(s.prompt());
  // Type print(1+4), move the cursor left past the ")", rub out the 4, type 3.
  s.send("print(1+4)");
  s.send("\x1b[D");
  s.send("\x7f");
  s.send("3\r");
  std::string out = s.readUntil("true");
  EXPECT_NE(out.find("\n4\r\n"), std::string::npos) << out;
  s.send(".quit\r");
}

TEST(ConsolePty, CtrlCAtThePromptDropsTheLine) {
  PtySession s;
  ASSERT_TRUE(s.ok());
  ASSERT_TRUE(s.prompt());
  s.send("print(\"dropped\")");
  s.readUntil("dropped\")");
  s.mark();
  s.send("\x03");
  ASSERT_TRUE(s.prompt("\n>"));
  s.send("print(\"kept\")\r");
  std::string out = s.readUntil("kept\r\n");
  EXPECT_NE(s.sinceMark().find("kept\r\n"), std::string::npos) << out;
  EXPECT_EQ(s.sinceMark().find("dropped\r\n"), std::string::npos) << out;
  s.send(".quit\r");
  EXPECT_EQ(s.waitFor(), 0);
}

TEST(ConsolePty, CtrlCStopsACommandAndKeepsVariables) {
  PtySession s;
  ASSERT_TRUE(s.ok());
  ASSERT_TRUE(s.prompt());
  s.send("n = 41\r");
  s.readUntil("\n41\r\n");
  ASSERT_TRUE(s.prompt());
  s.send("while (1) n = n;\r");
  // The loop runs once its line has been echoed back.
  s.readUntil("n = n;\r\n");
  ASSERT_TRUE(s.waitForCommandToRun());
  s.send("\x03");
  std::string out = s.readUntil("error: Interrupted");
  ASSERT_NE(out.find("error: Interrupted"), std::string::npos) << out;
  ASSERT_TRUE(s.prompt());
  s.send("print(n + 1)\r");
  out = s.readUntil("42");
  EXPECT_NE(out.find("42"), std::string::npos) << out;
  s.send(".quit\r");
  EXPECT_EQ(s.waitFor(), 0);
}

// A SIGINT that comes after Enter, while the editor is still handing the
// terminal back, belongs to the command: it stops it and keeps the next line.
TEST(ConsolePty, InterruptJustAfterEnterStopsTheCommand) {
  PtySession s;
  ASSERT_TRUE(s.ok());
  ASSERT_TRUE(s.prompt());
  s.send("while (1) ;\r");
  // The editor echoes the line feed once it has taken Enter.
  s.readUntil("1) ;\r\n");
  kill(s.pid(), SIGINT);
  std::string out = s.readUntil("error: Interrupted");
  ASSERT_NE(out.find("error: Interrupted"), std::string::npos) << out;
  ASSERT_TRUE(s.prompt());
  s.send("print(\"next\")\r");
  out = s.readUntil("next\r\n");
  EXPECT_NE(out.find("next\r\n"), std::string::npos) << out;
  s.send(".quit\r");
  EXPECT_EQ(s.waitFor(), 0);
}

// A command waiting for input is stopped too, also when the read is its
// last step (nothing after it would look at the signal).
TEST(ConsolePty, CtrlCStopsAWaitForInput) {
  PtySession s;
  ASSERT_TRUE(s.ok());
  ASSERT_TRUE(s.prompt());
  s.send("k = getch();\r");
  s.readUntil("getch();\r\n");
  ASSERT_TRUE(s.waitForKeyRead());
  s.mark();
  s.send("\x03");
  s.readUntil("error: Interrupted");
  EXPECT_NE(s.sinceMark().find("error: Interrupted"), std::string::npos) << s.sinceMark();
  ASSERT_TRUE(s.prompt());
  s.send("line = gets();\r");
  s.readUntil("gets();\r\n");
  ASSERT_TRUE(s.waitForCommandToRun());
  s.mark();
  s.send("\x03");
  s.readUntil("error: Interrupted");
  EXPECT_NE(s.sinceMark().find("error: Interrupted"), std::string::npos) << s.sinceMark();
  ASSERT_TRUE(s.prompt());
  s.send(".quit\r");
  EXPECT_EQ(s.waitFor(), 0);
}

TEST(ConsolePty, TabCompletesBuiltinsFunctionsAndVariables) {
  PtySession s;
  ASSERT_TRUE(s.ok());
  ASSERT_TRUE(s.prompt());
  s.send("function twice(x) { return 2 * x; }\r");
  ASSERT_TRUE(s.prompt("\n>"));
  s.send("myCounter = 7\r");
  s.readUntil("\n7\r\n");
  ASSERT_TRUE(s.prompt());
  // sprin<TAB> -> sprintf, twi<TAB> -> twice, myCo<TAB> -> myCounter
  // The editor redraws only the completed tail of the word.
  s.send("s = sprin\t");
  s.readUntil("tf");
  s.send("(\"%d\", twi\t");
  s.readUntil("ce");
  s.send("(myCo\t");
  s.readUntil("unter");
  s.send("))\r");
  s.mark();
  std::string out = s.readUntil("\"14\"");
  EXPECT_NE(out.find("\"14\""), std::string::npos) << out;
  s.send(".quit\r");
  EXPECT_EQ(s.waitFor(), 0);
}

TEST(ConsolePty, HelpExplainsEachCommand) {
  PtySession s;
  ASSERT_TRUE(s.ok());
  ASSERT_TRUE(s.prompt());
  s.send(".help\r");
  std::string out = s.readUntil("Ctrl-C");
  for (const char *command : {".cls", ".quit", ".load", ".help"})
    EXPECT_NE(out.find(std::string("    ") + command + "  "), std::string::npos) << command;
  s.send(".quit\r");
  EXPECT_EQ(s.waitFor(), 0);
}

TEST(ConsolePty, HistoryIsSavedWhenTheSessionIsKilled) {
  PtySession s;
  ASSERT_TRUE(s.ok());
  ASSERT_TRUE(s.prompt());
  s.send("remembered = 1\r");
  s.readUntil("\n1\r\n");
  s.readUntil(">");
  kill(s.pid(), SIGTERM);
  EXPECT_EQ(s.waitFor(), 128 + SIGTERM);
  EXPECT_NE(s.history().find("remembered"), std::string::npos) << s.history();
}

}  // namespace
