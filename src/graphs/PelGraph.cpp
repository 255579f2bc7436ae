#include "graphs/PelGraph.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <new>
#include <vector>

#include "platform/classes/ListAlgorithms.h"

namespace pel {

const TTypeInfo TypeInfoNodeNotifyEvent{tkMethod, "TNodeNotifyEvent"};
const TTypeInfo TypeInfoNodeCaptionEvent{tkMethod, "TNodeCaptionEvent"};

namespace {

// Walks a platform list of nodes front to back.
class TNodeListIterator : public TInterfacedObject, public IIterator {
  PEL_CLASS(TNodeListIterator, TInterfacedObject)
 public:
  explicit TNodeListIterator(TList* List) : FList(List) {}

  bool GetInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<TNodeListIterator, IIterator>(this, IID, Obj);
  }
  void* CurrentElement() override {
    return FIndex >= 0 && FIndex < FList->GetCount() ? FList->Get(FIndex) : nullptr;
  }
  int32_t GetCount() override { return FList->GetCount() - (FIndex + 1); }
  bool HasMoreElements() override { return FIndex + 1 < FList->GetCount(); }
  // Past the end: the list's own index error.
  void* NextElement() override {
    return ++FIndex < FList->GetCount() ? FList->List()[FIndex] : FList->Get(FIndex);
  }
  void Reset() override { FIndex = -1; }

  // The list, while no element has been taken.
  TList* FreshList() const { return FIndex == -1 ? FList : nullptr; }

 private:
  TList* FList;
  int32_t FIndex = -1;
};

std::map<String, TClass>& GraphClasses() {
  static std::map<String, TClass> classes = [] {
    std::map<String, TClass> m;
    for (TClass c :
         {TPelGraphNode::StaticClass(), TPelLinkedGraphNode::StaticClass(),
          TWeightedNode::StaticClass(), TPelGraphEdge::StaticClass(), TWeightedEdge::StaticClass()})
      m[UpperCase(c->Name)] = c;
    return m;
  }();
  return classes;
}

TClass GraphClassNamed(const String& Name, TClass Base, const char* Msg) {
  TClass c = FindGraphClass(Name);
  if (!c || !c->InheritsFrom(Base)) throw EClassNotFound(Msg, {Name});
  return c;
}

}  // namespace

void RegisterGraphClass(TClass AClass) { GraphClasses()[UpperCase(AClass->Name)] = AClass; }

TClass FindGraphClass(const String& AClassName) {
  auto it = GraphClasses().find(UpperCase(AClassName));
  return it == GraphClasses().end() ? nullptr : it->second;
}

namespace PelGraph {
void Register() {
  RegisterClasses({TPelLabelGraph::StaticClass(), TPelGraph::StaticClass()});
  RegisterComponents("Additional", {TPelLabelGraph::StaticClass(), TPelGraph::StaticClass()});
}
}  // namespace PelGraph

// ---------------------------------------------------------------------------
// TPelGraphEdge

void TPelGraphEdge::AfterConstruction() {
  TPersistent::AfterConstruction();
  if (!FFromNode || !FToNode) {
    FFromNode = FToNode = nullptr;
    throw EGraphException(SEdgeNodesInvalid);
  }
  try {
    FFromNode->AddingEdgeTo(FToNode, this);
    FToNode->AddingEdgeFrom(FFromNode, this);
  } catch (...) {
    // As a constructor that fails: the destructor's unregistration runs,
    // and the first error is the one reported.
    try {
      Unregister();
    } catch (...) {
    }
    throw;
  }
}

void TPelGraphEdge::BeforeDestruction() {
  Unregister();
  TPersistent::BeforeDestruction();
}

void TPelGraphEdge::Unregister() {
  if (FFromNode) FFromNode->RemovingEdgeTo(FToNode, this);
  if (FToNode) FToNode->RemovingEdgeFrom(FFromNode, this);
}

void TPelGraphEdge::Assign(TPersistent* Source) {
  if (dynamic_cast<TPelGraphEdge*>(Source)) return;
  TPersistent::Assign(Source);
}

void TPelGraphEdge::ReadData(TReader*) {}

void TPelGraphEdge::WriteData(TWriter*) {}

void TPelGraphEdge::FastClear(TPelGraphNode* Node) {
  if (FToNode && Node->Undirected() && Node != FToNode && FFromNode != FToNode) {
    const int32_t index = FToNode->ScanEdges(this);
    if (index >= 0) FToNode->UnlistEdgeAt(index);
  }
  if (Node == FFromNode) FFromNode = nullptr;
  FToNode = nullptr;
}

void TPelGraphEdge::Change() {
  if (FFromNode) FFromNode->Change();
}

void TWeightedEdge::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TWeightedEdge*>(Source)) {
    SetWeight(src->FWeight);
    return;
  }
  TPelGraphEdge::Assign(Source);
}

void TWeightedEdge::ReadData(TReader* Reader) {
  TPelGraphEdge::ReadData(Reader);
  FWeight = Reader->ReadInteger();
}

void TWeightedEdge::WriteData(TWriter* Writer) {
  TPelGraphEdge::WriteData(Writer);
  Writer->WriteInteger(FWeight);
}

void TWeightedEdge::SetWeight(TGraphWeight Value) {
  if (Value == FWeight) return;
  FWeight = Value;
  Change();
}

// ---------------------------------------------------------------------------
// TPelGraphNode

TPelGraphNode::TPelGraphNode(TPelCustomGraph* AGraph) : FGraph(AGraph) {}

TPelGraphNode::~TPelGraphNode() { ClearEdgeList(); }

