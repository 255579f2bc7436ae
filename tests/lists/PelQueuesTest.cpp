// Linked queues, stacks and priority queues.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "lists/ListsTestSupport.h"
#include "lists/PelLists.h"

using namespace pel;
using namespace pel::test;

namespace {

// A queue or a stack whose nodes are counted.
template <class Base>
class TCountedNodes : public Base {
 public:
  TSQNode* NewNode() override { return New<TCountedNode>(); }
  TSQNode* Tail() const { return this->GetTail(); }
};
using TCountedQueue = TCountedNodes<TPelQueue>;
using TCountedStack = TCountedNodes<TPelStack>;

using TCountedPriorityStringNode = TCounted<TSQPriorityStringNode>;
class TCountedPriorityStringQueue : public TPelPriorityStringQueue {
 public:
  TSQNode* NewNode() override { return New<TCountedPriorityStringNode>(0); }
};

// A queue that keeps its two newest nodes: its AddNode appends and then
// drops the head, so once full an addition leaves the count unchanged.
class TBoundedQueue : public TPelQueue {
  PEL_CLASS(TBoundedQueue, TPelQueue)
 public:
  TSQNode* AddNode(TSQNode* Node) override {
    TPelQueue::AddNode(Node);
    if (GetCount() > 2) Delete(GetHead());
    return Node;
  }
  std::vector<TObject*> Items() {
    std::vector<TObject*> r;
    for (int32_t i = 0; i < GetCount(); ++i) r.push_back(GetItem(i));
    return r;
  }
};

std::vector<TObject*> PopAll(TPelQueue* Q) {
  std::vector<TObject*> r;
  while (!Q->IsEmpty()) r.push_back(Q->Pop());
  return r;
}

std::vector<String> PopAllStrings(TPelStringQueue* Q) {
  std::vector<String> r;
  while (!Q->IsEmpty()) r.push_back(Q->PopString());
  return r;
}

std::vector<int32_t> Priorities(TPelPriorityQueue* Q) {
  std::vector<int32_t> r;
  for (int32_t i = 0; i < Q->GetCount(); ++i) r.push_back(Q->GetPriority(i));
  return r;
}

}  // namespace

TEST(PelQueue, FirstInFirstOutAndOwnership) {
  TCountedItem a, b, c;
  {
    Owned<TCountedQueue> q = Make<TCountedQueue>();
    ExpectRaises<EListError>([&] { q->Pop(); }, "List is empty");

    // The notification runs before Push stores the item.
    std::vector<TObject*> seenAtChange;
    q->SetOnChange([&](TObject*) { seenAtChange.push_back(q->GetItem(q->GetCount() - 1)); });
    q->Push(&a);
    q->Push(&b);
    EXPECT_EQ(seenAtChange, (std::vector<TObject*>{nullptr, nullptr}));
    q->SetOnChange(nullptr);
    EXPECT_EQ(q->Pop(), &a);
    q->Push(&c);
    EXPECT_EQ(PopAll(q.get()), (std::vector<TObject*>{&b, &c}));
    q->Push(&a);
  }
  EXPECT_EQ(TCountedNode::Alive, 0);
  EXPECT_EQ(TCountedItem::Alive, 3);
}

