// PelGraph: graphs of captioned nodes joined by edges, directed or
// undirected, with optional integer weights, as components that stream
// with their owner.
//
// Ownership: a graph owns its nodes; an edge belongs jointly to its two
// nodes and unregisters itself from both when it is freed. A node's edge
// list holds, in insertion order, the edges it starts and, in an undirected
// graph, also the edges it ends (a loop is listed once). Its in-degree
// counts the edges ending at it (in an undirected graph, every edge incident
// to it).
//
// Two containers: TPelLabelGraph keeps a string hash table from caption to
// node and refuses a second node with a caption already used; TPelGraph
// keeps the nodes in an owning object list in insertion order (GetNode) and
// accepts repeated captions. TPelGraph finds a caption in constant expected
// time through an index built on the first search and kept up to date on
// add, remove and rename from then on; the first node bearing the caption in
// list order wins.
//
// The algorithms (depth-first search, topological order, shortest paths)
// are operations of TPelCustomGraph and TWeightedNode and report through the
// nodes' Visited, WorkTag, Weight and ShortestPath.
//
// Streaming: the nodes and edges travel as the defined property "NodeNEdges"
// (see StoreNodesProperty). A stream names node and edge classes; the reader
// finds them with FindGraphClass, so a program registers its own node and
// edge classes with RegisterGraphClass before reading. A stream that names
// an unknown class, or is cut short, leaves the graph as it was: every node
// read so far is freed again (with its edges) and the caption counter is
// restored.
//
// Edges made directly (New<TPelGraphEdge>) between nodes outside any graph
// are the caller's to free.
//
// Memory: nodes and edges (of every class), and the nodes' edge lists, come
// from the library's cells (see foundation/Cells.h): a graph of millions of
// edges pays no allocator header per object or list.
//
// Events: the published handlers carry the method name a stream gave them
// (kept so that it is written back); code assigns the handlers themselves
// with SetOnChange and the like.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <vector>

#include "foundation/Cells.h"
#include "foundation/CommonInterfaces.h"
#include "hashing/PelHashTable.h"
#include "platform/Classes.h"
#include "platform/Contnrs.h"
#include "platform/SysUtils.h"

namespace pel {

class TPelGraphNode;
class TPelGraphEdge;
class TPelCustomGraph;
class TPelGraph;
class TPelLabelGraph;
class TWeightedNode;

// Edge and node weights; InfiniteWeight stands for "no path".
using TGraphWeight = int32_t;
constexpr TGraphWeight InfiniteWeight = 2147483647;

// Weight arithmetic wraps around on overflow, as the framework's unchecked
// 32-bit integers do; only the infinite weight is ever tested for.
constexpr TGraphWeight AddWeights(TGraphWeight A, TGraphWeight B) {
  return static_cast<TGraphWeight>(static_cast<uint32_t>(A) + static_cast<uint32_t>(B));
}
constexpr TGraphWeight SubtractWeights(TGraphWeight A, TGraphWeight B) {
  return static_cast<TGraphWeight>(static_cast<uint32_t>(A) - static_cast<uint32_t>(B));
}

using TNodeNotifyEvent = std::function<void(TObject* Sender, TPelGraphNode* ANode)>;
// The handler may change NewCaption; the node takes the changed text.
using TNodeCaptionEvent =
    std::function<void(TObject* Sender, TPelGraphNode* ANode, String& NewCaption)>;

PEL_EXCEPTION(EGraphException, Exception)

// Messages of this unit.
constexpr const char* SEdgeNodesInvalid = "Edge must be created with two valid nodes";
constexpr const char* SNodeUnconnected = "Node \"%s\" is unconnected to any graph";
constexpr const char* SDuplicateNodeNames = "Duplicate node names not allowed";
constexpr const char* SGraphNotAcyclic = "Graph is not acyclic";
// Declared for users of the unit; no operation raises it.
constexpr const char* SGraphNotWeighted = "Graph is not a weighted graph";
constexpr const char* SUnknownNodeClass = "Unknown graph node class %s";
constexpr const char* SUnknownEdgeClass = "Unknown graph edge class %s";

// ---------------------------------------------------------------------------
// Edges

class TPelGraphEdge : public TPersistent {
  PEL_CLASS(TPelGraphEdge, TPersistent)
  PEL_PUBLISHED(TPelGraphEdge, Property<&TPelGraphEdge::GetFromNode>("FromNode"),
                Property<&TPelGraphEdge::GetToNode>("ToNode"))
 public:
  // The edge family's virtual constructor takes the two end nodes.
  using TCreateArgs = TCtorArgs<TPelGraphNode*, TPelGraphNode*>;

