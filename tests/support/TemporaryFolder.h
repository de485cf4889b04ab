#pragma once

#include <string>

namespace quillo {

// A folder of the test's own below /tmp, gone with everything in it when the object goes.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  // Without a "/" at its end.
  const std::string& path() const { return path_; }
  // Writes a file below the folder, with the folders it needs, and gives its path.
  std::string write(const std::string& relativePath, const std::string& contents) const;
  std::string makeFolder(const std::string& relativePath) const;
  // As write(), and executable.
  std::string writeProgram(const std::string& relativePath, const std::string& contents) const;

 private:
  std::string path_;
};

}  // namespace quillo
