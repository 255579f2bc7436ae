#include <gtest/gtest.h>

#include <vector>

#include "ListsTestSupport.h"
#include "lists/PelLists.h"

using namespace pel;
using namespace pel::test;

namespace {

// Records what the list tells its descendants.
class TWatchedFreeList : public TFreeList {
  PEL_CLASS(TWatchedFreeList, TFreeList)
 public:
  std::vector<std::string> Log;

 protected:
  void Notify(TObject* Item, TListNotification Action) override {
    Log.push_back(Action == lnAdded ? "added" : Action == lnDeleted ? "deleted" : "extracted");
    TFreeList::Notify(Item, Action);
  }
};

}  // namespace

TEST(FreeList, FreesWhatLeavesByDeletionOnly) {
  TCountedItem::Alive = 0;
  auto l = Make<TFreeList>();
  std::vector<TCountedItem*> items;
  for (int i = 0; i < 6; ++i) {
    items.push_back(New<TCountedItem>());
    l->Add(items.back());
  }
  l->Delete(0);
  EXPECT_EQ(l->Remove(items[1]), 0);
  EXPECT_EQ(TCountedItem::Alive, 4);
  l->Put(0, New<TCountedItem>());  // replaces items[2], which is freed
  EXPECT_EQ(TCountedItem::Alive, 4);
  EXPECT_EQ(l->Extract(items[3]), items[3]);  // handed back, not freed
  l->Move(0, 1);
  l->Exchange(0, 1);
  EXPECT_EQ(TCountedItem::Alive, 4);
  l->SetCount(1);  // shrinking frees the dropped items
  EXPECT_EQ(TCountedItem::Alive, 2);
  l->SetCount(4);  // growing adds nil slots, which Pack removes
  EXPECT_EQ(l->Get(3), nullptr);
  l->Pack();
  EXPECT_EQ(l->GetCount(), 1);
  EXPECT_EQ(TCountedItem::Alive, 2);
  l.reset();  // destruction frees the rest
  EXPECT_EQ(TCountedItem::Alive, 1);
  Free(items[3]);
}

TEST(FreeList, GrowthErrorsAndNotifications) {
  auto l = Make<TWatchedFreeList>();
  l->SetFreeItems(false);
  TObject o;
  for (int i = 0; i < 96; ++i) l->Add(&o);
  EXPECT_EQ(l->GetCapacity(), 118);  // the framework's steps, 4 to 95, then 118
  l->Clear();
  EXPECT_EQ(l->GetCapacity(), 0);
  l->Log.clear();

  l->Add(&o);
  l->Add(nullptr);  // nil is never notified
  l->Put(1, &o);    // over nil: only the newcomer is told
  l->Put(1, &o);    // over an item, even the same one: deleted, then added
  l->Extract(&o);
  EXPECT_EQ(l->Log, (std::vector<std::string>{"added", "added", "deleted", "added", "extracted"}));
  ExpectRaises<EListError>([&] { l->Get(1); }, "List index out of bounds (1)");
  EXPECT_THROW(l->Insert(2, &o), EListError);
  ExpectRaises<EListError>([&] { l->SetCount(-1); }, "List count out of bounds (-1)");
  ExpectRaises<EListError>([&] { l->SetCapacity(0); }, "List capacity out of bounds (0)");
  EXPECT_EQ(l->GetCount(), 1);
}

TEST(FreeList, AssignCloneEqualsAndSort) {
  TObject a, b, c;
  auto source = Make<TFreeList>(false);
  for (TObject* x : {&c, &a, &b}) source->Add(x);
  source->Sort([](void* x, void* y) { return x < y ? -1 : x > y ? 1 : 0; });
  EXPECT_LT(source->Get(0), source->Get(1));
  EXPECT_LT(source->Get(1), source->Get(2));

  Owned<TFreeList> copy(source->Clone(nullptr));
  copy->SetFreeItems(false);
  EXPECT_TRUE(copy->Equals(source.get()));
  auto platform = Make<TList>();
  for (int32_t i : {1, 0, 2}) platform->Add(source->Get(i));
  EXPECT_FALSE(copy->Equals(platform.get()));
  copy->Assign(platform.get());
  EXPECT_TRUE(copy->Equals(platform.get()));
  EXPECT_FALSE(copy->Equals(&a));
  EXPECT_THROW(copy->Assign(Make<TPersistent>().get()), EConvertError);
}

TEST(ArrayQueues, QueueAndStackOrder) {
  int v[3] = {1, 2, 3};
  auto q = Make<TQQueue>();
  auto s = Make<TQStack>();
  for (int& x : v) {
    q->Push(&x);
    s->Push(&x);
  }
  EXPECT_EQ(q->Top(), &v[0]);
  EXPECT_EQ(q->Pop(), &v[0]);
  EXPECT_EQ(s->Pop(), &v[2]);
  EXPECT_EQ(s->Top(), &v[1]);
  s->Clear();
  ExpectRaises<EListError>([&] { s->Pop(); }, "List is empty");

  // From a platform list: a plain copy.
  auto list = Make<TList>();
  list->Add(&v[2]);
  q->Assign(list.get());
  EXPECT_EQ(q->GetCount(), 1);
  // From a linked list the items are copied and the call still fails.
  auto linked = Make<TPelLinkedList>();
  TObject item1, item2;
  linked->Add(&item1);
  linked->Add(&item2);
  ExpectRaises<EConvertError>([&] { q->Assign(linked.get()); },
                              "Error assigning TPelLinkedList to TQQueue");
  EXPECT_EQ(q->GetCount(), 2);
  EXPECT_EQ(q->Pop(), &item1);
  EXPECT_THROW(q->Assign(nullptr), EConvertError);
}

TEST(ArrayQueues, StringQueueAndStack) {
  auto stack = Make<TQStringStack>();
  stack->PushString("a");
  stack->PushString("b");
  EXPECT_EQ(stack->TopString(), "b");
  EXPECT_EQ(stack->PopString(), "b");
  EXPECT_EQ(stack->PopString(), "a");
  ExpectRaises<EListError>([&] { stack->PopString(); }, "List is empty");

  auto queue = Make<TQStringQueue>();
  TObject o1, o2;
  queue->PushItem("x", &o1);
  queue->Push(&o2);
  TObject* got = nullptr;
  EXPECT_EQ(queue->PopItem(got), "x");
  EXPECT_EQ(got, &o1);
  EXPECT_EQ(queue->Pop(), &o2);
  queue->SetSorted(false);  // no-op
  ExpectRaises<EListError>([&] { queue->SetSorted(true); }, "Cannot sort stack or queue");
}
