#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <tuple>
#include <vector>

#include "graphs/PelGraph.h"
#include "platform/ExpectRaises.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

// A node class of the program's own, to show that captions and streams
// use the descendant's class.
class TCityNode : public TWeightedNode {
  PEL_CLASS(TCityNode, TWeightedNode)
 public:
  using TWeightedNode::TWeightedNode;
};

// Counts the sorts that IsAcyclic runs.
class TCountingGraph : public TPelGraph {
  PEL_CLASS(TCountingGraph, TPelGraph)
 public:
  using TPelGraph::TPelGraph;
  TStrings* TopologicalOrder(TStrings* List) override {
    ++Sorts;
    return TPelGraph::TopologicalOrder(List);
  }
  int Sorts = 0;
};

std::vector<String> Captions(TStrings* List) {
  std::vector<String> r;
  for (int32_t i = 0; i < List->GetCount(); ++i) r.push_back(List->Get(i));
  return r;
}

std::vector<String> Order(TPelCustomGraph* G) {
  Owned<TStrings> list(G->TopologicalOrder(nullptr));
  return Captions(list.get());
}

TWeightedNode* Weighted(TPelCustomGraph* G, const char* Caption) {
  auto* node = New<TWeightedNode>(G);
  node->SetCaption(Caption);
  return node;
}

void Join(TPelGraphNode* From, TPelGraphNode* To, TGraphWeight Weight) {
  As<TWeightedEdge>(From->AddEdge(To))->SetWeight(Weight);
}

// Each node as "caption class weight in-degree: from>to=weight ...", in
// list order or sorted (a label graph keeps no order).
std::string Describe(TPelCustomGraph* G, bool Sorted = false) {
  std::vector<std::string> lines;
  for (IPtr<IIterator> it = G->GetNodes(); it->HasMoreElements();) {
    auto* n = As<TWeightedNode>(static_cast<TPelGraphNode*>(it->NextElement()));
    std::string r = n->GetCaption() + " " + n->ClassName() + " " + IntToStr(n->GetWeight()) + " " +
                    IntToStr(n->GetInDegree()) + ":";
    for (int32_t j = 0; j < n->GetEdgeCount(); ++j) {
      auto* e = As<TWeightedEdge>(n->GetEdge(j));
      r += " " + e->GetFromNode()->GetCaption() + ">" + e->GetToNode()->GetCaption() + "=" +
           IntToStr(e->GetWeight());
    }
    lines.push_back(r + "\n");
  }
  if (Sorted) std::sort(lines.begin(), lines.end());
  std::string r;
  for (const std::string& line : lines) r += line;
  return r;
}

Owned<TMemoryStream> Saved(TComponent* C) {
  auto m = Make<TMemoryStream>();
  m->WriteComponent(C);
  m->SetPosition(0);
  return m;
}

}  // namespace

