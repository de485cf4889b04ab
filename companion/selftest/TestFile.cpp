#include "companion/selftest/TestFile.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "clamav/Definitions.h"
#include "history/AbandonedTests.h"
#include "posix/FileFacts.h"
#include "posix/FolderReader.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

// Of what the Trash notes of a file (freedesktop.org: Trash).
constexpr std::string_view noteEnding = ".trashinfo";

bool holds(int folder, const char* name, const std::string& contents) {
  const UniqueFd file(openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  return file && restOfFile(file.get(), contents.size()) == contents;
}

}  // namespace

std::string newTestFileName() {
  std::array<unsigned char, 8> bytes = {};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    return {};
  }
  std::string name(selfTestBeginning);
  for (const unsigned char byte : bytes) {
    std::array<char, 4> digits = {};
    std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned int>(byte));
    name += digits.data();
  }
  return name + ".com";
}

int writeTestFile(const std::string& folder, const std::string& name) {
  const UniqueFd place(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!place) {
    return errno;
  }
  UniqueFd file(openat(place.get(), name.c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) {
    return errno;
  }
  if (writeAll(file.get(), eicarTestFile()) && close(file.release()) == 0) {
    return 0;
  }
  const int error = errno;
  unlinkat(place.get(), name.c_str(), 0);
  return error;
}

std::string removeTestFile(const std::string& folder, const std::string& name) {
  FolderReader reader(folder, Links::followed);
  if (name.empty() || !reader) {
    return {};
  }
  const std::string contents = eicarTestFile();
  std::string left;
  while (const dirent* entry = reader.next()) {
    const std::string entryName = entry->d_name;
    struct stat info = {};
    const bool isIt =
        entryName.find(name) != std::string::npos &&
        fstatat(reader.descriptor(), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(info.st_mode) && info.st_uid == geteuid() &&
        (entryName.ends_with(noteEnding) || holds(reader.descriptor(), entry->d_name, contents));
    if (isIt && unlinkat(reader.descriptor(), entry->d_name, 0) != 0 && errno != ENOENT) {
      left = left.empty() ? folder + "/" + entryName : left;
    }
  }
  return left;
}

}  // namespace quillo