void TPelGraphNode::ListEdge(TPelGraphEdge* Edge) {
  const int32_t end = FEdgeGap + FEdgeCount;
  if (end == (FEdgeBlock ? int32_t{1} << FEdgeBlock : 0)) {
    if (FEdgeGap > 0) {
      // Close the gap first: the block holds more than the edges need.
      TPelGraphEdge** block = FEdgeFirst - FEdgeGap;
      std::memmove(block, FEdgeFirst,
                   sizeof(TPelGraphEdge*) * static_cast<std::size_t>(FEdgeCount));
      FEdgeFirst = block;
      FEdgeGap = 0;
    } else {
      if (end >= MaxListSize) TList::Error(SListCapacityError, end + 1);
      // Two entries first, then twice as many each time.
      MoveEdgeList(FEdgeBlock ? FEdgeBlock + 1 : 1);
    }
  }
  FEdgeFirst[FEdgeCount++] = Edge;
  Edge->FListed |= ListBit(Edge);
}

void TPelGraphNode::MoveEdgeList(uint8_t Log2) {
  auto** block = static_cast<TPelGraphEdge**>(detail::TakeCell(sizeof(TPelGraphEdge*) << Log2));
  if (FEdgeFirst) {
    std::memcpy(block, FEdgeFirst, sizeof(TPelGraphEdge*) * static_cast<std::size_t>(FEdgeCount));
    detail::GiveCell(FEdgeFirst - FEdgeGap, sizeof(TPelGraphEdge*) << FEdgeBlock);
  }
  FEdgeFirst = block;
  FEdgeGap = 0;
  FEdgeBlock = Log2;
}

void TPelGraphNode::SetEdgeCapacity(int32_t Capacity) {
  if (Capacity <= (FEdgeBlock ? int32_t{1} << FEdgeBlock : 0)) return;
  if (Capacity > MaxListSize) TList::Error(SListCapacityError, Capacity);
  MoveEdgeList(static_cast<uint8_t>(
      std::max(1, static_cast<int>(std::bit_width(static_cast<uint32_t>(Capacity) - 1)))));
}

void TPelGraphNode::UnlistEdgeAt(int32_t Index) {
  TPelGraphEdge* edge = FEdgeFirst[Index];
  edge->FListed &= static_cast<uint8_t>(~ListBit(edge));
  --FEdgeCount;
  if (Index == 0 && FEdgeCount > 0) {
    ++FEdgeFirst;
    ++FEdgeGap;
    return;
  }
  std::memmove(FEdgeFirst + Index, FEdgeFirst + Index + 1,
               sizeof(TPelGraphEdge*) * static_cast<std::size_t>(FEdgeCount - Index));
  if (FEdgeCount == 0) {
    FEdgeFirst -= FEdgeGap;
    FEdgeGap = 0;
  }
}

int32_t TPelGraphNode::ScanEdges(TPelGraphEdge* Edge) const {
  for (int32_t i = 0; i < FEdgeCount; ++i)
    if (FEdgeFirst[i] == Edge) return i;
  return -1;
}

void TPelGraphNode::ClearEdgeList() {
  if (FEdgeFirst) detail::GiveCell(FEdgeFirst - FEdgeGap, sizeof(TPelGraphEdge*) << FEdgeBlock);
  FEdgeFirst = nullptr;
  FEdgeGap = FEdgeCount = 0;
  FEdgeBlock = 0;
}

int32_t TPelGraphNode::IndexOfEdge(TPelGraphEdge* Edge) const {
  const uint8_t bit = Edge ? ListBit(Edge) : 0;
  if (bit && !(Edge->FListed & bit)) return -1;
  return ScanEdges(Edge);
}

const TNotifyEvent& TPelGraphNode::GetOnChange() const {
  static const TNotifyEvent none;
  return FHandlers ? FHandlers->OnChange : none;
}

void TPelGraphNode::SetOnChange(TNotifyEvent Value) {
  if (!FHandlers && !Value) return;
  if (!FHandlers) FHandlers = std::make_unique<THandlers>();
  FHandlers->OnChange = std::move(Value);
}

const String& TPelGraphNode::GetOnChangeName() const {
  static const String none;
  return FHandlers ? FHandlers->OnChangeName : none;
}

void TPelGraphNode::SetOnChangeName(const String& Value) {
  if (!FHandlers && Value.empty()) return;
  if (!FHandlers) FHandlers = std::make_unique<THandlers>();
  FHandlers->OnChangeName = Value;
}

void TPelGraphNode::AfterConstruction() {
  TPersistent::AfterConstruction();
  // The graph given to the constructor is joined only now, once the node's
  // class (and so its caption) is final.
  TPelCustomGraph* graph = std::exchange(FGraph, nullptr);
  FCaption = ClassName() + IntToStr(CheckAssigned(graph)->NewNodeId());
  SetGraph(graph);
}

void TPelGraphNode::BeforeDestruction() {
  if (FHandlers) FHandlers->OnChange = nullptr;
  SetGraph(nullptr);
  TPersistent::BeforeDestruction();
}

void TPelGraphNode::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TPelGraphNode*>(Source)) {
    SetCaption(src->FCaption);
    Change();
    return;
  }
  TPersistent::Assign(Source);
}

bool TPelGraphNode::Undirected() const { return !CheckAssigned(FGraph)->GetDirected(); }

void TPelGraphNode::AddingEdgeFrom(TPelGraphNode* Node, TPelGraphEdge* Edge) {
  ++FInDegree;
  if (Undirected() && Node == Edge->GetFromNode() && Edge->GetFromNode() != Edge->GetToNode()) {
    AddingEdgeTo(Node, Edge);
    Node->AddingEdgeFrom(this, Edge);
  }
}

void TPelGraphNode::AddingEdgeTo(TPelGraphNode*, TPelGraphEdge* Edge) {
  if (IndexOfEdge(Edge) < 0) ListEdge(Edge);
  Change();
}

void TPelGraphNode::RemovingEdgeFrom(TPelGraphNode* Node, TPelGraphEdge* Edge) {
  --FInDegree;
  if (Undirected() && Node == Edge->GetFromNode() && Edge->GetFromNode() != Edge->GetToNode()) {
    RemovingEdgeTo(Node, Edge);
    Node->RemovingEdgeFrom(this, Edge);
  }
}

