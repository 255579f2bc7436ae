// Argument parsing shared by the pel commands: each command describes its
// options with a CLI11 app and hands its arguments here.
#pragma once

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace pel::cli {

// Parses args (the words after the command's name) with app. Returns nothing
// when the command should run, or the exit status it should end with: 0 after
// printing --help to out, 2 after a one-line "pel CMD: ..." message on err.
std::optional<int> ParseArgs(CLI::App& app, const std::vector<std::string>& args, std::ostream& out,
                             std::ostream& err);

// Writes text to path through a temporary file renamed into place, so that a
// failure leaves no partial file. Returns false (errno set) on failure.
bool WriteFileAtomically(const std::string& path, const std::string& text);

}  // namespace pel::cli