  TPelGraphEdge(TPelGraphNode* AFromNode, TPelGraphNode* AToNode)
      : FFromNode(AFromNode), FToNode(AToNode) {}
  // Edges and nodes come from the cells (see the unit's header comment).
  PEL_CELL_ALLOCATED
  // Both ends must be present ("Edge must be created with two valid
  // nodes"); then FromNode.AddingEdgeTo and ToNode.AddingEdgeFrom.
  void AfterConstruction() override;
  // FromNode.RemovingEdgeTo, then ToNode.RemovingEdgeFrom.
  void BeforeDestruction() override;

  // An edge carries no data of its own (its ends are fixed when it is
  // made), so another edge assigns as nothing; other sources go to
  // TPersistent.
  void Assign(TPersistent* Source) override;

  virtual void ReadData(TReader* Reader);
  virtual void WriteData(TWriter* Writer);
  // Detaches the edge while its graph is torn down, without notifications
  // (see TPelGraphNode::FastClear).
  virtual void FastClear(TPelGraphNode* Node);

  // Reports a change of the edge as a change of its FromNode.
  void Change();
  TPelGraphNode* GetFromNode() const { return FFromNode; }
  TPelGraphNode* GetToNode() const { return FToNode; }

 private:
  void Unregister();
  friend class TPelGraphNode;

  TPelGraphNode* FFromNode;
  TPelGraphNode* FToNode;
  // Whether the edge is in its FromNode's list (bit 1) and in its ToNode's
  // (bit 2), so that registering it asks no search of the list.
  uint8_t FListed = 0;
};

using TPelGraphEdgeClass = TClassOf<TPelGraphEdge, TPelGraphNode*, TPelGraphNode*>;

class TWeightedEdge : public TPelGraphEdge {
  PEL_CLASS(TWeightedEdge, TPelGraphEdge)
  PEL_PUBLISHED(TWeightedEdge,
                Property<&TWeightedEdge::GetWeight, &TWeightedEdge::SetWeight>("Weight"))
 public:
  using TPelGraphEdge::TPelGraphEdge;

  // Copies Weight from another weighted edge.
  void Assign(TPersistent* Source) override;
  // Base data, then Weight as an integer.
  void ReadData(TReader* Reader) override;
  void WriteData(TWriter* Writer) override;

  TGraphWeight GetWeight() const { return FWeight; }
  // Stores and reports the change when different.
  void SetWeight(TGraphWeight Value);

 private:
  TGraphWeight FWeight = 0;
};

// ---------------------------------------------------------------------------
// Nodes

class TPelGraphNode : public TPersistent {
  PEL_CLASS(TPelGraphNode, TPersistent)
  PEL_PUBLISHED(
      TPelGraphNode, Property<&TPelGraphNode::GetCaption, &TPelGraphNode::SetCaption>("Caption"),
      Property<&TPelGraphNode::GetGraph, &TPelGraphNode::SetGraph>("Graph"),
      Property<&TPelGraphNode::GetVisited, &TPelGraphNode::SetVisited>("Visited").WithDefault(0),
      Property<&TPelGraphNode::GetOnChangeName, &TPelGraphNode::SetOnChangeName>(
          "OnChange", &TypeInfoNotifyEvent),
      Property<&TPelGraphNode::GetWorkTag, &TPelGraphNode::SetWorkTag>("WorkTag"))
  friend class TPelGraph;
  friend class TPelGraphEdge;

