// The priority queue finds where a node goes through an order index instead
// of walking. These tests hold it to the plain walk (kept here) on random
// operation sequences, including callers that break the order, and show that
// a large queue stays fast.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <random>
#include <vector>

#include "lists/PelLists.h"

using namespace pel;

namespace {

TObject* Item(intptr_t Id) { return reinterpret_cast<TObject*>(Id * 16); }

struct TEntry {
  int32_t Priority;
  TObject* Item;
  TSQNode* Node;
  bool operator==(const TEntry&) const = default;
};
using TEntries = std::vector<TEntry>;

// The defined insertion, walk and all. Returns the node the queue's cursor is
// left on (nothing at the end).
TSQNode* PlainPush(TEntries& E, const TEntry& N) {
  TSQNode* cursor = E.empty() ? nullptr : E.front().Node;  // Reset
  auto at = E.begin();
  if (!E.empty() && N.Priority > E.front().Priority) {
    if (N.Priority >= E.back().Priority) {
      at = E.end();
    } else {
      while (at->Priority < N.Priority) ++at;
      cursor = at + 1 < E.end() ? at[1].Node : nullptr;
    }
  }
  E.insert(at, N);
  return cursor;
}

TEntries Entries(TPelPriorityQueue& Q) {
  TEntries r;
  for (int32_t i = 0; i < Q.GetCount(); ++i) {
    TSQPriorityNode* n = Q.GetPriorityNode(i);
    r.push_back({n->GetPriority(), n->GetItem(), n});
  }
  return r;
}

}  // namespace

TEST(PelPriorityQueueCost, SameAsThePlainWalkUnderRandomOperations) {
  std::mt19937 rng(16);
  auto below = [&](std::size_t n) { return static_cast<std::ptrdiff_t>(rng() % n); };
  Owned<TPelPriorityQueue> Q = Make<TPelPriorityQueue>();
  Owned<TPelPriorityQueue> Other = Make<TPelPriorityQueue>();
  TEntries M;
  intptr_t id = 1;
  for (int phase = 0; phase < 8; ++phase) {
    // Few priorities (many ties), some, many, or the whole range.
    const int32_t kRanges[4][2] = {{0, 3}, {-50, 50}, {0, 1000}, {INT32_MIN, INT32_MAX}};
    std::uniform_int_distribution<int32_t> prio(kRanges[phase % 4][0], kRanges[phase % 4][1]);
    // In the later phases the caller breaks the order now and then. The
    // queue grows to several hundred nodes.
    std::size_t breaks = phase / 4 == 1 ? 6 : 0;
    Q->Clear();
    M.clear();
    for (int step = 0; step < 3000; ++step) {
      std::size_t count = M.size(), op = rng() % 100;
      if (op < 50 || count == 0) {
        TEntry e{prio(rng), Item(id++), nullptr};
        e.Node = Q->PushP(e.Item, e.Priority);
        TSQNode* cursor = PlainPush(M, e);
        ASSERT_EQ(Q->GetEndOfList() ? nullptr : Q->GetNext(), cursor) << phase << ":" << step;
        if (cursor) Q->Reset();  // GetNext after a change leaves the cursor index wrong
      } else if (op < 72) {
        Q->Pop();  // the comparison of the entries below checks it
        M.erase(M.begin());
      } else if (op < 82) {  // ChangePriority: a copy pushed, the old deleted
        TEntry old = M[below(count)], e{prio(rng), old.Item, nullptr};
        e.Node = Q->ChangePriority(As<TSQPriorityNode>(old.Node), e.Priority);
        PlainPush(M, e);
        M.erase(std::find(M.begin(), M.end(), old));
      } else if (op < 88) {
        auto i = below(count);
        Q->Delete(M[i].Node);
        M.erase(M.begin() + i);
      } else if (op < 88 + breaks) {
        auto i = below(count);
        if (op % 3 == 0) {  // a priority set directly
          M[i].Priority = prio(rng);
          As<TSQPriorityNode>(M[i].Node)->SetPriority(M[i].Priority);
        } else if (op % 3 == 1 || i + 1 < static_cast<std::ptrdiff_t>(count)) {
          auto* node = As<TSQPriorityNode>(Q->NewNode());
          TEntry e{prio(rng), Item(id++), node};
          node->SetItem(e.Item);
          node->SetPriority(e.Priority);
          if (op % 3 == 1) {  // placed by the base list
            Q->TPelCustomLinkedList::Insert(node, M[i].Node);
            M.insert(M.begin() + i, e);
          } else {  // replacing a node (never the tail)
            Q->SetPriorityNode(static_cast<int32_t>(i), node);
            M[i] = e;
          }
        }
      } else if (op < 97) {  // another queue's node changes: this one rechecks
        Other->PushP(nullptr, 0)->SetPriority(prio(rng));
      } else if (below(200) == 0) {
        Q->Clear();
        M.clear();
      }
      ASSERT_EQ(Entries(*Q), M) << phase << ":" << step;
    }
  }
}

TEST(PelPriorityQueueCost, LargeQueuesKeepTheirOrder) {
  // A size at which a quadratic step would stall the suite; what the queues
  // cost is measured in bench/QueuesBench.
  std::mt19937 rng(1);
  std::uniform_int_distribution<int32_t> prio(0, 1'000'000);
  Owned<TPelPriorityQueue> Q = Make<TPelPriorityQueue>();
  for (int i = 0; i < 200'000; ++i) Q->PushP(nullptr, prio(rng));
  for (int32_t i = 0, last = INT32_MIN; i < 200'000; ++i, Q->Pop()) {
    ASSERT_LE(last, Q->GetPriority(0));
    last = Q->GetPriority(0);
  }
}

// A plain queue or stack skips its own no-op calls; a descendant that
// overrides Notify or Top must still hear and use every one of them.
template <class Base>
class TWatchedQueue : public Base {
 public:
  std::vector<std::pair<void*, TListNotification>> Heard;
  int TopCalls = 0;
  void* Top() override {
    ++TopCalls;
    return Base::Top();
  }

 protected:
  void Notify(void* Ptr, TListNotification Action) override { Heard.emplace_back(Ptr, Action); }
};

template <class Base>
void ExpectEveryCallHeard(std::vector<intptr_t> Deleted) {
  TWatchedQueue<Base> q;
  for (intptr_t i = 1; i <= 3; ++i) q.Push(Item(i));
  EXPECT_EQ(q.Pop(), Item(Deleted[0]));
  EXPECT_EQ(q.TopCalls, 1);
  q.Clear();
  std::vector<std::pair<void*, TListNotification>> expected;
  for (intptr_t i = 1; i <= 3; ++i) expected.emplace_back(Item(i), lnAdded);
  for (intptr_t i : Deleted) expected.emplace_back(Item(i), lnDeleted);  // popped, then cleared
  EXPECT_EQ(q.Heard, expected);
  EXPECT_EQ(q.GetCapacity(), 0);
}

TEST(ArrayQueueCost, DescendantsStillHearEveryCall) {
  ExpectEveryCallHeard<TQQueue>({1, 3, 2});
  ExpectEveryCallHeard<TQStack>({3, 2, 1});
}
