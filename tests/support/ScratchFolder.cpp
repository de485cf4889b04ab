#include "tests/support/ScratchFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace quillo {
namespace {

void check(bool worked, const std::string& what) {
  if (!worked) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

}  // namespace

std::string ScratchFolder::at(std::string_view name) const {
  return path() + "/" + std::string(name);
}

std::string ScratchFolder::file(std::string_view name, std::string_view content,
                                mode_t mode) const {
  const std::string path = write(std::string(name), std::string(content));
  check(chmod(path.c_str(), mode) == 0, path);
  return path;
}

std::string ScratchFolder::link(std::string_view name, std::string_view target) const {
  const std::string path = at(name);
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  check(symlink(std::string(target).c_str(), path.c_str()) == 0, path);
  return path;
}

std::string ScratchFolder::read(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

bool ScratchFolder::exists(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0;
}

}  // namespace quillo
