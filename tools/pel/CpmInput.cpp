// Reading project networks written by people: text and CSV.
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <istream>
#include <limits>
#include <string_view>

#include "pel/CpmSchedule.h"

namespace pel::cli {

namespace {

[[noreturn]] void Fail(const std::string& file, int line, const std::string& what) {
  throw CpmError(file + ":" + std::to_string(line) + ": " + what);
}

// A duration is a whole number from 0 to the largest 32-bit value.
int32_t ParseDuration(std::string_view text, const std::string& file, int line) {
  if (text.empty()) Fail(file, line, "missing duration");
  auto quoted = [&] { return "duration '" + std::string(text) + "'"; };
  if (text[0] == '-' && text.size() > 1 &&
      std::all_of(text.begin() + 1, text.end(), [](unsigned char c) { return std::isdigit(c); }))
    Fail(file, line, quoted() + " is negative");
  int64_t value = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec == std::errc::result_out_of_range ||
      (ec == std::errc() && end == text.data() + text.size() &&
       value > std::numeric_limits<int32_t>::max()))
    Fail(file, line, quoted() + " is too large");
  if (ec != std::errc() || end != text.data() + text.size() ||
      !std::isdigit(static_cast<unsigned char>(text[0])))
    Fail(file, line, quoted() + " is not a whole number");
  return static_cast<int32_t>(value);
}

// A whole duration, or three "O/M/P" with O <= M <= P.
Estimate ParseEstimate(std::string_view text, const std::string& file, int line) {
  Estimate e;
  std::size_t a = text.find('/');
  if (a == std::string::npos) {
    e.O = e.M = e.P = ParseDuration(text, file, line);
    return e;
  }
  std::size_t b = text.find('/', a + 1);
  if (b == std::string::npos || text.find('/', b + 1) != std::string::npos)
    Fail(file, line, "estimate '" + std::string(text) + "' is not OPTIMISTIC/LIKELY/PESSIMISTIC");
  e.O = ParseDuration(text.substr(0, a), file, line);
  e.M = ParseDuration(text.substr(a + 1, b - a - 1), file, line);
  e.P = ParseDuration(text.substr(b + 1), file, line);
  if (e.O > e.M || e.M > e.P)
    Fail(file, line,
         "estimate '" + std::string(text) +
             "' is not in order: optimistic <= most likely <= pessimistic");
  e.ThreePoint = true;
  return e;
}

bool ReadLine(std::istream& in, std::string& line) {
  if (!std::getline(in, line)) return false;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return true;
}

std::string_view TrimView(std::string_view s) {
  std::size_t b = s.find_first_not_of(" \t");
  if (b == std::string_view::npos) return {};
  return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

std::string Trim(const std::string& s) { return std::string(TrimView(s)); }

// The lines of a text as getline gives them, without a '\r' before the '\n'.
bool NextLine(std::string_view& rest, std::string_view& line) {
  if (rest.empty()) return false;
  std::size_t end = rest.find('\n');
  line = rest.substr(0, end);
  rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return true;
}

// The fields of a line without quotes: between the commas, blanks trimmed.
void SplitPlain(std::string_view line, std::vector<std::string_view>& fields) {
  for (std::size_t at = 0;;) {
    std::size_t end = std::min(line.find(',', at), line.size());
    fields.push_back(TrimView(line.substr(at, end - at)));
    if (end == line.size()) return;
    at = end + 1;
  }
}

// Splits one CSV record; fields may be quoted, with "" for a quote inside.
std::vector<std::string> SplitCsv(const std::string& line, const std::string& file, int n) {
  if (line.find('"') == std::string::npos) {
    std::vector<std::string_view> plain;
    SplitPlain(line, plain);
    return {plain.begin(), plain.end()};
  }
  std::vector<std::string> fields(1);
  bool quoted = false, wasQuoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    char c = line[i];
    if (quoted) {
      if (c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
        fields.back() += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        fields.back() += c;
      }
    } else if (c == '"' && Trim(fields.back()).empty() && !wasQuoted) {
      fields.back().clear();
      quoted = wasQuoted = true;
    } else if (c == ',') {
      fields.emplace_back();
      wasQuoted = false;
    } else {
      fields.back() += c;
    }
  }
  if (quoted) Fail(file, n, "unterminated quoted field");
  for (auto& f : fields) f = Trim(f);
  return fields;
}

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

}  // namespace

