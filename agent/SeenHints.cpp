#include "agent/SeenHints.h"

#include <sys/stat.h>
#include <unistd.h>

#include "platform/Folders.h"
#include "platform/SystemLog.h"
#include "posix/OwnFile.h"

namespace quillo {

std::string SeenHints::fileOf(const std::string& subject) const {
  std::string name;
  for (const char c : subject) {
    const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    name += isPlain ? c : '-';
  }
  return folders_.stateFolder() + "/told-" + name;
}

bool SeenHints::isNews(const std::string& subject) {
  struct stat info = {};
  return lstat(fileOf(subject).c_str(), &info) != 0 && seenNow_.insert(subject).second;
}

void SeenHints::remember(const std::string& subject) {
  const std::string problem = writeNewFile("What was told", fileOf(subject), "");
  if (!problem.empty()) {
    log_.log(problem);
  }
}

void SeenHints::forget(const std::string& subject) {
  seenNow_.erase(subject);
  unlink(fileOf(subject).c_str());
}

}  // namespace quillo
