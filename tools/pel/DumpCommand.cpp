#include "pel/DumpCommand.h"

#include <fstream>
#include <sstream>

#include "pel/Cli.h"
#include "platform/Classes.h"

namespace pel::cli {

int RunDump(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  using namespace pel;
  bool toBinary = false;
  std::string file;
  CLI::App app{"Prints a binary component stream in its text form.", "pel dump"};
  app.add_flag("--to-binary", toBinary, "turn the text form back into the binary stream");
  app.add_option("FILE", file, "the stream to read")->required();
  if (auto status = ParseArgs(app, args, out, err)) return *status;
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    err << "pel dump: cannot open " << file << "\n";
    return 2;
  }
  std::stringstream data;
  data << in.rdbuf();
  try {
    auto input = Make<TStringStream>(data.str());
    auto output = Make<TStringStream>();
    if (toBinary)
      ObjectTextToBinary(input.get(), output.get());
    else
      ObjectBinaryToText(input.get(), output.get());
    const String& result = output->GetDataString();
    out.write(result.data(), static_cast<std::streamsize>(result.size()));
  } catch (const Exception& e) {
    err << "pel dump: " << file << ": " << e.Message() << "\n";
    return 2;
  }
  return 0;
}

}  // namespace pel::cli
