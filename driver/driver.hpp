// The interpreter's entry: options, streams, globals, scripts, main, teardown.
#pragma once
#include <string>
#include <vector>

namespace marl {

struct DriverState {
  std::string script;  // the script path, or the -e text
  bool oneLine = false;
  bool talkMode = false;
  bool preprocess = true;
  bool inPlace = false;
  bool consoleSuppressed = false;
  std::string inputEncoding = "sjis";
  std::string outputEncoding = "sjis";
  std::vector<std::string> preprocessorOptions;
  std::vector<std::string> scriptArgs;
  std::vector<std::string> inputFiles;
  std::string programDir;
  std::string startDir;  // the directory marl was started in, with its trailing '/'
};

DriverState &driverState();

// Parses the command line; prints the usage text and exits with status 1 on
// a bad option or when there is nothing to run.
void parseCommandLine(int argc, char **argv, DriverState &state);
void printUsage(const char *program);
// The banner and the credit line, as the usage text and the console's .help show them.
const char *bannerText();

// Runs the interpreter on a thread with a large stack, so deep recursion in
// scripts hits the recursion limit long before the C stack ends.
int runOnInterpreterThread(int argc, char **argv, char **envp, int noConsole);
int runDriver(int argc, char **argv, char **envp, int noConsole);

}  // namespace marl
