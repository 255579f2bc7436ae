// PelRegularExpression: a small regular-expression engine over 8-bit text.
//
// The compiler reads the expression once, left to right, and writes the
// states of a nondeterministic automaton as it goes: each state consumes one
// character (a literal, any character, a member or a non-member of a set) or
// branches without consuming (reNone, one or two successors); the table ends
// in one terminal state. The matcher runs every branch in step over the
// subject, one character at a time, and stops at the first terminal it
// reaches, so a match is the shortest one from the first position where any
// match begins.
//
// Syntax: concatenation, "|", "(" ")", the closures "*", "+" and "?" (one per
// factor), "." for any character, sets "[...]" and "[^...]" with ranges
// ("z-a" is taken as "a-z"), and "\" to quote the next character (there are
// no escape classes). "^" and "$" are not position anchors: they stand for a
// line feed and a carriage return (inside a set "$" is a carriage return).
// With CaseSensitive off, only a to z fold, in the pattern when it compiles
// and in the subject when it is matched.
//
// Termination: a closure over something that can match nothing, such as
// (a*)* or (a?)+, makes a loop of non-consuming states. Exploring it again
// and again adds no state to the ones already live for the current
// character, so the matcher expands every state at most once per character
// (a state met again at the same character is passed over). Results are the
// same as with repeated expansion wherever that ends; where it would loop
// forever, the matcher now answers as for every other expression.
//
// Searching: Match gives the same position and length as calling
// MatchSubString at each position in turn, but runs the state sets as a
// lazily built deterministic automaton, skips positions that cannot begin a
// match (a literal prefix found with memchr/memmem, or the set of possible
// first characters) and first checks in one pass that a match exists at all.
// A descendant that changes MatchSubString overrides Match too.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/Classes.h"
#include "platform/TypInfo.h"

namespace pel {

// Messages of this unit.
constexpr const char* SMissingCloseParentheses = "Missing Close Parentheses";
constexpr const char* SMissingCloseBracket = "Missing Close Bracket";
constexpr const char* SUnexpectedEnd = "Unexpected end of regular expression";
constexpr const char* SUnexpectedMetaCharacter = "Unexpected meta character found";
// The compiler recurses once per level of parentheses; deeper nesting than
// MaxParenthesesDepth is refused rather than running out of stack.
constexpr const char* SParenthesesTooDeep = "Parentheses nested deeper than %d levels";

PEL_EXCEPTION(ERXException, Exception)

enum TRegExMatchType : uint8_t {
  reNone,
  reAnyChar,
  reChar,
  reCharSet,
  reNotCharSet,
  reTerminal,
  reUnused
};

// A set of the 256 8-bit characters.
using TCharSet = std::bitset<256>;

inline bool InSet(const TCharSet& Set, char C) { return Set.test(static_cast<uint8_t>(C)); }
TCharSet MakeCharSet(std::string_view Members);

// $ ( ) * + - . ? [ ] ^ |  (the backslash is not one of them).
extern const TCharSet MetaCharacters;

struct TRegExState {
  int32_t Next1 = -1;  // first successor, -1 for none
  int32_t Next2 = -1;  // second successor, -1 for none
  TCharSet CharSet;    // reCharSet and reNotCharSet
  TRegExMatchType MatchType = reNone;
  char Character = 0;  // reChar
};

using TRegExStates = std::vector<TRegExState>;

namespace detail {
class TRegExSearch;
}

class TPelRegularExpression : public TPersistent {
  PEL_CLASS(TPelRegularExpression, TPersistent)
  PEL_PUBLISHED(
      TPelRegularExpression,
      Property<&TPelRegularExpression::GetExpression, &TPelRegularExpression::SetExpression>(
          "Expression"),
      Property<&TPelRegularExpression::GetCaseSensitive, &TPelRegularExpression::SetCaseSensitive>(
          "CaseSensitive"))

 public:
  using TCreateArgs = TCtorArgs<String>;
  static constexpr int32_t MaxParenthesesDepth = 1000;

