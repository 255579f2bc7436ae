#include "trees/PelTree.h"

#include <vector>

namespace pel {

namespace {

[[noreturn]] void TreeError(const char* Msg) { throw ETreeException(Msg); }

// A node of a walk in progress and the index of its next child.
struct Frame {
  TPelCustomTreeNode* Node;
  int32_t Next;
};

}  // namespace

// ---------------------------------------------------------------------------
// TPelCustomTreeNode

void TPelCustomTreeNode::BeforeDestruction() {
  Clear();
  TPersistent::BeforeDestruction();
}

void TPelCustomTreeNode::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TPelCustomTreeNode*>(Source)) {
    Clear();
    AssignFields(src);
    AddChildren(src);
    return;
  }
  TPersistent::Assign(Source);
}

TPelCustomTreeNode* TPelCustomTreeNode::GetParent() { return OwnerTree()->GetParentNode(this); }

void TPelCustomTreeNode::Change() { OwnerTree()->Change(this); }

void TPelCustomTreeNode::AssignFields(TPelCustomTreeNode* Source) {
  FData = CheckAssigned(Source)->FData;
}

// Each copy is made as Assign makes it (Clear, AssignFields, then the
// children in order), depth first, with the pending copies kept here.
void TPelCustomTreeNode::AddChildren(TPelCustomTreeNode* Node) {
  CheckAssigned(Node);
  struct Copy {
    TPelCustomTreeNode* Dest;
    TPelCustomTreeNode* Source;
    int32_t Next;
  };
  std::vector<Copy> stack{{this, Node, 0}};
  while (!stack.empty()) {
    Copy& top = stack.back();
    if (top.Next >= top.Source->GetChildCount()) {
      stack.pop_back();
      continue;
    }
    TPelCustomTreeNode* source = top.Source->GetChild(top.Next++);
    TPelCustomTreeNode* copy = top.Dest->NewChild();
    copy->Clear();
    copy->AssignFields(source);
    stack.push_back({copy, CheckAssigned(source), 0});
  }
}

// Bottom-up, in the order the recursive form frees: from the last child to
// the first, a child with children of its own is emptied first (as its own
// Clear would), so freeing it never recurses.
void TPelCustomTreeNode::Clear() {
  struct Emptying {
    TPelCustomTreeNode* Node;
    int32_t Index;   // the child to free next
    bool Descended;  // that child has been emptied
  };
  std::vector<Emptying> stack{{this, GetChildCount() - 1, false}};
  while (!stack.empty()) {
    Emptying& top = stack.back();
    if (top.Index < 0) {
      stack.pop_back();
      continue;
    }
    TPelCustomTreeNode* child = top.Node->GetChild(top.Index);
    if (!top.Descended && child && child->GetChildCount() > 0) {
      top.Descended = true;
      stack.push_back({child, child->GetChildCount() - 1, false});
      continue;
    }
    top.Descended = false;
    --top.Index;
    top.Node->DeleteChild(child);
  }
  Change();
}

int32_t TPelCustomTreeNode::IndexOf(TPelCustomTreeNode* Node) const {
  const int32_t n = GetChildCount();
  for (int32_t i = 0; i < n; ++i)
    if (GetChild(i) == Node) return i;
  return -1;
}

TPelCustomTreeNode* TPelCustomTreeNode::InsertParent(TPelCustomTreeNode* Node) {
  TPelCustomTreeNode* result = CheckAssigned(Node)->AddChild(this);
  // Node is not reachable from the root yet, so the search still finds the
  // old parent. A root has none: Node keeps this node as its child.
  TPelCustomTreeNode* parent = CheckAssigned(GetParent());
  parent->SetChild(parent->IndexOf(this), Node);
  return result;
}

TPelCustomTreeNode* TPelCustomTreeNode::NewChild() {
  TPelCustomTreeNode* node = OwnerTree()->NewNode();
  try {
    AddChild(node);
    Change();
  } catch (const ETreeException&) {
    Free(node);
    throw;
  }
  return node;
}

// ---------------------------------------------------------------------------
// TPelBinaryTreeNode

