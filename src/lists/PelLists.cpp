#include "lists/PelLists.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

namespace pel {

// ---------------------------------------------------------------------------
// Nodes

void TSQNode::Assign(TPersistent* Source) {
  if (auto* node = dynamic_cast<TSQNode*>(Source)) {
    FItem = node->FItem;
    return;
  }
  TPersistent::Assign(Source);
}

void TSQStringNode::Assign(TPersistent* Source) {
  if (auto* node = dynamic_cast<TSQStringNode*>(Source)) FValue = node->FValue;
  TSQNode::Assign(Source);
}

// ---------------------------------------------------------------------------
// TPelCustomLinkedList

TPelCustomLinkedList::~TPelCustomLinkedList() {
  // Normally BeforeDestruction has cleared already; this only catches a list
  // whose construction was abandoned.
  FreeNodes();
}

void TPelCustomLinkedList::BeforeDestruction() {
  FOnChange = nullptr;
  Clear();
  TPersistent::BeforeDestruction();
}

void TPelCustomLinkedList::Error(const char* Msg) { throw EListError(String(Msg)); }

template <class TNode>
TNode* TPelCustomLinkedList::CopyNode(TSQNode* Source) {
  TSQNode* node = NewNode();
  try {
    node->Assign(Source);
    return As<TNode>(node);
  } catch (...) {
    Free(node);  // never handed to the list: nobody else has it
    throw;
  }
}

void TPelCustomLinkedList::FreeNodes() {
  TSQNode* node = FHead;
  while (node) {
    TSQNode* next = node->GetNext();
    Free(node);
    --FCount;
    node = next;
  }
  FHead = nullptr;
  FTail = nullptr;
  SetCurrent(nullptr);
}

void TPelCustomLinkedList::Assign(TPersistent* Source) {
  if (auto* list = dynamic_cast<TPelCustomLinkedList*>(Source)) {
    Updating(this, [&] {
      Clear();
      AddLinkedList(list);
    });
    return;
  }
  TPersistent::Assign(Source);
}

void TPelCustomLinkedList::Assign(TList* Source) {
  if (!Source) {
    TPersistent::Assign(nullptr);
    return;
  }
  Updating(this, [&] {
    Clear();
    for (int32_t i = 0; i < Source->GetCount(); ++i) Add(static_cast<TObject*>(Source->Get(i)));
  });
}

TSQNode* TPelCustomLinkedList::GetNode(int32_t Index) {
  if (Index < 0 || Index >= FCount) Error(SInvalidIndex);
  TSQNode* node;
  int32_t steps;
  if (FIndex >= 0 && Index >= FIndex) {
    node = Current();
    steps = Index - FIndex;
  } else {
    node = FHead;
    steps = Index;
  }
  for (; steps > 0; --steps) node = CheckAssigned(node)->GetNext();
  SetCurrent(CheckAssigned(node));
  FIndex = Index;
  return node;
}

void TPelCustomLinkedList::SetNode(int32_t Index, TSQNode* Node) {
  TSQNode* old = GetNode(Index);
  if (old == Node) return;
  CheckAssigned(Node);
  TSQNode* prev = Find(old);
  Node->SetNext(old->GetNext());
  if (prev)
    prev->SetNext(Node);
  else
    FHead = Node;
  // Intended: the tail and the cursor keep referring to the old node.
  Free(old);
  Change();
}

TSQNode* TPelCustomLinkedList::HeadOf(const TPelCustomLinkedList* List) {
  return CheckAssigned(List)->FHead;
}

void TPelCustomLinkedList::AddLinkedList(TPelCustomLinkedList* List) {
  TSQNode* first = HeadOf(List);
  Updating(this, [&] {
    for (TSQNode* src = first; src; src = src->GetNext()) AddNode(CopyNode<TSQNode>(src));
  });
}

void TPelCustomLinkedList::BeginUpdate() { ++FUpdateCount; }

void TPelCustomLinkedList::Clear() {
  FreeNodes();
  Change();
}

void TPelCustomLinkedList::EndUpdate() {
  if (FUpdateCount > 0) --FUpdateCount;
  // An unmatched EndUpdate notifies too; intended.
  if (FUpdateCount == 0) Change();
}

void TPelCustomLinkedList::Change() {
  FIndex = -1;
  if (FUpdateCount <= 0 && FOnChange) FOnChange(this);
}

TSQNode* TPelCustomLinkedList::AddNode(TSQNode* Node) { return Insert(Node, nullptr); }

void TPelCustomLinkedList::Delete(TSQNode* Node) {
  if (!Node) Error(SInvalidIndex);
  TSQNode* prev = Find(Node);
  if (prev) {
    prev->SetNext(Node->GetNext());
    if (Node == FTail) FTail = prev;
  } else {
    FHead = Node->GetNext();
    if (Node == FTail) FTail = nullptr;
  }
  Free(Node);
  --FCount;
  Reset();
  Change();
}

TSQNode* TPelCustomLinkedList::Find(TSQNode* Node) {
  if (IsEmpty()) Error(SListEmpty);
  if (!Node) Error(SInvalidIndex);
  TSQNode* prev = nullptr;
  for (TSQNode* node = FHead; node; node = node->GetNext()) {
    if (node == Node) return prev;
    prev = node;
  }
  Error(SUnknownNode);
}

TSQNode* TPelCustomLinkedList::Insert(TSQNode* Node, TSQNode* Before) {
  CheckAssigned(Node);
  if (Before) {
    TSQNode* prev = Find(Before);
    if (Before == Current()) ++FIndex;
    if (prev)
      prev->SetNext(Node);
    else
      FHead = Node;
    Node->SetNext(Before);
  } else {
    if (FTail)
      FTail->SetNext(Node);
    else
      FHead = Node;
    FTail = Node;
  }
  ++FCount;
  Change();
  return Node;
}

TSQNode* TPelCustomLinkedList::NewNode() { return New<TSQNode>(); }

TSQNode* TPelCustomLinkedList::Add(TObject* Item) {
  TSQNode* node = NewNode();
  node->SetItem(Item);
  // From here the node is the list's, also when AddNode or OnChange raises.
  return AddNode(node);
}

TObject* TPelCustomLinkedList::GetItem(int32_t Index) { return GetNode(Index)->GetItem(); }

void TPelCustomLinkedList::SetItem(int32_t Index, TObject* Item) { GetNode(Index)->SetItem(Item); }

void TPelCustomLinkedList::Reset() {
  FIndex = 0;
  SetCurrent(FHead);
}

TSQNode* TPelCustomLinkedList::GetNext() {
  TSQNode* node = Current();
  if (!node) Error(SEndOfList);
  ++FIndex;
  SetCurrent(node->GetNext());
  return node;
}

TSQNode* TPelCustomLinkedList::FindItem(TObject* Item) {
  for (TSQNode* node = FHead; node; node = node->GetNext())
    if (node->GetItem() == Item) return node;
  return nullptr;
}

int32_t TPelCustomLinkedList::IndexOfItem(TObject* Item) {
  Reset();
  while (!GetEndOfList())
    if (GetNext()->GetItem() == Item) return FIndex - 1;
  return -1;
}

// ---------------------------------------------------------------------------
// TPelDoublyLinkedList

TSQNode* TPelDoublyLinkedList::GetNode(int32_t Index) {
  if (Index < 0 || Index >= FCount) Error(SInvalidIndex);
  int32_t back = FCount - Index - 1;
  if (Index < back) return TPelLinkedList::GetNode(Index);
  TSQDoubleNode* node = As<TSQDoubleNode>(CheckAssigned(FTail));
  for (; back > 0; --back) node = CheckAssigned(node->GetPrevious());
  FIndex = Index;
  SetCurrent(node);
  return node;
}

void TPelDoublyLinkedList::SetNode(int32_t Index, TSQNode* Node) {
  TSQNode* old = GetNode(Index);
  if (old == Node) return;
  TSQDoubleNode* node = As<TSQDoubleNode>(CheckAssigned(Node));
  TSQDoubleNode* oldNode = As<TSQDoubleNode>(old);
  node->SetNext(oldNode->GetNext());
  node->SetPrevious(oldNode->GetPrevious());
  // Intended: neighbours, head, tail and cursor still refer to the old node.
  Free(oldNode);
  Change();
}

void TPelDoublyLinkedList::Delete(TSQNode* Node) {
  TSQDoubleNode* prev = As<TSQDoubleNode>(Find(Node));
  TSQDoubleNode* next = As<TSQDoubleNode>(Node)->GetNext();
  Updating(this, [&] {
    TPelLinkedList::Delete(Node);
    if (next) next->SetPrevious(prev);
  });
}

TSQNode* TPelDoublyLinkedList::Insert(TSQNode* Node, TSQNode* Before) {
  TSQDoubleNode* node = As<TSQDoubleNode>(CheckAssigned(Node));
  TSQDoubleNode* before = As<TSQDoubleNode>(Before);
  TSQDoubleNode* tail = As<TSQDoubleNode>(FTail);
  Updating(this, [&] {
    if (!before) {
      node->SetPrevious(tail);
      TPelLinkedList::Insert(node, nullptr);
    } else {
      TPelLinkedList::Insert(node, before);
      node->SetPrevious(before->GetPrevious());
      before->SetPrevious(node);
    }
  });
  return Node;
}

TSQNode* TPelDoublyLinkedList::NewNode() { return New<TSQDoubleNode>(); }

// ---------------------------------------------------------------------------
// TPelQueue and TPelStack

TObject* TPelQueue::GetTop() {
  if (IsEmpty()) Error(SListEmpty);
  return CheckAssigned(FHead)->GetItem();
}

TObject* TPelQueue::Pop() {
  TObject* item = GetTop();
  // The next head is read by the next pop: its fetch from memory overlaps
  // this deletion (a priority queue's nodes lie in no particular order).
  if (TSQNode* next = FHead->GetNext()) __builtin_prefetch(next);
  Delete(FHead);
  return item;
}

TSQNode* TPelQueue::Push(TObject* Item) {
  TSQNode* node = NewNode();
  AddNode(node);
  // Intended: OnChange has already run when the item is stored.
  node->SetItem(Item);
  return node;
}

// Puts copies of the nodes from SourceHead on, in their order, in front of
// Head of the stack Self (made by its NewNode). Shared by both stacks.
static void PrependCopies(TPelCustomLinkedList* Self, TSQNode* SourceHead,
                          TSQNode* (*MakeNode)(TPelCustomLinkedList*), TSQNode*& Head,
                          TSQNode*& Tail, int32_t& Count) {
  TSQNode* first = nullptr;
  TSQNode* last = nullptr;
  int32_t copied = 0;
  try {
    for (TSQNode* src = SourceHead; src; src = src->GetNext()) {
      TSQNode* node = MakeNode(Self);
      if (last)
        last->SetNext(node);
      else
        first = node;
      last = node;
      ++copied;
      node->Assign(src);
    }
  } catch (...) {
    while (first) {
      TSQNode* next = first->GetNext();
      Free(first);
      first = next;
    }
    throw;
  }
  if (!first) return;
  last->SetNext(Head);
  if (!Head) Tail = last;
  Head = first;
  Count += copied;
}

static TSQNode* MakeNodeOf(TPelCustomLinkedList* List) { return List->NewNode(); }

// Both stacks copy another stack of their kind the same way: clear, then
// its nodes in their order, inside one update. False for any other source.
template <class Stack>
static bool CopyStack(Stack* Self, TPersistent* Source) {
  auto* stack = dynamic_cast<Stack*>(Source);
  if (!stack) return false;
  Updating(Self, [&] {
    Self->Clear();
    Self->AddStack(stack);
  });
  return true;
}

void TPelStack::Assign(TPersistent* Source) {
  if (!CopyStack(this, Source)) TPelQueue::Assign(Source);
}

TSQNode* TPelStack::AddNode(TSQNode* Node) { return Insert(Node, FHead); }

void TPelStack::AddStack(TPelCustomLinkedList* List) {
  PrependCopies(this, HeadOf(List), MakeNodeOf, FHead, FTail, FCount);
  Change();
}

// ---------------------------------------------------------------------------
// TPelStringQueue and TPelStringStack

void TPelStringQueue::AssignTo(TPersistent* Dest) {
  if (auto* strings = dynamic_cast<TStrings*>(Dest)) {
    strings->Clear();
    for (TSQNode* node = FHead; node; node = node->GetNext())
      strings->AddObject(As<TSQStringNode>(node)->GetValue(), node->GetItem());
    return;
  }
  TPelQueue::AssignTo(Dest);
}

TSQNode* TPelStringQueue::Insert(TSQNode* Node, TSQNode* Before) {
  return TPelQueue::Insert(As<TSQStringNode>(Node), Before);
}

TSQNode* TPelStringQueue::NewNode() { return New<TSQStringNode>(); }

String TPelStringQueue::GetTopString() {
  if (IsEmpty()) Error(SListEmpty);
  return As<TSQStringNode>(CheckAssigned(FHead))->GetValue();
}

TSQStringNode* TPelStringQueue::PushString(const String& S) { return PushItem(S, nullptr); }

TSQStringNode* TPelStringQueue::PushItem(const String& S, TObject* Item) {
  TSQStringNode* node = As<TSQStringNode>(NewNode());
  node->SetValue(S);
  node->SetItem(Item);
  AddNode(node);
  return node;
}

String TPelStringQueue::PopItem(TObject*& Item) {
  String s = GetTopString();
  Item = Pop();
  return s;
}

String TPelStringQueue::PopString() {
  TObject* item;
  return PopItem(item);
}

TSQStringNode* TPelStringQueue::FindString(const String& S) {
  for (TSQNode* node = FHead; node; node = node->GetNext()) {
    auto* str = As<TSQStringNode>(node);
    if (CompareText(str->GetValue(), S) == 0) return str;
  }
  return nullptr;
}

int32_t TPelStringQueue::IndexOfString(const String& S) {
  Reset();
  while (!GetEndOfList())
    // Intended: FIndex after GetNext, one more than the 0-based index.
    if (CompareText(GetNext()->GetValue(), S) == 0) return FIndex;
  return -1;
}

String TPelStringQueue::GetStrings(int32_t Index) { return GetStringNode(Index)->GetValue(); }

void TPelStringQueue::SetStrings(int32_t Index, const String& S) {
  GetStringNode(Index)->SetValue(S);
}

TSQStringNode* TPelStringQueue::GetStringNode(int32_t Index) {
  return As<TSQStringNode>(GetNode(Index));
}

void TPelStringQueue::SetStringNode(int32_t Index, TSQStringNode* Node) { SetNode(Index, Node); }

TSQStringNode* TPelStringQueue::GetNext() {
  return As<TSQStringNode>(TPelCustomLinkedList::GetNext());
}

bool TPelStringQueue::Equals(TPelStringQueue* Other) {
  if (!Other || Other->GetCount() != GetCount()) return false;
  for (int32_t i = 0; i < GetCount(); ++i)
    if (GetStrings(i) != Other->GetStrings(i)) return false;
  return true;
}

void TPelStringQueue::DefineProperties(TFiler* Filer) {
  TPelQueue::DefineProperties(Filer);
  Filer->DefineProperty(
      "Strings", [this](TReader* Reader) { ReadData(Reader); },
      [this](TWriter* Writer) { WriteData(Writer); }, true);
}

void TPelStringQueue::ReadData(TReader* Reader) {
  Reader->ReadListBegin();
  Updating(this, [&] {
    Clear();
    while (!Reader->EndOfList()) {
      auto* node = As<TSQStringNode>(NewNode());
      Insert(node, nullptr);
      node->SetValue(Reader->ReadString());
    }
  });
  Reader->ReadListEnd();
}

void TPelStringQueue::WriteData(TWriter* Writer) {
  Writer->WriteListBegin();
  for (int32_t i = 0; i < GetCount(); ++i) Writer->WriteString(GetStrings(i));
  Writer->WriteListEnd();
}

void TPelStringStack::Assign(TPersistent* Source) {
  if (!CopyStack(this, Source)) TPelStringQueue::Assign(Source);
}

TSQNode* TPelStringStack::AddNode(TSQNode* Node) { return Insert(Node, FHead); }

void TPelStringStack::AddStack(TPelCustomLinkedList* List) {
  PrependCopies(this, HeadOf(List), MakeNodeOf, FHead, FTail, FCount);
  Change();
}

// ---------------------------------------------------------------------------
// The steps both priority queues share

template <class TNode>
void TPelCustomLinkedList::AddPriorityCopies(TPelCustomLinkedList* List) {
  TSQNode* first = HeadOf(List);
  Updating(this, [&] {
    for (TSQNode* src = first; src; src = src->GetNext()) {
      TNode* node = CopyNode<TNode>(src);
      if (auto* ps = dynamic_cast<TNode*>(src)) node->SetPriority(ps->GetPriority());
      AddNode(node);
    }
  });
}

template <class TNode>
TNode* TPelCustomLinkedList::PushPriority(TObject* Item, int32_t Priority) {
  TNode* node = As<TNode>(NewNode());
  node->SetItem(Item);
  node->SetPriority(Priority);
  AddNode(node);
  return node;
}

template <class TNode>
TNode* TPelCustomLinkedList::ReplacePriority(TNode* Old, int32_t Priority) {
  TNode* node = CopyNode<TNode>(Old);
  node->SetPriority(Priority);
  Insert(node, nullptr);
  // Intended: the old node is looked for only now, so an Old that is not in
  // the list raises after the copy has joined it.
  Delete(Old);
  return node;
}

// ---------------------------------------------------------------------------
// TPelPriorityQueue

TSQNode* TPelPriorityQueue::NewNode() {
  return TSQPriorityNodeClass(TSQPriorityNode::StaticClass()).Create(0);
}

namespace detail {
static std::atomic<uint64_t> GPriorityChanges{0};
uint64_t PriorityChanges() { return GPriorityChanges.load(std::memory_order_relaxed); }
void CountPriorityChange() { GPriorityChanges.fetch_add(1, std::memory_order_relaxed); }
}  // namespace detail

template <class Body>
void TPelPriorityQueue::OwnChange(Body&& body) {
  FOwnChange = true;
  TryFinally(std::forward<Body>(body), [this] { FOwnChange = false; });
}

void TPelPriorityQueue::Change() {
  // Taken before OnChange runs, so that what a handler does is judged alone.
  if (!std::exchange(FOwnChange, false)) FOrder = orUnknown;
  TPelQueue::Change();
}

void TPelPriorityQueue::EndUpdate() {
  OwnChange([this] { TPelQueue::EndUpdate(); });
}

bool TPelPriorityQueue::Indexed(bool Check) {
  uint64_t changes = detail::PriorityChanges();
  if (changes != FSeenChanges) {
    FSeenChanges = changes;
    if (FOrder == orSorted) FOrder = orUnknown;
  }
  if (Check && FOrder == orUnknown) Rebuild();
  return FOrder == orSorted;
}

void TPelPriorityQueue::Rebuild() {
  FRuns.Clear();
  FOrder = orBroken;
  // The nodes must be Count priority nodes from the head to the tail, in
  // ascending order; only pointers are compared until a node is known linked.
  TSQNode* last = nullptr;
  detail::TPriorityRuns::TRun* run = nullptr;
  int32_t p = 0;
  int32_t n = 0;
  for (TSQNode* at = FHead; at; at = at->GetNext()) {
    auto* node = dynamic_cast<TSQPriorityNode*>(at);
    if (++n > FCount || !node || (run && node->GetPriority() < p)) {
      FRuns.Clear();
      return;
    }
    if (run && node->GetPriority() == p) {
      run->Last = node;
    } else {
      p = node->GetPriority();
      run = FRuns.Add(p, {node, node}).first;
    }
    node->FLinked = true;
    last = at;
  }
  if (n != FCount || last != FTail) {
    FRuns.Clear();
    return;
  }
  FOrder = orSorted;
}

TSQNode* TPelPriorityQueue::IndexedPlace(detail::TPriorityRuns::TPlace At, TSQNode*& Prev) {
  detail::TPriorityRuns::TRun* before;
  detail::TPriorityRuns::TRun* run;
  FRuns.Around(At, before, run);
  Prev = before->Last;
  return run->First;
}

void TPelPriorityQueue::IndexInsert(TSQPriorityNode* Node, TSQNode* Prev, TSQNode* Next,
                                    detail::TPriorityRuns::TPlace At) {
  Node->FLinked = true;
  auto [run, added] = FRuns.Add(Node->GetPriority(), {Node, Node}, At);
  if (added) return;
  // Linked into the run of equal priorities: at its front or its back.
  if (run->First == Next) run->First = Node;
  if (run->Last == Prev) run->Last = Node;
}

void TPelPriorityQueue::IndexDelete(TSQPriorityNode* Node, TSQNode* Prev) {
  const auto at = FRuns.Locate(Node->GetPriority());
  detail::TPriorityRuns::TRun* run = FRuns.Find(Node->GetPriority(), at);
  if (run->First == Node && run->Last == Node) {
    FRuns.Remove(at);
  } else if (run->First == Node) {
    run->First = Node->GetNext();
  } else if (run->Last == Node) {
    run->Last = Prev;
  }
}

TSQNode* TPelPriorityQueue::Insert(TSQNode* Node, TSQNode*) {
  TSQPriorityNode* node = As<TSQPriorityNode>(CheckAssigned(Node));
  int32_t p = node->GetPriority();
  bool indexed = Indexed(true);
  // Where the index has or takes priority p: found once for the place and
  // the entry.
  const auto at = indexed ? FRuns.Locate(p) : detail::TPriorityRuns::TPlace{};
  Reset();
  TSQNode* prev = nullptr;
  TSQNode* next = nullptr;
  if (!FHead) {
    FHead = node;
    FTail = node;
  } else if (p <= As<TSQPriorityNode>(FHead)->GetPriority()) {
    // Newest first among equal priorities at the head: intended.
    next = FHead;
    node->SetNext(FHead);
    FHead = node;
  } else if (!FTail) {
    RaiseAccessViolation();
  } else if (p >= As<TSQPriorityNode>(FTail)->GetPriority()) {
    // Behind an equal tail: intended.
    prev = FTail;
    FTail->SetNext(node);
    FTail = node;
  } else if (indexed) {
    next = IndexedPlace(at, prev);
    // Where the walk would have left the cursor: after the node it stopped at.
    SetCurrentAfter(next);
    node->SetNext(next);
    prev->SetNext(node);
  } else {
    while (!GetEndOfList()) {
      TSQNode* walked = TPelQueue::GetNext();
      if (As<TSQPriorityNode>(walked)->GetPriority() >= p) {
        CheckAssigned(prev);  // the head's priority is below p
        node->SetNext(walked);
        prev->SetNext(node);
        break;
      }
      prev = walked;
    }
  }
  if (indexed) IndexInsert(node, prev, next, at);
  ++FCount;
  OwnChange([this] { Change(); });
  return Node;
}

void TPelPriorityQueue::Delete(TSQNode* Node) {
  // Deleting never checks the order (each pop would walk): without the index
  // the deletion is the linked list's, and the next push checks.
  if (!Node || FCount == 0 || !Indexed(false)) {
    TPelQueue::Delete(Node);
    return;
  }
  // Find raises as the linked list's Delete would, before anything changes.
  TSQNode* prev = Node == FHead ? nullptr : Find(Node);
  IndexDelete(As<TSQPriorityNode>(Node), prev);
  OwnChange([&] { TPelQueue::Delete(Node); });
}

void TPelPriorityQueue::AddLinkedList(TPelCustomLinkedList* List) {
  AddPriorityCopies<TSQPriorityNode>(List);
}

TSQPriorityNode* TPelPriorityQueue::ChangePriority(TSQPriorityNode* Node, int32_t Priority) {
  return ReplacePriority(Node, Priority);
}

TSQPriorityNode* TPelPriorityQueue::ChangePriority(int32_t Index, int32_t Priority) {
  return ChangePriority(GetPriorityNode(Index), Priority);
}

TSQPriorityNode* TPelPriorityQueue::PushP(TObject* Item, int32_t Priority) {
  return PushPriority<TSQPriorityNode>(Item, Priority);
}

int32_t TPelPriorityQueue::GetPriority(int32_t Index) {
  return GetPriorityNode(Index)->GetPriority();
}

TSQPriorityNode* TPelPriorityQueue::GetPriorityNode(int32_t Index) {
  return As<TSQPriorityNode>(GetNode(Index));
}

void TPelPriorityQueue::SetPriorityNode(int32_t Index, TSQPriorityNode* Node) {
  SetNode(Index, Node);
}

TSQPriorityNode* TPelPriorityQueue::GetNext() { return As<TSQPriorityNode>(TPelQueue::GetNext()); }

// ---------------------------------------------------------------------------
// TPelPriorityStringQueue

TPelPriorityStringQueue::~TPelPriorityStringQueue() {
  for (TSQNode* node : FUnlinked) Free(node);
}

TSQNode* TPelPriorityStringQueue::NewNode() {
  return TSQPriorityStringNodeClass(TSQPriorityStringNode::StaticClass()).Create(0);
}

TSQNode* TPelPriorityStringQueue::Insert(TSQNode* Node, TSQNode*) {
  TSQPriorityStringNode* node = As<TSQPriorityStringNode>(CheckAssigned(Node));
  int32_t p = node->GetPriority();
  Reset();
  TSQNode* stop = nullptr;
  TSQNode* last = nullptr;
  while (!GetEndOfList()) {
    last = TPelStringQueue::GetNext();
    if (As<TSQPriorityStringNode>(last)->GetPriority() > p) {
      stop = last;
      break;
    }
  }
  // Intended: only the new node's Next is set; nothing is linked or counted.
  node->SetNext(stop ? stop : last);
  FUnlinked.insert(Node);
  return Node;
}

void TPelPriorityStringQueue::AddLinkedList(TPelCustomLinkedList* List) {
  AddPriorityCopies<TSQPriorityStringNode>(List);
}

TSQPriorityStringNode* TPelPriorityStringQueue::ChangePriority(TSQPriorityStringNode* Node,
                                                               int32_t Priority) {
  return ReplacePriority(Node, Priority);
}

TSQPriorityStringNode* TPelPriorityStringQueue::PushP(TObject* Item, int32_t Priority) {
  return PushPriority<TSQPriorityStringNode>(Item, Priority);
}

TSQPriorityStringNode* TPelPriorityStringQueue::PushItemP(const String&, TObject* Item,
                                                          int32_t Priority) {
  // Intended: the string is not stored.
  return TPelPriorityStringQueue::PushP(Item, Priority);
}

int32_t TPelPriorityStringQueue::GetPriority(int32_t Index) {
  return GetPriorityNode(Index)->GetPriority();
}

TSQPriorityStringNode* TPelPriorityStringQueue::GetPriorityNode(int32_t Index) {
  return As<TSQPriorityStringNode>(GetNode(Index));
}

void TPelPriorityStringQueue::SetPriorityNode(int32_t Index, TSQPriorityStringNode* Node) {
  SetNode(Index, Node);
}

TSQPriorityStringNode* TPelPriorityStringQueue::GetNext() {
  return As<TSQPriorityStringNode>(TPelStringQueue::GetNext());
}

}  // namespace pel
