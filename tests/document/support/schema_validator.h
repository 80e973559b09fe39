#ifndef GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_SCHEMA_VALIDATOR_H
#define GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_SCHEMA_VALIDATOR_H

#include <string>
#include <vector>

namespace gcuschema::test {

// What the validator said of one document.
struct SchemaVerdict {
  bool valid = false;
  std::string reason;  // where and why, when not valid
};

// Documents (JSON text, one line each) to validate against a schema.
struct SchemaCheck {
  std::string schema;
  std::vector<std::string> documents;
};

// Why Debian's JSON Schema validator (python3-jsonschema, under
// /usr/bin/python3) cannot be run here, for the test's skip message; empty
// when it can.
std::string SchemaValidatorMissing();

// The verdicts of that validator on each check's documents, in one run of
// it. Fails the test, and gives fewer verdicts, when it does not run
// through.
std::vector<std::vector<SchemaVerdict>> ValidateAgainstSchemas(const std::vector<SchemaCheck>& checks);

}  // namespace gcuschema::test

#endif
