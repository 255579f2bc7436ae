#include "pel/GrepCommand.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <istream>
#include <ostream>
#include <string_view>

#include "pel/Cli.h"
#include "text/PelRegularExpression.h"

namespace pel::cli {

namespace {

constexpr const char* kSyntax = R"(
The expression syntax is the library's, which differs from grep's:
  - "^" and "$" are not anchors: they match a line feed and a carriage
    return character. A line never holds a line feed, so "^" finds nothing;
    "$" finds the carriage return that ends a CRLF line (it stays part of
    the line, as in grep). Use --anchor-start and --anchor-end instead.
  - A match is the shortest one from the first position where one begins:
    -o with a+ prints a single a.
  - Closures "*", "+", "?", alternation "|", groups, ".", sets [a-z] and
    [^...]; "\" quotes the next character (no \d, \w or back-references);
    no {n,m} counts.
  - -i folds only a to z. An empty match is not printed by -o.
)";

struct GrepOptions {
  bool IgnoreCase = false, Count = false, Numbers = false, OnlyMatching = false;
  bool AnchorStart = false, AnchorEnd = false;
  std::string Pattern;
  std::vector<std::string> Files;
};

class TLineGrep {
 public:
  TLineGrep(TPelRegularExpression& Rx, const GrepOptions& O, std::ostream& Out)
      : FRx(Rx), FOptions(O), FOut(Out) {}

  // Reads lines of any length from in; Prefix goes before each output line.
  void Run(std::istream& in, const std::string& Prefix) {
    FPrefix = Prefix;
    FLineNumber = 0;
    FCount = 0;
    std::string carry;
    std::vector<char> block(1 << 16);
    while (in) {
      in.read(block.data(), static_cast<std::streamsize>(block.size()));
      const auto got = static_cast<std::size_t>(in.gcount());
      if (got == 0) break;
      std::string_view rest(block.data(), got);
      for (std::size_t nl; (nl = rest.find('\n')) != std::string_view::npos;) {
        if (carry.empty()) {
          Line(rest.substr(0, nl));
        } else {
          carry.append(rest.substr(0, nl));
          Line(carry);
          carry.clear();
        }
        rest.remove_prefix(nl + 1);
      }
      carry.append(rest);
    }
    if (!carry.empty()) Line(carry);
    if (FOptions.Count) FOut << FPrefix << FCount << '\n';
  }

  bool Selected() const { return FSelected; }

 private:
  void Line(std::string_view line) {
    ++FLineNumber;
    std::size_t pos = 0, len = 0;
    if (!FRx.Find(line, 0, pos, len)) return;
    FSelected = true;
    ++FCount;
    if (FOptions.Count) return;
    if (FOptions.OnlyMatching) {
      if (len == 0) return;
      line = line.substr(pos, len);
    }
    FOut << FPrefix;
    if (FOptions.Numbers) FOut << FLineNumber << ':';
    FOut << line << '\n';
  }

  TPelRegularExpression& FRx;
  const GrepOptions& FOptions;
  std::ostream& FOut;
  std::string FPrefix;
  uint64_t FLineNumber = 0, FCount = 0;
  bool FSelected = false;
};

}  // namespace

int RunGrep(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
            std::ostream& err) {
  GrepOptions o;
  CLI::App app{"Prints the lines in which a regular expression matches, like grep(1)." +
                   std::string(kSyntax),
               "pel grep"};
  app.add_flag("-i,--ignore-case", o.IgnoreCase, "fold a to z in the pattern and the text");
  app.add_flag("-c,--count", o.Count, "print only the number of selected lines");
  app.add_flag("-n,--line-number", o.Numbers, "put the line number before each line");
  app.add_flag("-o,--only-matching", o.OnlyMatching, "print each selected line's first match");
  app.add_flag("--anchor-start", o.AnchorStart, "a match must begin at the start of the line");
  app.add_flag("--anchor-end", o.AnchorEnd, "a match must run to the end of the line");
  app.add_option("PATTERN", o.Pattern, "the regular expression")->required();
  app.add_option("FILE", o.Files, "files to read; standard input when none, or for -");
  if (auto status = ParseArgs(app, args, out, err)) return *status;

  Owned<TPelRegularExpression> rx = Make<TPelRegularExpression>();
  try {
    rx->SetCaseSensitive(!o.IgnoreCase);
    rx->SetExpression(o.Pattern);
  } catch (const ERXException& e) {
    err << "pel grep: " << e.Message() << " in pattern '" << o.Pattern << "'\n";
    return 2;
  }
  if (o.Pattern.empty()) {
    err << "pel grep: the pattern is empty\n";
    return 2;
  }
  rx->SetAnchorAtStart(o.AnchorStart);
  rx->SetAnchorAtEnd(o.AnchorEnd);

  TLineGrep grep(*rx, o, out);
  bool failed = false;
  if (o.Files.empty()) o.Files.push_back("-");
  const bool named = o.Files.size() > 1;
  for (const std::string& f : o.Files) {
    const std::string prefix = named ? (f == "-" ? "(standard input)" : f) + ":" : "";
    if (f == "-") {
      grep.Run(in, prefix);
      continue;
    }
    std::ifstream file(f, std::ios::binary);
    if (!file) {
      err << "pel grep: cannot read '" << f << "': " << std::strerror(errno) << "\n";
      failed = true;
      continue;
    }
    grep.Run(file, prefix);
  }
  out.flush();
  if (failed || !out) return 2;
  return grep.Selected() ? 0 : 1;
}

}  // namespace pel::cli