std::vector<TaskLine> ParseTextNetwork(std::istream& in, const std::string& file) {
  std::vector<TaskLine> tasks;
  std::string line;
  for (int n = 1; ReadLine(in, line); ++n) {
    line = line.substr(0, line.find('#'));
    std::vector<std::string> words;
    std::size_t i = 0;
    while (true) {
      i = line.find_first_not_of(" \t\v\f", i);
      if (i == std::string::npos) break;
      std::size_t e = line.find_first_of(" \t\v\f", i);
      words.push_back(line.substr(i, e == std::string::npos ? e : e - i));
      i = e;
    }
    if (words.empty()) continue;
    if (words.size() < 3)
      Fail(file, n,
           "expected FROM TO DURATION, found " + std::to_string(words.size()) +
               (words.size() == 1 ? " field" : " fields"));
    if (words.size() > 3) Fail(file, n, "unexpected '" + words[3] + "' after the duration");
    Estimate e = ParseEstimate(words[2], file, n);
    tasks.push_back({words[0], words[1], e.P, n, e});
  }
  return tasks;
}

namespace {

// The columns of a CSV header line, found by name in any case. A missing
// required column fails naming the columns expected.
struct CsvHeader {
  std::vector<std::string> Names;
  const char* Expected;
  const std::string& File;
  int Line;

  // The column's index; Names.size() for a missing optional column.
  std::size_t Column(const char* wanted, bool required = true) const {
    auto it = std::find(Names.begin(), Names.end(), wanted);
    if (it == Names.end() && required)
      Fail(File, Line,
           std::string("the header has no '") + wanted + "' column (expected " + Expected + ")");
    return static_cast<std::size_t>(it - Names.begin());
  }
};

CsvHeader ReadHeader(const std::vector<std::string>& fields, const char* expected,
                     const std::string& file, int n) {
  CsvHeader h{{}, expected, file, n};
  for (auto& f : fields) h.Names.push_back(Lower(f));
  return h;
}

void RequireFields(const std::vector<std::string>& fields, std::size_t needed,
                   const std::string& file, int n) {
  if (fields.size() < needed)
    Fail(file, n,
         "expected " + std::to_string(needed) + " fields, found " + std::to_string(fields.size()));
}

}  // namespace

std::vector<TaskLine> ParseCsvNetwork(std::istream& in, const std::string& file) {
  std::vector<TaskLine> tasks;
  std::string line;
  int n = 0;
  std::size_t from = 0, to = 0, duration = 0, needed = 0;
  bool header = false;
  while (ReadLine(in, line)) {
    ++n;
    if (Trim(line).empty()) continue;
    std::vector<std::string> fields = SplitCsv(line, file, n);
    if (!header) {
      CsvHeader h = ReadHeader(fields, "from,to,duration", file, n);
      from = h.Column("from");
      to = h.Column("to");
      duration = h.Column("duration");
      needed = std::max({from, to, duration}) + 1;
      header = true;
      continue;
    }
    RequireFields(fields, needed, file, n);
    if (fields[from].empty() || fields[to].empty()) Fail(file, n, "missing event name");
    Estimate e = ParseEstimate(fields[duration], file, n);
    tasks.push_back({fields[from], fields[to], e.P, n, e});
  }
  if (!header) Fail(file, std::max(n, 1), "no header line (expected from,to,duration)");
  return tasks;
}

