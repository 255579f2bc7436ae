#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>
#include <vector>

#include "graphs/ActivityNetwork.h"
#include "platform/ExpectRaises.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

TAOEEvent* Event(TActivityNetwork* N, const String& Caption) {
  return As<TAOEEvent>(N->CreateNode(Caption));
}

TAOETask* Task(TAOEEvent* From, TAOEEvent* To, int32_t Duration) {
  auto* task = As<TAOETask>(From->AddEdge(To));
  task->SetWeight(Duration);
  return task;
}

std::vector<String> Captions(TStrings* List) {
  std::vector<String> r;
  for (int32_t i = 0; i < List->GetCount(); ++i) r.push_back(List->Get(i));
  return r;
}

Owned<TActivityNetwork> Directed() {
  auto n = Make<TActivityNetwork>(nullptr);
  n->SetDirected(true);
  return n;
}

// The cut of the order as the plain recursive removal does it: a linear
// search after Index for each successor, one deletion at a time.
void RemoveAfter(TStrings* Order, int32_t Index, TPelGraphNode* Node) {
  int32_t i = Index + 1;
  while (i < Order->GetCount() && Order->GetObject(i) != Node) ++i;
  if (i >= Order->GetCount()) return;
  Order->Delete(i);
  for (int32_t j = 0; j < Node->GetEdgeCount(); ++j)
    RemoveAfter(Order, i - 1, Node->GetEdge(j)->GetToNode());
}

void PlainRestrict(TStrings* Order, TAOEEvent* Start, TAOEEvent* Finish) {
  if (Start)
    while (Order->GetCount() > 0 && Order->GetObject(0) != Start) Order->Delete(0);
  if (!Finish) return;
  const int32_t at = Order->IndexOfObject(Finish);
  for (int32_t j = 0; j < Finish->GetEdgeCount(); ++j)
    RemoveAfter(Order, at, Finish->GetEdge(j)->GetToNode());
}

// An event class of the program's own, and a network that records every
// call of the successor hook.
class TMilestone : public TAOEEvent {
  PEL_CLASS(TMilestone, TAOEEvent)
 public:
  using TAOEEvent::TAOEEvent;
};

class TLoggingNetwork : public TActivityNetwork {
  PEL_CLASS(TLoggingNetwork, TActivityNetwork)
 public:
  using TActivityNetwork::TActivityNetwork;
  void ModifySuccessor(TPelGraphNode* Node, TPelGraphNode* Successor,
                       TPelGraphEdge* Edge) override {
    Calls.push_back(Edge);
    TActivityNetwork::ModifySuccessor(Node, Successor, Edge);
  }
  std::vector<TPelGraphEdge*> Calls;
};

}  // namespace

TEST(ActivityNetwork, CriticalTasksOfAChainWithAParallelTask) {
  // A -3-> B -4-> C, and a shorter A -2-> B beside the first task.
  auto n = Directed();
  TAOEEvent* a = Event(n.get(), "A");
  TAOEEvent* b = Event(n.get(), "B");
  TAOEEvent* c = Event(n.get(), "C");
  TAOETask* ab = Task(a, b, 3);
  TAOETask* shorter = Task(a, b, 2);
  Task(b, c, 4);
  int32_t time = -1;
  Owned<TStrings> order(n->GetEarliestCompletionTime(a, c, nullptr, time));
  EXPECT_EQ(Captions(order.get()), (std::vector<String>{"A", "B", "C"}));
  EXPECT_EQ(time, 7);
  EXPECT_EQ(ab->GetName(), "A --> B");
  a->SetCaption("Begin");  // a task keeps the name it was first asked for
  auto list = Make<TStringList>();
  EXPECT_EQ(n->GetCriticalActivities(nullptr, nullptr, list.get(), time), list.get());
  EXPECT_EQ(Captions(list.get()), (std::vector<String>{"A --> B", "B --> C"}));
  EXPECT_EQ(list->GetObject(0), ab);
  EXPECT_EQ(shorter->GetCriticality(), 1);
  EXPECT_EQ(ab->GetCriticality(), 0);
}

TEST(ActivityNetwork, CyclesAndUndirectedNetworksAreRefused) {
  auto n = Make<TActivityNetwork>(nullptr);
  TAOEEvent* a = Event(n.get(), "A");
  TAOEEvent* b = Event(n.get(), "B");
  Task(a, b, 1);
  int32_t time = 0;
  auto list = Make<TStringList>();
  for (int round = 0; round < 2; ++round) {
    ExpectRaises<EGraphException>(
        [&] { n->GetEarliestCompletionTime(nullptr, nullptr, list.get(), time); },
        "Graph is not acyclic");
    EXPECT_EQ(list->GetCount(), 0);
    EXPECT_EQ(n->GetNodeUpdateCount(), 0);
    EXPECT_EQ(a->GetUpdateCount(), 0);
    n->SetDirected(true);
    Task(b, a, 1);
  }
  EXPECT_THROW(n->GetCriticalGraph(a, b, nullptr), EGraphException);
}

