#include <gtest/gtest.h>

#include <sstream>

#include "helpers/HelperFunctions.h"
#include "interfaces/CountedInterface.h"
#include "platform/ExpectRaises.h"

namespace pel {
namespace {

using test::NameOf;
using test::TPool;

// Tokens are the pool's items named by one character: letters are
// operands, "(" and ")" parentheses, "*" binds before "+" and "-", and "^"
// associates to the right.
IPtr<IInterfaceList> Convert(const TPool& Pool, const std::string& Infix) {
  IPtr<IInterfaceList> in(New<TInterfaceList>());
  for (char c : Infix)
    if (c != ' ') in->Add(Pool[std::string(1, c)]);
  auto is = [](char c) { return [c](const IPtr<IInterface>& X) { return NameOf(X)[0] == c; }; };
  auto rank = [](bool Stack) {
    return [Stack](const IPtr<IInterface>& X) -> int32_t {
      char c = NameOf(X)[0];
      return c == '(' ? (Stack ? 9 : 0) : c == '^' ? (Stack ? 1 : 0) : c == '*' ? 2 : 3;
    };
  };
  return PostFix(
      in, is('('), is(')'),
      [](const IPtr<IInterface>& X) { return std::isalpha(NameOf(X)[0]) != 0; }, rank(true),
      rank(false));
}

// The expressions of a result, "a b + | c".
std::string Text(const IPtr<IInterfaceList>& Result) {
  std::string s;
  for (int32_t e = 0; e < Result->GetCount(); ++e) {
    if (e > 0) s += " |";
    auto expr = IntfCast<IInterfaceList>(Result->Get(e));
    for (int32_t i = 0; i < expr->GetCount(); ++i) s += " " + NameOf(expr->Get(i));
  }
  return s;
}

TEST(PostFix, OrdersOperatorsAndSplitsExpressions) {
  TPool pool("abcd+-*^()");
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"a + b * c", " a b c * +"},
      {"a * b + c", " a b * c +"},
      {"a + b + c", " a b + c +"},
      {"a - b - c", " a b - c -"},
      {"a ^ b ^ c", " a b c ^ ^"},
      {"a ^ b * c", " a b ^ c *"},
      {"(a + b) * c", " a b + c *"},
      {"a * (b + c * d)", " a b c d * + *"},
      {"a b", " a | b"},
      {"a + b c * d", " a b + | c d *"},
      {"(a + b) (c)", " a b + c"},  // only an operand after an operand begins anew
      {"a )", " a"},
      {"a + b ) * c", " a b + c *"},
  };
  for (const auto& [infix, postfix] : cases)
    EXPECT_EQ(Text(Convert(pool, infix)), postfix) << infix;
  EXPECT_EQ(pool.Counts(), "(0 )0 *0 +0 -0 ^0 a0 b0 c0 d0");
}

TEST(PostFix, OpenGroupRaisesAndReleasesEverything) {
  TPool pool("ab+()");
  for (const char* infix : {"( a", "a + ( b", "( a b", "((a) + b"})
    test::ExpectRaises<Exception>([&] { Convert(pool, infix); }, "Missing close parenthesis");
  IPtr<IInterfaceList> kept = Convert(pool, "(a + b)");
  EXPECT_EQ(pool.Counts(), "(0 )0 +1 a1 b1");  // the output shares the tokens
  kept = nullptr;
  EXPECT_TRUE(pool.DropAndCheckFreed());
}

}  // namespace
}  // namespace pel
