#include <gtest/gtest.h>

#include <sstream>

#include "pel/CalcCommand.h"
#include "tools/RunCommand.h"

namespace {

using pel::test::Result;

const pel::test::Command Calc{pel::cli::RunCalc};

TEST(CalcCommand, EvaluatesWithPrecedenceAndAssociativity) {
  const std::pair<const char*, const char*> cases[] = {
      {"1 + 2 * 3", "7"},  {"(1 + 2) * 3", "9"},
      {"10 - 4 - 3", "3"}, {"2 ^ 3 ^ 2", "512"},
      {"2 ^ 3 * 2", "16"}, {"1.5 * .5 + 2.", "2.75"},
      {"64 / 4 / 2", "8"}, {"1 / 3", "0.333333333333333"},
  };
  for (const auto& [expr, value] : cases) {
    Result r = Calc({expr});
    EXPECT_EQ(r.Out, std::string(value) + "\n") << expr;
    EXPECT_EQ(r.Status, 0) << expr;
  }
  // Lines from standard input; blank lines and CR LF endings are fine.
  EXPECT_EQ(Calc({}, "1+1\n\n  2^10\r\n").Out, "2\n1024\n");
  EXPECT_EQ(Calc({"--postfix", "1 + 2 * (3 - 4) ^ 2"}).Out, "1 2 3 4 - 2 ^ * +\n");
}

TEST(CalcCommand, ReportsEachFailingLineAndGoesOn) {
  Result r = Calc({}, "(1 + 2\n1 / (2 - 2)\n3 * 3\n2 $ 3\n1 2\n4)\n");
  EXPECT_EQ(r.Status, 2);
  EXPECT_EQ(r.Out, "9\n");
  EXPECT_EQ(r.Err,
            "pel calc: Missing close parenthesis in '(1 + 2'\n"
            "pel calc: division by zero in '1 / (2 - 2)'\n"
            "pel calc: unknown token '$' in '2 $ 3'\n"
            "pel calc: an operator is missing between two operands in '1 2'\n"
            "pel calc: unmatched ')' in '4)'\n");
  EXPECT_EQ(Calc({"1 +"}).Err, "pel calc: operand missing for '+' in '1 +'\n");
  EXPECT_EQ(Calc({"()"}).Err, "pel calc: empty parentheses in '()'\n");
  EXPECT_EQ(Calc({"10 ^ 400"}).Status, 2);
  // Lines conversion alone would take: a group after an operand, an empty
  // group, an operator inside a group that needs its left operand outside;
  // a number beyond the double's range. --postfix refuses the malformed
  // ones too.
  const std::pair<const char*, const char*> malformed[] = {
      {"2 (3)", "an operator is missing between two operands"},
      {"2 + ()", "empty parentheses"},
      {"1 (+ 2)", "an operator is missing between two operands"},
      {"(1 +) 2", "operand missing before ')'"},
      {"* 2", "operand missing before '*'"},
  };
  for (const auto& [expr, message] : malformed) {
    const std::string expected = "pel calc: " + std::string(message) + " in '" + expr + "'\n";
    EXPECT_EQ(Calc({}, expr).Err, expected);
    EXPECT_EQ(Calc({"--postfix"}, expr).Err, expected);
  }
  const std::string huge = "1" + std::string(400, '0');
  EXPECT_EQ(Calc({}, huge + " * 0").Err, "pel calc: the number " + huge + " is out of range in '" +
                                             huge + " * 0'\n");
  EXPECT_EQ(Calc({"--postfix"}, huge + " * 0").Out, huge + " 0 *\n");
}

}  // namespace
