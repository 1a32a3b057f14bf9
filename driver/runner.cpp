// Runners of source files: parse one (preprocessed or not) and execute it.
#include "driver/runner.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

#include "driver/driver.hpp"
#include "eval/run.hpp"
#include "frontend/parse.hpp"
#include "frontend/parse_error.hpp"
#include "io/process.hpp"
#include "preprocessor/cpp_main.hpp"
#include "runtime/interrupt.hpp"

namespace marl {

namespace {

// The message carries its own line feed, so an empty line follows it.
Value cannotOpen(const std::string &path) {
  char message[515];
  std::snprintf(message, sizeof message, "Cannot open input file: %s\n", path.c_str());
  report_parse_error(message);
  return Value();
}

std::string tempDirectory() {
  const char *t = std::getenv("TMPDIR");
  return t && *t ? t : "/tmp";
}

}  // namespace

// Sources named on the command line are opened from the directory marl was
// started in, while the script runs in its own directory.
class OpenFrom {
 public:
  explicit OpenFrom(const std::string &dir) {
    if (dir.empty()) return;
    char cwd[4096];
    if (getcwd(cwd, sizeof cwd) && chdir(dir.c_str()) == 0) saved_ = cwd;
  }
  ~OpenFrom() {
    if (!saved_.empty() && chdir(saved_.c_str()) != 0) std::perror("chdir");
  }

 private:
  std::string saved_;
};

Value run_script_file(const std::string &path, const std::string &openDir) {
  bool opened = false;
  ParseResult parsed;
  {
    OpenFrom from(openDir);
    parsed = parseWithin([&] { return parseFile(path, opened); });
  }
  return opened ? runParsed(parsed) : cannotOpen(path);
}

int preprocess_file(const std::string &path, const std::string &out) {
  const DriverState &state = driverState();
  std::vector<std::string> words;
  words.push_back("");
  for (const std::string &o : state.preprocessorOptions) words.push_back(o);
  words.push_back("-I" + state.programDir);
  words.push_back("-o" + out);
  words.push_back(path);
  std::vector<char *> argv;
  for (std::string &w : words) argv.push_back(w.data());
  argv.push_back(nullptr);
  return cpp_main(static_cast<int>(words.size()), argv.data());
}

// The preprocessed text goes to a private temporary file, which works in
// read-only directories and when several runs of one script overlap.
Value run_preprocessed_file(const std::string &path, const std::string &openDir) {
  std::string out = tempDirectory() + "/marl-XXXXXX";
  std::vector<char> name(out.begin(), out.end());
  name.push_back('\0');
  int fd = mkstemp(name.data());
  if (fd < 0) {
    flushStandardStreams();
    std::fputs("error: Cannot create a temporary file for the preprocessor\n", stderr);
    return Value();
  }
  close(fd);
  out = name.data();
  int failed;
  {
    OpenFrom from(openDir);
    failed = preprocess_file(path, out);
  }
  if (failed != 0) {
    unlink(out.c_str());
    return Value();
  }
  bool opened = false;
  ParseResult parsed = parseWithin([&] { return parseFile(out, opened); });
  unlink(out.c_str());
  return opened ? runParsed(parsed) : cannotOpen(path);
}

}  // namespace marl
