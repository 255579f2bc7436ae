#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
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

// The plain array list: items in a vector, the capacity by the growth rule.
struct TPlainList {
  std::vector<intptr_t> Items;
  int32_t Capacity = 0;
  std::string Log;

  void Note(char Tag, intptr_t V) { Log += V ? Tag + std::to_string(V) + " " : ""; }
  void Insert(int32_t i, intptr_t v) {
    if (static_cast<int32_t>(Items.size()) == Capacity)
      Capacity += Capacity > 64 ? Capacity / 4 : Capacity > 8 ? 16 : 4;
    Items.insert(Items.begin() + i, v);
    Note('+', v);
  }
  void Delete(int32_t i) {
    Note('-', Items[i]);
    Items.erase(Items.begin() + i);
  }
};

}  // namespace

// The random run below holds every operation's notifications to
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

TEST(TList, SortAndExpand) {
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

// TList keeps a gap before its first item so that deleting at the front is
// cheap; the random run holds it to the plain array list: the same items,
// count, capacity and notifications after any sequence of operations.
TEST(TListCost, SameAsThePlainListUnderRandomOperations) {
  std::mt19937 rng(16);
  auto below = [&](int32_t n) { return static_cast<int32_t>(rng() % static_cast<uint32_t>(n)); };
  std::string log;
  Owned<TRecordingList> L = Make<TRecordingList>(&log);
  TPlainList M;
  intptr_t next = 1;
  for (int step = 0; step < 20000; ++step) {
    int32_t count = L->GetCount();
    int op = below(100);
    if (op < 30 || count == 0) {  // queue-like: append ...
      L->Add(P(next));
      M.Insert(count, next++);
    } else if (op >= 55 && op < 65) {
      int32_t i = below(count + 1);
      intptr_t v = below(8) == 0 ? 0 : next++;  // some nils
      L->Insert(i, P(v));
      M.Insert(i, v);
    } else if (op < 75) {  // ... and take from the front, or anywhere
      int32_t i = op < 55 ? 0 : below(count);
      L->Delete(i);
      M.Delete(i);
    } else if (op < 80) {
      int32_t i = below(count), j = below(count);
      L->Move(i, j);
      intptr_t v = M.Items[i];
      M.Items.erase(M.Items.begin() + i);
      M.Items.insert(M.Items.begin() + j, v);
    } else if (op < 88) {
      int32_t i = below(count);
      L->Put(i, P(next));
      M.Note('-', M.Items[i]);
      M.Items[i] = next;
      M.Note('+', next++);
    } else if (op < 92) {  // spare room, or give it back
      int32_t cap = count + below(40);
      L->SetCapacity(cap);
      M.Capacity = cap;
    } else if (op < 95) {
      int32_t n = below(count + 30);
      L->SetCount(n);
      while (static_cast<int32_t>(M.Items.size()) > n) M.Delete(M.Items.size() - 1);
      M.Items.resize(n, 0);
      M.Capacity = std::max(M.Capacity, n);
    } else if (op < 97) {
      L->Pack();
      std::erase(M.Items, 0);
    } else if (op < 98) {
      int32_t i = below(count), j = below(count);
      L->Exchange(i, j);
      std::swap(M.Items[i], M.Items[j]);
    } else {
      L->Clear();
      while (!M.Items.empty()) M.Delete(M.Items.size() - 1);
      M.Capacity = 0;
    }
    ASSERT_EQ(L->GetCount(), static_cast<int32_t>(M.Items.size())) << "step " << step;
    ASSERT_EQ(L->GetCapacity(), M.Capacity) << "step " << step;
    ASSERT_EQ(log, M.Log) << "step " << step;
    std::vector<intptr_t> items;
    for (void** p = L->List(); p != L->List() + L->GetCount(); ++p) items.push_back(N(*p));
    ASSERT_EQ(items, M.Items) << "step " << step;
    // The storage reaches to the capacity, as the framework's does.
    if (L->GetCapacity() > L->GetCount()) {
      L->List()[L->GetCapacity() - 1] = P(-1);
      L->List()[L->GetCapacity() - 1] = nullptr;
    }
  }
}

TEST(TListCost, AMillionItemsThroughTheFront) {
  // The random run above holds the growth steps and the front gap to the
  // plain list; here a size at which a quadratic delete would stall.
  Owned<TList> L = Make<TList>();
  for (intptr_t i = 1; i <= 1'000'000; ++i) L->Add(P(i));
  for (intptr_t i = 1; i <= 1'000'000; ++i) {
    ASSERT_EQ(N(L->Get(0)), i);
    L->Delete(0);
  }
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
}

TEST(TInterfaceList, ErrorsTakeNoReference) {
  IPtr<IInterfaceList> L(New<TInterfaceList>());
  IPtr<IInterfaceList> Q = Supports<IInterfaceList>(IPtr<IInterface>(L));
  EXPECT_EQ(Q.get(), L.get());
  IPtr<ICounter> a = NewCounter(1);
  // The messages are TList's (checked above).
  EXPECT_THROW(L->Insert(1, a), EListError);
  L->Add(a);
  EXPECT_THROW(L->Put(1, a), EListError);
  EXPECT_THROW(L->SetCount(-2), EListError);
  EXPECT_THROW(L->SetCapacity(0), EListError);
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