TPelCustomTreeNode* TPelBinaryTreeNode::GetChild(int32_t Index) const {
  if (Index == 0) {
    if (FLeft) return FLeft;
    if (FRight) return FRight;
  } else if (Index == 1 && FLeft && FRight) {
    return FRight;
  }
  TreeError(peltree::SInvalidIndex);
}

void TPelBinaryTreeNode::SetChild(int32_t Index, TPelCustomTreeNode* Node) {
  TPelCustomTreeNode* current = GetChild(Index);
  if (Node == current) return;
  auto* node = As<TPelBinaryTreeNode>(Node);
  if (FLeft == current)
    FLeft = node;
  else if (FRight == current)
    FRight = node;
  Change();
}

int32_t TPelBinaryTreeNode::GetChildCount() const { return (FLeft ? 1 : 0) + (FRight ? 1 : 0); }

TPelCustomTreeNode* TPelBinaryTreeNode::AddChild(TPelCustomTreeNode* Node) {
  auto* node = As<TPelBinaryTreeNode>(Node);
  if (!FLeft)
    FLeft = node;
  else if (!FRight)
    FRight = node;
  else
    TreeError(SCannotAddChildren);
  Change();
  return Node;
}

// Null matches an empty side: nothing is freed and the change is reported.
void TPelBinaryTreeNode::DeleteChild(TPelCustomTreeNode* Node) {
  if (Node == FLeft) {
    FLeft = nullptr;
    Free(Node);
  } else if (Node == FRight) {
    FRight = nullptr;
    Free(Node);
  } else {
    TreeError(SUnknownTreeNode);
  }
  Change();
}

TPelCustomTreeNode* TPelBinaryTreeNode::InsertChild(int32_t Index) {
  if (Index == 0) {
    if (FLeft && FRight) TreeError(SCannotAddChildren);
    TPelBinaryTreeNode* node = NewBinaryNode();
    if (FLeft) FRight = FLeft;
    FLeft = node;
    return node;
  }
  if (Index == 1) {
    if (FRight) TreeError(SCannotAddChildren);
    TPelBinaryTreeNode* node = NewBinaryNode();
    FRight = node;
    return node;
  }
  TreeError(peltree::SInvalidIndex);
}

TPelBinaryTree* TPelBinaryTreeNode::GetBinaryOwner() const {
  return As<TPelBinaryTree>(GetOwner());
}

TPelBinaryTreeNode* TPelBinaryTreeNode::GetBinaryParent() {
  return As<TPelBinaryTreeNode>(GetParent());
}

TPelBinaryTreeNode* TPelBinaryTreeNode::NewBinaryNode() {
  TPelCustomTreeNode* node = OwnerTree()->NewNode();
  if (!node) return nullptr;
  if (auto* binary = dynamic_cast<TPelBinaryTreeNode*>(node)) return binary;
  Free(node);  // of the wrong class: freed before the checked cast fails
  RaiseInvalidCast();
}

TPelBinaryTreeNode* TPelBinaryTreeNode::ReplaceSubtree(TPelBinaryTreeNode*& Slot) {
  // The old subtree goes first; should making the new node fail, the slot
  // is left empty.
  FreeAndNil(Slot);
  Slot = NewBinaryNode();
  Change();
  return Slot;
}

TPelBinaryTreeNode* TPelBinaryTreeNode::AddLeftChild() { return ReplaceSubtree(FLeft); }

TPelBinaryTreeNode* TPelBinaryTreeNode::AddRightChild() { return ReplaceSubtree(FRight); }

void TPelBinaryTreeNode::SetLeft(TPelBinaryTreeNode* Node) {
  if (Node == FLeft) return;
  FLeft = Node;
  Change();
}

void TPelBinaryTreeNode::SetRight(TPelBinaryTreeNode* Node) {
  if (Node == FRight) return;
  FRight = Node;
  Change();
}

// ---------------------------------------------------------------------------
// TPelTreeNode

TPelTreeNode::TPelTreeNode(TPelCustomTree* AOwner)
    : TPelCustomTreeNode(AOwner), FChildren(New<TList>()) {}

TPelTreeNode::TPelTreeNode(TPelCustomTree* AOwner, void* AData)
    : TPelCustomTreeNode(AOwner, AData), FChildren(New<TList>()) {}

