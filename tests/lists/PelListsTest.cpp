// Nodes, the singly linked list and the doubly linked list.
#include <gtest/gtest.h>

#include <vector>

#include "lists/ListsTestSupport.h"
#include "lists/PelLists.h"

using namespace pel;
using namespace pel::test;

namespace {

// A linked list that shows its cursor and makes counted nodes.
class TProbeList : public TPelLinkedList {
  PEL_CLASS(TProbeList, TPelLinkedList)
 public:
  static inline int Clears = 0;
  TSQNode* NewNode() override { return New<TCountedNode>(); }
  void Clear() override {
    ++Clears;
    TPelLinkedList::Clear();
  }
  int32_t CursorIndex() const { return FIndex; }
  TSQNode* Cursor() const { return Current(); }
  void SetCursor(int32_t Index, TSQNode* Node) {
    FIndex = Index;
    SetCurrent(Node);
  }
};

class TProbeDoublyList : public TPelDoublyLinkedList {
  PEL_CLASS(TProbeDoublyList, TPelDoublyLinkedList)
 public:
  TSQNode* NewNode() override { return New<TCountedDoubleNode>(); }
  int32_t CursorIndex() const { return FIndex; }
  TSQNode* Cursor() const { return Current(); }
};

// The items of a list from the head, following the links.
std::vector<TObject*> ItemsOf(TSQNode* Head) {
  std::vector<TObject*> r;
  for (TSQNode* n = Head; n; n = n->GetNext()) r.push_back(n->GetItem());
  return r;
}

// The items of a doubly linked list from the tail, following Previous.
std::vector<TObject*> ItemsBackward(TSQDoubleNode* Tail) {
  std::vector<TObject*> r;
  for (TSQDoubleNode* n = Tail; n; n = n->GetPrevious()) r.insert(r.begin(), n->GetItem());
  return r;
}

struct Items {
  TCountedItem a, b, c, d;
};

// A node made by List's own NewNode, carrying Item.
template <class N = TSQNode>
N* NodeFor(TPelCustomLinkedList& List, TObject* Item) {
  N* n = As<N>(List.NewNode());
  n->SetItem(Item);
  return n;
}

}  // namespace

TEST(SQNode, AssignCopiesDataButNeverLinksOrPriorities) {
  Owned<TSQStringNode> src = Make<TSQStringNode>();
  Owned<TSQStringNode> other = Make<TSQStringNode>();
  TCountedItem item;
  src->SetItem(&item);
  src->SetValue("alpha");
  src->SetNext(other.get());

  Owned<TSQStringNode> copy = Make<TSQStringNode>();
  copy->Assign(src.get());
  EXPECT_EQ(copy->GetItem(), &item);
  EXPECT_EQ(copy->GetValue(), "alpha");
  EXPECT_EQ(copy->GetNext(), nullptr);

  // A plain node gives a string node its item only.
  Owned<TSQNode> plain = Make<TSQNode>();
  plain->SetItem(other.get());
  copy->Assign(plain.get());
  EXPECT_EQ(copy->GetItem(), other.get());
  EXPECT_EQ(copy->GetValue(), "alpha");

  // Priorities are made by the class reference and never copied.
  TSQPriorityNodeClass cls(TSQPriorityNode::StaticClass());
  Owned<TSQPriorityNode> p7(cls.Create(7));
  Owned<TSQPriorityNode> p2(cls.Create(2));
  p7->SetItem(&item);
  p2->Assign(p7.get());
  EXPECT_EQ(p2->GetPriority(), 2);
  EXPECT_EQ(p2->GetItem(), &item);
  Owned<TSQPriorityStringNode> ps(
      TSQPriorityStringNodeClass(TSQPriorityStringNode::StaticClass()).Create(4));
  ps->Assign(src.get());
  EXPECT_EQ(ps->GetPriority(), 4);
  EXPECT_EQ(ps->GetValue(), "alpha");

  // A node cannot take a list, nor nothing.
  Owned<TPelLinkedList> list = Make<TPelLinkedList>();
  ExpectRaises<EConvertError>([&] { plain->Assign(list.get()); },
                              "Cannot assign a TPelLinkedList to a TSQNode");
  ExpectRaises<EConvertError>([&] { plain->Assign(nullptr); }, "Cannot assign a nil to a TSQNode");
}

