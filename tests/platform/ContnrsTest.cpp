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

TEST(TObjectList, OwnsObjectsByDefault) {
  Reset();
  TObjectList* L = New<TObjectList>();
  auto* a = New<TCounted>(1);
  L->Add(a);
  L->Add(New<TCounted>(2));
  L->Insert(0, New<TCounted>(3));
  L->Delete(0);
  EXPECT_EQ(L->Remove(a), 0);

  // Replacing frees the old object; putting the same one back frees nothing.
  auto* d = New<TCounted>(4);
  L->Put(0, d);
  L->Put(0, d);
  EXPECT_EQ(gFreed, "3 1 2 ");
  EXPECT_EQ(L->Extract(d), d);  // handed back alive
  EXPECT_EQ(gLive, 1);
  Free(d);

  L->Add(New<TCounted>(5));
  L->Add(New<TCounted>(6));
  L->Add(nullptr);
  L->Clear();  // last first, as destruction
  L->Add(New<TCounted>(7));
  L->Add(New<TCounted>(8));
  Free(L);
  EXPECT_EQ(gFreed, "3 1 2 4 6 5 8 7 ");
  EXPECT_EQ(gLive, 0);
}

TEST(TObjectList, NotOwningLeavesObjectsAlone) {
  Reset();
  TCounted a(1), b(2);
  {
    Owned<TObjectList> L = Make<TObjectList>(false);
    L->Add(&a);
    L->Add(&b);
    L->Delete(0);
    L->Put(0, &a);
    L->SetCount(0);
    L->Add(&b);
  }
  EXPECT_EQ(gLive, 2);
  EXPECT_EQ(gFreed, "");

  // Switching ownership on later applies to what is deleted from then on.
  Owned<TObjectList> L = Make<TObjectList>(false);
  L->Add(New<TCounted>(3));
  L->SetOwnsObjects(true);
  L->Delete(0);
  EXPECT_EQ(gFreed, "3 ");
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
  EXPECT_EQ(L->FindInstanceOf(TSpecial::StaticClass(), true, 2), 4);
  EXPECT_EQ(L->FindInstanceOf(TCounted::StaticClass()), 0);
  EXPECT_EQ(L->FindInstanceOf(TCounted::StaticClass(), true, 1), 3);
  EXPECT_EQ(L->FindInstanceOf(TCounted::StaticClass(), false, 1), 1);
  EXPECT_EQ(L->FindInstanceOf(TObject::StaticClass(), true), -1);
  EXPECT_EQ(L->FindInstanceOf(TSpecial::StaticClass(), true, 5), -1);
}
