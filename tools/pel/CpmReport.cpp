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

std::string TaskName(const TaskTimes& t) { return t.From + " --> " + t.To; }

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
  std::vector<std::vector<std::string>> events{{"Event", "Earliest", "Latest"}};
  for (const auto& e : s.Events)
    events.push_back({e.Name, std::to_string(e.Earliest), std::to_string(e.Latest)});
  text += Table(events, "lrr") + "\n";
  std::vector<std::vector<std::string>> tasks{
      {"Task", "Duration", "Earliest start", "Latest start", "Slack", ""}};
  for (const auto& t : s.Tasks)
    tasks.push_back({TaskName(t), std::to_string(t.Duration), std::to_string(t.EarliestStart),
                     std::to_string(t.LatestStart), std::to_string(t.Slack),
                     t.Critical ? "critical" : ""});
  text += Table(tasks, "lrrrrl") + "\nCritical tasks:\n";
  for (const auto& name : s.Critical) text += "  " + name + "\n";
  return text;
}

std::string RenderJson(const Schedule& s) {
  nlohmann::ordered_json j;
  j["completion_time"] = s.CompletionTime;
  j["events"] = nlohmann::ordered_json::array();
  for (const auto& e : s.Events)
    j["events"].push_back({{"name", e.Name}, {"earliest", e.Earliest}, {"latest", e.Latest}});
  j["tasks"] = nlohmann::ordered_json::array();
  for (const auto& t : s.Tasks)
    j["tasks"].push_back({{"from", t.From},
                          {"to", t.To},
                          {"duration", t.Duration},
                          {"earliest_start", t.EarliestStart},
                          {"latest_start", t.LatestStart},
                          {"slack", t.Slack},
                          {"critical", t.Critical}});
  j["critical"] = s.Critical;
  // Names are bytes as read; anything that is not UTF-8 is replaced.
  return j.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string RenderDot(const Schedule& s) {
  std::ostringstream dot;
  dot << "digraph project {\n  rankdir=LR;\n  node [shape=ellipse, fontname=\"Helvetica\"];\n"
         "  edge [fontname=\"Helvetica\"];\n";
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
        << DotQuote(std::to_string(t.Duration) +
                    (t.Slack ? " (slack " + std::to_string(t.Slack) + ")" : ""));
    if (t.Critical) dot << ", color=\"#d62728\", fontcolor=\"#d62728\", penwidth=2.5";
    dot << "];\n";
  }
  dot << "}\n";
  return dot.str();
}

std::string RenderGanttSvg(const Schedule& s) {
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
         "stroke=\"#1f77b4\" stroke-dasharray=\"3,2\"/><text x=\"226\" y=\"49\">slack</text>\n";

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
        << t.EarliestStart + t.Duration << ", slack " << t.Slack << "</title></rect>\n";
    if (t.Slack > 0)
      svg << "<rect x=\"" << X(t.EarliestStart + t.Duration) << "\" y=\"" << barY << "\" width=\""
          << scale * t.Slack << "\" height=\"" << barHeight << "\" fill=\"" << colour
          << "\" fill-opacity=\"0.15\" stroke=\"" << colour << "\" stroke-dasharray=\"3,2\"/>\n";
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
