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

// Four counted items named a to d, and a probe list holding a, b, c.
class LinkedListTest : public ::testing::Test {
 protected:
  TCountedItem a, b, c, d;
  Owned<TProbeList> list = Make<TProbeList>();
  TSQNode* na = list->Add(&a);
  TSQNode* nb = list->Add(&b);
  TSQNode* nc = list->Add(&c);
  TChangeCounter changes;

  std::string Name(TObject* o) const {
    return o == &a ? "a" : o == &b ? "b" : o == &c ? "c" : o == &d ? "d" : o ? "?" : "-";
  }
  // The items from the head following Next, or from the tail following Previous.
  std::string Items(TSQNode* Head) const {
    std::string r;
    for (TSQNode* n = Head; n; n = n->GetNext()) r += Name(n->GetItem());
    return r;
  }
  std::string Backward(TSQDoubleNode* Tail) const {
    std::string r;
    for (TSQDoubleNode* n = Tail; n; n = n->GetPrevious()) r.insert(0, Name(n->GetItem()));
    return r;
  }
  void Watch(TPelCustomLinkedList* List) { List->SetOnChange(changes.Handler()); }
};
using PelLinkedList = LinkedListTest;

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
  copy->Assign(plain.get());
  EXPECT_EQ(copy->GetItem(), nullptr);
  EXPECT_EQ(copy->GetValue(), "alpha");

  // Priorities are made by the class reference and never copied.
  TSQPriorityNodeClass cls(TSQPriorityNode::StaticClass());
  Owned<TSQPriorityNode> p7(cls.Create(7));
  Owned<TSQPriorityNode> p2(cls.Create(2));
  p2->Assign(p7.get());
  EXPECT_EQ(p2->GetPriority(), 2);
  Owned<TSQPriorityStringNode> ps(
      TSQPriorityStringNodeClass(TSQPriorityStringNode::StaticClass()).Create(4));
  ps->Assign(src.get());
  EXPECT_EQ(ps->GetPriority(), 4);
  EXPECT_EQ(ps->GetValue(), "alpha");

  // A node cannot take anything else.
  EXPECT_THROW(plain->Assign(nullptr), EConvertError);
}

TEST_F(PelLinkedList, CursorWalkAndIndexedAccess) {
  list->Reset();
  for (TSQNode* n : {na, nb, nc}) EXPECT_EQ(list->GetNext(), n);
  EXPECT_TRUE(list->GetEndOfList());
  ExpectRaises<EListError>([&] { list->GetNext(); }, "End of list");

  EXPECT_EQ(list->GetItem(2), &c);
  EXPECT_EQ(list->CursorIndex(), 2);
  EXPECT_EQ(list->Cursor(), nc);
  // Ascending access walks on from the cursor: pretend the cursor at index 1
  // is na, and index 2 is then found one step further, at nb.
  list->SetCursor(1, na);
  EXPECT_EQ(list->GetNode(2), nb);
  // Going back, or with an unknown index, walks from the head.
  list->SetCursor(2, nc);
  EXPECT_EQ(list->GetNode(0), na);
  list->SetCursor(-1, nc);
  EXPECT_EQ(list->GetNode(1), nb);
  for (int32_t bad : {-1, 3})
    ExpectRaises<EListError>([&] { list->GetNode(bad); }, "Invalid Index");
}

