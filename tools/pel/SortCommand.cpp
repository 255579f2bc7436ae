#include "pel/SortCommand.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

#include "foundation/Structures.h"

namespace pel::cli {

namespace {

struct SortOptions {
  TStringOpsType Mode = soCaseSensitive;
  bool Unique = false;
  bool Reverse = false;
  std::vector<std::string> Files;
};

class UsageError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

SortOptions ParseOptions(const std::vector<std::string>& args) {
  SortOptions o;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--unique" || a == "-u") {
      o.Unique = true;
    } else if (a == "--reverse" || a == "-r") {
      o.Reverse = true;
    } else if (a == "--mode" || a.rfind("--mode=", 0) == 0) {
      std::string m;
      if (a == "--mode") {
        if (++i == args.size()) throw UsageError("--mode needs a value");
        m = args[i];
      } else {
        m = a.substr(7);
      }
      if (m == "cs")
        o.Mode = soCaseSensitive;
      else if (m == "ci")
        o.Mode = soCaseInsensitive;
      else if (m == "cs-locale")
        o.Mode = soCaseSensitiveLocale;
      else if (m == "ci-locale")
        o.Mode = soCaseInsensitiveLocale;
      else
        throw UsageError("unknown mode '" + m + "' (cs, ci, cs-locale or ci-locale)");
    } else if (a == "-") {
      o.Files.push_back(a);
    } else if (a.size() > 1 && a[0] == '-') {
      throw UsageError("unknown option '" + a + "'");
    } else {
      o.Files.push_back(a);
    }
  }
  return o;
}

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
  try {
    o = ParseOptions(args);
  } catch (const UsageError& e) {
    err << "pel sort: " << e.what() << "\n";
    return 2;
  }

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
