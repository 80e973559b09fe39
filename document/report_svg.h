// Private to the document library: lookup tables drawn as inline SVG for the
// pages of report.h.
#ifndef GCUSCHEMA_DOCUMENT_REPORT_SVG_H
#define GCUSCHEMA_DOCUMENT_REPORT_SVG_H

#include <cstdint>
#include <string>
#include <vector>

#include <google/protobuf/message.h>

#include "report_html.h"

namespace gcuschema::document::internal {

// A table with one axis (a Map2D): its points in the order they are kept.
struct CurveTable {
  std::vector<std::int64_t> x;
  std::vector<std::int64_t> value;
  std::vector<bool> marked;  // points drawn as changed (none when empty)
  // Values the axes cover besides the table's own (another table's, for
  // two drawn on one scale).
  std::vector<std::int64_t> also_x;
  std::vector<std::int64_t> also_value;
};

// A table with two axes (a Map3D): the breakpoints of each axis and the
// values row by row, one row of x.size() values per y breakpoint.
struct GridTable {
  std::vector<std::int64_t> x;
  std::vector<std::int64_t> y;
  std::vector<std::int64_t> values;
  std::vector<bool> marked;  // values drawn as changed (none when empty)
  // Values the colour scale covers besides the table's own.
  std::vector<std::int64_t> also_values;
};

// Heat maps with more cells are drawn as their frame and a note: tens of
// thousands of cells make a page too heavy to open, and no device keeps
// such a table.
inline constexpr std::size_t kMaxDrawnCells = 65536;

// The curve through the points (x, value), with both axes, tick labels and
// a marker per point (its values in a tooltip; a marked one larger and red). `label` names the table
// (an attribute, read aloud); `x_title` and `value_title` the axes.
void DrawCurve(Html parent, const CurveTable& table, const std::string& label, const std::string& x_title,
               const std::string& value_title);

// A heat map over the breakpoints: a cell per value, x to the right and y
// upwards, each axis labelled with its breakpoints, a colour scale with its
// values beside it, the value in the cell where there is room (and in a
// tooltip always), a marked cell outlined in red. Values missing from a short table are drawn hatched
// grey, values beyond the grid are left out, and a note under the drawing
// says so.
void DrawHeatMap(Html parent, const GridTable& table, const std::string& label, const std::string& x_title,
                 const std::string& y_title);

// `table`, a Map2D or a Map3D record, drawn by DrawCurve or DrawHeatMap;
// false, and nothing drawn, for any other record. With `other` (the same
// table in another document, of the same record), the points or cells
// whose value differs from it are marked, where the two have one shape,
// and both are drawn on one scale.
bool DrawTableRecord(Html parent, const google::protobuf::Message& table, const std::string& label,
                     const std::string& x_title, const std::string& y_title,
                     const google::protobuf::Message* other = nullptr);

// The ticks of an axis over [low, high]: round steps of 1, 2 or 5 times a
// power of ten, about `count` of them.
std::vector<double> NiceTicks(double low, double high, int count);

}  // namespace gcuschema::document::internal

#endif