TPelTreeNode::~TPelTreeNode() { FreeAndNil(FChildren); }

TPelCustomTreeNode* TPelTreeNode::GetChild(int32_t Index) const {
  return static_cast<TPelCustomTreeNode*>(FChildren->Get(Index));
}

void TPelTreeNode::SetChild(int32_t Index, TPelCustomTreeNode* Node) {
  if (GetChild(Index) == Node) return;
  FChildren->Put(Index, Node);
  Change();
}

int32_t TPelTreeNode::GetChildCount() const { return FChildren->GetCount(); }

TPelCustomTreeNode* TPelTreeNode::AddChild(TPelCustomTreeNode* Node) {
  const int32_t i = FChildren->Add(Node);
  Change();
  return GetChild(i);
}

void TPelTreeNode::Clear() {
  if (FChildren) TPelCustomTreeNode::Clear();
}

void TPelTreeNode::DeleteChild(TPelCustomTreeNode* Node) {
  const int32_t i = FChildren->IndexOf(Node);
  if (i < 0) TreeError(SUnknownTreeNode);
  Free(Node);
  FChildren->Delete(i);
  Change();
}

TPelCustomTreeNode* TPelTreeNode::InsertChild(int32_t Index) {
  // A bad index raises the list's own error before any node is made.
  if (Index < 0 || Index > FChildren->GetCount()) FChildren->Insert(Index, nullptr);
  TPelCustomTreeNode* node = OwnerTree()->NewNode();
  FChildren->Insert(Index, node);
  return node;
}

TPelTree* TPelTreeNode::GetTreeOwner() const { return As<TPelTree>(GetOwner()); }

TPelTreeNode* TPelTreeNode::GetTreeParent() { return As<TPelTreeNode>(GetParent()); }

TPelTreeNode* TPelTreeNode::GetTreeChild(int32_t Index) const {
  return As<TPelTreeNode>(GetChild(Index));
}

void TPelTreeNode::SetTreeChild(int32_t Index, TPelTreeNode* Node) { SetChild(Index, Node); }

// ---------------------------------------------------------------------------
// TPelCustomTree

void TPelCustomTree::BeforeDestruction() {
  Clear();
  TPersistent::BeforeDestruction();
}

void TPelCustomTree::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TPelCustomTree*>(Source)) {
    Updating(this, [&] {
      SetRoot(NewNode());
      FRoot->Assign(src->FRoot);
    });
  }
  // Runs for a tree source too and then raises the conversion error after
  // the copy has been made: intended.
  TPersistent::Assign(Source);
}

void TPelCustomTree::AssignTo(TPersistent* Dest) {
  if (auto* list = dynamic_cast<TPelCustomLinkedList*>(Dest)) {
    list->Clear();
    AddItems(list);
    return;
  }
  // Platform lists are not persistent objects here; see AssignTo(TList*).
  TPersistent::AssignTo(Dest);
}

void TPelCustomTree::AssignTo(TList* Dest) {
  Dest->Clear();
  AddItems(Dest);
}

void TPelCustomTree::AddItems(TObject* Dest) {
  Traverse(
      FRoot, [this](TPelCustomTreeNode* N, intptr_t Tag) { AddItem(N, Tag); }, toPreOrder,
      reinterpret_cast<intptr_t>(Dest));
}

TPelCustomTreeNode* TPelCustomTree::GetParentNode(TPelCustomTreeNode* Node) {
  if (CheckAssigned(Node)->GetOwner() != this) TreeError(SOwnerMismatch);
  return FindNode(FRoot, Node, toPreOrder);
}

void TPelCustomTree::Change(TObject* /*Sender*/) {
  if (FUpdateCount <= 0 && FOnChange) FOnChange(this);
}

void TPelCustomTree::Changing(TObject* /*Sender*/) {
  if (FUpdateCount <= 0 && FOnChanging) FOnChanging(this);
}

namespace {

void SetEvent(TNotifyEvent& Event, String& EventName, TNotifyEvent Value, String Name) {
  Event = std::move(Value);
  EventName = Event ? std::move(Name) : String();
}

void SetEventName(TNotifyEvent& Event, String& EventName, const String& Value) {
  if (Value.empty()) Event = nullptr;
  EventName = Value;
}

}  // namespace

