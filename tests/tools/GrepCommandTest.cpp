#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "pel/GrepCommand.h"
#include "tools/RunCommand.h"

namespace {

using pel::test::Result;
using pel::test::TempFile;

const pel::test::Command Grep{pel::cli::RunGrep};

const std::string kText = "walking home\nthe dog\nSinging aloud\nring\r\nno match here\n";

TEST(GrepCommand, SelectsCountsNumbersAndPrintsMatches) {
  Result r = Grep({"[a-z]+ing"}, kText);
  EXPECT_EQ(r.Status, 0);
  EXPECT_EQ(r.Out, "walking home\nSinging aloud\nring\r\n");
  EXPECT_EQ(Grep({"-c", "ing"}, kText).Out, "3\n");
  EXPECT_EQ(Grep({"-n", "dog|aloud"}, kText).Out, "2:the dog\n3:Singing aloud\n");
  // The first match of each line, the shortest one there.
  EXPECT_EQ(Grep({"-o", "[a-z]+ing"}, kText).Out, "walking\ninging\nring\n");
  EXPECT_EQ(Grep({"-o", "-n", "-i", "s[a-z]+"}, kText).Out, "3:Si\n");
  EXPECT_EQ(Grep({"--anchor-start", "-c", "[a-z]"}, kText).Out, "4\n");
  EXPECT_EQ(Grep({"--anchor-end", "ing"}, kText).Out, "");
  // "$" is the carriage return of the CRLF line.
  EXPECT_EQ(Grep({"--anchor-end", "ing$"}, kText).Out, "ring\r\n");
  // Nothing selected: status 1; an empty match is not printed by -o.
  EXPECT_EQ(Grep({"zebra"}, kText).Status, 1);
  Result empty = Grep({"-o", "x*"}, "abc\n\n");
  EXPECT_EQ(empty.Status, 0);
  EXPECT_EQ(empty.Out, "");
  // A last line without a line end, every byte value, a long line.
  std::string bytes(256, '\0');
  for (int i = 0; i < 256; ++i) bytes[static_cast<std::size_t>(i)] = static_cast<char>(i);
  std::string longLine(300000, 'x');
  longLine += "needle";
  Result odd = Grep({"-n", "\xfe\xff|needle"}, "a\n" + bytes + "\n" + longLine);
  // The line feed in the bytes splits them: line 3 holds the rest.
  EXPECT_TRUE(odd.Out == "3:" + bytes.substr(11) + "\n4:" + longLine + "\n");
}

TEST(GrepCommand, FilesAndErrors) {
  std::string a = TempFile("grep_a.txt", "one\ntwo\n");
  std::string b = TempFile("grep_b.txt", "three\ntwo");
  Result two = Grep({"-n", "two", a, b});
  EXPECT_EQ(two.Status, 0);
  EXPECT_EQ(two.Out, a + ":2:two\n" + b + ":2:two\n");
  EXPECT_EQ(Grep({"-c", "t", a, "-"}, "tt\nx\n").Out, a + ":1\n(standard input):1\n");

  Result missing = Grep({"two", "/nonexistent/file.txt", a});
  EXPECT_EQ(missing.Status, 2);
  EXPECT_EQ(missing.Out, a + ":two\n");  // the other files are still read
  EXPECT_NE(missing.Err.find("/nonexistent/file.txt"), std::string::npos);
  EXPECT_EQ(std::count(missing.Err.begin(), missing.Err.end(), '\n'), 1);

  Result bad = Grep({"(ab"}, "ab\n");
  EXPECT_EQ(bad.Status, 2);
  EXPECT_EQ(bad.Err, "pel grep: Missing Close Parentheses in pattern '(ab'\n");
  EXPECT_EQ(Grep({""}, "x\n").Status, 2);
  EXPECT_EQ(Grep({"--bogus", "a"}).Status, 2);
  Result help = Grep({"--help"});
  EXPECT_EQ(help.Status, 0);
  EXPECT_NE(help.Out.find("not anchors"), std::string::npos);
  std::remove(a.c_str());
  std::remove(b.c_str());
}

}  // namespace
