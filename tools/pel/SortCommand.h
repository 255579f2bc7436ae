// pel sort: sorts lines with TPelStringList.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace pel::cli {

// Usage: sort [--mode cs|ci|cs-locale|ci-locale] [--unique] [--reverse] [FILE...]
// Reads every FILE (standard input when none) before writing anything, so an
// error leaves the output empty. Returns 0, or 2 with one line on err.
int RunSort(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
            std::ostream& err);

}  // namespace pel::cli