 public:
  // The node family's virtual constructor takes the graph.
  using TCreateArgs = TCtorArgs<TPelCustomGraph*>;

  explicit TPelGraphNode(TPelCustomGraph* AGraph);
  ~TPelGraphNode() override;
  PEL_CELL_ALLOCATED
  // Captions the node with its own class name and the graph's next id
  // ("TPelGraphNode0" for a graph's first node), then joins the graph. A
  // missing graph is an access violation.
  void AfterConstruction() override;
  // Drops OnChange and leaves the graph (SetGraph(nullptr)).
  void BeforeDestruction() override;

  // Caption (through SetCaption), then Change.
  void Assign(TPersistent* Source) override;

  // Registration hooks called by the edges, in the order descendants rely on.
  virtual void AddingEdgeFrom(TPelGraphNode* Node, TPelGraphEdge* Edge);
  virtual void AddingEdgeTo(TPelGraphNode* Node, TPelGraphEdge* Edge);
  // Teardown without notifications, used when the whole graph goes: frees
  // the edges this node starts, detaches the others, forgets the graph.
  virtual void FastClear();
  virtual void WriteData(TWriter* Writer);
  virtual void ReadData(TReader* Reader);
  virtual void RemovingEdgeFrom(TPelGraphNode* Node, TPelGraphEdge* Edge);
  virtual void RemovingEdgeTo(TPelGraphNode* Node, TPelGraphEdge* Edge);
  // Frees this node's edges that end at Node.
  virtual void RemovePredecessors(TPelGraphNode* Node);
  // The edge class that belongs to the node class, between the two nodes.
  virtual TPelGraphEdge* NewEdge(TPelGraphNode* FromNode, TPelGraphNode* ToNode);
  // A new edge from this node; "Node "%s" is unconnected to any graph"
  // when the node has no graph.
  virtual TPelGraphEdge* AddEdge(TPelGraphNode* ToNode);
  virtual void BeginUpdate();
  // Frees every edge of the list and, in a directed graph, the edges that
  // end here.
  virtual void Clear();
  virtual void EndUpdate();
  virtual void RemoveEdge(int32_t Index);
  // Frees every edge ending here: Clear in an undirected graph; in a
  // directed one every node of the graph is asked to free its edges to this
  // node.
  virtual void RemovePredecessors();

  // Makes room in the edge list for Capacity edges at once (a power of two
  // at least), so that a program that knows a node's degree spares the list
  // its regrowth; a smaller capacity changes nothing. Beyond MaxListSize:
  // EListError "List capacity out of bounds (%d)".
  void SetEdgeCapacity(int32_t Capacity);
  TPelGraphEdge* GetEdge(int32_t Index) const;
  // GetEdge without the index check, for loops that test Index against
  // GetEdgeCount just before each access.
  TPelGraphEdge* GetEdgeUnchecked(int32_t Index) const { return FEdgeFirst[Index]; }
  int32_t GetEdgeCount() const { return FEdgeCount; }
  // The number of edges in the node's list.
  int32_t GetOutDegree() const { return FEdgeCount; }
  int32_t GetInDegree() const { return FInDegree; }
  int32_t IndexOfEdge(TPelGraphEdge* Edge) const;
  // The first edge whose ToNode is Node, or -1.
  int32_t IndexOfEdgeTo(TPelGraphNode* Node) const;
  void RemoveEdge(TPelGraphEdge* Edge);
  const String& GetCaption() const { return FCaption; }
  // When different: the graph may veto or change the text (TextChange),
  // then the node stores it.
  void SetCaption(const String& Value);
  bool GetVisited() const { return FVisited; }
  void SetVisited(bool Value) { FVisited = Value; }
  TPelCustomGraph* GetGraph() const { return FGraph; }
  // Leaves the old graph (clearing the edges) and joins the new one.
  void SetGraph(TPelCustomGraph* Value);
  int32_t GetWorkTag() const { return FWorkTag; }
  void SetWorkTag(int32_t Value) { FWorkTag = Value; }
  const TNotifyEvent& GetOnChange() const;
  void SetOnChange(TNotifyEvent Value);
  const String& GetOnChangeName() const;
  void SetOnChangeName(const String& Value);
  int32_t GetUpdateCount() const { return FUpdateCount; }

