// pel calc: evaluates infix arithmetic, one expression per line.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace pel::cli {

// Usage: calc [--postfix] [EXPRESSION...]
// Each EXPRESSION argument (or, without any, each line of standard input)
// is one expression: numbers with an optional fraction, + - * / ^ (^ binds
// tightest and to the right, * and / before + and -), parentheses. Prints
// each value, or with --postfix the expression in postfix order. A line
// that fails (a malformed expression fails in both modes; a division by
// zero, or a number or result out of range, when evaluated) prints one
// "pel calc: ..." line on err naming it, and the other lines are still
// evaluated. Blank lines are skipped. Returns 0, or
// 2 when any line failed.
int RunCalc(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
            std::ostream& err);

}  // namespace pel::cli
