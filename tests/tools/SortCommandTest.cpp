#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "pel/SortCommand.h"
#include "tools/RunCommand.h"

namespace {

using pel::test::Result;
using pel::test::TempFile;

const pel::test::Command Sort{pel::cli::RunSort};

}  // namespace

TEST(SortCommand, ModesLikeSortOne) {
  std::setlocale(LC_ALL, "C");
  const std::string input = "b\nB\n_\na\nA\nb\n";
  EXPECT_EQ(Sort({"--mode", "cs"}, input).Out, "A\nB\n_\na\nb\nb\n");
  // Case folded: equal lines come out in byte order, as sort -f does.
  EXPECT_EQ(Sort({"--mode", "ci"}, input).Out, "A\na\nB\nb\nb\n_\n");
  EXPECT_EQ(Sort({"--mode=ci", "--unique"}, input).Out, "a\nb\n_\n");
  EXPECT_EQ(Sort({"--mode", "cs", "--reverse"}, input).Out, "b\nb\na\n_\nB\nA\n");
  EXPECT_EQ(Sort({"--mode", "cs-locale"}, input).Out, "A\nB\n_\na\nb\nb\n");
  Result ciLocale = Sort({"--mode", "ci-locale", "-u"}, input);
  EXPECT_EQ(ciLocale.Status, 0);
  EXPECT_EQ(ciLocale.Out.size(), std::string("b\n_\na\n").size());
  // Windows line ends are read as plain lines; an empty input gives nothing.
  EXPECT_EQ(Sort({"--mode", "cs"}, "y\r\nx\r\n").Out, "x\ny\n");
  EXPECT_EQ(Sort({}, "").Out, "");
}

TEST(SortCommand, FilesAndErrors) {
  std::string a = TempFile("sort_a.txt", "pear\napple\n");
  std::string b = TempFile("sort_b.txt", "fig");  // no final line break
  Result ok = Sort({"--mode", "cs", a, b});
  EXPECT_EQ(ok.Status, 0);
  EXPECT_EQ(ok.Out, "apple\nfig\npear\n");

  Result missing = Sort({a, "/nonexistent/file.txt"});
  EXPECT_EQ(missing.Status, 2);
  EXPECT_EQ(missing.Out, "");  // nothing half-written
  EXPECT_NE(missing.Err.find("/nonexistent/file.txt"), std::string::npos);
  EXPECT_EQ(std::count(missing.Err.begin(), missing.Err.end(), '\n'), 1);

  std::remove(a.c_str());
  std::remove(b.c_str());
}
