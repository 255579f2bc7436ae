// The four ways pel cpm shows a schedule: a table for people, JSON for
// programs, Graphviz text, and an SVG Gantt chart.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "pel/CpmCalendar.h"
#include "pel/CpmSchedule.h"

namespace pel::cli {

namespace {

std::string TaskName(const TaskTimes& t) {
  return t.Id.empty() ? t.From + " --> " + t.To : t.Id;
}

std::string Str(int32_t n) { return std::to_string(n); }

std::string Pad(const std::string& s, std::size_t width, bool right) {
  if (s.size() >= width) return s;
  std::string fill(width - s.size(), ' ');
  return right ? fill + s : s + fill;
}

// A table with a header row; align gives each column's side ('l' or 'r').
std::string Table(const std::vector<std::vector<std::string>>& rows, const std::string& align) {
  std::vector<std::size_t> width;
  for (const auto& r : rows)
    for (std::size_t c = 0; c < r.size(); ++c) {
      if (width.size() <= c) width.push_back(0);
      width[c] = std::max(width[c], r[c].size());
    }
  std::string text;
  for (const auto& r : rows) {
    std::string line;
    for (std::size_t c = 0; c < r.size(); ++c) {
      if (c) line += "  ";
      line += Pad(r[c], width[c], align[c] == 'r');
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    text += line + "\n";
  }
  return text;
}

std::string XmlEscape(const std::string& s) {
  std::string out;
  for (char c : s) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string DotQuote(const std::string& s) {
  std::string out = "\"";
  for (char c : s) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

// A tick step of 1, 2 or 5 times a power of ten giving about ten ticks.
int32_t TickStep(int32_t span) {
  double raw = std::max(1.0, span / 10.0);
  double power = std::pow(10.0, std::floor(std::log10(raw)));
  for (double m : {1.0, 2.0, 5.0, 10.0})
    if (m * power >= raw) return static_cast<int32_t>(m * power);
  return static_cast<int32_t>(10 * power);
}

std::string Fixed(double x, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, x);
  return text;
}

// A time in steps, in units: whole, or with two decimals when the schedule
// counts in fractions.
std::string Time(const Schedule& s, int64_t steps) {
  return s.Scale == 1 ? std::to_string(steps) : Fixed(double(steps) / s.Scale, 2);
}

// The same for JSON: a whole number, or the units to four decimals.
nlohmann::ordered_json TimeJson(const Schedule& s, int64_t steps) {
  if (s.Scale == 1) return steps;
  return std::round(double(steps) / s.Scale * 10000) / 10000;
}

// Dates, or "-" for a time no calendar reaches.
std::string StartDate(const Schedule& s, int64_t start) {
  return WorkCalendar::Covers(start) ? IsoDate(s.Calendar->StartDate(start)) : "-";
}
std::string FinishDate(const Schedule& s, int64_t start, int64_t duration) {
  return WorkCalendar::Covers(start + duration) ? IsoDate(s.Calendar->FinishDate(start, duration))
                                                : "-";
}
// The day the project ends: the evening of its last working day.
std::string CompletionDate(const Schedule& s, double units) {
  return FinishDate(s, 0, static_cast<int64_t>(std::ceil(units - 1e-9)));
}

std::string EstimateText(const Estimate& e) {
  return e.ThreePoint ? Str(e.O) + "/" + Str(e.M) + "/" + Str(e.P) : "";
}

// The PERT, simulation and what-if parts of the text report.
std::string PertText(const Schedule& s) {
  if (!s.Pert) return "";
  std::string text = "\nPERT: mean completion " + Time(s, static_cast<int64_t>(s.Pert->Mean)) +
                     ", standard deviation " + Fixed(s.Pert->StdDev, 2) + " along";
  for (std::size_t i = 0; i < s.Pert->Path.size(); ++i)
    text += (i ? ", " : " ") + s.Pert->Path[i];
  return text + "\n";
}

std::string SimulationText(const Schedule& s) {
  if (!s.Simulation) return "";
  const SimulationFigures& f = *s.Simulation;
  std::string text = "\nMonte Carlo: " + std::to_string(f.Runs) + " samples, seed " +
                     std::to_string(f.Seed) + ", triangular durations\n";
  std::vector<std::vector<std::string>> rows{{"Completion", "Time"}};
  if (s.Calendar) rows[0].push_back("Finish");
  for (auto [name, value] : {std::pair{"P50", f.P50}, {"P80", f.P80}, {"P95", f.P95}}) {
    rows.push_back({name, Fixed(value, 2)});
    if (s.Calendar) rows.back().push_back(CompletionDate(s, value));
  }
  text += Table(rows, "lrl") + "\n";
  std::vector<std::vector<std::string>> tasks{{"Task", "Criticality index"}};
  for (const auto& [name, count] : f.Critical)
    tasks.push_back({name, Fixed(100.0 * double(count) / double(f.Runs), 1) + "%"});
  return text + Table(tasks, "lr");
}

std::string WhatIfText(const Schedule& s) {
  const WhatIfFigures& w = *s.WhatIf;
  std::string text = "What if:";
  for (std::size_t i = 0; i < w.Changes.size(); ++i) text += (i ? ", " : " ") + w.Changes[i];
  int64_t moved = int64_t{w.After} - w.Before;
  text += "\nCompletion time: " + Time(s, w.Before) + " -> " + Time(s, w.After) + " (" +
          (moved >= 0 ? "+" : "") + Time(s, moved) + ")\n";
  if (s.Calendar)
    text += "Finish: " + CompletionDate(s, w.Before) + " -> " + CompletionDate(s, w.After) + "\n";
  auto list = [](const std::vector<std::string>& names) {
    std::string l;
    for (const auto& n : names) l += (l.empty() ? " " : ", ") + n;
    return l.empty() ? " none" : l;
  };
  return text + "Became critical:" + list(w.Entered) + "\nNo longer critical:" + list(w.Left) +
         "\n";
}

}  // namespace

std::string RenderText(const Schedule& s) {
  if (s.WhatIf) return WhatIfText(s) + SimulationText(s);
  const bool dates = s.Calendar != nullptr;
  std::string text = "Completion time: " + Time(s, s.CompletionTime);
  if (dates)
    text += " working days, " + StartDate(s, 0) + " to " + CompletionDate(s, s.CompletionTime);
  text += "\n\n";
  // With a calendar the times are shown as dates: starts in the morning,
  // finishes in the evening.
  auto start = [&](int64_t t) { return dates ? StartDate(s, t) : Time(s, t); };
  auto finish = [&](int64_t t, int64_t d) { return dates ? FinishDate(s, t, d) : Time(s, t + d); };
  if (!s.Events.empty()) {
    std::vector<std::vector<std::string>> events{{"Event", "Earliest", "Latest"}};
    for (const auto& e : s.Events) events.push_back({e.Name, start(e.Earliest), start(e.Latest)});
    text += Table(events, "lrr") + "\n";
  }
  bool estimates = std::any_of(s.Tasks.begin(), s.Tasks.end(),
                               [](const TaskTimes& t) { return t.Est.ThreePoint; });
  std::vector<std::vector<std::string>> tasks;
  std::string align;
  tasks.push_back({"Task"});
  if (s.Plan) tasks[0].push_back("Name");
  if (estimates) tasks[0].push_back("Estimate");
  for (std::string h : {"Duration", "Earliest start", "Earliest finish", "Latest start",
                        "Latest finish", "Total float", "Free float", ""})
    if (s.Plan || h.find("finish") == std::string::npos) tasks[0].push_back(h);
  align = std::string(s.Plan ? "ll" : "l") + (estimates ? "r" : "") +
          (s.Plan ? "rrrrrrrl" : "rrrrrl");
  for (const auto& t : s.Tasks) {
    std::vector<std::string> row{TaskName(t)};
    if (s.Plan) row.push_back(t.Name);
    if (estimates) row.push_back(EstimateText(t.Est));
    row.push_back(Time(s, t.Duration));
    row.push_back(start(t.EarliestStart));
    if (s.Plan) row.push_back(finish(t.EarliestStart, t.Duration));
    row.push_back(start(t.LatestStart));
    if (s.Plan) row.push_back(finish(t.LatestStart, t.Duration));
    for (auto x : {Time(s, t.Slack), Time(s, t.FreeFloat),
                   std::string(t.Critical ? "critical" : "")})
      row.push_back(x);
    tasks.push_back(std::move(row));
  }
  text += Table(tasks, align) + "\n";
  text += "Critical tasks:\n";
  for (const auto& name : s.Critical) text += "  " + name + "\n";
  return text + PertText(s) + SimulationText(s);
}

namespace {

// Writes pieces of text to a stream from a thread of its own, so that the
// system's copying of a large report into a file overlaps the making of the
// next piece. At most a few pieces wait; their buffers come back for reuse,
// so the pages of a report of hundreds of megabytes are touched only once.
class BackgroundWriter {
 public:
  explicit BackgroundWriter(std::ostream& out) : FOut(out), FThread([this] { Run(); }) {}
  BackgroundWriter(const BackgroundWriter&) = delete;
  BackgroundWriter& operator=(const BackgroundWriter&) = delete;
  ~BackgroundWriter() {
    {
      std::lock_guard lock(FMutex);
      FDone = true;
    }
    FChanged.notify_all();
    FThread.join();
  }
  // Queues piece and gives back an empty buffer in its place.
  void Write(std::string& piece) {
    std::unique_lock lock(FMutex);
    FChanged.wait(lock, [&] { return FQueue.size() < MaxWaiting; });
    FQueue.push_back(std::move(piece));
    piece.clear();
    if (!FSpare.empty()) {
      piece = std::move(FSpare.back());
      FSpare.pop_back();
    }
    FChanged.notify_all();
  }

 private:
  static constexpr std::size_t MaxWaiting = 4;
  void Run() {
    std::string piece;
    for (;;) {
      {
        std::unique_lock lock(FMutex);
        if (piece.capacity()) FSpare.push_back(std::move(piece));
        FChanged.wait(lock, [&] { return !FQueue.empty() || FDone; });
        if (FQueue.empty()) return;
        piece = std::move(FQueue.front());
        FQueue.pop_front();
        FChanged.notify_all();
      }
      FOut.write(piece.data(), static_cast<std::streamsize>(piece.size()));
    }
  }
  std::ostream& FOut;
  std::mutex FMutex;
  std::condition_variable FChanged;
  std::deque<std::string> FQueue;
  std::vector<std::string> FSpare;
  bool FDone = false;
  std::thread FThread;  // last: starts once the rest is ready
};

// Writes JSON item by item to a background writer, in pieces of about a
// megabyte. The layout is nlohmann's dump(2) (a key or an item a line,
// indented by two a level) except that an object or array that is an item
// of an array is written on one line, its items parted by ", ": a report's
// tasks, links and events are a line each, which keeps a million-task
// report readable, greppable and a third smaller. Strings that are not
// UTF-8 get U+FFFD for their bad bytes, as dump's replace handler does.
class JsonWriter {
 public:
  explicit JsonWriter(BackgroundWriter& sink) : FSink(sink) { FText.resize(PieceSize); }
  // The rest of the text, then a new line.
  void Finish() {
    Put('\n');
    FText.resize(FUsed);
    FSink.Write(FText);
  }
  // Keys are plain text: written as they are.
  JsonWriter& Key(std::string_view key) {
    Item();
    char* at = Room(key.size() + 4);
    *at++ = '"';
    for (char c : key) *at++ = c;  // a few characters: no call
    std::memcpy(at, "\": ", 3);
    FUsed += key.size() + 4;
    FKeyed = true;
    return *this;
  }
  void Begin(char bracket) {
    const bool flat = !FOpen.empty() && (FOpen.back().Flat || FOpen.back().Bracket == '[');
    Item();
    Put(bracket);
    FOpen.push_back({bracket, true, flat});
  }
  void End(char bracket) {
    const Open open = FOpen.back();
    FOpen.pop_back();
    if (!open.Empty && !open.Flat) NewLine();
    Put(bracket);
  }
  void Int(int64_t n) {
    Item();
    PutValue(n);
  }
  // A link's type and lag as LinkText writes them ("FS", "SS+2", "FF-1").
  void Link(LinkType type, int32_t lag) {
    Item();
    PutValue(LinkValue{type, lag});
  }
  // A date, or null for "-".
  void Date(const std::string& date) {
    if (date == "-") {
      Item();
      Put("null");
    } else {
      String(date);
    }
  }
  void Bool(bool b) {
    Item();
    PutValue(b);
  }
  // Text that needs escaping (or is not ASCII) is written by nlohmann.
  void String(const std::string& text) {
    Item();
    if (NeedsEscape(text))
      Put(nlohmann::ordered_json(text).dump(-1, ' ', false,
                                            nlohmann::ordered_json::error_handler_t::replace));
    else
      PutValue(text);
  }
  // A link's type and lag, as a value of Record.
  struct LinkValue {
    LinkType Type;
    int32_t Lag;
  };
  // A record given as keys and values in turn (integers, strings, booleans,
  // links), as Begin('{'), each Key and its value, and End('}') would write
  // it: at once when none of its strings needs escaping.
  template <class... Fields>
  void Record(const Fields&... fields) {
    static_assert(sizeof...(Fields) % 2 == 0, "keys and values in turn");
    bool plain = true;
    std::size_t size = 2;
    ForPairs([&](std::string_view key,
                 const auto& value) { size += key.size() + 6 + Size(value, plain); },
             fields...);
    if (!plain) {
      Begin('{');
      ForPairs(
          [&](std::string_view key, const auto& value) {
            Key(key);
            Write(value);
          },
          fields...);
      End('}');
      return;
    }
    Item();
    char* at = Room(size);
    *at++ = '{';
    bool first = true;
    ForPairs(
        [&](std::string_view key, const auto& value) {
          if (!first) at = Copy(at, ", ");
          first = false;
          *at++ = '"';
          at = Copy(Copy(at, key), "\": ");
          at = Raw(at, value);
        },
        fields...);
    *at++ = '}';
    FUsed = static_cast<std::size_t>(at - FText.data());
  }
  // A small value, laid out as the items written one by one would be.
  void Value(const nlohmann::ordered_json& value) {
    if (!value.is_structured()) {
      Item();
      Put(value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
      return;
    }
    const char bracket = value.is_object() ? '{' : '[';
    Begin(bracket);
    for (auto it = value.begin(); it != value.end(); ++it) {
      if (value.is_object()) Key(it.key());
      Value(*it);
    }
    End(bracket == '{' ? '}' : ']');
  }

 private:
  static constexpr std::size_t PieceSize = std::size_t{1} << 20;
  template <class Fn>
  static void ForPairs(Fn&&) {}
  template <class Fn, class Value, class... Rest>
  static void ForPairs(Fn&& f, std::string_view key, const Value& value, const Rest&... rest) {
    f(key, value);
    ForPairs(f, rest...);
  }
  static char* Copy(char* at, std::string_view text) {
    return std::copy(text.begin(), text.end(), at);
  }
  static bool NeedsEscape(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
      return static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x80 ||
             c == '"' || c == '\\';
    });
  }
  // The most a value of Record takes, and whether it is written as it is.
  static std::size_t Size(const std::string& text, bool& plain) {
    plain = plain && !NeedsEscape(text);
    return text.size() + 2;
  }
  static std::size_t Size(bool, bool&) { return 5; }
  static std::size_t Size(LinkValue, bool&) { return MaxLinkText + 2; }
  static std::size_t Size(int64_t, bool&) { return 20; }
  static char* Raw(char* at, const std::string& text) {
    *at++ = '"';
    at = Copy(at, text);
    *at++ = '"';
    return at;
  }
  static char* Raw(char* at, bool b) { return Copy(at, b ? "true" : "false"); }
  static char* Raw(char* at, LinkValue link) {
    *at++ = '"';
    at = WriteLinkText(at, link.Type, link.Lag);
    *at++ = '"';
    return at;
  }
  static char* Raw(char* at, int64_t n) { return std::to_chars(at, at + 20, n).ptr; }
  // A value of Record's kinds where the piece ends (text as it is).
  template <class Value>
  void PutValue(const Value& value) {
    bool plain = true;
    FUsed = static_cast<std::size_t>(Raw(Room(Size(value, plain)), value) - FText.data());
  }
  template <class Value>
  void Write(const Value& value) {
    Item();
    PutValue(value);
  }
  void Write(const std::string& text) { String(text); }
  // Before a value: a comma after the previous item and, outside a record
  // on one line, a new line and the indentation, unless the value follows
  // its key.
  void Item() {
    if (FKeyed) {
      FKeyed = false;
      return;
    }
    if (FOpen.empty()) return;
    Open& open = FOpen.back();
    if (open.Flat) {
      if (!open.Empty) {
        std::memcpy(Room(2), ", ", 2);
        FUsed += 2;
      }
    } else {
      // Only a line's start hands a full piece over: a record on one line
      // stays in one piece (the piece grows for a long one).
      if (FUsed > PieceSize - 4096) {
        FText.resize(FUsed);
        FSink.Write(FText);
        FText.resize(PieceSize);
        FUsed = 0;
      }
      if (!open.Empty) Put(',');
      NewLine();
    }
    open.Empty = false;
  }
  void NewLine() {
    const std::size_t indent = 2 * FOpen.size();
    char* at = Room(indent + 1);
    *at = '\n';
    std::fill_n(at + 1, indent, ' ');
    FUsed += indent + 1;
  }
  // Where n more characters go.
  char* Room(std::size_t n) {
    if (FUsed + n > FText.size()) FText.resize(std::max(FUsed + n, 2 * FText.size()));
    return FText.data() + FUsed;
  }
  void Put(char c) {
    *Room(1) = c;
    ++FUsed;
  }
  void Put(std::string_view text) {
    std::copy(text.begin(), text.end(), Room(text.size()));
    FUsed += text.size();
  }
  BackgroundWriter& FSink;
  // The piece being written: its first FUsed characters.
  std::string FText;
  std::size_t FUsed = 0;
  struct Open {
    char Bracket;
    bool Empty;  // nothing in it yet
    bool Flat;   // on one line
  };
  std::vector<Open> FOpen;
  bool FKeyed = false;
};

nlohmann::ordered_json SimulationJson(const Schedule& s) {
  const SimulationFigures& f = *s.Simulation;
  nlohmann::ordered_json j;
  j["runs"] = f.Runs;
  j["seed"] = f.Seed;
  j["draw"] = "triangular";
  for (auto [name, value] : {std::pair{"p50", f.P50}, {"p80", f.P80}, {"p95", f.P95}}) {
    j[name] = value;
    if (s.Calendar) j[std::string(name) + "_date"] = CompletionDate(s, value);
  }
  j["criticality"] = nlohmann::ordered_json::array();
  for (const auto& [name, count] : f.Critical)
    j["criticality"].push_back(
        {{"task", name},
         {"critical_runs", count},
         {"index", std::round(double(count) / double(f.Runs) * 10000) / 10000}});
  return j;
}

}  // namespace

TaskTimes PlanTaskTimes(const PlanTask& task, const TaskFigures& figures) {
  TaskTimes k;
  PlanTaskTimes(task, figures, k);
  return k;
}

void PlanTaskTimes(const PlanTask& task, const TaskFigures& figures, TaskTimes& k) {
  k.Duration = figures.Duration;
  k.EarliestStart = figures.EarliestStart;
  k.LatestStart = figures.LatestStart;
  k.Slack = figures.Slack;
  k.FreeFloat = figures.FreeFloat;
  k.Critical = figures.Slack == 0;
  k.Id = task.Id;
  k.Name = task.Name;
  k.Est = task.Est;
}

std::string RenderJson(const Schedule& s) {
  std::ostringstream out;
  RenderJson(s, out);
  return out.str();
}

void RenderJson(const Schedule& s, std::ostream& out) {
  constexpr auto replace = nlohmann::ordered_json::error_handler_t::replace;
  nlohmann::ordered_json j;
  if (s.WhatIf) {
    const WhatIfFigures& w = *s.WhatIf;
    nlohmann::ordered_json k;
    k["changes"] = w.Changes;
    k["completion_time_before"] = TimeJson(s, w.Before);
    k["completion_time_after"] = TimeJson(s, w.After);
    if (s.Calendar) {
      k["finish_date_before"] = CompletionDate(s, double(w.Before));
      k["finish_date_after"] = CompletionDate(s, double(w.After));
    }
    k["entered_critical"] = w.Entered;
    k["left_critical"] = w.Left;
    j["what_if"] = std::move(k);
    if (s.Simulation) j["simulation"] = SimulationJson(s);
    out << j.dump(2, ' ', false, replace) << "\n";
    return;
  }
  // A plan may hold a million tasks: the report is written as it goes, not
  // built as one JSON value.
  BackgroundWriter sink(out);
  JsonWriter w(sink);
  const bool dates = s.Calendar != nullptr;
  w.Begin('{');
  w.Key("completion_time").Value(TimeJson(s, s.CompletionTime));
  if (dates) {
    w.Key("calendar").String(s.Calendar->Weekdays() ? "weekdays" : "all");
    w.Key("start_date").String(StartDate(s, 0));
    w.Key("finish_date").String(CompletionDate(s, s.CompletionTime));
  }
  auto time = [&](std::string_view key, int64_t steps) {
    if (s.Scale == 1)
      w.Key(key).Int(steps);
    else
      w.Key(key).Value(TimeJson(s, steps));
  };
  if (!s.Plan || !s.Events.empty()) {
    w.Key("events").Begin('[');
    for (const auto& e : s.Events) {
      w.Begin('{');
      w.Key("name").String(e.Name);
      time("earliest", e.Earliest);
      time("latest", e.Latest);
      if (dates) {
        w.Key("earliest_date").Date(StartDate(s, e.Earliest));
        w.Key("latest_date").Date(StartDate(s, e.Latest));
      }
      w.End('}');
    }
    w.End(']');
  }
  w.Key("tasks").Begin('[');
  auto task = [&](const TaskTimes& t) {
    if (s.Plan && !t.Id.empty() && s.Scale == 1 && !dates && !t.Est.ThreePoint) {
      // A plan's task in whole units and without dates: the record at once.
      const int64_t start = t.EarliestStart, late = t.LatestStart, duration = t.Duration;
      w.Record("id", t.Id, "name", t.Name, "duration", duration, "earliest_start", start,
               "earliest_finish", start + duration, "latest_start", late, "latest_finish",
               late + duration, "total_float", int64_t{t.Slack}, "free_float", int64_t{t.FreeFloat},
               "critical", t.Critical);
      return;
    }
    w.Begin('{');
    if (s.Plan && !t.Id.empty()) {
      w.Key("id").String(t.Id);
      w.Key("name").String(t.Name);
    } else {
      w.Key("from").String(t.From);
      w.Key("to").String(t.To);
      if (s.Plan) w.Key("dummy").String(t.Name);
    }
    time("duration", t.Duration);
    if (t.Est.ThreePoint)
      w.Key("estimate").Value({{"optimistic", t.Est.O},
                               {"most_likely", t.Est.M},
                               {"pessimistic", t.Est.P},
                               {"mean", std::round(t.Est.Mean() * 10000) / 10000},
                               {"variance", std::round(t.Est.Variance() * 10000) / 10000}});
    time("earliest_start", t.EarliestStart);
    if (s.Plan) time("earliest_finish", int64_t{t.EarliestStart} + t.Duration);
    time("latest_start", t.LatestStart);
    if (s.Plan) time("latest_finish", int64_t{t.LatestStart} + t.Duration);
    if (dates) {
      w.Key("es_date").Date(StartDate(s, t.EarliestStart));
      w.Key("ef_date").Date(FinishDate(s, t.EarliestStart, t.Duration));
      w.Key("ls_date").Date(StartDate(s, t.LatestStart));
      w.Key("lf_date").Date(FinishDate(s, t.LatestStart, t.Duration));
    }
    time("total_float", t.Slack);
    time("free_float", t.FreeFloat);
    w.Key("critical").Bool(t.Critical);
    w.End('}');
  };
  auto link = [&](const std::string& from, const std::string& to, LinkType type, int32_t lag) {
    w.Record("from", from, "to", to, "type", JsonWriter::LinkValue{type, lag});
  };
  if (s.Source) {
    const PlanTasks& plan = *s.Source;
    // One record for every task: its strings keep their room.
    TaskTimes k;
    for (std::size_t i = 0; i < plan.size(); ++i) {
      PlanTaskTimes(plan[i], s.Figures[i], k);
      task(k);
    }
    w.End(']');
    w.Key("links").Begin('[');
    for (const PlanTask& t : plan)
      for (const PlanLink& l : t.Predecessors) link(plan[l.Task].Id, t.Id, l.Type, l.Lag);
    w.End(']');
  } else {
    for (const auto& t : s.Tasks) task(t);
    w.End(']');
    if (s.Plan) {
      w.Key("links").Begin('[');
      for (const auto& l : s.Links) link(s.Tasks[l.From].Id, s.Tasks[l.To].Id, l.Type, l.Lag);
      w.End(']');
    }
  }
  w.Key("critical").Begin('[');
  for (const auto& c : s.Critical) w.String(c);
  w.End(']');
  if (s.Pert)
    w.Key("pert").Value({{"mean", TimeJson(s, static_cast<int64_t>(s.Pert->Mean))},
                         {"std_dev", std::round(s.Pert->StdDev * 10000) / 10000},
                         {"path", s.Pert->Path}});
  if (s.Simulation) w.Key("simulation").Value(SimulationJson(s));
  w.End('}');
  w.Finish();
}

std::string RenderDot(const Schedule& s) {
  std::ostringstream dot;
  auto floats = [&](const TaskTimes& t) {
    return t.Slack || t.FreeFloat ? " (float " + Time(s, t.Slack) + ", free " + Time(s, t.FreeFloat) + ")"
                                  : std::string();
  };
  dot << "digraph project {\n  rankdir=LR;\n  node [shape=ellipse, fontname=\"Helvetica\"];\n"
         "  edge [fontname=\"Helvetica\"];\n";
  if (s.Plan && s.Events.empty()) {
    // A plan is drawn as it was written: the tasks are the nodes.
    for (const auto& t : s.Tasks) {
      std::string label = DotQuote(t.Id + (t.Name.empty() ? "" : ": " + t.Name));
      label.insert(label.size() - 1, "\\n" + Time(s, t.EarliestStart) + " to " +
                                         Time(s, int64_t{t.EarliestStart} + t.Duration) + floats(t));
      dot << "  " << DotQuote(t.Id) << " [shape=box, label=" << label;
      if (t.Critical) dot << ", color=\"#d62728\", penwidth=2";
      dot << "];\n";
    }
    for (const auto& l : s.Links) {
      dot << "  " << DotQuote(s.Tasks[l.From].Id) << " -> " << DotQuote(s.Tasks[l.To].Id)
          << " [label=" << DotQuote(LinkText(l.Type, l.Lag));
      if (l.Critical) dot << ", color=\"#d62728\", fontcolor=\"#d62728\", penwidth=2.5";
      dot << "];\n";
    }
    dot << "}\n";
    return dot.str();
  }
  for (const auto& e : s.Events) {
    // Graphviz reads \n inside a quoted label as a line break.
    std::string label = DotQuote(e.Name);
    label.insert(label.size() - 1,
                 "\\n" + Time(s, e.Earliest) + " / " + Time(s, e.Latest));
    dot << "  " << DotQuote(e.Name) << " [label=" << label;
    if (e.Earliest == e.Latest) dot << ", color=\"#d62728\", penwidth=2";
    dot << "];\n";
  }
  for (const auto& t : s.Tasks) {
    dot << "  " << DotQuote(t.From) << " -> " << DotQuote(t.To) << " [label="
        << DotQuote(Time(s, t.Duration) + floats(t));
    if (t.Critical) dot << ", color=\"#d62728\", fontcolor=\"#d62728\", penwidth=2.5";
    dot << "];\n";
  }
  dot << "}\n";
  return dot.str();
}

std::string RenderGanttSvg(const Schedule& all) {
  // A plan's dummies get no bar.
  Schedule s = all;
  if (s.Plan)
    s.Tasks.erase(std::remove_if(s.Tasks.begin(), s.Tasks.end(),
                                 [](const TaskTimes& t) { return t.Id.empty(); }),
                  s.Tasks.end());
  // Geometry in pixels; text widths are estimated for a 12 px sans-serif font.
  const double charWidth = 7.0, rowHeight = 24, barHeight = 14, chartWidth = 720;
  std::size_t longest = 4;
  for (const auto& t : s.Tasks) longest = std::max(longest, TaskName(t).size());
  const double left = 16 + charWidth * static_cast<double>(longest) + 12;
  const double top = 70;
  const double chartHeight =
      rowHeight * static_cast<double>(std::max<std::size_t>(s.Tasks.size(), 1));
  const int32_t span = std::max(1, s.CompletionTime);
  const double scale = chartWidth / span;
  auto X = [&](int32_t t) { return left + scale * t; };

  // Event names under the axis, one label per distinct time.
  std::map<int32_t, std::string> marks;
  for (const auto& e : s.Events) {
    std::string& m = marks[e.Earliest];
    m += (m.empty() ? "" : ", ") + e.Name;
  }
  std::size_t longestMark = 0;
  for (const auto& [t, m] : marks) longestMark = std::max(longestMark, m.size());
  const double axisY = top + chartHeight;
  // Event labels run down at 60 degrees, so that names one time unit apart
  // do not overlap; the picture leaves room for the longest.
  const double labelLength = charWidth * static_cast<double>(longestMark);
  const double width = left + chartWidth + std::max(40.0, 0.5 * labelLength + 10);
  const double height = axisY + 24 + 0.87 * labelLength + 10;

  std::ostringstream svg;
  svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << std::ceil(width) << "\" height=\""
      << std::ceil(height) << "\" viewBox=\"0 0 " << std::ceil(width) << ' ' << std::ceil(height)
      << "\" font-family=\"DejaVu Sans, Helvetica, Arial, sans-serif\" font-size=\"12\">\n"
      << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
      << "<text x=\"16\" y=\"26\" font-size=\"16\" font-weight=\"bold\">Project schedule: "
         "completion time "
      << Time(s, s.CompletionTime)
      << (s.Calendar ? " working days, " + StartDate(s, 0) + " to " +
                           CompletionDate(s, s.CompletionTime)
                     : std::string())
      << "</text>\n"
      // Legend.
      << "<rect x=\"16\" y=\"40\" width=\"14\" height=\"10\" fill=\"#d62728\"/>"
         "<text x=\"36\" y=\"49\">critical task</text>\n"
      << "<rect x=\"136\" y=\"40\" width=\"14\" height=\"10\" fill=\"#1f77b4\"/>"
         "<text x=\"156\" y=\"49\">task</text>\n"
      << "<rect x=\"206\" y=\"40\" width=\"14\" height=\"10\" fill=\"#1f77b4\" "
         "fill-opacity=\"0.15\" "
         "stroke=\"#1f77b4\" stroke-dasharray=\"3,2\"/><text x=\"226\" y=\"49\">total float, "
         "the free float shaded</text>\n";

  // Grid and time scale: with a calendar a line a week at its first working
  // day, labelled with the week's Monday; otherwise about ten round times.
  auto gridLine = [&](int64_t t, const std::string& label) {
    svg << "<line x1=\"" << X(t) << "\" y1=\"" << top << "\" x2=\"" << X(t) << "\" y2=\"" << axisY
        << "\" stroke=\"#e5e5e5\"/>\n";
    if (!label.empty())
      svg << "<text x=\"" << X(t) << "\" y=\"" << top - 6 << "\" text-anchor=\"middle\" fill=\"#555\">"
          << label << "</text>\n";
  };
  if (s.Calendar) {
    using namespace std::chrono;
    sys_days first = s.Calendar->Day(0);
    sys_days monday = first - (weekday{first} - Monday);
    sys_days last = s.Calendar->Day(span);
    // Labels some 90 pixels apart at least.
    const int64_t weeks = (last - monday).count() / 7 + 1;
    const int64_t every = std::max<int64_t>(1, (weeks * 90 + static_cast<int64_t>(chartWidth) - 1) /
                                                   static_cast<int64_t>(chartWidth));
    int64_t previous = -1;
    for (int64_t w = 0; monday + days{7 * w} <= last; ++w) {
      int64_t t = std::max<int64_t>(0, s.Calendar->TimeOf(monday + days{7 * w}));
      if (t == previous || t > span) continue;  // a week of holidays
      previous = t;
      gridLine(t, w % every ? "" : IsoDate(monday + days{7 * w}));
    }
  } else {
    const int32_t step = TickStep(span / s.Scale) * s.Scale;
    for (int32_t t = 0; t <= span; t += step) {
      gridLine(t, Time(s, t));
      if (span - t < step && t != span) t = span - step;  // always label the end
    }
  }

  // One row per task: the bar at its earliest start, its slack after it.
  double y = top;
  for (const auto& t : s.Tasks) {
    const double barY = y + (rowHeight - barHeight) / 2;
    const char* colour = t.Critical ? "#d62728" : "#1f77b4";
    svg << "<text x=\"" << left - 10 << "\" y=\"" << barY + barHeight - 3
        << "\" text-anchor=\"end\">" << XmlEscape(TaskName(t)) << "</text>\n";
    svg << "<rect x=\"" << X(t.EarliestStart) << "\" y=\"" << barY << "\" width=\""
        << std::max(1.0, scale * t.Duration) << "\" height=\"" << barHeight << "\" fill=\""
        << colour << "\"><title>" << XmlEscape(TaskName(t)) << ": "
        << (s.Calendar ? StartDate(s, t.EarliestStart) : Time(s, t.EarliestStart)) << " to "
        << (s.Calendar ? FinishDate(s, t.EarliestStart, t.Duration)
                       : Time(s, int64_t{t.EarliestStart} + t.Duration))
        << ", total float " << Time(s, t.Slack) << ", free float " << Time(s, t.FreeFloat)
        << "</title></rect>\n";
    if (t.Slack > 0)
      svg << "<rect x=\"" << X(t.EarliestStart + t.Duration) << "\" y=\"" << barY << "\" width=\""
          << scale * t.Slack << "\" height=\"" << barHeight << "\" fill=\"" << colour
          << "\" fill-opacity=\"0.15\" stroke=\"" << colour << "\" stroke-dasharray=\"3,2\"/>\n";
    if (t.FreeFloat > 0)
      svg << "<rect x=\"" << X(t.EarliestStart + t.Duration) << "\" y=\"" << barY << "\" width=\""
          << scale * t.FreeFloat << "\" height=\"" << barHeight << "\" fill=\"" << colour
          << "\" fill-opacity=\"0.3\"/>\n";
    y += rowHeight;
  }

  // The axis with the events at their earliest times.
  svg << "<line x1=\"" << left << "\" y1=\"" << axisY << "\" x2=\"" << left + chartWidth
      << "\" y2=\"" << axisY << "\" stroke=\"#333\"/>\n";
  for (const auto& [t, names] : marks) {
    svg << "<line x1=\"" << X(t) << "\" y1=\"" << top << "\" x2=\"" << X(t) << "\" y2=\""
        << axisY + 6 << "\" stroke=\"#333\" stroke-dasharray=\"2,3\" stroke-opacity=\"0.5\"/>\n"
        << "<text transform=\"translate(" << X(t) + 4 << ',' << axisY + 16
        << ") rotate(60)\" fill=\"#333\">" << XmlEscape(names) << "</text>\n";
  }
  svg << "</svg>\n";
  return svg.str();
}

}  // namespace pel::cli
