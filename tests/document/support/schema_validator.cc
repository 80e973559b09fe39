#include "support/schema_validator.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#ifndef _WIN32
#include <stdlib.h>
#endif

namespace gcuschema::test {
namespace {

namespace fs = std::filesystem;

constexpr char kPython[] = "/usr/bin/python3";

}  // namespace

std::string SchemaValidatorMissing() {
#ifdef _WIN32
  return "the JSON Schema validator (python3-jsonschema) runs on the build machine, not under Windows";
#else
  const std::string command = std::string(kPython) + " -c 'import jsonschema' 2>/dev/null";
  if (std::system(command.c_str()) != 0) {
    return "python3-jsonschema is not installed (Debian's /usr/bin/python3 cannot import jsonschema); "
           "scripts/install-deps.sh installs it";
  }
  return "";
#endif
}

std::vector<std::vector<SchemaVerdict>> ValidateAgainstSchemas(const std::vector<SchemaCheck>& checks) {
  std::vector<std::vector<SchemaVerdict>> verdicts(checks.size());
#ifdef _WIN32
  ADD_FAILURE() << SchemaValidatorMissing();
#else
  std::string directory = (fs::temp_directory_path() / "gcuschema-schema-check-XXXXXX").string();
  if (::mkdtemp(directory.data()) == nullptr) {
    ADD_FAILURE() << "cannot make a directory like " << directory;
    return verdicts;
  }
  std::string command = std::string(kPython) + " " + GCUSCHEMA_SCHEMA_VALIDATOR;
  for (std::size_t i = 0; i < checks.size(); ++i) {
    const std::string schema_path = directory + "/schema" + std::to_string(i) + ".json";
    const std::string documents_path = directory + "/documents" + std::to_string(i) + ".jsonl";
    std::ofstream schema(schema_path, std::ios::binary);
    schema << checks[i].schema;
    std::ofstream lines(documents_path, std::ios::binary);
    for (const std::string& document : checks[i].documents) {
      if (document.find('\n') != std::string::npos) ADD_FAILURE() << "a document spans lines: " << document;
      lines << document << '\n';
    }
    if (!schema.good() || !lines.good()) ADD_FAILURE() << "cannot write the documents to " << directory;
    command += " " + schema_path + " " + documents_path;
  }
  if (FILE* output = ::popen(command.c_str(), "r")) {
    std::size_t check = 0;
    std::string line;
    for (int c; (c = std::fgetc(output)) != EOF;) {
      if (c != '\n') {
        line.push_back(static_cast<char>(c));
        continue;
      }
      while (check < checks.size() && verdicts[check].size() == checks[check].documents.size()) ++check;
      if (check == checks.size()) {
        ADD_FAILURE() << "the validator says more than it was asked: " << line;
        break;
      }
      SchemaVerdict verdict;
      verdict.valid = line == "valid";
      if (!verdict.valid) verdict.reason = line.rfind("invalid ", 0) == 0 ? line.substr(8) : line;
      verdicts[check].push_back(std::move(verdict));
      line.clear();
    }
    const int status = ::pclose(output);
    if (status != 0) ADD_FAILURE() << command << " exited with status " << status;
  } else {
    ADD_FAILURE() << "cannot run " << command;
  }
  for (std::size_t i = 0; i < checks.size(); ++i) {
    if (verdicts[i].size() != checks[i].documents.size()) {
      ADD_FAILURE() << "the validator judged " << verdicts[i].size() << " of " << checks[i].documents.size()
                    << " documents of schema " << i;
    }
  }
  std::error_code ignored;
  fs::remove_all(directory, ignored);
#endif
  return verdicts;
}

}  // namespace gcuschema::test