TEST(PelLinkedList, CursorWalkAndIndexedAccess) {
  Items it;
  Owned<TProbeList> list = Make<TProbeList>();
  TSQNode* n0 = list->Add(&it.a);
  TSQNode* n1 = list->Add(&it.b);
  TSQNode* n2 = list->Add(&it.c);
  list->Reset();
  const std::vector<TSQNode*> nodes{n0, n1, n2};
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(list->CursorIndex(), i);
    EXPECT_EQ(list->GetNext(), nodes[i]);
  }
  EXPECT_TRUE(list->GetEndOfList());
  ExpectRaises<EListError>([&] { list->GetNext(); }, "End of list");

  EXPECT_EQ(list->GetNode(1), n1);
  EXPECT_EQ(list->CursorIndex(), 1);
  EXPECT_EQ(list->Cursor(), n1);
  EXPECT_EQ(list->GetItem(2), &it.c);
  EXPECT_EQ(list->Cursor(), n2);
  // Ascending access walks on from the cursor: pretend the cursor at index 1
  // is n0, and index 2 is then found one step further, at n1.
  list->SetCursor(1, n0);
  EXPECT_EQ(list->GetNode(2), n1);
  // Going back, or with an unknown index, walks from the head.
  list->SetCursor(2, n2);
  EXPECT_EQ(list->GetNode(0), n0);
  list->SetCursor(-1, n2);
  EXPECT_EQ(list->GetNode(1), n1);

  for (int32_t bad : {-1, 3}) {
    ExpectRaises<EListError>([&] { list->GetNode(bad); }, "Invalid Index");
    ExpectRaises<EListError>([&] { list->SetItem(bad, &it.d); }, "Invalid Index");
  }
  EXPECT_EQ(ItemsOf(list->GetHead()), (std::vector<TObject*>{&it.a, &it.b, &it.c}));
}

TEST(PelLinkedList, InsertKeepsLinksAndForgetsTheCursorIndex) {
  Items it;
  Owned<TProbeList> list = Make<TProbeList>();
  TSQNode* b = list->Add(&it.b);
  TSQNode* d = list->Add(&it.d);
  EXPECT_EQ(list->GetNode(1), d);

  // Before the cursor node: linked in front of it; any change makes the
  // cursor index unknown.
  TSQNode* c = NodeFor(*list, &it.c);
  EXPECT_EQ(list->Insert(c, d), c);
  EXPECT_EQ(list->CursorIndex(), -1);
  EXPECT_EQ(list->GetNode(2), d);
  // Before the head: the new node becomes the head.
  TSQNode* a = list->Insert(NodeFor(*list, &it.a), b);
  EXPECT_EQ(list->GetHead(), a);
  EXPECT_EQ(list->GetTail(), d);
  EXPECT_EQ(ItemsOf(list->GetHead()), (std::vector<TObject*>{&it.a, &it.b, &it.c, &it.d}));

  // Before a node of another list: nothing changes.
  Owned<TProbeList> other = Make<TProbeList>();
  TSQNode* foreign = other->Add(&it.a);
  Owned<TSQNode> loose = Make<TSQNode>();
  TChangeCounter changes;
  list->SetOnChange(changes.Handler());
  ExpectRaises<EListError>([&] { list->Insert(loose.get(), foreign); },
                           "Cannot find node within list");
  EXPECT_EQ(list->GetCount(), 4);
  EXPECT_EQ(changes.Count, 0);
  ExpectRaises<EListError>([&] { other->Find(nullptr); }, "Invalid Index");
  Owned<TProbeList> empty = Make<TProbeList>();
  ExpectRaises<EListError>([&] { empty->Find(nullptr); }, "List is empty");
  EXPECT_EQ(list->Find(a), nullptr);
  EXPECT_EQ(list->Find(c), b);
}

TEST(PelLinkedList, DeleteFreesNodesNotItemsAndResetsTheCursor) {
  Items it;
  {
    Owned<TProbeList> list = Make<TProbeList>();
    TSQNode* a = list->Add(&it.a);
    TSQNode* b = list->Add(&it.b);
    TSQNode* c = list->Add(&it.c);

    ExpectRaises<EListError>([&] { list->Delete(nullptr); }, "Invalid Index");
    Owned<TSQNode> loose = Make<TSQNode>();
    ExpectRaises<EListError>([&] { list->Delete(loose.get()); }, "Cannot find node within list");
    EXPECT_EQ(list->GetCount(), 3);

    // Deleting the tail makes its predecessor the tail.
    list->GetNode(2);
    list->Delete(c);
    EXPECT_EQ(list->GetTail(), b);
    EXPECT_EQ(list->Cursor(), a);  // reset to the head
    TSQNode* d = list->Add(&it.d);
    EXPECT_EQ(ItemsOf(list->GetHead()), (std::vector<TObject*>{&it.a, &it.b, &it.d}));

    // Deleting the head and then the rest empties head, tail and cursor.
    list->Delete(a);
    EXPECT_EQ(list->GetHead(), b);
    list->Delete(b);
    list->Delete(d);
    EXPECT_EQ(list->GetHead(), nullptr);
    EXPECT_EQ(list->GetTail(), nullptr);
    EXPECT_TRUE(list->GetEndOfList());
    EXPECT_EQ(TCountedNode::Alive, 0);
    ExpectRaises<EListError>([&] { list->Delete(loose.get()); }, "List is empty");
  }
  EXPECT_EQ(TCountedItem::Alive, 4);
}

