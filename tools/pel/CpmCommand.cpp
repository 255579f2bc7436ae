#include "pel/CpmCommand.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <exception>
#include <fstream>
#include <functional>
#include <limits>
#include <optional>
#include <sstream>
#include <thread>
#include <unordered_map>
#include <unordered_set>

#include "graphs/ActivityNetwork.h"
#include "pel/Cli.h"
#include "pel/CpmCalendar.h"
#include "pel/CpmSchedule.h"
#include "platform/Classes.h"

namespace pel::cli {

namespace {

struct CpmOptions {
  std::string File, From, To, Save, Gantt, Start, Calendar, Holidays;
  bool Json = false, Dot = false, Aon = false, ShowDummies = false;
  int64_t Simulate = 0;
  uint64_t Seed = 1;
  std::vector<std::string> WhatIf;
};

// What an edge stands for, so that its duration follows the tasks': Lag
// steps (of one time unit each, scaled) plus the duration of task Task, less
// that of task Minus (each when not -1).
struct EdgeRole {
  TAOETask* Edge = nullptr;
  int32_t Task = -1;
  int32_t Lag = 0;
  int32_t Minus = -1;
  int Line = 0;  // of the task or link in the file
};

// The roles of a network's edges: its tasks' in input order, then a plan's
// dummies' in the order they were made.
struct EdgeRoles {
  std::vector<EdgeRole> Tasks, Dummies;
  template <class F>
  void ForEach(F f) const {
    for (const EdgeRole& r : Tasks) f(r);
    for (const EdgeRole& r : Dummies) f(r);
  }
};

// Where a network came from, for naming a cycle: the file line of each edge
// and, for a plan, the task each event belongs to.
// The line is looked up only to name a cycle.
struct Origin {
  bool Plan = false;
  const EdgeRoles* Roles = nullptr;
  // The estimates of the tasks with three points.
  std::unordered_map<TPelGraphEdge*, Estimate> Estimates;
  // The task a plan's event belongs to: its name before ":start" or
  // ":finish" (ids hold no ':'); empty for (start), (finish) and the events
  // of an event network.
  std::string Owner(TPelGraphNode* n) const {
    if (!Plan) return "";
    const String& caption = n->GetCaption();
    std::size_t colon = caption.rfind(':');
    return colon == std::string::npos ? "" : caption.substr(0, colon);
  }
};

// A plan converted to an event network; what each dummy stands for is kept
// only when the dummies are shown.
struct PlanNetwork {
  // A dummy for task Task: from the project start (Link -1), to the project
  // finish (-2) or the task's Link-th predecessor.
  struct Dummy {
    int32_t Task, Link;
  };
  std::vector<Dummy> Dummies;
};

// The input as read: a saved network, the tasks of an event network, or a plan.
struct Input {
  bool Saved = false, IsPlan = false;
  std::vector<TaskLine> Lines;
  PlanTasks Plan;
  std::vector<Estimate> Estimates() const {
    std::vector<Estimate> e;
    e.reserve(IsPlan ? Plan.size() : Lines.size());
    if (IsPlan)
      for (const auto& t : Plan) e.push_back(t.Est);
    else
      for (const auto& t : Lines) e.push_back(t.Est);
    return e;
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> n;
    if (IsPlan)
      for (const auto& t : Plan) n.push_back(t.Id);
    else
      for (const auto& t : Lines) n.push_back(t.From + " --> " + t.To);
    return n;
  }
};

// The names of a plan's events. Task ids hold no ':' or parenthesis, so
// these never clash.
const char* const ProjectStart = "(start)";
const char* const ProjectFinish = "(finish)";

bool EndsWith(const std::string& s, const std::string& tail) {
  if (s.size() < tail.size()) return false;
  return std::equal(tail.rbegin(), tail.rend(), s.rbegin(),
                    [](char a, char b) { return std::tolower(a) == std::tolower(b); });
}

// The network of a text or CSV file: events in order of first mention,
// tasks in file order.
void BuildNetwork(TActivityNetwork* net, const std::vector<TaskLine>& tasks,
                  const std::string& file, std::vector<EdgeRole>& roles) {
  net->SetDirected(true);
  std::unordered_map<std::string, TPelGraphNode*> events;
  auto event = [&](const std::string& name) {
    auto [it, added] = events.try_emplace(name, nullptr);
    if (added) it->second = net->CreateNode(name);
    return it->second;
  };
  int64_t total = 0;
  for (const TaskLine& t : tasks) {
    total += t.Duration;
    if (total > std::numeric_limits<int32_t>::max())
      throw CpmError(file + ":" + std::to_string(t.Line) +
                     ": the durations add up to more than 2147483647");
    TPelGraphNode* from = event(t.From);
    TPelGraphEdge* edge = from->AddEdge(event(t.To));
    As<TWeightedEdge>(edge)->SetWeight(t.Duration);
    roles.push_back({As<TAOETask>(edge), static_cast<int32_t>(roles.size()), 0, -1, t.Line});
  }
}

// A plan as an event network. Each task is an edge from its start event to
// its finish event. A link is a dummy into the successor's start event: from
// the predecessor's finish (FS, FF) or start (SS, SF), its duration the lag
// (FS, SS) or the lag less the successor's duration (FF, SF), so a task
// always runs its whole duration without a break. Dummies may so have
// negative durations. Zero dummies lead from the project start event to the
// tasks without predecessors and to the project finish event from the tasks
// whose finish no FS or FF link of lag 0 or more carries on to a successor's
// finish (the others' finishes are bound by their successors' already, and
// a node of a million edges would cost the graph dearly). No event is earlier
// than the project start: the network starts every event at time 0, so no
// task starts before the project does, however large a lead.
//
// The network is built in two steps: the events and the edge of each task
// as the tasks are read (AddTasks, which needs nothing of their links), then,
// once the plan is whole, the dummies (Finish). While every task read so far
// names predecessors read before it (as a plan in working order does), the
// dummies into its start are made as it comes too, in the order Finish would
// make them; from the first task that names one still to come, Finish makes
// the rest.
class PlanBuilder {
 public:
  PlanBuilder(TActivityNetwork* net, EdgeRoles& roles, bool dummies)
      : FNet(net), FRoles(roles), FShowDummies(dummies) {
    net->SetDirected(true);
    FFirst = net->CreateNode(ProjectStart);
    FLast = net->CreateNode(ProjectFinish);
  }