  void TextChange(String& NewCaption);
  // Unless an update is open: the graph's NodeChange, then OnChange.
  void Change();
  // Whether the node's graph is undirected; following a missing graph is an
  // access violation.
  bool Undirected() const;

 private:
  // The edge list: FEdgeCount edges from FEdgeFirst on, in a block of
  // 2^FEdgeBlock entries (none while FEdgeBlock is 0) that starts FEdgeGap
  // entries earlier: deleting the first edge widens the gap instead of moving
  // the others. The block comes from the cells and doubles when full.
  void ListEdge(TPelGraphEdge* Edge);
  // Moves the edges to the start of a new block of 2^Log2 entries.
  void MoveEdgeList(uint8_t Log2);
  void UnlistEdgeAt(int32_t Index);
  int32_t ScanEdges(TPelGraphEdge* Edge) const;
  void ClearEdgeList();
  // The bit of Edge's FListed that stands for this node's list; 0 when the
  // node is neither of its ends.
  uint8_t ListBit(const TPelGraphEdge* Edge) const {
    return Edge->FFromNode == this ? 1 : Edge->FToNode == this ? 2 : 0;
  }

  // The handler and its name, kept apart: most nodes have neither.
  struct THandlers {
    TNotifyEvent OnChange;
    String OnChangeName;
  };

  String FCaption;
  std::unique_ptr<THandlers> FHandlers;
  // Bookkeeping of TPelGraph's caption index: the list holding the node,
  // the node's insertion stamp there, and the next node (in list order)
  // bearing the same caption.
  TPelGraph* FListOwner = nullptr;
  uint64_t FListStamp = 0;
  TPelGraphNode* FNextSameCaption = nullptr;
  int32_t FUpdateCount = 0;
  bool FVisited = false;
  uint8_t FEdgeBlock = 0;
  // What the algorithms read and write for every edge come last, so that
  // they share a cache line with the fields of the node classes built on
  // this one (a weight, an event's times).
  TPelGraphEdge** FEdgeFirst = nullptr;
  int32_t FEdgeGap = 0;
  int32_t FEdgeCount = 0;
  TPelCustomGraph* FGraph;
  int32_t FInDegree = 0;
  int32_t FWorkTag = 0;
};

using TPelGraphNodeClass = TClassOf<TPelGraphNode, TPelCustomGraph*>;

// A node that also keeps its predecessors, so that removing the edges
// ending here does not scan the graph.
class TPelLinkedGraphNode : public TPelGraphNode {
  PEL_CLASS(TPelLinkedGraphNode, TPelGraphNode)
 public:
  using TPelGraphNode::RemovePredecessors;

  explicit TPelLinkedGraphNode(TPelCustomGraph* AGraph);
  ~TPelLinkedGraphNode() override;

  void AddingEdgeFrom(TPelGraphNode* Node, TPelGraphEdge* Edge) override;
  void RemovingEdgeFrom(TPelGraphNode* Node, TPelGraphEdge* Edge) override;
  void RemovePredecessors() override;

  // The FromNode of every edge registered as ending here, once per edge.
  int32_t GetPredecessorCount() const { return FPredecessors->GetCount(); }
  TPelGraphNode* GetPredecessor(int32_t Index) const;

 private:
  TList* FPredecessors;
};

class TWeightedNode : public TPelGraphNode {
  PEL_CLASS(TWeightedNode, TPelGraphNode)
  PEL_PUBLISHED(TWeightedNode, Property<&TWeightedNode::GetShortestPath>("ShortestPath"),
                Property<&TWeightedNode::GetWeight, &TWeightedNode::SetWeight>("Weight"))
 public:
  using TPelGraphNode::TPelGraphNode;
  ~TWeightedNode() override;