char* WriteLinkText(char* at, LinkType type, int32_t lag) {
  static constexpr char names[][3] = {"FS", "SS", "FF", "SF"};
  std::memcpy(at, names[static_cast<int>(type)], 2);
  at += 2;
  if (lag > 0) *at++ = '+';
  return lag ? std::to_chars(at, at + 11, lag).ptr : at;
}

std::string LinkText(LinkType type, int32_t lag) {
  char text[MaxLinkText];
  return std::string(text, WriteLinkText(text, type, lag));
}

bool HasPlanHeader(const std::string& data) {
  std::string_view rest = data, line;
  while (NextLine(rest, line)) {
    if (TrimView(line).empty()) continue;
    std::vector<std::string> names;
    try {
      for (auto& f : SplitCsv(std::string(line), "", 1)) names.push_back(Lower(f));
    } catch (const CpmError&) {
      return false;
    }
    auto has = [&](const char* n) {
      return std::find(names.begin(), names.end(), n) != names.end();
    };
    return has("id") && has("predecessors");
  }
  return false;
}

namespace {

bool ValidId(std::string_view id) {
  return !id.empty() && id.find_first_of(" \t;:()") == std::string::npos;
}

// One CSV record's fields into Fields. Unquoted fields are views of the line;
// a line with quotes is split by SplitCsv into Storage, which the views then
// show.
void SplitFields(std::string_view line, const std::string& file, int n,
                 std::vector<std::string_view>& fields, std::vector<std::string>& storage) {
  fields.clear();
  if (line.find('"') == std::string_view::npos) return SplitPlain(line, fields);
  storage = SplitCsv(std::string(line), file, n);
  fields.assign(storage.begin(), storage.end());
}

// "B", "B FS+2", "B SS", "B FF-1": an id, then optionally a type and a signed
// lag. The id goes to Id; the link's task is found later.
PlanLink ParseLink(std::string_view text, std::string_view& id, const std::string& file, int n) {
  PlanLink link;
  std::size_t blank = text.find_first_of(" \t");
  id = text.substr(0, blank);
  std::string_view rest = blank == std::string_view::npos ? "" : TrimView(text.substr(blank));
  auto bad = [&] {
    Fail(file, n,
         "predecessor '" + std::string(text) +
             "' is not ID or ID TYPE[+-LAG] (TYPE FS, SS, FF or SF)");
  };
  if (!ValidId(id)) bad();
  if (rest.empty()) return link;
  std::string type(rest.substr(0, 2));
  for (char& c : type) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  static const char* names[] = {"FS", "SS", "FF", "SF"};
  auto it = std::find_if(std::begin(names), std::end(names), [&](const char* t) { return type == t; });
  if (it == std::end(names)) bad();
  link.Type = static_cast<LinkType>(it - std::begin(names));
  std::string_view lag = rest.substr(2);
  if (lag.empty()) return link;
  if ((lag[0] != '+' && lag[0] != '-') || lag.size() < 2 ||
      !std::all_of(lag.begin() + 1, lag.end(), [](unsigned char c) { return std::isdigit(c); }))
    bad();
  int64_t value = 0;
  auto [end, ec] = std::from_chars(lag.data() + 1, lag.data() + lag.size(), value);
  if (ec != std::errc() || value > std::numeric_limits<int32_t>::max())
    Fail(file, n, "lag '" + std::string(lag) + "' is too large");
  link.Lag = static_cast<int32_t>(lag[0] == '-' ? -value : value);
  return link;
}

// The tasks of a plan by id: open addressing over the tasks' places, the
// ids themselves being the keys. A slot keeps the top half of its id's hash
// beside the place, so a search reads the tasks only where that half
// matches: a plan of a million tasks is not read at random for every id.
class TaskIndex {
 public:
  explicit TaskIndex(const std::vector<PlanTask>& tasks) : FTasks(tasks) {}
  // The place of the task of that id, or npos.
  std::size_t Find(std::string_view id) const {
    if (FSlots.empty()) return npos;
    const std::size_t mask = FSlots.size() - 1;
    const uint64_t hash = Hash(id), tag = hash & TagMask;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
      const uint64_t slot = FSlots[i];
      if (slot == 0) return npos;
      const std::size_t place = static_cast<std::size_t>(slot & ~TagMask) - 1;
      if ((slot & TagMask) == tag && FTasks[place].Id == id) return place;
    }
  }
  // Asks for the memory where a search for id starts, ahead of the search.
  void Prefetch(std::string_view id) const {
    if (!FSlots.empty()) __builtin_prefetch(&FSlots[Hash(id) & (FSlots.size() - 1)]);
  }
  // Adds the task at place Task under its id (not indexed yet).
  void Add(std::size_t Task) {
    if ((FCount + 1) * 2 > FSlots.size()) Grow();
    Put(Task);
    ++FCount;
  }
  void Reserve(std::size_t count) {
    while (count * 2 > FSlots.size()) Grow();
  }
  static constexpr std::size_t npos = std::size_t(-1);