void TPelCustomTree::SetOnChange(TNotifyEvent Value, String Name) {
  SetEvent(FOnChange, FOnChangeName, std::move(Value), std::move(Name));
}

void TPelCustomTree::SetOnChanging(TNotifyEvent Value, String Name) {
  SetEvent(FOnChanging, FOnChangingName, std::move(Value), std::move(Name));
}

void TPelCustomTree::SetOnChangeName(const String& Value) {
  SetEventName(FOnChange, FOnChangeName, Value);
}

void TPelCustomTree::SetOnChangingName(const String& Value) {
  SetEventName(FOnChanging, FOnChangingName, Value);
}

// Child 0, the node, then children 1 and on. A frame's Next is 0 before
// child 0, 1 once the node itself is due, and 2 + i - 1 before child i.
void TPelCustomTree::Infix(TPelCustomTreeNode* Node, const TTreeIterator& Method, intptr_t Data) {
  if (!Node) return;
  std::vector<Frame> stack{{Node, 0}};
  while (!stack.empty()) {
    Frame& top = stack.back();
    TPelCustomTreeNode* child = nullptr;
    if (top.Next == 0) {
      top.Next = 1;
      if (top.Node->GetChildCount() > 0) child = top.Node->GetChild(0);
    } else if (top.Next == 1) {
      top.Next = 2;
      Method(top.Node, Data);
      continue;
    } else if (top.Next - 1 < top.Node->GetChildCount()) {
      child = top.Node->GetChild(top.Next++ - 1);
    } else {
      stack.pop_back();
      continue;
    }
    if (child) stack.push_back({child, 0});
  }
}

void TPelCustomTree::BeginUpdate() {
  if (FUpdateCount == 0) Changing(this);
  ++FUpdateCount;
}

void TPelCustomTree::EndUpdate() {
  if (FUpdateCount > 0) --FUpdateCount;
  // An unmatched EndUpdate still reports a change: intended.
  if (FUpdateCount == 0) Change(this);
}

void TPelCustomTree::Clear() {
  Updating(this, [this] { SetRoot(nullptr); });
}

void TPelCustomTree::Delete(TPelCustomTreeNode* Node) {
  // The root has no parent to delete it from.
  CheckAssigned(GetParentNode(Node))->DeleteChild(Node);
}

TPelCustomTreeNode* TPelCustomTree::NewNode() {
  // Without a node class there is no constructor to call.
  if (!FNodeType) RaiseAccessViolation();
  return FNodeType.Create(this);
}

void TPelCustomTree::Traverse(TPelCustomTreeNode* Node, const TTreeIterator& Method,
                              TTraversalOrder Order, intptr_t Data) {
  switch (Order) {
    case toPreOrder:
      Prefix(Node, Method, Data);
      break;
    case toInOrder:
      Infix(Node, Method, Data);
      break;
    case toPostOrder:
      Postfix(Node, Method, Data);
      break;
  }
}

void TPelCustomTree::AddItem(TPelCustomTreeNode* Node, intptr_t Tag) {
  auto* dest = reinterpret_cast<TObject*>(Tag);
  if (auto* linked = dynamic_cast<TPelCustomLinkedList*>(dest)) {
    // The list carries the data pointer as its item; it never frees items.
    linked->Add(static_cast<TObject*>(Node->GetData()));
  } else if (auto* list = dynamic_cast<TList*>(dest)) {
    list->Add(Node->GetData());
  }
}

void TPelCustomTree::MatchChild(TPelCustomTreeNode* Node, intptr_t Tag) {
  if (Node->IndexOf(reinterpret_cast<TPelCustomTreeNode*>(Tag)) > -1) {
    FFoundNode = Node;
    Abort();
  }
}

void TPelCustomTree::MatchItem(TPelCustomTreeNode* Node, intptr_t Tag) {
  if (Node->GetData() == reinterpret_cast<void*>(Tag)) {
    FFoundNode = Node;
    Abort();
  }
}

void TPelCustomTree::SetNodeType(TPelTreeNodeClass Value) {
  if (FRoot) TreeError(SCannotChangeNodeType);
  FNodeType = Value;
}