  // Room for a plan of at most the given numbers of tasks and links, so that
  // nothing is copied as it grows (room never used costs no memory).
  void Reserve(std::size_t tasks, std::size_t links) {
    FStarts.reserve(tasks);
    FFinishes.reserve(tasks);
    FRoles.Tasks.reserve(tasks);
    // A task has at most one dummy a link or one from the project start,
    // and one to the project finish.
    FRoles.Dummies.reserve(links + 2 * tasks);
    if (FShowDummies) FPlan.Dummies.reserve(links + 2 * tasks);
  }

  // The events and edges of tasks[from] to tasks[to - 1], and the dummies of
  // the tasks before known, whose predecessors are all known and built.
  void AddTasks(const PlanTask* tasks, std::size_t from, std::size_t to, std::size_t known = 0) {
    if (FStarts.capacity() < to) {
      // Doubling: the tasks come a few thousand at a time.
      FStarts.reserve(std::max(to, 2 * FStarts.capacity()));
      FFinishes.reserve(FStarts.capacity());
      FRoles.Tasks.reserve(FStarts.capacity());
    }
    for (std::size_t i = from; i < to; ++i) {
      const PlanTask& t = tasks[i];
      FStarts.push_back(FNet->CreateNode(t.Id + ":start"));
      FFinishes.push_back(FNet->CreateNode(t.Id + ":finish"));
      FRoles.Tasks.push_back({Edge(FStarts.back(), FFinishes.back(), t.Duration),
                              static_cast<int32_t>(i), 0, -1, t.Line});
    }
    // A task whose sums run over is left for Finish to raise on, once the
    // whole plan has been read without an error.
    for (known = std::min(known, to); FEarly && FLinked < known; ++FLinked)
      if (!Link(tasks, FLinked)) {
        FEarly = false;
        break;
      }
  }

  // The dummies of the whole plan, whose tasks have all been added.
  PlanNetwork Finish(const PlanTasks& tasks, const std::string& file) {
    std::vector<bool> carriedOn(tasks.size());
    // When no dummy is made yet, the number of edges each task's start and
    // finish events will start, so that their lists are made at their size
    // (lists begun while the plan was read have grown as they went).
    const bool presize = FLinked == 0;
    std::vector<int32_t> startEdges, finishEdges;
    if (presize) {
      startEdges.assign(tasks.size(), 1);
      finishEdges.assign(tasks.size(), 0);
    }
    std::size_t count = 0;
    int32_t firstEdges = 0;
    for (const PlanTask& t : tasks) {
      count += t.Predecessors.empty() ? 1 : t.Predecessors.size();
      firstEdges += t.Predecessors.empty();
      for (const PlanLink& l : t.Predecessors) {
        if (FromFinish(l) && l.Lag >= 0) carriedOn[l.Task] = true;
        if (presize) ++(FromFinish(l) ? finishEdges : startEdges)[l.Task];
      }
    }
    count += static_cast<std::size_t>(std::count(carriedOn.begin(), carriedOn.end(), false));
    FRoles.Dummies.reserve(count);
    if (FShowDummies) FPlan.Dummies.reserve(count);
    if (presize) {
      FFirst->SetEdgeCapacity(firstEdges);
      for (std::size_t i = 0; i < tasks.size(); ++i) {
        FStarts[i]->SetEdgeCapacity(startEdges[i]);
        FFinishes[i]->SetEdgeCapacity(finishEdges[i] + (carriedOn[i] ? 0 : 1));
      }
    }
    for (; FLinked < tasks.size(); ++FLinked)
      if (!Link(tasks.data(), FLinked))
        throw CpmError(file + ":" + std::to_string(tasks[FLinked].Line) +
                       ": the durations and lags add up to more than 2147483647");
    for (std::size_t i = 0; i < tasks.size(); ++i)
      if (!carriedOn[i]) Dummy(FFinishes[i], FLast, 0, {nullptr, -1, 0, -1, tasks[i].Line}, i, -2);
    return std::move(FPlan);
  }

 private:
  // The dummies into the start of tasks[i]: from the project start when it
  // has no predecessor, else one a link. False, with nothing made, when the
  // durations and lags so far would add up to more than a weight can hold.
  bool Link(const PlanTask* tasks, std::size_t i) {
    const PlanTask& t = tasks[i];
    int64_t total = FTotal + t.Duration;
    for (const PlanLink& l : t.Predecessors) {
      const int64_t weight = Weight(l, t);
      total += weight < 0 ? -weight : weight;
      if (total > std::numeric_limits<int32_t>::max()) return false;
    }
    FTotal = total;
    if (t.Predecessors.empty()) Dummy(FFirst, FStarts[i], 0, {nullptr, -1, 0, -1, t.Line}, i, -1);
    for (std::size_t k = 0; k < t.Predecessors.size(); ++k) {
      const PlanLink& l = t.Predecessors[k];
      Dummy(FromFinish(l) ? FFinishes[l.Task] : FStarts[l.Task], FStarts[i],
            static_cast<int32_t>(Weight(l, t)),
            {nullptr, -1, l.Lag, ToFinish(l) ? static_cast<int32_t>(i) : -1, t.Line}, i,
            static_cast<int32_t>(k));
    }
    return true;
  }
  // Whether link l runs from its predecessor's finish (FS, FF), not its start.
  static bool FromFinish(const PlanLink& l) {
    return l.Type == LinkType::FS || l.Type == LinkType::FF;
  }
  // Whether link l fixes its task's finish (FF, SF): its dummy then runs to
  // the task's start less the task's duration.
  static bool ToFinish(const PlanLink& l) {
    return l.Type == LinkType::FF || l.Type == LinkType::SF;
  }
  // The duration of the dummy for link l into task t.
  static int64_t Weight(const PlanLink& l, const PlanTask& t) {
    return int64_t{l.Lag} - (ToFinish(l) ? t.Duration : 0);
  }
  // A dummy edge and its role; what it stands for when the dummies are shown.
  void Dummy(TPelGraphNode* from, TPelGraphNode* to, int32_t weight, EdgeRole role,
             std::size_t task, int32_t link) {
    role.Edge = Edge(from, to, weight);
    FRoles.Dummies.push_back(role);
    if (FShowDummies) FPlan.Dummies.push_back({static_cast<int32_t>(task), link});
  }
  static TAOETask* Edge(TPelGraphNode* from, TPelGraphNode* to, int32_t weight) {
    auto* task = As<TAOETask>(from->AddEdge(to));
    task->SetWeight(weight);
    return task;
  }
  TActivityNetwork* FNet;
  EdgeRoles& FRoles;
  const bool FShowDummies;
  TPelGraphNode* FFirst;
  TPelGraphNode* FLast;
  std::vector<TPelGraphNode*> FStarts, FFinishes;
  PlanNetwork FPlan;
  // The tasks whose dummies are made, and the sum of their durations and
  // lags; dummies are made as tasks come while FEarly holds.
  std::size_t FLinked = 0;
  int64_t FTotal = 0;
  bool FEarly = true;
};

// See LeaveNetworksToExit.
std::atomic<bool> GLeaveToExit{false};

// An input's network with what its edges stand for (none for a saved one).
struct Network {
  Owned<TActivityNetwork> Net = Make<TActivityNetwork>(nullptr);
  Origin From;
  std::optional<PlanNetwork> Plan;
  EdgeRoles Roles;
  // A plan's network while the plan is read (see ReadPlanBuilding).
  std::optional<PlanBuilder> Builder;
  // Frees the network while the report is written (see Release); joined
  // before anything else of the network goes.
  std::jthread Freeing;

