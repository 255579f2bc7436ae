// The search behind TPelRegularExpression::Match: the compiled table run as
// a deterministic automaton whose states are the sets of table states live
// after each character, built lazily the first time a transition is taken.
//
// A match's length depends only on those sets (the first step whose set
// holds the terminal), not on the order in which a step explores them, so
// the automaton answers exactly as the matcher that walks the table with
// its queue.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "text/PelRegularExpression.h"

namespace pel::detail {

// The sets reached from the start state (Floating false), or from every
// position at once (Floating true: the start state joins each step before
// its character is read, so a set holds the threads of all earlier starts).
class TRegExStateSets {
 public:
  static constexpr int32_t Dead = -1;

  TRegExStateSets(const TRegExStates& States, int32_t StartState, bool FoldCase, bool Floating);

  // The automaton's first state (always 0).
  static constexpr int32_t Start() { return 0; }
  bool Accepts(int32_t D) const { return FAccepts[static_cast<std::size_t>(D)] != 0; }
  // The table states a set holds (the consuming ones).
  const std::vector<int32_t>& Members(int32_t D) const {
    return FSets[static_cast<std::size_t>(D)];
  }
  int32_t Next(int32_t D, uint8_t Byte) {
    const int32_t t = FNext[static_cast<std::size_t>(D) * 256 + Byte];
    return t != Unknown ? t : Build(D, Byte);
  }

 private:
  static constexpr int32_t Unknown = -2;
  // More sets than this and the cache starts again from the start set.
  static constexpr std::size_t MaxSets = 2048;

  int32_t Build(int32_t D, uint8_t Byte);
  // Adds the closure of the seeds over non-consuming states to Set.
  void Close(std::vector<int32_t>& Seeds, std::vector<int32_t>& Set, bool& Accepts);
  int32_t Intern(std::vector<int32_t>& Set, bool Accepts);
  void Reset();

  const TRegExStates& FStates;
  bool FFoldCase, FFloating;
  std::vector<int32_t> FStartSet;
  bool FStartAccepts = false;
  std::vector<std::vector<int32_t>> FSets;
  std::vector<uint8_t> FAccepts;
  std::vector<int32_t> FNext;
  std::unordered_map<std::string, int32_t> FIndex;
  std::vector<uint32_t> FMark;
  uint32_t FStamp = 0;
  std::vector<int32_t> FSeeds, FWork;
};

class TRegExSearch {
 public:
  TRegExSearch(const TRegExStates& States, int32_t StartState, bool FoldCase);

  // The shortest match beginning exactly at From (0-based), its length in Len.
  bool MatchAt(std::string_view S, std::size_t From, bool AnchorAtEnd, std::size_t& Len);
  // The first position at or after From where a match begins, and its
  // length: what MatchAt at each position in turn would find.
  bool Find(std::string_view S, std::size_t From, bool AnchorAtEnd, std::size_t& Pos,
            std::size_t& Len);

 private:
  // The first position at or after From where a match could begin, or npos.
  std::size_t NextCandidate(std::string_view S, std::size_t From) const;

  TRegExStateSets FAnchored, FFloating;
  // Every match begins with FPrefix (case-exact bytes); when there is none,
  // FFirst tells the bytes a match can begin with.
  std::string FPrefix;
  std::array<bool, 256> FFirst{};
  bool FAnyFirst = true;
};

}  // namespace pel::detail
