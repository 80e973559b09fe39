#include "report_html.h"

#include <cstdio>
#include <sstream>

namespace gcuschema::document::internal {
namespace {

// Neither script nor anything fetched: the page shows what it holds and
// nothing else, even where a string slipped through as markup.
constexpr char kHead[] =
    "<!DOCTYPE html>\n"
    "<html lang=\"en\">\n"
    "<head>\n"
    "<meta charset=\"utf-8\">\n"
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
    "img-src data:\">\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";

// Kept free of '<', '>' and '&', which the style element would not unescape.
constexpr char kStyle[] =
    "<style>\n"
    "body { font: 13px/1.4 sans-serif; margin: 16px 24px; color: #1b1b1b; }\n"
    "h1 { font-size: 20px; margin: 0 0 8px; }\n"
    "h2 { font-size: 16px; margin: 24px 0 6px; border-bottom: 1px solid #ccc; }\n"
    "h3 { font-size: 14px; margin: 14px 0 4px; }\n"
    "table { border-collapse: collapse; margin: 4px 0 8px; }\n"
    "th, td { border: 1px solid #ccc; padding: 2px 6px; text-align: left; vertical-align: top; }\n"
    "th { background: #f0f0f0; font-weight: 600; overflow-wrap: anywhere; }\n"
    "td.value, td.path, code { font-family: monospace; }\n"
    "td.value { overflow-wrap: anywhere; }\n"
    "td.path { white-space: nowrap; }\n"
    "table.fields td { border: none; padding: 0 8px 0 0; }\n"
    "table.fields td.path { color: #555; }\n"
    ".note { color: #666; font-style: italic; }\n"
    ".error { color: #b00020; }\n"
    ".warning { color: #8a5a00; }\n"
    "tr.has-error { background: #fdecee; }\n"
    "tr.has-warning { background: #fff6e0; }\n"
    "ul.findings { margin: 0; padding-left: 16px; }\n"
    "td.within { background: #e6f4ea; }\n"
    ".limits { font-size: 11px; font-weight: normal; color: #444; }\n"
    "td.outside { background: #fbd3d8; font-weight: 600; }\n"
    "figure { display: inline-block; margin: 6px 12px 12px 0; vertical-align: top; }\n"
    "figcaption { font-weight: 600; margin-bottom: 2px; }\n"
    "svg text { font: 10px sans-serif; fill: #333; }\n"
    "svg text.cell { font-size: 9px; }\n"
    "svg text.light { fill: #fff; }\n"
    ".changed { background: #fff3b0; }\n"
    ".added { background: #d9f2dc; }\n"
    ".removed { background: #fbd3d8; }\n"
    "details { margin: 2px 0; }\n"
    "summary { cursor: pointer; }\n"
    "table.side td.value { width: 45%; }\n"
    "</style>\n"
    "</head>\n";

// Text goes into the tree with its length: a NUL inside a string would end
// it for the serializer, so it is shown as U+FFFD.
std::string Printable(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    if (c == '\0') {
      out += "\xEF\xBF\xBD";
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace

Html& Html::Text(std::string_view text) {
  const std::string printable = Printable(text);
  node_.append_child(pugi::node_pcdata).set_value(printable.c_str(), printable.size());
  return *this;
}

Html& Html::Attr(const char* name, std::string_view value) {
  const std::string printable = Printable(value);
  pugi::xml_attribute attribute = node_.attribute(name);
  if (!attribute) attribute = node_.append_attribute(name);
  attribute.set_value(printable.c_str(), printable.size());
  return *this;
}

Html& Html::Attr(const char* name, double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return Attr(name, text);
}

Html Html::Table(const std::vector<std::string>& headings, std::string_view css_class) {
  Html table = Add("table");
  if (!css_class.empty()) table.Class(css_class);
  if (!headings.empty()) {
    Html row = table.Add("thead").Add("tr");
    for (const std::string& heading : headings) row.Add("th", heading);
  }
  return table.Add("tbody");
}

Page::Page(std::string_view title) {
  title_ = tree_.append_child("title");
  Html(title_).Text(title);
  body_ = tree_.append_child("body");
}

std::string Page::Serialize() const {
  std::ostringstream out;
  out << kHead;
  // Every element written with an end tag: "<td/>" is not an empty cell in
  // HTML, but the start of one that never ends.
  const unsigned flags = pugi::format_raw | pugi::format_no_empty_element_tags;
  title_.print(out, "", flags);
  out << '\n' << kStyle;
  body_.print(out, "", flags);
  out << "\n</html>\n";
  return out.str();
}

std::string Anchor(std::string_view prefix, std::string_view path) {
  std::string out(prefix);
  for (char c : path) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    if (plain) {
      out += c;
    } else if (c != ']') {
      out += '-';
    }
  }
  return out;
}

}  // namespace gcuschema::document::internal
