// Sorting a million numbers and counting the words of 50 MB of text, through
// the registered handlers of sort and split.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench/bench_interpreter.hpp"
#include "builtins/registry.hpp"
#include "eval/context.hpp"
#include "eval/funcref.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

BuiltinHandler handler(const char *name, int arity) {
  for (const BuiltinEntry &e : arrayBuiltins())
    if (std::strcmp(e.name, name) == 0 && e.arity == arity) return e.handler;
  return nullptr;
}

Value call(BuiltinHandler h, std::vector<Value> args) {
  Context ctx;
  Value result;
  h(ctx, 1, Args{args.data(), args.size()}, result);
  return result;
}

std::vector<double> randomNumbers(size_t n) {
  std::mt19937_64 gen(7);
  std::uniform_real_distribution<double> dist(-1e6, 1e6);
  std::vector<double> v(n);
  for (double &d : v) d = dist(gen);
  return v;
}

void BM_SortNumbers(benchmark::State &state) {
  BuiltinHandler sort = handler("sort", 1);
  std::vector<double> source = randomNumbers(static_cast<size_t>(state.range(0)));
  MArray *a = new MArray();
  Value holder(a);
  for (auto _ : state) {
    state.PauseTiming();
    a->items.clear();
    for (double d : source) a->push(Value::num(d));
    state.ResumeTiming();
    call(sort, {holder});
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SortNumbers)->Arg(1000000)->Unit(benchmark::kMillisecond);

void BM_SortStrings(benchmark::State &state) {
  BuiltinHandler sort = handler("sort", 1);
  std::vector<double> source = randomNumbers(static_cast<size_t>(state.range(0)));
  MArray *a = new MArray();
  Value holder(a);
  for (auto _ : state) {
    state.PauseTiming();
    a->items.clear();
    for (double d : source) a->push(makeString(std::to_string(d)));
    state.ResumeTiming();
    call(sort, {holder});
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SortStrings)->Arg(1000000)->Unit(benchmark::kMillisecond);

// A C++ comparator behind a function reference: the cost of the merge sort
// and of the callback machinery, without a script function's own work.
void compareNumbers(Context &, int, const Args &a, Value &r) {
  r.setNumber(a[0].number - a[1].number);
}

void BM_SortWithComparator(benchmark::State &state) {
  BuiltinHandler sort = handler("sort", 2);
  FuncInfo *info = new FuncInfo();
  func_data *d = new func_data();
  d->handler = compareNumbers;
  d->arity = 2;
  info->variants.push_back(d);
  Value cmp(new MFuncRef(info));
  releaseFunc(info);
  std::vector<double> source = randomNumbers(static_cast<size_t>(state.range(0)));
  MArray *a = new MArray();
  Value holder(a);
  for (auto _ : state) {
    state.PauseTiming();
    a->items.clear();
    for (double x : source) a->push(Value::num(x));
    state.ResumeTiming();
    call(sort, {holder, cmp});
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SortWithComparator)->Arg(100000)->Unit(benchmark::kMillisecond);

// About 50 MB of words drawn from a vocabulary of 20000, in lines of ten.
const std::string &sampleText() {
  static std::string text = [] {
    std::mt19937 gen(11);
    std::vector<std::string> vocabulary;
    for (int i = 0; i < 20000; i++) {
      std::string w;
      for (int n = 3 + i % 7; n > 0; n--) w += static_cast<char>('a' + gen() % 26);
      vocabulary.push_back(w);
    }
    std::string t;
    t.reserve(50u << 20);
    size_t words = 0;
    while (t.size() < (50u << 20)) {
      t += vocabulary[gen() % vocabulary.size()];
      t += ++words % 10 ? ' ' : '\n';
    }
    return t;
  }();
  return text;
}

void BM_SplitAndCount(benchmark::State &state) {
  BuiltinHandler split = handler("split", 1);
  Value text = makeString(sampleText());
  size_t distinct = 0;
  for (auto _ : state) {
    Value words = call(split, {text});
    MHash *counts = new MHash();
    Value countsHolder(counts);
    for (const HeldValue &w : asArray(words)->items) {
      std::string_view key = static_cast<MString *>(w.object())->text;
      const HeldValue *seen = counts->find(key);
      counts->set(key, Value::num(seen ? seen->number() + 1 : 1));
    }
    distinct = counts->size();
  }
  state.counters["distinct"] = static_cast<double>(distinct);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(sampleText().size()));
}
BENCHMARK(BM_SplitAndCount)->Unit(benchmark::kMillisecond);

void BM_SplitOnly(benchmark::State &state) {
  BuiltinHandler split = handler("split", 2);
  Value text = makeString(sampleText());
  Value sep = makeString(" ");
  for (auto _ : state) benchmark::DoNotOptimize(call(split, {text, sep}));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(sampleText().size()));
}
BENCHMARK(BM_SplitOnly)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace marl
