#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/ExpectRaises.h"
#include "trees/PelTree.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

int gLiveNodes = 0;
int gClears = 0;

// Counts its instances and its Clear calls, so that freeing can be checked
// and the destructor is seen to reach a descendant's Clear.
class TCountedNode : public TPelTreeNode {
  PEL_CLASS(TCountedNode, TPelTreeNode)
 public:
  explicit TCountedNode(TPelCustomTree* AOwner) : TPelTreeNode(AOwner) { ++gLiveNodes; }
  ~TCountedNode() override { --gLiveNodes; }
  void Clear() override {
    ++gClears;
    TPelTreeNode::Clear();
  }
};

class TCountedBinaryNode : public TPelBinaryTreeNode {
  PEL_CLASS(TCountedBinaryNode, TPelBinaryTreeNode)
 public:
  explicit TCountedBinaryNode(TPelCustomTree* AOwner) : TPelBinaryTreeNode(AOwner) { ++gLiveNodes; }
  ~TCountedBinaryNode() override { --gLiveNodes; }
};

// A binary tree of counted nodes that records how many nodes are alive when
// it makes one, and can refuse to make one.
class TCountingTree : public TPelBinaryTree {
  PEL_CLASS(TCountingTree, TPelBinaryTree)
 public:
  TCountingTree() { SetNodeType(TCountedBinaryNode::StaticClass()); }
  TPelCustomTreeNode* NewNode() override {
    LiveAtNewNode = gLiveNodes;
    if (Refuse) throw EOutOfMemory("refused");
    return TPelBinaryTree::NewNode();
  }
  int LiveAtNewNode = -1;
  bool Refuse = false;
};

std::vector<TPelCustomTreeNode*> Visit(TPelCustomTree& T, TTraversalOrder Order) {
  std::vector<TPelCustomTreeNode*> out;
  T.Traverse(
      T.GetRoot(), [&](TPelCustomTreeNode* N, intptr_t) { out.push_back(N); }, Order, 0);
  return out;
}

}  // namespace

TEST(PelTree, BinaryNodes) {
  gLiveNodes = 0;
  auto tree = Make<TCountingTree>();
  int changes = 0;
  tree->SetOnChange([&](TObject*) { ++changes; });
  tree->SetRoot(As<TPelBinaryTreeNode>(tree->NewNode()));
  TPelBinaryTreeNode* root = tree->GetRoot();
  // Children are indexed over the non-empty slots.
  TPelBinaryTreeNode* right = root->AddRightChild();
  EXPECT_EQ(root->GetChild(0), right);
  ExpectRaises<ETreeException>([&] { root->GetChild(1); }, "Invalid Index");
  TPelBinaryTreeNode* left = root->AddLeftChild();
  EXPECT_EQ(root->GetChild(1), right);
  EXPECT_EQ(right->GetBinaryParent(), root);
  // SetChild replaces the slot that holds the indexed child, freeing nothing.
  auto* spare = As<TPelBinaryTreeNode>(tree->NewNode());
  root->SetChild(1, spare);
  EXPECT_EQ(root->GetRight(), spare);
  root->SetChild(1, right);
  Free(spare);

  // A full node refuses more children; NewChild frees the node it made.
  for (const auto& f : std::initializer_list<std::function<void()>>{
           [&] { root->InsertChild(0); }, [&] { root->InsertChild(1); }, [&] { root->NewChild(); }})
    ExpectRaises<ETreeException>(f, "Cannot add any more children to node");
  EXPECT_EQ(gLiveNodes, 3);
  ExpectRaises<ETreeException>([&] { root->DeleteChild(nullptr); }, "Unknown Tree Node");

  // Null names an empty side: nothing is freed and the change is reported.
  root->DeleteChild(left);
  changes = 0;
  root->DeleteChild(nullptr);
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(root->GetRight(), right);
  EXPECT_EQ(gLiveNodes, 2);
  // InsertChild(0) moves a lone Left to Right; index 2 does not exist.
  ExpectRaises<ETreeException>([&] { root->InsertChild(1); },
                               "Cannot add any more children to node");
  ExpectRaises<ETreeException>([&] { root->InsertChild(2); }, "Invalid Index");
  root->SetRight(nullptr);
  root->SetLeft(right);
  auto* inserted = root->InsertChild(0);
  EXPECT_EQ(root->GetLeft(), inserted);
  EXPECT_EQ(root->GetRight(), right);

  // AddLeftChild frees the old left subtree before it makes the new node.
  As<TPelBinaryTreeNode>(inserted)->AddLeftChild();
  right->AddRightChild();
  EXPECT_EQ(gLiveNodes, 5);
  root->AddLeftChild();
  EXPECT_EQ(tree->LiveAtNewNode, 3);
  EXPECT_EQ(gLiveNodes, 4);
  // A node that cannot be made leaves the slot empty, the subtree freed.
  tree->Refuse = true;
  EXPECT_THROW(root->AddRightChild(), EOutOfMemory);
  EXPECT_EQ(root->GetRight(), nullptr);
  EXPECT_EQ(gLiveNodes, 2);
  tree.reset();
  EXPECT_EQ(gLiveNodes, 0);
}

