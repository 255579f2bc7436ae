// The order index of TPelPriorityQueue: for each distinct priority in the
// queue, the first and last node of the run of nodes with that priority.
//
// The priorities are kept sorted in blocks of at most 256, with a table of
// each block's smallest priority: finding a priority, or the next one up,
// is two binary searches over contiguous memory, and adding or removing one
// moves part of a block. A block that fills up splits in two; an empty one
// goes. At a million priorities this is several times faster than a
// balanced tree of them, whose every step misses the cache.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

namespace pel {

class TSQNode;

namespace detail {

class TPriorityRuns {
 public:
  struct TRun {
    TSQNode* First;
    TSQNode* Last;
  };

  void Clear() {
    FFirsts.clear();
    FBlocks.clear();
    FFront = 0;
  }
  bool Empty() const { return FBlocks.size() == FFront; }

  // Where the first priority at least P is, or would go: in the last block
  // whose smallest priority is at most P (else the first block), possibly
  // just after its last priority. Block is past the end only when there are
  // no blocks. Blocks are counted from the start of the table, dead front
  // included. A place holds until the index next changes; the operations
  // below take the place of their priority.
  struct TPlace {
    std::size_t Block;
    std::size_t Index;
  };
  TPlace Locate(int32_t P) const {
    const auto live = FFirsts.begin() + Diff(FFront);
    auto next = std::upper_bound(live, FFirsts.end(), P);
    if (next == live) return {FFront, 0};
    std::size_t block = static_cast<std::size_t>(std::prev(next) - FFirsts.begin());
    const TBlock& b = FBlocks[block];
    auto first = b.Keys.begin() + Diff(b.Start);
    return {block, static_cast<std::size_t>(std::lower_bound(first, b.Keys.end(), P) - first)};
  }

  // The run of priority P, or nothing.
  TRun* Find(int32_t P, TPlace At) {
    if (At.Block == FBlocks.size() || At.Index == FBlocks[At.Block].Size()) return nullptr;
    TBlock& b = FBlocks[At.Block];
    return b.Key(At.Index) == P ? &b.Run(At.Index) : nullptr;
  }

  // The run of the smallest priority at least P, and the run before it;
  // both must exist.
  void Around(TPlace At, TRun*& Before, TRun*& Run) {
    if (At.Index == FBlocks[At.Block].Size()) {
      ++At.Block;
      At.Index = 0;
    }
    Run = &FBlocks[At.Block].Run(At.Index);
    Before =
        At.Index > 0 ? &FBlocks[At.Block].Run(At.Index - 1) : &FBlocks[At.Block - 1].Runs.back();
  }

  // Adds the run of P unless there is one; returns the run and whether it
  // was added.
  std::pair<TRun*, bool> Add(int32_t P, TRun Run) { return Add(P, Run, Locate(P)); }
  std::pair<TRun*, bool> Add(int32_t P, TRun Run, TPlace At) {
    if (Empty()) {
      Clear();
      FBlocks.push_back({{P}, {Run}});
      FFirsts.push_back(P);
      return {&FBlocks[0].Run(0), true};
    }
    TBlock* b = &FBlocks[At.Block];
    if (At.Index < b->Size() && b->Key(At.Index) == P) return {&b->Run(At.Index), false};
    b->Insert(At.Index, P, Run);
    FFirsts[At.Block] = b->Key(0);
    if (b->Size() > kMaxBlock) {
      Split(At.Block);
      if (At.Index >= kMaxBlock / 2) {
        ++At.Block;
        At.Index -= kMaxBlock / 2;
      }
      b = &FBlocks[At.Block];
    }
    return {&b->Run(At.Index), true};
  }

  // Removes the run at At, which must exist.
  void Remove(TPlace At) {
    TBlock& b = FBlocks[At.Block];
    b.Erase(At.Index);
    if (b.Size() == 0 && At.Block == FFront) {
      // The first block (a queue's pops empty it) only moves the front; the
      // dead front is dropped once it is half the table.
      b = TBlock();
      if (++FFront * 2 >= FBlocks.size()) {
        FBlocks.erase(FBlocks.begin(), FBlocks.begin() + Diff(FFront));
        FFirsts.erase(FFirsts.begin(), FFirsts.begin() + Diff(FFront));
        FFront = 0;
      }
    } else if (b.Size() == 0) {
      FBlocks.erase(FBlocks.begin() + Diff(At.Block));
      FFirsts.erase(FFirsts.begin() + Diff(At.Block));
    } else {
      FFirsts[At.Block] = b.Key(0);
    }
  }

 private:
  static constexpr std::size_t kMaxBlock = 128;

  // A block's entries are Keys[Start..] and Runs[Start..]: taking the
  // first one out (a queue's pop takes the smallest priority) only moves
  // Start, and the dead front is dropped once it is half the block.
  struct TBlock {
    std::vector<int32_t> Keys;
    std::vector<TRun> Runs;
    std::size_t Start = 0;

    std::size_t Size() const { return Keys.size() - Start; }
    int32_t Key(std::size_t I) const { return Keys[Start + I]; }
    TRun& Run(std::size_t I) { return Runs[Start + I]; }
    void Insert(std::size_t I, int32_t K, TRun R) {
      if (I == 0 && Start > 0) {
        --Start;
        Keys[Start] = K;
        Runs[Start] = R;
        return;
      }
      Keys.insert(Keys.begin() + Diff(Start + I), K);
      Runs.insert(Runs.begin() + Diff(Start + I), R);
    }
    void Erase(std::size_t I) {
      if (I == 0) {
        if (++Start * 2 >= Keys.size()) Compact();
        return;
      }
      Keys.erase(Keys.begin() + Diff(Start + I));
      Runs.erase(Runs.begin() + Diff(Start + I));
    }
    void Compact() {
      Keys.erase(Keys.begin(), Keys.begin() + Diff(Start));
      Runs.erase(Runs.begin(), Runs.begin() + Diff(Start));
      Start = 0;
    }
  };

  static std::ptrdiff_t Diff(std::size_t N) { return static_cast<std::ptrdiff_t>(N); }

  void Split(std::size_t Block) {
    TBlock upper;
    TBlock& b = FBlocks[Block];
    b.Compact();
    upper.Keys.assign(b.Keys.begin() + Diff(kMaxBlock / 2), b.Keys.end());
    upper.Runs.assign(b.Runs.begin() + Diff(kMaxBlock / 2), b.Runs.end());
    b.Keys.resize(kMaxBlock / 2);
    b.Runs.resize(kMaxBlock / 2);
    FFirsts.insert(FFirsts.begin() + Diff(Block) + 1, upper.Keys.front());
    FBlocks.insert(FBlocks.begin() + Diff(Block) + 1, std::move(upper));
  }

  // The blocks from FFront on are live; those before it were emptied at the
  // front and wait to be dropped together.
  std::vector<int32_t> FFirsts;  // each block's smallest priority
  std::vector<TBlock> FBlocks;
  std::size_t FFront = 0;
};

}  // namespace detail
}  // namespace pel
