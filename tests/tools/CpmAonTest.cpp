#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "pel/CpmCommand.h"
#include "pel/CpmSchedule.h"
#include "tools/RunCommand.h"

namespace {

using nlohmann::json;

using pel::test::Result;

const pel::test::Command Cpm{pel::cli::RunCpm};

// A plan read from standard input as tasks; its tasks by id.
std::map<std::string, json> Plan(const std::string& csv, std::vector<std::string> extra = {}) {
  extra.insert(extra.begin(), {"--json", "--aon"});
  extra.push_back("-");
  Result r = Cpm(extra, csv);
  EXPECT_EQ(r.Status, 0) << r.Err;
  std::map<std::string, json> tasks;
  if (r.Status) return tasks;
  json j = json::parse(r.Out);
  tasks["*"] = j;
  for (const auto& t : j["tasks"])
    tasks[t.contains("id") ? t["id"].get<std::string>() : t["dummy"].get<std::string>()] = t;
  return tasks;
}

}  // namespace

// X (10) then A (4, from 10 to 14); B (3) hangs on A or X by one link.
// Times worked out by hand: FS from A's finish, SS from its start, FF and SF
// fix B's finish, so B starts its duration earlier; a lead never moves B
// before the project start.
TEST(CpmAon, EachLinkTypeWithLagAndLead) {
  struct Case {
    const char* Link;
    int Start;
  };
  const Case cases[] = {
      {"A FS+2", 16}, {"A", 14},     {"A FS-3", 11}, {"A SS", 10},  {"A SS-3", 7},  {"A FF+2", 13},
      {"A FF-1", 10}, {"A SF+2", 9}, {"A sf-3", 4},  {"X SS-5", 0}, {"X FF-20", 0}, {"X SF+1", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Link);
    auto t = Plan(std::string("ID,Duration,Predecessors\nX,10,\nA,4,X\nB,3,") + c.Link + "\n");
    if (t.empty()) continue;
    const json& b = t["B"];
    EXPECT_EQ(b["earliest_start"], c.Start);
    EXPECT_EQ(b["earliest_finish"], c.Start + 3);
    int completion = std::max(14, c.Start + 3);
    EXPECT_EQ(t["*"]["completion_time"], completion);
    // B has no successor: both floats run to the project finish.
    EXPECT_EQ(b["total_float"], completion - c.Start - 3);
    EXPECT_EQ(b["free_float"], b["total_float"]);
    // The link reads back as written, a plain "ID" as FS, the type in capitals.
    std::string type = std::string(c.Link).substr(std::min<std::size_t>(2, std::strlen(c.Link)));
    for (char& ch : type) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    EXPECT_EQ(t["*"]["links"].back()["type"], type.empty() ? "FS" : type);
  }
  // The converted network: a lead is a dummy of negative duration, FF and SF
  // links run to the successor's start less its duration.
  auto t = Plan("id,duration,predecessors\nA,4,\nB,3,A FS-3\nC,5,A FF+1\n", {"--show-dummies"});
  EXPECT_EQ(t["A FS-3 B"]["duration"], -3);
  EXPECT_EQ(t["A FS-3 B"]["from"], "A:finish");
  EXPECT_EQ(t["A FF+1 C"]["duration"], 1 - 5);
  EXPECT_EQ(t["A FF+1 C"]["to"], "C:start");
  EXPECT_EQ(t["*"]["events"].front()["name"], "(start)");
  EXPECT_EQ(t["*"]["events"].back()["name"], "(finish)");
  EXPECT_FALSE(Plan("id,duration,predecessors\nA,4,\n")["*"].contains("events"));
}

