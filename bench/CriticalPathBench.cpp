// The critical-path method on the activity network against the Boost Graph
// Library, on random project networks of 10,000, 100,000 and 1,000,000
// events with about four tasks per event (the last, some four million tasks,
// is the size of the network pel cpm makes of a plan of a million tasks; it
// runs the two critical-path rows only, twice each).
//
// Both sides are built once from the same generated project, outside the
// timed loops. One iteration computes earliest and latest event times, the
// tasks' earliest and latest start times and the list of critical tasks:
// - pel: GetEarliestCompletionTime, then GetCriticalActivities (which redoes
//   the passes itself), as a caller wanting the completion time and the
//   critical tasks does; BM_PelCriticalActivities times the second call alone;
// - Boost: topological_sort, a forward pass for the earliest event times, a
//   backward pass for the latest, the task start times and the zero-slack
//   tasks.
// BM_PelCriticalGraph times GetCriticalGraph, which must grow linearly too.
// Before anything is timed, both sides must agree on every event's times and
// on the critical tasks of the 10,000-event project; otherwise the program
// stops with a message.
//
// Counters, from the thread's CPU time per iteration: pel_per_boost (pel's
// time over Boost's at the same size) and x_10k (time over the same
// benchmark's time at 10,000 events: about 10 at 100,000 when the growth is
// linear; both sides grow faster once the larger network no longer fits in
// the cache).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/topological_sort.hpp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "graphs/ActivityNetwork.h"
#include "platform/Classes.h"

using namespace pel;

