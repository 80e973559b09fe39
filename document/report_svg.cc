#include "report_svg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include <gcuschema/MapConfig.pb.h>

#include "walk.h"

namespace gcuschema::document::internal {
namespace {

// "1200", "0.25": a tick's value with as many decimals as its step needs.
std::string TickText(double value, double step) {
  int decimals = 0;
  while (decimals < 6 && std::fabs(step * std::pow(10.0, decimals) - std::round(step * std::pow(10.0, decimals))) > 1e-9) {
    ++decimals;
  }
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, std::fabs(value) < step * 1e-9 ? 0.0 : value);
  return text;
}

std::string Number(std::int64_t value) { return std::to_string(value); }

// Perceptually even colours from dark blue to yellow, readable in grey.
struct Rgb {
  double r, g, b;
};
constexpr Rgb kScale[] = {{68, 1, 84}, {59, 82, 139}, {33, 145, 140}, {94, 201, 98}, {253, 231, 37}};

std::string Colour(double t) {
  t = std::clamp(t, 0.0, 1.0);
  const double at = t * (std::size(kScale) - 1);
  const auto i = std::min(static_cast<std::size_t>(at), std::size(kScale) - 2);
  const double f = at - static_cast<double>(i);
  const Rgb& a = kScale[i];
  const Rgb& b = kScale[i + 1];
  char text[8];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", static_cast<int>(std::lround(a.r + (b.r - a.r) * f)),
                static_cast<int>(std::lround(a.g + (b.g - a.g) * f)), static_cast<int>(std::lround(a.b + (b.b - a.b) * f)));
  return text;
}

// The lower half of the scale is dark: text on it is written light.
bool Dark(double t) { return t < 0.55; }

Html Svg(Html parent, double width, double height, const std::string& label) {
  Html svg = parent.Add("svg");
  svg.Attr("width", width).Attr("height", height);
  svg.Attr("viewBox", "0 0 " + TickText(width, 1) + " " + TickText(height, 1));
  svg.Attr("role", "img").Attr("aria-label", label);
  svg.Add("title", label);
  return svg;
}

Html Line(Html parent, double x1, double y1, double x2, double y2, const char* stroke) {
  Html line = parent.Add("line");
  line.Attr("x1", x1).Attr("y1", y1).Attr("x2", x2).Attr("y2", y2).Attr("stroke", stroke);
  return line;
}

Html Label(Html parent, double x, double y, const std::string& text, const char* anchor) {
  Html label = parent.Add("text");
  label.Attr("x", x).Attr("y", y).Attr("text-anchor", anchor);
  return label.Text(text);
}

// An axis title written upwards, centred on (x, y).
void UpwardTitle(Html parent, double x, double y, const std::string& text) {
  Html title = Label(parent, x, y, text, "middle");
  title.Attr("transform", "rotate(-90 " + TickText(x, 0.1) + " " + TickText(y, 0.1) + ")");
}

// The range a scale shows: its ticks' ends, or one either side of a
// single value.
struct Scale {
  double low;
  double high;
  std::vector<double> ticks;
  double step;

  Scale(double min, double max, int count) {
    if (min == max) {
      min -= 1;
      max += 1;
    }
    ticks = NiceTicks(min, max, count);
    step = ticks.size() > 1 ? ticks[1] - ticks[0] : 1;
    low = ticks.front();
    high = ticks.back();
  }
  double At(double value) const { return (value - low) / (high - low); }
};

}  // namespace

std::vector<double> NiceTicks(double low, double high, int count) {
  if (!(high > low)) return {low};
  const double raw = (high - low) / std::max(count, 1);
  const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
  const double normal = raw / magnitude;
  const double step = (normal < 1.5 ? 1 : normal < 3 ? 2 : normal < 7 ? 5 : 10) * magnitude;
  std::vector<double> ticks;
  const double first = std::floor(low / step);
  const double last = std::ceil(high / step);
  for (double i = first; i <= last; ++i) ticks.push_back(i * step);
  return ticks;
}

