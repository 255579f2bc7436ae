#include <gtest/gtest.h>

#include "lists/PelLists.h"
#include "platform/StreamText.h"

using namespace pel;
using namespace pel::test;

namespace {

// A component holding a string stack and a string queue as sub-objects,
// written as "Stack.Strings" and "Queue.Strings".
class TQueueHolder : public TComponent {
  PEL_CLASS(TQueueHolder, TComponent)
  PEL_PUBLISHED(TQueueHolder, Property<&TQueueHolder::GetStack, &TQueueHolder::SetStack>("Stack"),
                Property<&TQueueHolder::GetQueue, &TQueueHolder::SetQueue>("Queue"))
 public:
  using TComponent::TComponent;
  ~TQueueHolder() override {
    Free(FStack);
    Free(FQueue);
  }
  TPelStringStack* GetStack() const { return FStack; }
  void SetStack(TPelStringStack* Value) { FStack->Assign(Value); }
  TPelStringQueue* GetQueue() const { return FQueue; }
  void SetQueue(TPelStringQueue* Value) { FQueue->Assign(Value); }

  TPelStringStack* FStack = New<TPelStringStack>();
  TPelStringQueue* FQueue = New<TPelStringQueue>();
};

std::vector<String> Values(TPelStringQueue* Q) {
  std::vector<String> r;
  for (int32_t i = 0; i < Q->GetCount(); ++i) r.push_back(Q->GetStrings(i));
  return r;
}

}  // namespace

TEST(PelListsPersistence, PublishedPropertiesAndStringQueueStreams) {
  // A re-published link takes the narrower class; links are never stored.
  const TPropInfo* next = GetPropInfo(TSQDoubleNode::StaticClass(), "Next");
  EXPECT_EQ(next->PropType->ClassType, TSQDoubleNode::StaticClass());
  EXPECT_FALSE(GetPropInfo(TPelDoublyLinkedList::StaticClass(), "Tail")->StoredConst);
  auto freeList = Make<TFreeList>(false);
  EXPECT_FALSE(IsDefaultPropValue(freeList.get(), GetPropInfo(freeList.get(), "FreeItems")));
  // Through the properties: a list's head and a node's item.
  auto list = Make<TPelLinkedList>();
  TSQNode* first = list->Add(list.get());
  EXPECT_EQ(GetObjectProp(list.get(), "Head"), first);
  EXPECT_EQ(GetObjectProp(first, "Item"), list.get());

  // A stack and a queue written inside a component and read back keep
  // their order; items are not written.
  auto src = Make<TQueueHolder>(nullptr);
  src->SetName("Holder");
  for (const char* s : {"a", "b", "c"}) src->FStack->PushItem(s, src.get());
  src->FQueue->PushString("x");
  src->FQueue->PushString("y");
  ASSERT_EQ(Values(src->FStack), (std::vector<String>{"c", "b", "a"}));
  // OnChange streams as its method name; a handler without one is not
  // written.
  src->FQueue->SetOnChange([](TObject*) {}, "QueueChanged");
  src->FStack->SetOnChange([](TObject*) {});
  const String good = BytesOf(src.get());
  EXPECT_NE(good.find(String("\x0dQueue.Strings\x01\x06\x01x\x06\x01y\x00", 22)), String::npos);
  EXPECT_NE(good.find("\x0eQueue.OnChange\x07\x0cQueueChanged"), String::npos);
  EXPECT_EQ(good.find("Stack.OnChange"), String::npos);

  auto back = Make<TQueueHolder>(nullptr);
  back->FStack->PushString("old");
  ReadInto(good, back.get());
  EXPECT_EQ(Values(back->FStack), (std::vector<String>{"c", "b", "a"}));
  EXPECT_EQ(back->FStack->GetItem(0), nullptr);
  EXPECT_EQ(Values(back->FQueue), (std::vector<String>{"x", "y"}));
  EXPECT_EQ(back->FQueue->GetOnChangeName(), "QueueChanged");

  // A number where a string belongs raises EReadError.
  String bad = good;
  std::size_t at = bad.find(String("\x06\x01y", 3));
  ASSERT_NE(at, String::npos);
  bad[at] = vaInt8;
  auto into = Make<TQueueHolder>(nullptr);
  int changes = 0;
  into->FQueue->SetOnChange([&](TObject*) { ++changes; });
  EXPECT_THROW(ReadInto(bad, into.get()), EReadError);
  // The update bracket was closed: the queue notifies again.
  changes = 0;
  into->FQueue->PushString("z");
  EXPECT_EQ(changes, 1);
}
