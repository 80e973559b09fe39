#include "schema_comments.h"

#include <cstddef>
#include <memory>
#include <sstream>

#include <google/protobuf/descriptor.pb.h>

namespace gcuschema::document::internal {

// The descriptor set protoc wrote with source info (schema_source_info.cc,
// made at build time).
extern const unsigned char kSchemaSourceInfo[];
extern const std::size_t kSchemaSourceInfo_size;

namespace {

namespace pb = google::protobuf;

// The schema files as protoc read them, comments included.
const pb::DescriptorPool& CommentedPool() {
  static const std::unique_ptr<pb::DescriptorPool> pool = [] {
    auto built = std::make_unique<pb::DescriptorPool>();
    pb::FileDescriptorSet files;
    if (files.ParseFromArray(kSchemaSourceInfo, static_cast<int>(kSchemaSourceInfo_size))) {
      // The schema files import nothing, so any order builds.
      for (const pb::FileDescriptorProto& file : files.file()) built->BuildFile(file);
    }
    return built;
  }();
  return *pool;
}

// A comment as running text: its lines joined by spaces, a blank line kept
// as a paragraph break.
std::string Paragraphs(const std::string& text) {
  std::string out;
  bool blank = false;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos) {
      blank = !out.empty();
      continue;
    }
    line = line.substr(first, line.find_last_not_of(" \t") - first + 1);
    if (!out.empty()) out += blank ? "\n\n" : " ";
    out += line;
    blank = false;
  }
  return out;
}

template <typename Element>
std::string Comment(const Element* element) {
  pb::SourceLocation location;
  if (element == nullptr || !element->GetSourceLocation(&location)) return std::string();
  const std::string leading = Paragraphs(location.leading_comments);
  const std::string trailing = Paragraphs(location.trailing_comments);
  if (leading.empty() || trailing.empty()) return leading + trailing;
  return leading + "\n" + trailing;
}

}  // namespace

std::string CommentOf(const pb::Descriptor* type) {
  return Comment(CommentedPool().FindMessageTypeByName(type->full_name()));
}

std::string CommentOf(const pb::FieldDescriptor* field) {
  const pb::Descriptor* type = CommentedPool().FindMessageTypeByName(field->containing_type()->full_name());
  return type == nullptr ? std::string() : Comment(type->FindFieldByName(field->name()));
}

}  // namespace gcuschema::document::internal
