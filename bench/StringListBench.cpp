// TPelStringList Sort and Find against std::sort / std::lower_bound on a
// std::vector<std::string>, on the same 1,000,000 random strings, case
// sensitive (byte order) on both sides.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "foundation/Structures.h"

namespace {

constexpr int kCount = 1'000'000;

const std::vector<std::string>& Words() {
  static const std::vector<std::string> words = [] {
    std::mt19937 rng(42);
    std::uniform_int_distribution<int> len(4, 16);
    std::uniform_int_distribution<int> ch('a', 'z');
    std::vector<std::string> w(kCount);
    for (auto& s : w) {
      s.resize(static_cast<std::size_t>(len(rng)));
      for (char& c : s) c = static_cast<char>(ch(rng));
    }
    return w;
  }();
  return words;
}

// Probes: half present, half (very likely) absent.
const std::vector<std::string>& Probes() {
  static const std::vector<std::string> probes = [] {
    std::vector<std::string> p;
    std::mt19937 rng(7);
    const auto& w = Words();
    for (int i = 0; i < kCount; ++i) {
      std::string s = w[rng() % w.size()];
      if (i % 2) s += "#";
      p.push_back(std::move(s));
    }
    return p;
  }();
  return probes;
}

pel::Owned<pel::TPelStringList> FilledList() {
  auto l = pel::Make<pel::TPelStringList>();
  l->SetStringOpsType(pel::soCaseSensitive);
  l->SetCapacity(kCount);
  for (const auto& s : Words()) l->Add(s);
  return l;
}

void BM_PelSort(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto l = FilledList();
    state.ResumeTiming();
    l->Sort();
    benchmark::DoNotOptimize(l->Get(0));
    state.PauseTiming();
    l.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_PelSort)->Unit(benchmark::kMillisecond);

void BM_StdSort(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    std::vector<std::string> v = Words();
    state.ResumeTiming();
    std::sort(v.begin(), v.end());
    benchmark::DoNotOptimize(v.front());
  }
}
BENCHMARK(BM_StdSort)->Unit(benchmark::kMillisecond);

void BM_PelFind(benchmark::State& state) {
  auto l = FilledList();
  l->SetSorted(true);
  const auto& probes = Probes();
  for (auto _ : state) {
    int32_t found = 0;
    for (const auto& p : probes) {
      int32_t index;
      found += l->Find(p, index);
      benchmark::DoNotOptimize(index);
    }
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(BM_PelFind)->Unit(benchmark::kMillisecond);

void BM_StdLowerBound(benchmark::State& state) {
  std::vector<std::string> v = Words();
  std::sort(v.begin(), v.end());
  const auto& probes = Probes();
  for (auto _ : state) {
    int32_t found = 0;
    for (const auto& p : probes) {
      auto it = std::lower_bound(v.begin(), v.end(), p);
      found += (it != v.end() && *it == p);
      benchmark::DoNotOptimize(it);
    }
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(BM_StdLowerBound)->Unit(benchmark::kMillisecond);

}  // namespace