  // Hands the network, its roles and estimates to a thread that frees them:
  // a plan of a million tasks takes a third of a second to tear down, which
  // a report made without the network need not wait for.
  void Release() {
    Freeing = std::jthread([net = std::move(Net), roles = std::move(Roles),
                            estimates = std::move(From.Estimates)]() mutable {
      net.reset();
      roles = EdgeRoles();
      estimates.clear();
    });
  }
};

// Reads a plan in a thread of its own while this one makes the events, task
// edges and (while predecessors come first) dummies of the tasks read so far:
// the two halves of the work run side by side.
PlanTasks ReadPlanBuilding(const std::string& data, const std::string& file, PlanBuilder& builder) {
  constexpr uint64_t Ended = uint64_t{1} << 63;
  std::atomic<uint64_t> ready{0};  // the tasks complete so far; Ended once the reader ends
  std::atomic<const PlanTask*> first{nullptr};
  std::atomic<std::size_t> known{0};  // stored before ready
  PlanTasks plan;
  std::exception_ptr error;
  const PlanBounds bounds = BoundsOfPlan(data);
  {
    std::jthread reader([&] {
      try {
        // Into plan, which outlives the reader: the tasks stay for this
        // thread to read even when the reader stops at an error.
        ParsePlan(data, bounds, file, plan,
                  [&](const PlanTask* tasks, std::size_t count, std::size_t k) {
                    first.store(tasks, std::memory_order_relaxed);
                    known.store(k, std::memory_order_relaxed);
                    ready.store(count, std::memory_order_release);
                    ready.notify_one();
                  });
      } catch (...) {
        error = std::current_exception();
      }
      ready.fetch_or(Ended, std::memory_order_release);
      ready.notify_one();
    });
    builder.Reserve(bounds.Tasks, bounds.Links);
    std::size_t made = 0;
    for (;;) {
      const uint64_t state = ready.load(std::memory_order_acquire);
      if (state & Ended) break;
      if (state > made) {
        builder.AddTasks(first.load(std::memory_order_relaxed), made, state,
                         known.load(std::memory_order_relaxed));
        made = state;
      }
      ready.wait(state, std::memory_order_acquire);
    }
    // The reader has ended; joined here.
    reader.join();
    if (error) std::rethrow_exception(error);
    // Every link is known now.
    builder.AddTasks(plan.data(), made, plan.size(), plan.size());
  }
  return plan;
}

PlanNetwork BuildPlan(TActivityNetwork* net, const PlanTasks& tasks, const std::string& file,
                      EdgeRoles& roles, bool dummies) {
  PlanBuilder builder(net, roles, dummies);
  builder.AddTasks(tasks.data(), 0, tasks.size());
  return builder.Finish(tasks, file);
}

// Reads the input: a plan, a saved network (loaded into net) or the tasks of
// an event network.
// With early, a plan's network is begun while it is read (see
// ReadPlanBuilding), into n.
Input ReadInput(Network& n, const std::string& data, const CpmOptions& o, bool early) {
  TActivityNetwork* net = n.Net.get();
  const std::string& file = o.File;
  Input input;
  std::istringstream in(data);
  if (o.Aon || (EndsWith(file, ".csv") && HasPlanHeader(data))) {
    input.IsPlan = true;
    if (early) {
      n.Builder.emplace(net, n.Roles, o.ShowDummies);
      input.Plan = ReadPlanBuilding(data, file, *n.Builder);
    } else {
      input.Plan = ParsePlan(data, file);
    }
  } else if (data.compare(0, 4, "TPF0") == 0) {
    // A network saved by --save: the component stream.
    input.Saved = true;
    auto stream = Make<TStringStream>(data);
    stream->ReadComponent(net);
    int64_t total = 0;
    for (int32_t i = 0; i < net->GetNodeCount(); ++i) {
      TPelGraphNode* n = net->GetNode(i);
      for (int32_t e = 0; e < n->GetEdgeCount(); ++e) {
        // Dummies of a plan may have negative durations.
        int64_t w = As<TWeightedEdge>(n->GetEdge(e))->GetWeight();
        total += w < 0 ? -w : w;
      }
    }
    if (total > std::numeric_limits<int32_t>::max())
      throw CpmError(file + ": the durations add up to more than 2147483647");
    if (!net->GetDirected()) throw CpmError(file + ": the network is not directed");
  } else {
    input.Lines = EndsWith(file, ".csv") ? ParseCsvNetwork(in, file) : ParseTextNetwork(in, file);
  }
  return input;
}

// Sets every edge's duration in steps of 1/scale time unit from the tasks'
// durations in steps.
void SetWeights(Network& n, const std::vector<int64_t>& steps, int32_t scale,
                const std::string& file) {
  int64_t total = 0;
  auto set = [&](const EdgeRole& r) {
    int64_t w = int64_t{r.Lag} * scale + (r.Task >= 0 ? steps[r.Task] : 0) - (r.Minus >= 0 ? steps[r.Minus] : 0);
    total += w < 0 ? -w : w;
    if (total > std::numeric_limits<int32_t>::max())
      throw CpmError(file + ": the durations and lags add up to more than " +
                     std::to_string(std::numeric_limits<int32_t>::max() / scale) +
                     (scale == 1 ? "" : " (counted in steps of 1/" + std::to_string(scale) + ")"));
    r.Edge->SetWeight(static_cast<int32_t>(w));
  };
  n.Roles.ForEach(set);
}

// The tasks' durations in steps: a three-point estimate by its mean, which is
// whole in sixths and otherwise rounded up.
std::vector<int64_t> MeanSteps(const std::vector<Estimate>& estimates, int32_t scale) {
  std::vector<int64_t> steps;
  for (const Estimate& e : estimates) {
    if (!e.ThreePoint) {
      steps.push_back(int64_t{e.M} * scale);
      continue;
    }
    int64_t sixths = int64_t{e.O} + 4 * int64_t{e.M} + e.P;
    steps.push_back(scale % 6 == 0 ? sixths * (scale / 6) : (sixths + 5) / 6 * scale);
  }
  return steps;
}

// Builds the network of an input (a saved one is already in n), its
// durations in steps of 1/scale.
void Build(Network& n, const Input& input, int32_t scale, const std::string& file,
           bool showDummies) {
  n.From.Roles = &n.Roles;
  if (input.Saved) return;
  if (input.IsPlan) {
    n.From.Plan = true;
    n.Plan = n.Builder ? n.Builder->Finish(input.Plan, file)
                       : BuildPlan(n.Net.get(), input.Plan, file, n.Roles, showDummies);
    n.Builder.reset();
  } else {
    BuildNetwork(n.Net.get(), input.Lines, file, n.Roles.Tasks);
  }
  std::vector<Estimate> estimates = input.Estimates();
  bool threePoint = false;
  for (std::size_t i = 0; i < estimates.size(); ++i)
    if (estimates[i].ThreePoint) {
      n.From.Estimates[n.Roles.Tasks[i].Edge] = estimates[i];
      threePoint = true;
    }
  // Without three-point estimates, in whole units, the edges were made with
  // these very weights, their sum already checked.
  if (threePoint || scale != 1) SetWeights(n, MeanSteps(estimates, scale), scale, file);
}

TAOEEvent* EventNamed(TActivityNetwork* net, const std::string& name, const char* option) {
  if (name.empty()) return nullptr;
  TPelGraphNode* node = net->FindNode(name);
  if (!node) throw CpmError(std::string(option) + ": no event named '" + name + "'");
  return As<TAOEEvent>(node);
}

// A cycle of the network as its edges in order, found by a depth-first
// search with its own stack; empty when there is none.
std::vector<TPelGraphEdge*> FindCycle(TActivityNetwork* net) {
  enum : char { New, Open, Done };
  std::unordered_map<TPelGraphNode*, char> state;
  struct Step {
    TPelGraphNode* Node;
    int32_t Next;
    TPelGraphEdge* Via;
  };
  std::vector<Step> stack;
  for (int32_t i = 0; i < net->GetNodeCount(); ++i) {
    TPelGraphNode* root = net->GetNode(i);
    if (state[root] != New) continue;
    state[root] = Open;
    stack.push_back({root, 0, nullptr});
    while (!stack.empty()) {
      Step& top = stack.back();
      if (top.Next == top.Node->GetEdgeCount()) {
        state[top.Node] = Done;
        stack.pop_back();
        continue;
      }
      TPelGraphEdge* e = top.Node->GetEdge(top.Next++);
      TPelGraphNode* to = e->GetToNode();
      char& st = state[to];
      if (st == New) {
        st = Open;
        stack.push_back({to, 0, e});
      } else if (st == Open) {
        std::size_t k = stack.size();
        while (stack[k - 1].Node != to) --k;
        std::vector<TPelGraphEdge*> cycle;
        for (std::size_t j = k; j < stack.size(); ++j) cycle.push_back(stack[j].Via);
        cycle.push_back(e);
        return cycle;
      }
    }
  }
  return {};
}

// "b -> c -> b (lines 2, 3)": the events of a cycle, or for a plan its
// tasks, with the lines that make it.
std::string DescribeCycle(TActivityNetwork* net, const Origin& origin) {
  std::vector<TPelGraphEdge*> cycle = FindCycle(net);
  if (cycle.empty()) return "";
  auto label = [&](TPelGraphNode* n) {
    std::string owner = origin.Owner(n);
    return owner.empty() ? n->GetCaption() : owner;
  };
  std::vector<std::string> names;
  for (TPelGraphEdge* e : cycle) names.push_back(label(e->GetFromNode()));
  // A plan's task shows once however many of its events the cycle passes.
  std::vector<std::string> kept;
  for (std::size_t i = 0; i < names.size(); ++i)
    if (names[i] != names[(i + 1) % names.size()] || names.size() == 1) kept.push_back(names[i]);
  if (kept.empty()) kept.push_back(names.front());
  std::string text;
  for (const auto& n : kept) text += n + " -> ";
  text += kept.front();
  std::vector<int> lines;
  std::unordered_set<TPelGraphEdge*> inCycle(cycle.begin(), cycle.end());
  if (origin.Roles)
    origin.Roles->ForEach([&](const EdgeRole& r) {
      if (inCycle.count(r.Edge)) lines.push_back(r.Line);
    });
  std::sort(lines.begin(), lines.end());
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  for (std::size_t i = 0; i < lines.size(); ++i)
    text += (i ? ", " : lines.size() == 1 ? " (line " : " (lines ") + std::to_string(lines[i]);
  return text + (lines.empty() ? "" : ")");
}

int32_t Earliest(TPelGraphNode* n) { return As<TAOEEvent>(n)->GetEarliestEventTime(); }

// The times of one edge; its free float is how far it can slip before its
// end event moves.
TaskTimes EdgeTimes(TAOETask* t, bool events = true) {
  TaskTimes k;
  if (events) {
    k.From = t->GetFromNode()->GetCaption();
    k.To = t->GetToNode()->GetCaption();
  }
  k.Duration = t->GetWeight();
  k.EarliestStart = t->GetEarliestStartTime();
  k.LatestStart = t->GetLatestStartTime();
  k.Slack = t->GetCriticality();
  k.FreeFloat = Earliest(t->GetToNode()) - Earliest(t->GetFromNode()) - t->GetWeight();
  k.Critical = k.Slack == 0;
  return k;
}

// The PERT figures of a computed network (events in topological order): of
// the chains of critical tasks from the first event to the last, the one
// whose estimates add up to the largest variance.
PertFigures Pert(TStrings* order, const Origin& origin) {
  PertFigures p;
  const int32_t count = order->GetCount();
  if (!count) return p;
  struct Best {
    double Variance = -1;  // not reached by critical tasks
    TAOETask* Via = nullptr;
  };
  std::unordered_map<TPelGraphNode*, Best> best;
  auto* first = As<TAOEEvent>(order->GetObject(0));
  auto* last = As<TAOEEvent>(order->GetObject(count - 1));
  best[first].Variance = 0;
  for (int32_t i = 0; i < count; ++i) {
    auto* e = As<TAOEEvent>(order->GetObject(i));
    const Best here = best[e];
    if (here.Variance < 0) continue;
    for (int32_t k = 0; k < e->GetEdgeCount(); ++k) {
      auto* t = As<TAOETask>(e->GetEdge(k));
      if (t->GetCriticality() != 0) continue;
      auto it = origin.Estimates.find(t);
      double v = here.Variance + (it == origin.Estimates.end() ? 0 : it->second.Variance());
      Best& next = best[t->GetToNode()];
      if (v > next.Variance) next = {v, t};
    }
  }
  p.Mean = last->GetEarliestEventTime() - first->GetEarliestEventTime();
  p.StdDev = std::sqrt(std::max(0.0, best[last].Variance));
  // The tasks of the chain (a plan's, not its dummies), first to last.
  for (TPelGraphNode* at = last; best[at].Via; at = best[at].Via->GetFromNode()) {
    TAOETask* t = best[at].Via;
    std::string from = origin.Owner(t->GetFromNode());
    if (!origin.Plan)
      p.Path.push_back(t->GetFromNode()->GetCaption() + " --> " + t->GetToNode()->GetCaption());
    else if (!from.empty() && from == origin.Owner(t->GetToNode()))
      p.Path.push_back(from);
  }
  std::reverse(p.Path.begin(), p.Path.end());
  return p;
}

// The events of a computed network in order: the events themselves, their
// captions read from them when asked (the network's own list would copy two
// million captions for a plan of a million tasks).
class TEventOrder : public TStrings {
  PEL_CLASS(TEventOrder, TStrings)
 public:
  String Get(int32_t Index) override {
    TObject* event = GetObject(Index);
    return event ? As<TPelGraphNode>(event)->GetCaption() : String();
  }
  int32_t GetCount() override { return static_cast<int32_t>(FEvents.size()); }
  TObject* GetObject(int32_t Index) override {
    Check(Index, GetCount());
    return FEvents[static_cast<std::size_t>(Index)];
  }
  void PutObject(int32_t Index, TObject* AObject) override {
    Check(Index, GetCount());
    FEvents[static_cast<std::size_t>(Index)] = AObject;
  }
  int32_t GetCapacity() override { return static_cast<int32_t>(FEvents.capacity()); }
  void SetCapacity(int32_t NewCapacity) override {
    FEvents.reserve(static_cast<std::size_t>(std::max(NewCapacity, 0)));
  }
  void Clear() override { FEvents.clear(); }
  void Delete(int32_t Index) override {
    Check(Index, GetCount());
    FEvents.erase(FEvents.begin() + Index);
  }
  void Insert(int32_t Index, const String& S) override { InsertObject(Index, S, nullptr); }
  void InsertObject(int32_t Index, const String&, TObject* AObject) override {
    Check(Index, GetCount() + 1);
    FEvents.insert(FEvents.begin() + Index, AObject);
  }
  int32_t AddObject(const String&, TObject* AObject) override {
    FEvents.push_back(AObject);
    return GetCount() - 1;
  }

