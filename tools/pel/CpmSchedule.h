// The plain result of a critical-path run, as the cpm reports show it.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace pel::cli {

class WorkCalendar;

// A duration as written: a whole number, or three whole numbers "2/4/9",
// optimistic, most likely and pessimistic (O <= M <= P). Three points give
// the PERT mean (O + 4M + P) / 6 and variance ((P - O) / 6)^2.
struct Estimate {
  int32_t O = 0, M = 0, P = 0;
  bool ThreePoint = false;
  double Mean() const { return ThreePoint ? (O + 4.0 * M + P) / 6 : M; }
  double Variance() const { return ThreePoint ? (P - O) * (P - O) / 36.0 : 0; }
};

// A task as read from a text or CSV network, with the line it came from.
// Duration is the whole duration, or the pessimistic one of three points.
struct TaskLine {
  std::string From, To;
  int32_t Duration = 0;
  int Line = 0;
  Estimate Est;
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
  std::size_t Task = 0;  // the predecessor's place in the plan
  int32_t Lag = 0;
  LinkType Type = LinkType::FS;
};

struct PlanTask {
  std::string Id, Name;
  int32_t Duration = 0;  // as a TaskLine's
  Estimate Est;
  std::span<PlanLink> Predecessors;  // in the plan's Links
  int Line = 0;
};

// The tasks of a plan in file order. Their links are kept together, one
// block for all of them rather than one per task: each task's Predecessors
// show a part of Links. A plan moves but is not copied (a copy's tasks would
// still show the original's links).
struct PlanTasks : std::vector<PlanTask> {
  std::vector<PlanLink> Links;
  PlanTasks() = default;
  PlanTasks(PlanTasks&&) = default;
  PlanTasks& operator=(PlanTasks&&) = default;
  PlanTasks(const PlanTasks&) = delete;
  PlanTasks& operator=(const PlanTasks&) = delete;
};

// True when the first non-blank line of CSV data names the columns id and
// predecessors.
bool HasPlanHeader(const std::string& data);
// Reads CSV with a header naming the columns id, duration and predecessors,
// and optionally name (any order, any case). Predecessors are separated by
// ';', each "ID", "ID FS+2", "ID SS", "ID FF-1" or "ID SF+3". Ids are unique,
// without blanks, ';', ':' or parentheses; every predecessor is a task of the
// plan and no task its own. Raises CpmError naming file and line.
PlanTasks ParsePlan(std::string_view data, const std::string& file);
// At most how many tasks and links a plan's text holds: a task a line, a
// link a line or ';'.
struct PlanBounds {
  std::size_t Tasks, Links;
};
PlanBounds BoundsOfPlan(std::string_view data);
// The same into tasks (empty), which keeps what was read when an error is
// raised; bounds are the data's. Ready is called every few thousand tasks
// with the tasks read so far, from the thread that reads; they and their
// links stay where they are while the rest is read. The first Known of them
// name only tasks read before them; the places of the others' links to
// tasks still to come are filled in at the end.
void ParsePlan(
    std::string_view data, PlanBounds bounds, const std::string& file, PlanTasks& tasks,
    const std::function<void(const PlanTask* Tasks, std::size_t Count, std::size_t Known)>& ready);
std::string LinkText(LinkType type, int32_t lag);  // "FS+2", "SS", "FF-1"
// The same written at At, which has room for MaxLinkText characters; returns
// the end of the text.
constexpr std::size_t MaxLinkText = 14;
char* WriteLinkText(char* at, LinkType type, int32_t lag);

struct EventTimes {
  std::string Name;
  int32_t Earliest = 0, Latest = 0;
};

// Times are counted in steps: Schedule::Scale steps make one time unit.

// A task of an event network, a task of a plan (Id set; From and To are its
// start and finish events) or a dummy of a converted plan (Id empty).
// Slack is the total float: how far the task can slip without delaying the
// project; FreeFloat how far without delaying any successor.
struct TaskTimes {
  std::string From, To;
  int32_t Duration = 0, EarliestStart = 0, LatestStart = 0, Slack = 0, FreeFloat = 0;
  bool Critical = false;
  std::string Id, Name;
  Estimate Est;  // a task's (not a dummy's)
};

// A link of a plan, as the plan's Graphviz picture draws it: From and To
// are the places of its tasks in Schedule::Tasks.
struct LinkTimes {
  uint32_t From = 0, To = 0;
  int32_t Lag = 0;
  LinkType Type = LinkType::FS;
  bool Critical = false;
};

// The project's PERT figures: the mean completion time and its standard
// deviation along the critical path (of the critical paths, the one of the
// largest variance).
struct PertFigures {
  double Mean = 0, StdDev = 0;
  std::vector<std::string> Path;
};

// A Monte Carlo run: completion times (in units) reached by 50, 80 and 95 per
// cent of the samples, and per task (a plan's tasks, a network's in file
// order) the number of samples in which it was critical.
struct SimulationFigures {
  int64_t Runs = 0;
  uint64_t Seed = 0;
  double P50 = 0, P80 = 0, P95 = 0;
  std::vector<std::pair<std::string, int64_t>> Critical;
};

// What changed durations did: the completion time (in steps) before and
// after, and the tasks that entered or left the critical set.
struct WhatIfFigures {
  std::vector<std::string> Changes;  // as given: "frame=+3", "roof=7"
  int32_t Before = 0, After = 0;
  std::vector<std::string> Entered, Left;
};

// The figures of a plan's task, as the network gave them.
struct TaskFigures {
  int32_t Duration = 0, EarliestStart = 0, LatestStart = 0, Slack = 0, FreeFloat = 0;
};

// A plan's task with its figures, as the reports show it.
TaskTimes PlanTaskTimes(const PlanTask& task, const TaskFigures& figures);
// The same into k.
void PlanTaskTimes(const PlanTask& task, const TaskFigures& figures, TaskTimes& k);

struct Schedule {
  bool Plan = false;  // read as tasks: the reports name tasks, not events
  int32_t Scale = 1;  // steps a time unit
  const WorkCalendar* Calendar = nullptr;  // times are working days from its start
  int32_t CompletionTime = 0;
  std::vector<EventTimes> Events;     // topological order; a plan's only with its dummies
  std::vector<TaskTimes> Tasks;       // by their start event's place in that order;
                                      // a plan's in file order, then its dummies
  std::vector<LinkTimes> Links;       // a plan's
  std::vector<std::string> Critical;  // "A --> B", as the network names them; a plan's ids
  // A plan reported as JSON alone, without its dummies, keeps its tasks
  // here instead of in Tasks and Links, so that a million of them are not
  // copied: the plan as read and each task's figures, in file order.
  const PlanTasks* Source = nullptr;
  std::vector<TaskFigures> Figures;
  std::optional<PertFigures> Pert;      // with three-point estimates
  std::optional<SimulationFigures> Simulation;
  std::optional<WhatIfFigures> WhatIf;  // the report then shows only what moved
};

std::string RenderText(const Schedule& s);
std::string RenderJson(const Schedule& s);
// The same, written to out as it goes (a plan of a million tasks makes half a
// gigabyte of it).
void RenderJson(const Schedule& s, std::ostream& out);
std::string RenderDot(const Schedule& s);
std::string RenderGanttSvg(const Schedule& s);

}  // namespace pel::cli
