// pel: command-line jobs done with the pel library.
#include <clocale>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "pel/CalcCommand.h"
#include "pel/Cli.h"
#include "pel/CpmCommand.h"
#include "pel/DumpCommand.h"
#include "pel/GrepCommand.h"
#include "pel/SortCommand.h"

int main(int argc, char** argv) {
  // The locale comparison modes follow the user's locale.
  std::setlocale(LC_ALL, "");
  std::ios::sync_with_stdio(false);
  // The process ends with the command: what it built need not be freed.
  pel::cli::LeaveNetworksToExit(true);

  using Runner = std::function<int(const std::vector<std::string>&)>;
  const std::map<std::string, std::pair<std::string, Runner>> commands{
      {"calc",
       {"evaluate infix arithmetic, one expression per line (standard input when none given)",
        [](const auto& a) { return pel::cli::RunCalc(a, std::cin, std::cout, std::cerr); }}},
      {"cpm",
       {"critical path of a project network (events joined by tasks with durations)",
        [](const auto& a) { return pel::cli::RunCpm(a, std::cin, std::cout, std::cerr); }}},
      {"grep",
       {"print the lines in which a regular expression matches (standard input when no file)",
        [](const auto& a) { return pel::cli::RunGrep(a, std::cin, std::cout, std::cerr); }}},
      {"sort",
       {"sort lines (standard input when no file is given)",
        [](const auto& a) { return pel::cli::RunSort(a, std::cin, std::cout, std::cerr); }}},
      {"dump",
       {"print a binary component stream as text (or the text form back as binary)",
        [](const auto& a) { return pel::cli::RunDump(a, std::cout, std::cerr); }}},
  };

  // The first word picks the command, which parses the rest (and answers its
  // own --help); the top level answers --help and names what it does not know.
  std::vector<std::string> words(argv + 1, argv + argc);
  if (!words.empty()) {
    auto it = commands.find(words.front());
    if (it != commands.end()) return it->second.second({words.begin() + 1, words.end()});
    if (words.front()[0] != '-') {
      std::cerr << "pel: unknown command '" << words.front()
                << "' (calc, cpm, dump, grep or sort)\n";
      return 2;
    }
  }
  CLI::App app{"Command-line jobs done with the pel library. 'pel COMMAND --help' for more.",
               "pel"};
  app.require_subcommand(1);
  for (const auto& [name, entry] : commands) app.add_subcommand(name, entry.first);
  auto status = pel::cli::ParseArgs(app, words, std::cout, std::cerr);
  if (status && *status != 0) std::cerr << app.help();
  return status.value_or(2);
}
