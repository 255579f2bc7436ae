// The linked priority queue against std::priority_queue (with a stable tie
// break: equal priorities leave in arrival order), and the array queue and
// stack against std::deque. Push everything, then pop everything.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <deque>
#include <queue>
#include <random>
#include <vector>

#include "lists/PelLists.h"

namespace {

std::vector<int32_t> Priorities(std::size_t n) {
  std::mt19937 rng(1);
  std::uniform_int_distribution<int32_t> d(0, 1'000'000);
  std::vector<int32_t> p(n);
  for (auto& x : p) x = d(rng);
  return p;
}

void BM_PelPriorityQueue(benchmark::State& state) {
  const auto prios = Priorities(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    auto q = pel::Make<pel::TPelPriorityQueue>();
    for (int32_t p : prios) q->PushP(nullptr, p);
    while (!q->IsEmpty()) benchmark::DoNotOptimize(q->Pop());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PelPriorityQueue)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
// Each push walks the list: 100,000 pushes take about a minute, so once.
BENCHMARK(BM_PelPriorityQueue)->Arg(100000)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_StdPriorityQueue(benchmark::State& state) {
  const auto prios = Priorities(static_cast<std::size_t>(state.range(0)));
  struct Entry {
    int32_t Priority;
    uint64_t Seq;
    void* Item;
  };
  // Lowest priority first; among equals, the earlier arrival.
  auto later = [](const Entry& a, const Entry& b) {
    return a.Priority != b.Priority ? a.Priority > b.Priority : a.Seq > b.Seq;
  };
  for (auto _ : state) {
    std::priority_queue<Entry, std::vector<Entry>, decltype(later)> q(later);
    uint64_t seq = 0;
    for (int32_t p : prios) q.push({p, seq++, nullptr});
    while (!q.empty()) {
      benchmark::DoNotOptimize(q.top().Item);
      q.pop();
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_StdPriorityQueue)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

constexpr int kQueueItems = 100'000;

template <class Q>
void PushPop(benchmark::State& state) {
  for (auto _ : state) {
    auto q = pel::Make<Q>();
    for (intptr_t i = 0; i < kQueueItems; ++i) q->Push(reinterpret_cast<void*>(i));
    while (!q->IsEmpty()) benchmark::DoNotOptimize(q->Pop());
  }
  state.SetItemsProcessed(state.iterations() * kQueueItems);
}

void BM_TQQueue(benchmark::State& state) { PushPop<pel::TQQueue>(state); }
BENCHMARK(BM_TQQueue)->Unit(benchmark::kMillisecond);

void BM_TQStack(benchmark::State& state) { PushPop<pel::TQStack>(state); }
BENCHMARK(BM_TQStack)->Unit(benchmark::kMillisecond);

void BM_StdDequeQueue(benchmark::State& state) {
  for (auto _ : state) {
    std::deque<void*> q;
    for (intptr_t i = 0; i < kQueueItems; ++i) q.push_back(reinterpret_cast<void*>(i));
    while (!q.empty()) {
      benchmark::DoNotOptimize(q.front());
      q.pop_front();
    }
  }
  state.SetItemsProcessed(state.iterations() * kQueueItems);
}
BENCHMARK(BM_StdDequeQueue)->Unit(benchmark::kMillisecond);

void BM_StdDequeStack(benchmark::State& state) {
  for (auto _ : state) {
    std::deque<void*> q;
    for (intptr_t i = 0; i < kQueueItems; ++i) q.push_back(reinterpret_cast<void*>(i));
    while (!q.empty()) {
      benchmark::DoNotOptimize(q.back());
      q.pop_back();
    }
  }
  state.SetItemsProcessed(state.iterations() * kQueueItems);
}
BENCHMARK(BM_StdDequeStack)->Unit(benchmark::kMillisecond);

}  // namespace
