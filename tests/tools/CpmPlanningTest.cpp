// pel cpm for plans in dates and with uncertain durations: calendars,
// three-point estimates, Monte Carlo runs and what-if questions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "pel/CpmCommand.h"
#include "tools/RunCommand.h"

namespace {

using nlohmann::json;

using pel::test::Result;
using pel::test::TempFile;

const pel::test::Command Cpm{pel::cli::RunCpm};

// The JSON report of a plan read from standard input, or null on failure.
json PlanJson(const std::string& csv, std::vector<std::string> extra = {}) {
  extra.insert(extra.begin(), {"--json", "--aon"});
  extra.push_back("-");
  Result r = Cpm(extra, csv);
  EXPECT_EQ(r.Status, 0) << r.Err;
  return r.Status ? json() : json::parse(r.Out);
}

json TaskOf(const json& j, const std::string& id) {
  for (const auto& t : j["tasks"])
    if (t.value("id", "") == id) return t;
  return json();
}

}  // namespace

// X (10 days) then A (4); B (3) hangs on A or X by one link. The plan starts
// on Saturday 2026-01-03, so its first working day is Monday 5 January;
// Monday 19 January is a holiday. Working days 0-4 are 5-9 January, 5-9 are
// 12-16 January, 10-13 are 20-23 January, 14-18 are 26-30 January. B's start
// is the morning of its first day, its finish the evening of its last.
TEST(CpmPlanning, LinkTypesInWorkingDaysAcrossWeekendsAndAHoliday) {
  std::string holidays = TempFile("holidays.txt", "# days off\n\n2026-01-19  # a Monday\n");
  struct Case {
    const char* Link;
    const char *Start, *Finish;
  };
  const Case cases[] = {
      {"A FS+2", "2026-01-28", "2026-01-30"}, {"A FS-3", "2026-01-21", "2026-01-23"},
      {"A SS+2", "2026-01-22", "2026-01-26"}, {"A FF+2", "2026-01-23", "2026-01-27"},
      {"A SF-3", "2026-01-09", "2026-01-13"}, {"X SS-5", "2026-01-05", "2026-01-07"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Link);
    json j =
        PlanJson(std::string("id,duration,predecessors\nX,10,\nA,4,X\nB,3,") + c.Link + "\nM,0,A\n",
                 {"--start", "2026-01-03", "--holidays", holidays});
    if (j.is_null()) continue;
    json b = TaskOf(j, "B");
    EXPECT_EQ(b["es_date"], c.Start);
    EXPECT_EQ(b["ef_date"], c.Finish);
    EXPECT_EQ(j["start_date"], "2026-01-05");
    // The project ends with A (on Friday 23 January) or with B.
    EXPECT_EQ(j["finish_date"], std::max<std::string>("2026-01-23", c.Finish));
    // A milestone after A is dated the next working morning, start and finish.
    EXPECT_EQ(TaskOf(j, "M")["es_date"], "2026-01-26");
    EXPECT_EQ(TaskOf(j, "M")["ef_date"], "2026-01-26");
    EXPECT_EQ(TaskOf(j, "X")["lf_date"], "2026-01-16");
  }
  // Every day counts but the holiday: X is 5-14 January, A 15-18, B after A
  // skips the 19th.
  json all = PlanJson("id,duration,predecessors\nX,10,\nA,4,X\nB,3,A\n",
                      {"--start", "2026-01-05", "--calendar", "all", "--holidays", holidays});
  EXPECT_EQ(TaskOf(all, "A")["ef_date"], "2026-01-18");
  EXPECT_EQ(TaskOf(all, "B")["es_date"], "2026-01-20");
  EXPECT_EQ(all["calendar"], "all");

  // The text report and the chart show dates; the chart's weeks are
  // labelled with their Mondays.
  std::string svg = ::testing::TempDir() + "dated.svg";
  Result text = Cpm({"--aon", "--start", "2026-01-05", "--holidays", holidays, "--gantt", svg, "-"},
                    "id,duration,predecessors\nX,10,\nA,4,X\n");
  ASSERT_EQ(text.Status, 0) << text.Err;
  EXPECT_EQ(text.Out.rfind("Completion time: 14 working days, 2026-01-05 to 2026-01-23\n", 0), 0u);
  EXPECT_NE(text.Out.find("2026-01-20       2026-01-23"), std::string::npos) << text.Out;
  const std::string chart = pel::test::ReadFile(svg);
  for (const char* monday : {">2026-01-05<", ">2026-01-12<", ">2026-01-19<"})
    EXPECT_NE(chart.find(monday), std::string::npos) << monday;
}