TEST(PelGraph, EdgeRegistrationFollowsDirection) {
  auto g = Make<TPelGraph>(nullptr);
  TPelGraphNode* a = g->CreateNode("A");
  TPelGraphNode* b = g->CreateNode("B");
  TPelGraphNode* c = g->CreateNode("C");
  TPelGraphEdge* ab = a->AddEdge(b);
  TPelGraphEdge* loop = c->AddEdge(c);
  // Undirected: the start counts it in its in-degree too; a loop once.
  EXPECT_EQ(a->GetInDegree(), 1);
  EXPECT_EQ(c->GetEdgeCount(), 1);
  EXPECT_EQ(c->GetInDegree(), 1);
  EXPECT_EQ(c->IndexOfEdgeTo(c), 0);

  g->SetDirected(true);
  EXPECT_EQ(a->GetEdgeCount(), 1);
  EXPECT_EQ(b->GetEdgeCount(), 0);
  EXPECT_EQ(a->GetInDegree(), 0);
  EXPECT_EQ(b->GetInDegree(), 1);
  EXPECT_EQ(c->GetEdgeCount(), 1);

  // Freeing an edge unregisters it from both ends, in either kind of graph.
  Free(ab);
  EXPECT_EQ(a->GetEdgeCount(), 0);
  EXPECT_EQ(b->GetInDegree(), 0);
  g->SetDirected(false);
  EXPECT_EQ(c->GetEdgeCount(), 1);
  Free(loop);
  EXPECT_EQ(c->GetEdgeCount(), 0);

  // A node's Clear frees the edges ending at it as well (directed graph).
  g->SetDirected(true);
  a->AddEdge(b);
  c->AddEdge(b);
  b->AddEdge(a);
  b->Clear();
  EXPECT_EQ(b->GetInDegree(), 0);
  EXPECT_EQ(a->GetEdgeCount() + b->GetEdgeCount() + c->GetEdgeCount(), 0);
  EXPECT_EQ(a->GetInDegree(), 0);

  ExpectRaises<EGraphException>([&] { New<TPelGraphEdge>(a, nullptr); },
                                "Edge must be created with two valid nodes");
  TPelGraphNode* lone = g->CreateNode("Lone");
  lone->SetGraph(nullptr);
  ExpectRaises<EGraphException>([&] { lone->AddEdge(a); },
                                "Node \"Lone\" is unconnected to any graph");
  Free(lone);
  EXPECT_EQ(g->GetNodeCount(), 3);
}

TEST(PelGraph, EdgeListsKeepInsertionOrderThroughRemovals) {
  // A node's list against a plain vector: appends, removals at the front
  // (cheap), in the middle and at the end, room made ahead (larger or
  // smaller than the list, with a gap at the front), a list emptied and
  // filled again.
  for (bool directed : {true, false}) {
    auto g = Make<TPelGraph>(nullptr);
    g->SetDirected(directed);
    TPelGraphNode* hub = g->CreateNode("hub");
    std::vector<TPelGraphNode*> others;
    for (int i = 0; i < 5; ++i) others.push_back(g->CreateNode("n" + IntToStr(i)));
    std::vector<TPelGraphEdge*> model;
    std::mt19937 rng(11);
    for (int step = 0; step < 2000; ++step) {
      const unsigned op = rng() % 9;
      if (op == 8) {
        hub->SetEdgeCapacity(static_cast<int32_t>(model.size() + rng() % 40) - 8);
      } else if (op < 4 || model.empty()) {
        model.push_back(hub->AddEdge(others[rng() % others.size()]));
      } else {
        const std::size_t at = op == 4 ? 0 : op == 5 ? model.size() - 1 : rng() % model.size();
        hub->RemoveEdge(model[at]);
        model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
      }
      ASSERT_EQ(hub->GetEdgeCount(), static_cast<int32_t>(model.size())) << step;
      for (std::size_t i = 0; i < model.size(); ++i) {
        ASSERT_EQ(hub->GetEdge(static_cast<int32_t>(i)), model[i]) << step;
        ASSERT_EQ(hub->IndexOfEdge(model[i]), static_cast<int32_t>(i)) << step;
      }
      // Undirected, the far ends list the edges as well.
      int32_t ending = 0, listedThere = 0;
      for (TPelGraphNode* n : others) ending += n->GetInDegree(), listedThere += n->GetEdgeCount();
      ASSERT_EQ(ending, static_cast<int32_t>(model.size()));
      ASSERT_EQ(listedThere, directed ? 0 : static_cast<int32_t>(model.size()));
    }
    // Registering a listed edge again lists it once; an edge of other nodes
    // is found by searching.
    TPelGraphEdge* first = hub->AddEdge(others[0]);
    const int32_t count = hub->GetEdgeCount();
    hub->AddingEdgeTo(others[0], first);
    EXPECT_EQ(hub->GetEdgeCount(), count);
    TPelGraphEdge* elsewhere = others[1]->AddEdge(others[2]);
    EXPECT_EQ(hub->IndexOfEdge(elsewhere), -1);
    hub->AddingEdgeTo(others[2], elsewhere);
    EXPECT_EQ(hub->IndexOfEdge(elsewhere), count);
    hub->RemovingEdgeTo(others[2], elsewhere);
    EXPECT_EQ(hub->IndexOfEdge(elsewhere), -1);
    EXPECT_EQ(hub->IndexOfEdge(nullptr), -1);
    ExpectRaises<EListError>([&] { hub->SetEdgeCapacity(MaxListSize + 1); },
                             "List capacity out of bounds (" + IntToStr(MaxListSize + 1) + ")");
    EXPECT_EQ(hub->GetEdgeCount(), count);
    ExpectRaises<EListError>([&] { hub->GetEdge(count); },
                             "List index out of bounds (" + IntToStr(count) + ")");
    EXPECT_ANY_THROW(hub->GetEdge(-1));
  }
}

