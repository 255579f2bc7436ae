#include "pel/Cli.h"

#include <cstdio>
#include <fstream>
#include <ostream>

namespace pel::cli {

std::optional<int> ParseArgs(CLI::App& app, const std::vector<std::string>& args, std::ostream& out,
                             std::ostream& err) {
  // CLI11 takes the words last first.
  std::vector<std::string> words(args.rbegin(), args.rend());
  try {
    app.parse(words);
  } catch (const CLI::CallForHelp&) {
    out << app.help();
    return 0;
  } catch (const CLI::ParseError& e) {
    err << app.get_name() << ": " << e.what() << "\n";
    return 2;
  }
  return std::nullopt;
}

bool WriteFileAtomically(const std::string& path, const std::string& text) {
  const std::string tmp = path + ".tmp";
  {
    std::ofstream f(tmp, std::ios::binary | std::ios::trunc);
    if (!f) return false;
    f.write(text.data(), static_cast<std::streamsize>(text.size()));
    f.flush();
    if (!f) {
      f.close();
      std::remove(tmp.c_str());
      return false;
    }
  }
  if (std::rename(tmp.c_str(), path.c_str()) != 0) {
    std::remove(tmp.c_str());
    return false;
  }
  return true;
}

}  // namespace pel::cli
