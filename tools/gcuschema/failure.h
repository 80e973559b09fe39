#ifndef GCUSCHEMA_TOOL_FAILURE_H
#define GCUSCHEMA_TOOL_FAILURE_H

#include <stdexcept>
#include <string>

namespace gcuschema::tool {

// Exit statuses: 0 done (clean, equal), 1 findings or differences,
// 2 the run could not do its work (bad input, bad usage, I/O failure).
inline constexpr int kExitOk = 0;
inline constexpr int kExitFindings = 1;
inline constexpr int kExitFailure = 2;

// Why a run stops: what it concerns (a file name, "<stdin>", "<stdout>" or
// an option such as "--type"), where in it (a byte offset, a field path, a
// line and column; may be empty) and what is wrong and what to do.
class Failure : public std::runtime_error {
 public:
  Failure(std::string subject, std::string where, std::string message);

  const std::string& subject() const noexcept { return subject_; }
  const std::string& where() const noexcept { return where_; }
  const std::string& message() const noexcept { return message_; }

 private:
  std::string subject_;
  std::string where_;
  std::string message_;
};

// The one line printed for a failure, without its newline:
// "gcuschema: <subject>: <where>: <message>", empty parts left out and
// line breaks inside the parts turned into spaces and other control bytes
// or bytes that are not UTF-8 shown as \xNN, so that every error is exactly
// one readable line however the library or the runtime words it.
std::string FailureLine(const std::string& subject, const std::string& where,
                        const std::string& message);

}  // namespace gcuschema::tool

#endif