void TPelGraphNode::RemovingEdgeTo(TPelGraphNode*, TPelGraphEdge* Edge) {
  const int32_t index = IndexOfEdge(Edge);
  if (index >= 0) UnlistEdgeAt(index);
  Change();
}

void TPelGraphNode::FastClear() {
  // One pass and one clear of the list instead of deleting the front entry
  // each time: nobody watches the list while the graph is torn down.
  for (int32_t i = 0; i < FEdgeCount; ++i) {
    TPelGraphEdge* edge = FEdgeFirst[i];
    const bool starts = edge->GetFromNode() == this;
    edge->FastClear(this);
    if (starts) Free(edge);
  }
  ClearEdgeList();
  FGraph = nullptr;
}

void TPelGraphNode::WriteData(TWriter* Writer) { Writer->WriteString(FCaption); }

void TPelGraphNode::ReadData(TReader* Reader) { SetCaption(Reader->ReadString()); }

void TPelGraphNode::RemovePredecessors(TPelGraphNode* Node) {
  for (int32_t i = FEdgeCount - 1; i >= 0; --i)
    if (i < FEdgeCount && FEdgeFirst[i]->GetToNode() == Node) Free(FEdgeFirst[i]);
}

TPelGraphEdge* TPelGraphNode::NewEdge(TPelGraphNode* FromNode, TPelGraphNode* ToNode) {
  return New<TPelGraphEdge>(FromNode, ToNode);
}

TPelGraphEdge* TPelGraphNode::AddEdge(TPelGraphNode* ToNode) {
  if (!FGraph) throw EGraphException(SNodeUnconnected, {FCaption});
  return NewEdge(this, ToNode);
}

void TPelGraphNode::BeginUpdate() { ++FUpdateCount; }

void TPelGraphNode::EndUpdate() {
  if (FUpdateCount > 0) --FUpdateCount;
  if (FUpdateCount == 0) Change();
}

void TPelGraphNode::Clear() {
  Updating(this, [this] {
    while (FEdgeCount > 0) {
      TPelGraphEdge* edge = FEdgeFirst[0];
      Free(edge);
      // An edge that did not take itself out of the list is not freed twice
      // (nor touched: it is gone).
      if (FEdgeCount > 0 && FEdgeFirst[0] == edge) {
        --FEdgeCount;
        if (FEdgeCount > 0) {
          ++FEdgeFirst;
          ++FEdgeGap;
        } else {
          FEdgeFirst -= FEdgeGap;
          FEdgeGap = 0;
        }
      }
    }
    if (!Undirected() && FInDegree > 0) FGraph->RemovePredecessors(this);
  });
}

void TPelGraphNode::RemoveEdge(int32_t Index) { Free(GetEdge(Index)); }

void TPelGraphNode::RemoveEdge(TPelGraphEdge* Edge) { RemoveEdge(IndexOfEdge(Edge)); }

void TPelGraphNode::RemovePredecessors() {
  if (Undirected())
    Clear();
  else if (FInDegree > 0)
    FGraph->RemovePredecessors(this);
}

TPelGraphEdge* TPelGraphNode::GetEdge(int32_t Index) const {
  if (Index < 0 || Index >= FEdgeCount) TList::Error(SListIndexError, Index);
  return FEdgeFirst[Index];
}

int32_t TPelGraphNode::IndexOfEdgeTo(TPelGraphNode* Node) const {
  for (int32_t i = 0; i < FEdgeCount; ++i)
    if (FEdgeFirst[i]->GetToNode() == Node) return i;
  return -1;
}

void TPelGraphNode::SetCaption(const String& Value) {
  if (Value == FCaption) return;
  String text = Value;
  TextChange(text);
  // Swapped rather than copied: the text the node had (its class name and
  // id, longer than a string keeps in place) goes with its memory.
  FCaption.swap(text);
}

void TPelGraphNode::SetGraph(TPelCustomGraph* Value) {
  if (Value == FGraph) return;
  if (TPelCustomGraph* old = FGraph) {
    Updating(this, [&] {
      Clear();
      FGraph = nullptr;
      old->Extract(this);
    });
  }
  FGraph = Value;
  if (!Value) return;
  try {
    Value->AddNode(this);
  } catch (...) {
    FGraph = nullptr;
    throw;
  }
}

void TPelGraphNode::TextChange(String& NewCaption) {
  if (FGraph) FGraph->TextChange(this, NewCaption);
}

void TPelGraphNode::Change() {
  if (FUpdateCount > 0) return;
  if (FGraph) FGraph->NodeChange(this);
  if (FHandlers && FHandlers->OnChange) FHandlers->OnChange(this);
}

// ---------------------------------------------------------------------------
// TPelLinkedGraphNode

TPelLinkedGraphNode::TPelLinkedGraphNode(TPelCustomGraph* AGraph)
    : TPelGraphNode(AGraph), FPredecessors(New<TList>()) {}

TPelLinkedGraphNode::~TPelLinkedGraphNode() { Free(FPredecessors); }

void TPelLinkedGraphNode::AddingEdgeFrom(TPelGraphNode* Node, TPelGraphEdge* Edge) {
  TPelGraphNode::AddingEdgeFrom(Node, Edge);
  FPredecessors->Add(Node);
}

void TPelLinkedGraphNode::RemovingEdgeFrom(TPelGraphNode* Node, TPelGraphEdge* Edge) {
  TPelGraphNode::RemovingEdgeFrom(Node, Edge);
  FPredecessors->Remove(Node);
}

void TPelLinkedGraphNode::RemovePredecessors() {
  if (Undirected()) {
    Clear();
    return;
  }
  if (GetInDegree() <= 0) return;
  // Freeing the edges shortens the list being walked: walk a copy.
  std::vector<void*> predecessors(FPredecessors->List(),
                                  FPredecessors->List() + FPredecessors->GetCount());
  for (void* p : predecessors) static_cast<TPelGraphNode*>(p)->RemovePredecessors(this);
}

