#include "tests/soak/LogTail.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace quillo::tests {
namespace {

constexpr std::size_t timestampLength = 20;
// The agent has left the older ones long since.
constexpr std::size_t mostFiles = 20;

}  // namespace

// The file stays open, so that its number is nobody else's meanwhile.
void LogTail::openNewest() {
  UniqueFd file(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status = {};
  if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return;
  }
  const bool isKnown = std::any_of(files_.begin(), files_.end(), [&](const File& known) {
    return known.number == status.st_ino;
  });
  if (!isKnown) {
    files_.push_back({std::move(file), status.st_ino, ""});
    if (files_.size() > mostFiles) {
      files_.erase(files_.begin());
    }
  }
}

void LogTail::read(const std::function<void(const std::string& line)>& take) {
  openNewest();
  std::string piece(1U << 16U, '\0');
  for (File& file : files_) {
    for (ssize_t count = 0;
         (count = ::read(file.descriptor.get(), piece.data(), piece.size())) > 0;) {
      file.begun.append(piece, 0, static_cast<std::size_t>(count));
      std::size_t start = 0;
      for (std::size_t end = 0; (end = file.begun.find('\n', start)) != std::string::npos;
           start = end + 1) {
        take(file.begun.substr(std::min(start + timestampLength, end),
                               end - std::min(start + timestampLength, end)));
      }
      file.begun.erase(0, start);
    }
  }
}

}  // namespace quillo::tests