namespace {

// ---------------------------------------------------------------------------
// The generated project

struct Task {
  int32_t From;
  int32_t To;
  int32_t Duration;
};

// Events 0 .. N-1; tasks only go from a lower to a higher event, so the
// network is acyclic. A backbone chain i -> i+1 makes every event reachable
// from event 0 and every event reach event N-1 (the only source and sink).
// Each event also starts 1 to 5 further tasks (3 on average) to events at
// most kReach ahead, as tasks of a plan link nearby milestones. Tasks are
// listed by starting event, each event's in the order it adds them, which
// is also the order of both graphs' edge lists: a task's position here is
// its id on both sides. Plain modulo keeps the project the same with every
// standard library.
constexpr int32_t kReach = 64;

std::vector<Task> GenerateProject(int32_t N) {
  std::mt19937 rng(20240611);
  auto below = [&rng](uint32_t n) { return static_cast<int32_t>(rng() % n); };
  std::vector<Task> tasks;
  tasks.reserve(static_cast<std::size_t>(N) * 4);
  for (int32_t from = 0; from + 1 < N; ++from) {
    tasks.push_back({from, from + 1, 1 + below(20)});
    const int32_t reach = std::min(kReach, N - 1 - from);
    const int32_t extra = 1 + below(5);
    for (int32_t k = 0; k < extra; ++k)
      tasks.push_back({from, from + 1 + below(reach), 1 + below(20)});
  }
  return tasks;
}

// ---------------------------------------------------------------------------
// Boost side

using BoostGraph =
    boost::adjacency_list<boost::vecS, boost::vecS, boost::directedS, boost::no_property,
                          boost::property<boost::edge_weight_t, int>>;
using BoostVertex = boost::graph_traits<BoostGraph>::vertex_descriptor;
using BoostEdge = boost::graph_traits<BoostGraph>::edge_descriptor;

struct BoostSchedule {
  std::vector<BoostVertex> Order;               // topological order, reversed (Boost's output)
  std::vector<int> Earliest, Latest;            // per event
  std::vector<int> EarliestStart, LatestStart;  // per task, in task id order
  std::vector<BoostEdge> Critical;              // zero-slack tasks, in task id order
  int Time = 0;
};

// Fills an empty graph in place (copying a built one costs as much again).
void BuildBoost(BoostGraph& g, int32_t N, const std::vector<Task>& tasks) {
  for (int32_t i = 0; i < N; ++i) boost::add_vertex(g);
  for (const Task& t : tasks) boost::add_edge(t.From, t.To, t.Duration, g);
}

BoostSchedule BoostCriticalPath(const BoostGraph& g) {
  const std::size_t n = boost::num_vertices(g);
  const auto weight = boost::get(boost::edge_weight, g);
  BoostSchedule s;
  s.Order.reserve(n);
  boost::topological_sort(g, std::back_inserter(s.Order));

  // Forward: the longest distance from the start to each event.
  s.Earliest.assign(n, 0);
  for (auto it = s.Order.rbegin(); it != s.Order.rend(); ++it) {
    for (const BoostEdge& e : boost::make_iterator_range(boost::out_edges(*it, g))) {
      const int t = s.Earliest[*it] + weight[e];
      int& to = s.Earliest[boost::target(e, g)];
      if (t > to) to = t;
    }
  }

  // Backward: the last event of the order is due when it is reached; every
  // other event as late as its tasks allow.
  s.Latest.assign(n, 0);
  for (std::size_t i = 0; i < n; ++i) {
    const BoostVertex u = s.Order[i];
    int l = i == 0 ? s.Earliest[u] : std::numeric_limits<int>::max();
    for (const BoostEdge& e : boost::make_iterator_range(boost::out_edges(u, g))) {
      const int t = s.Latest[boost::target(e, g)] - weight[e];
      if (t < l) l = t;
    }
    s.Latest[u] = l;
  }

  // Task start times and the tasks without slack.
  const std::size_t m = boost::num_edges(g);
  s.EarliestStart.reserve(m);
  s.LatestStart.reserve(m);
  for (BoostVertex u = 0; u < n; ++u) {
    for (const BoostEdge& e : boost::make_iterator_range(boost::out_edges(u, g))) {
      const int est = s.Earliest[u];
      const int lst = s.Latest[boost::target(e, g)] - weight[e];
      s.EarliestStart.push_back(est);
      s.LatestStart.push_back(lst);
      if (lst == est) s.Critical.push_back(e);
    }
  }
  if (n > 0) s.Time = s.Earliest[s.Order.front()] - s.Earliest[s.Order.back()];
  return s;
}

// ---------------------------------------------------------------------------
// pel side

Owned<TActivityNetwork> BuildPel(int32_t N, const std::vector<Task>& tasks) {
  Owned<TActivityNetwork> net = Make<TActivityNetwork>(nullptr);
  net->SetDirected(true);
  std::vector<TPelGraphNode*> events(static_cast<std::size_t>(N));
  for (int32_t i = 0; i < N; ++i) events[i] = net->CreateNode("E" + std::to_string(i));
  for (const Task& t : tasks) {
    auto* task = static_cast<TWeightedEdge*>(events[t.From]->AddEdge(events[t.To]));
    task->SetWeight(t.Duration);
  }
  return net;
}

// ---------------------------------------------------------------------------
// Agreement of the two sides

[[noreturn]] void Disagree(const std::string& what) {
  std::fprintf(stderr, "CriticalPathBench: pel and Boost disagree: %s\n", what.c_str());
  std::abort();
}

void CheckAgreement(TActivityNetwork& net, const BoostGraph& g, const std::vector<Task>& tasks) {
  const BoostSchedule s = BoostCriticalPath(g);
  int32_t time = -1;
  Free(net.GetEarliestCompletionTime(nullptr, nullptr, nullptr, time));
  if (time != s.Time)
    Disagree("completion time " + std::to_string(time) + " vs " + std::to_string(s.Time));

  const int32_t n = net.GetNodeCount();
  if (n != static_cast<int32_t>(boost::num_vertices(g))) Disagree("event count");
  std::unordered_map<const TPelGraphEdge*, std::size_t> taskId;
  for (int32_t i = 0; i < n; ++i) {
    TAOEEvent* e = net.GetNode(i);
    if (e->GetEarliestEventTime() != s.Earliest[i] || e->GetLatestEventTime() != s.Latest[i])
      Disagree("times of event " + std::to_string(i));
    for (int32_t k = 0; k < e->GetEdgeCount(); ++k) {
      const std::size_t id = taskId.size();
      auto* task = static_cast<TAOETask*>(e->GetEdge(k));
      if (id >= tasks.size() || tasks[id].From != i || task->GetWeight() != tasks[id].Duration ||
          task->GetToNode() != net.GetNode(tasks[id].To))
        Disagree("task " + std::to_string(id) + " is not the generated one");
      if (task->GetEarliestStartTime() != s.EarliestStart[id] ||
          task->GetLatestStartTime() != s.LatestStart[id] ||
          task->GetCriticality() != s.LatestStart[id] - s.EarliestStart[id])
        Disagree("start times of task " + std::to_string(id));
      taskId.emplace(task, id);
    }
  }
  if (taskId.size() != tasks.size()) Disagree("task count");

  std::vector<std::size_t> pelCritical, boostCritical;
  TStrings* list = net.GetCriticalActivities(nullptr, nullptr, nullptr, time);
  for (int32_t i = 0; i < list->GetCount(); ++i) {
    auto it = taskId.find(dynamic_cast<TPelGraphEdge*>(list->GetObject(i)));
    if (it == taskId.end()) Disagree("a critical entry is no task of the network");
    pelCritical.push_back(it->second);
  }
  Free(list);
  // Boost's edges must come in task id order too, for its per-task results.
  std::size_t id = 0;
  for (BoostVertex u = 0; u < boost::num_vertices(g); ++u) {
    for (const BoostEdge& e : boost::make_iterator_range(boost::out_edges(u, g))) {
      const Task& t = tasks[id++];
      if (static_cast<BoostVertex>(t.From) != u ||
          static_cast<BoostVertex>(t.To) != boost::target(e, g))
        Disagree("Boost edge " + std::to_string(id - 1) + " is not the generated task");
    }
  }
  for (std::size_t t = 0; t < tasks.size(); ++t)
    if (s.EarliestStart[t] == s.LatestStart[t]) boostCritical.push_back(t);
  if (s.Critical.size() != boostCritical.size()) Disagree("Boost's own critical list");
  if (pelCritical != boostCritical)
    Disagree("critical tasks (" + std::to_string(pelCritical.size()) + " vs " +
             std::to_string(boostCritical.size()) + ")");
}

// ---------------------------------------------------------------------------
// Shared fixtures

struct Project {
  std::vector<Task> Tasks;
  BoostGraph Boost;
  Owned<TActivityNetwork> Pel;
  std::size_t CriticalTasks = 0;
};

// Built on first use, before the first timed loop at that size; the
// 10,000-event project is checked for agreement then.
Project& ProjectOf(int32_t N) {
  static std::map<int32_t, std::unique_ptr<Project>> projects;
  std::unique_ptr<Project>& p = projects[N];
  if (!p) {
    p = std::make_unique<Project>();
    p->Tasks = GenerateProject(N);
    BuildBoost(p->Boost, N, p->Tasks);
    p->Pel = BuildPel(N, p->Tasks);
    if (N == 10'000) CheckAgreement(*p->Pel, p->Boost, p->Tasks);
    p->CriticalTasks = BoostCriticalPath(p->Boost).Critical.size();
  }
  return *p;
}

// CPU milliseconds per iteration of each benchmark at each size, for the
// ratios.
std::map<std::pair<std::string, int64_t>, double>& Timings() {
  static std::map<std::pair<std::string, int64_t>, double> t;
  return t;
}

// CPU time of this thread in milliseconds: the machine may be shared, and
// wall time then counts the other programs' turns as well.
double ThreadCpuMs() {
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) * 1e3 + static_cast<double>(ts.tv_nsec) / 1e6;
}

// Runs the timed loop, then reports x_10k and, when given, the ratio to
// another benchmark at the same size.
template <class Body>
void Timed(benchmark::State& state, const std::string& name, const char* against, Body body) {
  const double start = ThreadCpuMs();
  for (auto _ : state) body();
  const double ms = (ThreadCpuMs() - start) / static_cast<double>(state.iterations());
  const int64_t n = state.range(0);
  Timings()[{name, n}] = ms;
  if (auto it = Timings().find({name, 10'000}); n != 10'000 && it != Timings().end())
    state.counters["x_10k"] = ms / it->second;
  if (against) {
    if (auto it = Timings().find({against, n}); it != Timings().end())
      state.counters["pel_per_boost"] = ms / it->second;
  }
  const Project& p = ProjectOf(n);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(p.Tasks.size()));
  state.SetLabel(std::to_string(p.Tasks.size()) + " tasks, " + std::to_string(p.CriticalTasks) +
                 " critical");
}

int32_t Events(const benchmark::State& state) { return static_cast<int32_t>(state.range(0)); }

void BM_BoostCriticalPath(benchmark::State& state) {
  const BoostGraph& g = ProjectOf(Events(state)).Boost;
  Timed(state, "boost", nullptr, [&g] { benchmark::DoNotOptimize(BoostCriticalPath(g)); });
}

void BM_PelCriticalPath(benchmark::State& state) {
  TActivityNetwork* net = ProjectOf(Events(state)).Pel.get();
  Timed(state, "pel", "boost", [net] {
    int32_t time = 0;
    Free(net->GetEarliestCompletionTime(nullptr, nullptr, nullptr, time));
    Free(net->GetCriticalActivities(nullptr, nullptr, nullptr, time));
    benchmark::DoNotOptimize(time);
  });
}

// GetCriticalActivities alone already runs every pass of the method.
void BM_PelCriticalActivities(benchmark::State& state) {
  TActivityNetwork* net = ProjectOf(Events(state)).Pel.get();
  Timed(state, "pel_activities", "boost", [net] {
    int32_t time = 0;
    Free(net->GetCriticalActivities(nullptr, nullptr, nullptr, time));
    benchmark::DoNotOptimize(time);
  });
}

// The critical part as a network of its own, from the first to the last
// event; each iteration builds and frees it.
void BM_PelCriticalGraph(benchmark::State& state) {
  TActivityNetwork* net = ProjectOf(Events(state)).Pel.get();
  TAOEEvent* first = net->GetNode(0);
  TAOEEvent* last = net->GetNode(net->GetNodeCount() - 1);
  Timed(state, "pel_graph", nullptr, [=] { Free(net->GetCriticalGraph(first, last, nullptr)); });
}

// All rows of the 10,000-event project first: its timings are then taken
// before the larger projects fill the heap. At each size Boost comes first,
// as the pel rows divide by its time.
void Register(int64_t events) {
  const bool huge = events >= 1'000'000;
  const auto add = [events, huge](const char* name, void (*fn)(benchmark::State&)) {
    auto* b = benchmark::RegisterBenchmark(name, fn)->Arg(events)->Unit(benchmark::kMillisecond);
    if (huge) b->Iterations(2);
  };
  add("BM_BoostCriticalPath", BM_BoostCriticalPath);
  add("BM_PelCriticalPath", BM_PelCriticalPath);
  if (huge) return;
  add("BM_PelCriticalActivities", BM_PelCriticalActivities);
  add("BM_PelCriticalGraph", BM_PelCriticalGraph);
}

const bool kRegistered = [] {
  Register(10'000);
  Register(100'000);
  Register(1'000'000);
  return true;
}();

}  // namespace