TPelGraphNode* TPelLinkedGraphNode::GetPredecessor(int32_t Index) const {
  return static_cast<TPelGraphNode*>(FPredecessors->Get(Index));
}

// ---------------------------------------------------------------------------
// TWeightedNode

TWeightedNode::~TWeightedNode() { Free(FShortestPath); }

void TWeightedNode::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TWeightedNode*>(Source)) FWeight = src->FWeight;
  TPelGraphNode::Assign(Source);
}

void TWeightedNode::WriteData(TWriter* Writer) {
  TPelGraphNode::WriteData(Writer);
  Writer->WriteInteger(FWeight);
}

void TWeightedNode::ReadData(TReader* Reader) {
  TPelGraphNode::ReadData(Reader);
  FWeight = Reader->ReadInteger();
}

TPelGraphEdge* TWeightedNode::NewEdge(TPelGraphNode* FromNode, TPelGraphNode* ToNode) {
  return New<TWeightedEdge>(FromNode, ToNode);
}

TWeightedNode* TWeightedNode::ClosestNode(bool Visited) {
  TGraphWeight best = InfiniteWeight;
  TWeightedNode* result = nullptr;
  for (int32_t i = 0; i < GetEdgeCount(); ++i) {
    auto* edge = As<TWeightedEdge>(GetEdge(i));
    if (edge->GetWeight() >= best) continue;
    TPelGraphNode* to = edge->GetToNode();
    if (to->GetVisited() == Visited && to != this) {
      result = As<TWeightedNode>(to);
      best = edge->GetWeight();
    } else if (to->GetVisited() == Visited && edge->GetFromNode() != this) {
      // The far end is FromNode here, yet its visited state is not the one
      // tested: intended.
      result = As<TWeightedNode>(edge->GetFromNode());
      best = edge->GetWeight();
    }
  }
  return result;
}

// ---------------------------------------------------------------------------
// TPelCustomGraph

TPelCustomGraph::TPelCustomGraph(TComponent* AOwner)
    : TComponent(AOwner), FNodeClass(TPelGraphNode::StaticClass()) {}

void TPelCustomGraph::BeforeDestruction() {
  FOnChange = nullptr;
  FOnNodeChange = nullptr;
  FOnNodeCaptionChange = nullptr;
  FOnAddNode = nullptr;
  FOnRemoveNode = nullptr;
  Clear();
  TComponent::BeforeDestruction();
}

void TPelCustomGraph::Assign(TPersistent* Source) {
  auto* src = dynamic_cast<TPelCustomGraph*>(Source);
  if (!src) {
    TComponent::Assign(Source);
    return;
  }
  Updating(this, [&] {
    FAcyclic = src->IsAcyclic();
    Clear();
    FDirected = src->FDirected;
    int32_t index = 0;
    src->ForEachNode([&](TPelGraphNode* node) {
      TPelGraphNodeClass(node->ClassType()).Create(this)->Assign(node);
      node->SetWorkTag(index++);
    });
    // Ends are found by caption: with repeated captions the copied edges
    // join the first node bearing the caption (intended).
    src->ForEachNode([&](TPelGraphNode* node) {
      for (int32_t i = 0; i < node->GetEdgeCount(); ++i) {
        TPelGraphEdge* edge = node->GetEdge(i);
        if (edge->GetFromNode() != node) continue;
        TPelGraphNode* from = FindNode(edge->GetFromNode()->GetCaption());
        TPelGraphNode* to = FindNode(edge->GetToNode()->GetCaption());
        CheckAssigned(from)->AddEdge(to)->Assign(edge);
      }
    });
    FStale = src->FStale;
  });
}

void TPelCustomGraph::Loaded() {
  TComponent::Loaded();
  Change();
}

void TPelCustomGraph::DefineProperties(TFiler* Filer) {
  TComponent::DefineProperties(Filer);
  Filer->DefineProperty(
      "NodeNEdges", [this](TReader* Reader) { LoadNodesProperty(Reader); },
      [this](TWriter* Writer) { StoreNodesProperty(Writer); }, GetNodeCount() > 0);
}

void TPelCustomGraph::AddNode(TPelGraphNode* Node) {
  for (int32_t i = 0; i < FNodeUpdateCount; ++i) Node->BeginUpdate();
  if (!FAdding && FOnAddNode) FOnAddNode(this, Node);
}

TPelGraphNode* TPelCustomGraph::NewNode() { return FNodeClass.Create(this); }

void TPelCustomGraph::SetDirected(bool Value) {
  if (Value == FDirected) return;
  FDirected = Value;
  BeginUpdateNodes();
  TryFinally(
      [&] {
        ForEachNode([Value](TPelGraphNode* node) {
          if (Value) {
            // The edges a node ends leave its list and the in-degree of
            // the node that starts them.
            for (int32_t i = node->GetEdgeCount() - 1; i >= 0; --i) {
              TPelGraphEdge* edge = node->GetEdge(i);
              if (edge->GetFromNode() == node) continue;
              edge->GetFromNode()->RemovingEdgeFrom(node, edge);
              node->RemovingEdgeTo(edge->GetFromNode(), edge);
            }
          } else {
            for (int32_t i = 0; i < node->GetEdgeCount(); ++i) {
              TPelGraphEdge* edge = node->GetEdge(i);
              if (edge->GetFromNode() != node) continue;
              edge->GetToNode()->AddingEdgeTo(node, edge);
              node->AddingEdgeFrom(edge->GetToNode(), edge);
            }
          }
        });
      },
      [this] { EndUpdateNodes(); });
}

