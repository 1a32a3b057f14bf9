// The interpreter's entry: options, streams, globals, scripts, main, teardown.
#include "driver/driver.hpp"

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "builtins/registry.hpp"
#include "builtins/input_queue.hpp"
#include "io/process.hpp"
#include "driver/interpreter.hpp"
#include "driver/runner.hpp"
#include "eval/run.hpp"
#include "runtime/error.hpp"
#include "graphics/session.hpp"
#include "eval/evaluator.hpp"
#include "frontend/functions.hpp"
#include "frontend/node.hpp"
#include "frontend/symbols.hpp"
#include "io/file.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {

void run_console();

namespace {

bool isRegularFile(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

MFile *streamFilter(const std::string &encoding, int fd) {
  MFile *f = makeStreamFilter(encoding);
  if (!f) {
    std::fprintf(stderr, "error: Unknown encoding %s for input/output filter\n", encoding.c_str());
    std::exit(1);
  }
  f->attach(Stream::standard(fd));
  return f;
}

void defineGlobal(const char *name, const Value &v) {
  declare(globalScope(), intern(name))->value = v;
}

void defineGlobals(char **envp) {
  const DriverState &state = driverState();
  defineGlobal("stdin", Value(streamFilter(state.inputEncoding, 0)));
  defineGlobal("stdout", Value(streamFilter(state.outputEncoding, 1)));
  defineGlobal("stderr", Value(streamFilter(state.outputEncoding, 2)));
  defineGlobal("__filename", makeString(""));
  MArray *args = new MArray(state.scriptArgs.size() + 1);
  Value argsHolder(args);
  args->items[0] = makeString(state.script);
  for (size_t i = 0; i < state.scriptArgs.size(); i++)
    args->items[i + 1] = makeString(state.scriptArgs[i]);
  defineGlobal("__arg", argsHolder);
  MHash *env = new MHash();
  Value envHolder(env);
  for (char **e = envp; e && *e; e++) {
    const char *eq = std::strchr(*e, '=');
    if (!eq) continue;
    env->set(std::string_view(*e, static_cast<size_t>(eq - *e)), makeString(eq + 1));
  }
  defineGlobal("__env", envHolder);
}

// The exit status: the value as int() gives it (NaN and out of range give 0).
int exitStatus(const Value &v) {
  double d = toNumber(v);
  if (std::isnan(d) || d < -2147483648.0 || d > 2147483647.0) return 0;
  return static_cast<int>(std::trunc(d));
}

void runStartupScripts() {
  const DriverState &state = driverState();
  for (const char *name : {"init.mr", "user.mr"}) {
    std::string path = state.programDir + name;
    if (isRegularFile(path)) run_preprocessed_file(path);
  }
}

struct ThreadArgs {
  int argc;
  char **argv;
  char **envp;
  int noConsole;
  int status;
};

void *threadMain(void *p) {
  ThreadArgs *a = static_cast<ThreadArgs *>(p);
  a->status = runDriver(a->argc, a->argv, a->envp, a->noConsole);
  return nullptr;
}

}  // namespace

DriverState &driverState() { return Interpreter::current()->driver; }

int runDriver(int argc, char **argv, char **envp, int noConsole) {
  Interpreter interpreter;
  DriverState &state = interpreter.driver;
  state.consoleSuppressed = noConsole != 0;
  parseCommandLine(argc, argv, state);
  state.programDir = programDirectory();
  char cwd[4096];
  if (getcwd(cwd, sizeof cwd)) state.startDir = std::string(cwd) + "/";

  std::string openDir;
  if (!state.oneLine) {
    size_t slash = state.script.rfind('/');
    if (slash != std::string::npos) {
      std::string dir = state.script.substr(0, slash + 1);
      // The script itself is still opened relative to where marl started.
      if (chdir(dir.c_str()) == 0 && state.script[0] != '/') openDir = state.startDir;
    }
  }

  defineGlobals(envp);
  registerAllBuiltins();

  interpreter.input.files = state.inputFiles;
  interpreter.input.inPlace = state.inPlace;
  try {
    open_next_input();
  } catch (const ScriptError &e) {
    flushStandardStreams();
    std::fprintf(stderr, "%s\n", e.what());
  } catch (const MExit &) {
  }

  runStartupScripts();

  Value result;
  bool ran = false;
  if (!state.script.empty()) {
    ran = true;
    if (state.oneLine) {
      result = run_script_string(state.script);
    } else {
      result = state.preprocess ? run_preprocessed_file(state.script, openDir)
                                : run_script_file(state.script, openDir);
      int kind = mainKind();
      if (kind == 1)
        result = run_script_string("exit(main(__arg));");
      else if (kind == 0)
        result = run_script_string("exit(main());");
    }
  }
  int status = ran ? exitStatus(result) : 0;
  result.setNull();

  if (state.talkMode && !state.consoleSuppressed) run_console();

  return status;
}

int runOnInterpreterThread(int argc, char **argv, char **envp, int noConsole) {
  ThreadArgs args{argc, argv, envp, noConsole, 0};
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  // Deep script recursion is stopped by the scope limit; this stack holds it
  // with room to spare.
  pthread_attr_setstacksize(&attr, 1024UL * 1024 * 1024);
  pthread_t thread;
  if (pthread_create(&thread, &attr, threadMain, &args) != 0) {
    pthread_attr_destroy(&attr);
    return runDriver(argc, argv, envp, noConsole);
  }
  pthread_attr_destroy(&attr);
  pthread_join(thread, nullptr);
  return args.status;
}

}  // namespace marl