 private:
  static constexpr uint64_t TagMask = ~uint64_t{0} << 32;
  static uint64_t Hash(std::string_view id) { return std::hash<std::string_view>()(id); }
  void Put(std::size_t Task) {
    const std::size_t mask = FSlots.size() - 1;
    const uint64_t hash = Hash(FTasks[Task].Id);
    std::size_t i = hash & mask;
    while (FSlots[i]) i = (i + 1) & mask;
    FSlots[i] = (hash & TagMask) | (Task + 1);
  }
  void Grow() {
    std::vector<uint64_t> old(std::max<std::size_t>(64, FSlots.size() * 2));
    old.swap(FSlots);
    for (uint64_t slot : old)
      if (slot) Put(static_cast<std::size_t>(slot & ~TagMask) - 1);
  }
  const std::vector<PlanTask>& FTasks;
  std::vector<uint64_t> FSlots;  // hash tag | a task's place plus one; 0 is free
  std::size_t FCount = 0;
};

}  // namespace

PlanTasks ParsePlan(std::string_view data, const std::string& file) {
  PlanTasks tasks;
  ParsePlan(data, BoundsOfPlan(data), file, tasks, {});
  return tasks;
}

PlanBounds BoundsOfPlan(std::string_view data) {
  // Both characters in one pass, sixteen bytes at a time: a byte that
  // matches compares as all ones, and taking that away from a byte counter
  // adds one; the counters are emptied before they can wrap.
  using Bytes = unsigned char __attribute__((vector_size(16)));
  const Bytes newline = Bytes{} + '\n', semicolon = Bytes{} + ';';
  std::size_t lines = 1, semicolons = 0, at = 0;
  while (data.size() - at >= 16) {
    Bytes n{}, s{};
    const std::size_t end = at + 16 * std::min<std::size_t>(255, (data.size() - at) / 16);
    for (; at < end; at += 16) {
      Bytes b;
      std::memcpy(&b, data.data() + at, 16);
      n -= reinterpret_cast<Bytes>(b == newline);
      s -= reinterpret_cast<Bytes>(b == semicolon);
    }
    for (int i = 0; i < 16; ++i) {
      lines += n[i];
      semicolons += s[i];
    }
  }
  for (; at < data.size(); ++at) {
    lines += data[at] == '\n';
    semicolons += data[at] == ';';
  }
  return {lines, lines + semicolons};
}