void DrawCurve(Html parent, const CurveTable& table, const std::string& label, const std::string& x_title,
               const std::string& value_title) {
  constexpr double kLeft = 64, kRight = 16, kTop = 12, kBottom = 44;
  constexpr double kPlotWidth = 520, kPlotHeight = 260;
  Html svg = Svg(parent, kLeft + kPlotWidth + kRight, kTop + kPlotHeight + kBottom, label);
  const std::size_t count = std::min(table.x.size(), table.value.size());
  if (count == 0) {
    Label(svg, kLeft + kPlotWidth / 2, kTop + kPlotHeight / 2, "no points", "middle");
    return;
  }
  std::vector<std::int64_t> xs_covered(table.x.begin(), table.x.begin() + static_cast<long>(count));
  xs_covered.insert(xs_covered.end(), table.also_x.begin(), table.also_x.end());
  std::vector<std::int64_t> vs_covered(table.value.begin(), table.value.begin() + static_cast<long>(count));
  vs_covered.insert(vs_covered.end(), table.also_value.begin(), table.also_value.end());
  const auto [x_min, x_max] = std::minmax_element(xs_covered.begin(), xs_covered.end());
  const auto [v_min, v_max] = std::minmax_element(vs_covered.begin(), vs_covered.end());
  const Scale xs(static_cast<double>(*x_min), static_cast<double>(*x_max), 6);
  const Scale vs(static_cast<double>(*v_min), static_cast<double>(*v_max), 5);
  const auto px = [&](double x) { return kLeft + xs.At(x) * kPlotWidth; };
  const auto py = [&](double v) { return kTop + (1 - vs.At(v)) * kPlotHeight; };

  for (double tick : xs.ticks) {
    Line(svg, px(tick), kTop, px(tick), kTop + kPlotHeight, "#e4e4e4");
    Line(svg, px(tick), kTop + kPlotHeight, px(tick), kTop + kPlotHeight + 4, "#333");
    Label(svg, px(tick), kTop + kPlotHeight + 16, TickText(tick, xs.step), "middle");
  }
  for (double tick : vs.ticks) {
    Line(svg, kLeft, py(tick), kLeft + kPlotWidth, py(tick), "#e4e4e4");
    Line(svg, kLeft - 4, py(tick), kLeft, py(tick), "#333");
    Label(svg, kLeft - 6, py(tick) + 3, TickText(tick, vs.step), "end");
  }
  Line(svg, kLeft, kTop + kPlotHeight, kLeft + kPlotWidth, kTop + kPlotHeight, "#333");
  Line(svg, kLeft, kTop, kLeft, kTop + kPlotHeight, "#333");
  Label(svg, kLeft + kPlotWidth / 2, kTop + kPlotHeight + 36, x_title, "middle");
  UpwardTitle(svg, 14, kTop + kPlotHeight / 2, value_title);

  std::string points;
  for (std::size_t i = 0; i < count; ++i) {
    if (!points.empty()) points += ' ';
    points += TickText(px(static_cast<double>(table.x[i])), 0.01) + "," +
              TickText(py(static_cast<double>(table.value[i])), 0.01);
  }
  svg.Add("polyline").Attr("points", points).Attr("fill", "none").Attr("stroke", "#3b528b").Attr("stroke-width", 2);
  for (std::size_t i = 0; i < count; ++i) {
    const bool marked = i < table.marked.size() && table.marked[i];
    Html point = svg.Add("circle");
    point.Attr("cx", px(static_cast<double>(table.x[i]))).Attr("cy", py(static_cast<double>(table.value[i])));
    point.Attr("r", marked ? 5 : 3).Attr("fill", marked ? "#d62728" : "#21918c");
    point.Add("title", x_title + " " + Number(table.x[i]) + ": " + Number(table.value[i]) + (marked ? ", changed" : ""));
  }
}

