#include "pel/CpmCommand.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>
#include <unordered_map>
#include <unordered_set>

#include "graphs/ActivityNetwork.h"
#include "pel/Cli.h"
#include "pel/CpmSchedule.h"
#include "platform/Classes.h"

namespace pel::cli {

namespace {

struct CpmOptions {
  std::string File, From, To, Save, Gantt;
  bool Json = false, Dot = false, Aon = false, ShowDummies = false;
};

// Where a network came from, for naming a cycle: the file line of each edge
// and, for a plan, the task each event belongs to.
struct Origin {
  std::unordered_map<TPelGraphEdge*, int> Lines;
  std::unordered_map<TPelGraphNode*, std::string> Owner;
};

// A plan converted to an event network: per task its edge, per dummy its
// edge and what it stands for.
struct PlanNetwork {
  std::vector<TAOETask*> Tasks;
  std::vector<std::pair<TAOETask*, std::string>> Dummies;
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
                  const std::string& file, Origin& origin) {
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
    origin.Lines[edge] = t.Line;
  }
}

// A plan as an event network. Each task is an edge from its start event to
// its finish event; the project start event leads to every task's start and
// every task's finish leads to the project finish event, by zero dummies, so
// no task starts before the project does, however large a lead. A link is a
// dummy into the successor's start event: from the predecessor's finish (FS,
// FF) or start (SS, SF), its duration the lag (FS, SS) or the lag less the
// successor's duration (FF, SF), so a task always runs its whole duration
// without a break. Dummies may so have negative durations.
PlanNetwork BuildPlan(TActivityNetwork* net, const std::vector<PlanTask>& tasks,
                      const std::string& file, Origin& origin) {
  net->SetDirected(true);
  PlanNetwork plan;
  std::unordered_map<std::string, std::size_t> index;
  std::vector<TPelGraphNode*> starts, finishes;
  TPelGraphNode* first = net->CreateNode(ProjectStart);
  TPelGraphNode* last = net->CreateNode(ProjectFinish);
  auto edge = [&](TPelGraphNode* from, TPelGraphNode* to, int32_t weight, int line) {
    auto* task = As<TAOETask>(from->AddEdge(to));
    task->SetWeight(weight);
    origin.Lines[task] = line;
    return task;
  };
  int64_t total = 0;
  for (const PlanTask& t : tasks) {
    index[t.Id] = starts.size();
    starts.push_back(net->CreateNode(t.Id + ":start"));
    finishes.push_back(net->CreateNode(t.Id + ":finish"));
    origin.Owner[starts.back()] = origin.Owner[finishes.back()] = t.Id;
    plan.Tasks.push_back(edge(starts.back(), finishes.back(), t.Duration, t.Line));
    plan.Dummies.emplace_back(edge(first, starts.back(), 0, t.Line), "project start");
    plan.Dummies.emplace_back(edge(finishes.back(), last, 0, t.Line), "project finish");
  }
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    const PlanTask& t = tasks[i];
    total += t.Duration;
    for (const PlanLink& l : t.Predecessors) {
      std::size_t p = index.at(l.Id);
      bool fromFinish = l.Type == LinkType::FS || l.Type == LinkType::FF;
      bool toFinish = l.Type == LinkType::FF || l.Type == LinkType::SF;
      int64_t weight = int64_t{l.Lag} - (toFinish ? t.Duration : 0);
      total += weight < 0 ? -weight : weight;
      if (total > std::numeric_limits<int32_t>::max())
        throw CpmError(file + ":" + std::to_string(t.Line) +
                       ": the durations and lags add up to more than 2147483647");
      plan.Dummies.emplace_back(
          edge(fromFinish ? finishes[p] : starts[p], starts[i], static_cast<int32_t>(weight), t.Line),
          l.Id + " " + LinkText(l.Type, l.Lag) + " " + t.Id);
    }
  }
  if (total > std::numeric_limits<int32_t>::max())
    throw CpmError(file + ": the durations and lags add up to more than 2147483647");
  return plan;
}

