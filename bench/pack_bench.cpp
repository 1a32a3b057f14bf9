// pack and unpack of a million records, as the built-ins do them: the
// template is parsed once and kept, as the built-ins keep parsed templates.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/bench_interpreter.hpp"
#include "io/pack.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"

namespace marl {
namespace {

constexpr int kRecords = 1000000;
constexpr const char *kTemplate =
    "id=uint32 x=float y=float z=float flags=byte[4] name=char[8] when=double";

Value sampleRecord(int i) {
  MHash *h = new MHash();
  Value v(h);
  h->set("id", Value::num(i));
  h->set("x", Value::num(i * 0.5));
  h->set("y", Value::num(-i));
  h->set("z", Value::num(3.25));
  MArray *flags = new MArray();
  Value fv(flags);
  for (int k = 0; k < 4; k++) flags->push(Value::num(k * 60));
  h->set("flags", fv);
  MArray *name = new MArray();
  Value nv(name);
  for (int k = 0; k < 8; k++) name->push(Value::num('a' + k));
  h->set("name", nv);
  h->set("when", Value::num(1.7e9 + i));
  return v;
}

void BM_Pack(benchmark::State &state) {
  Value record = sampleRecord(12345);
  const MHash &h = *asHash(record);
  PackTemplate t;
  parseTemplate(kTemplate, t);
  for (auto _ : state) {
    size_t total = 0;
    for (int i = 0; i < kRecords; i++) {
      total += packRecord(t, h).size();
    }
    benchmark::DoNotOptimize(total);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}

void BM_Unpack(benchmark::State &state) {
  PackTemplate t;
  parseTemplate(kTemplate, t);
  std::string data;
  for (int i = 0; i < 16; i++) data += packRecord(t, *asHash(sampleRecord(i)));
  size_t size = t.size;
  for (auto _ : state) {
    size_t fields = 0;
    for (int i = 0; i < kRecords; i++) {
      Value h = unpackRecord(t, std::string_view(data).substr((i % 16) * size, size));
      fields += asHash(h)->size();
    }
    benchmark::DoNotOptimize(fields);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}

// One call with a million-value field: the array is the only allocation.
void BM_UnpackMillionValueField(benchmark::State &state) {
  std::string data(8u * kRecords, '\x01');
  PackTemplate t;
  for (auto _ : state) {
    parseTemplate("v=double[1000000]", t);
    Value h = unpackRecord(t, data);
    benchmark::DoNotOptimize(h.object);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}

BENCHMARK(BM_Pack)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Unpack)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UnpackMillionValueField)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace marl