// Node and edge classes larger than the allocator's cells; a node aligned as
// a vector register wants, and one beyond new's guarantee whose size (256)
// the cells would otherwise take.
class TBigNode : public TPelGraphNode {
  PEL_CLASS(TBigNode, TPelGraphNode)
 public:
  using TPelGraphNode::TPelGraphNode;
  char Payload[300] = {};
};
class TBigEdge : public TPelGraphEdge {
  PEL_CLASS(TBigEdge, TPelGraphEdge)
 public:
  using TPelGraphEdge::TPelGraphEdge;
  char Payload[300] = {};
};
class TAlignedNode : public TPelGraphNode {
  PEL_CLASS(TAlignedNode, TPelGraphNode)
 public:
  using TPelGraphNode::TPelGraphNode;
  long double Value = 0;
};
class alignas(256) TLineNode : public TPelGraphNode {
  PEL_CLASS(TLineNode, TPelGraphNode)
 public:
  using TPelGraphNode::TPelGraphNode;
};

TEST(PelGraph, NodesAndEdgesOfEverySizeOutliveEachOther) {
  // Objects of several sizes and alignments made and freed in turns: each
  // is aligned as its class asks and keeps its data while the others come
  // and go, and a graph made after all are freed works as the first did.
  for (int round = 0; round < 2; ++round) {
    auto g = Make<TPelGraph>(nullptr);
    g->SetDirected(true);
    std::vector<TPelGraphNode*> nodes;
    std::map<TPelGraphNode*, char> payloads;
    for (int i = 0; i < 3000; ++i) {
      TPelGraphNode* n = i % 5 == 0   ? New<TBigNode>(g.get())
                         : i % 5 == 1 ? New<TAlignedNode>(g.get())
                         : i % 5 == 2 ? New<TLineNode>(g.get())
                         : i % 5 == 3 ? static_cast<TPelGraphNode*>(New<TWeightedNode>(g.get()))
                                      : New<TPelGraphNode>(g.get());
      if (auto* big = dynamic_cast<TBigNode*>(n))
        payloads[n] = big->Payload[299] = static_cast<char>(i);
      const std::size_t align = i % 5 == 1 ? alignof(TAlignedNode) : i % 5 == 2 ? 256 : 1;
      ASSERT_EQ(reinterpret_cast<uintptr_t>(n) % align, 0u) << i;
      nodes.push_back(n);
      if (i > 0) {
        if (i % 2)
          New<TBigEdge>(nodes[i - 1], n)->Payload[0] = 'x';
        else
          nodes[i - 1]->AddEdge(n);
      }
      if (i % 3 == 2) {
        payloads.erase(nodes[i - 2]);
        ASSERT_TRUE(g->RemoveNode(nodes[i - 2]));
      }
    }
    int32_t edges = 0;
    for (int32_t i = 0; i < g->GetNodeCount(); ++i) {
      TPelGraphNode* n = g->GetNode(i);
      auto* big = dynamic_cast<TBigNode*>(n);
      EXPECT_TRUE(!big || big->Payload[299] == payloads.at(n));
      for (int32_t k = 0; k < n->GetEdgeCount(); ++k, ++edges) {
        auto* bigEdge = dynamic_cast<TBigEdge*>(n->GetEdge(k));
        EXPECT_TRUE(!bigEdge || bigEdge->Payload[0] == 'x');
      }
    }
    EXPECT_EQ(g->GetNodeCount(), 2000);
    EXPECT_EQ(edges, 1000);
    EXPECT_EQ(Order(g.get()).size(), 2000u);
  }
}

