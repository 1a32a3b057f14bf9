// Scanning and parsing speed on a generated 5 MB script: function definitions,
// control flow, expressions, all three string kinds, regular expressions and
// comments. Reported as bytes of source per second; each pass also frees the
// tree and the function table, as a run of a script does once.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/bench_interpreter.hpp"
#include "frontend/functions.hpp"
#include "frontend/parse.hpp"

namespace {

constexpr size_t kScriptBytes = 5u << 20;

std::string makeScript() {
  std::string s;
  s.reserve(kScriptBytes + 4096);
  s += "# generated for the parser benchmark\nvar total = 0, count = 0, table[16];\n";
  for (int i = 0; s.size() < kScriptBytes; ++i) {
    std::string n = std::to_string(i);
    s += "function work_" + n + "(x, y, items) {\n";
    s += "  var label = \"item \\x41\\t" + n + "\", raw = 'c:\\path\\file_" + n + "';\n";
    s += "  if (x > " + n + " && y <= 0x" + std::to_string(i % 4096) + ") { return x ** 2 - y; }\n";
    s += "  elif (label =~ /^item [0-9]+$/i) total += x * 3 / (y + 1) % 7;\n";
    s += "  else { count++; table[x & 15] = [x, y, \"s\" 'r']; }\n";
    s += "  // a line comment\n  /* a block\n     comment */\n";
    s += "  for (var i = 0; i < len(items); i++) {\n";
    s += "    if (0 <= items[i] < 10) continue;\n";
    s += "    h = hash('k' = items[i], 'v'); h.k = items[i] >> 1 | 1;\n";
    s += "  }\n";
    s += "  foreach (var v in items) switch (v) { case 1: break; default: total -= v; }\n";
    s += "  return x ? f(x - 1, y, items) : \"\"\"\n  block text\n\"\"\";\n";
    s += "}\n";
  }
  return s;
}

void BM_ParseScript(benchmark::State &state) {
  const std::string script = makeScript();
  for (auto _ : state) {
    marl::ParseResult r = marl::parseText(script);
    if (!r.ok) {
      state.SkipWithError("the generated script did not parse");
      break;
    }
    benchmark::DoNotOptimize(r.statements);
    marl::clearFunctions();
    marl::freeAllNodes();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(script.size()));
}
BENCHMARK(BM_ParseScript)->Unit(benchmark::kMillisecond);

// One token as long as the whole source (a string, a comment, a name): its
// scanning time must grow linearly with its length, as the rate shows.
std::string longToken(int kind, size_t length) {
  std::string body(length, 'a');
  switch (kind) {
    case 0:
      return "x = \"" + body + "\";";
    case 1:
      return "// " + body + "\nx = 1;";
    default:
      return "x" + body + " = 1;";
  }
}

void BM_LongToken(benchmark::State &state) {
  const std::string script =
      longToken(static_cast<int>(state.range(0)), static_cast<size_t>(state.range(1)));
  for (auto _ : state) {
    marl::ParseResult r = marl::parseText(script);
    benchmark::DoNotOptimize(r.statements);
    marl::freeAllNodes();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(script.size()));
}
BENCHMARK(BM_LongToken)
    ->ArgNames({"kind", "bytes"})
    ->ArgsProduct({{0, 1, 2}, {1 << 20, 16 << 20}})
    ->Unit(benchmark::kMillisecond);

}  // namespace