 private:
  static void Check(int32_t Index, int32_t Limit) {
    if (Index < 0 || Index >= Limit) Error(SListIndexError, Index);
  }
  std::vector<TObject*> FEvents;
};

// Computes the network's times; the events in topological order.
Owned<TStrings> Times(TActivityNetwork* net, TAOEEvent* start, TAOEEvent* finish,
                      const std::string& file, const Origin& origin, int32_t& time) {
  try {
    Owned<TStrings> order(Make<TEventOrder>());
    order->SetCapacity(net->GetNodeCount());  // made once, at its size
    net->GetEarliestCompletionTime(start, finish, order.get(), time);
    if (!order->GetCount()) time = 0;
    return order;
  } catch (const EGraphException& e) {
    throw CpmError(file + ": " + e.Message() + ": " + DescribeCycle(net, origin));
  }
}

std::vector<EventTimes> EventList(TStrings* order) {
  std::vector<EventTimes> events;
  for (int32_t i = 0; i < order->GetCount(); ++i) {
    auto* e = As<TAOEEvent>(order->GetObject(i));
    events.push_back({e->GetCaption(), e->GetEarliestEventTime(), e->GetLatestEventTime()});
  }
  return events;
}

Schedule Compute(TActivityNetwork* net, TAOEEvent* start, TAOEEvent* finish,
                 const std::string& file, const Origin& origin) {
  Schedule s;
  Owned<TStrings> order = Times(net, start, finish, file, origin, s.CompletionTime);
  s.Events = EventList(order.get());
  std::unordered_set<TObject*> shown;
  for (int32_t i = 0; i < order->GetCount(); ++i) shown.insert(order->GetObject(i));
  for (int32_t i = 0; i < order->GetCount(); ++i) {
    auto* e = As<TAOEEvent>(order->GetObject(i));
    for (int32_t k = 0; k < e->GetEdgeCount(); ++k) {
      auto* t = As<TAOETask>(e->GetEdge(k));
      if (!shown.count(t->GetToNode())) continue;
      s.Tasks.push_back(EdgeTimes(t));
      if (auto it = origin.Estimates.find(t); it != origin.Estimates.end())
        s.Tasks.back().Est = it->second;
    }
  }
  if (!origin.Estimates.empty()) s.Pert = Pert(order.get(), origin);
  // The network names its critical tasks; only those shown are listed.
  int32_t time = 0;
  Owned<TStrings> critical(net->GetCriticalActivities(start, finish, nullptr, time));
  for (int32_t i = 0; i < critical->GetCount(); ++i) {
    auto* t = As<TAOETask>(critical->GetObject(i));
    if (shown.count(t->GetFromNode()) && shown.count(t->GetToNode()))
      s.Critical.push_back(critical->Get(i));
  }
  return s;
}

// A plan's schedule, task by task: a task's free float is how far it can
// slip before any of its links (or the project finish) binds. Once the
// figures are taken from the network, release (when given) may free it:
// a large plan's report then never shares the memory with its network.
// With bySource (a report in JSON alone, without dummies), the schedule
// shows the plan itself and the figures rather than copies of its tasks.
Schedule ComputePlan(TActivityNetwork* net, const PlanNetwork& plan, const PlanTasks& tasks,
                     bool showDummies, bool bySource, const std::string& file, const Origin& origin,
                     const std::function<void()>& release) {
  Schedule s;
  s.Plan = true;
  Owned<TStrings> order = Times(net, nullptr, nullptr, file, origin, s.CompletionTime);
  if (!origin.Estimates.empty()) s.Pert = Pert(order.get(), origin);
  if (showDummies) s.Events = EventList(order.get());
  order.reset();
  // The figures of the tasks, then those of the dummies shown. The network
  // is only read here, so a large plan's tasks are shared out among threads.
  std::vector<TaskFigures> figures(tasks.size());
  auto figure = [&](std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) {
      TAOETask* edge = origin.Roles->Tasks[i].Edge;
      TaskTimes k = EdgeTimes(edge, false);
      int64_t free = int64_t{s.CompletionTime} - Earliest(edge->GetToNode());
      for (TPelGraphNode* n : {edge->GetFromNode(), edge->GetToNode()})
        for (int32_t j = 0; j < n->GetEdgeCount(); ++j) {
          auto* d = As<TAOETask>(n->GetEdge(j));
          if (d != edge)
            free = std::min<int64_t>(
                free, int64_t{Earliest(d->GetToNode())} - Earliest(n) - d->GetWeight());
        }
      figures[i] = {k.Duration, k.EarliestStart, k.LatestStart, k.Slack,
                    static_cast<int32_t>(free)};
    }
  };
  const std::size_t parts =
      tasks.size() < 65536 ? 1 : std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 8);
  {
    std::vector<std::jthread> helpers;
    for (std::size_t p = 1; p < parts; ++p)
      helpers.emplace_back(figure, tasks.size() * p / parts, tasks.size() * (p + 1) / parts);
    figure(0, tasks.size() / parts);
  }
  for (std::size_t i = 0; i < tasks.size(); ++i)
    if (figures[i].Slack == 0) s.Critical.push_back(tasks[i].Id);
  std::vector<TaskTimes> dummies;
  if (showDummies)
    for (std::size_t j = 0; j < plan.Dummies.size(); ++j) {
      const PlanNetwork::Dummy& d = plan.Dummies[j];
      TaskTimes k = EdgeTimes(origin.Roles->Dummies[j].Edge);
      const PlanTask& t = tasks[d.Task];
      if (d.Link == -1) {
        k.Name = "project start";
      } else if (d.Link == -2) {
        k.Name = "project finish";
      } else {
        const PlanLink& l = t.Predecessors[d.Link];
        k.Name = tasks[l.Task].Id + " " + LinkText(l.Type, l.Lag) + " " + t.Id;
      }
      dummies.push_back(std::move(k));
    }
  if (release) release();
  if (bySource && !showDummies) {
    s.Source = &tasks;
    s.Figures = std::move(figures);
    return s;
  }

