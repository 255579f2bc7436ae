// TList keeps a gap before its first item so that deleting at the front is
// cheap. These tests hold it to the plain array list: the same items, count,
// capacity and notifications after any sequence of operations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "platform/Classes.h"

using namespace pel;

namespace {

void* P(intptr_t n) { return reinterpret_cast<void*>(n); }
intptr_t N(void* p) { return reinterpret_cast<intptr_t>(p); }

class TLoggingList : public TList {
  PEL_CLASS(TLoggingList, TList)
 public:
  std::string Log;

 protected:
  void Notify(void* Ptr, TListNotification Action) override {
    Log += (Action == lnAdded ? "+" : Action == lnDeleted ? "-" : "x") + std::to_string(N(Ptr));
  }
};

// The plain array list: items in a vector, the capacity by the growth rule.
struct TPlainList {
  std::vector<intptr_t> Items;
  int32_t Capacity = 0;
  std::string Log;

  void MakeRoom() {
    if (static_cast<int32_t>(Items.size()) == Capacity)
      Capacity += Capacity > 64 ? Capacity / 4 : Capacity > 8 ? 16 : 4;
  }
  void Insert(int32_t i, intptr_t v) {
    MakeRoom();
    Items.insert(Items.begin() + i, v);
    if (v) Log += "+" + std::to_string(v);
  }
  void Delete(int32_t i) {
    intptr_t v = Items[i];
    Items.erase(Items.begin() + i);
    if (v) Log += "-" + std::to_string(v);
  }
};

}  // namespace

TEST(TListCost, SameAsThePlainListUnderRandomOperations) {
  std::mt19937 rng(16);
  auto below = [&](int32_t n) { return static_cast<int32_t>(rng() % static_cast<uint32_t>(n)); };
  Owned<TLoggingList> L = Make<TLoggingList>();
  TPlainList M;
  intptr_t next = 1;
  for (int step = 0; step < 20000; ++step) {
    int32_t count = L->GetCount();
    int op = below(100);
    if (op < 30 || count == 0) {  // queue-like: append ...
      L->Add(P(next));
      M.Insert(count, next++);
    } else if (op < 55) {  // ... and take from the front
      L->Delete(0);
      M.Delete(0);
    } else if (op < 65) {
      int32_t i = below(count + 1);
      intptr_t v = below(8) == 0 ? 0 : next++;  // some nils
      L->Insert(i, P(v));
      M.Insert(i, v);
    } else if (op < 75) {
      int32_t i = below(count);
      L->Delete(i);
      M.Delete(i);
    } else if (op < 80) {
      int32_t i = below(count), j = below(count);
      L->Move(i, j);
      intptr_t v = M.Items[i];
      M.Items.erase(M.Items.begin() + i);
      M.Items.insert(M.Items.begin() + j, v);
    } else if (op < 84) {
      int32_t i = below(count);
      intptr_t v = M.Items[i];
      if (v) {
        EXPECT_EQ(L->Extract(P(v)), P(v));
        M.Items.erase(M.Items.begin() + i);
        M.Log += "x" + std::to_string(v);
      }
    } else if (op < 88) {
      int32_t i = below(count);
      L->Put(i, P(next));
      if (M.Items[i]) M.Log += "-" + std::to_string(M.Items[i]);
      M.Items[i] = next;
      M.Log += "+" + std::to_string(next++);
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
    ASSERT_EQ(L->Log, M.Log) << "step " << step;
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
