// The interpreter's entry: options, streams, globals, scripts, main, teardown.
#include "driver/driver.hpp"

#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "builtins/input_queue.hpp"
#include "driver/builtin_groups.hpp"
#include "io/process.hpp"
#include "driver/interpreter.hpp"
#include "driver/runner.hpp"
#include "driver/signals.hpp"
#include "eval/run.hpp"
#include "runtime/error.hpp"
#include "eval/evaluator.hpp"
#include "frontend/functions.hpp"
#include "frontend/node.hpp"
#include "frontend/symbols.hpp"
#include "io/file.hpp"
#include "runtime/conversions.hpp"
#include "runtime/interrupt.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"
#include "runtime/stack_guard.hpp"

namespace marl {

// Returns 0, or 128 + the signal that ended the session.
int run_console();

namespace {

bool isRegularFile(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

// Checked before anything is set up, so that the early exit leaves nothing behind.
bool knownFilterEncodings(const DriverState &state) {
  for (const std::string *encoding : {&state.inputEncoding, &state.outputEncoding}) {
    std::unique_ptr<MFile> probe(makeStreamFilter(*encoding));
    if (!probe) {
      std::fprintf(stderr, "error: Unknown encoding %s for input/output filter\n",
                   encoding->c_str());
      return false;
    }
  }
  return true;
}

MFile *streamFilter(const std::string &encoding, int fd) {
  MFile *f = makeStreamFilter(encoding);
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

// The startup scripts and the script or -e text; the exit status.
int runScripts(const DriverState &state, const std::string &openDir) {
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
  return ran ? exitStatus(result) : 0;
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
  recordStackBounds();
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

  if (!knownFilterEncodings(state)) return 1;
  installSignalHandlers();
  defineGlobals(envp);
  registerAllBuiltins();

  interpreter.input.files = state.inputFiles;
  interpreter.input.inPlace = state.inPlace;
  int status = 0;
  // A signal unwinds to here; the state's teardown then flushes and closes
  // every file, as at a normal end, and leaves in-place backups where they are.
  try {
    status = runScripts(state, openDir);
    if (state.talkMode && !state.consoleSuppressed) {
      int ended = run_console();
      if (ended != 0) status = ended;
    }
  } catch (const Interrupted &i) {
    status = 128 + i.signal;
  }

  // Finalizers run during teardown (the state's destruction); a late signal
  // must not cut it short.
  blockSignalsHere();
  clearPendingSignal();
  return status;
}

int runOnInterpreterThread(int argc, char **argv, char **envp, int noConsole) {
  ThreadArgs args{argc, argv, envp, noConsole, 0};
  // Deep script recursion is stopped by the scope limit and the stack guard;
  // a large stack lets long chains and deep data go far. Under an address-
  // space limit the stack takes an eighth of it, leaving the rest to data,
  // and a stack that cannot be had is asked for again at half the size.
  constexpr size_t kLargest = size_t{1} << 30;
  constexpr size_t kSmallest = size_t{16} << 20;
  size_t size = kLargest;
  struct rlimit limit;
  if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
    size = std::clamp(static_cast<size_t>(limit.rlim_cur / 8), kSmallest, kLargest);
  for (; size >= kSmallest; size /= 2) {
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, size);
    pthread_t thread;
    int failed = pthread_create(&thread, &attr, threadMain, &args);
    pthread_attr_destroy(&attr);
    if (failed == 0) {
      // Signals go to the interpreter thread, which stops at a safe point.
      blockSignalsHere();
      pthread_join(thread, nullptr);
      return args.status;
    }
  }
  return runDriver(argc, argv, envp, noConsole);
}

}  // namespace marl