  s.Tasks.reserve(tasks.size() + dummies.size());
  for (std::size_t i = 0; i < tasks.size(); ++i)
    s.Tasks.push_back(PlanTaskTimes(tasks[i], figures[i]));
  std::vector<TaskFigures>().swap(figures);
  std::size_t links = 0;
  for (const PlanTask& t : tasks) links += t.Predecessors.size();
  s.Links.reserve(links);
  for (std::size_t i = 0; i < tasks.size(); ++i)
    for (const PlanLink& l : tasks[i].Predecessors)
      s.Links.push_back({static_cast<uint32_t>(l.Task), static_cast<uint32_t>(i), l.Lag, l.Type,
                         s.Tasks[l.Task].Critical && s.Tasks[i].Critical});
  for (TaskTimes& k : dummies) s.Tasks.push_back(std::move(k));
  return s;
}

// The schedule of a built network: a plan's task by task, an event
// network's between --from and --to. Unless Keep, a plan's network is freed
// as soon as its figures are taken.
Schedule Run(Network& n, const Input& input, const CpmOptions& o, bool keep) {
  if (n.Plan) {
    if (!o.From.empty() || !o.To.empty())
      throw CpmError("--from and --to apply to event networks, not to a plan of tasks");
    // JSON alone is written from the plan and the figures, while the
    // network is freed beside it; other reports copy the tasks once the
    // network has gone.
    const bool bySource = o.Json && o.Gantt.empty();
    std::function<void()> release;
    if (!keep)
      release = [&n, bySource] {
        if (bySource && GLeaveToExit) {
          // Kept where the end of the process finds it (see
          // LeaveNetworksToExit); other reports free it first, as their
          // copies of the tasks need the room.
          static auto* kept = new std::vector<Owned<TActivityNetwork>>;
          kept->push_back(std::move(n.Net));
          return;
        }
        n.Release();
        if (!bySource) n.Freeing.join();
      };
    return ComputePlan(n.Net.get(), *n.Plan, input.Plan, o.ShowDummies, bySource, o.File, n.From,
                       release);
  }
  TAOEEvent* start = EventNamed(n.Net.get(), o.From, "--from");
  TAOEEvent* finish = EventNamed(n.Net.get(), o.To, "--to");
  return Compute(n.Net.get(), start, finish, o.File, n.From);
}