TEST_F(PelLinkedList, InsertAndDeleteKeepLinksAndTheCursor) {
  list->Delete(na);
  list->Delete(nc);
  TSQNode* nd = list->Add(&d);
  EXPECT_EQ(list->GetNode(1), nd);
  // Before the cursor node: linked in front of it; any change makes the
  // cursor index unknown.
  nc = NodeFor(*list, &c);
  EXPECT_EQ(list->Insert(nc, nd), nc);
  EXPECT_EQ(list->CursorIndex(), -1);
  EXPECT_EQ(list->GetNode(2), nd);
  // Before the head: the new node becomes the head.
  na = list->Insert(NodeFor(*list, &a), nb);
  EXPECT_EQ(list->GetHead(), na);
  EXPECT_EQ(list->GetTail(), nd);
  EXPECT_EQ(Items(list->GetHead()), "abcd");
  EXPECT_EQ(list->Find(na), nullptr);
  EXPECT_EQ(list->Find(nc), nb);

  // Nodes of no list or another list: nothing changes.
  Owned<TSQNode> loose = Make<TSQNode>(), foreign = Make<TSQNode>();
  Watch(list.get());
  ExpectRaises<EListError>([&] { list->Insert(loose.get(), foreign.get()); },
                           "Cannot find node within list");
  EXPECT_THROW(list->Delete(loose.get()), EListError);
  EXPECT_THROW(list->Delete(nullptr), EListError);
  EXPECT_THROW(list->Find(nullptr), EListError);
  EXPECT_THROW(Make<TProbeList>()->Find(nullptr), EListError);  // empty
  EXPECT_EQ(list->GetCount(), 4);
  EXPECT_EQ(changes.Count, 0);

  // Deleting the tail makes its predecessor the tail and puts the cursor on
  // the head.
  list->GetNode(3);
  list->Delete(nd);
  EXPECT_EQ(list->GetTail(), nc);
  EXPECT_EQ(list->Cursor(), na);
  EXPECT_EQ(Items(list->GetHead()), "abc");
  // Deleting the head and then the rest empties head, tail and cursor.
  list->Delete(na);
  EXPECT_EQ(list->GetHead(), nb);
  list->Delete(nb);
  list->Delete(nc);
  EXPECT_EQ(list->GetHead(), nullptr);
  EXPECT_EQ(list->GetTail(), nullptr);
  EXPECT_TRUE(list->GetEndOfList());
  EXPECT_EQ(TCountedNode::Alive, 0);
  ExpectRaises<EListError>([&] { list->Delete(loose.get()); }, "List is empty");
}

TEST_F(PelLinkedList, SetNodeReplacesButLeavesTailAndCursor) {
  Watch(list.get());
  list->SetNode(1, nb);  // the same node: nothing happens
  EXPECT_EQ(changes.Count, 0);
  TSQNode* x = NodeFor(*list, &d);
  list->SetNode(1, x);
  EXPECT_EQ(changes.Count, 1);
  EXPECT_EQ(Items(list->GetHead()), "adc");
  TSQNode* h = list->NewNode();
  list->SetNode(0, h);
  EXPECT_EQ(list->GetHead(), h);
  // Replacing the last node: the tail still names the old one (intended).
  TSQNode* y = list->NewNode();
  list->SetNode(2, y);
  EXPECT_NE(list->GetTail(), y);
  EXPECT_EQ(Items(list->GetHead()), "-d-");
  list->Clear();  // walks from the head, so every live node is freed
  EXPECT_EQ(TCountedNode::Alive, 0);
}

TEST_F(PelLinkedList, ItemsSearchNotificationsAndDestruction) {
  Watch(list.get());
  list->SetItem(0, &d);  // no notification
  EXPECT_EQ(changes.Count, 0);
  EXPECT_EQ(list->FindItem(&d), na);
  EXPECT_EQ(list->FindItem(&a), nullptr);
  list->SetItem(0, &a);
  EXPECT_EQ(list->IndexOfItem(&b), 1);
  // The cursor stays where the search stopped: just past b.
  EXPECT_EQ(list->GetNext(), nc);
  EXPECT_EQ(list->IndexOfItem(&d), -1);

  // Clear notifies also when empty; updates nest, and an unmatched
  // EndUpdate notifies as well.
  list->Delete(na);
  list->Clear();
  list->Clear();
  EXPECT_EQ(changes.Count, 3);
  list->BeginUpdate();
  list->BeginUpdate();
  list->Add(&c);
  list->Clear();
  list->EndUpdate();
  EXPECT_EQ(changes.Count, 3);
  list->EndUpdate();
  list->EndUpdate();
  list->Add(&a);
  EXPECT_EQ(changes.Count, 6);

  // Destruction clears through the override with OnChange dropped first,
  // freeing the nodes but never the items.
  TProbeList::Clears = 0;
  list.reset();
  EXPECT_EQ(TProbeList::Clears, 1);
  EXPECT_EQ(changes.Count, 6);
  EXPECT_EQ(TCountedNode::Alive, 0);
  EXPECT_EQ(TCountedItem::Alive, 4);
}

