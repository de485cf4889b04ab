#include "tests/support/TemporaryFolder.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace quillo {

TemporaryFolder::TemporaryFolder() {
  char pattern[] = "/tmp/quillo-test_XXXXXX";
  if (!mkdtemp(pattern)) {
    throw std::runtime_error("cannot make a temporary folder below /tmp");
  }
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string& relativePath,
                                   const std::string& contents) const {
  const std::filesystem::path file = path_ + "/" + relativePath;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary | std::ios::trunc) << contents;
  return file.string();
}

std::string TemporaryFolder::makeFolder(const std::string& relativePath) const {
  const std::string folder = path_ + "/" + relativePath;
  std::filesystem::create_directories(folder);
  return folder;
}

std::string TemporaryFolder::writeProgram(const std::string& relativePath,
                                          const std::string& contents) const {
  const std::string file = write(relativePath, contents);
  chmod(file.c_str(), 0755);
  return file;
}

}  // namespace quillo