// splitmix64 (Steele, Lea and Flood, 2014): the state advances by a fixed
// odd constant and each value is the state mixed by shifts and
// multiplications, all on unsigned 64-bit integers, so a seed gives the
// same values on every machine.
class SplitMix64 {
 public:
  explicit SplitMix64(uint64_t seed) : FState(seed) {}
  uint64_t Next() {
    uint64_t z = (FState += 0x9E3779B97F4A7C15u);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  // Uniform in [0, 1): the top 53 bits as a fraction.
  double Uniform() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }

 private:
  uint64_t FState;
};

// A draw from the triangular distribution of O, M and P by the inverse of
// its distribution function: u below F(M) = (M-O)/(P-O) gives
// O + sqrt(u (P-O)(M-O)), above it P - sqrt((1-u)(P-O)(P-M)). Only basic
// arithmetic and sqrt, which IEEE 754 rounds exactly, so the draw too is the
// same everywhere.
double Triangular(const Estimate& e, double u) {
  const double o = e.O, m = e.M, p = e.P;
  if (p == o) return o;
  if (u * (p - o) < m - o) return o + std::sqrt(u * (p - o) * (m - o));
  return p - std::sqrt((1 - u) * (p - o) * (p - m));
}

// Monte Carlo samples are counted in thousandths of a time unit.
constexpr int32_t SampleScale = 1000;