TEST_F(PelLinkedList, AssignFromListsAndPlatformLists) {
  Owned<TPelStringQueue> strings = Make<TPelStringQueue>();
  strings->PushItem("one", &a);
  strings->PushItem("two", &b);
  Watch(list.get());
  list->Assign(strings.get());
  EXPECT_EQ(changes.Count, 1);
  EXPECT_EQ(Items(list->GetHead()), "ab");
  EXPECT_EQ(TCountedNode::Alive, 2);  // copies made by this list's NewNode

  Owned<TList> plain = Make<TList>();
  for (TObject* o : std::initializer_list<TObject*>{&c, nullptr, &a}) plain->Add(o);
  list->Assign(plain.get());
  EXPECT_EQ(changes.Count, 2);
  EXPECT_EQ(Items(list->GetHead()), "c-a");
  // An unknown source: the framework's conversion error, list unchanged.
  EXPECT_THROW(list->Assign(Make<TSQNode>().get()), EConvertError);
  EXPECT_EQ(changes.Count, 2);
  // AddLinkedList appends copies in one notification.
  list->AddLinkedList(strings.get());
  EXPECT_EQ(changes.Count, 3);
  EXPECT_EQ(Items(list->GetHead()), "c-aab");
  // No list to copy from: the access violation is raised before anything.
  EXPECT_THROW(list->AddLinkedList(nullptr), EAccessViolation);
  EXPECT_EQ(changes.Count, 3);
}

TEST_F(LinkedListTest, DoublyLinkedBackLinksFollowInsertsAndDeletes) {
  Owned<TProbeDoublyList> list = Make<TProbeDoublyList>();
  TSQNode* na = list->Add(&a);
  TSQNode* nc = list->Add(&c);
  auto* nb = NodeFor<TSQDoubleNode>(*list, &b);
  Watch(list.get());
  list->Insert(nb, nc);
  EXPECT_EQ(changes.Count, 1);  // one notification for the bracket
  auto* nd = NodeFor<TSQDoubleNode>(*list, &d);
  list->Insert(nd, na);
  EXPECT_EQ(Items(list->GetHead()) + "|" + Backward(list->GetTail()), "dabc|dabc");
  // Indexed access to the back half walks from the tail and sets the cursor.
  EXPECT_EQ(list->GetNode(2), nb);
  EXPECT_EQ(list->CursorIndex(), 2);
  EXPECT_EQ(list->GetNode(3), nc);
  EXPECT_EQ(list->GetNode(0), nd);
  list->Delete(nb);
  list->Delete(nd);
  EXPECT_EQ(Items(list->GetHead()) + "|" + Backward(list->GetTail()), "ac|ac");
  list->Delete(nc);
  EXPECT_EQ(Backward(list->GetTail()), "a");

  // Only double nodes go in (checked before the bracket opens); a failure
  // inside the bracket still closes it, and closing it notifies.
  Owned<TSQNode> plain = Make<TSQNode>();
  changes.Count = 0;
  ExpectRaises<EInvalidCast>([&] { list->Insert(plain.get(), nullptr); }, "Invalid class typecast");
  EXPECT_EQ(changes.Count, 0);
  Owned<TSQDoubleNode> loose = Make<TSQDoubleNode>(), stranger = Make<TSQDoubleNode>();
  EXPECT_THROW(list->Insert(loose.get(), stranger.get()), EListError);
  EXPECT_EQ(changes.Count, 1);
  EXPECT_THROW(list->Delete(nullptr), EListError);

  // SetNode relinks nothing; only double nodes are taken.
  EXPECT_THROW(list->SetNode(0, plain.get()), EInvalidCast);
  EXPECT_EQ(list->GetHead(), na);
  Owned<TSQDoubleNode> x = Make<TSQDoubleNode>();
  changes.Count = 0;
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