TEST(PelStack, LastInFirstOutAndStackCopies) {
  TCountedItem a, b, c, d;
  Owned<TCountedStack> s = Make<TCountedStack>();
  s->Push(&a);
  s->Push(&b);
  EXPECT_EQ(s->Tail(), s->GetNode(1));

  // AddStack puts the copies, in order, above the current top.
  Owned<TCountedStack> other = Make<TCountedStack>();
  other->Push(&c);
  other->Push(&d);
  TChangeCounter changes;
  s->SetOnChange(changes.Handler());
  s->AddStack(other.get());
  EXPECT_EQ(changes.Count, 1);

  // Stack to stack keeps the top on top; into an empty stack the last copy
  // becomes the tail.
  Owned<TCountedStack> copy = Make<TCountedStack>();
  copy->Assign(s.get());
  EXPECT_EQ(copy->Tail(), copy->GetNode(3));
  EXPECT_EQ(PopAll(copy.get()), (std::vector<TObject*>{&d, &c, &b, &a}));

  // A plain linked list goes through AddNode and comes out reversed.
  Owned<TPelLinkedList> plain = Make<TPelLinkedList>();
  for (TObject* item : {&a, &b, &c}) plain->Add(item);
  s->Assign(plain.get());
  EXPECT_EQ(PopAll(s.get()), (std::vector<TObject*>{&c, &b, &a}));
  EXPECT_EQ(TCountedNode::Alive, 2);  // other's nodes

  // A string stack copies strings and items top to top; from a string queue
  // the order reverses, as through AddNode.
  Owned<TPelStringStack> strings = Make<TPelStringStack>();
  for (const char* str : {"bottom", "middle", "top"})
    strings->PushItem(str, *str == 'm' ? &a : nullptr);
  Owned<TPelStringStack> stringCopy = Make<TPelStringStack>();
  stringCopy->PushString("old");
  stringCopy->Assign(strings.get());
  EXPECT_EQ(stringCopy->GetStringNode(1)->GetItem(), &a);
  EXPECT_EQ(PopAllStrings(stringCopy.get()), (std::vector<String>{"top", "middle", "bottom"}));
  Owned<TPelStringQueue> q = Make<TPelStringQueue>();
  q->PushString("first");
  q->PushString("second");
  stringCopy->Assign(q.get());
  EXPECT_EQ(PopAllStrings(stringCopy.get()), (std::vector<String>{"second", "first"}));
}

TEST(PelStringQueue, StringsItemsAndSearch) {
  TCountedItem a, b;
  Owned<TPelStringQueue> q = Make<TPelStringQueue>();
  TObject* item = &a;
  ExpectRaises<EListError>([&] { q->PopItem(item); }, "List is empty");
  EXPECT_EQ(item, &a);

  q->PushString("Alpha");
  TSQStringNode* beta = q->PushItem("Beta", &b);
  q->PushString("gamma");
  EXPECT_EQ(q->GetTopString(), "Alpha");
  EXPECT_EQ(q->FindString("BETA"), beta);
  // IndexOfString is 1-based on purpose, IndexOfItem 0-based.
  EXPECT_EQ(q->IndexOfString("GAMMA"), 3);
  EXPECT_EQ(q->IndexOfString("delta"), -1);
  EXPECT_EQ(q->IndexOfItem(&b), 1);

  TChangeCounter changes;
  q->SetOnChange(changes.Handler());
  q->SetStrings(2, "Gamma");
  EXPECT_EQ(changes.Count, 0);
  ExpectRaises<EListError>([&] { q->GetStrings(3); }, "Invalid Index");

  // Only string nodes are accepted.
  Owned<TSQNode> plain = Make<TSQNode>();
  EXPECT_THROW(q->Insert(plain.get(), nullptr), EInvalidCast);
  EXPECT_THROW(q->AddNode(plain.get()), EInvalidCast);
  EXPECT_EQ(q->GetCount(), 3);
  EXPECT_EQ(changes.Count, 0);

  // Equals compares the strings exactly and ignores items.
  Owned<TPelStringQueue> other = Make<TPelStringQueue>();
  other->PushItem("Alpha", &a);
  other->PushString("Beta");
  EXPECT_FALSE(q->Equals(other.get()));
  other->PushString("gamma");
  EXPECT_FALSE(q->Equals(other.get()));
  other->SetStrings(2, "Gamma");
  EXPECT_TRUE(q->Equals(other.get()));

  // Into a platform string list: replaced by the values and items in order.
  Owned<TStringList> list = Make<TStringList>();
  list->Add("stale");
  list->Assign(q.get());
  EXPECT_EQ(list->GetText(), String("Alpha\r\nBeta\r\nGamma\r\n"));
  EXPECT_EQ(list->GetObject(1), &b);
  EXPECT_THROW(q->Assign(list.get()), EConvertError);
  EXPECT_EQ(q->PopString(), "Alpha");
  EXPECT_EQ(q->PopItem(item), "Beta");
  EXPECT_EQ(item, &b);
}