TPelCustomTreeNode* TPelCustomTree::Search(TPelCustomTreeNode* Node, TMatch Match, intptr_t Tag,
                                           TTraversalOrder Order) {
  try {
    Traverse(
        Node, [this, Match](TPelCustomTreeNode* N, intptr_t T) { (this->*Match)(N, T); }, Order,
        Tag);
  } catch (const EAbort&) {
    return As<TPelCustomTreeNode>(FFoundNode);
  }
  return nullptr;
}

TPelCustomTreeNode* TPelCustomTree::FindItemNode(TPelCustomTreeNode* Node, void* Item,
                                                 TTraversalOrder Order) {
  return Search(Node, &TPelCustomTree::MatchItem, reinterpret_cast<intptr_t>(Item), Order);
}

TPelCustomTreeNode* TPelCustomTree::FindNode(TPelCustomTreeNode* Node, TPelCustomTreeNode* Child,
                                             TTraversalOrder Order) {
  return Search(Node, &TPelCustomTree::MatchChild, reinterpret_cast<intptr_t>(Child), Order);
}

bool TPelCustomTree::IsLeaf(TPelCustomTreeNode* Node) const {
  return CheckAssigned(Node)->GetChildCount() == 0;
}

bool TPelCustomTree::IsRoot(TPelCustomTreeNode* Node) const { return Node == FRoot; }

void TPelCustomTree::SetRoot(TPelCustomTreeNode* Node) {
  if (Node == FRoot) return;
  Updating(this, [&] {
    FreeAndNil(FRoot);
    FRoot = Node;
  });
}

void TPelCustomTree::Prefix(TPelCustomTreeNode* Node, const TTreeIterator& Method, intptr_t Data) {
  if (!Node) return;
  Method(Node, Data);
  std::vector<Frame> stack{{Node, 0}};
  while (!stack.empty()) {
    Frame& top = stack.back();
    if (top.Next >= top.Node->GetChildCount()) {
      stack.pop_back();
      continue;
    }
    TPelCustomTreeNode* child = top.Node->GetChild(top.Next++);
    if (!child) continue;
    Method(child, Data);
    stack.push_back({child, 0});
  }
}

void TPelCustomTree::Postfix(TPelCustomTreeNode* Node, const TTreeIterator& Method, intptr_t Data) {
  if (!Node) return;
  std::vector<Frame> stack{{Node, 0}};
  while (!stack.empty()) {
    Frame& top = stack.back();
    if (top.Next < top.Node->GetChildCount()) {
      TPelCustomTreeNode* child = top.Node->GetChild(top.Next++);
      if (child) stack.push_back({child, 0});
      continue;
    }
    TPelCustomTreeNode* node = top.Node;
    stack.pop_back();
    Method(node, Data);
  }
}

int32_t TPelCustomTree::GetCount() const { return FRoot ? FRoot->GetChildCount() + 1 : 0; }

// ---------------------------------------------------------------------------
// TPelBinaryTree, TPelTree

TPelBinaryTree::TPelBinaryTree() { FNodeType = TPelBinaryTreeNode::StaticClass(); }

void TPelBinaryTree::Infix(TPelCustomTreeNode* Node, const TTreeIterator& Method, intptr_t Data) {
  std::vector<TPelBinaryTreeNode*> stack;
  TPelCustomTreeNode* next = Node;
  while (next || !stack.empty()) {
    for (; next; next = stack.back()->GetLeft()) stack.push_back(As<TPelBinaryTreeNode>(next));
    TPelBinaryTreeNode* node = stack.back();
    stack.pop_back();
    Method(node, Data);
    next = node->GetRight();
  }
}

TPelBinaryTreeNode* TPelBinaryTree::GetRoot() const { return As<TPelBinaryTreeNode>(FRoot); }

TPelTree::TPelTree() { FNodeType = TPelTreeNode::StaticClass(); }

TPelTreeNode* TPelTree::GetRoot() const { return As<TPelTreeNode>(FRoot); }

// ---------------------------------------------------------------------------
// TPelHeightBalancedTreeNode