TEST(PelTree, NaryStructureSearchAndCount) {
  auto tree = Make<TPelTree>();
  int d[8] = {};
  tree->SetRoot(As<TPelTreeNode>(tree->NewNode()));
  TPelTreeNode* root = tree->GetRoot();
  auto* a = root->NewChild();
  auto* b = root->NewChild();
  auto* a1 = a->NewChild();
  auto* a2 = a->NewChild();
  auto* b1 = b->NewChild();
  TPelCustomTreeNode* nodes[] = {root, a, b, a1, a2, b1};
  for (int i = 0; i < 6; ++i) nodes[i]->SetData(&d[i]);
  EXPECT_EQ(tree->GetCount(), 3);  // root and its direct children only
  EXPECT_TRUE(tree->IsLeaf(b1) && !tree->IsLeaf(b));

  using V = std::vector<TPelCustomTreeNode*>;
  EXPECT_EQ(Visit(*tree, toPreOrder), (V{root, a, a1, a2, b, b1}));
  EXPECT_EQ(Visit(*tree, toInOrder), (V{a1, a, a2, root, b1, b}));
  EXPECT_EQ(Visit(*tree, toPostOrder), (V{a1, a2, a, b1, b, root}));
  // FindNode gives the parent; FindItemNode the node holding the data.
  EXPECT_EQ(tree->FindNode(root, b1, toPreOrder), b);
  EXPECT_EQ(tree->FindItemNode(root, &d[4], toPostOrder), a2);
  // Abort is the only early exit and it reaches the caller.
  int seen = 0;
  auto stopAtThird = [&](TPelCustomTreeNode*, intptr_t) {
    if (++seen == 3) Abort();
  };
  EXPECT_THROW(tree->Traverse(root, stopAtThird, toPreOrder, 0), EAbort);
  EXPECT_EQ(seen, 3);

  // InsertParent puts a node between a2 and a.
  auto* mid = tree->NewNode();
  EXPECT_EQ(a2->InsertParent(mid), a2);
  EXPECT_EQ(a->GetChild(1), a2->GetParent());

  // Delete frees a subtree through its parent.
  tree->Delete(a);
  EXPECT_EQ(root->GetChildCount(), 1);
  EXPECT_THROW(root->DeleteChild(a1), ETreeException);
  EXPECT_THROW(root->InsertChild(5), EListError);
  auto* inserted = root->InsertChild(0);
  EXPECT_EQ(root->GetChild(0), inserted);
  auto other = Make<TPelTree>();
  auto* foreign = other->NewNode();
  ExpectRaises<ETreeException>([&] { tree->GetParentNode(foreign); },
                               "Owner of Node does not match Self");
  Free(foreign);
  // The root has no parent to delete it through; a tree without a node type
  // makes no node.
  EXPECT_THROW(tree->Delete(root), EAccessViolation);
  EXPECT_EQ(tree->GetRoot(), root);
  other->SetNodeType(nullptr);
  ExpectRaises<EAccessViolation>([&] { other->NewNode(); }, "Access violation");
}

