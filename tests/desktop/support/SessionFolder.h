#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/desktop/support/session/PrivateSession.h"

namespace quillo {

// A new empty folder inside the private session, gone with this object.
class TestFolder {
 public:
  TestFolder() : path_(PrivateSession::folder() + "/folder-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
      std::abort();
    }
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  const std::string& path() const { return path_; }
  // Writes the file of that name, with the folders that it needs, and gives its path.
  std::string write(const std::string& name, const std::string& text) const {
    const std::filesystem::path file = std::filesystem::path(path_) / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
    return file.string();
  }
  static std::string contentsOf(const std::string& path) {
    std::ostringstream out;
    out << std::ifstream(path, std::ios::binary).rdbuf();
    return out.str();
  }

 private:
  std::string path_;
};

}  // namespace quillo
