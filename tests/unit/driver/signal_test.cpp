// Signals end a script cleanly: files flushed and closed, backups kept, 128 + signal.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string slurp(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class SignalRun : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/marl-signal-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
  }
  void TearDown() override {
    std::string cmd = "rm -rf '" + dir_ + "'";
    ASSERT_EQ(std::system(cmd.c_str()), 0);
  }
  std::string path(const std::string &name) const { return dir_ + "/" + name; }
  void write(const std::string &name, const std::string &text) const {
    std::ofstream(path(name), std::ios::binary) << text;
  }

  // Starts marl with `args` (stdin: a pipe that stays open and silent), waits
  // for "ready" on its standard error, sends `sig` and returns the status.
  int runAndSignal(std::vector<std::string> args, int sig) {
    int out[2], in[2];
    if (pipe(out) != 0 || pipe(in) != 0) return -1;
    pid_t pid = fork();
    if (pid == 0) {
      dup2(out[1], 1);
      dup2(out[1], 2);
      dup2(in[0], 0);
      close(out[0]);
      close(in[1]);
      // A shell may have started us with SIGINT ignored; marl keeps that.
      signal(SIGINT, SIG_DFL);
      if (chdir(dir_.c_str()) != 0) _exit(126);
      std::vector<char *> argv{const_cast<char *>(MARL_BINARY)};
      for (std::string &a : args) argv.push_back(a.data());
      argv.push_back(nullptr);
      execv(MARL_BINARY, argv.data());
      _exit(127);
    }
    close(out[1]);
    close(in[0]);
    std::string seen;
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (seen.find("ready") == std::string::npos && std::chrono::steady_clock::now() < end) {
      pollfd p{out[0], POLLIN, 0};
      if (poll(&p, 1, 100) <= 0) continue;
      char buf[256];
      ssize_t n = read(out[0], buf, sizeof buf);
      if (n <= 0) break;
      seen.append(buf, static_cast<size_t>(n));
    }
    kill(pid, sig);
    int status = -1;
    for (int i = 0; i < 300; i++) {
      if (waitpid(pid, &status, WNOHANG) == pid) break;
      usleep(100000);
      status = -1;
    }
    if (status == -1) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
    }
    close(out[0]);
    close(in[1]);
    if (status == -1) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status);
  }

  std::string dir_;
};

// 100 lines stay in the file's buffer (far below its size) until the end.
constexpr const char *kWriter =
    "f = open(\"out.txt\", \"wb\");\n"
    "for (i = 0; i < 100; i++) puts(f, \"line \" + i + \"\\n\");\n"
    "puts(stderr, \"ready\");\n";

std::string expectedLines() {
  std::string s;
  for (int i = 0; i < 100; i++) s += "line " + std::to_string(i) + "\n";
  return s;
}

TEST_F(SignalRun, EachSignalFlushesFilesAndGivesItsStatus) {
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
    write("busy.mr", std::string(kWriter) + "while (1) i++;\n");
    EXPECT_EQ(runAndSignal({"busy.mr"}, sig), 128 + sig) << sig;
    EXPECT_EQ(slurp(path("out.txt")), expectedLines()) << sig;
  }
}

TEST_F(SignalRun, AScriptWaitingForInputStopsToo) {
  write("waiting.mr", std::string(kWriter) + "line = gets(stdin);\nwhile (1) i++;\n");
  EXPECT_EQ(runAndSignal({"waiting.mr"}, SIGTERM), 128 + SIGTERM);
  EXPECT_EQ(slurp(path("out.txt")), expectedLines());
}

TEST_F(SignalRun, InPlaceEditKeepsTheBackupAndWhatWasWritten) {
  write("data.txt", "alpha\nbeta\n");
  write("upper.mr",
        "while ((l = gets()) != \"\") puts(toupper(l));\n"
        "puts(stderr, \"ready\");\n"
        "while (1) l = l;\n");
  int status = runAndSignal({"-x", "upper.mr", "data.txt"}, SIGTERM);
  EXPECT_EQ(status, 128 + SIGTERM);
  EXPECT_EQ(slurp(path("data.txt.bak")), "alpha\nbeta\n");
  EXPECT_EQ(slurp(path("data.txt")), "ALPHA\nBETA\n");
}

}  // namespace
