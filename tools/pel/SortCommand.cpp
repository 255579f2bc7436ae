#include "pel/SortCommand.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

#include "foundation/Structures.h"
#include "pel/Cli.h"

namespace pel::cli {

namespace {

struct SortOptions {
  TStringOpsType Mode = soCaseSensitive;
  bool Unique = false;
  bool Reverse = false;
  std::vector<std::string> Files;
};

void ReadLines(std::istream& in, std::vector<std::string>& lines) {
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
  }
}

}  // namespace

int RunSort(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
            std::ostream& err) {
  SortOptions o;
  CLI::App app{"Sorts lines with the library's string list, like sort(1).", "pel sort"};
  const std::map<std::string, TStringOpsType> modes{{"cs", soCaseSensitive},
                                                    {"ci", soCaseInsensitive},
                                                    {"cs-locale", soCaseSensitiveLocale},
                                                    {"ci-locale", soCaseInsensitiveLocale}};
  std::string mode = "cs";
  app.add_option("--mode", mode,
                 "cs: byte order; ci: ignore ASCII case; cs-locale, ci-locale: collate in the "
                 "current locale (the latter ignoring case)")
      ->check(CLI::IsMember({"cs", "ci", "cs-locale", "ci-locale"}));
  app.add_flag("-u,--unique", o.Unique, "keep the first of lines equal under the mode");
  app.add_flag("-r,--reverse", o.Reverse, "reverse the result");
  app.add_option("FILE", o.Files, "files to read; standard input when none, or for -");
  if (auto status = ParseArgs(app, args, out, err)) return *status;
  o.Mode = modes.at(mode);

  // Everything is read before anything is written.
  std::vector<std::string> lines;
  if (o.Files.empty()) {
    ReadLines(in, lines);
  } else {
    for (const std::string& f : o.Files) {
      if (f == "-") {
        ReadLines(in, lines);
        continue;
      }
      std::ifstream file(f, std::ios::binary);
      if (!file) {
        err << "pel sort: cannot read '" << f << "': " << std::strerror(errno) << "\n";
        return 2;
      }
      ReadLines(file, lines);
    }
  }

  Owned<TPelStringList> list = Make<TPelStringList>();
  list->SetStringOpsType(o.Mode);
  list->SetCapacity(static_cast<int32_t>(lines.size()));
  if (o.Unique) {
    // A sorted list that ignores duplicates keeps the first of equal lines.
    list->SetSorted(true);
    list->SetDuplicates(dupIgnore);
  }
  for (std::string& l : lines) list->Add(l);
  if (!o.Unique) {
    list->Sort();
  }

  std::vector<std::string> result;
  result.reserve(static_cast<std::size_t>(list->GetCount()));
  for (int32_t i = 0; i < list->GetCount(); ++i) result.push_back(list->Get(i));
  if (!o.Unique) {
    // Lines equal under the chosen comparison come out in byte order, as
    // sort(1) breaks ties with its last-resort comparison.
    TStringCompareFunc cmp = StringCompareFor(o.Mode);
    for (std::size_t b = 0; b < result.size();) {
      std::size_t e = b + 1;
      while (e < result.size() && cmp(result[b], result[e]) == 0) ++e;
      std::sort(result.begin() + static_cast<std::ptrdiff_t>(b),
                result.begin() + static_cast<std::ptrdiff_t>(e));
      b = e;
    }
  }
  if (o.Reverse) std::reverse(result.begin(), result.end());

  std::string text;
  for (const std::string& l : result) {
    text += l;
    text += '\n';
  }
  out << text;
  out.flush();
  return out ? 0 : 2;
}

}  // namespace pel::cli