TEST(PelGraph, CaptionsComeFromClassAndCounter) {
  auto g = Make<TPelGraph>(nullptr);
  EXPECT_EQ(g->NewNode()->GetCaption(), "TPelGraphNode0");
  EXPECT_EQ(New<TCityNode>(g.get())->GetCaption(), "TCityNode1");
  EXPECT_EQ(New<TPelLinkedGraphNode>(g.get())->GetCaption(), "TPelLinkedGraphNode2");
  g->Clear();
  EXPECT_EQ(g->NewNode()->GetCaption(), "TPelGraphNode0");
  g->SetNodeClass(TCityNode::StaticClass());
  EXPECT_EQ(g->CreateNode("Rome")->ClassType(), TCityNode::StaticClass());
  EXPECT_THROW(New<TPelGraphNode>(nullptr), EAccessViolation);
}

TEST(PelGraph, LabelGraphKeepsCaptionsUnique) {
  auto g = Make<TPelLabelGraph>(nullptr);
  TPelGraphNode* a = g->CreateNode("A");
  TPelGraphNode* b = g->CreateNode("B");
  // A node captioned like another, from elsewhere, is refused.
  auto other = Make<TPelGraph>(nullptr);
  TPelGraphNode* stranger = other->CreateNode("A");
  ExpectRaises<EListError>([&] { g->AddNode(stranger); }, "Duplicate node names not allowed");
  EXPECT_EQ(stranger->GetGraph(), other.get());
  EXPECT_THROW(g->CreateNode("B"), EListError);
  EXPECT_EQ(g->GetNodeCount(), 2);
  g->AddNode(a);  // the node it holds already
  EXPECT_EQ(g->GetNodeCount(), 2);
  EXPECT_THROW(b->SetCaption("A"), EListError);
  EXPECT_EQ(b->GetCaption(), "B");
  EXPECT_EQ(g->FindNode("B"), b);

  // A handler may change the new caption; the key follows it.
  g->SetOnNodeCaptionChange(
      [](TObject*, TPelGraphNode*, String& NewCaption) { NewCaption += "!"; });
  a->SetCaption("Z");
  EXPECT_EQ(a->GetCaption(), "Z!");
  EXPECT_EQ(g->FindNode("Z!"), a);
  EXPECT_EQ(g->FindNode("A"), nullptr);

  a->AddEdge(b);
  EXPECT_TRUE(g->RemoveNode("Z!"));
  EXPECT_FALSE(g->RemoveNode("Z!"));
  EXPECT_EQ(b->GetEdgeCount() + b->GetInDegree(), 0);
  EXPECT_EQ(g->GetNodeCount(), 1);
}