// A 2/4/9 (mean 4.5, variance 49/36) then B 1/2/3 (2, 1/9); C 3/6/12 (6.5,
// 2.25) beside them. Both chains take 6.5; C's has the larger variance.
TEST(CpmPlanning, ThreePointEstimatesGiveMeansAndTheCriticalVariance) {
  json j = PlanJson("id,duration,predecessors\nA,2/4/9,\nB,1/2/3,A\nC,3/6/12,\n");
  ASSERT_FALSE(j.is_null());
  EXPECT_EQ(j["completion_time"], 6.5);
  EXPECT_EQ(TaskOf(j, "A")["duration"], 4.5);
  EXPECT_EQ(TaskOf(j, "A")["estimate"]["variance"], 1.3611);
  EXPECT_EQ(TaskOf(j, "B")["earliest_start"], 4.5);
  EXPECT_EQ(j["critical"], json::array({"A", "B", "C"}));
  EXPECT_EQ(j["pert"]["mean"], 6.5);
  EXPECT_EQ(j["pert"]["std_dev"], 1.5);
  EXPECT_EQ(j["pert"]["path"], json::array({"C"}));

  // The same as an event network; the chain A, B alone.
  Result aoe = Cpm({"--json", "-"}, "s a 2/4/9\na f 1/2/3\n");
  ASSERT_EQ(aoe.Status, 0) << aoe.Err;
  json e = json::parse(aoe.Out);
  EXPECT_EQ(e["completion_time"], 6.5);
  EXPECT_EQ(e["pert"]["std_dev"], 1.2134);  // sqrt(49/36 + 1/9)
  EXPECT_EQ(e["pert"]["path"], json::array({"s --> a", "a --> f"}));

  // Working days are whole: the means round up to 5, 2 and 7.
  json dated = PlanJson("id,duration,predecessors\nA,2/4/9,\nB,1/2/3,A\nC,3/6/12,\n",
                        {"--start", "2026-01-05"});
  EXPECT_EQ(dated["completion_time"], 7);
  EXPECT_EQ(TaskOf(dated, "B")["es_date"], "2026-01-12");
}