TPelGraphNode* TPelCustomGraph::CreateNode(const String& Caption) {
  TPelGraphNode* node = NewNode();
  try {
    node->SetCaption(Caption);
  } catch (...) {
    // A caption the graph refuses leaves no node behind.
    Free(node);
    throw;
  }
  return node;
}

void TPelCustomGraph::BeginUpdate() { ++FUpdateCount; }

void TPelCustomGraph::EndUpdate() {
  if (FUpdateCount > 0) --FUpdateCount;
  if (FUpdateCount == 0) Change();
}

void TPelCustomGraph::BeginUpdateNodes() {
  ++FNodeUpdateCount;
  ForEachNode([](TPelGraphNode* node) { node->BeginUpdate(); });
}

void TPelCustomGraph::EndUpdateNodes() {
  if (FNodeUpdateCount > 0) --FNodeUpdateCount;
  ForEachNode([](TPelGraphNode* node) { node->EndUpdate(); });
}

void TPelCustomGraph::Change() {
  FStale = true;
  if (FUpdateCount == 0 && FOnChange) FOnChange(this);
}

void TPelCustomGraph::NodeChange(TPelGraphNode* Node) {
  FStale = true;
  if (FUpdateCount < 1 && FOnNodeChange) FOnNodeChange(this, Node);
}

void TPelCustomGraph::TextChange(TPelGraphNode* Node, String& NewCaption) {
  if (FOnNodeCaptionChange) FOnNodeCaptionChange(this, Node, NewCaption);
}

void TPelCustomGraph::RemovePredecessors(TPelGraphNode* Node) {
  ForEachNode([Node](TPelGraphNode* node) { node->RemovePredecessors(Node); });
}

bool TPelCustomGraph::RemoveNode(TPelGraphNode* Node) {
  if (FOnRemoveNode) FOnRemoveNode(this, Node);
  return false;
}

TPelGraphNode* TPelCustomGraph::Extract(const String& Caption) {
  return Extract(FindNode(Caption));
}

bool TPelCustomGraph::RemoveNode(const String& Caption) { return RemoveNode(FindNode(Caption)); }

// ---------------------------------------------------------------------------
// Persistence

void TPelCustomGraph::StoreNodesProperty(TWriter* Writer) {
  Writer->WriteListBegin();
  int32_t index = 0;
  ForEachNode([&](TPelGraphNode* node) {
    Writer->WriteString(node->ClassName());
    node->WriteData(Writer);
    node->SetWorkTag(index++);
  });
  Writer->WriteListEnd();
  Writer->WriteListBegin();
  ForEachNode([&](TPelGraphNode* node) {
    for (int32_t i = 0; i < node->GetEdgeCount(); ++i) {
      TPelGraphEdge* edge = node->GetEdge(i);
      // An undirected graph lists each edge at both ends: write it once.
      if (!FDirected && edge->GetFromNode() != node) continue;
      Writer->WriteString(edge->ClassName());
      Writer->WriteInteger(edge->GetFromNode()->GetWorkTag());
      Writer->WriteInteger(edge->GetToNode()->GetWorkTag());
      edge->WriteData(Writer);
    }
  });
  Writer->WriteListEnd();
}

void TPelCustomGraph::LoadNodesProperty(TReader* Reader) {
  const int32_t firstId = FNextNodeId;
  std::vector<TPelGraphNode*> nodes;
  auto nodeAt = [&nodes](int32_t Index) {
    if (Index < 0 || Index >= static_cast<int32_t>(nodes.size()))
      throw EReadError(SListIndexError, {Index});
    return nodes[Index];
  };
  try {
    Reader->ReadListBegin();
    while (!Reader->EndOfList()) {
      TPelGraphNodeClass nodeClass =
          GraphClassNamed(Reader->ReadString(), TPelGraphNode::StaticClass(), SUnknownNodeClass);
      nodes.push_back(nodeClass.Create(this));
      nodes.back()->ReadData(Reader);
    }
    Reader->ReadListEnd();
    Reader->ReadListBegin();
    while (!Reader->EndOfList()) {
      TPelGraphEdgeClass edgeClass =
          GraphClassNamed(Reader->ReadString(), TPelGraphEdge::StaticClass(), SUnknownEdgeClass);
      TPelGraphNode* from = nodeAt(Reader->ReadInteger());
      TPelGraphNode* to = nodeAt(Reader->ReadInteger());
      edgeClass.Create(from, to)->ReadData(Reader);
    }
    Reader->ReadListEnd();
  } catch (...) {
    // Nothing half-read stays: the new nodes leave the container (last
    // first, cheap for a list) and are torn down as Clear does; every edge
    // read joins two of them.
    for (auto it = nodes.rbegin(); it != nodes.rend(); ++it) Extract(*it);
    for (TPelGraphNode* node : nodes) {
      node->FastClear();
      Free(node);
    }
    FNextNodeId = firstId;
    throw;
  }
}

// ---------------------------------------------------------------------------
// Algorithms

void TPelCustomGraph::InitializeNodes(TPelGraphNode* StartNode, bool Visited) {
  ForEachNode([&](TPelGraphNode* node) {
    node->SetVisited(Visited);
    auto* weighted = dynamic_cast<TWeightedNode*>(node);
    if (!weighted) return;
    weighted->SetWeight(InfiniteWeight);
    if (!FRecordPaths) return;
    if (!weighted->FShortestPath) weighted->FShortestPath = New<TStringList>();
    weighted->FShortestPath->Clear();
    weighted->FShortestPath->AddObject(CheckAssigned(StartNode)->GetCaption(), StartNode);
  });
}