TEST(PelGraph, PlainGraphFindsTheFirstNodeBearingACaption) {
  // Random adds, renames, removals (by node and by caption) and extractions
  // against a linear search of the list. Searches come at some steps only,
  // and the graph is cleared now and then, so the index is also built after
  // a run of changes.
  auto g = Make<TPelGraph>(nullptr);
  std::mt19937 rng(7);
  std::vector<String> names;
  for (int i = 0; i < 24; ++i) names.push_back("c" + IntToStr(i));
  auto first = [&](const String& name) -> TPelGraphNode* {
    for (int32_t i = 0; i < g->GetNodeCount(); ++i)
      if (g->GetNode(i)->GetCaption() == name) return g->GetNode(i);
    return nullptr;
  };
  for (int step = 0; step < 3000; ++step) {
    const int32_t count = g->GetNodeCount();
    const unsigned op = rng() % 5;
    const String& name = names[rng() % names.size()];
    if (step % 700 == 699) {
      g->Clear();
    } else if (op == 0 || count == 0) {
      g->CreateNode(name);
    } else if (op == 1) {
      g->GetNode(static_cast<int32_t>(rng() % count))->SetCaption(name);
    } else if (op == 2 && count > 40) {
      ASSERT_TRUE(g->RemoveNode(g->GetNode(static_cast<int32_t>(rng() % count))));
    } else if (op == 3 && count > 40) {
      const bool bearer = first(name) != nullptr;
      ASSERT_EQ(g->RemoveNode(name), bearer);
    } else {
      TPelGraphNode* node = g->GetNode(static_cast<int32_t>(rng() % count));
      ASSERT_EQ(g->Extract(node), node);
      g->AddNode(node);
      EXPECT_EQ(node->GetGraph(), g.get());
    }
    if (rng() % 4) continue;
    for (const String& n : names) ASSERT_EQ(g->FindNode(n), first(n)) << n << " at step " << step;
  }
  EXPECT_GT(g->GetNodeCount(), 30);
}

TEST(PelGraph, EventsAndUpdateBrackets) {
  auto g = Make<TPelGraph>(nullptr);
  std::vector<String> log;
  g->SetOnChange([&](TObject*) { log.push_back("change"); });
  g->SetOnAddNode([&](TObject*, TPelGraphNode* n) { log.push_back("add " + n->GetCaption()); });
  g->SetOnRemoveNode(
      [&](TObject*, TPelGraphNode* n) { log.push_back("remove " + n->GetCaption()); });
  g->SetOnNodeChange([&](TObject*, TPelGraphNode* n) { log.push_back("node " + n->GetCaption()); });
  TPelGraphNode* a = g->NewNode();
  EXPECT_EQ(log, (std::vector<String>{"change", "add TPelGraphNode0"}));
  log.clear();
  Updating(g.get(), [&] {
    g->NewNode()->AddEdge(a);
    g->RemoveNode(a);
  });
  EXPECT_EQ(log, (std::vector<String>{"add TPelGraphNode1", "remove TPelGraphNode0", "change"}));

  // Pending node updates reach nodes added meanwhile; closing them reports
  // every node once.
  log.clear();
  g->BeginUpdateNodes();
  TPelGraphNode* b = g->NewNode();
  EXPECT_EQ(b->GetUpdateCount(), 1);
  int nodeChanges = 0;
  b->SetOnChangeName("NodeChanged");
  b->SetOnChange([&](TObject*) { ++nodeChanges; });
  b->AddEdge(b);
  EXPECT_EQ(nodeChanges, 0);
  g->EndUpdateNodes();
  EXPECT_EQ(nodeChanges, 1);
  EXPECT_EQ(log, (std::vector<String>{"change", "add TPelGraphNode2", "node TPelGraphNode1",
                                      "node TPelGraphNode2"}));
  // A node's handler and its name are kept apart.
  b->SetOnChange(nullptr);
  b->Change();
  EXPECT_EQ(nodeChanges, 1);
  EXPECT_FALSE(b->GetOnChange());
  EXPECT_EQ(b->GetOnChangeName(), "NodeChanged");
}

