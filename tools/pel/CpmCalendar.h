// Working calendars for pel cpm: times in whole working days turned into
// dates.
//
// Time t is the morning of working day t, counted from 0 at the project
// start; a task starting at s and lasting d > 0 days runs from the morning of
// working day s to the evening of working day s + d - 1, so its start date is
// Day(s) and its finish date Day(s + d - 1). A task of no duration starts and
// finishes on Day(s). The project starts on the first working day on or after
// the date given.
#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace pel::cli {

// "2026-01-12": four digits, two, two, a real date.
std::optional<std::chrono::sys_days> ParseIsoDate(const std::string& text);
std::string IsoDate(std::chrono::sys_days day);

// One ISO date a line; '#' starts a comment, blank lines are skipped. Raises
// CpmError naming file and line.
std::vector<std::chrono::sys_days> ParseHolidays(std::istream& in, const std::string& file);

class WorkCalendar {
 public:
  // Weekdays: Saturdays and Sundays are not working days. Holidays never are.
  WorkCalendar(std::chrono::sys_days start, bool weekdays,
               const std::vector<std::chrono::sys_days>& holidays);

  bool Working(std::chrono::sys_days day) const;
  // Whether Day(t) has an answer: t within ten million working days of the
  // start (an event no task leads on from has the latest time 2147483647).
  static bool Covers(int64_t t) { return t <= Farthest && t >= -Farthest; }
  // Working day t (0 is the project's first day); t may be negative.
  std::chrono::sys_days Day(int64_t t) const;
  // The date a task of the given duration starting at time start begins and
  // ends on.
  std::chrono::sys_days StartDate(int64_t start) const { return Day(start); }
  std::chrono::sys_days FinishDate(int64_t start, int64_t duration) const {
    return Day(duration > 0 ? start + duration - 1 : start);
  }
  // The number of working days before day (negative before the start).
  int64_t TimeOf(std::chrono::sys_days day) const;
  bool Weekdays() const { return FWeekdays; }

 private:
  static constexpr int64_t Farthest = 10'000'000;
  bool FWeekdays;
  std::set<std::chrono::sys_days> FHolidays;
  std::chrono::sys_days FFirst;
  // Working days from FFirst on, grown as far as asked.
  mutable std::vector<std::chrono::sys_days> FDays;
};

}  // namespace pel::cli