void TPelHeightBalancedTreeNode::AssignFields(TPelCustomTreeNode* Source) {
  if (auto* src = dynamic_cast<TPelHeightBalancedTreeNode*>(Source)) {
    FPriority = src->FPriority;
    FBalanceFactor = src->FBalanceFactor;
  }
  TPelBinaryTreeNode::AssignFields(Source);
}

TPelHeightBalancedTreeNode* TPelHeightBalancedTreeNode::GetHBLeft() const {
  return As<TPelHeightBalancedTreeNode>(GetLeft());
}

TPelHeightBalancedTreeNode* TPelHeightBalancedTreeNode::GetHBRight() const {
  return As<TPelHeightBalancedTreeNode>(GetRight());
}

TPelHeightBalancedTree* TPelHeightBalancedTreeNode::GetHBOwner() const {
  return As<TPelHeightBalancedTree>(GetOwner());
}

// ---------------------------------------------------------------------------
// TPelHeightBalancedTree

namespace {

TPelHeightBalancedTreeNode* HB(TPelCustomTreeNode* Node) {
  return As<TPelHeightBalancedTreeNode>(Node);
}

}  // namespace

TPelHeightBalancedTree::TPelHeightBalancedTree() {
  FNodeType = TPelHeightBalancedTreeNode::StaticClass();
}

TPelHeightBalancedTreeNode* TPelHeightBalancedTree::NewNode(int32_t Priority) {
  auto* node = New<TPelHeightBalancedTreeNode>(this, Priority);
  return node;
}

TPelHeightBalancedTreeNode* TPelHeightBalancedTree::Add(void* Data, int32_t Priority) {
  return Add(Data, Priority, GetRoot());
}

// One insertion is one update: EndUpdate runs on every exit.
TPelHeightBalancedTreeNode* TPelHeightBalancedTree::Add(void* Data, int32_t Priority,
                                                        TPelHeightBalancedTreeNode* StartNode) {
  return Updating(this, [&] { return Insert(Data, Priority, StartNode); });
}

TPelHeightBalancedTreeNode* TPelHeightBalancedTree::Insert(void* Data, int32_t Priority,
                                                           TPelHeightBalancedTreeNode* StartNode) {
  TPelHeightBalancedTreeNode* n = StartNode ? StartNode : GetRoot();
  if (!n) {
    TPelHeightBalancedTreeNode* node = NewNode(Priority);
    SetRoot(node);
    node->SetData(Data);
    return node;
  }
  TPelHeightBalancedTreeNode* parent = nullptr;
  TPelHeightBalancedTreeNode* critical = n;
  TPelHeightBalancedTreeNode* criticalParent = nullptr;
  TPelHeightBalancedTreeNode* found = nullptr;
  for (TPelHeightBalancedTreeNode* x = n; x;) {
    if (x->GetBalanceFactor() != 0) {
      critical = x;
      criticalParent = parent;
    }
    parent = x;
    if (Priority < x->GetPriority()) {
      x = x->GetHBLeft();
    } else if (Priority > x->GetPriority()) {
      x = x->GetHBRight();
    } else {
      found = x;
      break;
    }
  }
  if (found) {
    // dupAccept is read as dupIgnore: a priority is never held twice.
    if (FDuplicates == dupError) throw EStringListError(SDuplicatePriorities);
    return found;
  }
  TPelHeightBalancedTreeNode* node = HB(NewNode());
  node->SetData(Data);
  node->SetPriority(Priority);
  if (Priority < parent->GetPriority())
    parent->SetHBLeft(node);
  else
    parent->SetHBRight(node);
  Rebalance(node, nullptr, critical, criticalParent, Priority);
  return node;
}

