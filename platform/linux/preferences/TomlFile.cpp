#include "platform/linux/preferences/TomlFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "platform/TomlText.h"
#include "posix/FileFacts.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr std::size_t largestFile = 4UL * 1024 * 1024;

void cannotRead(TomlFile& file, const std::string& path, int error) {
  const std::string reason = std::strerror(error);
  file.problem = path + ": " + reason;
  file.wording = {"PATH_UNREADABLE", {path, reason}};
}

std::string versionOf(const struct stat& info) {
  return std::to_string(info.st_dev) + ' ' + std::to_string(info.st_ino) + ' ' +
         std::to_string(info.st_size) + ' ' + std::to_string(info.st_mtim.tv_sec) + ' ' +
         std::to_string(info.st_mtim.tv_nsec);
}

}  // namespace

TomlFile TomlFile::read(const std::string& path) {
  TomlFile file;
  // Not to hang on a FIFO that somebody put there.
  const UniqueFd descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!descriptor) {
    if (errno != ENOENT && errno != ENOTDIR) {
      cannotRead(file, path, errno);
    }
    return file;
  }
  struct stat info = {};
  if (fstat(descriptor.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
    file.problem = path + ": not a regular file";
    file.wording = {"PATH_NO_REGULAR_FILE", {path}};
    return file;
  }
  file.version = versionOf(info);
  const std::optional<std::string> text = restOfFile(descriptor.get(), largestFile);
  if (!text) {
    cannotRead(file, path, errno);
    return file;
  }
  TomlText parsed = TomlText::parse(*text);
  file.values = std::move(parsed.values);
  if (const auto& problem = parsed.problem) {
    file.problem = path + ':' + std::to_string(problem->line) + ':' +
                   std::to_string(problem->column) + ": " + problem->reason;
    file.wording.values = {file.problem};
  }
  return file;
}

}  // namespace quillo
