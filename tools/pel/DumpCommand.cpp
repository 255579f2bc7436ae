#include "pel/DumpCommand.h"

#include <fstream>
#include <sstream>

#include "platform/Classes.h"

namespace pel::cli {

int RunDump(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  using namespace pel;
  bool toBinary = false;
  std::string file;
  for (const std::string& a : args) {
    if (a == "--to-binary") {
      toBinary = true;
    } else if (file.empty() && (a.empty() || a[0] != '-' || a == "-")) {
      file = a;
    } else {
      err << "pel dump: unexpected argument '" << a << "'\n";
      return 2;
    }
  }
  if (file.empty()) {
    err << "usage: pel dump [--to-binary] FILE\n";
    return 2;
  }
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