void DrawHeatMap(Html parent, const GridTable& table, const std::string& label, const std::string& x_title,
                 const std::string& y_title) {
  const std::size_t nx = table.x.size();
  const std::size_t ny = table.y.size();
  const std::size_t cells = nx * ny;
  constexpr double kLeft = 72, kTop = 12, kBottom = 48, kLegendGap = 24, kLegendBar = 18, kLegendText = 64;
  if (nx == 0 || ny == 0 || cells > kMaxDrawnCells) {
    Html svg = Svg(parent, 420, 80, label);
    Label(svg, 210, 44,
          nx == 0 || ny == 0 ? "no breakpoints on " + std::string(nx == 0 ? "x" : "y")
                             : Number(static_cast<std::int64_t>(cells)) + " cells: too many to draw",
          "middle");
    return;
  }
  const double cw = std::clamp(std::floor(640.0 / static_cast<double>(nx)), 4.0, 48.0);
  const double ch = std::clamp(std::floor(400.0 / static_cast<double>(ny)), 4.0, 28.0);
  const double width = cw * static_cast<double>(nx);
  const double height = ch * static_cast<double>(ny);
  const double legend_height = std::max(height, 100.0);
  Html svg = Svg(parent, kLeft + width + kLegendGap + kLegendBar + kLegendText, kTop + legend_height + kBottom, label);

  const std::size_t present = std::min(table.values.size(), cells);
  std::vector<std::int64_t> covered(table.values.begin(), table.values.begin() + static_cast<long>(present));
  covered.insert(covered.end(), table.also_values.begin(), table.also_values.end());
  double v_min = 0, v_max = 0;
  if (!covered.empty()) {
    const auto [low, high] = std::minmax_element(covered.begin(), covered.end());
    v_min = static_cast<double>(*low);
    v_max = static_cast<double>(*high);
  }
  const auto shade = [&](double v) { return v_max > v_min ? (v - v_min) / (v_max - v_min) : 0.5; };
  const bool numbers = cw >= 34 && ch >= 14;

  for (std::size_t j = 0; j < ny; ++j) {
    for (std::size_t i = 0; i < nx; ++i) {
      const std::size_t at = j * nx + i;
      const double x = kLeft + static_cast<double>(i) * cw;
      const double y = kTop + static_cast<double>(ny - 1 - j) * ch;
      Html cell = svg.Add("rect");
      cell.Attr("x", x).Attr("y", y).Attr("width", cw).Attr("height", ch);
      const std::string where = x_title + " " + Number(table.x[i]) + ", " + y_title + " " + Number(table.y[j]);
      if (at >= present) {
        cell.Attr("fill", "#d9d9d9");
        cell.Add("title", where + ": no value");
        continue;
      }
      const double t = shade(static_cast<double>(table.values[at]));
      const bool marked = at < table.marked.size() && table.marked[at];
      cell.Attr("fill", Colour(t));
      if (marked) cell.Attr("stroke", "#d62728").Attr("stroke-width", 2);
      cell.Add("title", where + ": " + Number(table.values[at]) + (marked ? ", changed" : ""));
      if (numbers) {
        Html text = Label(svg, x + cw / 2, y + ch / 2 + 3, Number(table.values[at]), "middle");
        text.Class(Dark(t) ? "cell light" : "cell");
      }
    }
  }

  // Breakpoints under the columns and beside the rows, as many as fit.
  const auto x_every = static_cast<std::size_t>(std::ceil(44.0 / cw));
  for (std::size_t i = 0; i < nx; i += x_every) {
    const double x = kLeft + (static_cast<double>(i) + 0.5) * cw;
    Line(svg, x, kTop + height, x, kTop + height + 4, "#333");
    Label(svg, x, kTop + height + 16, Number(table.x[i]), "middle");
  }
  const auto y_every = static_cast<std::size_t>(std::ceil(14.0 / ch));
  for (std::size_t j = 0; j < ny; j += y_every) {
    const double y = kTop + (static_cast<double>(ny - 1 - j) + 0.5) * ch;
    Line(svg, kLeft - 4, y, kLeft, y, "#333");
    Label(svg, kLeft - 6, y + 3, Number(table.y[j]), "end");
  }
  Line(svg, kLeft, kTop + height, kLeft + width, kTop + height, "#333");
  Line(svg, kLeft, kTop, kLeft, kTop + height, "#333");
  Label(svg, kLeft + width / 2, kTop + height + 36, x_title, "middle");
  UpwardTitle(svg, 14, kTop + height / 2, y_title);

  // The colour scale: lowest value at the bottom, highest at the top.
  const double bar_x = kLeft + width + kLegendGap;
  constexpr int kSteps = 32;
  for (int s = 0; s < kSteps; ++s) {
    const double step_height = legend_height / kSteps;
    Html band = svg.Add("rect");
    band.Attr("x", bar_x).Attr("y", kTop + legend_height - (s + 1) * step_height).Attr("width", kLegendBar);
    band.Attr("height", step_height + 0.5).Attr("fill", Colour((s + 0.5) / kSteps));
  }
  const auto legend_y = [&](double v) { return kTop + (1 - shade(v)) * legend_height; };
  std::vector<double> marks = {v_min};
  if (v_max > v_min) {
    for (double tick : NiceTicks(v_min, v_max, 4)) {
      // Ticks near either end would write over the end's own label.
      if (tick > v_min && tick < v_max && std::fabs(legend_y(tick) - legend_y(v_min)) > 14 &&
          std::fabs(legend_y(tick) - legend_y(v_max)) > 14) {
        marks.push_back(tick);
      }
    }
    marks.push_back(v_max);
  }
  const double mark_step = marks.size() > 2 ? marks[2] - marks[1] : 1;
  for (double mark : marks) {
    const double y = legend_y(mark);
    Line(svg, bar_x + kLegendBar, y, bar_x + kLegendBar + 4, y, "#333");
    const bool end = mark == v_min || mark == v_max;
    Label(svg, bar_x + kLegendBar + 6, y + 3, end ? Number(static_cast<std::int64_t>(mark)) : TickText(mark, mark_step),
          "start");
  }
  if (present == 0) Label(svg, kLeft + width / 2, kTop + height / 2, "no values", "middle");
  if (table.values.size() != cells) {
    parent.Add("p", "values holds " + Number(static_cast<std::int64_t>(table.values.size())) +
                        " values where the breakpoints make " + Number(static_cast<std::int64_t>(nx)) + " × " +
                        Number(static_cast<std::int64_t>(ny)) + " = " + Number(static_cast<std::int64_t>(cells)) +
                        (table.values.size() < cells ? "; the cells without one are grey"
                                                     : "; those beyond the grid are not drawn"))
        .Class("note");
  }
}

