// Runners: parse one source and execute it in a fresh context.
#include "driver/runner.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "driver/driver.hpp"
#include "driver/process.hpp"
#include "eval/error.hpp"
#include "eval/evaluator.hpp"
#include "frontend/parse.hpp"
#include "frontend/symbols.hpp"
#include "preprocessor/cpp_main.hpp"
#include "runtime/interrupt.hpp"

namespace marl {

namespace {

void printError(const char *text) {
  flushStandardStreams();
  std::fprintf(stderr, "%s\n", text);
}

Value execute(const ParseResult &parsed) {
  if (!parsed.ok) return Value();
  size_t depth = scopeDepth();
  Context ctx;
  Value result;
  try {
    evaluateList(ctx, result, parsed.statements);
    if (ctx.jump == JUMP_RETURN) {
      result = std::move(ctx.returned);
      ctx.clearJump();
    } else if (ctx.jump != JUMP_NONE) {
      int line = ctx.jumpLine;
      ctx.clearJump();
      raise_error(line, "Bad break or continue");
    }
  } catch (const ScriptError &e) {
    printError(e.what());
    result.setNull();
  } catch (const MExit &e) {
    result = e.value;
  } catch (const std::bad_alloc &) {
    printError("error: Out of memory");
    result.setNull();
  } catch (const Interrupted &) {
    popScopesTo(depth);
    throw;
  }
  popScopesTo(depth);
  return result;
}

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
    parsed = parseFile(path, opened);
  }
  return opened ? execute(parsed) : cannotOpen(path);
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
    printError("error: Cannot create a temporary file for the preprocessor");
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
  ParseResult parsed = parseFile(out, opened);
  unlink(out.c_str());
  return opened ? execute(parsed) : cannotOpen(path);
}

Value run_script_string(std::string_view text) { return execute(parseText(text)); }

}  // namespace marl
