// The library's Error a call throws, for tests that look at its message.
#ifndef GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_THROWN_H
#define GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_THROWN_H

#include <gtest/gtest.h>

#include <gcuschema/document/error.h>

namespace gcuschema::test {

// The Error `call` throws; fails the test when it throws none.
template <typename Call>
document::Error Thrown(Call call) {
  try {
    call();
  } catch (const document::Error& e) {
    return e;
  }
  ADD_FAILURE() << "no Error thrown";
  return document::Error("", "");
}

}  // namespace gcuschema::test

#endif