bool DrawTableRecord(Html parent, const google::protobuf::Message& table, const std::string& label,
                     const std::string& x_title, const std::string& y_title, const google::protobuf::Message* other) {
  if (other != nullptr && other->GetDescriptor() != table.GetDescriptor()) other = nullptr;
  if (table.GetDescriptor() == ::Map2D::descriptor()) {
    std::unique_ptr<::Map2D> copy;
    std::unique_ptr<::Map2D> other_copy;
    const ::Map2D& map = AsGenerated(table, &copy);
    CurveTable curve;
    for (const ::Map2DPoint& point : map.points()) {
      curve.x.push_back(point.x());
      curve.value.push_back(point.value());
    }
    if (other != nullptr) {
      const ::Map2D& before = AsGenerated(*other, &other_copy);
      for (const ::Map2DPoint& point : before.points()) {
        curve.also_x.push_back(point.x());
        curve.also_value.push_back(point.value());
      }
      if (before.points_size() == map.points_size()) {
        for (int i = 0; i < map.points_size(); ++i) {
          curve.marked.push_back(before.points(i).x() != map.points(i).x() ||
                                 before.points(i).value() != map.points(i).value());
        }
      }
    }
    DrawCurve(parent, curve, label, x_title, y_title);
    return true;
  }
  if (table.GetDescriptor() != ::Map3D::descriptor()) return false;
  std::unique_ptr<::Map3D> copy;
  std::unique_ptr<::Map3D> other_copy;
  const ::Map3D& map = AsGenerated(table, &copy);
  GridTable grid;
  grid.x.assign(map.x().begin(), map.x().end());
  grid.y.assign(map.y().begin(), map.y().end());
  grid.values.assign(map.values().begin(), map.values().end());
  if (other != nullptr) {
    const ::Map3D& before = AsGenerated(*other, &other_copy);
    grid.also_values.assign(before.values().begin(), before.values().end());
    // Cells are compared where both tables have the same grid.
    if (before.x_size() == map.x_size() && before.y_size() == map.y_size() &&
        before.values_size() == map.values_size()) {
      for (int i = 0; i < map.values_size(); ++i) grid.marked.push_back(before.values(i) != map.values(i));
    }
  }
  DrawHeatMap(parent, grid, label, x_title, y_title);
  return true;
}

}  // namespace gcuschema::document::internal
