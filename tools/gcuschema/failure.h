#ifndef GCUSCHEMA_TOOL_FAILURE_H
#define GCUSCHEMA_TOOL_FAILURE_H

#include <stdexcept>
#include <string>

#include <gcuschema/document/error.h>

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

// What follows a library message whose remedy the tool's options apply:
// " (--pair input:10=AdcSwitchConfiguration)", "; run `gcuschema schemas`
// to list the records"; empty when there is nothing to add.
std::string RemedyHint(const document::Remedy& remedy);

// Runs `work`; an error of the companion library becomes a Failure about
// `subject`, its message followed by RemedyHint: the one place where the
// tool turns the library's errors into its own.
template <typename Work>
auto AsFailure(const std::string& subject, Work&& work) -> decltype(work()) {
  try {
    return work();
  } catch (const document::Error& e) {
    throw Failure(subject, e.where(), e.message() + RemedyHint(e.remedy()));
  }
}

}  // namespace gcuschema::tool

#endif