// Runs the network with drawn durations: each sample draws every
// three-point task's duration in task order, rounds it to a thousandth,
// and recomputes the whole network with TActivityNetwork.
SimulationFigures Simulate(Network& n, const Input& input, int64_t runs, uint64_t seed,
                           const std::string& file) {
  SimulationFigures f;
  f.Runs = runs;
  f.Seed = seed;
  const std::vector<Estimate> estimates = input.Estimates();
  const std::vector<std::string> names = input.Names();
  SplitMix64 random(seed);
  std::vector<int32_t> completion;
  std::vector<int64_t> critical(estimates.size());
  std::vector<int64_t> steps(estimates.size());
  for (int64_t run = 0; run < runs; ++run) {
    for (std::size_t i = 0; i < estimates.size(); ++i)
      steps[i] = estimates[i].ThreePoint
                     ? static_cast<int64_t>(
                           std::floor(Triangular(estimates[i], random.Uniform()) * SampleScale + 0.5))
                     : int64_t{estimates[i].M} * SampleScale;
    SetWeights(n, steps, SampleScale, file);
    int32_t time = 0;
    Owned<TStrings> order(n.Net->GetEarliestCompletionTime(nullptr, nullptr, nullptr, time));
    completion.push_back(order->GetCount() ? time : 0);
    for (std::size_t i = 0; i < estimates.size(); ++i)
      if (n.Roles.Tasks[i].Edge->GetCriticality() == 0) ++critical[i];
  }
  std::sort(completion.begin(), completion.end());
  // Nearest rank: the smallest time reached by at least k per cent.
  auto percentile = [&](int64_t k) {
    return double(completion[static_cast<std::size_t>((k * runs + 99) / 100 - 1)]) / SampleScale;
  };
  f.P50 = percentile(50);
  f.P80 = percentile(80);
  f.P95 = percentile(95);
  for (std::size_t i = 0; i < names.size(); ++i) f.Critical.emplace_back(names[i], critical[i]);
  return f;
}

// Applies "TASK=+3", "TASK=-2" or "TASK=7" to the tasks of an input. A task
// of a plan is named by its id, one of an event network FROM->TO. A change
// moves all three points of an estimate; an absolute duration replaces it.
void ApplyWhatIf(Input& input, const std::string& change) {
  auto bad = [&](const std::string& why) { throw CpmError("--what-if " + change + ": " + why); };
  std::size_t eq = change.rfind('=');
  if (eq == std::string::npos || eq == 0) bad("expected TASK=+N, TASK=-N or TASK=N");
  std::string name = change.substr(0, eq), value = change.substr(eq + 1);
  int sign = value.empty() ? 0 : value[0] == '+' ? 1 : value[0] == '-' ? -1 : 0;
  std::string digits = sign ? value.substr(1) : value;
  int64_t amount = 0;
  auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), amount);
  if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size() ||
      amount > std::numeric_limits<int32_t>::max())
    bad("'" + value + "' is not a whole number of time units");
  std::vector<std::pair<Estimate*, int32_t*>> found;
  if (input.IsPlan) {
    for (auto& t : input.Plan)
      if (t.Id == name) found.emplace_back(&t.Est, &t.Duration);
  } else {
    std::size_t arrow = name.find("->");
    if (arrow == std::string::npos) bad("name a task of an event network FROM->TO");
    std::string from = name.substr(0, arrow), to = name.substr(arrow + 2);
    while (!from.empty() && (from.back() == '-' || from.back() == ' ')) from.pop_back();
    while (!to.empty() && to.front() == ' ') to.erase(0, 1);
    for (auto& t : input.Lines)
      if (t.From == from && t.To == to) found.emplace_back(&t.Est, &t.Duration);
  }
  if (found.empty()) bad("no task named '" + name + "'");
  if (found.size() > 1) bad(std::to_string(found.size()) + " tasks are named '" + name + "'");
  Estimate& e = *found[0].first;
  int64_t o = sign ? e.O + sign * amount : amount, m = sign ? e.M + sign * amount : amount,
          p = sign ? e.P + sign * amount : amount;
  if (o < 0) bad("the duration would be negative");
  if (p > std::numeric_limits<int32_t>::max()) bad("the duration would be too large");
  e.O = static_cast<int32_t>(o);
  e.M = static_cast<int32_t>(m);
  e.P = static_cast<int32_t>(p);
  if (!sign) e.ThreePoint = false;
  *found[0].second = e.P;
}

// What moved between two schedules of one input.
WhatIfFigures Compare(const Schedule& before, const Schedule& after,
                      const std::vector<std::string>& changes) {
  WhatIfFigures w;
  w.Changes = changes;
  w.Before = before.CompletionTime;
  w.After = after.CompletionTime;
  std::unordered_set<std::string> was(before.Critical.begin(), before.Critical.end()),
      is(after.Critical.begin(), after.Critical.end());
  for (const auto& t : after.Critical)
    if (!was.count(t)) w.Entered.push_back(t);
  for (const auto& t : before.Critical)
    if (!is.count(t)) w.Left.push_back(t);
  return w;
}

std::string ReadAll(std::istream& in) {
  std::ostringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

}  // namespace

void LeaveNetworksToExit(bool Leave) { GLeaveToExit = Leave; }