// A 3; B 2 and C 5 after A; D 1 after B; E 2 after C and D; F 1 starting 1
// after B starts. By hand: A 0-3, B 3-5, C 3-8, D 5-6, E 8-10, F 4-5.
TEST(CpmAon, TotalAndFreeFloatOfAWorkedExample) {
  auto t = Plan(
      "id,name,duration,predecessors\nA,dig,3,\nB,,2,A\nC,,5,A\nD,,1,B\nE,,2,C;D\nF,,1,B SS+1\n");
  ASSERT_FALSE(t.empty());
  const std::map<std::string, std::pair<int, int>> floats{
      {"A", {0, 0}}, {"B", {2, 0}}, {"C", {0, 0}}, {"D", {2, 2}}, {"E", {0, 0}}, {"F", {5, 5}}};
  for (const auto& [id, f] : floats) {
    SCOPED_TRACE(id);
    EXPECT_EQ(t[id]["total_float"], f.first);
    EXPECT_EQ(t[id]["free_float"], f.second);
    EXPECT_EQ(t[id]["critical"], f.first == 0);
  }
  EXPECT_EQ(t["A"]["name"], "dig");
  EXPECT_EQ(t["*"]["critical"], json::array({"A", "C", "E"}));
  EXPECT_EQ(t["*"]["links"][5], json({{"from", "B"}, {"to", "F"}, {"type", "SS+1"}}));

  // The house as tasks is the house as events: the two rough-in inspections
  // are lags.
  Result house = Cpm({"--json", std::string(PEL_SOURCE_DIR) + "/examples/house-aon.csv"});
  ASSERT_EQ(house.Status, 0) << house.Err;
  json j = json::parse(house.Out);
  EXPECT_EQ(j["completion_time"], 39);
  EXPECT_EQ(j["critical"], json::array({"permit", "footings", "frame", "roof", "windows",
                                        "insulation", "drywall", "inspection"}));
  // The other forms carry both floats too.
  std::string dot = Cpm({"--dot", std::string(PEL_SOURCE_DIR) + "/examples/house-aon.csv"}).Out;
  EXPECT_NE(dot.find("\"siding\" [shape=box, label=\"siding: Siding and gutters\\n25 to 31 "
                     "(float 4, free 0)\"];"),
            std::string::npos);
  EXPECT_NE(dot.find("\"wiring\" -> \"drywall\" [label=\"FS+2\"];"), std::string::npos);
}