void TPelCustomGraph::DepthFirstSearch(TPelGraphNode* Node) {
  // The recursive search, with its frames (node, next edge) kept here.
  struct Frame {
    TPelGraphNode* Node;
    int32_t Next;
  };
  std::vector<Frame> stack;
  CheckAssigned(Node)->SetVisited(true);
  stack.push_back({Node, 0});
  while (!stack.empty()) {
    Frame& top = stack.back();
    if (top.Next >= top.Node->GetEdgeCount()) {
      stack.pop_back();
      continue;
    }
    TPelGraphEdge* edge = top.Node->GetEdge(top.Next++);
    TPelGraphNode* next = top.Node == edge->GetToNode() ? edge->GetFromNode() : edge->GetToNode();
    if (CheckAssigned(next)->GetVisited()) continue;
    next->SetVisited(true);
    stack.push_back({next, 0});
  }
}

TList* TPelCustomGraph::NodeListOf(IIterator* Nodes) {
  auto* iterator = dynamic_cast<TNodeListIterator*>(Nodes);
  return iterator ? iterator->FreshList() : nullptr;
}

void TPelCustomGraph::TraverseFrom(TPelGraphNode* Node) {
  InitializeNodes(Node, false);
  DepthFirstSearch(Node);
}

namespace {

// The capacity a string list of capacity Capacity reaches when Count
// strings are appended to it while it is empty, growing by the framework's
// steps.
int32_t GrownCapacity(int32_t Capacity, int32_t Count) {
  while (Capacity < Count) Capacity += detail::FrameworkGrowDelta(Capacity);
  return Capacity;
}

// Gives a plain string list that nobody watches the capacity that appending
// Count strings would leave it with, at once rather than step by step; any
// other list grows as it does. Returns whether it did.
bool Presize(TStrings* List, int32_t Count) {
  auto* list = dynamic_cast<TStringList*>(List);
  if (!list || list->ClassType() != TStringList::StaticClass() || list->GetOnChange() ||
      list->GetOnChanging() || list->GetCount() != 0)
    return false;
  list->SetCapacity(GrownCapacity(list->GetCapacity(), Count));
  return true;
}

}  // namespace

TStrings* TPelCustomGraph::FillOrder(TStrings* List, const std::function<bool(TStrings*)>& Walk) {
  FAcyclic = false;
  FStale = false;
  TStrings* result = List ? List : New<TStringList>();
  int32_t initialCapacity = 0;
  bool presized = false;
  try {
    if (auto* sorted = dynamic_cast<TStringList*>(result)) sorted->SetSorted(false);
    if (result->GetCount() > 0) result->Clear();
    if (!FDirected) return result;
    initialCapacity = result->GetCapacity();
    presized = Presize(result, GetNodeCount());
    FAcyclic = Walk(result);
    // Short of a full order (a cycle), the capacity the appends made.
    if (presized) result->SetCapacity(GrownCapacity(initialCapacity, result->GetCount()));
  } catch (...) {
    if (presized) result->SetCapacity(GrownCapacity(initialCapacity, result->GetCount()));
    if (!List) Free(result);
    throw;
  }
  return result;
}

TStrings* TPelCustomGraph::TopologicalOrder(TStrings* List) {
  return FillOrder(List, [this](TStrings* Result) {
    // The nodes ready for output; the one made ready last is on top.
    std::vector<TPelGraphNode*> ready;
    ready.reserve(static_cast<std::size_t>(GetNodeCount()));
    ForEachNode([&](TPelGraphNode* node) {
      node->SetWorkTag(node->GetInDegree());
      if (node->GetInDegree() == 0) ready.push_back(node);
    });
    // One step of the node enumeration per node output: when it runs out,
    // every node is in the order.
    IPtr<IIterator> nodes = GetNodes();
    while (nodes->HasMoreElements()) {
      if (ready.empty()) return false;
      nodes->NextElement();
      TPelGraphNode* node = ready.back();
      ready.pop_back();
      Result->AddObject(node->GetCaption(), node);
      // The count is read again after each hook: an override may change
      // the node's edges.
      for (int32_t i = 0; i < node->GetEdgeCount(); ++i) {
        TPelGraphEdge* edge = node->GetEdgeUnchecked(i);
        TPelGraphNode* successor = edge->GetToNode();
        ModifySuccessor(node, successor, edge);
        if (successor->GetWorkTag() == 0) ready.push_back(successor);
      }
    }
    return true;
  });
}

bool TPelCustomGraph::IsAcyclic() {
  if (FStale) Free(TopologicalOrder(nullptr));
  return FAcyclic;
}

void TPelCustomGraph::ShortestPath(TPelGraphNode* StartNode) {
  auto pathOf = [](TWeightedNode* Node) {
    if (!Node->FShortestPath) Node->FShortestPath = New<TStringList>();
    return Node->FShortestPath;
  };
  // Lowers Target's weight to the path through Node and Edge when shorter.
  auto relax = [&](TWeightedNode* Node, TWeightedNode* Target, TWeightedEdge* Edge) {
    const TGraphWeight weight = AddWeights(Edge->GetWeight(), Node->GetWeight());
    if (Target->GetWeight() <= weight) return;
    Target->SetWeight(weight);
    if (FRecordPaths) pathOf(Target)->Assign(pathOf(Node));
  };
  auto settle = [&](TWeightedNode* Node) {
    Node->SetVisited(true);
    if (FRecordPaths) pathOf(Node)->AddObject(Node->GetCaption(), Node);
  };
  Updating(this, [&] {
    InitializeNodes(StartNode, false);
    auto* start = As<TWeightedNode>(CheckAssigned(StartNode));
    for (int32_t i = 0; i < start->GetEdgeCount(); ++i) {
      auto* edge = As<TWeightedEdge>(start->GetEdge(i));
      TPelGraphNode* target = edge->GetToNode();
      if (!FDirected && start == edge->GetToNode() && edge->GetFromNode() != start)
        target = edge->GetFromNode();
      auto* weighted = As<TWeightedNode>(target);
      if (edge->GetWeight() < weighted->GetWeight()) weighted->SetWeight(edge->GetWeight());
    }
    start->SetVisited(true);
    start->SetWeight(0);
    const int32_t count = GetNodeCount();
    if (count < 2) return;
    for (int32_t step = 0; step < count - 2; ++step) {
      TWeightedNode* node = CheckAssigned(ClosestNode(StartNode, false));
      settle(node);
      for (int32_t i = 0; i < node->GetEdgeCount(); ++i) {
        auto* edge = As<TWeightedEdge>(node->GetEdge(i));
        auto* to = As<TWeightedNode>(edge->GetToNode());
        const bool reached = node->GetWeight() != InfiniteWeight;
        if (!to->GetVisited() && to != node) {
          // An unvisited ToNode is never relaxed from the other side, even
          // from a node not reached yet: intended.
          if (reached) relax(node, to, edge);
          continue;
        }
        auto* from = As<TWeightedNode>(edge->GetFromNode());
        if (!from->GetVisited() && from != node && reached) relax(node, from, edge);
      }
    }
    // The last node is settled without relaxing its edges.
    settle(CheckAssigned(ClosestNode(StartNode, false)));
  });
}

