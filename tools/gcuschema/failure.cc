#include "failure.h"

#include <utility>

namespace gcuschema::tool {
namespace {

void AppendOneLine(std::string* line, const std::string& part) {
  if (part.empty()) return;
  *line += ": ";
  for (char c : part) *line += (c == '\n' || c == '\r') ? ' ' : c;
}

}  // namespace

Failure::Failure(std::string subject, std::string where, std::string message)
    : std::runtime_error(FailureLine(subject, where, message)),
      subject_(std::move(subject)),
      where_(std::move(where)),
      message_(std::move(message)) {}

std::string FailureLine(const std::string& subject, const std::string& where,
                        const std::string& message) {
  std::string line = "gcuschema";
  AppendOneLine(&line, subject);
  AppendOneLine(&line, where);
  AppendOneLine(&line, message);
  return line;
}

}  // namespace gcuschema::tool