TEST(CpmPlanning, SeededSimulationIsStableAndNearTheMean) {
  // Ten tasks 2/5/8 in a chain: the triangular and PERT means agree (50),
  // the chain's standard deviation is sqrt(10 * 1.5).
  std::string chain = "id,duration,predecessors\nT0,2/5/8,\n";
  for (int i = 1; i < 10; ++i)
    chain += "T" + std::to_string(i) + ",2/5/8,T" + std::to_string(i - 1) + "\n";
  std::vector<std::string> args{"--json", "--aon", "--simulate", "4000", "--seed", "7", "-"};
  Result first = Cpm(args, chain), again = Cpm(args, chain);
  ASSERT_EQ(first.Status, 0) << first.Err;
  EXPECT_EQ(first.Out, again.Out);
  json sim = json::parse(first.Out)["simulation"];
  const double sd = std::sqrt(15.0);
  EXPECT_NEAR(sim["p50"].get<double>(), 50, 0.4);
  EXPECT_NEAR(sim["p80"].get<double>(), 50 + 0.8416 * sd, 0.5);
  EXPECT_NEAR(sim["p95"].get<double>(), 50 + 1.6449 * sd, 0.7);
  for (const auto& c : sim["criticality"]) EXPECT_EQ(c["critical_runs"], 4000);
  args[5] = "8";
  EXPECT_NE(Cpm(args, chain).Out, first.Out);

  // A 0/5/10 beside B 5: each is critical in about half the runs.
  json two = PlanJson("id,duration,predecessors\nA,0/5/10,\nB,5,\n",
                      {"--simulate", "2000", "--start", "2026-01-05"})["simulation"];
  EXPECT_NEAR(two["criticality"][0]["index"].get<double>(), 0.5, 0.05);
  EXPECT_NEAR(two["criticality"][1]["index"].get<double>(), 0.5, 0.05);
  // 95 per cent: (10 - x)^2 / 50 = 0.05 gives 8.42, a part of the ninth day.
  EXPECT_NEAR(two["p95"].get<double>(), 10 - std::sqrt(2.5), 0.15);
  EXPECT_EQ(two["p95_date"], "2026-01-15");

  // A skewed estimate alone: above M = 2, F(x) = 1 - (9 - x)^2 / 56.
  json skewed = PlanJson("id,duration,predecessors\nS,1/2/9,\n", {"--simulate", "4000"});
  EXPECT_NEAR(skewed["simulation"]["p50"].get<double>(), 9 - std::sqrt(28.0), 0.15);
  EXPECT_NEAR(skewed["simulation"]["p95"].get<double>(), 9 - std::sqrt(2.8), 0.15);
}

TEST(CpmPlanning, WhatIfNamesWhatMoved) {
  const std::string house = std::string(PEL_SOURCE_DIR) + "/examples/house-aon.csv";
  struct Case {
    std::vector<std::string> Changes;
    double Before, After;
    json Entered, Left;
  };
  const Case cases[] = {
      // Wiring (float 1) two days longer: it takes over from the roof path.
      {{"wiring=+2"}, 39, 40, {"wiring"}, {"roof", "windows", "insulation"}},
      {{"permit=-2"}, 39, 37, json::array(), json::array()},
      // Drains ending with the footings: a second critical chain.
      {{"drains=7"}, 39, 39, {"clear", "drains"}, json::array()},
      {{"wiring=+2", "wiring=-2"}, 39, 39, json::array(), json::array()},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args{"--json"};
    for (const auto& change : c.Changes) args.insert(args.end(), {"--what-if", change});
    args.push_back(house);
    Result r = Cpm(args);
    ASSERT_EQ(r.Status, 0) << r.Err;
    json w = json::parse(r.Out)["what_if"];
    SCOPED_TRACE(w.dump());
    EXPECT_EQ(w["completion_time_before"], c.Before);
    EXPECT_EQ(w["completion_time_after"], c.After);
    EXPECT_EQ(w["entered_critical"], c.Entered);
    EXPECT_EQ(w["left_critical"], c.Left);
  }
  Result text = Cpm({"--what-if", "frame_up->wiring_done=+2", "--start", "2026-01-05",
                     std::string(PEL_SOURCE_DIR) + "/examples/house.txt"});
  EXPECT_NE(
      text.Out.find("Completion time: 39 -> 40 (+1)\nFinish: 2026-02-26 -> 2026-02-27\n"
                    "Became critical: frame_up --> wiring_done, wiring_done --> walls_closed"),
      std::string::npos)
      << text.Out;
}