TPelHeightBalancedTreeNode* TPelHeightBalancedTree::Rebalance(
    TPelHeightBalancedTreeNode* NewNode, TPelHeightBalancedTreeNode* /*Child*/,
    TPelHeightBalancedTreeNode* Critical, TPelHeightBalancedTreeNode* CriticalParent,
    int32_t Priority) {
  TPelHeightBalancedTreeNode* c;
  TBalanceFactor dir;
  if (Priority > CheckAssigned(Critical)->GetPriority()) {
    c = Critical->GetHBRight();
    dir = -1;
  } else {
    c = Critical->GetHBLeft();
    dir = +1;
  }
  for (TPelHeightBalancedTreeNode* p = c; p != NewNode;) {
    if (!p) RaiseAccessViolation();
    if (Priority > p->GetPriority()) {
      p->SetBalanceFactor(-1);
      p = p->GetHBRight();
    } else {
      p->SetBalanceFactor(+1);
      p = p->GetHBLeft();
    }
  }
  if (Critical->GetBalanceFactor() == 0) {
    Critical->SetBalanceFactor(dir);
    return c;
  }
  if (Critical->GetBalanceFactor() + dir == 0) {
    Critical->SetBalanceFactor(0);
    return c;
  }
  if (!c) RaiseAccessViolation();
  TPelHeightBalancedTreeNode* subRoot;
  if (dir == +1 && c->GetBalanceFactor() == +1) {
    Critical->SetHBLeft(c->GetHBRight());
    c->SetHBRight(Critical);
    Critical->SetBalanceFactor(0);
    c->SetBalanceFactor(0);
    subRoot = c;
  } else if (dir == -1 && c->GetBalanceFactor() == -1) {
    Critical->SetHBRight(c->GetHBLeft());
    c->SetHBLeft(Critical);
    Critical->SetBalanceFactor(0);
    c->SetBalanceFactor(0);
    subRoot = c;
  } else {
    TPelHeightBalancedTreeNode* g = dir == +1 ? c->GetHBRight() : c->GetHBLeft();
    // With the factors the table below leaves behind, a later insertion can
    // find no grandchild here.
    if (!g) RaiseAccessViolation();
    if (dir == +1) {
      c->SetHBRight(g->GetHBLeft());
      Critical->SetHBLeft(g->GetHBRight());
      g->SetHBLeft(c);
      g->SetHBRight(Critical);
    } else {
      c->SetHBLeft(g->GetHBRight());
      Critical->SetHBRight(g->GetHBLeft());
      g->SetHBRight(c);
      g->SetHBLeft(Critical);
    }
    // One table for both directions, not mirrored for the right-hand case:
    // intended.
    switch (g->GetBalanceFactor()) {
      case -1:
        Critical->SetBalanceFactor(0);
        c->SetBalanceFactor(+1);
        break;
      case 0:
        Critical->SetBalanceFactor(0);
        c->SetBalanceFactor(0);
        break;
      default:
        Critical->SetBalanceFactor(-1);
        c->SetBalanceFactor(0);
        break;
    }
    g->SetBalanceFactor(0);
    subRoot = g;
  }
  if (!CriticalParent) {
    FRoot = subRoot;  // directly: nothing is freed, nothing is notified
  } else if (CriticalParent->GetHBLeft() == Critical) {
    CriticalParent->SetHBLeft(subRoot);
  } else if (CriticalParent->GetHBRight() == Critical) {
    CriticalParent->SetHBRight(subRoot);
  }
  return subRoot;
}

void TPelHeightBalancedTree::Delete(void* Data, int32_t Priority) {
  Delete(Data, Priority, GetRoot());
}

void TPelHeightBalancedTree::Delete(void* Data, int32_t Priority,
                                    TPelHeightBalancedTreeNode* /*StartNode*/) {
  // Only the lookup remains of a removal: the tree is left unchanged.
  TPelHeightBalancedTreeNode* parent = nullptr;
  (void)FindNode(parent, Priority, Data);
}

TPelHeightBalancedTreeNode* TPelHeightBalancedTree::FindNode(TPelHeightBalancedTreeNode*& Parent,
                                                             int32_t Priority, void* Data) {
  Parent = nullptr;
  TPelHeightBalancedTreeNode* x = GetRoot();
  while (x && x->GetPriority() != Priority) {
    Parent = x;
    x = Priority < x->GetPriority() ? x->GetHBLeft() : x->GetHBRight();
  }
  return x && x->GetData() == Data ? x : nullptr;
}

TPelHeightBalancedTreeNode* TPelHeightBalancedTree::GetRoot() const {
  return As<TPelHeightBalancedTreeNode>(FRoot);
}

}  // namespace pel
