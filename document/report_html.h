// Private to the document library: the pages of report.h built as a tree of
// elements. Strings reach the page only as text or attribute values of the
// tree, which the serializer escapes, so nothing a document holds can become
// markup; the markup of our own (head, style) is constant.
#ifndef GCUSCHEMA_DOCUMENT_REPORT_HTML_H
#define GCUSCHEMA_DOCUMENT_REPORT_HTML_H

#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace gcuschema::document::internal {

// An element of a page.
class Html {
 public:
  explicit Html(pugi::xml_node node) : node_(node) {}

  // A child element, at the end.
  Html Add(const char* tag) { return Html(node_.append_child(tag)); }
  // A child element holding `text`.
  Html Add(const char* tag, std::string_view text) { return Add(tag).Text(text); }
  // Text at the end.
  Html& Text(std::string_view text);
  Html& Attr(const char* name, std::string_view value);
  Html& Attr(const char* name, double value);
  Html& Class(std::string_view value) { return Attr("class", value); }

  // A table with these column headings; rows are added to what it returns
  // (its body).
  Html Table(const std::vector<std::string>& headings, std::string_view css_class = {});

  pugi::xml_node node() const { return node_; }

 private:
  pugi::xml_node node_;
};

// A whole page: a head of our own, then the body built through body().
class Page {
 public:
  explicit Page(std::string_view title);
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  Html body() { return Html(body_); }
  // The page's bytes.
  std::string Serialize() const;

 private:
  pugi::xml_document tree_;
  pugi::xml_node title_;
  pugi::xml_node body_;
};

// An id attribute for the place `path` names ("inputs[3]" as
// "inputs-3"), unique as long as paths are: made of schema names only.
std::string Anchor(std::string_view prefix, std::string_view path);

}  // namespace gcuschema::document::internal

#endif
