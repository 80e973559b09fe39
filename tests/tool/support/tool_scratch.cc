#include "support/tool_scratch.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include <stdlib.h>

#include <gtest/gtest.h>


namespace gcuschema::test {

namespace fs = std::filesystem;

ScratchDir::ScratchDir() {
  std::string pattern = (fs::temp_directory_path() / "gcuschema-tool-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp " << pattern;
  path_ = pattern;
}

ScratchDir::~ScratchDir() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string ScratchDir::File(const std::string& name) const { return path_ + "/" + name; }

std::string ScratchDir::Put(const std::string& name, const std::string& bytes) const {
  std::string path = File(name);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(out.good()) << "cannot write " << path;
  return path;
}

std::vector<std::string> ScratchDir::Entries() const {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(path_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << "cannot read " << path;
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool FileExists(const std::string& path) { return fs::exists(path); }

}  // namespace gcuschema::test