  // Caption and Change, then Weight from a weighted source.
  void Assign(TPersistent* Source) override;
  void WriteData(TWriter* Writer) override;
  void ReadData(TReader* Reader) override;
  // A TWeightedEdge.
  TPelGraphEdge* NewEdge(TPelGraphNode* FromNode, TPelGraphNode* ToNode) override;

  // The neighbour reached by this node's lightest edge among those whose
  // far end has the visited state Visited; nothing when none qualifies.
  TWeightedNode* ClosestNode(bool Visited);

  // The path recorded by EnumerateShortestPaths: captions from the start
  // node to this node, each with its node. Null until the first recording.
  TStringList* GetShortestPath() const { return FShortestPath; }
  TGraphWeight GetWeight() const { return FWeight; }
  void SetWeight(TGraphWeight Value) { FWeight = Value; }

 private:
  friend class TPelCustomGraph;
  TStringList* FShortestPath = nullptr;
  TGraphWeight FWeight = 0;
};

// ---------------------------------------------------------------------------
// Graphs

// The run-time descriptions of the node event types, for the published
// handlers.
extern const TTypeInfo TypeInfoNodeNotifyEvent;
extern const TTypeInfo TypeInfoNodeCaptionEvent;

// Published (and so streamed): Directed, NodeCount (read-only) and the
// handlers' method names.
class TPelCustomGraph : public TComponent {
  PEL_CLASS(TPelCustomGraph, TComponent)
  PEL_PUBLISHED(
      TPelCustomGraph,
      Property<&TPelCustomGraph::GetDirected, &TPelCustomGraph::SetDirected>("Directed")
          .WithDefault(0),
      Property<&TPelCustomGraph::GetNodeCount>("NodeCount"),
      Property<&TPelCustomGraph::GetHandlerName<hOnAddNode>,
               &TPelCustomGraph::SetHandlerName<hOnAddNode>>("OnAddNode", &TypeInfoNodeNotifyEvent),
      Property<&TPelCustomGraph::GetHandlerName<hOnRemoveNode>,
               &TPelCustomGraph::SetHandlerName<hOnRemoveNode>>("OnRemoveNode",
                                                                &TypeInfoNodeNotifyEvent),
      Property<&TPelCustomGraph::GetHandlerName<hOnChange>,
               &TPelCustomGraph::SetHandlerName<hOnChange>>("OnChange", &TypeInfoNotifyEvent),
      Property<&TPelCustomGraph::GetHandlerName<hOnNodeCaptionChange>,
               &TPelCustomGraph::SetHandlerName<hOnNodeCaptionChange>>("OnNodeCaptionChange",
                                                                       &TypeInfoNodeCaptionEvent),
      Property<&TPelCustomGraph::GetHandlerName<hOnNodeChange>,
               &TPelCustomGraph::SetHandlerName<hOnNodeChange>>("OnNodeChange",
                                                                &TypeInfoNodeNotifyEvent))

 public:
  explicit TPelCustomGraph(TComponent* AOwner);
  // Frees every node (without notifying the handlers, which are dropped
  // first), then the component's own teardown.
  void BeforeDestruction() override;

  // From another graph: a copy of its nodes (same classes) and edges.
  void Assign(TPersistent* Source) override;
  // The graph changed while it was read.
  void Loaded() override;
  // "NodeNEdges", when the graph has nodes.
  void DefineProperties(TFiler* Filer) override;

