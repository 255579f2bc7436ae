#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
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

std::string Example(const std::string& name) {
  return std::string(PEL_SOURCE_DIR) + "/examples/" + name;
}

bool Exists(const std::string& path) { return std::ifstream(path).good(); }

// Earliest and latest event times by plain relaxation over the task list
// until nothing changes: slow, but shares nothing with the library.
struct Times {
  std::map<std::string, long> Earliest, Latest;
  long Completion = 0;
};

Times Reference(const json& tasks) {
  Times t;
  for (const auto& k : tasks) t.Earliest[k["from"]] = t.Earliest[k["to"]] = 0;
  for (bool changed = true; changed;) {
    changed = false;
    for (const auto& k : tasks) {
      long v = t.Earliest[k["from"]] + k["duration"].get<long>();
      if (v > t.Earliest[k["to"]]) t.Earliest[k["to"]] = v, changed = true;
    }
  }
  for (const auto& [e, v] : t.Earliest) t.Completion = std::max(t.Completion, v);
  for (const auto& [e, v] : t.Earliest) t.Latest[e] = t.Completion;
  for (bool changed = true; changed;) {
    changed = false;
    for (const auto& k : tasks) {
      long v = t.Latest[k["to"]] - k["duration"].get<long>();
      if (v < t.Latest[k["from"]]) t.Latest[k["from"]] = v, changed = true;
    }
  }
  return t;
}

}  // namespace

TEST(CpmCommand, SchedulesAgreeWithPlainRelaxation) {
  for (const char* name : {"house.txt", "house.csv", "large-project.txt"}) {
    SCOPED_TRACE(name);
    Result r = Cpm({"--json", Example(name)});
    ASSERT_EQ(r.Status, 0) << r.Err;
    json j = json::parse(r.Out);
    Times ref = Reference(j["tasks"]);
    EXPECT_EQ(j["completion_time"], ref.Completion);
    EXPECT_EQ(j["events"].size(), ref.Earliest.size());
    for (const auto& e : j["events"]) {
      EXPECT_EQ(e["earliest"], ref.Earliest[e["name"]]) << e["name"];
      EXPECT_EQ(e["latest"], ref.Latest[e["name"]]) << e["name"];
    }
    std::vector<std::string> critical;
    for (const auto& k : j["tasks"]) {
      EXPECT_EQ(k["earliest_start"], ref.Earliest[k["from"]]);
      EXPECT_EQ(k["latest_start"], ref.Latest[k["to"]] - k["duration"].get<long>());
      EXPECT_EQ(k["total_float"],
                k["latest_start"].get<long>() - k["earliest_start"].get<long>());
      EXPECT_EQ(k["free_float"], ref.Earliest[k["to"]] - ref.Earliest[k["from"]] -
                                     k["duration"].get<long>());
      EXPECT_EQ(k["critical"], k["total_float"] == 0);
      if (k["critical"])
        critical.push_back(k["from"].get<std::string>() + " --> " + k["to"].get<std::string>());
    }
    std::vector<std::string> listed = j["critical"];
    std::sort(critical.begin(), critical.end());
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(listed, critical);
  }
}

TEST(CpmCommand, RestrictionAndReportsForPeople) {
  json j = json::parse(
      Cpm({"--json", "--from", "frame_up", "--to", "walls_closed", Example("house.txt")}).Out);
  EXPECT_EQ(j["completion_time"], 28 - 19);
  EXPECT_EQ(j["events"].front()["name"], "frame_up");
  EXPECT_EQ(j["events"].back()["name"], "walls_closed");

  Result text = Cpm({Example("house.txt")});
  ASSERT_EQ(text.Status, 0);
  EXPECT_EQ(text.Out.rfind("Completion time: 39\n", 0), 0u);
  EXPECT_NE(text.Out.find("\n  interior_done --> move_in\n"), std::string::npos);
  // Right-aligned columns: every row of the events table ends at one column.
  std::istringstream lines(text.Out.substr(text.Out.find("Event ")));
  std::string header, row;
  std::getline(lines, header);
  while (std::getline(lines, row) && !row.empty()) EXPECT_EQ(row.size(), header.size()) << row;

  Result dot = Cpm({"--dot", Example("house.txt")});
  EXPECT_NE(dot.Out.find("\"start\" -> \"permits_granted\" [label=\"5\", color="),
            std::string::npos);
  EXPECT_NE(dot.Out.find("\"start\" -> \"site_cleared\" [label=\"2 (float 4, free 0)\"];"),
            std::string::npos);

  std::string svg = ::testing::TempDir() + "house.svg";
  ASSERT_EQ(Cpm({"--gantt", svg, Example("house.txt")}).Status, 0);
  const std::string chart = pel::test::ReadFile(svg);
  auto count = [&](const std::string& what) {
    std::size_t n = 0;
    for (auto p = chart.find(what); p != std::string::npos; p = chart.find(what, p + 1)) ++n;
    return n;
  };
  EXPECT_EQ(count("<title>"), 16u);
  EXPECT_EQ(count("fill=\"#d62728\"><title>"), 8u);
  EXPECT_EQ(count(">move_in</text>"), 1u);  // events name the axis
}

