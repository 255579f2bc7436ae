#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "pel/DumpCommand.h"
#include "tools/RunCommand.h"

using pel::test::ReadFile;

TEST(DumpCommand, PrintsWhatTheFrameworkPrintsAndConvertsBack) {
  const std::string dir = PEL_TEST_DATA_DIR "/streams/";
  for (const char* name : {"drawing", "empty", "inherited"}) {
    std::ostringstream out, bin, err;
    ASSERT_EQ(pel::cli::RunDump({dir + name + ".bin"}, out, err), 0) << err.str();
    EXPECT_EQ(out.str(), ReadFile(dir + name + ".txt")) << name;
    ASSERT_EQ(pel::cli::RunDump({"--to-binary", dir + name + ".txt"}, bin, err), 0) << err.str();
    EXPECT_EQ(bin.str(), ReadFile(dir + name + ".bin")) << name;
  }
  // Errors: one line, status 2, nothing printed (damaged files: BadInput).
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"/nonexistent.bin"}, std::vector<std::string>{}}) {
    std::ostringstream out, err;
    EXPECT_EQ(pel::cli::RunDump(args, out, err), 2);
    EXPECT_EQ(out.str(), "");
    const std::string message = err.str();
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1) << message;
  }
}
