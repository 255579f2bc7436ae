// The priority queue finds where a node goes through an order index instead
// of walking. These tests hold it to the plain walk (kept here) on random
// operation sequences, including callers that break the order, and show that
// the queues and array lists stay fast with many items.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <string>
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

// The defined insertion, walk and all. Cursor is the node the queue's cursor
// is left on (nothing at the end).
struct TPlainQueue {
  std::vector<TEntry> E;
  TSQNode* Cursor = nullptr;

  void Push(const TEntry& N) {
    Cursor = E.empty() ? nullptr : E.front().Node;  // Reset
    if (E.empty() || N.Priority <= E.front().Priority) {
      E.insert(E.begin(), N);
    } else if (N.Priority >= E.back().Priority) {
      E.push_back(N);
    } else {
      std::size_t i = 0;
      while (E[i].Priority < N.Priority) ++i;
      Cursor = i + 1 < E.size() ? E[i + 1].Node : nullptr;
      E.insert(E.begin() + static_cast<std::ptrdiff_t>(i), N);
    }
  }
  std::size_t IndexOf(TSQNode* Node) const {
    std::size_t i = 0;
    while (E[i].Node != Node) ++i;
    return i;
  }
};

std::vector<TEntry> Entries(TPelPriorityQueue& Q) {
  std::vector<TEntry> r;
  for (int32_t i = 0; i < Q.GetCount(); ++i) {
    TSQPriorityNode* n = Q.GetPriorityNode(i);
    r.push_back({n->GetPriority(), n->GetItem(), n});
  }
  return r;
}

}  // namespace

TEST(PelPriorityQueueCost, SameAsThePlainWalkUnderRandomOperations) {
  std::mt19937 rng(16);
  auto below = [&](std::size_t n) { return static_cast<std::size_t>(rng() % n); };
  Owned<TPelPriorityQueue> Q = Make<TPelPriorityQueue>();
  Owned<TPelPriorityQueue> Other = Make<TPelPriorityQueue>();
  TPlainQueue M;
  intptr_t id = 1;
  for (int phase = 0; phase < 12; ++phase) {
    // Few priorities (many ties), some, many, or the whole range.
    const int32_t kRanges[4][2] = {{0, 3}, {-50, 50}, {0, 1000}, {INT32_MIN, INT32_MAX}};
    std::uniform_int_distribution<int32_t> prio(kRanges[phase % 4][0], kRanges[phase % 4][1]);
    // In the middle phases the caller breaks the order now and then. The
    // queue grows to several hundred nodes.
    std::size_t breaks = phase / 4 == 1 ? 6 : 0;
    Q->Clear();
    M.E.clear();
    for (int step = 0; step < 3000; ++step) {
      std::size_t count = M.E.size();
      std::size_t op = below(100);
      if (op < 50 || count == 0) {
        TEntry e{prio(rng), Item(id++), nullptr};
        e.Node = Q->PushP(e.Item, e.Priority);
        M.Push(e);
        ASSERT_EQ(Q->GetEndOfList(), M.Cursor == nullptr) << phase << ":" << step;
        if (M.Cursor) {
          ASSERT_EQ(Q->GetNext(), M.Cursor) << phase << ":" << step;
          Q->Reset();  // GetNext after a change leaves the cursor index wrong
        }
      } else if (op < 72) {
        ASSERT_EQ(Q->Pop(), M.E.front().Item) << phase << ":" << step;
        M.E.erase(M.E.begin());
      } else if (op < 82) {  // ChangePriority: a copy pushed, the old deleted
        std::size_t i = below(count);
        TEntry e{prio(rng), M.E[i].Item, nullptr};
        TSQNode* old = M.E[i].Node;
        e.Node = Q->ChangePriority(As<TSQPriorityNode>(old), e.Priority);
        M.Push(e);
        M.E.erase(M.E.begin() + static_cast<std::ptrdiff_t>(M.IndexOf(old)));
      } else if (op < 88) {
        std::size_t i = below(count);
        Q->Delete(M.E[i].Node);
        M.E.erase(M.E.begin() + static_cast<std::ptrdiff_t>(i));
      } else if (op < 88 + breaks) {
        std::size_t i = below(count);
        if (op % 3 == 0) {  // a priority set directly
          M.E[i].Priority = prio(rng);
          As<TSQPriorityNode>(M.E[i].Node)->SetPriority(M.E[i].Priority);
        } else if (op % 3 == 1) {  // a node placed by the base list
          auto* node = As<TSQPriorityNode>(Q->NewNode());
          TEntry e{prio(rng), Item(id++), node};
          node->SetItem(e.Item);
          node->SetPriority(e.Priority);
          Q->TPelCustomLinkedList::Insert(node, M.E[i].Node);
          M.E.insert(M.E.begin() + static_cast<std::ptrdiff_t>(i), e);
        } else if (i + 1 < count) {  // a node replaced (never the tail)
          auto* node = As<TSQPriorityNode>(Q->NewNode());
          TEntry e{prio(rng), Item(id++), node};
          node->SetItem(e.Item);
          node->SetPriority(e.Priority);
          Q->SetPriorityNode(static_cast<int32_t>(i), node);
          M.E[i] = e;
        }
      } else if (op < 97) {  // another queue's node changes: this one rechecks
        Other->PushP(nullptr, 0)->SetPriority(prio(rng));
      } else if (below(200) == 0) {
        Q->Clear();
        M.E.clear();
      }
      ASSERT_EQ(Entries(*Q), M.E) << phase << ":" << step;
    }
  }
}

