#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/Classes.h"
#include "platform/SysUtils.h"

using namespace pel;

namespace {

void* P(intptr_t n) { return reinterpret_cast<void*>(n); }
intptr_t N(void* p) { return reinterpret_cast<intptr_t>(p); }

std::vector<intptr_t> Items(TList& L) {
  std::vector<intptr_t> r;
  for (int32_t i = 0; i < L.GetCount(); ++i) r.push_back(N(L.Get(i)));
  return r;
}

// Records every notification as "+n" (added), "-n" (deleted), "xn" (extracted).
class TRecordingList : public TList {
  PEL_CLASS(TRecordingList, TList)
 public:
  explicit TRecordingList(std::string* Log) : FLog(Log) {}

 protected:
  void Notify(void* Ptr, TListNotification Action) override {
    const char* tag = Action == lnAdded ? "+" : Action == lnDeleted ? "-" : "x";
    *FLog += tag + std::to_string(N(Ptr)) + " ";
    TList::Notify(Ptr, Action);
  }

 private:
  std::string* FLog;
};

std::string ListError(const std::function<void()>& F) {
  try {
    F();
  } catch (const EListError& e) {
    return e.Message();
  }
  return "";
}

int32_t CompareInts(void* A, void* B) { return N(A) < N(B) ? -1 : N(A) > N(B) ? 1 : 0; }

}  // namespace

// The random run in ListsCostTest holds every operation's notifications to
// the plain list; these are the cases it does not reach.
TEST(TList, NotificationsInOrder) {
  std::string log;
  TRecordingList* L = New<TRecordingList>(&log);
  // Nil is never notified; putting the same pointer back does nothing.
  for (intptr_t v : {1, 2, 3, 0}) L->Add(P(v));
  L->Put(1, P(2));
  EXPECT_EQ(L->Remove(P(3)), 2);
  EXPECT_EQ(L->Remove(P(99)), -1);
  EXPECT_EQ(L->Extract(P(1)), P(1));
  EXPECT_EQ(L->Extract(P(1)), nullptr);
  L->Sort(CompareInts);
  EXPECT_EQ(log, "+1 +2 +3 -3 x1 ");
  EXPECT_EQ(Items(*L), (std::vector<intptr_t>{0, 2}));
  // Freeing the list tells the descendant of each item, from the last.
  L->Add(P(5));
  log.clear();
  Free(L);
  EXPECT_EQ(log, "-5 -2 ");
}

TEST(TList, PackSortAndExpand) {
  Owned<TList> L = Make<TList>();
  for (intptr_t v : {0, 20, 0, 30, 40, 0}) L->Add(P(v));
  L->Pack();
  EXPECT_EQ(Items(*L), (std::vector<intptr_t>{20, 30, 40}));
  EXPECT_EQ(L->GetCapacity(), 8);  // Pack keeps the storage
  // Expand grows only a full list.
  Owned<TList> E = Make<TList>();
  E->Expand();
  E->Expand();
  EXPECT_EQ(E->GetCapacity(), 4);

  Owned<TList> S = Make<TList>();
  const intptr_t data[] = {5, 3, 9, 1, 5, 7, 2, 8, 6, 4, 0, 5};
  for (intptr_t v : data) S->Add(P(v));
  S->Sort(CompareInts);
  EXPECT_EQ(Items(*S), (std::vector<intptr_t>{0, 1, 2, 3, 4, 5, 5, 5, 6, 7, 8, 9}));
  Make<TList>()->Sort(CompareInts);  // an empty list sorts without touching storage
}

TEST(TList, ErrorsNameTheIndexAndChangeNothing) {
  std::string log;
  Owned<TRecordingList> L = Make<TRecordingList>(&log);
  EXPECT_EQ(ListError([&] { L->First(); }), "List index out of bounds (0)");
  EXPECT_EQ(ListError([&] { L->Last(); }), "List index out of bounds (-1)");
  L->Add(P(1));
  L->Add(P(2));
  log.clear();
  // Each operation names the first bad index it meets.
  const std::pair<std::function<void()>, const char*> bad[] = {
      {[&] { L->Get(-1); }, "(-1)"},        {[&] { L->Put(2, P(3)); }, "(2)"},
      {[&] { L->Insert(3, P(3)); }, "(3)"}, {[&] { L->Delete(2); }, "(2)"},
      {[&] { L->Exchange(7, 9); }, "(7)"},  {[&] { L->Exchange(0, 9); }, "(9)"},
      {[&] { L->Move(0, 2); }, "(2)"},      {[&] { L->Move(4, 1); }, "(4)"}};
  for (auto& [op, index] : bad)
    EXPECT_EQ(ListError(op), std::string("List index out of bounds ") + index);
  EXPECT_EQ(ListError([&] { L->SetCapacity(1); }), "List capacity out of bounds (1)");
  EXPECT_EQ(ListError([&] { L->SetCapacity(MaxListSize + 1); }),
            "List capacity out of bounds (134217728)");
  EXPECT_EQ(ListError([&] { L->SetCount(-1); }), "List count out of bounds (-1)");
  EXPECT_EQ(Items(*L), (std::vector<intptr_t>{1, 2}));
  EXPECT_EQ(L->GetCapacity(), 4);
  EXPECT_EQ(log, "");
}