void TPelCustomGraph::EnumerateShortestPaths(TPelGraphNode* StartNode) {
  FRecordPaths = true;
  TryFinally([&] { ShortestPath(StartNode); }, [this] { FRecordPaths = false; });
}

TWeightedNode* TPelCustomGraph::ClosestNode(TPelGraphNode* Node, bool Visited) {
  TWeightedNode* result = As<TWeightedNode>(Node);
  ForEachNode([&](TPelGraphNode* other) {
    if (other == Node || other->GetVisited() != Visited) return;
    auto* weighted = As<TWeightedNode>(other);
    if (result == Node || weighted->GetWeight() < result->GetWeight()) result = weighted;
  });
  return result;
}

// ---------------------------------------------------------------------------
// TPelLabelGraph

TPelLabelGraph::TPelLabelGraph(TComponent* AOwner)
    : TPelCustomGraph(AOwner), FNodes(New<TPelStringHashtable>()) {}

TPelLabelGraph::~TPelLabelGraph() { Free(FNodes); }

bool TPelLabelGraph::Holds(TPelGraphNode* Node) {
  void* stored = nullptr;
  return Node && FNodes->ContainsKey(Node->GetCaption(), stored) && stored == Node;
}

void TPelLabelGraph::AddNode(TPelGraphNode* Node) {
  if (FAdding) return;
  void* stored = nullptr;
  if (FNodes->ContainsKey(CheckAssigned(Node)->GetCaption(), stored)) {
    if (stored == Node) return;
    throw EListError(SDuplicateNodeNames);
  }
  FAdding = true;
  TryFinally(
      [&] {
        FNodes->Put(Node->GetCaption(), Node);
        Node->SetGraph(this);
        Change();
      },
      [this] { FAdding = false; });
  TPelCustomGraph::AddNode(Node);
}

void TPelLabelGraph::Clear() {
  Updating(this, [this] {
    FAdding = true;
    TryFinally(
        [this] {
          ForEachNode([](TPelGraphNode* node) {
            node->FastClear();
            Free(node);
          });
          FNodes->Clear();
          FNextNodeId = 0;
        },
        [this] { FAdding = false; });
  });
}

TPelGraphNode* TPelLabelGraph::FindNode(const String& Caption) {
  void* stored = nullptr;
  return FNodes->ContainsKey(Caption, stored) ? static_cast<TPelGraphNode*>(stored) : nullptr;
}

IPtr<IIterator> TPelLabelGraph::GetNodes() { return FNodes->Elements(); }

bool TPelLabelGraph::RemoveNode(TPelGraphNode* Node) {
  TPelCustomGraph::RemoveNode(Node);
  if (!Holds(Node)) return false;
  FNodes->Remove(Node->GetCaption());
  Node->SetGraph(nullptr);
  Free(Node);
  Change();
  return true;
}

TPelGraphNode* TPelLabelGraph::Extract(TPelGraphNode* Node) {
  if (!Holds(Node)) return nullptr;
  FNodes->Remove(Node->GetCaption());
  return Node;
}

void TPelLabelGraph::Rekey(TPelGraphNode* Node, const String& OldCaption,
                           const String& NewCaption) {
  if (OldCaption == NewCaption) return;
  void* stored = nullptr;
  if (FNodes->ContainsKey(NewCaption, stored) && stored != Node)
    throw EListError(SDuplicateNodeNames);
  FNodes->Put(NewCaption, Node);
  FNodes->Remove(OldCaption);
}

void TPelLabelGraph::TextChange(TPelGraphNode* Node, String& NewCaption) {
  if (!Holds(Node)) {
    TPelCustomGraph::TextChange(Node, NewCaption);
    return;
  }
  const String oldCaption = Node->GetCaption();
  const String proposed = NewCaption;
  Rekey(Node, oldCaption, proposed);
  try {
    TPelCustomGraph::TextChange(Node, NewCaption);
    // The handler changed the text: the key follows it.
    Rekey(Node, proposed, NewCaption);
  } catch (...) {
    Rekey(Node, proposed, oldCaption);
    throw;
  }
}

// ---------------------------------------------------------------------------
// TPelGraph

TPelGraph::TPelGraph(TComponent* AOwner) : TPelCustomGraph(AOwner), FNodes(New<TObjectList>()) {}

TPelGraph::~TPelGraph() { Free(FNodes); }

std::size_t TPelGraph::CaptionSlot(const String& Caption, std::size_t Hash) const {
  const std::size_t mask = FCaptionSlots.size() - 1;
  for (std::size_t i = Hash & mask;; i = (i + 1) & mask) {
    const TCaptionSlot& slot = FCaptionSlots[i];
    if (!slot.Head || (slot.Hash == Hash && slot.Head->FCaption == Caption)) return i;
  }
}