TEST(PelLinkedList, SetNodeReplacesButLeavesTailAndCursor) {
  Items it;
  Owned<TProbeList> list = Make<TProbeList>();
  TChangeCounter changes;
  list->Add(&it.a);
  TSQNode* b = list->Add(&it.b);
  list->Add(&it.c);
  list->SetOnChange(changes.Handler());

  list->SetNode(1, b);  // the same node: nothing happens
  EXPECT_EQ(changes.Count, 0);

  TSQNode* x = NodeFor(*list, &it.d);
  list->SetNode(1, x);
  EXPECT_EQ(changes.Count, 1);
  EXPECT_EQ(ItemsOf(list->GetHead()), (std::vector<TObject*>{&it.a, &it.d, &it.c}));

  TSQNode* h = list->NewNode();
  list->SetNode(0, h);
  EXPECT_EQ(list->GetHead(), h);
  EXPECT_EQ(h->GetNext(), x);

  // Replacing the last node: the tail still names the old one (intended).
  TSQNode* y = list->NewNode();
  list->SetNode(2, y);
  EXPECT_NE(list->GetTail(), y);
  EXPECT_EQ(x->GetNext(), y);
  ExpectRaises<EListError>([&] { list->SetNode(3, y); }, "Invalid Index");
  list->Clear();  // walks from the head, so every live node is freed
  EXPECT_EQ(TCountedNode::Alive, 0);
}

TEST(PelLinkedList, ItemsSearchNotificationsAndDestruction) {
  Items it;
  TProbeList* list = New<TProbeList>();
  TChangeCounter changes;
  TSQNode* a = list->Add(&it.a);
  TSQNode* b = list->Add(&it.b);
  list->Add(&it.c);
  list->SetOnChange(changes.Handler());

  list->SetItem(0, &it.d);  // no notification
  EXPECT_EQ(changes.Count, 0);
  EXPECT_EQ(list->FindItem(&it.d), a);
  EXPECT_EQ(list->FindItem(&it.a), nullptr);
  list->SetItem(0, &it.a);
  EXPECT_EQ(list->IndexOfItem(&it.b), 1);
  // The cursor stays where the search stopped: just past b.
  EXPECT_EQ(list->Cursor(), b->GetNext());
  EXPECT_EQ(list->GetNext()->GetItem(), &it.c);
  EXPECT_EQ(list->IndexOfItem(&it.d), -1);
  EXPECT_TRUE(list->GetEndOfList());

  // Clear notifies also when empty; updates nest, and an unmatched
  // EndUpdate notifies as well.
  list->Delete(a);
  list->Clear();
  list->Clear();
  EXPECT_EQ(changes.Count, 3);
  list->BeginUpdate();
  list->BeginUpdate();
  list->Add(&it.c);
  list->Clear();
  list->EndUpdate();
  EXPECT_EQ(changes.Count, 3);
  list->EndUpdate();
  list->EndUpdate();
  list->Add(&it.a);
  EXPECT_EQ(changes.Count, 6);

  // Destruction clears through the override with OnChange dropped first,
  // freeing the nodes but never the items.
  TProbeList::Clears = 0;
  Free(list);
  EXPECT_EQ(TProbeList::Clears, 1);
  EXPECT_EQ(changes.Count, 6);
  EXPECT_EQ(TCountedNode::Alive, 0);
  EXPECT_EQ(TCountedItem::Alive, 4);
}

TEST(PelLinkedList, AssignFromListsAndPlatformLists) {
  Items it;
  Owned<TPelStringQueue> strings = Make<TPelStringQueue>();
  strings->PushItem("one", &it.a);
  strings->PushItem("two", &it.b);
  Owned<TProbeList> list = Make<TProbeList>();
  list->Add(&it.d);
  TChangeCounter changes;
  list->SetOnChange(changes.Handler());

  list->Assign(strings.get());
  EXPECT_EQ(changes.Count, 1);
  EXPECT_EQ(ItemsOf(list->GetHead()), (std::vector<TObject*>{&it.a, &it.b}));
  EXPECT_EQ(TCountedNode::Alive, 2);  // copies made by this list's NewNode

  Owned<TList> plain = Make<TList>();
  plain->Add(&it.c);
  plain->Add(nullptr);
  plain->Add(&it.a);
  list->Assign(plain.get());
  EXPECT_EQ(changes.Count, 2);
  EXPECT_EQ(ItemsOf(list->GetHead()), (std::vector<TObject*>{&it.c, nullptr, &it.a}));

  // An unknown source: the framework's conversion error, list unchanged.
  Owned<TSQNode> node = Make<TSQNode>();
  ExpectRaises<EConvertError>([&] { list->Assign(node.get()); },
                              "Cannot assign a TSQNode to a TProbeList");
  EXPECT_EQ(changes.Count, 2);

  // AddLinkedList appends copies in one notification.
  list->AddLinkedList(strings.get());
  EXPECT_EQ(changes.Count, 3);
  EXPECT_EQ(ItemsOf(list->GetHead()), (std::vector<TObject*>{&it.c, nullptr, &it.a, &it.a, &it.b}));
  // No list to copy from: the access violation is raised before anything.
  ExpectRaises<EAccessViolation>([&] { list->AddLinkedList(nullptr); }, "Access violation");
  EXPECT_EQ(list->GetCount(), 5);
}

