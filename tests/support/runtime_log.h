#ifndef GCUSCHEMA_TESTS_SUPPORT_RUNTIME_LOG_H
#define GCUSCHEMA_TESTS_SUPPORT_RUNTIME_LOG_H

#include <string>
#include <vector>

#include <google/protobuf/stubs/logging.h>

namespace gcuschema::test {

// While alive, collects what the protobuf runtime logs (it names the field
// of a failed UTF-8 check) instead of letting it reach the test output.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // Everything logged since construction, messages joined.
  std::string Text() const;
  bool Mentions(const std::string& text) const;

 private:
  google::protobuf::LogHandler* previous_;
};

}  // namespace gcuschema::test

#endif