int RunCpm(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
           std::ostream& err) {
  CpmOptions o;
  CLI::App app{
      "Critical path of a project network with the library's activity network.\n"
      "FILE holds one task a line, FROM TO DURATION (event names, a whole number); '#'\n"
      "starts a comment. A .csv file has a header with the columns from,to,duration.\n"
      "A network saved with --save is read back as it was. Use - for standard input.\n"
      "With --aon, or for a .csv file whose header has the columns id and predecessors,\n"
      "FILE is a plan of tasks: id,name,duration,predecessors, the predecessors\n"
      "separated by ';', each ID or ID TYPE[+-LAG] with TYPE FS (finish to start, the\n"
      "default), SS, FF or SF: 'A FS+2' starts the task 2 after A finishes, 'B FF-1'\n"
      "finishes it 1 before B does. A negative lag is a lead; it never moves a task\n"
      "before the project start (time 0). Tasks run their whole duration without a\n"
      "break. The plan is computed as an event network: each task an edge between its\n"
      "events ID:start and ID:finish, each link a dummy (of negative duration for a\n"
      "lead), and dummies from (start) and to (finish).\n"
      "Total float: how far a task can slip without delaying the project; free float:\n"
      "without delaying any successor.\n"
      "A duration O/M/P (optimistic/most likely/pessimistic) is a three-point estimate:\n"
      "the schedule uses its PERT mean (O+4M+P)/6, and the report gives the project's\n"
      "mean and standard deviation along the critical path. --simulate N draws each such\n"
      "duration N times from the triangular distribution of O, M and P (seeded with\n"
      "--seed; the same seed gives the same figures everywhere) and reports the 50th,\n"
      "80th and 95th percentile completion times and each task's criticality index.\n"
      "With --start, times are whole working days: a task starting at t begins on the\n"
      "morning of working day t (0 is the first working day on or after the start date)\n"
      "and one of duration d > 0 ends on the evening of working day t+d-1; a task of no\n"
      "duration ends on the day it starts. A three-point mean is then rounded up to a\n"
      "whole day.",
      "pel cpm"};
  auto* json = app.add_flag("--json", o.Json, "print the schedule as JSON");
  app.add_flag("--dot", o.Dot, "print the network as Graphviz text, critical path marked")
      ->excludes(json);
  app.add_option("--from", o.From, "only the events from this one on");
  app.add_option("--to", o.To, "only the events up to this one");
  app.add_option("--save", o.Save, "save the network with its times as a component stream");
  app.add_option("--gantt", o.Gantt, "write an SVG Gantt chart to this file");
  app.add_flag("--aon", o.Aon, "read FILE as a plan of tasks (activity on node)");
  app.add_flag("--show-dummies", o.ShowDummies,
               "with a plan, show its events and dummy tasks too");
  app.add_option("--start", o.Start,
                 "the project's first day, YYYY-MM-DD: times are working days and shown as dates");
  app.add_option("--calendar", o.Calendar,
                 "with --start: weekdays (the default) skips Saturdays and Sundays, all does not")
      ->check(CLI::IsMember({"weekdays", "all"}));
  app.add_option("--holidays", o.Holidays,
                 "with --start: a file of days off, one YYYY-MM-DD a line ('#' comments)");
  app.add_option("--simulate", o.Simulate,
                 "run N Monte Carlo samples of the three-point estimates")
      ->check(CLI::Range(int64_t{1}, int64_t{10'000'000}));
  app.add_option("--seed", o.Seed, "the seed of --simulate (default 1)");
  app.add_option("--what-if", o.WhatIf,
                 "TASK=+N, TASK=-N or TASK=N: recompute with the task's duration changed and "
                 "show what moved (repeatable; a network's task is FROM->TO)")
      ->allow_extra_args(false);
  app.add_option("FILE", o.File, "the network")->required();
  if (auto status = ParseArgs(app, args, out, err)) return *status;

  std::string data;
  if (o.File == "-") {
    data = ReadAll(in);
  } else {
    std::ifstream file(o.File, std::ios::binary);
    if (!file) {
      err << "pel cpm: cannot read '" << o.File << "': " << std::strerror(errno) << "\n";
      return 2;
    }
    // Read at once into a string of the file's size: a large plan is not
    // copied again.
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    file.seekg(0, std::ios::beg);
    if (size > 0) {
      data.resize(static_cast<std::size_t>(size));
      file.read(data.data(), size);
      data.resize(static_cast<std::size_t>(file.gcount()));
    }
    data += ReadAll(file);  // whatever the size did not show
  }

  try {
    std::optional<WorkCalendar> calendar;
    if (o.Start.empty() && (!o.Calendar.empty() || !o.Holidays.empty()))
      throw CpmError("--calendar and --holidays need --start");
    if (!o.Start.empty()) {
      auto start = ParseIsoDate(o.Start);
      if (!start) throw CpmError("--start: '" + o.Start + "' is not a date written YYYY-MM-DD");
      std::vector<std::chrono::sys_days> holidays;
      if (!o.Holidays.empty()) {
        std::ifstream file(o.Holidays, std::ios::binary);
        if (!file)
          throw CpmError("cannot read '" + o.Holidays + "': " + std::strerror(errno));
        holidays = ParseHolidays(file, o.Holidays);
      }
      calendar.emplace(*start, o.Calendar != "all", holidays);
    }

    Network n;
    // A plan read for one run only is built while it is read.
    Input input = ReadInput(n, data, o, o.WhatIf.empty());
    std::string().swap(data);  // a large plan's text is no longer needed
    if (input.Saved && (o.Simulate || !o.WhatIf.empty()))
      throw CpmError("--simulate and --what-if need a network written as text or CSV");
    if (o.Simulate && (!o.From.empty() || !o.To.empty()))
      throw CpmError("--simulate runs the whole network, without --from and --to");
    auto threePointTask = [](const auto& t) { return t.Est.ThreePoint; };
    const bool threePoint = input.IsPlan
                                ? std::any_of(input.Plan.begin(), input.Plan.end(), threePointTask)
                                : std::any_of(input.Lines.begin(), input.Lines.end(), threePointTask);
    // Means are kept exactly, in sixths; with a calendar they are rounded up
    // to whole days.
    const int32_t scale = threePoint && !calendar ? 6 : 1;
    std::optional<Schedule> before;
    if (!o.WhatIf.empty()) {
      Network old;
      Build(old, input, scale, o.File, o.ShowDummies);
      before = Run(old, input, o, false);
      for (const auto& change : o.WhatIf) ApplyWhatIf(input, change);
    }
    Build(n, input, scale, o.File, o.ShowDummies);
    // The network is written by --save and run again by --simulate.
    Schedule s = Run(n, input, o, !o.Save.empty() || o.Simulate);
    s.Scale = scale;
    s.Calendar = calendar ? &*calendar : nullptr;
    if (before) s.WhatIf = Compare(*before, s, o.WhatIf);

    std::string saved, gantt;
    if (!o.Save.empty()) {
      auto stream = Make<TStringStream>();
      stream->WriteComponent(n.Net.get());
      saved = stream->GetDataString();
    }
    if (!o.Gantt.empty()) gantt = RenderGanttSvg(s);
    if (o.Simulate) s.Simulation = Simulate(n, input, o.Simulate, o.Seed, o.File);
    // JSON is written last, straight to out: nothing can fail once it starts.
    std::string report = o.Json ? "" : o.Dot ? RenderDot(s) : RenderText(s);
    for (auto [path, text] : {std::pair{&o.Save, &saved}, std::pair{&o.Gantt, &gantt}}) {
      if (!path->empty() && !WriteFileAtomically(*path, *text)) {
        err << "pel cpm: cannot write '" << *path << "': " << std::strerror(errno) << "\n";
        return 2;
      }
    }
    if (o.Json)
      RenderJson(s, out);
    else
      out << report;
    out.flush();
    return out ? 0 : 2;
  } catch (const CpmError& e) {
    err << "pel cpm: " << e.what() << "\n";
  } catch (const Exception& e) {
    err << "pel cpm: " << o.File << ": " << e.Message() << "\n";
  }
  return 2;
}

}  // namespace pel::cli
