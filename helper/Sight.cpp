#include "helper/Sight.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

#include "helper/Visibility.h"

namespace quillo::helper {
namespace {

using std::string_view;

// More than any path has but one that was made to have more.
constexpr std::size_t mostSteps = 256;

// Cheaper than fstatat(2), which returns more.
bool exists(int folder, const std::string& name) {
  constexpr int flags = AT_EACCESS | AT_SYMLINK_NOFOLLOW;
  return syscall(SYS_faccessat2, folder, name.c_str(), F_OK, flags) == 0;
}

}  // namespace

Sight::Sight() : caller_(getuid()) {}

bool Sight::sees(string_view folder, string_view name) {
  if (!enter(folder)) return false;
  name_ = name;
  Step& last = steps_.back();
  if (mayList(last)) return exists(last.folder.get(), name_);
  struct stat info {};
  constexpr int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
  return fstatat(last.folder.get(), name_.c_str(), &info, flags) == 0 && info.st_uid == caller_;
}

void Sight::forget() {
  path_.clear();
  steps_.clear();
}

// What is entered in a row has much in common: a folder, or those above it.
bool Sight::enter(string_view folder) {
  if (!steps_.empty() && folder == path_) return isThere_;
  const auto common = static_cast<std::size_t>(
      std::mismatch(folder.begin(), folder.end(), path_.begin(), path_.end()).first -
      folder.begin());
  while (!steps_.empty() && steps_.back().end > common) steps_.pop_back();
  path_ = folder;
  isThere_ = descend();
  return isThere_;
}

bool Sight::descend() {
  if (steps_.empty()) steps_.push_back({1, UniqueFd(openFolder("/", O_PATH)), std::nullopt});
  while (steps_.back().end < path_.size()) {
    const std::size_t begin = steps_.back().end;
    const std::size_t slash = path_.find('/', begin);
    if (slash == std::string::npos) return false;
    auto next = stepTo(path_.substr(begin, slash - begin), slash + 1);
    if (!next) return false;
    // Of a deeper path the last step stands for all that are left out.
    if (steps_.size() == mostSteps) steps_.pop_back();
    steps_.push_back(std::move(*next));
  }
  return true;
}

std::optional<Sight::Step> Sight::stepTo(const std::string& name, std::size_t end) {
  Step& from = steps_.back();
  Step next{end, UniqueFd(openFolderAt(from.folder.get(), name, O_PATH)), std::nullopt};
  struct stat info {};
  if (!next.folder || fstat(next.folder.get(), &info) < 0) return std::nullopt;
  if (!mayList(from) && info.st_uid != caller_) return std::nullopt;
  return next;
}

bool Sight::mayList(Step& step) {
  if (!step.listable) step.listable = isListable(step.folder.get());
  return *step.listable;
}

}  // namespace quillo::helper