// ---------------------------------------------------------------------------
// TInterfaceList

namespace {

struct ICounter : public virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{6B1C2E57-3F0A-4C3B-9D51-0A7E2F6C1D11}");
  virtual int32_t Id() = 0;

 protected:
  ~ICounter() = default;
};

int gAlive = 0;

class TCounter : public TInterfacedObject, public ICounter {
  PEL_CLASS(TCounter, TInterfacedObject)
 public:
  explicit TCounter(int32_t AId) : FId(AId) { ++gAlive; }
  ~TCounter() override { --gAlive; }
  bool GetInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<TCounter, ICounter>(this, IID, Obj);
  }
  int32_t Id() override { return FId; }

 private:
  int32_t FId;
};

IPtr<ICounter> NewCounter(int32_t Id) { return IPtr<ICounter>(New<TCounter>(Id)); }

int32_t Refs(const IPtr<ICounter>& C) { return static_cast<TCounter*>(C.get())->RefCount(); }

int32_t IdAt(IInterfaceList& L, int32_t Index) { return IntfCast<ICounter>(L.Get(Index))->Id(); }

}  // namespace

TEST(TInterfaceList, OneReferencePerElement) {
  gAlive = 0;
  {
    IPtr<IInterfaceList> L(New<TInterfaceList>());
    IPtr<ICounter> a = NewCounter(1), b = NewCounter(2), c = NewCounter(3);
    L->Add(a);
    EXPECT_EQ(L->Add(b), 1);
    L->Insert(0, c);
    L->Add(a);
    EXPECT_EQ(Refs(a), 3);  // ours and two elements
    EXPECT_EQ(IdAt(*L, 0), 3);
    EXPECT_EQ(Refs(c), 2);  // the temporary from Get is gone
    EXPECT_EQ(L->Remove(a), 1);
    EXPECT_EQ(Refs(a), 2);
    EXPECT_EQ(L->IndexOf(a), 2);

    L->Put(0, b);  // c replaced by b
    L->Put(0, b);
    EXPECT_EQ(Refs(c), 1);
    EXPECT_EQ(Refs(b), 3);

    L->Exchange(0, 2);
    EXPECT_EQ(IdAt(*L, 0) * 10 + IntfCast<ICounter>(L->Last())->Id(), 12);

    L->Delete(0);
    EXPECT_EQ(Refs(a), 1);
    L->SetCount(4);
    EXPECT_EQ(L->Get(3), nullptr);
    L->SetCount(1);
    EXPECT_EQ(Refs(b), 2);
    L->Clear();
    EXPECT_EQ(Refs(b), 1);
    EXPECT_EQ(L->GetCapacity(), 0);
  }
  EXPECT_EQ(gAlive, 0);

  // Elements handed only to the list live until the list lets them go.
  {
    IPtr<IInterfaceList> L(New<TInterfaceList>());
    L->Add(NewCounter(7));
    L->Add(NewCounter(8));
    L->Delete(0);
    EXPECT_EQ(gAlive, 1);
  }
  EXPECT_EQ(gAlive, 0);
}

TEST(TInterfaceList, ErrorsTakeNoReference) {
  IPtr<IInterfaceList> L(New<TInterfaceList>());
  IPtr<IInterfaceList> Q = Supports<IInterfaceList>(IPtr<IInterface>(L));
  EXPECT_EQ(Q.get(), L.get());
  IPtr<ICounter> a = NewCounter(1);
  EXPECT_EQ(ListError([&] { L->Insert(1, a); }), "List index out of bounds (1)");
  L->Add(a);
  EXPECT_EQ(ListError([&] { L->Put(1, a); }), "List index out of bounds (1)");
  EXPECT_EQ(ListError([&] { L->SetCount(-2); }), "List count out of bounds (-2)");
  EXPECT_EQ(ListError([&] { L->SetCapacity(0); }), "List capacity out of bounds (0)");
  EXPECT_EQ(Refs(a), 2);  // failed calls took no reference

  // The lock nests.
  L->Lock();
  L->Lock();
  L->Add(a);
  L->Unlock();
  L->Unlock();
  L->Add(a);
  EXPECT_EQ(L->GetCount(), 3);
  EXPECT_EQ(Refs(a), 4);
}
