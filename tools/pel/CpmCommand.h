// pel cpm: the critical path of a project network with TActivityNetwork.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace pel::cli {

// Usage: cpm [--json | --dot] [--aon] [--show-dummies] [--from EVENT]
//            [--to EVENT] [--save FILE] [--gantt FILE.svg]
//            [--start DATE [--calendar weekdays|all] [--holidays FILE]]
//            [--simulate N [--seed S]] [--what-if TASK=+N|-N|N ...] FILE
// FILE is a text network (one task a line: FROM TO DURATION), a CSV file
// with the header from,to,duration, a plan of tasks (--aon, or CSV with the
// columns id and predecessors: id,name,duration,predecessors) or a network
// saved with --save. A plan is converted to an event network and reported
// task by task. A duration may be three points O/M/P (PERT); --start turns
// times into working days and dates; --simulate draws seeded Monte Carlo
// samples; --what-if reports what changed durations move. Nothing
// is written (to out or to a file) unless the whole job succeeds; on bad input
// one line goes to err and the status is 2.
int RunCpm(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
           std::ostream& err);

// For a program that ends as soon as RunCpm returns (the pel program): the
// network of a plan is then left to the end of the process instead of being
// taken apart object by object (for a million tasks, a third of a second of
// work beside the writing of the report). It stays reachable to the end.
// Every other caller leaves this off and gets everything freed.
void LeaveNetworksToExit(bool Leave);

}  // namespace pel::cli
