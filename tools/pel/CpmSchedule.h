// The plain result of a critical-path run, as the cpm reports show it.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <vector>

namespace pel::cli {

// A task as read from a text or CSV network, with the line it came from.
struct TaskLine {
  std::string From, To;
  int32_t Duration = 0;
  int Line = 0;
};

// Bad input: the message already names the file and, where there is one, the
// line ("house.txt:7: ...").
class CpmError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Reads "FROM TO DURATION" lines; '#' starts a comment, blank lines are
// skipped. Raises CpmError naming file and line.
std::vector<TaskLine> ParseTextNetwork(std::istream& in, const std::string& file);
// Reads CSV with a header naming the columns from, to and duration (in any
// order, any case; other columns are ignored). Fields may be quoted.
std::vector<TaskLine> ParseCsvNetwork(std::istream& in, const std::string& file);

// A plan written as tasks (activity on node): one task a row, each naming
// the tasks it depends on.
enum class LinkType { FS, SS, FF, SF };

// "B SS+2" in C's predecessors: C's start waits for B's start plus 2. A
// negative lag is a lead.
struct PlanLink {
  std::string Id;
  LinkType Type = LinkType::FS;
  int32_t Lag = 0;
};

struct PlanTask {
  std::string Id, Name;
  int32_t Duration = 0;
  std::vector<PlanLink> Predecessors;
  int Line = 0;
};

// True when the first non-blank line of CSV data names the columns id and
// predecessors.
bool HasPlanHeader(const std::string& data);
// Reads CSV with a header naming the columns id, duration and predecessors,
// and optionally name (any order, any case). Predecessors are separated by
// ';', each "ID", "ID FS+2", "ID SS", "ID FF-1" or "ID SF+3". Ids are unique,
// without blanks, ';', ':' or parentheses; every predecessor is a task of the
// plan and no task its own. Raises CpmError naming file and line.
std::vector<PlanTask> ParsePlan(std::istream& in, const std::string& file);
std::string LinkText(LinkType type, int32_t lag);  // "FS+2", "SS", "FF-1"

struct EventTimes {
  std::string Name;
  int32_t Earliest = 0, Latest = 0;
};

// A task of an event network, a task of a plan (Id set; From and To are its
// start and finish events) or a dummy of a converted plan (Id empty).
// Slack is the total float: how far the task can slip without delaying the
// project; FreeFloat how far without delaying any successor.
struct TaskTimes {
  std::string From, To;
  int32_t Duration = 0, EarliestStart = 0, LatestStart = 0, Slack = 0, FreeFloat = 0;
  bool Critical = false;
  std::string Id, Name;
};

// A link of a plan, as the plan's Graphviz picture draws it.
struct LinkTimes {
  std::string From, To, Kind;  // task ids; "FS+2"
  bool Critical = false;
};

struct Schedule {
  bool Plan = false;  // read as tasks: the reports name tasks, not events
  int32_t CompletionTime = 0;
  std::vector<EventTimes> Events;     // topological order; a plan's only with its dummies
  std::vector<TaskTimes> Tasks;       // by their start event's place in that order;
                                      // a plan's in file order, then its dummies
  std::vector<LinkTimes> Links;       // a plan's
  std::vector<std::string> Critical;  // "A --> B", as the network names them; a plan's ids
};

std::string RenderText(const Schedule& s);
std::string RenderJson(const Schedule& s);
std::string RenderDot(const Schedule& s);
std::string RenderGanttSvg(const Schedule& s);

}  // namespace pel::cli