// The pel program itself: a saved network read back, and a plan's JSON, for
// which the program leaves the network to its end rather than freeing it.
TEST(CpmCommand, SavedNetworkReadsBackInAFreshProcess) {
  std::string bin = ::testing::TempDir() + "house.bin";
  Result first = Cpm({"--json", "--save", bin, Example("house.txt")});
  ASSERT_EQ(first.Status, 0) << first.Err;
  for (const auto& [file, expected] :
       {std::pair{bin, first.Out},
        std::pair{Example("house-aon.csv"), Cpm({"--json", Example("house-aon.csv")}).Out}}) {
    std::string command = std::string(PEL_TOOL_PATH) + " cpm --json " + file;
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string again;
    char buffer[4096];
    for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) again.append(buffer, n);
    EXPECT_EQ(pclose(pipe), 0) << file;
    EXPECT_EQ(again, expected) << file;
  }
}

TEST(CpmCommand, BadInputIsOneLineStatusTwoAndNoOutput) {
  struct Case {
    const char* Name;
    const char* Text;
    const char* Message;
  };
  const Case cases[] = {
      {"a.txt", "a b 1\n\n# note\na c\n", "a.txt:4: expected FROM TO DURATION, found 2 fields"},
      {"b.txt", "a b 1 extra\n", "b.txt:1: unexpected 'extra' after the duration"},
      {"c.txt", "a b -3\n", "c.txt:1: duration '-3' is negative"},
      {"d.txt", "a b 2x\n", "d.txt:1: duration '2x' is not a whole number"},
      {"e.txt", "a b 99999999999\n", "e.txt:1: duration '99999999999' is too large"},
      {"f.txt", "a b 2000000000\nb c 2000000000\n", "f.txt:2: the durations add up to more"},
      {"g.csv", "from,until,duration\n", "g.csv:1: the header has no 'to' column"},
      {"h.csv", "to,from,duration\nb,a,1\n\"c,d\",b\n", "h.csv:3: expected 3 fields, found 2"},
      {"i.txt", "a b 1\nb c 1\nc b 1\nc d 1\nx a 1\n",
       "i.txt: Graph is not acyclic: b -> c -> b (lines 2, 3)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Name);
    std::string save = ::testing::TempDir() + "never.bin", svg = ::testing::TempDir() + "never.svg";
    std::remove(save.c_str());
    std::remove(svg.c_str());
    Result r = Cpm({"--save", save, "--gantt", svg, TempFile(c.Name, c.Text)});
    EXPECT_EQ(r.Status, 2);
    EXPECT_EQ(r.Out, "");
    EXPECT_NE(r.Err.find(c.Message), std::string::npos) << r.Err;
    EXPECT_EQ(std::count(r.Err.begin(), r.Err.end(), '\n'), 1);
    EXPECT_FALSE(Exists(save) || Exists(svg));
  }
  EXPECT_EQ(Cpm({"/nonexistent/plan.txt"}).Status, 2);
  EXPECT_EQ(Cpm({"--from", "nowhere", Example("house.txt")}).Err,
            "pel cpm: --from: no event named 'nowhere'\n");
  EXPECT_EQ(Cpm({"--json", "--dot", Example("house.txt")}).Status, 2);
}
