// pel cpm: the critical path of a project network with TActivityNetwork.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace pel::cli {

// Usage: cpm [--json | --dot] [--from EVENT] [--to EVENT] [--save FILE]
//            [--gantt FILE.svg] FILE
// FILE is a text network (one task a line: FROM TO DURATION), a CSV file
// with the header from,to,duration, or a network saved with --save. Nothing
// is written (to out or to a file) unless the whole job succeeds; on bad input
// one line goes to err and the status is 2.
int RunCpm(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
           std::ostream& err);

}  // namespace pel::cli