  // Virtual operations, in the order descendants rely on.
  // The containers' common part, after they have stored Node: the pending
  // node updates, then OnAddNode.
  virtual void AddNode(TPelGraphNode* Node);
  virtual int32_t GetNodeCount() = 0;
  // A node of the graph's node class, captioned by its class and id.
  virtual TPelGraphNode* NewNode();
  // Re-registers every edge for the new kind of graph. A loop made in a
  // directed graph counts twice in its node's in-degree once the graph is
  // undirected (a loop made there counts once): intended.
  virtual void SetDirected(bool Value);
  // Called for each edge during TopologicalOrder: lowers the successor's
  // working in-degree (its WorkTag).
  virtual void ModifySuccessor([[maybe_unused]] TPelGraphNode* Node, TPelGraphNode* Successor,
                               [[maybe_unused]] TPelGraphEdge* Edge) {
    Successor->SetWorkTag(Successor->GetWorkTag() - 1);
  }
  virtual void Clear() = 0;
  virtual TPelGraphNode* CreateNode(const String& Caption);
  virtual void BeginUpdate();
  virtual void BeginUpdateNodes();
  // The unvisited (or visited) weighted node of smallest weight; ties go to
  // the first in enumeration order; Node itself when none qualifies.
  virtual TWeightedNode* ClosestNode(TPelGraphNode* Node, bool Visited);
  // Marks every node reachable from Node. The walk keeps its own stack (a
  // deep graph does not exhaust the machine's), visiting in the order of a
  // recursive search; a descendant that overrides it is called once per
  // search, not once per node.
  virtual void DepthFirstSearch(TPelGraphNode* Node);
  virtual void EndUpdate();
  virtual void EndUpdateNodes();
  virtual TPelGraphNode* FindNode(const String& Caption) = 0;
  // An iterator over the nodes (pointers to TPelGraphNode) in the graph's
  // enumeration order; do not change the graph while it is in use.
  virtual IPtr<IIterator> GetNodes() = 0;
  // Resets every node before a search (visited flag, weight, paths).
  virtual void InitializeNodes(TPelGraphNode* StartNode, bool Visited);
  // Asks every node to free its edges that end at Node.
  virtual void RemovePredecessors(TPelGraphNode* Node);
  // Fires OnRemoveNode; the containers then remove and free Node, true
  // when it was theirs.
  virtual bool RemoveNode(TPelGraphNode* Node);
  // Takes Node out of the container without freeing it; Node, or null
  // when the container did not hold it. The node still names the graph and
  // keeps its edges (intended): free it, or move it with SetGraph, while
  // the graph lives.
  virtual TPelGraphNode* Extract(TPelGraphNode* Node) = 0;
  // Single-source shortest path weights into every node's Weight.
  virtual void ShortestPath(TPelGraphNode* StartNode);
  // A topological order of a directed graph into List (a new string list
  // when List is null; the caller owns it), by Kahn's method with a stack:
  // ties go to the node made ready last. On a cycle, the prefix that could
  // be ordered; an undirected graph gives an empty list.
  virtual TStrings* TopologicalOrder(TStrings* List);
  // Lets the graph veto or change a node's new caption: fires
  // OnNodeCaptionChange.
  virtual void TextChange(TPelGraphNode* Node, String& NewCaption);

  TPelGraphNode* Extract(const String& Caption);
  bool RemoveNode(const String& Caption);
  // InitializeNodes(Node, false), then DepthFirstSearch(Node).
  void TraverseFrom(TPelGraphNode* Node);
  // Whether the directed graph has no cycle; sorts again only after a change.
  bool IsAcyclic();
  // ShortestPath, also recording each node's path in its ShortestPath list.
  void EnumerateShortestPaths(TPelGraphNode* StartNode);
  // Sets the stale flag; OnChange unless an update is open.
  void Change();
  // Sets the stale flag; OnNodeChange unless an update is open.
  void NodeChange(TPelGraphNode* Node);
  // The next id for a new node's caption (counting from 0).
  int32_t NewNodeId() { return FNextNodeId++; }
  void LoadNodesProperty(TReader* Reader);
  void StoreNodesProperty(TWriter* Writer);

  bool GetDirected() const { return FDirected; }
  TPelGraphNodeClass GetNodeClass() const { return FNodeClass; }
  void SetNodeClass(TPelGraphNodeClass Value) { FNodeClass = Value; }
  int32_t GetUpdateCount() const { return FUpdateCount; }
  int32_t GetNodeUpdateCount() const { return FNodeUpdateCount; }

