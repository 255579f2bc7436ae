#include <gtest/gtest.h>

#include <vector>

#include "lists/ListColl.h"

using namespace pel;

namespace {

std::vector<int> gFreed;
int gTests = 0;

struct TNumber : TObject {
  PEL_CLASS(TNumber, TObject)
 public:
  explicit TNumber(int v) : Value(v) {}
  ~TNumber() override { gFreed.push_back(Value); }
  int Value;
};

int ValueOf(TObject* o) { return o ? static_cast<TNumber*>(o)->Value : -1; }
bool IsEven(TObject* o) {
  ++gTests;
  return static_cast<TNumber*>(o)->Value % 2 == 0;
}

// Records what the list tells its descendants while it is freed: the
// element's value, negative for anything but lnDeleted.
std::vector<int> gHeard;
class TWatchedCollection : public TListCollection {
  PEL_CLASS(TWatchedCollection, TListCollection)

 protected:
  void Notify(void* Ptr, TListNotification Action) override {
    int v = ValueOf(static_cast<TObject*>(Ptr));
    gHeard.push_back(Action == lnDeleted ? v : -v);
  }
};

}  // namespace

TEST(ListCollection, SearchesByPredicateAndFreesInIndexOrder) {
  auto* l = New<TWatchedCollection>();
  gTests = 0;
  EXPECT_EQ(l->FirstThat(IsEven), nullptr);
  EXPECT_EQ(l->LastThat(IsEven), nullptr);
  EXPECT_EQ(gTests, 0);  // an empty list never calls the test

  TNumber* n[5];
  for (int i = 0; i < 5; ++i) l->Add(n[i] = New<TNumber>(i + 1));  // 1 2 3 4 5
  EXPECT_EQ(ValueOf(l->FirstThat(IsEven)), 2);
  EXPECT_EQ(ValueOf(l->LastThat(IsEven)), 4);
  EXPECT_EQ(ValueOf(l->NextThat(n[1], IsEven)), 4);  // the element itself is skipped
  EXPECT_EQ(ValueOf(l->PrevThat(n[3], IsEven)), 2);
  EXPECT_EQ(l->NextThat(n[4], IsEven), nullptr);
  EXPECT_EQ(l->PrevThat(n[0], IsEven), nullptr);
  TNumber stranger(8);
  EXPECT_EQ(l->NextThat(&stranger, IsEven), nullptr);
  gFreed.clear();
  l->ForEach([](TObject* o) { gFreed.push_back(-ValueOf(o)); });
  EXPECT_EQ(gFreed, (std::vector<int>{-1, -2, -3, -4, -5}));

  // Freeing removes (telling descendants) and frees every element, in index order.
  gFreed.clear();
  gHeard.clear();
  Free(l);
  EXPECT_EQ(gFreed, (std::vector<int>{1, 2, 3, 4, 5}));
  EXPECT_EQ(gHeard, gFreed);
}
