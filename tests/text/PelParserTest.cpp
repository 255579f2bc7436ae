#include <gtest/gtest.h>

#include <vector>

#include "text/PelParser.h"

namespace pel {
namespace {

std::vector<String> Forward(TPelCustomParser& P) {
  std::vector<String> tokens;
  for (bool ok = P.First(); ok; ok = P.Next()) tokens.push_back(P.GetToken());
  return tokens;
}

// The token, the rest of the text and the position, as "token|rest|position".
String State(TPelCustomParser& P) {
  return P.GetToken() + "|" + P.GetRestOfText() + "|" + std::to_string(P.GetPosition());
}

std::vector<String> Backward(TPelCustomParser& P) {
  std::vector<String> tokens;
  for (bool ok = P.Last(); ok; ok = P.Previous()) tokens.push_back(P.GetToken());
  return tokens;
}

TEST(PelParser, WalksForwards) {
  auto p = Make<TPelParser>("a b");
  EXPECT_EQ(p->GetRestOfText(), "a b");
  ASSERT_TRUE(p->First());
  EXPECT_EQ(State(*p), "a| b|2");
  ASSERT_TRUE(p->Next());
  EXPECT_EQ(State(*p), "b||4");
  EXPECT_FALSE(p->Next());

  p->SetText("  one\r\ntwo  three ");
  EXPECT_EQ(Forward(*p), (std::vector<String>{"one", "two", "three"}));
  // Intended: a walk that starts on the last character finds nothing there,
  // unless the text is just that character.
  p->SetText("ab c");
  EXPECT_EQ(Forward(*p), (std::vector<String>{"ab", "c"}));
  p->SetPosition(4);
  EXPECT_FALSE(p->Next());
  p->SetText("x");
  EXPECT_EQ(Forward(*p), (std::vector<String>{"x"}));
  EXPECT_EQ(p->GetPosition(), 2);
  p->SetText("");
  EXPECT_FALSE(p->First());
  // From position 0 Next succeeds in place: no token, the whole text left.
  p->SetText(" ab");
  p->SetPosition(-5);
  ASSERT_TRUE(p->Next());
  EXPECT_EQ(State(*p), "| ab|0");
  // Setting the token or the rest moves nothing.
  p->SetToken("zz");
  p->SetRestOfText("yy");
  EXPECT_EQ(p->GetText() + std::to_string(p->GetPosition()), " ab0");
}

TEST(PelParser, WalksBackwards) {
  auto p = Make<TPelParser>("one two  three");
  EXPECT_EQ(Backward(*p), (std::vector<String>{"three", "two", "one"}));
  EXPECT_EQ(p->GetPosition(), 0);
  EXPECT_FALSE(p->Previous());

  ASSERT_TRUE(p->Last());
  EXPECT_EQ(p->GetRestOfText(), "");
  ASSERT_TRUE(p->Previous());
  EXPECT_EQ(State(*p), "two|  three|4");

  // Positions clamp to 0 .. length + 1; from past the end nothing is
  // skipped and the token is empty, which still counts as found.
  p->SetPosition(100);
  EXPECT_EQ(p->GetPosition(), 15);
  ASSERT_TRUE(p->Previous());
  EXPECT_EQ(p->GetToken(), "");
  p->SetText("  ");
  EXPECT_FALSE(p->Last());
}

TEST(PelParser, DelimitersAndTokenCount) {
  auto p = Make<TPelParser>("a,b;;c d");
  EXPECT_EQ(p->GetTokenCount(), 2);  // "a,b;;c" and "d"
  // Intended: the count is not kept; asking again gives 0.
  EXPECT_EQ(p->GetTokenCount(), 0);
  p->SetDelimiters(",;");
  EXPECT_EQ(p->GetTokenCount(), 3);  // "a", "b", "c d"
  EXPECT_EQ(p->GetPosition(), 1);    // put back after counting
  EXPECT_EQ(p->GetToken(), "c d");   // but the walk's token stays
  EXPECT_EQ(p->GetTokenCount(), 0);
  p->SetDelimiters(",;");
  EXPECT_EQ(p->GetTokenCount(), 0);  // unchanged delimiters count nothing
  p->SetText("a,b;;c d");
  EXPECT_EQ(p->GetTokenCount(), 0);  // nor does the same text

  // No delimiters means the space alone; the code 0 always delimits.
  p->SetDelimiters("");
  EXPECT_EQ(p->GetDelimiters(), " ");
  EXPECT_TRUE(p->IsADelimiter('\0'));
  EXPECT_FALSE(p->IsADelimiter('\n'));
  p->SetText(String("ab\0cd\nef", 8));
  EXPECT_EQ(Forward(*p), (std::vector<String>{"ab", "cd\nef"}));

  // Skipping counts characters without moving.
  p->SetText("ab  cd");
  p->SetPosition(3);
  EXPECT_EQ(p->SkipDelimiters(+1), 2);
  EXPECT_EQ(p->SkipText(-1), 0);
  EXPECT_EQ(p->SkipDelimiters(-1), 1);
  EXPECT_EQ(p->SkipCharacters(0), 0);
  EXPECT_EQ(p->GetPosition(), 3);
}

}  // namespace
}  // namespace pel
