// Runs a command of the pel tool in the test process: what it printed on
// standard output and standard error, and its exit status.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace pel::test {

struct Result {
  int Status;
  std::string Out, Err;
};

using TCommand = int (*)(const std::vector<std::string>& args, std::istream& in,
                         std::ostream& out, std::ostream& err);

// Command with Args and Input on standard input.
inline Result RunCommand(TCommand Command, const std::vector<std::string>& Args,
                         const std::string& Input = "") {
  std::istringstream in(Input);
  std::ostringstream out, err;
  int status = Command(Args, in, out, err);
  return {status, out.str(), err.str()};
}

// A command bound to its function: Cpm(Args, Input) runs pel cpm.
struct Command {
  TCommand Run;
  Result operator()(const std::vector<std::string>& Args, const std::string& Input = "") const {
    return RunCommand(Run, Args, Input);
  }
};

// The bytes of the file at Path.
inline std::string ReadFile(const std::string& Path) {
  std::ifstream f(Path, std::ios::binary);
  std::ostringstream s;
  s << f.rdbuf();
  return s.str();
}

// Writes Text to a file of that name in the test's temporary folder.
inline std::string TempFile(const std::string& Name, const std::string& Text) {
  std::string path = ::testing::TempDir() + Name;
  std::ofstream(path, std::ios::binary) << Text;
  return path;
}

}  // namespace pel::test
