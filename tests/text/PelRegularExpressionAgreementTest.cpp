// The library's matcher against a plain one written step by step from the
// algorithm: a queue per position, non-consuming states expanded at the
// front with no check for repeats, consuming ones queued behind the scan
// mark. It shares only the compiled table with the library.
#include <gtest/gtest.h>

#include <deque>
#include <random>

#include "text/PelRegularExpression.h"

namespace pel {
namespace {

// Loops that consume nothing keep the plain matcher busy for ever; it gives
// up after this many steps and the case is left out.
constexpr long kStepBudget = 4000;

struct Reference {
  const TPelRegularExpression& Rx;
  long Steps = 0;

  bool Spun() const { return Steps > kStepBudget; }

  // The queue holds states and the scan mark (-2); past the end of the
  // subject only non-consuming states are followed, and any terminal ends
  // the search.
  bool MatchSubString(const String& s, int32_t start, int32_t& len) {
    std::deque<int32_t> queue{-2, Rx.GetStartState()};
    const auto length = static_cast<int32_t>(s.size());
    int32_t j = start - 1;
    char c = 0;
    while (!queue.empty()) {
      if (++Steps > kStepBudget) return false;
      const int32_t x = queue.front();
      queue.pop_front();
      if (x == -2) {
        if (j > length || queue.empty()) continue;
        if (++j >= 1 && j <= length) c = Rx.GetCaseSensitive() ? s[j - 1] : UpCase(s[j - 1]);
        queue.push_back(-2);
        continue;
      }
      const TRegExState& st = Rx.GetStates()[static_cast<std::size_t>(x)];
      const bool scanning = j <= length;
      if (st.MatchType == reNone) {
        queue.push_front(st.Next2);
        queue.push_front(st.Next1);
      } else if (st.MatchType == reTerminal && (!scanning || !Rx.GetAnchorAtEnd())) {
        len = j - start;
        return true;
      } else if (scanning &&
                 (st.MatchType == reAnyChar || (st.MatchType == reChar && st.Character == c) ||
                  (st.MatchType == reCharSet && InSet(st.CharSet, c)) ||
                  (st.MatchType == reNotCharSet && !InSet(st.CharSet, c)))) {
        queue.push_back(st.Next1);
      }
    }
    return false;
  }

  int32_t Match(const String& s, int32_t start, int32_t& len) {
    if (s.empty()) return 0;
    if (Rx.GetAnchorAtStart()) return start == 1 && MatchSubString(s, 1, len) ? 1 : 0;
    for (int32_t p = start; p <= static_cast<int32_t>(s.size()); ++p)
      if (MatchSubString(s, p, len)) return p;
    return 0;
  }
};

// Random expressions over a few characters, mostly well formed.
struct PatternMaker {
  std::mt19937& Rng;
  int Pick(int n) { return static_cast<int>(Rng() % static_cast<unsigned>(n)); }

  String Atom(int depth) {
    static const char* const atoms[] = {"a",    "b",    "c",     "A",     ".",   "^", "$",
                                        "[ab]", "[^a]", "[b-a]", "[A-c]", "\\.", "x", "[$c]"};
    if (depth < 3 && Pick(5) == 0) return "(" + Expr(depth + 1) + ")";
    return atoms[Pick(std::size(atoms))];
  }
  // One to four factors, each maybe repeated; now and then an alternative.
  String Expr(int depth) {
    static const char* const ops[] = {"", "", "", "*", "+", "?"};
    String e;
    for (int n = 1 + Pick(4); n > 0; --n) e += Atom(depth) + ops[Pick(std::size(ops))];
    return Pick(4) == 0 ? e + "|" + Expr(depth) : e;
  }
};

TEST(PelRegularExpression, AgreesWithThePlainMatcher) {
  constexpr int kCases = 20000;
  std::mt19937 rng(20240611);
  PatternMaker maker{rng};
  const char alphabet[] = {'a', 'b', 'c', 'A', 'B', 'x', '\n', '\r', '.', '\xe1'};
  int compared = 0, spun = 0, matched = 0;
  for (int i = 0; i < kCases; ++i) {
    const String pattern = maker.Expr(0);
    String subject(static_cast<std::size_t>(maker.Pick(12)), ' ');
    for (char& ch : subject) ch = alphabet[maker.Pick(std::size(alphabet))];
    Owned<TPelRegularExpression> rx = Make<TPelRegularExpression>(pattern);
    rx->SetCaseSensitive(maker.Pick(3) != 0);
    rx->SetAnchorAtStart(maker.Pick(4) == 0);
    rx->SetAnchorAtEnd(maker.Pick(4) == 0);
    const int32_t start = maker.Pick(3) == 0 ? maker.Pick(static_cast<int>(subject.size()) + 2) : 1;

    Reference ref{*rx};
    int32_t refLen = -1, len = -1;
    const int32_t refPos = ref.Match(subject, start, refLen);
    if (ref.Spun()) {
      ++spun;
      continue;
    }
    const int32_t pos = rx->Match(subject, start, len);
    ++compared;
    matched += refPos != 0;
    ASSERT_EQ(std::pair(pos, len), std::pair(refPos, refLen))
        << "pattern '" << pattern << "' subject '" << subject << "' start " << start << " case "
        << rx->GetCaseSensitive() << " anchors " << rx->GetAnchorAtStart() << rx->GetAnchorAtEnd();
  }
  // Most cases are compared, and both outcomes are common.
  EXPECT_LT(spun, kCases / 20);
  EXPECT_GT(matched, compared / 5);
  EXPECT_LT(matched, compared * 4 / 5);
}

}  // namespace
}  // namespace pel
