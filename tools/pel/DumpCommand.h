// pel dump: prints a binary component stream as text, or with --to-binary
// turns the text form back into a binary stream.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace pel::cli {

// Runs "pel dump [--to-binary] FILE" (Args are the words after "dump").
// Writes the result to Out; returns 0, or 2 with a one-line message on Err
// for a missing or unreadable file or malformed input.
int RunDump(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace pel::cli