TEST(PelPriorityQueue, TieBreaksChangePriorityAndCopies) {
  TCountedItem i5a, i1, i5b, i3, x, y, a, b, c;
  Owned<TPelPriorityQueue> q = Make<TPelPriorityQueue>();
  TChangeCounter changes;
  q->SetOnChange(changes.Handler());
  for (auto [item, priority] :
       {std::pair<TObject*, int32_t>{&i5a, 5}, {&i1, 1}, {&i5b, 5}, {&i3, 3}})
    q->PushP(item, priority);
  EXPECT_EQ(changes.Count, 4);
  // The earlier 5 was the tail when the later one came, so it stays ahead;
  // the random run in PelQueuesCostTest holds every tie to the plain walk.
  EXPECT_EQ(PopAll(q.get()), (std::vector<TObject*>{&i1, &i3, &i5a, &i5b}));
  // Negative priorities and Push (priority 0) mix in.
  q->PushP(&x, -7);
  q->Push(&y);
  q->PushP(&i3, 3);
  EXPECT_EQ(Priorities(q.get()), (std::vector<int32_t>{-7, 0, 3}));
  // Before is ignored by Insert.
  auto* node = As<TSQPriorityNode>(q->NewNode());
  node->SetPriority(10);
  q->Insert(node, q->GetNode(0));
  EXPECT_EQ(q->GetPriorityNode(3), node);
  EXPECT_THROW(q->Insert(Make<TSQNode>().get(), nullptr), EInvalidCast);
  EXPECT_EQ(q->GetCount(), 4);

  // ChangePriority pushes a copy and deletes the old node.
  q->Clear();
  TSQPriorityNode* na = q->PushP(&a, 1);
  q->PushP(&b, 2);
  q->PushP(&c, 3);
  changes.Count = 0;
  TSQPriorityNode* moved = q->ChangePriority(na, 9);
  EXPECT_EQ(changes.Count, 2);  // the insert and the delete
  EXPECT_EQ(q->GetPriorityNode(2), moved);
  q->ChangePriority(1, 0);  // c to the front
  EXPECT_EQ(Priorities(q.get()), (std::vector<int32_t>{0, 2, 9}));
  EXPECT_EQ(q->GetItem(0), &c);

  // Intended order: the copy goes in before the old node is looked for, so
  // a node that is not in the queue raises with its copy already in.
  Owned<TSQPriorityNode> loose(TSQPriorityNodeClass(TSQPriorityNode::StaticClass()).Create(4));
  loose->SetItem(&b);
  ExpectRaises<EListError>([&] { q->ChangePriority(loose.get(), 1); },
                           "Cannot find node within list");
  EXPECT_EQ(Priorities(q.get()), (std::vector<int32_t>{0, 1, 2, 9}));
  EXPECT_EQ(q->GetItem(1), &b);
  EXPECT_EQ(changes.Count, 5);
  q->Delete(q->GetNode(1));
  EXPECT_THROW(q->ChangePriority(nullptr, 1), EConvertError);
  EXPECT_EQ(Priorities(q.get()), (std::vector<int32_t>{0, 2, 9}));

  // Copies keep priorities from a priority queue, get 0 from other lists.
  Owned<TPelPriorityQueue> copy = Make<TPelPriorityQueue>();
  copy->Assign(q.get());
  EXPECT_EQ(Priorities(copy.get()), (std::vector<int32_t>{0, 2, 9}));
  Owned<TPelLinkedList> plain = Make<TPelLinkedList>();
  plain->Add(&a);
  copy->AddLinkedList(plain.get());
  EXPECT_EQ(Priorities(copy.get()), (std::vector<int32_t>{0, 0, 2, 9}));
  EXPECT_EQ(copy->GetItem(0), &a);  // newest first among equal head priorities
}