TEST(CpmPlanning, BadEstimatesDatesAndChangesAreOneLine) {
  std::string holidays = TempFile("bad-holidays.txt", "2026-01-19\n\n2026-02-30\n");
  struct Case {
    std::vector<std::string> Args;
    std::string Input, Message;
  };
  const std::string plan = "id,duration,predecessors\nA,2/4/9,\n";
  const Case cases[] = {
      {{"--aon"},
       "id,duration,predecessors\nA,9/4/2,\n",
       "-:2: estimate '9/4/2' is not in order: optimistic <= most likely <= pessimistic"},
      {{"--aon"}, "id,duration,predecessors\nA,2/4,\n", "-:2: estimate '2/4' is not OPTIMISTIC"},
      {{"--aon", "--start", "2026-01-05", "--holidays", holidays},
       plan,
       holidays + ":3: '2026-02-30' is not a date written YYYY-MM-DD"},
      {{"--aon", "--start", "5.1.2026"}, plan, "--start: '5.1.2026' is not a date"},
      {{"--aon", "--calendar", "all"}, plan, "--calendar and --holidays need --start"},
      {{"--aon", "--what-if", "Z=+1"}, plan, "--what-if Z=+1: no task named 'Z'"},
      {{"--aon", "--what-if", "A=-3"}, plan, "--what-if A=-3: the duration would be negative"},
      {{"--aon", "--what-if", "A=+1.5"}, plan, "'+1.5' is not a whole number"},
      {{"--what-if", "a->b=1"}, "a b 1\na b 2\n", "2 tasks are named 'a->b'"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Message);
    std::vector<std::string> args = c.Args;
    args.push_back("-");
    Result r = Cpm(args, c.Input);
    EXPECT_EQ(r.Status, 2);
    EXPECT_EQ(r.Out, "");
    EXPECT_NE(r.Err.find(c.Message), std::string::npos) << r.Err;
    EXPECT_EQ(std::count(r.Err.begin(), r.Err.end(), '\n'), 1);
  }
}

// The report's layout, made from its value: a key or item a line, indented
// by two a level, except that an item of an array that is itself an object
// or array goes on one line with ", " between its items.
void Layout(const nlohmann::ordered_json& v, std::size_t depth, bool flat, std::string& out) {
  if (!v.is_structured()) {
    out += v.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    return;
  }
  out += v.is_object() ? '{' : '[';
  for (auto it = v.begin(); it != v.end(); ++it) {
    if (it != v.begin()) out += flat ? ", " : ",";
    if (!flat) out += "\n" + std::string(2 * depth + 2, ' ');
    if (v.is_object()) out += nlohmann::ordered_json(it.key()).dump() + ": ";
    Layout(*it, depth + 1, flat || v.is_array(), out);
  }
  if (!flat && !v.empty()) out += "\n" + std::string(2 * depth, ' ');
  out += v.is_object() ? '}' : ']';
}

// The JSON report is written piece by piece (a megabyte each, from a thread
// of its own); it must read back and lay out as its value would, quotes,
// bad UTF-8, empty lists and a report of several pieces included. A plan's
// JSON alone is written straight from the plan, while its network is
// freed; with a chart too, from the schedule's copies of the tasks: both
// the same.
TEST(CpmPlanning, JsonWrittenAsItGoesIsTheLayoutOfItsValue) {
  const std::string house = std::string(PEL_SOURCE_DIR) + "/examples/house-pert.csv";
  const std::vector<std::vector<std::string>> runs{
      {"--json", "--start", "2026-03-30", "--simulate", "50", house},
      {"--json", "--aon", "--show-dummies", "-"},
      {"--json", "-"},
      {"--json", "--aon", "-"},
  };
  std::string chain = "id,duration,predecessors\nT0,1,\n";
  for (int i = 1; i < 8000; ++i)
    chain += "T" + std::to_string(i) + "," + std::to_string(i % 7) + ",T" + std::to_string(i - 1) +
             (i % 3 ? "" : ";T" + std::to_string(i / 2) + " SS+1") + "\n";
  const std::string inputs[] = {"",
                                "id,name,duration,predecessors\nA,\"say \"\"hi\"\"\",1,\n"
                                "B,caf\xe9,2,A\n",
                                "a \xff\xfe 1\n", chain};
  for (std::size_t i = 0; i < runs.size(); ++i) {
    Result r = Cpm(runs[i], inputs[i]);
    ASSERT_EQ(r.Status, 0) << r.Err;
    std::string laid;
    Layout(nlohmann::ordered_json::parse(r.Out), 0, false, laid);
    EXPECT_EQ(laid + "\n", r.Out);
  }
  const std::string svg = ::testing::TempDir() + "chain.svg";
  for (const std::string& plan : {inputs[1], chain}) {
    Result alone = Cpm({"--json", "--aon", "-"}, plan);
    Result charted = Cpm({"--json", "--aon", "--gantt", svg, "-"}, plan);
    ASSERT_EQ(charted.Status, 0) << charted.Err;
    // Compared by hand: a diff of two reports of megabytes is too large to print.
    const std::size_t at = static_cast<std::size_t>(
        std::mismatch(alone.Out.begin(), alone.Out.end(), charted.Out.begin(), charted.Out.end())
            .first -
        alone.Out.begin());
    EXPECT_EQ(at, alone.Out.size()) << alone.Out.substr(at, 60) << "\n---\n"
                                    << charted.Out.substr(at, 60);
    EXPECT_EQ(alone.Out.size(), charted.Out.size());
  }
  std::string empty = Cpm({"--json", "-"}, "# nothing\n").Out;
  EXPECT_NE(empty.find("\"tasks\": [],\n  \"critical\": []\n}"), std::string::npos) << empty;
}

