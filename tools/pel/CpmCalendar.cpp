#include "pel/CpmCalendar.h"

#include <algorithm>
#include <cctype>
#include <istream>

#include "pel/CpmSchedule.h"

namespace pel::cli {

using namespace std::chrono;

std::optional<sys_days> ParseIsoDate(const std::string& text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
  for (std::size_t i : {0, 1, 2, 3, 5, 6, 8, 9})
    if (!std::isdigit(static_cast<unsigned char>(text[i]))) return std::nullopt;
  year_month_day ymd{year{std::stoi(text.substr(0, 4))},
                     month{static_cast<unsigned>(std::stoi(text.substr(5, 2)))},
                     day{static_cast<unsigned>(std::stoi(text.substr(8, 2)))}};
  if (!ymd.ok()) return std::nullopt;
  return sys_days{ymd};
}

std::string IsoDate(sys_days d) {
  year_month_day ymd{d};
  char text[16];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(ymd.year()),
                static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()));
  return text;
}

std::vector<sys_days> ParseHolidays(std::istream& in, const std::string& file) {
  std::vector<sys_days> days;
  std::string line;
  for (int n = 1; std::getline(in, line); ++n) {
    line = line.substr(0, line.find('#'));
    auto b = line.find_first_not_of(" \t\r");
    if (b == std::string::npos) continue;
    std::string word = line.substr(b, line.find_last_not_of(" \t\r") - b + 1);
    auto day = ParseIsoDate(word);
    if (!day)
      throw CpmError(file + ":" + std::to_string(n) + ": '" + word +
                     "' is not a date written YYYY-MM-DD");
    days.push_back(*day);
  }
  return days;
}


WorkCalendar::WorkCalendar(sys_days start, bool weekdays, const std::vector<sys_days>& holidays)
    : FWeekdays(weekdays), FHolidays(holidays.begin(), holidays.end()) {
  // Every week has a working day unless holidays fill it; they are finite.
  while (!Working(start)) start += days{1};
  FFirst = start;
  FDays.push_back(start);
}

bool WorkCalendar::Working(sys_days d) const {
  if (FWeekdays) {
    weekday w{d};
    if (w == Saturday || w == Sunday) return false;
  }
  return !FHolidays.count(d);
}

sys_days WorkCalendar::Day(int64_t t) const {
  if (t > Farthest || t < -Farthest)
    throw CpmError("working day " + std::to_string(t) + " lies too far from the project start");
  if (t < 0) {
    sys_days d = FFirst;
    for (int64_t k = 0; k > t; --k) {
      d -= days{1};
      while (!Working(d)) d -= days{1};
    }
    return d;
  }
  while (static_cast<int64_t>(FDays.size()) <= t) {
    sys_days d = FDays.back() + days{1};
    while (!Working(d)) d += days{1};
    FDays.push_back(d);
  }
  return FDays[static_cast<std::size_t>(t)];
}

int64_t WorkCalendar::TimeOf(sys_days d) const {
  if (d < FFirst) {
    int64_t t = 0;
    for (sys_days k = FFirst; k > d;) {
      k -= days{1};
      if (Working(k)) --t;
    }
    return t;
  }
  while (FDays.back() < d) Day(static_cast<int64_t>(FDays.size()));
  return std::lower_bound(FDays.begin(), FDays.end(), d) - FDays.begin();
}

}  // namespace pel::cli
