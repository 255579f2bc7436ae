// The compiler, the table tidy-up and the single-position matcher of
// TPelRegularExpression. The search over positions is in
// PelRegularExpressionSearch.cpp.
#include "text/PelRegularExpression.h"

#include "lists/PelLists.h"
#include "text/PelRegularExpressionSearch.h"

namespace pel {

TCharSet MakeCharSet(std::string_view Members) {
  TCharSet set;
  for (char c : Members) set.set(static_cast<uint8_t>(c));
  return set;
}

const TCharSet MetaCharacters = MakeCharSet("$()*+-.?[]^|");

TPelRegularExpression::TPelRegularExpression(String AExpression)
    : FPendingExpression(std::move(AExpression)) {}

TPelRegularExpression::~TPelRegularExpression() = default;

void TPelRegularExpression::AfterConstruction() {
  TPersistent::AfterConstruction();
  String text = std::move(FPendingExpression);
  FPendingExpression.clear();
  SetExpression(text);
}

void TPelRegularExpression::Assign(TPersistent* Source) {
  if (auto* other = dynamic_cast<TPelRegularExpression*>(Source)) {
    FStates = other->FStates;
    FExpression = other->FExpression;
    FParsePosition = other->FParsePosition;
    FAnchorAtEnd = other->FAnchorAtEnd;
    FAnchorAtStart = other->FAnchorAtStart;
    FCaseSensitive = other->FCaseSensitive;
    FStartState = other->FStartState;
    FSearch.reset();
    return;
  }
  TPersistent::Assign(Source);
}

void TPelRegularExpression::SetExpression(const String& Value) {
  if (Value == FExpression) return;
  FExpression = Value;
  ParseExpression();
}

void TPelRegularExpression::SetCaseSensitive(bool Value) {
  if (Value == FCaseSensitive) return;
  FCaseSensitive = Value;
  ParseExpression();
}

void TPelRegularExpression::ParseExpression(const String& Value) {
  FExpression = Value;
  ParseExpression();
}

// --- The compiler ------------------------------------------------------------

void TPelRegularExpression::ParseExpression() {
  FSearch.reset();
  FStates.clear();
  if (FExpression.empty()) return;
  FParsePosition = 1;
  FDepth = 0;
  try {
    FStartState = ParseAnchorExpression();
  } catch (...) {
    // A half-built table has no terminal; an empty one compiles again on
    // the next Match.
    FStates.clear();
    throw;
  }
  AddState(reTerminal, 0, TCharSet(), -1, -1, false);
  OptimizeStates();
}

char TPelRegularExpression::Current() const {
  return AtEnd() ? '\0' : FExpression[static_cast<std::size_t>(FParsePosition - 1)];
}

int32_t TPelRegularExpression::AddState(TRegExMatchType MatchType, char Character,
                                        const TCharSet& CharSet, int32_t Next1, int32_t Next2,
                                        bool LinkToNext) {
  const auto index = static_cast<int32_t>(FStates.size());
  TRegExState& state = FStates.emplace_back();
  state.MatchType = MatchType;
  state.Next1 = LinkToNext ? index + 1 : Next1;
  state.Next2 = Next2;
  if (MatchType == reChar) state.Character = Character;
  if (MatchType == reCharSet || MatchType == reNotCharSet) state.CharSet = CharSet;
  return index;
}

// "^" and "$" are read as a line feed and a carriage return (intended: they
// are characters, not positions); "[^" stays a negated set.
int32_t TPelRegularExpression::ParseAnchorExpression() {
  const String saved = FExpression;
  String text = saved;
  for (char& c : text) {
    if (c == '^') c = '\n';
    if (c == '$') c = '\r';
  }
  for (std::size_t i = 0; i + 1 < text.size(); ++i)
    if (text[i] == '[' && text[i + 1] == '\n') text[++i] = '^';
  FExpression = text;
  return TryFinally([this] { return ParseExpr(); }, [&] { FExpression = saved; });
}

// Alternation, nested to the right: a|b|c is a|(b|c). Written as a loop
// (one alternative per turn), which emits the states of the recursive form
// in the same order.
int32_t TPelRegularExpression::ParseExpr() {
  struct TBranch {
    int32_t Join, Branch;
  };
  std::vector<TBranch> branches;
  int32_t result = ParseTerm();
  while (Current() == '|') {
    ++FParsePosition;
    // The alternative just parsed falls through to the join state.
    const int32_t join = AddState(reNone, 0, TCharSet(), -1, -1, false);
    const int32_t branch = AddState(reNone, 0, TCharSet(), result, -1, false);
    branches.push_back({join, branch});
    result = ParseTerm();
  }
  const auto after = static_cast<int32_t>(FStates.size());
  for (auto it = branches.rbegin(); it != branches.rend(); ++it) {
    FStates[static_cast<std::size_t>(it->Branch)].Next2 = result;
    FStates[static_cast<std::size_t>(it->Join)].Next1 = after;
    result = it->Branch;
  }
  return result;
}

// Concatenation: factor, link state, factor, ... (a loop for the recursion
// of the grammar, same states in the same order).
int32_t TPelRegularExpression::ParseTerm() {
  const int32_t first = ParseFactor();
  for (;;) {
    const char c = Current();
    const bool continues =
        c == '(' || c == '.' || c == '[' || (c != '\0' && !InSet(MetaCharacters, c));
    if (!continues) return first;
    const int32_t link = AddState(reNone, 0, TCharSet(), -1, -1, false);
    const int32_t next = ParseFactor();
    FStates[static_cast<std::size_t>(link)].Next1 = next;
  }
}

// One closure operator at most; a second one ends the term (a** is a*).
int32_t TPelRegularExpression::ParseFactor() {
  const int32_t atom = ParseAtom();
  switch (Current()) {
    case '*':
      ++FParsePosition;
      return AddState(reNone, 0, TCharSet(), -1, atom, true);
    case '+':
      ++FParsePosition;
      AddState(reNone, 0, TCharSet(), -1, atom, true);
      return atom;
    case '?': {
      ++FParsePosition;
      const int32_t skip = AddState(reNone, 0, TCharSet(), -1, -1, false);
      const int32_t choice = AddState(reNone, 0, TCharSet(), atom, skip, false);
      FStates[static_cast<std::size_t>(skip)].Next1 = static_cast<int32_t>(FStates.size());
      return choice;
    }
    default:
      return atom;
  }
}

int32_t TPelRegularExpression::ParseAtom() {
  switch (Current()) {
    case '(': {
      ++FParsePosition;
      if (++FDepth > MaxParenthesesDepth)
        throw ERXException(SParenthesesTooDeep, {MaxParenthesesDepth});
      const int32_t inner = ParseExpr();
      --FDepth;
      if (Current() != ')') throw ERXException(SMissingCloseParentheses);
      ++FParsePosition;
      return inner;
    }
    case '.':
      ++FParsePosition;
      return AddState(reAnyChar, 0, TCharSet(), -1, -1, true);
    case '[': {
      ++FParsePosition;
      TRegExMatchType type = reCharSet;
      if (Current() == '^') {
        ++FParsePosition;
        type = reNotCharSet;
      }
      TCharSet set;
      ParseCharSet(set);
      const int32_t state = AddState(type, 0, set, -1, -1, true);
      if (Current() != ']') throw ERXException(SMissingCloseBracket);
      ++FParsePosition;
      return state;
    }
    default:
      return ParseChar();
  }
}

int32_t TPelRegularExpression::ParseChar() {
  if (AtEnd()) throw ERXException(SUnexpectedEnd);
  char c = Current();
  if (InSet(MetaCharacters, c)) throw ERXException(SUnexpectedMetaCharacter);
  if (c == '\\') {
    // Quotes whatever follows; a trailing backslash quotes the code 0.
    ++FParsePosition;
    c = Current();
  }
  if (!FCaseSensitive) c = UpCase(c);
  const int32_t state = AddState(reChar, c, TCharSet(), -1, -1, true);
  ++FParsePosition;
  return state;
}

// One or more items up to the first unescaped "]". The text ending first
// leaves the set open, which ParseAtom reports as the missing bracket.
void TPelRegularExpression::ParseCharSet(TCharSet& Set) {
  ParseCharSetRange(Set);
  while (!AtEnd() && Current() != ']') {
    TCharSet more;
    ParseCharSetRange(more);
    Set |= more;
  }
}

void TPelRegularExpression::ParseCharSetRange(TCharSet& Set) {
  Set.reset();
  auto add = [&](int code) {
    const char c = static_cast<char>(code);
    Set.set(static_cast<uint8_t>(FCaseSensitive ? c : UpCase(c)));
  };
  const auto first = static_cast<uint8_t>(ParseCSChar());
  if (Current() != '-') {
    add(first);
    return;
  }
  ++FParsePosition;
  auto last = static_cast<uint8_t>(ParseCSChar());
  auto low = first;
  // Intended: a reversed range such as z-a is taken as a-z.
  if (last < low) std::swap(low, last);
  for (int code = low; code <= last; ++code) add(code);
}

char TPelRegularExpression::ParseCSChar() {
  if (AtEnd()) throw ERXException(SUnexpectedEnd);
  char c = Current();
  if (c == '-' || c == ']') throw ERXException(SUnexpectedMetaCharacter);
  if (c == '\\') {
    ++FParsePosition;
    c = Current();
  }
  ++FParsePosition;
  return c;
}

// --- Tidying the table -------------------------------------------------------

void TPelRegularExpression::OptimizeStates() {
  const auto count = static_cast<int32_t>(FStates.size());
  auto isLink = [&](int32_t i) {
    return i >= 0 && i < count && FStates[static_cast<std::size_t>(i)].MatchType == reNone &&
           FStates[static_cast<std::size_t>(i)].Next2 == -1;
  };
  // Links only point forward, so a chase ends within count steps.
  auto bypass = [&](int32_t& next) {
    for (int32_t steps = 0; isLink(next) && steps < count; ++steps)
      next = FStates[static_cast<std::size_t>(next)].Next1;
  };
  for (int32_t i = 0; i + 1 < count; ++i) {
    TRegExState& state = FStates[static_cast<std::size_t>(i)];
    bypass(state.Next1);
    if (state.Next2 != -1) bypass(state.Next2);
  }
  for (int32_t i = 0; i + 1 < count; ++i)
    if (isLink(i)) FStates[static_cast<std::size_t>(i)].MatchType = reUnused;
}

// --- Matching at one position ---------------------------------------------------

bool TPelRegularExpression::Consumes(const TRegExState& State, char C) {
  switch (State.MatchType) {
    case reAnyChar:
      return true;
    case reChar:
      return State.Character == C;
    case reCharSet:
      return InSet(State.CharSet, C);
    case reNotCharSet:
      return !InSet(State.CharSet, C);
    default:
      return false;
  }
}

// All branches in step: the queue holds the states live for the current
// character, then the scan mark, then those for the next one. Non-consuming
// states put their successors at the front (first successor first); a
// consuming state that takes the character queues its successor behind the
// mark. A state met again at the same character is passed over (see the
// header: this is what ends loops that consume nothing).
bool TPelRegularExpression::MatchSubString(const String& S, int32_t Start, int32_t& Len) {
  constexpr int32_t ScanMark = -2;
  const auto length = static_cast<int32_t>(S.size());
  const auto count = static_cast<int32_t>(FStates.size());
  auto value = [](int32_t v) { return reinterpret_cast<void*>(static_cast<intptr_t>(v)); };
  auto index = [](void* p) { return static_cast<int32_t>(reinterpret_cast<intptr_t>(p)); };

  Owned<TQQueue> queue = Make<TQQueue>();
  std::vector<int32_t> seenAt(static_cast<std::size_t>(count), INT32_MIN);
  queue->Push(value(ScanMark));
  queue->Push(value(FStartState));
  int32_t j = Start - 1;
  char c = '\0';
  // Returns the state to handle, or -1 for one to pass over.
  auto take = [&](int32_t x) {
    if (x < 0 || x >= count || seenAt[static_cast<std::size_t>(x)] == j) return -1;
    seenAt[static_cast<std::size_t>(x)] = j;
    return x;
  };
  auto expand = [&](const TRegExState& state) {
    queue->Insert(0, value(state.Next2));
    queue->Insert(0, value(state.Next1));
  };

  while (j <= length && !queue->IsEmpty()) {
    const int32_t x = index(queue->Pop());
    if (x == ScanMark) {
      if (queue->IsEmpty()) continue;
      ++j;
      if (j >= 1 && j <= length) {
        c = S[static_cast<std::size_t>(j - 1)];
        if (!FCaseSensitive) c = UpCase(c);
      }
      queue->Push(value(ScanMark));
      continue;
    }
    if (take(x) < 0) continue;
    const TRegExState& state = FStates[static_cast<std::size_t>(x)];
    if (state.MatchType == reNone) {
      expand(state);
    } else if (state.MatchType == reTerminal) {
      // With AnchorAtEnd the subject is not used up inside this loop.
      if (!FAnchorAtEnd) {
        Len = j - Start;
        return true;
      }
    } else if (Consumes(state, c)) {
      queue->Push(value(state.Next1));
    }
  }

  // The subject is used up: only non-consuming steps remain.
  while (!queue->IsEmpty()) {
    const int32_t x = index(queue->Pop());
    if (x == ScanMark || take(x) < 0) continue;
    const TRegExState& state = FStates[static_cast<std::size_t>(x)];
    if (state.MatchType == reNone) {
      expand(state);
    } else if (state.MatchType == reTerminal) {
      // The second form cannot be reached (the loop above only stops early
      // with an empty queue); kept as the algorithm has it.
      Len = j > length ? j - Start : j - Start + 1;
      return true;
    }
  }
  return false;
}

// --- Searching ---------------------------------------------------------------

detail::TRegExSearch& TPelRegularExpression::Search() {
  if (!FSearch)
    FSearch = std::make_unique<detail::TRegExSearch>(FStates, FStartState, !FCaseSensitive);
  return *FSearch;
}

int32_t TPelRegularExpression::Match(const String& S) {
  int32_t len = 0;
  return Match(S, len);
}

int32_t TPelRegularExpression::Match(const String& S, int32_t& Len) { return Match(S, 1, Len); }

int32_t TPelRegularExpression::Match(const String& S, int32_t Start, int32_t& Len) {
  if (FStates.empty()) ParseExpression();
  // Intended: an empty subject never matches, even a pattern such as a*.
  if (FExpression.empty() || S.empty() || FStates.empty()) return 0;
  const auto length = static_cast<int32_t>(S.size());
  if (FAnchorAtStart) {
    if (Start != 1) return 0;
    std::size_t len = 0;
    if (!Search().MatchAt(S, 0, FAnchorAtEnd, len)) return 0;
    Len = static_cast<int32_t>(len);
    return 1;
  }
  // Positions before the text read the character code 0 there: few enough
  // to try one by one.
  int32_t p = Start;
  for (; p < 1 && p <= length; ++p)
    if (MatchSubString(S, p, Len)) return p;
  if (p > length) return 0;
  std::size_t pos = 0, len = 0;
  if (!Search().Find(S, static_cast<std::size_t>(p - 1), FAnchorAtEnd, pos, len)) return 0;
  Len = static_cast<int32_t>(len);
  return static_cast<int32_t>(pos) + 1;
}

bool TPelRegularExpression::Find(std::string_view S, std::size_t From, std::size_t& Pos,
                                 std::size_t& Len) {
  if (FStates.empty()) ParseExpression();
  if (FExpression.empty() || S.empty() || FStates.empty() || From >= S.size()) return false;
  if (FAnchorAtStart) {
    if (From != 0 || !Search().MatchAt(S, 0, FAnchorAtEnd, Len)) return false;
    Pos = 0;
    return true;
  }
  return Search().Find(S, From, FAnchorAtEnd, Pos, Len);
}

}  // namespace pel
