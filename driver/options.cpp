// The command line.
#include <glob.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "driver/driver.hpp"

namespace marl {

const char *bannerText() {
  return "MARL - Small Scripting Language - v0.46\n"
         "Linux edition by the MARL developers";
}

void printUsage(const char *program) {
  std::printf("%s\nUsage: %s [<options>] script [infile...] [-a args...]\n\n<options>\n",
              bannerText(), program);
  std::fputs(
      "    -a            : set script arguments\n"
      "    -e \"command\"  : execute one-line script\n"
      "    -i enc        : set input  encoding (sjis/euc/utf8/utf16)\n"
      "    -o enc        : set output encoding (sjis/euc/utf8/utf16)\n"
      "    -t            : talk mode\n"
      "    -x            : in place file edit (backup file will be created)\n"
      "    -Dxxx         : define symbol for pre-processor\n"
      "    -Uxxx         : undefine symbol for pre-processor\n"
      "    -Ixxx         : set include search path\n",
      stdout);
  std::fflush(stdout);
}

namespace {

[[noreturn]] void usageExit(const char *program) {
  printUsage(program);
  std::exit(1);
}

// Wildcards apply to the last path component only, in directory order.
void addInputFile(const std::string &arg, DriverState &state) {
  if (arg.find_first_of("?*") == std::string::npos) {
    state.inputFiles.push_back(arg);
    return;
  }
  size_t slash = arg.rfind('/');
  std::string prefix = slash == std::string::npos ? "" : arg.substr(0, slash + 1);
  if (prefix.find_first_of("?*") != std::string::npos) {
    state.inputFiles.push_back(arg);
    return;
  }
  glob_t g;
  if (glob(arg.c_str(), GLOB_NOSORT | GLOB_PERIOD, nullptr, &g) == 0) {
    for (size_t i = 0; i < g.gl_pathc; i++) {
      const char *path = g.gl_pathv[i];
      const char *name = std::strrchr(path, '/');
      name = name ? name + 1 : path;
      if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
      state.inputFiles.push_back(prefix + name);
    }
  }
  globfree(&g);
}

}  // namespace

void parseCommandLine(int argc, char **argv, DriverState &state) {
  const char *program = argc > 0 ? argv[0] : "marl";
  for (int i = 1; i < argc; i++) {
    const char *arg = argv[i];
    if (arg[0] != '-') {
      if (state.script.empty())
        state.script = arg;
      else
        addInputFile(arg, state);
      continue;
    }
    // The rest of the argument, or the next argument when nothing is attached.
    auto value = [&]() -> std::string {
      if (std::strlen(arg) > 2) return arg + 2;
      if (i + 1 >= argc) usageExit(program);
      return argv[++i];
    };
    switch (arg[1]) {
      case 'D':
      case 'U':
      case 'I':
        state.preprocessorOptions.push_back(arg);
        break;
      case 'a':
        for (i++; i < argc; i++) state.scriptArgs.push_back(argv[i]);
        break;
      case 'e':
        state.script = value() + ";";
        state.oneLine = true;
        break;
      case 'i':
        state.inputEncoding = value();
        break;
      case 'o':
        state.outputEncoding = value();
        break;
      case 't':
        state.talkMode = true;
        break;
      case 'x':
        state.inPlace = true;
        break;
      case 'N':
        state.preprocess = false;
        break;
      default:
        usageExit(program);
    }
  }
  if (!state.talkMode && state.script.empty()) usageExit(program);
}

}  // namespace marl
