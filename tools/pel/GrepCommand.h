// pel grep: prints the lines in which a TPelRegularExpression matches.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace pel::cli {

// Usage: grep [-i] [-c] [-n] [-o] [--anchor-start] [--anchor-end] PATTERN [FILE...]
// Reads every FILE (standard input when none, or for "-"). Returns 0 when a
// line was selected, 1 when none, 2 on an error (a bad pattern, a file that
// cannot be read: one line on err each).
int RunGrep(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
            std::ostream& err);

}  // namespace pel::cli
