// Line-by-line writing and reading of a 50 MB text file in each encoding.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "bench/bench_interpreter.hpp"
#include "io/file.hpp"

namespace marl {
namespace {

constexpr size_t kFileBytes = 50u << 20;
const char *const kEncodings[] = {"sjis", "euc", "utf8", "utf16"};

// Internal-encoding text: ASCII with a run of kana and kanji in every line,
// so the converters do real work; about 70 bytes a line.
std::string sampleLine(size_t i) {
  return "line " + std::to_string(i) +
         ": the quick brown fox \x82\xA0\x82\xA2\x82\xA4\x8A\xBF\x8E\x9A jumps over\n";
}

class ScratchFile {
 public:
  ScratchFile() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "marl-bench-XXXXXX").string();
    if (mkdtemp(tmpl.data())) dir_ = tmpl;
  }
  ~ScratchFile() {
    std::error_code ec;
    if (!dir_.empty()) std::filesystem::remove_all(dir_, ec);
  }
  std::string path(const char *encoding) const { return dir_ + "/" + encoding + ".txt"; }
  bool ok() const { return !dir_.empty(); }

 private:
  std::string dir_;
};

ScratchFile &scratch() {
  static ScratchFile s;
  return s;
}

// Writes the file through an object of the encoding's class; the internal
// byte count written.
size_t writeFile(const char *encoding) {
  std::unique_ptr<MFile> f(makeFileObject(encoding));
  if (!f->open(scratch().path(encoding), "w")) return 0;
  size_t total = 0;
  for (size_t i = 0; total < kFileBytes; i++) {
    std::string line = sampleLine(i);
    f->puts(line);
    total += line.size();
  }
  f->close();
  return total;
}

void BM_WriteLines(benchmark::State &state) {
  const char *encoding = kEncodings[state.range(0)];
  state.SetLabel(encoding);
  if (!scratch().ok()) state.SkipWithError("no scratch directory");
  size_t bytes = 0;
  for (auto _ : state) bytes += writeFile(encoding);
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

void BM_ReadLines(benchmark::State &state) {
  const char *encoding = kEncodings[state.range(0)];
  state.SetLabel(encoding);
  if (!scratch().ok() || writeFile(encoding) == 0) state.SkipWithError("cannot write the file");
  size_t bytes = 0;
  for (auto _ : state) {
    std::unique_ptr<MFile> f(makeFileObject(encoding));
    f->open(scratch().path(encoding), "r");
    for (std::string line; !(line = f->getline()).empty();) bytes += line.size();
    benchmark::DoNotOptimize(bytes);
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

// Each iteration moves 50 MB; a few are enough on a shared machine.
BENCHMARK(BM_WriteLines)->DenseRange(0, 3)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ReadLines)->DenseRange(0, 3)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace marl

BENCHMARK_MAIN();
