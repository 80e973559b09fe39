#include "support/runtime_log.h"

namespace gcuschema::test {
namespace {

std::vector<std::string>& Messages() {
  static std::vector<std::string> messages;
  return messages;
}

void Collect(google::protobuf::LogLevel, const char*, int, const std::string& message) {
  Messages().push_back(message);
}

}  // namespace

LogCapture::LogCapture() {
  Messages().clear();
  previous_ = google::protobuf::SetLogHandler(&Collect);
}

LogCapture::~LogCapture() { google::protobuf::SetLogHandler(previous_); }

std::string LogCapture::Text() const {
  std::string text;
  for (const std::string& m : Messages()) text += m;
  return text;
}

bool LogCapture::Mentions(const std::string& text) const {
  return Text().find(text) != std::string::npos;
}

}  // namespace gcuschema::test
