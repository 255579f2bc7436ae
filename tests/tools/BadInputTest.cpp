// Damaged and hostile input to every command that reads a user's data: each
// ends with exit status 2, one line on standard error naming the command,
// and nothing on standard output; none crashes, hangs or allocates what a
// declared length asks for.
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "pel/CalcCommand.h"
#include "pel/CpmCommand.h"
#include "pel/DumpCommand.h"
#include "pel/GrepCommand.h"
#include "pel/SortCommand.h"
#include "tools/RunCommand.h"

namespace {

using Args = std::vector<std::string>;
using pel::test::ReadFile;

// Runs a command on Input (standard input, or a file for pel dump) and
// checks the failure's form; returns the message.
std::string Fails(const std::string& Command, Args A, const std::string& Input) {
  pel::test::Result r;
  if (Command == "dump") {
    A.push_back(pel::test::TempFile("pel-bad-input", Input));
    std::ostringstream out, err;
    r = {pel::cli::RunDump(A, out, err), out.str(), err.str()};
  } else {
    if (Command == "cpm") A.push_back("-");
    const std::map<std::string, pel::test::TCommand> commands = {
        {"cpm", pel::cli::RunCpm},
        {"calc", pel::cli::RunCalc},
        {"grep", pel::cli::RunGrep},
        {"sort", pel::cli::RunSort},
    };
    r = pel::test::RunCommand(commands.at(Command), A, Input);
  }
  const std::string& message = r.Err;
  EXPECT_EQ(r.Status, 2) << Command << ": " << message;
  EXPECT_EQ(r.Out, "") << Command;
  EXPECT_EQ(message.rfind("pel " + Command + ": ", 0), 0u) << message;
  EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1) << message;
  EXPECT_EQ(message.back(), '\n');
  return message;
}

// Bytes with a 32-bit little-endian value.
std::string Int32(int32_t V) {
  std::string s(4, '\0');
  for (int i = 0; i < 4; ++i) s[i] = static_cast<char>(static_cast<uint32_t>(V) >> (8 * i));
  return s;
}

}  // namespace

TEST(BadInput, EveryCommandFailsInOneLineWithStatusTwo) {
  const std::string drawing = ReadFile(PEL_TEST_DATA_DIR "/streams/drawing.bin");
  const std::string drawingText = ReadFile(PEL_TEST_DATA_DIR "/streams/drawing.txt");
  std::ostringstream saved, err;
  ASSERT_EQ(pel::cli::RunCpm({"--save", ::testing::TempDir() + "pel-house.bin",
                              PEL_SOURCE_DIR "/examples/house.txt"},
                             std::cin, saved, err),
            0);
  const std::string house = ReadFile(::testing::TempDir() + "pel-house.bin");

  // Streams cut at every byte, as binary and as text.
  for (std::size_t n = 0; n < drawing.size(); ++n) Fails("dump", {}, drawing.substr(0, n));
  for (std::size_t n = 0; n < drawingText.size(); n += 3)
    Fails("dump", {"--to-binary"}, drawingText.substr(0, n));
  Fails("dump", {}, drawingText);  // text where the binary form belongs
  for (std::size_t n = 4; n < house.size(); ++n) Fails("cpm", {}, house.substr(0, n));

  // A value code no stream has, where the first property's value begins.
  std::string bad = drawing;
  const std::size_t count = bad.find("Count") + 5;
  bad[count] = '\x7f';
  EXPECT_NE(Fails("dump", {}, bad).find("Invalid stream format"), std::string::npos);

  // Long strings whose declared length is negative or far beyond the data.
  for (int32_t length : {-16, 0x7ffffff0}) {
    bad = drawing.substr(0, count) + '\x0c' + Int32(length) + "abc";
    EXPECT_NE(Fails("dump", {}, bad).find("Stream read error"), std::string::npos);
  }
  const std::size_t caption = house.find("start") - 2;
  bad = house.substr(0, caption) + '\x0c' + Int32(0x7ffffff0) + house.substr(caption + 7);
  EXPECT_NE(Fails("cpm", {}, bad).find("Stream read error"), std::string::npos);

  // An unknown node class, and a task joining a negative node index.
  bad = house;
  bad.replace(bad.find("TAOEEvent"), 9, "TNoSuchEv");
  EXPECT_NE(Fails("cpm", {}, bad).find("Unknown graph node class TNoSuchEv"), std::string::npos);
  bad = house;
  const std::size_t task = bad.find("TAOETask") + 8;
  ASSERT_EQ(bad[task], '\x02');  // the first task's start node, a vaInt8
  bad[task + 1] = '\xff';
  EXPECT_NE(Fails("cpm", {}, bad).find("(-1)"), std::string::npos);

  // Nesting beyond the reader's limit; a pattern nested a million deep.
  std::string deep = "TPF0";
  for (int i = 0; i < 100000; ++i) deep += std::string("\x08TDrawing\x00\x00", 11);
  EXPECT_NE(Fails("dump", {}, deep).find("nested deeper"), std::string::npos);
  Fails("grep", {std::string(1000000, '(')}, "a\n");

  // Expressions: binary bytes, a number beyond any double, groups a million
  // deep left open, a million operators short of an operand. Nesting that
  // closes evaluates.
  EXPECT_NE(Fails("calc", {}, std::string("1 +\0\xff 2", 7)).find("unknown token"),
            std::string::npos);
  EXPECT_NE(Fails("calc", {}, std::string(1000, '9')).find("out of range"), std::string::npos);
  const std::string open(1000000, '(');
  EXPECT_NE(Fails("calc", {}, open + "1").find("Missing close parenthesis"), std::string::npos);
  std::string sums;
  for (int i = 0; i < 1000000; ++i) sums += "1+";
  EXPECT_NE(Fails("calc", {}, sums).find("operand missing"), std::string::npos);
  Fails("calc", {"--postfix"}, sums + ")");
  std::istringstream nested(open + "2" + std::string(1000000, ')') + "^" + open + "3" +
                            std::string(1000000, ')'));
  std::ostringstream value;
  EXPECT_EQ(pel::cli::RunCalc({}, nested, value, err), 0);
  EXPECT_EQ(value.str(), "8\n");

  // Files that are not there; options that are not valid.
  Fails("grep", {"a", "/nonexistent/file"}, "");
  Fails("sort", {"/nonexistent/file"}, "");
  Fails("sort", {"--mode", "bytes"}, "b\na\n");
}