TEST(PelGraph, NodesAndEdgesAssignAndStream) {
  auto g = Make<TPelGraph>(nullptr);
  TWeightedNode* a = Weighted(g.get(), "A");
  auto* b = New<TCityNode>(g.get());
  b->SetCaption("B");
  b->SetWeight(-5);
  Join(a, b, 7);
  Join(b, b, 2);
  Join(b, Weighted(g.get(), "C"), 300);
  Join(b, a, 4);

  // An unknown node class fails the read naming it, and leaves nothing.
  auto fresh = Make<TPelGraph>(nullptr);
  ExpectRaises<EClassNotFound>([&] { Saved(g.get())->ReadComponent(fresh.get()); },
                               "Unknown graph node class TCityNode");
  EXPECT_EQ(fresh->GetNodeCount(), 0);
  EXPECT_EQ(fresh->NewNode()->GetCaption(), "TPelGraphNode0");
  fresh->Clear();

  SetStrProp(g.get(), "OnNodeChange", "CityChanged");
  for (bool directed : {false, true}) {
    g->SetDirected(directed);
    // Assign copies nodes of every class, registered or not, and the edges,
    // and drops what was there.
    auto copy = Make<TPelLabelGraph>(nullptr);
    copy->CreateNode("old");
    copy->Assign(g.get());
    EXPECT_EQ(copy->GetDirected(), directed);
    EXPECT_EQ(Describe(copy.get(), true), Describe(g.get(), true));
    RegisterGraphClass(TCityNode::StaticClass());
    auto back = Make<TPelGraph>(nullptr);
    Saved(g.get())->ReadComponent(back.get());
    EXPECT_EQ(back->GetDirected(), directed);
    EXPECT_EQ(GetStrProp(back.get(), "OnNodeChange"), "CityChanged");
    EXPECT_EQ(Describe(back.get()), Describe(g.get()));
  }
  EXPECT_THROW(g->Assign(Make<TStringList>().get()), EConvertError);
}

TEST(PelGraph, TopologicalOrderAndAcyclicity) {
  auto g = Make<TCountingGraph>(nullptr);
  TPelGraphNode* a = g->CreateNode("A");
  TPelGraphNode* b = g->CreateNode("B");
  TPelGraphNode* c = g->CreateNode("C");
  EXPECT_TRUE(Order(g.get()).empty());
  EXPECT_FALSE(g->IsAcyclic());
  g->SetDirected(true);
  EXPECT_EQ(Order(g.get()), (std::vector<String>{"C", "B", "A"}));
  a->AddEdge(b);
  b->AddEdge(c);
  g->Sorts = 0;
  EXPECT_TRUE(g->IsAcyclic());
  EXPECT_TRUE(g->IsAcyclic());
  EXPECT_EQ(g->Sorts, 1);
  EXPECT_EQ(Order(g.get()), (std::vector<String>{"A", "B", "C"}));
  c->AddEdge(b);
  EXPECT_FALSE(g->IsAcyclic());
  EXPECT_FALSE(g->IsAcyclic());
  EXPECT_EQ(g->Sorts, 3);
  EXPECT_EQ(Order(g.get()), (std::vector<String>{"A"}));

  // A sorted list given by the caller is unsorted and emptied first.
  auto list = Make<TStringList>();
  list->SetSorted(true);
  list->Add("stale");
  g->RemoveNode(c);
  EXPECT_EQ(g->TopologicalOrder(list.get()), list.get());
  EXPECT_EQ(Captions(list.get()), (std::vector<String>{"A", "B"}));

  // Reachability follows edge direction only in a directed graph.
  g->TraverseFrom(b);
  EXPECT_FALSE(a->GetVisited());
  g->SetDirected(false);
  g->TraverseFrom(b);
  EXPECT_TRUE(a->GetVisited());
}