  const TNotifyEvent& GetOnChange() const { return FOnChange; }
  void SetOnChange(TNotifyEvent Value) { FOnChange = std::move(Value); }
  const TNodeNotifyEvent& GetOnNodeChange() const { return FOnNodeChange; }
  void SetOnNodeChange(TNodeNotifyEvent Value) { FOnNodeChange = std::move(Value); }
  const TNodeCaptionEvent& GetOnNodeCaptionChange() const { return FOnNodeCaptionChange; }
  void SetOnNodeCaptionChange(TNodeCaptionEvent Value) { FOnNodeCaptionChange = std::move(Value); }
  const TNodeNotifyEvent& GetOnAddNode() const { return FOnAddNode; }
  void SetOnAddNode(TNodeNotifyEvent Value) { FOnAddNode = std::move(Value); }
  const TNodeNotifyEvent& GetOnRemoveNode() const { return FOnRemoveNode; }
  void SetOnRemoveNode(TNodeNotifyEvent Value) { FOnRemoveNode = std::move(Value); }

 protected:
  // The published handler names (see the unit's header comment).
  enum THandler : uint8_t {
    hOnChange,
    hOnNodeChange,
    hOnNodeCaptionChange,
    hOnAddNode,
    hOnRemoveNode
  };
  template <THandler H>
  String GetHandlerName() const {
    return FHandlerNames[H];
  }
  template <THandler H>
  void SetHandlerName(const String& Value) {
    FHandlerNames[H] = Value;
  }

  // Calls Fn for every node in enumeration order. The iterator of a plain
  // node list is walked through the list itself, as it would walk it.
  template <class Fn>
  void ForEachNode(Fn&& F) {
    IPtr<IIterator> nodes = GetNodes();
    if (TList* list = NodeListOf(nodes.get())) {
      for (int32_t i = 0; i < list->GetCount(); ++i)
        F(static_cast<TPelGraphNode*>(list->List()[i]));
      return;
    }
    while (nodes->HasMoreElements()) F(static_cast<TPelGraphNode*>(nodes->NextElement()));
  }
  // The list that Nodes, a fresh iterator of TPelGraph's nodes, walks; null
  // for every other iterator.
  static TList* NodeListOf(IIterator* Nodes);
  // TopologicalOrder's handling of its list around the walk: List (a new
  // string list when null) unsorted and emptied, then, in a directed graph,
  // handed to Walk, which appends the nodes in order and answers whether
  // every node is in (kept for IsAcyclic). A plain string list that nobody
  // watches is sized for every node first and, short of a full order, left
  // with the capacity its appends would have given it.
  TStrings* FillOrder(TStrings* List, const std::function<bool(TStrings*)>& Walk);

  // Set while a node is being added, so that AddNode and SetGraph do not
  // call each other in circles.
  bool FAdding = false;
  int32_t FNextNodeId = 0;

 private:
  bool FAcyclic = false;
  bool FStale = true;
  bool FDirected = false;
  bool FRecordPaths = false;
  TNotifyEvent FOnChange;
  TNodeNotifyEvent FOnNodeChange;
  int32_t FUpdateCount = 0;
  int32_t FNodeUpdateCount = 0;
  TNodeCaptionEvent FOnNodeCaptionChange;
  TPelGraphNodeClass FNodeClass;
  TNodeNotifyEvent FOnAddNode;
  TNodeNotifyEvent FOnRemoveNode;
  String FHandlerNames[5];
};

// Nodes found by caption in a string hash table; captions are unique.
class TPelLabelGraph : public TPelCustomGraph {
  PEL_CLASS(TPelLabelGraph, TPelCustomGraph)
 public:
  using TPelCustomGraph::Extract;
  using TPelCustomGraph::RemoveNode;

  explicit TPelLabelGraph(TComponent* AOwner);
  ~TPelLabelGraph() override;

