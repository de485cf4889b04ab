#include "tests/support/TemporaryFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace quillo {
namespace {

namespace fs = std::filesystem;

void check(bool worked, const std::string& what) {
  if (!worked) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

}  // namespace

TemporaryFolder::TemporaryFolder(const std::string& below) : path_(below + "/quillo-test_XXXXXX") {
  check(mkdtemp(path_.data()) != nullptr, path_);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(std::string_view name, std::string_view contents,
                                   mode_t mode) const {
  std::string path = at(name);
  const bool isNew = !exists(path);
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  check(bool(stream << contents << std::flush), path);
  check((!isNew && mode == 0644) || chmod(path.c_str(), mode) == 0, path);
  return path;
}

std::string TemporaryFolder::makeFolder(std::string_view name) const {
  fs::create_directories(at(name));
  return at(name);
}

std::string TemporaryFolder::link(std::string_view name, std::string_view target) const {
  std::string path = at(name);
  fs::create_directories(fs::path(path).parent_path());
  check(symlink(std::string(target).c_str(), path.c_str()) == 0, path);
  return path;
}

std::string TemporaryFolder::read(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

bool TemporaryFolder::exists(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0;
}

}  // namespace quillo
