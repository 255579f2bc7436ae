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

struct EventTimes {
  std::string Name;
  int32_t Earliest = 0, Latest = 0;
};

struct TaskTimes {
  std::string From, To;
  int32_t Duration = 0, EarliestStart = 0, LatestStart = 0, Slack = 0;
  bool Critical = false;
};

struct Schedule {
  int32_t CompletionTime = 0;
  std::vector<EventTimes> Events;     // topological order
  std::vector<TaskTimes> Tasks;       // by their start event's place in that order
  std::vector<std::string> Critical;  // "A --> B", as the network names them
};

std::string RenderText(const Schedule& s);
std::string RenderJson(const Schedule& s);
std::string RenderDot(const Schedule& s);
std::string RenderGanttSvg(const Schedule& s);

}  // namespace pel::cli