TEST(PelGraph, OrderListCapacityIsThatOfAppendingOneByOne) {
  // Chains of several lengths, some closed into a cycle (the order stops
  // short), sorted into lists in different states: the capacity afterwards
  // is the one the same appends give a plain list.
  enum TListKind { lkCreated, lkEmpty, lkReserved, lkFilled, lkWatched };
  for (int32_t count : {0, 1, 4, 5, 8, 9, 12, 13, 29, 64, 65, 100, 300}) {
    for (bool cycle : {false, true}) {
      auto g = Make<TPelGraph>(nullptr);
      g->SetDirected(true);
      std::vector<TPelGraphNode*> nodes;
      for (int32_t i = 0; i < count; ++i) nodes.push_back(g->CreateNode("N" + IntToStr(i)));
      for (int32_t i = 0; i + 1 < count; ++i) nodes[i]->AddEdge(nodes[i + 1]);
      if (cycle && count > 2) nodes[count - 1]->AddEdge(nodes[count / 2]);
      for (TListKind kind : {lkCreated, lkEmpty, lkReserved, lkFilled, lkWatched}) {
        auto given = Make<TStringList>();
        auto plain = Make<TStringList>();
        int changes = 0;
        if (kind == lkReserved) given->SetCapacity(50);
        if (kind == lkFilled) given->Add("stale");
        if (kind == lkWatched) given->SetOnChange([&changes](TObject*) { ++changes; });
        TStrings* list = g->TopologicalOrder(kind == lkCreated ? nullptr : given.get());
        Owned<TStrings> created(kind == lkCreated ? list : nullptr);
        if (kind == lkReserved) plain->SetCapacity(50);
        for (int32_t i = 0; i < list->GetCount(); ++i) plain->AddObject(list->Get(i), nullptr);
        EXPECT_EQ(list->GetCapacity(), plain->GetCapacity())
            << count << (cycle ? " nodes with a cycle, list kind " : " nodes, list kind ") << kind;
        EXPECT_EQ(list->GetCount(), cycle && count > 2 ? count / 2 : count);
        if (kind == lkWatched) {
          EXPECT_EQ(changes, list->GetCount());
        }
      }
    }
  }
}

TEST(PelGraph, ShortestPaths) {
  // The worked graph: S-A 4, S-B 1, B-A 2, A-C 1, B-C 5, C-D 3; E apart.
  for (bool directed : {true, false}) {
    auto g = Make<TPelGraph>(nullptr);
    g->SetDirected(directed);
    std::map<char, TWeightedNode*> n;
    for (char ch : String("SABCDE")) n[ch] = Weighted(g.get(), String(1, ch).c_str());
    const std::tuple<char, char, TGraphWeight> edges[] = {
        {'S', 'A', 4}, {'S', 'B', 1}, {'B', 'A', 2}, {'A', 'C', 1}, {'B', 'C', 5}, {'D', 'C', 3}};
    for (auto [from, to, w] : edges) Join(n[from], n[to], w);
    TWeightedNode *s = n['S'], *a = n['A'], *b = n['B'], *c = n['C'], *d = n['D'], *e = n['E'];
    g->EnumerateShortestPaths(s);
    // Directed, D cannot be reached: its edge leads into C.
    const TGraphWeight dWeight = directed ? InfiniteWeight : 7;
    const std::pair<TWeightedNode*, TGraphWeight> expected[] = {
        {s, 0}, {a, 3}, {b, 1}, {c, 4}, {d, dWeight}, {e, InfiniteWeight}};
    for (auto [node, w] : expected) {
      EXPECT_EQ(node->GetWeight(), w) << node->GetCaption() << directed;
      EXPECT_TRUE(node->GetVisited());
    }
    EXPECT_EQ(Captions(c->GetShortestPath()), (std::vector<String>{"S", "B", "A", "C"}));
    EXPECT_EQ(c->GetShortestPath()->GetObject(2), a);
    // The lightest edge's far end; for an edge B ends, its FromNode.
    EXPECT_EQ(b->ClosestNode(true), directed ? a : s);
    EXPECT_EQ(g->GetUpdateCount(), 0);
  }

  // Ties go to the first node; one node stops after weighing the start.
  auto g = Make<TPelGraph>(nullptr);
  TWeightedNode* x = Weighted(g.get(), "X");
  g->ShortestPath(x);
  EXPECT_EQ(x->GetWeight(), 0);
  TWeightedNode* y = Weighted(g.get(), "Y");
  TWeightedNode* z = Weighted(g.get(), "Z");
  y->SetWeight(5);
  z->SetWeight(5);
  EXPECT_EQ(g->ClosestNode(x, false), y);
  EXPECT_EQ(z->ClosestNode(false), nullptr);

  // Other classes fail the checked casts; the bracket is closed.
  g->NewNode();
  EXPECT_THROW(g->ShortestPath(x), EInvalidCast);
  EXPECT_EQ(g->GetUpdateCount(), 0);
}