// Loads an event network; a plan is parsed into plan and converted.
void LoadNetwork(TActivityNetwork* net, const std::string& data, const CpmOptions& o,
                 Origin& origin, std::optional<PlanNetwork>& plan, std::vector<PlanTask>& tasks) {
  const std::string& file = o.File;
  if (o.Aon || (EndsWith(file, ".csv") && HasPlanHeader(data))) {
    std::istringstream in(data);
    tasks = ParsePlan(in, file);
    plan = BuildPlan(net, tasks, file, origin);
    return;
  }
  if (data.compare(0, 4, "TPF0") == 0) {
    // A network saved by --save: the component stream.
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
    return;
  }
  std::istringstream in(data);
  BuildNetwork(net, EndsWith(file, ".csv") ? ParseCsvNetwork(in, file) : ParseTextNetwork(in, file),
               file, origin);
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
    auto it = origin.Owner.find(n);
    return it == origin.Owner.end() ? n->GetCaption() : it->second;
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
  for (TPelGraphEdge* e : cycle)
    if (auto it = origin.Lines.find(e); it != origin.Lines.end()) lines.push_back(it->second);
  std::sort(lines.begin(), lines.end());
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  for (std::size_t i = 0; i < lines.size(); ++i)
    text += (i ? ", " : lines.size() == 1 ? " (line " : " (lines ") + std::to_string(lines[i]);
  return text + (lines.empty() ? "" : ")");
}

int32_t Earliest(TPelGraphNode* n) { return As<TAOEEvent>(n)->GetEarliestEventTime(); }

// The times of one edge; its free float is how far it can slip before its
// end event moves.
TaskTimes EdgeTimes(TAOETask* t) {
  TaskTimes k;
  k.From = t->GetFromNode()->GetCaption();
  k.To = t->GetToNode()->GetCaption();
  k.Duration = t->GetWeight();
  k.EarliestStart = t->GetEarliestStartTime();
  k.LatestStart = t->GetLatestStartTime();
  k.Slack = t->GetCriticality();
  k.FreeFloat = Earliest(t->GetToNode()) - Earliest(t->GetFromNode()) - t->GetWeight();
  k.Critical = k.Slack == 0;
  return k;
}

Schedule Compute(TActivityNetwork* net, TAOEEvent* start, TAOEEvent* finish,
                 const std::string& file, const Origin& origin) {
  Schedule s;
  int32_t time = 0;
  Owned<TStrings> order;
  try {
    order.reset(net->GetEarliestCompletionTime(start, finish, nullptr, time));
  } catch (const EGraphException& e) {
    throw CpmError(file + ": " + e.Message() + ": " + DescribeCycle(net, origin));
  }
  s.CompletionTime = order->GetCount() ? time : 0;
  std::unordered_set<TObject*> shown;
  for (int32_t i = 0; i < order->GetCount(); ++i) {
    auto* e = As<TAOEEvent>(order->GetObject(i));
    shown.insert(e);
    s.Events.push_back({e->GetCaption(), e->GetEarliestEventTime(), e->GetLatestEventTime()});
  }
  for (int32_t i = 0; i < order->GetCount(); ++i) {
    auto* e = As<TAOEEvent>(order->GetObject(i));
    for (int32_t k = 0; k < e->GetEdgeCount(); ++k) {
      auto* t = As<TAOETask>(e->GetEdge(k));
      if (!shown.count(t->GetToNode())) continue;
      s.Tasks.push_back(EdgeTimes(t));
    }
  }
  // The network names its critical tasks; only those shown are listed.
  Owned<TStrings> critical(net->GetCriticalActivities(start, finish, nullptr, time));
  for (int32_t i = 0; i < critical->GetCount(); ++i) {
    auto* t = As<TAOETask>(critical->GetObject(i));
    if (shown.count(t->GetFromNode()) && shown.count(t->GetToNode()))
      s.Critical.push_back(critical->Get(i));
  }
  return s;
}

