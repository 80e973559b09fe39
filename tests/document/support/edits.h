// Edits by path, as a command line gives them.
#ifndef GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_EDITS_H
#define GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_EDITS_H

#include <string>
#include <vector>

#include <gcuschema/document/edit.h>

namespace gcuschema::test {

inline std::vector<document::Assignment> Edits(const std::vector<std::string>& texts) {
  std::vector<document::Assignment> out;
  for (const std::string& text : texts) out.push_back(document::ParseAssignment(text));
  return out;
}

}  // namespace gcuschema::test

#endif
