#include "graphs/ActivityNetwork.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <limits>
#include <thread>
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

// Work(From, Until) over [0, Count) in two halves side by side, the first
// in a thread of its own (the halves read the network and write apart).
// True when both are.
template <class Fn>
bool InHalves(int32_t Count, Fn Work) {
  bool firstHalf = false;
  std::exception_ptr error;
  {
    std::jthread helper([&] {
      try {
        firstHalf = Work(0, Count / 2);
      } catch (...) {
        error = std::current_exception();
      }
    });
    const bool secondHalf = Work(Count / 2, Count);
    helper.join();
    if (error) std::rethrow_exception(error);
    return firstHalf && secondHalf;
  }
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

TStrings* TActivityNetwork::ComputeInArrays(TStrings* List) {
  if (!detail::IsExactly<TActivityNetwork>(this) || !GetDirected()) return nullptr;
  if (auto* list = dynamic_cast<TStringList*>(List);
      list && (list->GetOnChange() || list->GetOnChanging()))
    return nullptr;
  IPtr<IIterator> iterator = GetNodes();
  TList* nodes = NodeListOf(iterator.get());
  if (!nodes) return nullptr;
  // A smaller network lies in the caches; the walk through its objects is
  // the quicker.
  const int32_t count = nodes->GetCount();
  if (count < 65536) return nullptr;
  const auto at = [nodes](int32_t Index) {
    return static_cast<TPelGraphNode*>(nodes->List()[Index]);
  };

  // The nodes are numbered in enumeration order (the work tags hold the
  // numbers meanwhile); each node's successors and the durations of the
  // tasks leading there are listed node after node, from first[node] on.
  std::vector<int32_t> tag(static_cast<std::size_t>(count));  // the working in-degree
  std::vector<int32_t> first(static_cast<std::size_t>(count) + 1);
  int64_t edges = 0;
  for (int32_t i = 0; i < count; ++i) {
    TPelGraphNode* node = at(i);
    if (!detail::IsExactly<TAOEEvent>(node)) return nullptr;
    tag[i] = node->GetInDegree();
    node->SetWorkTag(i);
    first[i] = static_cast<int32_t>(edges);
    edges += node->GetEdgeCount();
    if (edges > std::numeric_limits<int32_t>::max()) return nullptr;
  }
  first[count] = static_cast<int32_t>(edges);
  std::vector<int32_t> to(static_cast<std::size_t>(edges)), weight(to.size());
  // A few hundred nodes at a time, each step for all their edges before the
  // next: the edges, and then their end nodes, are fetched together rather
  // than one after the other.
  const bool listed = InHalves(count, [&](int32_t From, int32_t Until) {
    std::vector<TPelGraphNode*> ends;
    for (int32_t from = From; from < Until; from += 256) {
      const int32_t until = std::min(Until, from + 256);
      ends.clear();
      for (int32_t i = from; i < until; ++i) {
        TPelGraphNode* node = at(i);
        for (int32_t j = 0; j < node->GetEdgeCount(); ++j) {
          TPelGraphEdge* edge = node->GetEdgeUnchecked(j);
          if (!detail::IsExactly<TAOETask>(edge)) return false;
          ends.push_back(edge->GetToNode());
          weight[first[i] + j] = static_cast<TAOETask*>(edge)->GetWeight();
        }
      }
      int32_t* out = to.data() + first[from];
      for (TPelGraphNode* end : ends) *out++ = end->GetWorkTag();
      out = to.data() + first[from];
      for (TPelGraphNode* end : ends) {
        const int32_t index = *out++;
        if (index < 0 || index >= count || at(index) != end) return false;
      }
    }
    return true;
  });
  if (!listed) return nullptr;

  // The walk, step for step: the node made ready last goes next. A working
  // in-degree that falls below zero means an in-degree that does not count
  // the edges; the walk itself answers for such a network.
  std::vector<int32_t> earliest(static_cast<std::size_t>(count)), order, ready;
  order.reserve(static_cast<std::size_t>(count));
  for (int32_t i = 0; i < count; ++i)
    if (tag[i] == 0) ready.push_back(i);
  while (static_cast<int32_t>(order.size()) < count && !ready.empty()) {
    const int32_t node = ready.back();
    ready.pop_back();
    order.push_back(node);
    for (int32_t k = first[node]; k < first[node + 1]; ++k) {
      const int32_t successor = to[k];
      const int32_t time = AddWeights(earliest[node], weight[k]);
      if (time > earliest[successor]) earliest[successor] = time;
      if (--tag[successor] == 0)
        ready.push_back(successor);
      else if (tag[successor] < 0)
        return nullptr;
    }
  }
  if (static_cast<int32_t>(order.size()) < count) return nullptr;
  std::vector<int32_t>().swap(ready);

  // Every successor comes after its node, so each latest time is final
  // before the nodes leading there read it.
  // Every working in-degree is 0 now: the room holds the latest times.
  std::vector<int32_t>& latest = tag;
  for (int32_t place = count - 1; place >= 0; --place) {
    const int32_t node = order[place];
    int32_t time = place == count - 1 ? earliest[node] : InfiniteWeight;
    for (int32_t k = first[node]; k < first[node + 1]; ++k)
      time = std::min(time, SubtractWeights(latest[to[k]], weight[k]));
    latest[node] = time;
  }
  InHalves(count, [&](int32_t From, int32_t Until) {
    for (int32_t i = From; i < Until; ++i) {
      auto* event = static_cast<TAOEEvent*>(at(i));
      event->SetWorkTag(0);
      event->SetEarliestEventTime(earliest[i]);
      event->SetLatestEventTime(latest[i]);
      for (int32_t j = 0; j < event->GetEdgeCount(); ++j) {
        auto* task = static_cast<TAOETask*>(event->GetEdgeUnchecked(j));
        const int32_t k = first[i] + j;
        task->SetEarliestStartTime(earliest[i]);
        task->SetLatestStartTime(SubtractWeights(latest[to[k]], weight[k]));
      }
    }
    return true;
  });
  return FillOrder(List, [&](TStrings* Result) {
    for (int32_t node : order) Result->AddObject(at(node)->GetCaption(), at(node));
    return true;
  });
}

TStrings* TActivityNetwork::GetEarliestCompletionTime(TAOEEvent* Start, TAOEEvent* Finish,
                                                      TStrings* List, int32_t& Time) {
  TStrings* order = nullptr;
  try {
    BeginUpdateNodes();
    TryFinally(
        [&] {
          order = ComputeInArrays(List);
          if (order) return;
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
