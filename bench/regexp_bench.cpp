// gsub and tr over a 10 MB string: the result must be built in one pass.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "bench/bench_interpreter.hpp"
#include "builtins/regexp.hpp"
#include "builtins/registry.hpp"
#include "frontend/symbols.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

constexpr size_t kTextBytes = 10u << 20;

// Internal-encoding text: ASCII words with kana and kanji in every line.
const std::string &sampleText() {
  static const std::string text = [] {
    std::string t;
    t.reserve(kTextBytes + 128);
    for (size_t i = 0; t.size() < kTextBytes; i++)
      t += "line " + std::to_string(i) +
           ": the quick brown fox \x82\xA0\x82\xA2\x95\x5C jumps over the lazy dog\n";
    return t;
  }();
  return text;
}

BuiltinHandler handler(const char *name) {
  for (const BuiltinEntry &e : regexpBuiltins())
    if (std::strcmp(e.name, name) == 0) return e.handler;
  return nullptr;
}

// Runs a three-argument built-in on the sample text; the match variables
// need a global scope, as in a script.
void runOnText(benchmark::State &state, const char *name, Value pattern, Value replacement) {
  BuiltinHandler h = handler(name);
  Value args[3] = {makeString(sampleText()), std::move(pattern), std::move(replacement)};
  Context ctx;
  size_t produced = 0;
  for (auto _ : state) {
    Value result;
    h(ctx, 0, Args{args, 3}, result);
    produced = asString(result)->text.size();
    benchmark::DoNotOptimize(produced);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * sampleText().size()));
  state.counters["result_MB"] = static_cast<double>(produced) / (1 << 20);
}

Value compiled(const char *pattern) {
  RegExpRef re(RegExp::compile(0, pattern, 0));
  return Value(new MRegExp(re.get()));
}

// About 170,000 matches, each replaced by a longer text.
void BM_GsubWord(benchmark::State &state) {
  runOnText(state, "gsub", compiled("fox"), makeString("cat and mouse"));
}
BENCHMARK(BM_GsubWord)->Unit(benchmark::kMillisecond);

// About 1.5 million matches with group references in the template.
void BM_GsubGroups(benchmark::State &state) {
  runOnText(state, "gsub", compiled("(\\w+) (\\w+)"), makeString("$2 $1"));
}
BENCHMARK(BM_GsubGroups)->Unit(benchmark::kMillisecond);

// An empty match at every character: the loop must advance one character at a time.
void BM_GsubEmptyMatches(benchmark::State &state) {
  runOnText(state, "gsub", compiled("x*"), makeString(""));
}
BENCHMARK(BM_GsubEmptyMatches)->Unit(benchmark::kMillisecond);

void BM_Tr(benchmark::State &state) {
  runOnText(state, "tr", makeString("a-z\x82\xA0"), makeString("A-Z\x82\xA2"));
}
BENCHMARK(BM_Tr)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace marl
