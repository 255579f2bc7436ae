// pel: command-line jobs done with the pel library.
#include <clocale>
#include <iostream>
#include <string>
#include <vector>

#include "pel/DumpCommand.h"
#include "pel/SortCommand.h"

namespace {

void Usage(std::ostream& os) {
  os << "usage: pel <command> [options] [FILE...]\n"
        "commands:\n"
        "  sort [--mode cs|ci|cs-locale|ci-locale] [--unique] [--reverse] [FILE...]\n"
        "       sort lines (standard input when no file is given)\n"
        "  dump [--to-binary] FILE\n"
        "       print a binary component stream as text (or the text form back as binary)\n";
}

}  // namespace

int main(int argc, char** argv) {
  // The locale comparison modes follow the user's locale.
  std::setlocale(LC_ALL, "");
  std::ios::sync_with_stdio(false);
  if (argc < 2) {
    Usage(std::cerr);
    return 2;
  }
  std::string command = argv[1];
  std::vector<std::string> args(argv + 2, argv + argc);
  if (command == "sort") return pel::cli::RunSort(args, std::cin, std::cout, std::cerr);
  if (command == "dump") return pel::cli::RunDump(args, std::cout, std::cerr);
  if (command == "--help" || command == "-h" || command == "help") {
    Usage(std::cout);
    return 0;
  }
  std::cerr << "pel: unknown command '" << command << "'\n";
  Usage(std::cerr);
  return 2;
}