TEST(ActivityNetwork, APlainWeightedEdgeIsNoTask) {
  // The forward pass skips it, the backward pass refuses it.
  auto n = Directed();
  TAOEEvent* a = Event(n.get(), "A");
  TAOEEvent* b = Event(n.get(), "B");
  As<TWeightedEdge>(New<TWeightedEdge>(a, b))->SetWeight(5);
  b->SetEarliestEventTime(3);
  Owned<TStrings> order(n->TopologicalOrder(nullptr));
  EXPECT_EQ(b->GetEarliestEventTime(), 3);
  int32_t time = 0;
  EXPECT_THROW(n->GetEarliestCompletionTime(nullptr, nullptr, nullptr, time), EInvalidCast);
  EXPECT_EQ(n->GetNodeUpdateCount(), 0);
}

TEST(ActivityNetwork, RandomNetworks) {
  // The same random network with plain events (a large one computed on
  // arrays), and
  // with milestones (a descendant class) under a logging network (the walk
  // itself): equal times and work tags; the hook is called for every task
  // of each event in topological order; the order returned for a start and
  // a finish is the plain cut of that order. Some networks are large, with
  // tasks made in random order, some of them twice; two are large enough
  // for the arrays.
  std::mt19937 rng(11);
  for (int round = 0; round < 200; ++round) {
    const bool large = round % 10 == 0;
    const int count = round % 100 == 0 ? 70000
                      : large          ? 300 + static_cast<int>(rng() % 400)
                                       : 2 + static_cast<int>(rng() % 12);
    std::vector<std::tuple<int, int, int32_t>> links;
    for (int j = 1; j < count; ++j)
      for (int i = large ? std::max(0, j - 50) : 0; i < j; ++i)
        if (large ? rng() % 50 < 3 : rng() % 3 == 0)
          links.emplace_back(i, j, static_cast<int32_t>(rng() % 10));
    if (large) {
      for (int k = 0; k < 20; ++k) links.push_back(links[rng() % links.size()]);
      std::shuffle(links.begin(), links.end(), rng);
    }
    const int startAt = rng() % 4 ? static_cast<int>(rng() % count) : -1;
    const int finishAt = rng() % 4 ? static_cast<int>(rng() % count) : -1;
    auto plain = Directed();
    auto logging = Make<TLoggingNetwork>(nullptr);
    logging->SetNodeClass(TMilestone::StaticClass());
    TActivityNetwork* nets[] = {plain.get(), logging.get()};
    std::vector<int32_t> times[2];
    for (int k = 0; k < 2; ++k) {
      nets[k]->SetDirected(true);
      std::vector<TAOEEvent*> events;
      for (int i = 0; i < count; ++i) events.push_back(Event(nets[k], "E" + IntToStr(i)));
      for (auto [from, to, d] : links) Task(events[from], events[to], d);
      auto cut = Make<TStringList>();
      nets[k]->TopologicalOrder(cut.get());
      std::vector<TPelGraphEdge*> expected;
      for (int32_t i = 0; i < cut->GetCount(); ++i) {
        auto* event = As<TAOEEvent>(cut->GetObject(i));
        for (int32_t j = 0; j < event->GetEdgeCount(); ++j) expected.push_back(event->GetEdge(j));
      }
      logging->Calls.clear();
      TAOEEvent* start = startAt < 0 ? nullptr : events[startAt];
      TAOEEvent* finish = finishAt < 0 ? nullptr : events[finishAt];
      int32_t time = 0;
      Owned<TStrings> fast(nets[k]->GetEarliestCompletionTime(start, finish, nullptr, time));
      if (k == 1) {
        EXPECT_EQ(logging->Calls, expected) << "round " << round;
      }
      PlainRestrict(cut.get(), start, finish);
      ASSERT_EQ(Captions(fast.get()), Captions(cut.get())) << "round " << round;
      const int32_t last = cut->GetCount() - 1;
      EXPECT_EQ(time, last < 0 ? 0
                               : As<TAOEEvent>(cut->GetObject(last))->GetEarliestEventTime() -
                                     As<TAOEEvent>(cut->GetObject(0))->GetEarliestEventTime());
      for (TAOEEvent* e : events) {
        times[k].insert(times[k].end(),
                        {e->GetEarliestEventTime(), e->GetLatestEventTime(), e->GetWorkTag()});
        for (int32_t j = 0; j < e->GetEdgeCount(); ++j) {
          auto* task = As<TAOETask>(e->GetEdge(j));
          times[k].insert(times[k].end(),
                          {task->GetEarliestStartTime(), task->GetLatestStartTime()});
        }
      }
    }
    EXPECT_EQ(times[1], times[0]) << "round " << round;
  }
}

