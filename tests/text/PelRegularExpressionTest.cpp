#include <gtest/gtest.h>

#include <string>

#include "text/PelRegularExpression.h"

namespace pel {
namespace {

Owned<TPelRegularExpression> Rx(const String& Pattern, bool CaseSensitive = true) {
  Owned<TPelRegularExpression> rx = Make<TPelRegularExpression>(Pattern);
  rx->SetCaseSensitive(CaseSensitive);
  return rx;
}

// The table as text, one state per entry: type, successors, and the
// character or the set's members.
String Table(const TPelRegularExpression& Rx) {
  static const char* const kinds[] = {"none", "any", "char", "set", "notset", "end", "unused"};
  String s;
  for (const TRegExState& st : Rx.GetStates()) {
    s += kinds[st.MatchType];
    s += " " + std::to_string(st.Next1) + " " + std::to_string(st.Next2);
    if (st.MatchType == reChar) s += " " + std::to_string(static_cast<uint8_t>(st.Character));
    if (st.MatchType == reCharSet || st.MatchType == reNotCharSet) {
      s += " ";
      for (int c = 0; c < 256; ++c)
        if (st.CharSet.test(static_cast<std::size_t>(c))) s += static_cast<char>(c);
    }
    s += ";";
  }
  return s;
}

struct Found {
  int32_t Pos, Len;
  bool operator==(const Found&) const = default;
};

Found Search(TPelRegularExpression& Rx, const String& S, int32_t Start = 1) {
  int32_t len = -1;
  int32_t pos = Rx.Match(S, Start, len);
  return {pos, len};
}

void ExpectError(const String& Pattern, const String& Message) {
  SCOPED_TRACE(Pattern);
  try {
    Make<TPelRegularExpression>(Pattern);
    ADD_FAILURE() << "no error";
  } catch (const ERXException& e) {
    EXPECT_EQ(e.Message(), Message);
  }
}

TEST(PelRegularExpression, CompilesTheGrammarIntoStates) {
  // a|b|c nests to the right: the start branches to a and to b|c; the join
  // states are bypassed and retired.
  auto alt = Rx("a|b|c");
  EXPECT_EQ(Table(*alt),
            "char 7 -1 97;unused 7 -1;none 0 5;char 7 -1 98;unused 7 -1;none 3 6;"
            "char 7 -1 99;end -1 -1;");
  EXPECT_EQ(alt->GetStartState(), 2);
  EXPECT_EQ(Table(*Rx("a*")), "char 1 -1 97;none 2 0;end -1 -1;");
  EXPECT_EQ(Rx("a+")->GetStartState(), 0);  // else as a*
  EXPECT_EQ(Table(*Rx("a?")), "char 3 -1 97;unused 3 -1;none 0 3;end -1 -1;");
  // Sets: reversed ranges, negation, a quoted bracket, "$" as a carriage return.
  EXPECT_EQ(Table(*Rx("[z-a]")), Table(*Rx("[a-z]")));
  EXPECT_EQ(Table(*Rx("[^abc]")), "notset 1 -1 abc;end -1 -1;");
  EXPECT_EQ(Table(*Rx("[\\]]")), "set 1 -1 ];end -1 -1;");
  EXPECT_EQ(Table(*Rx("[$x\\-]y")).substr(0, 12), "set 2 -1 \r-x");
  // Folding happens when compiling: abc is stored as ABC, [a-c] as A, B, C.
  EXPECT_EQ(Table(*Rx("ab", false)), "char 2 -1 65;unused 2 -1;char 3 -1 66;end -1 -1;");
  EXPECT_EQ(Table(*Rx("[a-c]", false)), "set 1 -1 ABC;end -1 -1;");
  // Text that cannot continue an expression is ignored.
  EXPECT_EQ(Table(*Rx("a)")), Table(*Rx("a")));
  EXPECT_EQ(Table(*Rx("a**")), Table(*Rx("a*")));
  // "^" and "$" are a line feed and a carriage return; a backslash quotes,
  // and a lone one is the character with code 0.
  EXPECT_EQ(Table(*Rx("^$")), "char 2 -1 10;unused 2 -1;char 3 -1 13;end -1 -1;");
  EXPECT_EQ(Table(*Rx("\\*")), "char 1 -1 42;end -1 -1;");
  EXPECT_EQ(Table(*Rx("\\")), "char 1 -1 0;end -1 -1;");
  EXPECT_EQ(Table(*Rx("")), "");
}

TEST(PelRegularExpression, SyntaxErrors) {
  ExpectError("(ab", SMissingCloseParentheses);
  ExpectError("[abc", SMissingCloseBracket);
  for (const char* p : {"(", "a|", "[", "[a-", "a(b|"}) ExpectError(p, SUnexpectedEnd);
  for (const char* p : {"*a", "()", "a||b", "[]", "[a-]", "-", "a|*"})
    ExpectError(p, SUnexpectedMetaCharacter);

  // A failed compile leaves the text as given ("^" not rewritten) and no
  // table; matching compiles again and raises again.
  auto rx = Rx("ok");
  EXPECT_THROW(rx->SetExpression("^(a"), ERXException);
  EXPECT_EQ(rx->GetExpression(), "^(a");
  EXPECT_TRUE(rx->GetStates().empty());
  EXPECT_THROW(rx->Match("a"), ERXException);
  rx->SetExpression("a");
  EXPECT_EQ(rx->Match("ba"), 2);
}

// Matching at large is compared with a plain matcher in the agreement test;
// these are the cases its random patterns do not reach.
TEST(PelRegularExpression, MatchesTheShortestMatchAtTheFirstPosition) {
  EXPECT_EQ(Search(*Rx("a|ab"), "ab"), (Found{1, 1}));
  EXPECT_EQ(Search(*Rx("b[0-9]+c"), "ab12c b3c", 3), (Found{7, 3}));
  // An empty subject never matches, even a pattern that matches the empty
  // text; nor does an empty pattern.
  EXPECT_EQ(Search(*Rx("a*"), ""), (Found{0, -1}));
  EXPECT_EQ(Rx("")->Match("abc"), 0);
  // Bytes above 127 compare unsigned, and fold only a to z.
  EXPECT_EQ(Search(*Rx("\xe9[\xe0-\xff]", false), "x\xe9\xff"), (Found{2, 2}));
  EXPECT_EQ(Rx("\xe9", false)->Match("\xc9"), 0);
  EXPECT_EQ(Search(*Rx("abc", false), "XABC"), (Found{2, 3}));
  EXPECT_EQ(Rx("abc")->Match("XABC"), 0);
  auto anchored = Rx("a*");
  anchored->SetAnchorAtStart(true);
  anchored->SetAnchorAtEnd(true);
  EXPECT_EQ(anchored->Match("baa"), 0);
  EXPECT_EQ(Search(*anchored, "aaa"), (Found{1, 3}));
}

TEST(PelRegularExpression, LoopsThatConsumeNothingEnd) {
  // Closures over something that matches the empty text loop without
  // consuming; each of these used to explore that loop forever.
  for (const char* p : {"(a*)*", "(a?)+", "(a*)+", "((a|a*)*)*"}) {
    SCOPED_TRACE(p);
    auto rx = Rx(p);
    rx->SetAnchorAtEnd(true);
    EXPECT_EQ(Search(*rx, "aab"), (Found{0, -1}));
    EXPECT_EQ(Search(*rx, "baa"), (Found{2, 2}));
    int32_t len = -1;
    EXPECT_TRUE(rx->MatchSubString("aaa", 1, len));
    EXPECT_EQ(len, 3);
    EXPECT_FALSE(rx->MatchSubString("ab", 1, len));
  }
  // The loop is met before the second alternative.
  EXPECT_EQ(Search(*Rx("(a*)*b|c"), "xc"), (Found{2, 1}));
  EXPECT_EQ(Search(*Rx("(a?)+b"), "aaab"), (Found{1, 4}));
}

TEST(PelRegularExpression, LongAndDeepPatterns) {
  // The grammar loops over factors and alternatives: 100,000 of each
  // compile (without recursing on each).
  String literal;
  uint32_t seed = 12345;
  for (int i = 0; i < 100000; ++i) {
    seed = seed * 1103515245u + 12345u;
    literal += static_cast<char>('a' + (seed >> 16) % 26);
  }
  EXPECT_EQ(Search(*Rx(literal), "zz" + literal), (Found{3, 100000}));

  String alternatives = "b";
  for (int i = 0; i < 50000; ++i) alternatives += "|a";
  alternatives += "|c";
  EXPECT_EQ(Search(*Rx(alternatives), "xxc"), (Found{3, 1}));

  // Parentheses recurse; nesting is bounded.
  const int32_t depth = TPelRegularExpression::MaxParenthesesDepth;
  auto nested = [](int32_t n) { return String(n, '(') + "a" + String(n, ')'); };
  EXPECT_EQ(Search(*Rx(nested(depth)), "ba"), (Found{2, 1}));
  ExpectError(nested(depth + 1), Format(SParenthesesTooDeep, {depth}));
}

// Counts compiles, to show that construction and the setters reach a
// descendant's ParseExpression.
class TCountingExpression : public TPelRegularExpression {
  PEL_CLASS(TCountingExpression, TPelRegularExpression)
 public:
  using TPelRegularExpression::TPelRegularExpression;
  void ParseExpression() override {
    ++Compiles;
    TPelRegularExpression::ParseExpression();
  }
  int Compiles = 0;
};

TEST(PelRegularExpression, CompilesOnChangeAndAssigns) {
  auto rx = Make<TCountingExpression>("ab");
  EXPECT_EQ(rx->Compiles, 1);
  rx->SetExpression("ab");
  rx->SetCaseSensitive(true);
  EXPECT_EQ(rx->Compiles, 1);
  rx->SetCaseSensitive(false);
  EXPECT_EQ(rx->Compiles, 2);
  EXPECT_EQ(rx->Match("xAB"), 2);
  static_cast<TPelRegularExpression&>(*rx).ParseExpression("ab");
  EXPECT_EQ(rx->Compiles, 3);

  rx->SetAnchorAtEnd(true);
  auto copy = Rx("zz");
  copy->Assign(rx.get());
  EXPECT_EQ(copy->GetExpression(), "ab");
  EXPECT_FALSE(copy->GetCaseSensitive());
  EXPECT_TRUE(copy->GetAnchorAtEnd());
  EXPECT_EQ(copy->Match("abxAb"), 4);

  Owned<TPersistent> other = Make<TPersistent>();
  EXPECT_THROW(copy->Assign(other.get()), EConvertError);
  EXPECT_EQ(copy->GetExpression(), "ab");
}

}  // namespace
}  // namespace pel
