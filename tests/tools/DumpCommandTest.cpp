#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "pel/DumpCommand.h"

namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  std::ostringstream s;
  s << f.rdbuf();
  return s.str();
}

}  // namespace

TEST(DumpCommand, PrintsWhatTheFrameworkPrintsAndConvertsBack) {
  const std::string dir = PEL_TEST_DATA_DIR "/streams/";
  for (const char* name : {"drawing", "empty", "inherited"}) {
    std::ostringstream out, err;
    ASSERT_EQ(pel::cli::RunDump({dir + name + ".bin"}, out, err), 0) << err.str();
    EXPECT_EQ(out.str(), ReadFile(dir + name + ".txt")) << name;

    std::ostringstream bin, err2;
    ASSERT_EQ(pel::cli::RunDump({"--to-binary", dir + name + ".txt"}, bin, err2), 0) << err2.str();
    EXPECT_EQ(bin.str(), ReadFile(dir + name + ".bin")) << name;
  }
}

TEST(DumpCommand, ErrorsAreOneLineAndStatusTwo) {
  const std::string dir = PEL_TEST_DATA_DIR "/streams/";
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"/nonexistent.bin"}, std::vector<std::string>{dir + "drawing.txt"},
        std::vector<std::string>{}}) {
    std::ostringstream out, err;
    EXPECT_EQ(pel::cli::RunDump(args, out, err), 2);
    EXPECT_EQ(out.str(), "");
    const std::string message = err.str();
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1) << message;
  }
}