void TPelGraph::GrowCaptionSlots() {
  std::vector<TCaptionSlot> old(std::max<std::size_t>(16, FCaptionSlots.size() * 2));
  old.swap(FCaptionSlots);
  const std::size_t mask = FCaptionSlots.size() - 1;
  for (const TCaptionSlot& slot : old) {
    if (!slot.Head) continue;
    std::size_t i = slot.Hash & mask;
    while (FCaptionSlots[i].Head) i = (i + 1) & mask;
    FCaptionSlots[i] = slot;
  }
}

void TPelGraph::EraseCaptionSlot(std::size_t Index) {
  // Backward shift: later slots of the probe run move up so that no search
  // stops early at the hole.
  const std::size_t mask = FCaptionSlots.size() - 1;
  for (std::size_t j = (Index + 1) & mask; FCaptionSlots[j].Head; j = (j + 1) & mask) {
    const std::size_t home = FCaptionSlots[j].Hash & mask;
    if (((j - home) & mask) >= ((j - Index) & mask)) {
      FCaptionSlots[Index] = FCaptionSlots[j];
      Index = j;
    }
  }
  FCaptionSlots[Index] = {0, nullptr};
  --FCaptionCount;
}

void TPelGraph::IndexCaptions() {
  FCaptionsIndexed = true;
  for (int32_t i = 0; i < FNodes->GetCount(); ++i)
    IndexCaption(GetNode(i), GetNode(i)->GetCaption());
}

void TPelGraph::IndexCaption(TPelGraphNode* Node, const String& Caption) {
  if (!FCaptionsIndexed) return;
  if ((FCaptionCount + 1) * 2 > FCaptionSlots.size()) GrowCaptionSlots();
  const std::size_t hash = std::hash<String>()(Caption);
  TCaptionSlot& slot = FCaptionSlots[CaptionSlot(Caption, hash)];
  if (!slot.Head) {
    // Node becomes the key: a renamed node takes its new caption right
    // after this, and nothing searches in between.
    slot = {hash, Node};
    Node->FNextSameCaption = nullptr;
    ++FCaptionCount;
    return;
  }
  TPelGraphNode** link = &slot.Head;
  while (*link && (*link)->FListStamp < Node->FListStamp) link = &(*link)->FNextSameCaption;
  Node->FNextSameCaption = *link;
  *link = Node;
}

void TPelGraph::UnindexCaption(TPelGraphNode* Node, const String& Caption) {
  if (!FCaptionsIndexed || FCaptionSlots.empty()) return;
  const std::size_t index = CaptionSlot(Caption, std::hash<String>()(Caption));
  if (!FCaptionSlots[index].Head) return;
  TPelGraphNode** link = &FCaptionSlots[index].Head;
  while (*link && *link != Node) link = &(*link)->FNextSameCaption;
  if (*link) *link = Node->FNextSameCaption;
  Node->FNextSameCaption = nullptr;
  if (!FCaptionSlots[index].Head) EraseCaptionSlot(index);
}

void TPelGraph::Detach(TPelGraphNode* Node) {
  UnindexCaption(Node, Node->GetCaption());
  Node->FListOwner = nullptr;
  // The newest node is the likeliest to go (a failed read takes its nodes
  // back last first): look at the end before searching.
  const int32_t last = FNodes->GetCount() - 1;
  const int32_t index = last >= 0 && FNodes->Get(last) == Node ? last : FNodes->IndexOf(Node);
  if (index < 0) return;
  FNodes->SetOwnsObjects(false);
  TryFinally([&] { FNodes->Delete(index); }, [this] { FNodes->SetOwnsObjects(true); });
}

void TPelGraph::AddNode(TPelGraphNode* Node) {
  if (FAdding || Holds(CheckAssigned(Node))) return;
  FAdding = true;
  TryFinally(
      [&] {
        FNodes->Add(Node);
        Node->SetGraph(this);
        Node->FListOwner = this;
        Node->FListStamp = FNextStamp++;
        IndexCaption(Node, Node->GetCaption());
        Change();
      },
      [this] { FAdding = false; });
  TPelCustomGraph::AddNode(Node);
}

void TPelGraph::Clear() {
  Updating(this, [this] {
    FAdding = true;
    TryFinally(
        [this] {
          // Each node torn down and freed in list order, then the list
          // emptied once rather than deleting its first entry each time.
          for (int32_t i = 0; i < FNodes->GetCount(); ++i) {
            TPelGraphNode* node = GetNode(i);
            node->FastClear();
            node->FListOwner = nullptr;
            Free(node);
          }
          FNodes->SetOwnsObjects(false);
          TryFinally([this] { FNodes->Clear(); }, [this] { FNodes->SetOwnsObjects(true); });
          FCaptionSlots.clear();
          FCaptionCount = 0;
          FCaptionsIndexed = false;
          FNextNodeId = 0;
        },
        [this] { FAdding = false; });
  });
}

TPelGraphNode* TPelGraph::FindNode(const String& Caption) {
  if (!FCaptionsIndexed) IndexCaptions();
  if (FCaptionSlots.empty()) return nullptr;
  return FCaptionSlots[CaptionSlot(Caption, std::hash<String>()(Caption))].Head;
}

IPtr<IIterator> TPelGraph::GetNodes() { return IPtr<IIterator>(New<TNodeListIterator>(FNodes)); }

bool TPelGraph::RemoveNode(TPelGraphNode* Node) {
  TPelCustomGraph::RemoveNode(Node);
  if (!Holds(Node)) return false;
  Detach(Node);
  Free(Node);
  Change();
  return true;
}

TPelGraphNode* TPelGraph::Extract(TPelGraphNode* Node) {
  if (!Holds(Node)) return nullptr;
  Detach(Node);
  return Node;
}

void TPelGraph::TextChange(TPelGraphNode* Node, String& NewCaption) {
  TPelCustomGraph::TextChange(Node, NewCaption);
  if (!Holds(Node)) return;
  UnindexCaption(Node, Node->GetCaption());
  IndexCaption(Node, NewCaption);
}

}  // namespace pel