// A plan's schedule, task by task: a task's free float is how far it can
// slip before any of its links (or the project finish) binds.
Schedule ComputePlan(TActivityNetwork* net, const PlanNetwork& plan,
                     const std::vector<PlanTask>& tasks, bool showDummies,
                     const std::string& file, const Origin& origin) {
  Schedule all = Compute(net, nullptr, nullptr, file, origin);
  Schedule s;
  s.Plan = true;
  s.CompletionTime = all.CompletionTime;
  if (showDummies) s.Events = std::move(all.Events);
  std::unordered_map<std::string, std::size_t> index;
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    const PlanTask& p = tasks[i];
    TAOETask* edge = plan.Tasks[i];
    index[p.Id] = i;
    TaskTimes k = EdgeTimes(edge);
    k.Id = p.Id;
    k.Name = p.Name;
    int64_t free = std::numeric_limits<int32_t>::max();
    for (TPelGraphNode* n : {edge->GetFromNode(), edge->GetToNode()})
      for (int32_t j = 0; j < n->GetEdgeCount(); ++j) {
        auto* d = As<TAOETask>(n->GetEdge(j));
        if (d != edge)
          free = std::min<int64_t>(free, int64_t{Earliest(d->GetToNode())} - Earliest(n) -
                                             d->GetWeight());
      }
    k.FreeFloat = static_cast<int32_t>(free);
    if (k.Critical) s.Critical.push_back(p.Id);
    s.Tasks.push_back(std::move(k));
  }
  for (std::size_t i = 0; i < tasks.size(); ++i)
    for (const PlanLink& l : tasks[i].Predecessors)
      s.Links.push_back({l.Id, tasks[i].Id, LinkText(l.Type, l.Lag),
                         s.Tasks[index[l.Id]].Critical && s.Tasks[i].Critical});
  if (showDummies)
    for (const auto& [edge, what] : plan.Dummies) {
      TaskTimes k = EdgeTimes(edge);
      k.Name = what;
      s.Tasks.push_back(std::move(k));
    }
  return s;
}

}  // namespace

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
      "without delaying any successor.",
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
  app.add_option("FILE", o.File, "the network")->required();
  if (auto status = ParseArgs(app, args, out, err)) return *status;

  std::string data;
  if (o.File == "-") {
    std::ostringstream buffer;
    buffer << in.rdbuf();
    data = buffer.str();
  } else {
    std::ifstream file(o.File, std::ios::binary);
    if (!file) {
      err << "pel cpm: cannot read '" << o.File << "': " << std::strerror(errno) << "\n";
      return 2;
    }
    std::ostringstream buffer;
    buffer << file.rdbuf();
    data = buffer.str();
  }

  try {
    Owned<TActivityNetwork> net = Make<TActivityNetwork>(nullptr);
    Origin origin;
    std::optional<PlanNetwork> plan;
    std::vector<PlanTask> tasks;
    LoadNetwork(net.get(), data, o, origin, plan, tasks);
    Schedule s;
    if (plan) {
      if (!o.From.empty() || !o.To.empty())
        throw CpmError("--from and --to apply to event networks, not to a plan of tasks");
      s = ComputePlan(net.get(), *plan, tasks, o.ShowDummies, o.File, origin);
    } else {
      TAOEEvent* start = EventNamed(net.get(), o.From, "--from");
      TAOEEvent* finish = EventNamed(net.get(), o.To, "--to");
      s = Compute(net.get(), start, finish, o.File, origin);
    }

    std::string report = o.Json ? RenderJson(s) : o.Dot ? RenderDot(s) : RenderText(s);
    std::string saved, gantt;
    if (!o.Save.empty()) {
      auto stream = Make<TStringStream>();
      stream->WriteComponent(net.get());
      saved = stream->GetDataString();
    }
    if (!o.Gantt.empty()) gantt = RenderGanttSvg(s);
    for (auto [path, text] : {std::pair{&o.Save, &saved}, std::pair{&o.Gantt, &gantt}}) {
      if (!path->empty() && !WriteFileAtomically(*path, *text)) {
        err << "pel cpm: cannot write '" << *path << "': " << std::strerror(errno) << "\n";
        return 2;
      }
    }
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