TEST(PelDoublyLinkedList, BackLinksFollowInsertsAndDeletes) {
  Items it;
  Owned<TProbeDoublyList> list = Make<TProbeDoublyList>();
  TSQNode* a = list->Add(&it.a);
  TSQNode* c = list->Add(&it.c);
  auto* b = NodeFor<TSQDoubleNode>(*list, &it.b);
  TChangeCounter changes;
  list->SetOnChange(changes.Handler());
  list->Insert(b, c);
  EXPECT_EQ(changes.Count, 1);  // one notification for the bracket
  auto* d = NodeFor<TSQDoubleNode>(*list, &it.d);
  list->Insert(d, a);
  std::vector<TObject*> order{&it.d, &it.a, &it.b, &it.c};
  EXPECT_EQ(ItemsOf(list->GetHead()), order);
  EXPECT_EQ(ItemsBackward(list->GetTail()), order);
  EXPECT_EQ(list->GetHead()->GetPrevious(), nullptr);

  // Indexed access to the back half walks from the tail and sets the cursor.
  EXPECT_EQ(list->GetNode(2), b);
  EXPECT_EQ(list->CursorIndex(), 2);
  EXPECT_EQ(list->GetNode(3), c);
  EXPECT_EQ(list->GetNode(0), d);

  list->Delete(b);
  list->Delete(d);
  order = {&it.a, &it.c};
  EXPECT_EQ(ItemsOf(list->GetHead()), order);
  EXPECT_EQ(ItemsBackward(list->GetTail()), order);
  list->Delete(c);
  EXPECT_EQ(ItemsBackward(list->GetTail()), (std::vector<TObject*>{&it.a}));

  // Only double nodes go in (checked before the bracket opens); a failure
  // inside the bracket still closes it, and closing it notifies.
  Owned<TSQNode> plain = Make<TSQNode>();
  changes.Count = 0;
  ExpectRaises<EInvalidCast>([&] { list->Insert(plain.get(), nullptr); }, "Invalid class typecast");
  EXPECT_EQ(changes.Count, 0);
  Owned<TSQDoubleNode> loose = Make<TSQDoubleNode>();
  Owned<TSQDoubleNode> stranger = Make<TSQDoubleNode>();
  ExpectRaises<EListError>([&] { list->Insert(loose.get(), stranger.get()); },
                           "Cannot find node within list");
  EXPECT_EQ(list->GetCount(), 1);
  list->Add(&it.b);
  EXPECT_EQ(changes.Count, 2);
  ExpectRaises<EListError>([&] { list->Delete(nullptr); }, "Invalid Index");
}

TEST(PelDoublyLinkedList, SetNodeRelinksNothing) {
  Items it;
  Owned<TProbeDoublyList> list = Make<TProbeDoublyList>();
  TSQNode* a = list->Add(&it.a);
  Owned<TSQDoubleNode> x = Make<TSQDoubleNode>();
  Owned<TSQNode> plain = Make<TSQNode>();
  ExpectRaises<EInvalidCast>([&] { list->SetNode(0, plain.get()); }, "Invalid class typecast");
  EXPECT_EQ(list->GetHead(), a);

  TChangeCounter changes;
  list->SetOnChange(changes.Handler());
  list->SetNode(0, x.get());
  EXPECT_EQ(changes.Count, 1);
  EXPECT_EQ(TCountedDoubleNode::Alive, 0);  // the old node is freed
  // Intended: head and tail still name the freed node; repair them by hand.
  list->SetHead(x.get());
  list->SetTail(x.get());
  EXPECT_EQ(list->GetNode(0), x.get());
  EXPECT_EQ(x->GetPrevious(), nullptr);
  list->SetHead(nullptr);  // x stays the caller's
  list->SetTail(nullptr);
}
