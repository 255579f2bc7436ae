#include "graphs/ActivityNetwork.h"

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace pel {

namespace {

void RegisterEventClasses() {
  static const bool registered = [] {
    RegisterGraphClass(TAOEEvent::StaticClass());
    RegisterGraphClass(TAOETask::StaticClass());
    return true;
  }();
  (void)registered;
}

TAOEEvent* EventAt(TStrings* Order, int32_t Index) {
  return As<TAOEEvent>(CheckAssigned(Order->GetObject(Index)));
}

// The forward pass's step for one task: the successor's earliest time
// rises to the task's earliest finish when that is later.
void ForwardStep(TAOEEvent* From, TAOEEvent* To, TAOETask* Task) {
  const int32_t time = AddWeights(From->GetEarliestEventTime(), Task->GetWeight());
  if (time > To->GetEarliestEventTime()) To->SetEarliestEventTime(time);
}

// The same for nodes and edges of any class: those that are not events and
// tasks are skipped.
[[gnu::noinline]] void ForwardStepChecked(TPelGraphNode* Node, TPelGraphNode* Successor,
                                          TPelGraphEdge* Edge) {
  if (Is<TAOEEvent>(Node) && Is<TAOEEvent>(Successor) && Is<TAOETask>(Edge))
    ForwardStep(static_cast<TAOEEvent*>(Node), static_cast<TAOEEvent*>(Successor),
                static_cast<TAOETask*>(Edge));
}

// Cuts a topological order to the events from Start on and drops, after
// Finish, every event reachable from Finish: each successor of Finish is
// looked for after Finish's position, each successor of a dropped event
// after that event's position, and an event is dropped (and its successors
// followed) only when found there. With a Finish the events' positions are
// indexed once and the walk keeps its own stack, so a long network costs
// linear time and no deep recursion; the list is rebuilt once, and not at
// all when nothing is cut.
void RestrictOrder(TStrings* Order, TAOEEvent* Start, TAOEEvent* Finish) {
  if (!Start && !Finish) return;
  const int32_t count = Order->GetCount();
  int32_t first = 0;
  if (Start) {
    while (first < count && Order->GetObject(first) != Start) ++first;
    if (first == 0 && !Finish) return;
  }

  std::unordered_map<TObject*, int32_t> position;
  if (Finish) {
    position.reserve(static_cast<std::size_t>(count));
    for (int32_t i = 0; i < count; ++i) position.try_emplace(Order->GetObject(i), i);
  }
  auto positionOf = [&](TObject* Event) {
    auto it = position.find(Event);
    return it == position.end() ? -1 : it->second;
  };
  std::vector<bool> dropped(static_cast<std::size_t>(count));
  // Drops Event when it lies after position After and is still there.
  auto drop = [&](TPelGraphNode* Event, int32_t After) {
    const int32_t at = positionOf(Event);
    if (at <= After || at < first || dropped[at]) return -1;
    dropped[at] = true;
    return at;
  };
  if (Finish) {
    int32_t finishAt = positionOf(Finish);
    if (finishAt < first) finishAt = -1;
    struct Frame {
      TPelGraphNode* Event;
      int32_t At;
      int32_t Next;
    };
    std::vector<Frame> stack;
    for (int32_t i = 0; i < Finish->GetEdgeCount(); ++i) {
      TPelGraphNode* successor = Finish->GetEdgeUnchecked(i)->GetToNode();
      const int32_t at = drop(successor, finishAt);
      if (at >= 0) stack.push_back({successor, at, 0});
      while (!stack.empty()) {
        Frame& top = stack.back();
        if (top.Next >= top.Event->GetEdgeCount()) {
          stack.pop_back();
          continue;
        }
        TPelGraphNode* successor = top.Event->GetEdgeUnchecked(top.Next++)->GetToNode();
        const int32_t next = drop(successor, top.At);
        if (next >= 0) stack.push_back({successor, next, 0});
      }
    }
  }

  bool cut = first > 0;
  for (int32_t i = first; i < count && !cut; ++i) cut = dropped[i];
  if (!cut) return;
  std::vector<std::pair<String, TObject*>> kept;
  for (int32_t i = first; i < count; ++i)
    if (!dropped[i]) kept.emplace_back(Order->Get(i), Order->GetObject(i));
  Updating(Order, [&] {
    Order->Clear();
    for (auto& [caption, event] : kept) Order->AddObject(caption, event);
  });
}

}  // namespace

namespace ActivityNetwork {
void Register() {
  RegisterEventClasses();
  RegisterClass(TActivityNetwork::StaticClass());
  RegisterComponents("Additional", {TActivityNetwork::StaticClass()});
}
}  // namespace ActivityNetwork

// ---------------------------------------------------------------------------
// TAOETask

int32_t TAOETask::GetCriticality() const {
  return SubtractWeights(FLatestStartTime, FEarliestStartTime);
}

const String& TAOETask::GetName() {
  if (!FName || FName->empty()) {
    String name = CheckAssigned(GetFromNode())->GetCaption() + " --> " +
                  CheckAssigned(GetToNode())->GetCaption();
    FName = std::make_unique<String>(std::move(name));
  }
  return *FName;
}

void TAOETask::ReadData(TReader* Reader) {
  TWeightedEdge::ReadData(Reader);
  String name = Reader->ReadString();
  FName = name.empty() ? nullptr : std::make_unique<String>(std::move(name));
  FEarliestStartTime = Reader->ReadInteger();
  FLatestStartTime = Reader->ReadInteger();
}

void TAOETask::WriteData(TWriter* Writer) {
  TWeightedEdge::WriteData(Writer);
  Writer->WriteString(FName ? *FName : String());
  Writer->WriteInteger(FEarliestStartTime);
  Writer->WriteInteger(FLatestStartTime);
}

// ---------------------------------------------------------------------------
// TAOEEvent

TPelGraphEdge* TAOEEvent::NewEdge(TPelGraphNode* FromNode, TPelGraphNode* ToNode) {
  return New<TAOETask>(FromNode, ToNode);
}

void TAOEEvent::ReadData(TReader* Reader) {
  TWeightedNode::ReadData(Reader);
  FEarliestEventTime = Reader->ReadInteger();
  FLatestEventTime = Reader->ReadInteger();
}

void TAOEEvent::WriteData(TWriter* Writer) {
  TWeightedNode::WriteData(Writer);
  Writer->WriteInteger(FEarliestEventTime);
  Writer->WriteInteger(FLatestEventTime);
}

// ---------------------------------------------------------------------------
// TActivityNetwork

TActivityNetwork::TActivityNetwork(TComponent* AOwner) : TPelGraph(AOwner) {
  SetNodeClass(TAOEEvent::StaticClass());
  RegisterEventClasses();
}

TAOEEvent* TActivityNetwork::GetNode(int32_t Index) const {
  return As<TAOEEvent>(TPelGraph::GetNode(Index));
}

void TActivityNetwork::ModifySuccessor(TPelGraphNode* Node, TPelGraphNode* Successor,
                                       TPelGraphEdge* Edge) {
  TPelGraph::ModifySuccessor(Node, Successor, Edge);
  // Events and tasks of exactly these classes are told apart without a call
  // (the base has already reached the successor: it is there).
  if (Node && Edge && detail::IsExactly<TAOEEvent>(Node) &&
      detail::IsExactly<TAOEEvent>(Successor) && detail::IsExactly<TAOETask>(Edge))
    ForwardStep(static_cast<TAOEEvent*>(Node), static_cast<TAOEEvent*>(Successor),
                static_cast<TAOETask*>(Edge));
  else
    ForwardStepChecked(Node, Successor, Edge);
}

// Events in reverse topological order: an event's latest time is the
// least of its tasks' latest starts (the last event's is its earliest
// time), and each task's times are set on the way, its successor's latest
// time being final by then.
void TActivityNetwork::BackwardPass(TStrings* Order) {
  const int32_t count = Order->GetCount();
  for (int32_t i = count - 1; i >= 0; --i) {
    TAOEEvent* event = EventAt(Order, i);
    int32_t latest = i == count - 1 ? event->GetEarliestEventTime() : InfiniteWeight;
    for (int32_t j = 0; j < event->GetEdgeCount(); ++j) {
      auto* task = As<TAOETask>(event->GetEdgeUnchecked(j));
      const int32_t time = SubtractWeights(As<TAOEEvent>(task->GetToNode())->GetLatestEventTime(),
                                           task->GetWeight());
      task->SetEarliestStartTime(event->GetEarliestEventTime());
      task->SetLatestStartTime(time);
      if (time < latest) latest = time;
    }
    event->SetLatestEventTime(latest);
  }
}

TStrings* TActivityNetwork::GetEarliestCompletionTime(TAOEEvent* Start, TAOEEvent* Finish,
                                                      TStrings* List, int32_t& Time) {
  TStrings* order = nullptr;
  try {
    BeginUpdateNodes();
    TryFinally(
        [&] {
          ForEachNode([](TPelGraphNode* node) { As<TAOEEvent>(node)->SetEarliestEventTime(0); });
          order = TopologicalOrder(List);
          if (!IsAcyclic()) throw EGraphException(SGraphNotAcyclic);
          BackwardPass(order);
        },
        [this] { EndUpdateNodes(); });
    RestrictOrder(order, Start, Finish);
  } catch (...) {
    if (!List) Free(order);
    throw;
  }
  const int32_t count = order->GetCount();
  Time = count == 0 ? 0
                    : SubtractWeights(EventAt(order, count - 1)->GetEarliestEventTime(),
                                      EventAt(order, 0)->GetEarliestEventTime());
  return order;
}

TStrings* TActivityNetwork::GetCriticalActivities(TAOEEvent* Start, TAOEEvent* Finish,
                                                  TStrings* List, int32_t& Time) {
  TStrings* result = GetEarliestCompletionTime(Start, Finish, List, Time);
  try {
    result->Clear();
    ForEachNode([result](TPelGraphNode* node) {
      for (int32_t i = 0; i < node->GetEdgeCount(); ++i) {
        auto* task = As<TAOETask>(node->GetEdgeUnchecked(i));
        if (task->GetCriticality() == 0) result->AddObject(task->GetName(), task);
      }
    });
  } catch (...) {
    if (!List) Free(result);
    throw;
  }
  return result;
}

TActivityNetwork* TActivityNetwork::GetCriticalGraph(TAOEEvent* Start, TAOEEvent* Finish,
                                                     TActivityNetwork* Network) {
  TActivityNetwork* result = Network ? Network : New<TActivityNetwork>(nullptr);
  try {
    int32_t time = 0;
    Free(GetEarliestCompletionTime(Start, Finish, nullptr, time));
    result->Clear();
    result->SetDirected(true);
    auto copy = [result](TPelGraphNode* Event) {
      TPelGraphNode* node = result->CreateNode(Event->GetCaption());
      node->Assign(Event);
      return node;
    };
    auto copyOf = [&](TPelGraphNode* Event) {
      TPelGraphNode* node = result->FindNode(Event->GetCaption());
      return node ? node : copy(Event);
    };
    if (Start) copy(Start);
    if (Finish) copy(Finish);
    ForEachNode([&](TPelGraphNode* node) {
      for (int32_t i = 0; i < node->GetEdgeCount(); ++i) {
        auto* task = As<TAOETask>(node->GetEdge(i));
        if (task->GetCriticality() != 0) continue;
        TPelGraphNode* from = copyOf(task->GetFromNode());
        from->AddEdge(copyOf(task->GetToNode()))->Assign(task);
      }
    });
  } catch (...) {
    if (!Network) Free(result);
    throw;
  }
  return result;
}

}  // namespace pel