TEST(ActivityNetwork, LongChainNeedsNoDeepRecursion) {
  const int32_t count = 1000000;
  auto n = Directed();
  std::vector<TAOEEvent*> events;
  events.reserve(count);
  for (int32_t i = 0; i < count; ++i) {
    events.push_back(As<TAOEEvent>(n->NewNode()));
    if (i > 0) Task(events[i - 1], events[i], 1);
  }
  int32_t time = 0;
  const int32_t half = count / 2;
  Owned<TStrings> order(n->GetEarliestCompletionTime(events[0], events[half], nullptr, time));
  EXPECT_EQ(order->GetCount(), half + 1);
  EXPECT_EQ(time, half);
  EXPECT_EQ(events[count - 1]->GetEarliestEventTime(), count - 1);
  EXPECT_EQ(n->FindNode("TAOEEvent999999"), events[count - 1]);
}

TEST(ActivityNetwork, CriticalGraphOfALargeNetwork) {
  // A chain of 5s, each step shadowed by a shorter parallel task.
  const int32_t count = 100000;
  auto n = Directed();
  std::vector<TAOEEvent*> events;
  for (int32_t i = 0; i < count; ++i) {
    events.push_back(Event(n.get(), "E" + IntToStr(i)));
    if (i == 0) continue;
    Task(events[i - 1], events[i], 3);
    Task(events[i - 1], events[i], 5);
  }
  Owned<TActivityNetwork> crit(n->GetCriticalGraph(events[0], events[count - 1], nullptr));
  // A directed network of its own: Start and Finish come first, then the
  // events as the critical tasks reach them.
  EXPECT_TRUE(crit->GetDirected());
  ASSERT_EQ(crit->GetNodeCount(), count);
  EXPECT_EQ(crit->GetNode(1)->GetCaption(), "E99999");
  EXPECT_EQ(crit->GetNode(1)->GetEdgeCount(), 0);
  for (int32_t i = 0; i < count; ++i) {
    TAOEEvent* e = crit->GetNode(i);
    if (i == 1) continue;
    ASSERT_EQ(e->GetCaption(), "E" + IntToStr(i == 0 ? 0 : i - 1));
    ASSERT_EQ(e->GetEdgeCount(), 1);
    ASSERT_EQ(As<TAOETask>(e->GetEdge(0))->GetWeight(), 5);
  }
}

TEST(ActivityNetwork, StreamsAndRegisters) {
  auto n = Directed();
  TAOEEvent* a = Event(n.get(), "A");
  TAOEEvent* b = Event(n.get(), "B");
  TAOETask* t = Task(a, b, 6);
  int32_t time = 0;
  Free(n->GetCriticalActivities(nullptr, nullptr, nullptr, time));
  auto m = Make<TMemoryStream>();
  m->WriteComponent(n.get());
  m->SetPosition(0);
  auto back = Make<TActivityNetwork>(nullptr);
  m->ReadComponent(back.get());
  ASSERT_EQ(back->GetNodeCount(), 2);
  TAOEEvent* b2 = back->GetNode(1);
  EXPECT_EQ(b2->GetEarliestEventTime(), 6);
  EXPECT_EQ(b2->GetLatestEventTime(), 6);
  auto* t2 = As<TAOETask>(back->GetNode(0)->GetEdge(0));
  EXPECT_EQ(t2->GetWeight(), t->GetWeight());
  EXPECT_EQ(t2->GetName(), "A --> B");
  EXPECT_EQ(t2->GetLatestStartTime(), 0);

  ClearPalette();
  PelGraph::Register();
  ActivityNetwork::Register();
  EXPECT_EQ(GetPaletteClasses("Additional"),
            (std::vector<TClass>{TPelLabelGraph::StaticClass(), TPelGraph::StaticClass(),
                                 TActivityNetwork::StaticClass()}));
  m->SetPosition(0);
  Owned<TComponent> read(m->ReadComponent(nullptr));
  EXPECT_EQ(As<TActivityNetwork>(read.get())->GetNodeCount(), 2);
}