TEST(PelPriorityStringQueue, InsertLinksNothingAndKeepsTheNodes) {
  TCountedItem a;
  {
    auto q = Make<TCountedPriorityStringQueue>();
    TChangeCounter changes;
    q->SetOnChange(changes.Handler());

    // The pushed node is handed back but never joins the queue.
    TSQPriorityStringNode* p = q->PushItemP("lost", &a, 3);
    EXPECT_EQ(p->GetItem(), &a);
    EXPECT_EQ(p->GetValue(), "");  // the string is not stored
    EXPECT_EQ(As<TSQStringNode>(q->PushString("also lost"))->GetValue(), "also lost");
    q->PushP(&a, 1);
    EXPECT_TRUE(q->IsEmpty());
    EXPECT_EQ(changes.Count, 0);
    ExpectRaises<EListError>([&] { q->PopString(); }, "List is empty");

    // Copies go nowhere; the bracket still notifies.
    Owned<TPelStringQueue> source = Make<TPelStringQueue>();
    source->PushString("one");
    source->PushString("two");
    q->AddLinkedList(source.get());
    EXPECT_EQ(q->GetCount(), 0);
    EXPECT_EQ(changes.Count, 1);
    // ChangePriority inserts the copy, then deletes the old node, which
    // cannot be in the queue.
    ExpectRaises<EListError>([&] { q->ChangePriority(p, 1); }, "List is empty");
    EXPECT_THROW(q->Insert(Make<TSQStringNode>().get(), nullptr), EInvalidCast);
    EXPECT_EQ(TCountedPriorityStringNode::Alive, 6);
  }
  // The queue frees every node it made, linked or not.
  EXPECT_EQ(TCountedPriorityStringNode::Alive, 0);
  EXPECT_TRUE(Is<TSQPriorityStringNode>(Make<TPelPriorityStringQueue>()->PushString("x")));
}

TEST(LinkedLists, NodesHandedOverStayTheLists) {
  TCountedItem a, b, c;
  auto raise = [](TObject*) { throw EAbort("changed"); };
  Owned<TPelLinkedList> list = Make<TPelLinkedList>();
  Owned<TPelQueue> queue = Make<TPelQueue>();
  Owned<TPelStringQueue> strings = Make<TPelStringQueue>();
  Owned<TPelPriorityQueue> prio = Make<TPelPriorityQueue>();
  // OnChange raises after the new node is linked: it stays, alive, in the
  // list. Push stores its item only after the notification.
  const struct {
    TPelCustomLinkedList* List;
    std::function<void()> Op;
    TObject* Item;
  } cases[] = {
      {list.get(), [&] { list->Add(&a); }, &a},
      {queue.get(), [&] { queue->Push(&a); }, nullptr},
      {strings.get(), [&] { strings->PushItem("s", &a); }, &a},
      {prio.get(), [&] { prio->PushP(&a, 1); }, &a},
  };
  for (const auto& t : cases) {
    t.List->SetOnChange(raise);
    EXPECT_THROW(t.Op(), EAbort);
    ASSERT_EQ(t.List->GetCount(), 1) << t.List->ClassName();
    EXPECT_EQ(t.List->GetItem(0), t.Item) << t.List->ClassName();
  }
  // The same for the copy ChangePriority inserts; the old node stays too.
  EXPECT_THROW(prio->ChangePriority(prio->GetPriorityNode(0), 7), EAbort);
  prio->SetOnChange(nullptr);
  EXPECT_EQ(Priorities(prio.get()), (std::vector<int32_t>{1, 7}));
  EXPECT_EQ(prio->GetItem(1), &a);

  // A descendant whose AddNode drops the head keeps the copies it linked,
  // though its count did not grow.
  Owned<TPelLinkedList> source = Make<TPelLinkedList>();
  for (TObject* item : {&a, &b, &c}) source->Add(item);
  Owned<TBoundedQueue> bounded = Make<TBoundedQueue>();
  bounded->Assign(source.get());
  EXPECT_EQ(bounded->Items(), (std::vector<TObject*>{&b, &c}));
  Owned<TList> plain = Make<TList>();
  for (TObject* item : {&c, &b, &a}) plain->Add(item);
  bounded->Assign(plain.get());
  EXPECT_EQ(bounded->Items(), (std::vector<TObject*>{&b, &a}));
}