  // Case sensitive; the expression is compiled once construction is
  // complete (so a descendant's ParseExpression is the one that runs). A bad
  // expression raises ERXException and no object is made.
  explicit TPelRegularExpression(String AExpression = "");
  ~TPelRegularExpression() override;
  void AfterConstruction() override;

  // Another expression: its whole state table, expression, parse position,
  // anchoring flags, case sensitivity and start state. Anything else: the
  // persistent protocol.
  void Assign(TPersistent* Source) override;
  // Whether the expression matches beginning exactly at Start (1-based); on
  // success Len receives the length of the match.
  virtual bool MatchSubString(const String& S, int32_t Start, int32_t& Len);
  // Bypasses the single-successor reNone states and retires them (reUnused).
  virtual void OptimizeStates();
  // Compiles the expression (nothing for an empty one). On a syntax error
  // the table is left empty, so the next Match compiles (and raises) again.
  virtual void ParseExpression();
  // The 1-based position of the first match from position 1, or 0.
  virtual int32_t Match(const String& S, int32_t& Len);
  // The 1-based position where the first match at or after Start begins, or
  // 0; Len receives its length and is left alone when there is none. An
  // empty subject never matches, even for an expression that matches the
  // empty text (intended).
  virtual int32_t Match(const String& S, int32_t Start, int32_t& Len);
  int32_t Match(const String& S);

  // Stores Value as the expression and compiles it, even when unchanged.
  void ParseExpression(const String& Value);

  // The search of Match over any bytes, 0-based and without a length limit:
  // true with Pos and Len of the first match at or after From. Compiles
  // lazily like Match; an empty subject or expression finds nothing.
  bool Find(std::string_view S, std::size_t From, std::size_t& Pos, std::size_t& Len);

  const String& GetExpression() const { return FExpression; }
  // A different text is stored and compiled; the same text does nothing.
  void SetExpression(const String& Value);
  bool GetCaseSensitive() const { return FCaseSensitive; }
  // A change recompiles, since letters are folded when compiling.
  void SetCaseSensitive(bool Value);
  // A match must run to the end of the subject.
  bool GetAnchorAtEnd() const { return FAnchorAtEnd; }
  void SetAnchorAtEnd(bool Value) { FAnchorAtEnd = Value; }
  // A match must begin at position 1.
  bool GetAnchorAtStart() const { return FAnchorAtStart; }
  void SetAnchorAtStart(bool Value) { FAnchorAtStart = Value; }

  // Whether a consuming state takes the (already folded) subject character.
  static bool Consumes(const TRegExState& State, char C);

  const TRegExStates& GetStates() const { return FStates; }
  int32_t GetStartState() const { return FStartState; }
  int32_t GetParsePosition() const { return FParsePosition; }

 protected:
  // The grammar. Each reads at the parse position and moves past what it
  // consumed; each returns the index of the first state of what it parsed,
  // except the set ones, which fill a set.
  int32_t ParseAnchorExpression();
  int32_t ParseExpr();
  int32_t ParseTerm();
  int32_t ParseFactor();
  int32_t ParseAtom();
  int32_t ParseChar();
  void ParseCharSet(TCharSet& Set);
  void ParseCharSetRange(TCharSet& Set);
  char ParseCSChar();
  // Appends a state and returns its index. Next1 is the state's own index
  // plus 1 when LinkToNext is set.
  int32_t AddState(TRegExMatchType MatchType, char Character, const TCharSet& CharSet,
                   int32_t Next1, int32_t Next2, bool LinkToNext);
  // The character at the parse position; code 0 beyond the text.
  char Current() const;
  bool AtEnd() const { return FParsePosition > static_cast<int32_t>(FExpression.size()); }

  TRegExStates FStates;
  String FExpression;
  int32_t FParsePosition = 0;
  bool FAnchorAtEnd = false;
  bool FAnchorAtStart = false;
  bool FCaseSensitive = true;
  int32_t FStartState = 0;

 private:
  detail::TRegExSearch& Search();

  String FPendingExpression;
  int32_t FDepth = 0;
  // Built from the table on the first search after a compile.
  std::unique_ptr<detail::TRegExSearch> FSearch;
};

}  // namespace pel
