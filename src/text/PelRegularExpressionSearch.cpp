#include "text/PelRegularExpressionSearch.h"

#include <algorithm>
#include <cstring>

namespace pel::detail {

// --- TRegExStateSets -------------------------------------------------------------

TRegExStateSets::TRegExStateSets(const TRegExStates& States, int32_t StartState, bool FoldCase,
                                 bool Floating)
    : FStates(States),
      FFoldCase(FoldCase),
      FFloating(Floating),
      FMark(States.size(), 0) {
  FSeeds.assign(1, StartState);
  Close(FSeeds, FStartSet, FStartAccepts);
  std::sort(FStartSet.begin(), FStartSet.end());
  Reset();
}

void TRegExStateSets::Reset() {
  FSets.clear();
  FAccepts.clear();
  FNext.clear();
  FIndex.clear();
  // Anchored, the first set is the start's closure; floating, no thread has
  // read a character yet.
  std::vector<int32_t> first = FFloating ? std::vector<int32_t>() : FStartSet;
  Intern(first, FFloating ? false : FStartAccepts);
}

void TRegExStateSets::Close(std::vector<int32_t>& Seeds, std::vector<int32_t>& Set, bool& Accepts) {
  if (++FStamp == 0) {
    std::fill(FMark.begin(), FMark.end(), 0);
    FStamp = 1;
  }
  const auto count = static_cast<int32_t>(FStates.size());
  while (!Seeds.empty()) {
    const int32_t x = Seeds.back();
    Seeds.pop_back();
    if (x < 0 || x >= count || FMark[static_cast<std::size_t>(x)] == FStamp) continue;
    FMark[static_cast<std::size_t>(x)] = FStamp;
    const TRegExState& state = FStates[static_cast<std::size_t>(x)];
    switch (state.MatchType) {
      case reNone:
        Seeds.push_back(state.Next2);
        Seeds.push_back(state.Next1);
        break;
      case reTerminal:
        Accepts = true;
        break;
      case reUnused:
        break;
      default:
        Set.push_back(x);
    }
  }
}

int32_t TRegExStateSets::Intern(std::vector<int32_t>& Set, bool Accepts) {
  if (Set.empty() && !Accepts && !FFloating) return Dead;
  std::sort(Set.begin(), Set.end());
  std::string key(reinterpret_cast<const char*>(Set.data()), Set.size() * sizeof(int32_t));
  key.push_back(Accepts ? '\1' : '\0');
  auto found = FIndex.find(key);
  if (found != FIndex.end()) return found->second;
  const auto id = static_cast<int32_t>(FSets.size());
  FIndex.emplace(std::move(key), id);
  FSets.push_back(Set);
  FAccepts.push_back(Accepts ? 1 : 0);
  FNext.resize(FNext.size() + 256, Unknown);
  return id;
}

int32_t TRegExStateSets::Build(int32_t D, uint8_t Byte) {
  char c = static_cast<char>(Byte);
  if (FFoldCase) c = UpCase(c);
  FSeeds.clear();
  auto step = [&](const std::vector<int32_t>& from) {
    for (int32_t x : from) {
      const TRegExState& state = FStates[static_cast<std::size_t>(x)];
      if (TPelRegularExpression::Consumes(state, c)) FSeeds.push_back(state.Next1);
    }
  };
  step(FSets[static_cast<std::size_t>(D)]);
  if (FFloating) step(FStartSet);
  FWork.clear();
  bool accepts = false;
  Close(FSeeds, FWork, accepts);
  if (FSets.size() >= MaxSets) {
    // Start the cache again; callers hold only the state returned here.
    Reset();
    return Intern(FWork, accepts);
  }
  const int32_t target = Intern(FWork, accepts);
  FNext[static_cast<std::size_t>(D) * 256 + Byte] = target;
  return target;
}

// --- TRegExSearch ------------------------------------------------------------

TRegExSearch::TRegExSearch(const TRegExStates& States, int32_t StartState, bool FoldCase)
    : FAnchored(States, StartState, FoldCase, false),
      FFloating(States, StartState, FoldCase, true) {
  const int32_t start = TRegExStateSets::Start();
  // A match can begin only with a byte that leads somewhere.
  for (int b = 0; b < 256; ++b)
    FFirst[static_cast<std::size_t>(b)] =
        FAnchored.Accepts(start) ||
        FAnchored.Next(start, static_cast<uint8_t>(b)) != TRegExStateSets::Dead;
  FAnyFirst = std::all_of(FFirst.begin(), FFirst.end(), [](bool b) { return b; });
  // The literal every match begins with: the chain of single character
  // states from the start, as long as each set holds nothing else.
  int32_t d = start;
  while (FPrefix.size() < 64 && d != TRegExStateSets::Dead && !FAnchored.Accepts(d) &&
         FAnchored.Members(d).size() == 1) {
    const TRegExState& state = States[static_cast<std::size_t>(FAnchored.Members(d)[0])];
    const char c = state.Character;
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (state.MatchType != reChar || (FoldCase && letter)) break;
    FPrefix.push_back(c);
    d = FAnchored.Next(d, static_cast<uint8_t>(c));
  }
}

bool TRegExSearch::MatchAt(std::string_view S, std::size_t From, bool AnchorAtEnd,
                           std::size_t& Len) {
  int32_t d = TRegExStateSets::Start();
  if (!AnchorAtEnd && FAnchored.Accepts(d)) {
    Len = 0;
    return true;
  }
  const auto* bytes = reinterpret_cast<const uint8_t*>(S.data());
  for (std::size_t i = From; i < S.size(); ++i) {
    d = FAnchored.Next(d, bytes[i]);
    if (d == TRegExStateSets::Dead) return false;
    if (!AnchorAtEnd && FAnchored.Accepts(d)) {
      Len = i + 1 - From;
      return true;
    }
  }
  if (!AnchorAtEnd || !FAnchored.Accepts(d)) return false;
  Len = S.size() - From;
  return true;
}

std::size_t TRegExSearch::NextCandidate(std::string_view S, std::size_t From) const {
  if (From >= S.size()) return std::string_view::npos;
  if (!FPrefix.empty()) {
    const char* p;
    if (FPrefix.size() == 1)
      p = static_cast<const char*>(std::memchr(S.data() + From, FPrefix[0], S.size() - From));
    else
      p = static_cast<const char*>(
          memmem(S.data() + From, S.size() - From, FPrefix.data(), FPrefix.size()));
    return p ? static_cast<std::size_t>(p - S.data()) : std::string_view::npos;
  }
  if (FAnyFirst) return From;
  const auto* bytes = reinterpret_cast<const uint8_t*>(S.data());
  for (std::size_t i = From; i < S.size(); ++i)
    if (FFirst[bytes[i]]) return i;
  return std::string_view::npos;
}

bool TRegExSearch::Find(std::string_view S, std::size_t From, bool AnchorAtEnd, std::size_t& Pos,
                        std::size_t& Len) {
  constexpr auto npos = std::string_view::npos;
  std::size_t p = NextCandidate(S, From);
  if (p == npos) return false;
  if (!AnchorAtEnd && FAnchored.Accepts(TRegExStateSets::Start())) {
    Pos = p;
    Len = 0;
    return true;
  }
  // One pass over the rest decides whether any match exists, and where the
  // first one to finish ends: the leftmost match begins at or before that.
  const auto* bytes = reinterpret_cast<const uint8_t*>(S.data());
  int32_t d = TRegExStateSets::Start();
  std::size_t last = npos;
  for (std::size_t i = p; i < S.size(); ++i) {
    d = FFloating.Next(d, bytes[i]);
    if (!AnchorAtEnd && FFloating.Accepts(d)) {
      last = i;
      break;
    }
  }
  if (AnchorAtEnd && FFloating.Accepts(d)) last = S.size() - 1;
  if (last == npos) return false;
  for (; p != npos && p <= last; p = NextCandidate(S, p + 1)) {
    if (MatchAt(S, p, AnchorAtEnd, Len)) {
      Pos = p;
      return true;
    }
  }
  return false;
}

}  // namespace pel::detail