void ParsePlan(std::string_view data, PlanBounds bounds, const std::string& file, PlanTasks& tasks,
               const std::function<void(const PlanTask*, std::size_t, std::size_t)>& ready) {
  std::vector<PlanLink>& links = tasks.Links;
  TaskIndex index(tasks);
  // A predecessor not defined yet, found once every task is read.
  struct Pending {
    std::size_t Task, Link;  // Link: the place in Links
    std::string Id;
  };
  std::vector<Pending> pending;
  std::vector<std::string_view> fields;
  std::vector<std::string> storage;
  // Room for every line: the tasks never move (Ready relies on it), nor do
  // their links (each task's Predecessors is a view of them).
  tasks.reserve(bounds.Tasks);
  // At most one link a ';' or line.
  links.reserve(bounds.Links);
  index.Reserve(bounds.Tasks);
  int n = 0;
  std::size_t id = 0, name = 0, duration = 0, predecessors = 0, needed = 0;
  bool header = false, named = false;
  std::string_view rest = data, line;
  while (NextLine(rest, line)) {
    ++n;
    if (TrimView(line).empty()) continue;
    // With the ids in the first column, the next line's id is looked up
    // long before it is needed: the lookups of a large plan wait for memory.
    if (header && id == 0) {
      std::size_t end = 0;
      while (end < rest.size() && end < 64 && rest[end] != ',' && rest[end] != '\n') ++end;
      index.Prefetch(TrimView(rest.substr(0, end)));
    }
    SplitFields(line, file, n, fields, storage);
    if (!header) {
      std::vector<std::string> names(fields.begin(), fields.end());
      CsvHeader h = ReadHeader(names, "id,name,duration,predecessors", file, n);
      id = h.Column("id");
      duration = h.Column("duration");
      predecessors = h.Column("predecessors");
      name = h.Column("name", false);
      named = name < h.Names.size();
      needed = std::max({id, duration, predecessors, named ? name : 0}) + 1;
      header = true;
      continue;
    }
    // A missing last field is an empty list of predecessors.
    if (fields.size() + 1 == needed && predecessors == needed - 1) fields.emplace_back();
    if (fields.size() < needed)
      Fail(file, n,
           "expected " + std::to_string(needed) + " fields, found " +
               std::to_string(fields.size()));
    std::string_view taskId = fields[id];
    std::string_view list = fields[predecessors];
    if (!ValidId(taskId))
      Fail(file, n, taskId.empty() ? "missing task id"
                                   : "task id '" + std::string(taskId) +
                                         "' has a blank, ';', ':' or a parenthesis");
    if (std::size_t known = index.Find(taskId); known != TaskIndex::npos)
      Fail(file, n, "task '" + std::string(taskId) + "' is already defined on line " +
                        std::to_string(tasks[known].Line));
    if (ready && !tasks.empty() && tasks.size() % 4096 == 0)
      ready(tasks.data(), tasks.size(), pending.empty() ? tasks.size() : pending.front().Task);
    PlanTask& t = tasks.emplace_back();
    t.Id = taskId;
    index.Add(tasks.size() - 1);
    if (named) t.Name = fields[name];
    t.Est = ParseEstimate(fields[duration], file, n);
    t.Duration = t.Est.P;
    t.Line = n;
    const std::size_t firstLink = links.size();
    for (std::size_t at = 0; at <= list.size();) {
      std::size_t end = std::min(list.find(';', at), list.size());
      std::string_view item = TrimView(list.substr(at, end - at));
      at = end + 1;
      if (item.empty()) continue;
      std::string_view linkId;
      PlanLink link = ParseLink(item, linkId, file, n);
      if (linkId == t.Id) Fail(file, n, "task '" + t.Id + "' is its own predecessor");
      link.Task = index.Find(linkId);
      if (link.Task == TaskIndex::npos)
        pending.push_back({tasks.size() - 1, links.size(), std::string(linkId)});
      links.push_back(link);
    }
    t.Predecessors = std::span<PlanLink>(links).subspan(firstLink);
  }
  if (!header) Fail(file, std::max(n, 1), "no header line (expected id,name,duration,predecessors)");
  for (const Pending& p : pending) {
    std::size_t found = index.Find(p.Id);
    if (found == TaskIndex::npos)
      Fail(file, tasks[p.Task].Line, "predecessor '" + std::string(p.Id) + "' is not a task of the plan");
    links[p.Link].Task = found;
  }
}

}  // namespace pel::cli
