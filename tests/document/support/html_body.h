// The body of a page the library writes (report.h), read back as the tree
// it was written from, for tests to look into.
#ifndef GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_HTML_BODY_H
#define GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_HTML_BODY_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pugixml.hpp>

namespace gcuschema::test {

class HtmlBody {
 public:
  // Fails the test when the body is not well formed.
  explicit HtmlBody(const std::string& page) {
    const std::size_t from = page.find("<body>");
    const std::size_t to = page.rfind("</body>");
    EXPECT_NE(from, std::string::npos);
    EXPECT_NE(to, std::string::npos);
    if (from == std::string::npos || to == std::string::npos) return;
    const std::string text = page.substr(from, to + 7 - from);
    const pugi::xml_parse_result parsed = tree_.load_buffer(text.data(), text.size());
    EXPECT_TRUE(parsed) << parsed.description() << " at " << parsed.offset;
    body = tree_.child("body");
  }

  // Every element, in document order.
  void Each(const std::function<void(pugi::xml_node)>& visit) const {
    for (const pugi::xpath_node& found : body.select_nodes("descendant-or-self::*")) visit(found.node());
  }

  std::size_t Elements(const std::string& name) const {
    std::size_t n = 0;
    Each([&](pugi::xml_node node) { n += name == node.name() ? 1 : 0; });
    return n;
  }

  // Elements whose class is `css`.
  std::vector<pugi::xml_node> OfClass(const std::string& css) const {
    std::vector<pugi::xml_node> found;
    Each([&](pugi::xml_node node) {
      if (css == node.attribute("class").value()) found.push_back(node);
    });
    return found;
  }

  pugi::xml_node ById(const std::string& id) const {
    pugi::xml_node found;
    Each([&](pugi::xml_node node) {
      if (!found && id == node.attribute("id").value()) found = node;
    });
    return found;
  }

  // Each element's own text (its text children joined), where it has some.
  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    Each([&](pugi::xml_node node) {
      std::string own;
      for (pugi::xml_node child : node.children()) {
        if (child.type() == pugi::node_pcdata) own += child.value();
      }
      if (!own.empty()) texts.push_back(own);
    });
    return texts;
  }

  bool HasText(const std::string& text) const {
    for (const std::string& shown : Texts()) {
      if (shown.find(text) != std::string::npos) return true;
    }
    return false;
  }

  pugi::xml_node body;

 private:
  pugi::xml_document tree_;
};

// All the text inside `node`.
inline std::string TextOf(pugi::xml_node node) {
  std::string out;
  for (const pugi::xpath_node& text : node.select_nodes("descendant::text()")) out += text.node().value();
  return out;
}

}  // namespace gcuschema::test

#endif