TEST(CpmAon, BadPlansAndCyclesNameTheirLines) {
  struct Case {
    const char* Text;
    const char* Message;
  };
  const Case cases[] = {
      {"id,duration\nA,1\n", "p.csv:1: the header has no 'predecessors' column"},
      {"id,duration,predecessors\nA,1,\nA,2,\n", "p.csv:3: task 'A' is already defined on line 2"},
      {"id,duration,predecessors\nA,1,\nB,1,A;Z\n", "p.csv:3: predecessor 'Z' is not a task"},
      {"id,duration,predecessors\nA,1,A SS\n", "p.csv:2: task 'A' is its own predecessor"},
      {"id,duration,predecessors\nA,1,\nB,1,A XY+1\n", "p.csv:3: predecessor 'A XY+1' is not"},
      {"id,duration,predecessors\nA,1,\nB,1,A FS2\n", "p.csv:3: predecessor 'A FS2' is not"},
      {"id,duration,predecessors\nA (x),1,\n", "p.csv:2: task id 'A (x)' has a blank"},
      {"id,duration,predecessors\nA,2000000000,\nB,1,A FF-2000000000\n",
       "p.csv:3: the durations and lags add up to more than 2147483647"},
      {"id,duration,predecessors\nS,1,\nA,1,S;C\nB,1,A FF\nC,2,B SS+1\nD,1,C\n",
       "p.csv: Graph is not acyclic: A -> B -> C -> A (lines 3, 4, 5)"},
      {"id,duration,predecessors\nA,1,B SF-1\nB,1,A\n",
       "p.csv: Graph is not acyclic: A -> B -> A (lines 2, 3)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Text);
    std::string path = ::testing::TempDir() + "p.csv";
    std::ofstream(path, std::ios::binary) << c.Text;
    Result r = Cpm({"--aon", path});
    EXPECT_EQ(r.Status, 2);
    EXPECT_EQ(r.Out, "");
    EXPECT_NE(r.Err.find(c.Message), std::string::npos) << r.Err;
  }
  EXPECT_EQ(Cpm({"--aon", "--from", "A:start", "-"}, "id,duration,predecessors\nA,1,\n").Status, 2);
}

// Random plans of every link type, leads included, against the plain
// definitions worked out task by task (predecessors come first in these
// plans): the conversion binds a task's finish to the project finish only
// where no successor does, and that must not change a single time.
TEST(CpmAon, RandomPlansAgreeWithTheDefinitions) {
  std::mt19937 random(5);
  const char* types[] = {"FS", "SS", "FF", "SF"};
  for (int plan = 0; plan < 20; ++plan) {
    const int n = 40;
    std::vector<long> d(n), es(n), lf(n), lse(n);
    struct Link {
      int From, To, Type;
      long Lag;
    };
    std::vector<Link> links;
    std::string csv = "id,duration,predecessors\n";
    for (int j = 0; j < n; ++j) {
      d[j] = random() % 6;
      std::string preds;
      for (int k = 0; j > 0 && k < static_cast<int>(random() % 4); ++k) {
        Link l{static_cast<int>(random() % j), j, static_cast<int>(random() % 4),
               static_cast<long>(random() % 7) - 3};
        links.push_back(l);
        preds += (preds.empty() ? "" : ";") + ("T" + std::to_string(l.From)) + " " +
                 types[l.Type] + (l.Lag >= 0 ? "+" : "") + std::to_string(l.Lag);
      }
      csv += "T" + std::to_string(j) + "," + std::to_string(d[j]) + "," + preds + "\n";
    }
    // Forward: FS and SS bind the start, FF and SF the finish; never before 0.
    for (int j = 0; j < n; ++j) {
      es[j] = 0;
      for (const Link& l : links)
        if (l.To == j) {
          long from = l.Type == 0 || l.Type == 2 ? es[l.From] + d[l.From] : es[l.From];
          es[j] = std::max(es[j], from + l.Lag - (l.Type >= 2 ? d[j] : 0));
        }
    }
    long total = 0;
    for (int j = 0; j < n; ++j) total = std::max(total, es[j] + d[j]);
    // Backward: the latest finish, and the latest time of the start event
    // (which SS and SF links out of it bound too). Every link ends at its
    // successor's start event, so FF and SF links bind by its latest start
    // plus its duration.
    for (int i = n - 1; i >= 0; --i) {
      lf[i] = total;
      for (const Link& l : links)
        if (l.From == i && (l.Type == 0 || l.Type == 2))
          lf[i] = std::min(lf[i], lse[l.To] + (l.Type == 2 ? d[l.To] : 0) - l.Lag);
      lse[i] = lf[i] - d[i];
      for (const Link& l : links)
        if (l.From == i && (l.Type == 1 || l.Type == 3))
          lse[i] = std::min(lse[i], lse[l.To] + (l.Type == 3 ? d[l.To] : 0) - l.Lag);
    }
    auto t = Plan(csv);
    ASSERT_FALSE(t.empty()) << csv;
    EXPECT_EQ(t["*"]["completion_time"], total);
    for (int i = 0; i < n; ++i) {
      const json& k = t["T" + std::to_string(i)];
      long free = total - es[i] - d[i];
      for (const Link& l : links)
        if (l.From == i) {
          long to = l.Type >= 2 ? es[l.To] + d[l.To] : es[l.To];
          long from = l.Type == 0 || l.Type == 2 ? es[i] + d[i] : es[i];
          free = std::min(free, to - l.Lag - from);
        }
      SCOPED_TRACE("plan " + std::to_string(plan) + ", T" + std::to_string(i) + "\n" + csv);
      EXPECT_EQ(k["earliest_start"], es[i]);
      EXPECT_EQ(k["latest_finish"], lf[i]);
      EXPECT_EQ(k["total_float"], lf[i] - d[i] - es[i]);
      EXPECT_EQ(k["free_float"], free);
    }
  }
}

// The room a plan's reader reserves is counted sixteen bytes at a time; it
// must be exactly a task a line and a link a line or ';', at every length
// and however dense the lines (all of them newlines: the byte counters at
// their fullest).
TEST(CpmAon, BoundsOfAPlanCountEveryLineAndSemicolon) {
  std::mt19937 rng(7);
  for (std::size_t length : {0, 1, 15, 16, 17, 255, 4079, 4080, 4081, 4096, 9000, 70000})
    for (const std::string chars : {"\n", ";", "a\n;", "abcdefgh,;\n", "\n\n\n;"}) {
      std::string data(length, ' ');
      for (char& c : data) c = chars[rng() % chars.size()];
      const auto lines = static_cast<std::size_t>(std::count(data.begin(), data.end(), '\n')) + 1;
      const auto semis = static_cast<std::size_t>(std::count(data.begin(), data.end(), ';'));
      const pel::cli::PlanBounds b = pel::cli::BoundsOfPlan(data);
      EXPECT_EQ(b.Tasks, lines) << length << " " << chars;
      EXPECT_EQ(b.Links, lines + semis) << length << " " << chars;
    }
}
