#ifndef GCUSCHEMA_TESTS_TOOL_SUPPORT_TOOL_SCRATCH_H
#define GCUSCHEMA_TESTS_TOOL_SUPPORT_TOOL_SCRATCH_H

#include <string>
#include <vector>

namespace gcuschema::test {

// A fresh directory for one test's files, removed with everything in it
// when the test ends.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  const std::string& path() const { return path_; }
  // path()/name
  std::string File(const std::string& name) const;
  // Writes `bytes` to path()/name and returns that path.
  std::string Put(const std::string& name, const std::string& bytes) const;
  // The names of the directory's entries, sorted.
  std::vector<std::string> Entries() const;

 private:
  std::string path_;
};

// A file's bytes; fails the test when it cannot be read.
std::string ReadFileBytes(const std::string& path);
bool FileExists(const std::string& path);

}  // namespace gcuschema::test

#endif