// The order index alone, against a map, through block splits and removals.
TEST(PelPriorityQueueCost, OrderIndexAgreesWithAMap) {
  using detail::TPriorityRuns;
  auto node = [](intptr_t n) { return reinterpret_cast<TSQNode*>(n * 16); };
  std::mt19937 rng(7);
  TPriorityRuns R;
  std::map<int32_t, TPriorityRuns::TRun> M;
  for (int step = 0; step < 40000; ++step) {
    int32_t p = static_cast<int32_t>(rng() % 3000);
    if (rng() % 3 != 0 || M.empty()) {  // grow to about two thousand
      auto [run, added] = R.Add(p, {node(step), node(step)});
      ASSERT_EQ(added, M.count(p) == 0);
      run->Last = node(-step);  // the run handed back is the one stored
      M.insert({p, {node(step), node(step)}}).first->second.Last = node(-step);
    } else {
      // Half the removals take the smallest, as a queue's pops do: whole
      // blocks empty at the front.
      auto it = rng() % 2 ? M.lower_bound(p) : M.begin();
      if (it == M.end()) it = M.begin();
      R.Remove(it->first);
      M.erase(it);
    }
    auto found = M.find(p);
    TPriorityRuns::TRun* run = R.Find(p);
    ASSERT_EQ(run != nullptr, found != M.end());
    if (run) {
      ASSERT_EQ(run->Last, found->second.Last);
    }
    auto next = M.lower_bound(p);
    if (next != M.begin() && next != M.end()) {
      TPriorityRuns::TRun *before, *at;
      R.Around(p, before, at);
      ASSERT_EQ(at->First, next->second.First);
      ASSERT_EQ(before->Last, std::prev(next)->second.Last);
    }
  }
}

TEST(PelPriorityQueueCost, LargeQueuesKeepTheirOrder) {
  // Sizes at which a quadratic step would stall the suite; what they cost is
  // measured in bench/QueuesBench.
  std::mt19937 rng(1);
  std::uniform_int_distribution<int32_t> prio(0, 1'000'000);
  Owned<TPelPriorityQueue> Q = Make<TPelPriorityQueue>();
  for (int i = 0; i < 200'000; ++i) Q->PushP(nullptr, prio(rng));
  int32_t last = std::numeric_limits<int32_t>::min();
  for (int i = 0; i < 200'000; ++i) {
    ASSERT_LE(last, Q->GetPriority(0));
    last = Q->GetPriority(0);
    Q->Pop();
  }
  Owned<TFreeList> F = Make<TFreeList>(false);
  for (intptr_t i = 1; i <= 1'000'000; ++i) F->Add(Item(i));
  for (intptr_t i = 1; i <= 1'000'000; ++i) {
    ASSERT_EQ(F->First(), Item(i));
    F->Delete(0);
  }
  Owned<TQStringQueue> T = Make<TQStringQueue>();
  for (int i = 0; i < 300'000; ++i) T->PushItem(std::to_string(i), Item(i));
  for (int i = 0; i < 300'000; ++i) {
    if (i % 3 == 0) T->PushString("x");  // the pushes between pops reuse the room
    TObject* object = nullptr;
    ASSERT_EQ(T->PopItem(object), std::to_string(i));
    ASSERT_EQ(object, Item(i));
  }
  EXPECT_EQ(T->GetCount(), 100'000);
  EXPECT_EQ(T->TopString(), "x");
  // The library's string list, read and deleted from the front.
  Owned<TPelStringList> L = Make<TPelStringList>();
  for (int i = 0; i < 300'000; ++i) L->Add(std::to_string(i));
  const int32_t capacity = L->GetCapacity();
  for (int i = 0; i < 299'999; ++i) {
    ASSERT_EQ(L->Get(0), std::to_string(i));
    L->Delete(0);
  }
  EXPECT_EQ(L->Get(0), "299999");
  EXPECT_EQ(L->GetCapacity(), capacity);
  // The string priority queue links nothing, but keeps every node it took.
  Owned<TPelPriorityStringQueue> S = Make<TPelPriorityStringQueue>();
  for (int i = 0; i < 200'000; ++i) S->PushP(nullptr, prio(rng));
  EXPECT_TRUE(S->IsEmpty());
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

TEST(ArrayQueueCost, DescendantsStillHearEveryCall) {
  using TPair = std::pair<void*, TListNotification>;
  for (bool stack : {false, true}) {
    SCOPED_TRACE(stack ? "stack" : "queue");
    TWatchedQueue<TQQueue> queue;
    TWatchedQueue<TQStack> stackQueue;
    TQQueue& q = stack ? static_cast<TQQueue&>(stackQueue) : queue;
    auto& heard = stack ? stackQueue.Heard : queue.Heard;
    auto& tops = stack ? stackQueue.TopCalls : queue.TopCalls;
    for (intptr_t i = 1; i <= 3; ++i) q.Push(Item(i));
    EXPECT_EQ(q.Pop(), stack ? Item(3) : Item(1));
    EXPECT_EQ(tops, 1);
    q.Clear();
    std::vector<TPair> expected = {{Item(1), lnAdded}, {Item(2), lnAdded}, {Item(3), lnAdded}};
    // Popped, then cleared last first.
    if (stack)
      expected.insert(expected.end(), {{Item(3), lnDeleted}, {Item(2), lnDeleted}, {Item(1), lnDeleted}});
    else
      expected.insert(expected.end(), {{Item(1), lnDeleted}, {Item(3), lnDeleted}, {Item(2), lnDeleted}});
    EXPECT_EQ(heard, expected);
    EXPECT_EQ(q.GetCapacity(), 0);
  }
}
