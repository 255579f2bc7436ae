// Put then get of 1,000,000 distinct keys, integer and string, in the pel
// hash tables (each hash method) and in std::unordered_map. Every iteration
// builds a fresh container, fills it, reads every key back and frees it.
// The counter bytes_per_entry is the heap growth while filling, divided by
// the number of entries.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "hashing/PelHashTable.h"

using namespace pel;

namespace {

constexpr int kKeys = 1000000;

// Distinct non-zero keys scattered over the 32-bit range (an odd multiplier
// permutes the integers modulo 2^32), shuffled so that consecutive keys do
// not form an arithmetic progression a prefetcher could follow.
const std::vector<int32_t>& IntKeys() {
  static const std::vector<int32_t> keys = [] {
    std::vector<int32_t> k(kKeys);
    for (int i = 0; i < kKeys; ++i)
      k[i] = static_cast<int32_t>(static_cast<uint32_t>(i + 1) * 2654435761u);
    std::shuffle(k.begin(), k.end(), std::mt19937(11));
    return k;
  }();
  return keys;
}

// Distinct strings of 8 to 24 characters: a unique base-36 stem padded with
// random letters.
const std::vector<std::string>& StringKeys() {
  static const std::vector<std::string> keys = [] {
    std::mt19937 rng(7);
    std::vector<std::string> k(kKeys);
    const char* digits = "0123456789abcdefghijklmnopqrstuvwxyz";
    for (int i = 0; i < kKeys; ++i) {
      std::string s;
      for (int v = i; v > 0 || s.empty(); v /= 36) s += digits[v % 36];
      s += '_';
      size_t len = 8 + rng() % 17;
      while (s.size() < len) s += static_cast<char>('A' + rng() % 26);
      k[i] = s;
    }
    return k;
  }();
  return keys;
}

// Small blocks plus the large ones malloc maps on their own (bucket arrays).
size_t HeapInUse() {
  struct mallinfo2 mi = mallinfo2();
  return mi.uordblks + mi.hblkhd;
}

void* ValueOf(int i) { return reinterpret_cast<void*>(static_cast<intptr_t>(i + 1)); }

template <TPelHashType HT>
void PelIntPutGet(benchmark::State& state) {
  const auto& keys = IntKeys();
  double bytes = 0;
  for (auto _ : state) {
    size_t before = HeapInUse();
    TPelHashIntTable* t = New<TPelHashIntTable>(101u, 0.75f);
    t->SetHashType(HT);
    for (int i = 0; i < kKeys; ++i) t->Put(keys[i], ValueOf(i));
    bytes = static_cast<double>(HeapInUse() - before) / kKeys;
    intptr_t sum = 0;
    for (int i = 0; i < kKeys; ++i) sum += reinterpret_cast<intptr_t>(t->Get(keys[i]));
    benchmark::DoNotOptimize(sum);
    Free(t);
  }
  state.counters["bytes_per_entry"] = bytes;
}

void StdIntPutGet(benchmark::State& state) {
  const auto& keys = IntKeys();
  double bytes = 0;
  for (auto _ : state) {
    size_t before = HeapInUse();
    auto* m = new std::unordered_map<int32_t, void*>();
    for (int i = 0; i < kKeys; ++i) (*m)[keys[i]] = ValueOf(i);
    bytes = static_cast<double>(HeapInUse() - before) / kKeys;
    intptr_t sum = 0;
    for (int i = 0; i < kKeys; ++i) sum += reinterpret_cast<intptr_t>(m->find(keys[i])->second);
    benchmark::DoNotOptimize(sum);
    delete m;
  }
  state.counters["bytes_per_entry"] = bytes;
}

template <TPelHashType HT>
void PelStringPutGet(benchmark::State& state) {
  const auto& keys = StringKeys();
  double bytes = 0;
  for (auto _ : state) {
    size_t before = HeapInUse();
    TPelStringHashtable* t = New<TPelStringHashtable>(101u, 0.75f);
    t->SetHashType(HT);
    for (int i = 0; i < kKeys; ++i) t->Put(keys[i], ValueOf(i));
    bytes = static_cast<double>(HeapInUse() - before) / kKeys;
    intptr_t sum = 0;
    for (int i = 0; i < kKeys; ++i) sum += reinterpret_cast<intptr_t>(t->Get(keys[i]));
    benchmark::DoNotOptimize(sum);
    Free(t);
  }
  state.counters["bytes_per_entry"] = bytes;
}

void StdStringPutGet(benchmark::State& state) {
  const auto& keys = StringKeys();
  double bytes = 0;
  for (auto _ : state) {
    size_t before = HeapInUse();
    auto* m = new std::unordered_map<std::string, void*>();
    for (int i = 0; i < kKeys; ++i) (*m)[keys[i]] = ValueOf(i);
    bytes = static_cast<double>(HeapInUse() - before) / kKeys;
    intptr_t sum = 0;
    for (int i = 0; i < kKeys; ++i) sum += reinterpret_cast<intptr_t>(m->find(keys[i])->second);
    benchmark::DoNotOptimize(sum);
    delete m;
  }
  state.counters["bytes_per_entry"] = bytes;
}

}  // namespace

BENCHMARK(StdIntPutGet)->Unit(benchmark::kMillisecond);
BENCHMARK(PelIntPutGet<htDivision>)->Unit(benchmark::kMillisecond);
BENCHMARK(PelIntPutGet<htTruncation>)->Unit(benchmark::kMillisecond);
BENCHMARK(PelIntPutGet<htMidSquare>)->Unit(benchmark::kMillisecond);
BENCHMARK(PelIntPutGet<htFolding>)->Unit(benchmark::kMillisecond);
BENCHMARK(StdStringPutGet)->Unit(benchmark::kMillisecond);
BENCHMARK(PelStringPutGet<htDivision>)->Unit(benchmark::kMillisecond);
BENCHMARK(PelStringPutGet<htTruncation>)->Unit(benchmark::kMillisecond);
BENCHMARK(PelStringPutGet<htMidSquare>)->Unit(benchmark::kMillisecond);
BENCHMARK(PelStringPutGet<htFolding>)->Unit(benchmark::kMillisecond);