  // Stores Node under its caption and joins it to the graph; another node
  // under the caption raises EListError "Duplicate node names not allowed".
  // Adding a node the graph holds already changes nothing.
  void AddNode(TPelGraphNode* Node) override;
  int32_t GetNodeCount() override { return FNodes->GetCount(); }
  // Every node torn down and freed in enumeration order; captions of new
  // nodes count from 0 again (intended).
  void Clear() override;
  TPelGraphNode* FindNode(const String& Caption) override;
  IPtr<IIterator> GetNodes() override;
  bool RemoveNode(TPelGraphNode* Node) override;
  TPelGraphNode* Extract(TPelGraphNode* Node) override;
  // Re-keys the node under NewCaption, then the base (OnNodeCaptionChange).
  // The key is the caption before the handler had its say, and a caption
  // that another node bears takes the key over: intended.
  void TextChange(TPelGraphNode* Node, String& NewCaption) override;

 private:
  // Whether Node is stored under its caption.
  bool Holds(TPelGraphNode* Node);
  // Moves Node's key; a caption another node bears raises the duplicate
  // error before anything changes.
  void Rekey(TPelGraphNode* Node, const String& OldCaption, const String& NewCaption);

  TPelStringHashtable* FNodes;
};

// Nodes in an owning list in insertion order; captions may repeat.
class TPelGraph : public TPelCustomGraph {
  PEL_CLASS(TPelGraph, TPelCustomGraph)
 public:
  using TPelCustomGraph::Extract;
  using TPelCustomGraph::RemoveNode;

  explicit TPelGraph(TComponent* AOwner);
  ~TPelGraph() override;

  // Appends Node and joins it to the graph (no caption check). Adding a
  // node the graph holds already changes nothing.
  void AddNode(TPelGraphNode* Node) override;
  int32_t GetNodeCount() override { return FNodes->GetCount(); }
  // Every node torn down and freed in list order; captions of new nodes
  // count from 0 again (intended).
  void Clear() override;
  // The first node in list order bearing Caption, or null.
  TPelGraphNode* FindNode(const String& Caption) override;
  IPtr<IIterator> GetNodes() override;
  bool RemoveNode(TPelGraphNode* Node) override;
  TPelGraphNode* Extract(TPelGraphNode* Node) override;
  void TextChange(TPelGraphNode* Node, String& NewCaption) override;

  TPelGraphNode* GetNode(int32_t Index) const {
    return static_cast<TPelGraphNode*>(FNodes->Get(Index));
  }

 private:
  bool Holds(TPelGraphNode* Node) const { return Node && Node->FListOwner == this; }
  void IndexCaption(TPelGraphNode* Node, const String& Caption);
  void UnindexCaption(TPelGraphNode* Node, const String& Caption);
  // Takes Node out of the list and the index without freeing it.
  void Detach(TPelGraphNode* Node);

  TObjectList* FNodes;
  // Caption -> the first node bearing it; the others follow in list order
  // through FNextSameCaption. Open addressing with linear probing over the
  // first nodes, whose captions are the keys: no allocation per caption.
  struct TCaptionSlot {
    std::size_t Hash;
    TPelGraphNode* Head;
  };
  // The slot of Caption's first node, or the empty slot where it would go.
  std::size_t CaptionSlot(const String& Caption, std::size_t Hash) const;
  void GrowCaptionSlots();
  void EraseCaptionSlot(std::size_t Index);
  // Builds the index, in list order, for the first search; until then adding
  // and renaming nodes leave it alone.
  void IndexCaptions();
  std::vector<TCaptionSlot> FCaptionSlots;
  std::size_t FCaptionCount = 0;
  bool FCaptionsIndexed = false;
  uint64_t FNextStamp = 1;
};

// ---------------------------------------------------------------------------
// Registration

// Makes a node or edge class known to graph streams (the library's own are
// always known).
void RegisterGraphClass(TClass AClass);
// The registered node or edge class of that name (case-insensitive), or null.
TClass FindGraphClass(const String& AClassName);

namespace PelGraph {
// Registers TPelLabelGraph and TPelGraph for streaming and on the palette
// page "Additional".
void Register();
}  // namespace PelGraph

}  // namespace pel
