// Creating and dropping objects, and collections over many live objects.
#include <benchmark/benchmark.h>

#include "bench/bench_interpreter.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"

namespace marl {
namespace {

void CreateAndDropShortStrings(benchmark::State &state) {
  for (auto _ : state) {
    for (int i = 0; i < 10000000; i++) {
      Value s = makeString("short");
      benchmark::DoNotOptimize(s.object);
    }
  }
}
BENCHMARK(CreateAndDropShortStrings)->Unit(benchmark::kMillisecond);

void BuildAndDropArraysOfArrays(benchmark::State &state) {
  for (auto _ : state) {
    MArray *outer = new MArray();
    Value holder(outer);
    for (int i = 0; i < 100000; i++) {
      MArray *inner = new MArray(10);
      outer->push(Value(inner));
    }
  }
}
BENCHMARK(BuildAndDropArraysOfArrays)->Unit(benchmark::kMillisecond);

void CollectOverAMillionLiveObjects(benchmark::State &state) {
  MArray *outer = new MArray();
  Value holder(outer);
  for (int i = 0; i < 1000000; i++) outer->push(makeString("x"));
  for (auto _ : state) collect(true);
}
BENCHMARK(CollectOverAMillionLiveObjects)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace marl
