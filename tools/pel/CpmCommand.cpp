#include "pel/CpmCommand.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
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
  bool Json = false, Dot = false;
};

bool EndsWith(const std::string& s, const std::string& tail) {
  if (s.size() < tail.size()) return false;
  return std::equal(tail.rbegin(), tail.rend(), s.rbegin(),
                    [](char a, char b) { return std::tolower(a) == std::tolower(b); });
}

// The network of a text or CSV file: events in order of first mention,
// tasks in file order.
void BuildNetwork(TActivityNetwork* net, const std::vector<TaskLine>& tasks,
                  const std::string& file) {
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
    As<TWeightedEdge>(from->AddEdge(event(t.To)))->SetWeight(t.Duration);
  }
}

void LoadNetwork(TActivityNetwork* net, const std::string& data, const std::string& file) {
  if (data.compare(0, 4, "TPF0") == 0) {
    // A network saved by --save: the component stream.
    auto stream = Make<TStringStream>(data);
    stream->ReadComponent(net);
    int64_t total = 0;
    for (int32_t i = 0; i < net->GetNodeCount(); ++i) {
      TPelGraphNode* n = net->GetNode(i);
      for (int32_t e = 0; e < n->GetEdgeCount(); ++e) {
        int32_t w = As<TWeightedEdge>(n->GetEdge(e))->GetWeight();
        if (w < 0) throw CpmError(file + ": a task has a negative duration");
        total += w;
      }
    }
    if (total > std::numeric_limits<int32_t>::max())
      throw CpmError(file + ": the durations add up to more than 2147483647");
    if (!net->GetDirected()) throw CpmError(file + ": the network is not directed");
    return;
  }
  std::istringstream in(data);
  BuildNetwork(net, EndsWith(file, ".csv") ? ParseCsvNetwork(in, file) : ParseTextNetwork(in, file),
               file);
}

TAOEEvent* EventNamed(TActivityNetwork* net, const std::string& name, const char* option) {
  if (name.empty()) return nullptr;
  TPelGraphNode* node = net->FindNode(name);
  if (!node) throw CpmError(std::string(option) + ": no event named '" + name + "'");
  return As<TAOEEvent>(node);
}

// The events that a topological order never reached: those on a cycle or
// behind one.
std::string Unordered(TActivityNetwork* net) {
  Owned<TStrings> order(net->TopologicalOrder(nullptr));
  std::unordered_set<TObject*> ordered;
  for (int32_t i = 0; i < order->GetCount(); ++i) ordered.insert(order->GetObject(i));
  std::string names;
  for (int32_t i = 0; i < net->GetNodeCount(); ++i) {
    TPelGraphNode* n = net->GetNode(i);
    if (!ordered.count(n)) names += (names.empty() ? "" : ", ") + n->GetCaption();
  }
  return names;
}

Schedule Compute(TActivityNetwork* net, TAOEEvent* start, TAOEEvent* finish,
                 const std::string& file) {
  Schedule s;
  int32_t time = 0;
  Owned<TStrings> order;
  try {
    order.reset(net->GetEarliestCompletionTime(start, finish, nullptr, time));
  } catch (const EGraphException& e) {
    throw CpmError(file + ": " + e.Message() +
                   "; never ordered (on or behind a cycle): " + Unordered(net));
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
      s.Tasks.push_back({e->GetCaption(), t->GetToNode()->GetCaption(), t->GetWeight(),
                         t->GetEarliestStartTime(), t->GetLatestStartTime(), t->GetCriticality(),
                         t->GetCriticality() == 0});
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

}  // namespace

int RunCpm(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
           std::ostream& err) {
  CpmOptions o;
  CLI::App app{
      "Critical path of a project network with the library's activity network.\n"
      "FILE holds one task a line, FROM TO DURATION (event names, a whole number); '#'\n"
      "starts a comment. A .csv file has a header with the columns from,to,duration.\n"
      "A network saved with --save is read back as it was. Use - for standard input.",
      "pel cpm"};
  auto* json = app.add_flag("--json", o.Json, "print the schedule as JSON");
  app.add_flag("--dot", o.Dot, "print the network as Graphviz text, critical path marked")
      ->excludes(json);
  app.add_option("--from", o.From, "only the events from this one on");
  app.add_option("--to", o.To, "only the events up to this one");
  app.add_option("--save", o.Save, "save the network with its times as a component stream");
  app.add_option("--gantt", o.Gantt, "write an SVG Gantt chart to this file");
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
    LoadNetwork(net.get(), data, o.File);
    TAOEEvent* start = EventNamed(net.get(), o.From, "--from");
    TAOEEvent* finish = EventNamed(net.get(), o.To, "--to");
    Schedule s = Compute(net.get(), start, finish, o.File);

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