TEST(PelTree, NodeTypeFreeingAndDescendantClear) {
  gLiveNodes = 0;
  std::vector<int> data(20, 7);
  {
    auto tree = Make<TPelTree>();
    tree->SetNodeType(TCountedNode::StaticClass());
    tree->SetRoot(As<TPelTreeNode>(tree->NewNode()));
    TPelCustomTreeNode* n = tree->GetRoot();
    for (int i = 0; i < 20; ++i) {
      auto* c = n->NewChild();
      c->SetData(&data[i]);
      if (i % 3 == 0) n = c;
    }
    EXPECT_EQ(gLiveNodes, 21);
    ExpectRaises<ETreeException>([&] { tree->SetNodeType(TPelTreeNode::StaticClass()); },
                                 "Cannot change node types while any nodes exist");
    gClears = 0;
  }
  EXPECT_EQ(gLiveNodes, 0);
  EXPECT_EQ(gClears, 21);  // every node's own Clear ran while it was freed
  EXPECT_EQ(data, std::vector<int>(20, 7));
}

TEST(PelTree, NotificationBrackets) {
  // Declared before the tree: freeing the tree clears it and notifies.
  std::vector<std::string> log;
  auto tree = Make<TPelTree>();
  TPelTree* self = tree.get();
  tree->SetOnChanging([&log](TObject*) { log.push_back("changing"); });
  // A node's change names the tree.
  tree->SetOnChange([&log, self](TObject* s) { log.push_back(s == self ? "change" : "?"); });
  using L = std::vector<std::string>;
  auto logged = [&](auto&& body) {
    log.clear();
    body();
    return log;
  };
  EXPECT_EQ(logged([&] { tree->SetRoot(As<TPelTreeNode>(tree->NewNode())); }),
            (L{"changing", "change"}));
  EXPECT_EQ(logged([&] { tree->GetRoot()->NewChild(); }), (L{"change", "change"}));
  EXPECT_EQ(logged([&] {
              tree->BeginUpdate();
              tree->GetRoot()->NewChild();
              tree->BeginUpdate();
              tree->EndUpdate();
              EXPECT_EQ(log, L{"changing"});
              tree->EndUpdate();
            }),
            (L{"changing", "change"}));
  EXPECT_EQ(logged([&] { tree->EndUpdate(); }), L{"change"});  // unmatched: still reports
  EXPECT_EQ(tree->GetUpdateCount(), 0);
  EXPECT_EQ(logged([&] { tree->Clear(); }), (L{"changing", "change"}));
  tree->SetRoot(As<TPelTreeNode>(tree->NewNode()));
  tree->GetRoot()->NewChild();
  EXPECT_EQ(logged([&] { tree.reset(); }), (L{"changing", "change"}));
}