// A plan of thousands of tasks has its network begun while it is still being
// read; every task's earliest start must still be the one its links give
// (worked out here by a plain walk of the chain), and a plan of the same
// tasks in another order must give each task the same times.
TEST(CpmPlanning, LargePlansBuiltWhileReadKeepTheirTimes) {
  const int count = 10000;
  auto line = [](int i) {
    return "T" + std::to_string(i) + "," + std::to_string(i % 7) +
           (i ? ",T" + std::to_string(i - 1) : ",") +
           (i % 3 || !i ? "" : ";T" + std::to_string(i / 2) + " SS+1") + "\n";
  };
  std::string forward = "id,duration,predecessors\n", backward = forward;
  for (int i = 0; i < count; ++i) forward += line(i);
  for (int i = count - 1; i >= 0; --i) backward += line(i);
  std::vector<int64_t> earliest(count);
  for (int i = 1; i < count; ++i)
    earliest[i] = std::max(earliest[i - 1] + (i - 1) % 7, i % 3 ? 0 : earliest[i / 2] + 1);
  for (const std::string& plan : {forward, backward}) {
    Result r = Cpm({"--json", "--aon", "-"}, plan);
    ASSERT_EQ(r.Status, 0) << r.Err;
    json j = json::parse(r.Out);
    ASSERT_EQ(j["tasks"].size(), static_cast<std::size_t>(count));
    for (const json& t : j["tasks"]) {
      const int i = std::stoi(t["id"].get<std::string>().substr(1));
      ASSERT_EQ(t["earliest_start"], earliest[i]) << t["id"];
    }
    EXPECT_EQ(j["completion_time"], earliest[count - 1] + (count - 1) % 7);
  }
  // An error late in the plan stops the reading; the events made so far go.
  // Sums that run over early in the plan are told only when the reading
  // found nothing wrong.
  std::string bad = forward, over = forward;
  bad.insert(bad.find("\nT9000,") + 7, "x");
  over.replace(over.find("\nT100,") + 6, 1, "2147483647");
  for (const auto& [plan, message] :
       {std::pair{bad, "-:9002: duration 'x5' is not a whole number"},
        std::pair{over + "T5,1,\n", "-:10002: task 'T5' is already defined"},
        std::pair{over, "-:102: the durations and lags add up to more than 2147483647"}}) {
    Result r = Cpm({"--json", "--aon", "-"}, plan);
    EXPECT_EQ(r.Status, 2);
    EXPECT_EQ(r.Err.rfind("pel cpm: " + std::string(message), 0), 0u) << r.Err;
  }
}
