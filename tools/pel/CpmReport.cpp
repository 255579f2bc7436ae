// The four ways pel cpm shows a schedule: a table for people, JSON for
// programs, Graphviz text, and an SVG Gantt chart.
#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

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

}  // namespace

std::string RenderText(const Schedule& s) {
  std::string text = "Completion time: " + std::to_string(s.CompletionTime) + "\n\n";
  if (!s.Events.empty()) {
    std::vector<std::vector<std::string>> events{{"Event", "Earliest", "Latest"}};
    for (const auto& e : s.Events)
      events.push_back({e.Name, std::to_string(e.Earliest), std::to_string(e.Latest)});
    text += Table(events, "lrr") + "\n";
  }
  std::vector<std::vector<std::string>> tasks;
  if (s.Plan) {
    tasks.push_back({"Task", "Name", "Duration", "Earliest start", "Earliest finish",
                     "Latest start", "Latest finish", "Total float", "Free float", ""});
    for (const auto& t : s.Tasks)
      tasks.push_back({TaskName(t), t.Name, Str(t.Duration), Str(t.EarliestStart),
                       Str(t.EarliestStart + t.Duration), Str(t.LatestStart),
                       Str(t.LatestStart + t.Duration), Str(t.Slack), Str(t.FreeFloat),
                       t.Critical ? "critical" : ""});
    text += Table(tasks, "llrrrrrrrl") + "\nCritical tasks:\n";
  } else {
    tasks.push_back(
        {"Task", "Duration", "Earliest start", "Latest start", "Total float", "Free float", ""});
    for (const auto& t : s.Tasks)
      tasks.push_back({TaskName(t), Str(t.Duration), Str(t.EarliestStart), Str(t.LatestStart),
                       Str(t.Slack), Str(t.FreeFloat), t.Critical ? "critical" : ""});
    text += Table(tasks, "lrrrrrl") + "\nCritical tasks:\n";
  }
  for (const auto& name : s.Critical) text += "  " + name + "\n";
  return text;
}

std::string RenderJson(const Schedule& s) {
  nlohmann::ordered_json j;
  j["completion_time"] = s.CompletionTime;
  if (!s.Plan || !s.Events.empty()) {
    j["events"] = nlohmann::ordered_json::array();
    for (const auto& e : s.Events)
      j["events"].push_back({{"name", e.Name}, {"earliest", e.Earliest}, {"latest", e.Latest}});
  }
  j["tasks"] = nlohmann::ordered_json::array();
  for (const auto& t : s.Tasks) {
    nlohmann::ordered_json k;
    if (s.Plan && !t.Id.empty()) {
      k["id"] = t.Id;
      k["name"] = t.Name;
    } else {
      k["from"] = t.From;
      k["to"] = t.To;
      if (s.Plan) k["dummy"] = t.Name;
    }
    k["duration"] = t.Duration;
    k["earliest_start"] = t.EarliestStart;
    if (s.Plan) k["earliest_finish"] = t.EarliestStart + t.Duration;
    k["latest_start"] = t.LatestStart;
    if (s.Plan) k["latest_finish"] = t.LatestStart + t.Duration;
    k["total_float"] = t.Slack;
    k["free_float"] = t.FreeFloat;
    k["critical"] = t.Critical;
    j["tasks"].push_back(std::move(k));
  }
  if (s.Plan) {
    j["links"] = nlohmann::ordered_json::array();
    for (const auto& l : s.Links)
      j["links"].push_back({{"from", l.From}, {"to", l.To}, {"type", l.Kind}});
  }
  j["critical"] = s.Critical;
  // Names are bytes as read; anything that is not UTF-8 is replaced.
  return j.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string RenderDot(const Schedule& s) {
  std::ostringstream dot;
  auto floats = [](const TaskTimes& t) {
    return t.Slack || t.FreeFloat ? " (float " + Str(t.Slack) + ", free " + Str(t.FreeFloat) + ")"
                                  : std::string();
  };
  dot << "digraph project {\n  rankdir=LR;\n  node [shape=ellipse, fontname=\"Helvetica\"];\n"
         "  edge [fontname=\"Helvetica\"];\n";
  if (s.Plan && s.Events.empty()) {
    // A plan is drawn as it was written: the tasks are the nodes.
    for (const auto& t : s.Tasks) {
      std::string label = DotQuote(t.Id + (t.Name.empty() ? "" : ": " + t.Name));
      label.insert(label.size() - 1, "\\n" + Str(t.EarliestStart) + " to " +
                                         Str(t.EarliestStart + t.Duration) + floats(t));
      dot << "  " << DotQuote(t.Id) << " [shape=box, label=" << label;
      if (t.Critical) dot << ", color=\"#d62728\", penwidth=2";
      dot << "];\n";
    }
    for (const auto& l : s.Links) {
      dot << "  " << DotQuote(l.From) << " -> " << DotQuote(l.To) << " [label=" << DotQuote(l.Kind);
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
                 "\\n" + std::to_string(e.Earliest) + " / " + std::to_string(e.Latest));
    dot << "  " << DotQuote(e.Name) << " [label=" << label;
    if (e.Earliest == e.Latest) dot << ", color=\"#d62728\", penwidth=2";
    dot << "];\n";
  }
  for (const auto& t : s.Tasks) {
    dot << "  " << DotQuote(t.From) << " -> " << DotQuote(t.To) << " [label="
        << DotQuote(Str(t.Duration) + floats(t));
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
      << s.CompletionTime
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

  // Grid and time scale.
  const int32_t step = TickStep(span);
  for (int32_t t = 0; t <= span; t += step) {
    svg << "<line x1=\"" << X(t) << "\" y1=\"" << top << "\" x2=\"" << X(t) << "\" y2=\"" << axisY
        << "\" stroke=\"#e5e5e5\"/>\n<text x=\"" << X(t) << "\" y=\"" << top - 6
        << "\" text-anchor=\"middle\" fill=\"#555\">" << t << "</text>\n";
    if (span - t < step && t != span) t = span - step;  // always label the end
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
        << colour << "\"><title>" << XmlEscape(TaskName(t)) << ": " << t.EarliestStart << " to "
        << t.EarliestStart + t.Duration << ", total float " << t.Slack << ", free float "
        << t.FreeFloat << "</title></rect>\n";
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