TEST(PelTree, AssignCopiesDeeplyThenRaises) {
  int d[4] = {};
  auto src = Make<TPelTree>();
  src->SetRoot(As<TPelTreeNode>(src->NewNode()));
  src->GetRoot()->SetData(&d[0]);
  auto* a = src->GetRoot()->NewChild();
  a->SetData(&d[1]);
  a->NewChild()->SetData(&d[2]);
  src->GetRoot()->NewChild()->SetData(&d[3]);

  auto dst = Make<TPelTree>();
  // The copy is made and then the conversion error is raised: intended.
  ExpectRaises<EConvertError>([&] { dst->Assign(src.get()); },
                              "Cannot assign a TPelTree to a TPelTree");
  auto list = Make<TList>();
  list->Add(nullptr);  // cleared first
  dst->AssignTo(list.get());
  auto linked = Make<TPelLinkedList>();
  src->AssignTo(linked.get());
  ASSERT_EQ(list->GetCount(), 4);
  ASSERT_EQ(linked->GetCount(), 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(list->Get(i), &d[i]);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(static_cast<void*>(linked->GetItem(i)), &d[i]);

  // A source without a root fails in the node's Assign, bracket closed.
  auto empty = Make<TPelTree>();
  ExpectRaises<EConvertError>([&] { dst->Assign(empty.get()); },
                              "Cannot assign a nil to a TPelTreeNode");
  EXPECT_EQ(dst->GetUpdateCount(), 0);
}

// --- height-balanced tree ---------------------------------------------------

namespace {

int Height(TPelHeightBalancedTreeNode* n) {
  return n ? 1 + std::max(Height(n->GetHBLeft()), Height(n->GetHBRight())) : 0;
}

int RealFactor(TPelHeightBalancedTreeNode* n) {
  return Height(n->GetHBLeft()) - Height(n->GetHBRight());
}

void Collect(TPelHeightBalancedTreeNode* n, std::vector<TPelHeightBalancedTreeNode*>& out) {
  if (!n) return;
  Collect(n->GetHBLeft(), out);
  out.push_back(n);
  Collect(n->GetHBRight(), out);
}

// "priority/factor" of every node in pre-order.
std::string Shape(TPelHeightBalancedTreeNode* n) {
  if (!n) return "-";
  return std::to_string(n->GetPriority()) + "/" + std::to_string(n->GetBalanceFactor()) + "(" +
         Shape(n->GetHBLeft()) + " " + Shape(n->GetHBRight()) + ")";
}

// Records each insertion whose right-hand double rotation meets a grandchild
// with a non-zero factor: the one place where the kept factor table differs
// from the mirror image of the left-hand case.
class TWatchedTree : public TPelHeightBalancedTree {
  PEL_CLASS(TWatchedTree, TPelHeightBalancedTree)
 public:
  TPelHeightBalancedTreeNode* Rebalance(TPelHeightBalancedTreeNode* NewNode,
                                        TPelHeightBalancedTreeNode* Child,
                                        TPelHeightBalancedTreeNode* Critical,
                                        TPelHeightBalancedTreeNode* CriticalParent,
                                        int32_t Priority) override {
    ++Calls;
    auto* c = Critical->GetHBRight();
    Unmirrored |= Priority > Critical->GetPriority() && Critical->GetBalanceFactor() == -1 && c &&
                  c != NewNode && Priority < c->GetPriority() && c->GetHBLeft() != NewNode;
    return TPelHeightBalancedTree::Rebalance(NewNode, Child, Critical, CriticalParent, Priority);
  }
  int Calls = 0;
  bool Unmirrored = false;
};

}  // namespace

TEST(PelHeightBalancedTree, RotationsAndFactors) {
  auto shapeOf = [](std::initializer_list<int> priorities) {
    auto t = Make<TWatchedTree>();
    for (int p : priorities) t->Add(nullptr, p);
    EXPECT_EQ(t->Calls, static_cast<int>(priorities.size()) - 1);  // the override runs
    return Shape(t->GetRoot());
  };
  // Double rotations set the factors from the grandchild's by one table
  // (the other rotations are checked against real heights below).
  EXPECT_EQ(shapeOf({50, 30, 70, 20, 40, 45}), "40/0(30/1(20/0(- -) -) 50/0(45/0(- -) 70/0(- -)))");
  // The table is not mirrored for the right-hand case: 30 and 50 keep the
  // left-hand values (the real factors are +1 and 0, then 0 and -1). Intended.
  EXPECT_EQ(shapeOf({30, 20, 50, 40, 60, 45}), "40/0(30/0(20/0(- -) -) 50/1(45/0(- -) 60/0(- -)))");
  EXPECT_EQ(shapeOf({30, 20, 50, 40, 60, 35}),
            "40/0(30/-1(20/0(- -) 35/0(- -)) 50/0(- 60/0(- -)))");
}

TEST(PelHeightBalancedTree, DuplicatesFindAndBracket) {
  int a = 0, b = 0;
  std::vector<std::string> log;
  auto t = Make<TPelHeightBalancedTree>();
  t->SetOnChanging([&](TObject*) { log.push_back("changing"); });
  t->SetOnChange([&](TObject*) { log.push_back("change"); });
  for (int p : {10, 5, 15, 3, 7, 20, 1}) t->Add(&a, p);
  // An existing priority returns its node with the data kept (dupAccept
  // reads as dupIgnore); dupError raises and closes the bracket.
  auto* seven = t->Add(&b, 7);
  EXPECT_EQ(seven->GetData(), &a);
  t->SetDuplicates(dupAccept);
  EXPECT_EQ(t->Add(&b, 7), seven);
  t->SetDuplicates(dupError);
  log.clear();
  ExpectRaises<EStringListError>([&] { t->Add(&b, 7); }, "Duplicate priorities in tree");
  EXPECT_EQ(log, (std::vector<std::string>{"changing", "change"}));
  EXPECT_EQ(seven->GetData(), &a);

  TPelHeightBalancedTreeNode* parent = nullptr;
  EXPECT_EQ(t->FindNode(parent, 7, &a), seven);
  EXPECT_EQ(parent, seven->GetParent());
  EXPECT_EQ(t->FindNode(parent, 8, &a), nullptr);
  EXPECT_EQ(parent, seven);
  // No removal: Delete leaves the tree as it was.
  const std::string before = Shape(t->GetRoot());
  t->Delete(&a, 7);
  EXPECT_EQ(Shape(t->GetRoot()), before);

  // A deep copy keeps priorities and factors in pre-order, but children are
  // re-added with AddChild, so the lone Right child of 15 lands in Left.
  auto copy = Make<TPelHeightBalancedTree>();
  EXPECT_THROW(copy->Assign(t.get()), EConvertError);
  EXPECT_EQ(before, "10/1(5/1(3/1(1/0(- -) -) 7/0(- -)) 15/-1(- 20/0(- -)))");
  EXPECT_EQ(Shape(copy->GetRoot()), "10/1(5/1(3/1(1/0(- -) -) 7/0(- -)) 15/-1(20/0(- -) -))");
}

// Random insertion sequences: until a right-hand double rotation meets a
// leaning grandchild (the unmirrored case above), every stored factor is the
// real height difference and the height is within the AVL bound; after it
// only the search order and the node count hold, and an access violation may
// end the sequence.
TEST(PelHeightBalancedTree, RandomSequencesKeepTheirInvariants) {
  std::mt19937 rng(20261122);
  int unmirrored = 0;
  for (int seq = 0; seq < 3000; ++seq) {
    auto t = Make<TWatchedTree>();
    std::set<int32_t> keys;
    const int len = 1 + static_cast<int>(rng() % 40);
    std::vector<TPelHeightBalancedTreeNode*> nodes;
    for (int i = 0; i < len; ++i) {
      const int32_t p = static_cast<int32_t>(rng() % 64);
      keys.insert(p);
      try {
        t->Add(nullptr, p);
      } catch (const EAccessViolation&) {
        ASSERT_TRUE(t->Unmirrored);
        break;
      }
      if (t->Unmirrored) continue;
      nodes.clear();
      Collect(t->GetRoot(), nodes);
      for (auto* n : nodes) ASSERT_EQ(n->GetBalanceFactor(), RealFactor(n)) << seq;
      ASSERT_LE(Height(t->GetRoot()), 1.4405 * std::log2(nodes.size() + 2.0) - 0.3277) << seq;
    }
    unmirrored += t->Unmirrored;
    nodes.clear();
    Collect(t->GetRoot(), nodes);
    ASSERT_EQ(nodes.size(), keys.size());
    auto k = keys.begin();
    for (auto* n : nodes) ASSERT_EQ(n->GetPriority(), *k++) << seq;
  }
  EXPECT_GT(unmirrored, 100);
  EXPECT_LT(unmirrored, 3000);
}
