// The linked priority queue against std::priority_queue (with a stable tie
// break: equal priorities leave in arrival order), and the array queue and
// stack against std::deque, at 10,000, 100,000 and 1,000,000 items. Push
// everything, then pop everything; the priorities are random in 0..1,000,000
// (many distinct ones, a few ties).
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

void Sizes(benchmark::internal::Benchmark* b) {
  b->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
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
BENCHMARK(BM_PelPriorityQueue)->Apply(Sizes);

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
BENCHMARK(BM_StdPriorityQueue)->Apply(Sizes);

template <class Q>
void PushPop(benchmark::State& state) {
  const auto n = static_cast<intptr_t>(state.range(0));
  for (auto _ : state) {
    auto q = pel::Make<Q>();
    for (intptr_t i = 0; i < n; ++i) q->Push(reinterpret_cast<void*>(i));
    while (!q->IsEmpty()) benchmark::DoNotOptimize(q->Pop());
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void BM_TQQueue(benchmark::State& state) { PushPop<pel::TQQueue>(state); }
BENCHMARK(BM_TQQueue)->Apply(Sizes);

void BM_TQStack(benchmark::State& state) { PushPop<pel::TQStack>(state); }
BENCHMARK(BM_TQStack)->Apply(Sizes);

// The string queue on the platform's string list, strings and objects.
void BM_TQStringQueue(benchmark::State& state) {
  const auto n = state.range(0);
  for (auto _ : state) {
    auto q = pel::Make<pel::TQStringQueue>();
    for (int64_t i = 0; i < n; ++i) q->PushItem("item", nullptr);
    while (!q->IsEmpty()) benchmark::DoNotOptimize(q->PopString());
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_TQStringQueue)->Apply(Sizes);

// The linked queue, for comparison with the array one.
void BM_PelQueue(benchmark::State& state) {
  const auto n = state.range(0);
  for (auto _ : state) {
    auto q = pel::Make<pel::TPelQueue>();
    for (int64_t i = 0; i < n; ++i) q->Push(nullptr);
    while (!q->IsEmpty()) benchmark::DoNotOptimize(q->Pop());
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_PelQueue)->Apply(Sizes);

template <bool Fifo>
void DequePushPop(benchmark::State& state) {
  const auto n = static_cast<intptr_t>(state.range(0));
  for (auto _ : state) {
    std::deque<void*> q;
    for (intptr_t i = 0; i < n; ++i) q.push_back(reinterpret_cast<void*>(i));
    while (!q.empty()) {
      if constexpr (Fifo) {
        benchmark::DoNotOptimize(q.front());
        q.pop_front();
      } else {
        benchmark::DoNotOptimize(q.back());
        q.pop_back();
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void BM_StdDequeQueue(benchmark::State& state) { DequePushPop<true>(state); }
BENCHMARK(BM_StdDequeQueue)->Apply(Sizes);

void BM_StdDequeStack(benchmark::State& state) { DequePushPop<false>(state); }
BENCHMARK(BM_StdDequeStack)->Apply(Sizes);

// A steady queue: a million operations on a queue that holds Size items,
// one push and one pop each, as a work list is used.
template <class Q>
void Steady(benchmark::State& state) {
  const auto n = static_cast<intptr_t>(state.range(0));
  for (auto _ : state) {
    auto q = pel::Make<Q>();
    for (intptr_t i = 0; i < n; ++i) q->Push(reinterpret_cast<void*>(i));
    for (intptr_t i = 0; i < 1'000'000; ++i) {
      q->Push(reinterpret_cast<void*>(i));
      benchmark::DoNotOptimize(q->Pop());
    }
  }
  state.SetItemsProcessed(state.iterations() * 1'000'000);
}

void BM_TQQueueSteady(benchmark::State& state) { Steady<pel::TQQueue>(state); }
BENCHMARK(BM_TQQueueSteady)->Apply(Sizes);

void BM_StdDequeSteady(benchmark::State& state) {
  const auto n = static_cast<intptr_t>(state.range(0));
  for (auto _ : state) {
    std::deque<void*> q;
    for (intptr_t i = 0; i < n; ++i) q.push_back(reinterpret_cast<void*>(i));
    for (intptr_t i = 0; i < 1'000'000; ++i) {
      q.push_back(reinterpret_cast<void*>(i));
      benchmark::DoNotOptimize(q.front());
      q.pop_front();
    }
  }
  state.SetItemsProcessed(state.iterations() * 1'000'000);
}
BENCHMARK(BM_StdDequeSteady)->Apply(Sizes);

}  // namespace
