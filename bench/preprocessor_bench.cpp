// Preprocessing speed on a generated 5 MB script that defines and uses 1,000 macros, with the
// strings, comments and plain lines a real script has. Reported as bytes of input per second.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "preprocessor/cpp_main.hpp"

namespace {

constexpr int kMacros = 1000;
constexpr size_t kScriptBytes = 5u << 20;

std::string make_script() {
  std::string s;
  s.reserve(kScriptBytes + 4096);
  s += "#!/usr/bin/env marl\n# generated for the preprocessor benchmark\n";
  for (int i = 0; i < kMacros; ++i) {
    std::string n = std::to_string(i);
    if (i % 2 == 0)
      s += "#define LIMIT_" + n + " (" + n + " * 3 + 1)\n";
    else
      s += "#define SCALE_" + n + "(a, b) ((a) * " + n + " + (b))\n";
  }
  for (int i = 0; s.size() < kScriptBytes; ++i) {
    std::string a = std::to_string((i * 7) % kMacros / 2 * 2),
                b = std::to_string((i * 13) % kMacros / 2 * 2 + 1);
    std::string n = std::to_string(i);
    s += "function work_" + n + "(x, y) {\n";
    s += "  var label = \"LIMIT_" + a + " is only text here\"; // and LIMIT_" + a + " here\n";
    s += "  var raw = 'c:\\path\\to\\file_" + n + ".txt';\n";
    s += "  if (x > LIMIT_" + a + ") { return SCALE_" + b + "(x, y); }\n";
    s += "  # a comment line that mentions SCALE_" + b + "(1, 2)\n";
    s += "  total = total + x * 2 - y / 3; count++;\n";
    s += "  /* a block comment\n     over two lines */\n";
    s += "  foreach (item in list) { print(item, \"\\n\"); }\n";
    s += "  return x + y;\n}\n";
    if (i % 50 == 0)
      s += "#if LIMIT_" + a + " > 100 && defined(SCALE_" + b +
           ")\nbig();\n#else\nsmall();\n#endif\n";
    if (i % 40 == 0) s += "doc = \"\"\"\n  LIMIT_" + a + " stays as it is\n\"\"\"\n";
  }
  return s;
}

void BM_Preprocess(benchmark::State &state) {
  const char *tmp = std::getenv("TMPDIR");
  std::string dir = std::string(tmp && *tmp ? tmp : "/tmp") + "/marlpp-bench-XXXXXX";
  if (!mkdtemp(dir.data())) {
    state.SkipWithError("cannot create a temporary directory");
    return;
  }
  std::string input = dir + "/script.mr", output = "-o" + dir + "/script.i";
  std::string script = make_script();
  std::ofstream(input, std::ios::binary) << script;
  std::vector<std::string> args{"", "-DBENCH=1", "-I" + dir + "/", output, input};
  std::vector<char *> argv;
  for (std::string &a : args) argv.push_back(a.data());
  for (auto _ : state) {
    if (cpp_main(static_cast<int>(argv.size()), argv.data()) != 0) {
      state.SkipWithError("cpp_main failed");
      break;
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(script.size()));
  std::filesystem::remove_all(dir);
}
BENCHMARK(BM_Preprocess)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
