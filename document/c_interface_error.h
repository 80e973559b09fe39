// Private to the document library: how the C interface turns what the C++
// surface throws into a status and a gcuschema_error.
#ifndef GCUSCHEMA_DOCUMENT_C_INTERFACE_ERROR_H
#define GCUSCHEMA_DOCUMENT_C_INTERFACE_ERROR_H

#include <new>
#include <stdexcept>
#include <string>

#include <gcuschema/document/c.h>
#include <gcuschema/document/error.h>

namespace gcuschema::document::c {

// A call of the interface given what it cannot work with: the status, and a
// message naming the argument and what to give instead.
class Failure : public std::runtime_error {
 public:
  Failure(gcuschema_status status, const std::string& message) : std::runtime_error(message), status_(status) {}
  gcuschema_status status() const noexcept { return status_; }

 private:
  gcuschema_status status_;
};

// What follows a library message whose remedy lies outside the document, in
// the terms of this interface: " (record \"CalibrationData\")".
std::string RemedyHint(const Remedy& remedy);

// The status of a failure, with its error object in *error when error is
// not null (the constant one for out of memory when even that cannot be
// made).
gcuschema_status Report(gcuschema_error** error, gcuschema_status status, const std::string& message,
                        const std::string& where = "");
gcuschema_status ReportOutOfMemory(gcuschema_error** error);

// Runs `work`, catching everything: an Error of the library is a failure of
// `document_status` (a failure of the format or of the record where its
// remedy says so).
template <typename Work>
gcuschema_status Guarded(gcuschema_error** error, gcuschema_status document_status, Work&& work) noexcept {
  if (error != nullptr) *error = nullptr;
  try {
    try {
      work();
      return GCUSCHEMA_OK;
    } catch (const Failure& failure) {
      return Report(error, failure.status(), failure.what());
    } catch (const UnsupportedError& e) {
      return Report(error, GCUSCHEMA_ERROR_UNSUPPORTED, e.what() + RemedyHint(e.remedy()), e.where());
    } catch (const Error& e) {
      gcuschema_status status = document_status;
      if (e.remedy().kind == Remedy::Kind::kNameFormat) status = GCUSCHEMA_ERROR_FORMAT;
      if (e.remedy().kind == Remedy::Kind::kNameRecord) status = GCUSCHEMA_ERROR_RECORD;
      return Report(error, status, e.what() + RemedyHint(e.remedy()), e.where());
    } catch (const std::bad_alloc&) {
      return ReportOutOfMemory(error);
    } catch (const std::exception& e) {
      return Report(error, GCUSCHEMA_ERROR_INTERNAL,
                    std::string("the library failed inside: ") + e.what() + "; report it with the input that caused it");
    } catch (...) {
      return Report(error, GCUSCHEMA_ERROR_INTERNAL,
                    "the library failed inside (an exception of unknown type); report it with the input that caused "
                    "it");
    }
  } catch (...) {
    // Making the message itself failed: memory ran out.
    return ReportOutOfMemory(error);
  }
}

}  // namespace gcuschema::document::c

#endif
