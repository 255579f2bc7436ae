#include <gtest/gtest.h>

#include <string>

#include "platform/Contnrs.h"
#include "platform/SysUtils.h"

using namespace pel;

namespace {

// Counts live instances and logs which ones were freed.
int gLive = 0;
std::string gFreed;

class TCounted : public TObject {
  PEL_CLASS(TCounted, TObject)
 public:
  explicit TCounted(int Id = 0) : FId(Id) { ++gLive; }
  ~TCounted() override {
    --gLive;
    gFreed += std::to_string(FId) + " ";
  }
  int Id() const { return FId; }

 private:
  int FId;
};

class TSpecial : public TCounted {
  PEL_CLASS(TSpecial, TCounted)
 public:
  using TCounted::TCounted;
};

void Reset() {
  gLive = 0;
  gFreed.clear();
}

}  // namespace

// Which operations notify, and in which order, is TList's (see ListsTest);
// here what the object list does with the notifications.
TEST(TObjectList, FreesWhatItOwnsOnDeletionOnly) {
  Reset();
  TObjectList* L = New<TObjectList>();  // owning by default
  auto* a = New<TCounted>(1);
  L->Add(a);
  L->Insert(1, New<TCounted>(2));
  L->Put(1, New<TCounted>(3));  // the replaced object goes
  EXPECT_EQ(L->Remove(L->Get(1)), 1);
  EXPECT_EQ(L->Extract(a), a);  // handed back alive
  EXPECT_EQ(gFreed, "2 3 ");
  for (TObject* o : {New<TCounted>(4), static_cast<TCounted*>(nullptr), New<TCounted>(5)})
    L->Add(o);
  Free(L);  // last first
  EXPECT_EQ(gFreed, "2 3 5 4 ");
  Free(a);

  // Not owning, nothing is freed; ownership switched on applies from then on.
  TCounted kept(6);
  Owned<TObjectList> N = Make<TObjectList>(false);
  N->Add(&kept);
  N->Add(New<TCounted>(7));
  N->Delete(0);
  N->SetOwnsObjects(true);
  N->Delete(0);
  EXPECT_EQ(gFreed, "2 3 5 4 1 7 ");
  EXPECT_EQ(gLive, 1);
}

TEST(TObjectList, FindInstanceOfAndTypedAccess) {
  Reset();
  Owned<TObjectList> L = Make<TObjectList>();
  L->Add(New<TCounted>(1));
  L->Add(New<TSpecial>(2));
  L->Add(nullptr);
  L->Add(New<TCounted>(3));
  L->Add(New<TSpecial>(4));
  EXPECT_EQ(L->FindInstanceOf(TSpecial::StaticClass()), 1);
  EXPECT_EQ(L->FindInstanceOf(TCounted::StaticClass(), true, 1), 3);
  EXPECT_EQ(L->FindInstanceOf(TCounted::StaticClass(), false, 1), 1);
  EXPECT_EQ(L->FindInstanceOf(TObject::StaticClass(), true), -1);
  EXPECT_EQ(L->FindInstanceOf(TSpecial::StaticClass(), true, 5), -1);
}
