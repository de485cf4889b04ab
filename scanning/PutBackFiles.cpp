#include "scanning/PutBackFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <utility>

#include "clamav/Verdict.h"
#include "platform/SystemLog.h"
#include "posix/Clock.h"
#include "posix/FileFacts.h"
#include "posix/FileMoving.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr char fileName[] = "/put-back";
constexpr char header[] = "vantrel-quillo put-back 1";
// Far beyond what is ever written.
constexpr std::int64_t longestStore = 64LL * 1024 * 1024;
// So many lines more than twice those that count are not worth a new file.
constexpr std::size_t fewLines = 1000;
constexpr int mostTries = 100;
// A line is added in far less.
constexpr int locksTried = 20;
constexpr std::chrono::milliseconds betweenTries(5);
// Not every file manager gives a file its time back to the last nanosecond.
constexpr std::int64_t finestTime = 1000;

bool isSameTime(const FileIdentity& a, const FileIdentity& b) {
  return a.changed / finestTime == b.changed / finestTime;
}

// Only with the time at which it was made is a file distinguished from a later one of the same
// number.
bool isSameFile(const FileIdentity& a, const FileIdentity& b) {
  return a.device == b.device && a.number == b.number && a.made == b.made && a.made != 0;
}

// Of the folders: a file's own device may be another than that of its folder (overlayfs).
bool areOnTwoFileSystems(const std::string& folder, const std::string& other) {
  struct stat here = {};
  struct stat there = {};
  return stat(folder.c_str(), &here) == 0 && stat(other.c_str(), &there) == 0 &&
         here.st_dev != there.st_dev;
}

// The file itself, and what this user alone can have written.
bool isOwn(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Returns 0 or an errno: EWOULDBLOCK when somebody else keeps it locked.
int lockSoon(int file, Clock& clock) {
  for (int tries = 0; flock(file, LOCK_EX | LOCK_NB) != 0; ++tries) {
    if ((errno != EWOULDBLOCK && errno != EINTR) || tries == locksTried) {
      return errno;
    }
    clock.sleepFor(betweenTries);
  }
  return 0;
}

std::uint64_t keyOf(const FileIdentity& identity) {
  constexpr std::uint64_t odd = 0x9E3779B97F4A7C15U;
  std::uint64_t key = identity.number;
  for (const std::int64_t value : {identity.made, identity.changed / finestTime, identity.size}) {
    key = (key * odd) ^ static_cast<std::uint64_t>(value);
  }
  return key * odd;
}

std::uint64_t keyOf(const std::string& path) { return std::hash<std::string>()(path); }

}  // namespace

PutBackFiles::PutBackFiles(std::string folder, SystemLog& log, Clock& clock)
    : folder_(std::move(folder)), log_(log), clock_(clock) {}

void PutBackFiles::hasLeft(const Verdict& infection, const FilePrint& found) {
  add({Kind::file, infection.file(), infection.threat, found});
}

void PutBackFiles::wasMoved(const Verdict& infection) {
  if (const auto there = FilePrint::of(infection.destination)) {
    const bool isCopy = areOnTwoFileSystems(deletingLastPathComponent(infection.file()),
                                            deletingLastPathComponent(infection.destination));
    add({isCopy ? Kind::copy : Kind::file, infection.file(), infection.threat, *there});
  }
}

bool PutBackFiles::allow(const std::string& path, const FileIdentity& shown) {
  const auto print = FilePrint::of(path, FilePrint::Hash::always);
  return print && print->identity == shown && add({Kind::allowed, path, "", *print}).empty();
}

std::string PutBackFiles::allow(const std::string& path, const FileIdentity& file,
                                const std::string& hash) {
  return add({Kind::allowed, path, "", {file, hash}});
}

std::string PutBackFiles::add(Entry entry) {
  MutexLock hold(lock_);
  std::string problem = keep(entry);
  if (!problem.empty()) {
    log_.log(problem);
    if (unkept_.size() < most) {
      unkept_.push_back(entry);
    }
    remember(std::move(entry));
  }
  return problem;
}

void PutBackFiles::unlist(std::uint64_t key, Entries::iterator entry) {
  const auto [first, last] = byKey_.equal_range(key);
  const auto found =
      std::find_if(first, last, [entry](const auto& listed) { return listed.second == entry; });
  if (found != last) {
    byKey_.erase(found);
  }
}

void PutBackFiles::drop(Entries::iterator entry) {
  unlist(keyOf(entry->print.identity), entry);
  unlist(keyOf(entry->path), entry);
  listOf(entry->kind).erase(entry);
}

void PutBackFiles::remember(Entry entry) {
  const std::uint64_t key = keyOf(entry.print.identity);
  const auto [first, last] = byKey_.equal_range(key);
  for (auto it = first; it != last; ++it) {
    const Entry& other = *it->second;
    if (other.kind == entry.kind && other.path == entry.path && other.threat == entry.threat &&
        other.print.identity == entry.print.identity) {
      drop(it->second);
      break;
    }
  }
  if (known() == most) {
    drop(entries_.empty() ? allowed_.begin() : entries_.begin());
  }
  Entries& list = listOf(entry.kind);
  list.push_back(std::move(entry));
  const auto latest = std::prev(list.end());
  byKey_.emplace(key, latest);
  if (latest->kind != Kind::file) {
    byKey_.emplace(keyOf(latest->path), latest);
  }
}

void PutBackFiles::forgetAll() {
  byKey_.clear();
  allowed_.clear();
  entries_.clear();
  device_ = number_ = 0;
  read_ = 0;
  lines_ = 0;
  contents_ = Contents::notes;
  for (const Entry& entry : unkept_) {
    remember(entry);
  }
}

bool PutBackFiles::isOf(const Entry& entry, const Verdict& infection, const FileIdentity& now) {
  const FileIdentity& then = entry.print.identity;
  // By its path only one whose contents are known.
  const bool isByPath =
      entry.kind != Kind::file && entry.path == infection.file() && !entry.print.hash.empty();
  // Whatever is found in it: so it is to be the very contents that were allowed.
  const bool isAllowed = entry.kind == Kind::allowed && !entry.print.hash.empty();
  const bool isMeant =
      isAllowed || (entry.kind != Kind::allowed && entry.threat == infection.threat);
  return isMeant && (isSameFile(then, now) || isByPath) && then.size == now.size &&
         isSameTime(then, now);
}

std::vector<std::string> PutBackFiles::hashesOf(const Verdict& infection, const FileIdentity& now) {
  std::vector<std::string> hashes;
  for (const std::uint64_t key : {keyOf(now), keyOf(infection.file())}) {
    const auto [first, last] = byKey_.equal_range(key);
    for (auto it = first; it != last; ++it) {
      if (isOf(*it->second, infection, now)) {
        hashes.push_back(it->second->print.hash);
      }
    }
  }
  return hashes;
}

bool PutBackFiles::isPutBack(const Verdict& infection) {
  const auto now = FileIdentity::at(infection.file());
  if (!now) {
    return false;
  }
  std::vector<std::string> hashes;
  {
    MutexLock hold(lock_);
    refresh();
    hashes = hashesOf(infection, *now);
  }
  if (hashes.empty()) {
    return false;
  }
  // Its time is easily set back; what it holds is not.
  const bool isWithout = std::find(hashes.begin(), hashes.end(), "") != hashes.end();
  const auto print = FilePrint::of(
      infection.file(), isWithout ? FilePrint::Hash::unlessLarge : FilePrint::Hash::always);
  return print && print->identity == now &&
         std::find(hashes.begin(), hashes.end(), print->hash) != hashes.end();
}

void PutBackFiles::refresh() {
  const std::string path = folder_ + fileName;
  struct stat status = {};
  const bool isThere = lstat(path.c_str(), &status) == 0 && isOwn(status);
  if (isThere && status.st_dev == device_ && status.st_ino == number_ && status.st_size == read_) {
    return;
  }
  const UniqueFd file(isThere ? open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)
                              : -1);
  if (!file || fstat(file.get(), &status) != 0 || !isOwn(status)) {
    forgetAll();
    return;
  }
  if (status.st_dev != device_ || status.st_ino != number_ || status.st_size < read_) {
    forgetAll();
    device_ = status.st_dev;
    number_ = status.st_ino;
  }
  readOn(file.get(), status.st_size);
}

// Whole lines; what has no end yet is still being written.
void PutBackFiles::readOn(int file, std::int64_t size) {
  if (size > longestStore) {
    contents_ = Contents::foreign;
    return;
  }
  const auto contents = lseek(file, read_, SEEK_SET) == read_
                            ? restOfFile(file, static_cast<std::size_t>(longestStore))
                            : std::nullopt;
  contents_ = contents ? Contents::notes : Contents::unreadable;
  std::string_view rest = contents ? std::string_view(*contents) : std::string_view();
  bool isHeader = read_ == 0;
  // Half of it is what a crash left.
  if (isHeader && !rest.starts_with(header) && !std::string_view(header).starts_with(rest)) {
    contents_ = Contents::foreign;
    return;
  }
  for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
    const std::string_view line = rest.substr(0, end);
    if (std::exchange(isHeader, false) && line != header) {
      contents_ = Contents::foreign;
      return;
    }
    ++lines_;
    if (auto entry = Entry::parse(line)) {
      remember(std::move(*entry));
    }
    rest.remove_prefix(end + 1);
    read_ += static_cast<std::int64_t>(end) + 1;
  }
}

// The file that bears the name once it is locked; none when there is none that can be added to. It
// is a problem when there is one, and it cannot be opened or locked.
UniqueFd PutBackFiles::openLocked(std::string& problem) {
  const std::string path = folder_ + fileName;
  for (int tries = 0; tries < mostTries; ++tries) {
    UniqueFd file(open(path.c_str(), O_RDWR | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat opened = {};
    struct stat named = {};
    const int failure = file ? 0 : errno;
    if (failure == ENOENT || failure == ENOTDIR) {
      return UniqueFd();
    }
    const bool isForeign = failure == ELOOP || failure == EISDIR ||
                           (file && fstat(file.get(), &opened) == 0 && !isOwn(opened));
    if (const int error = isForeign ? setAside() : failure; error != 0) {
      problem = path + " cannot be opened: " + std::strerror(error);
      return UniqueFd();
    }
    if (isForeign) {
      continue;
    }
    if (const int error = lockSoon(file.get(), clock_); error != 0) {
      problem = path + " cannot be locked: " + std::strerror(error);
      return UniqueFd();
    }
    if (lstat(path.c_str(), &named) == 0 && named.st_ino == opened.st_ino &&
        named.st_dev == opened.st_dev) {
      return file;
    }
  }
  problem = path + " is always another file";
  return UniqueFd();
}

std::string PutBackFiles::keep(const Entry& entry) {
  std::string problem;
  for (int tries = 0; tries < mostTries; ++tries) {
    problem.clear();
    const UniqueFd file = openLocked(problem);
    refresh();
    if (!problem.empty()) {
      break;
    }
    if (file && contents_ == Contents::foreign && setAside() == 0) {
      continue;
    }
    if (file && contents_ != Contents::notes) {
      problem = folder_ + fileName + " cannot be read";
      break;
    }
    if (file && canGrow()) {
      return append(file.get(), entry);
    }
    remember(entry);
    if (writeAnew(static_cast<bool>(file), problem)) {
      break;
    }
  }
  return problem;
}

int PutBackFiles::setAside() {
  const std::string path = folder_ + fileName;
  std::string aside;
  const int error = moveAside(path, aside);
  if (error == 0) {
    log_.log(path + " is none of this program's, or others can write to it; it is now " + aside);
  }
  return error == ENOENT ? 0 : error;
}

bool PutBackFiles::canGrow() const {
  return lines_ > 0 && lines_ < 2 * known() + fewLines && read_ < longestStore;
}

std::string PutBackFiles::append(int file, const Entry& entry) {
  struct stat status = {};
  // Behind half a line, which a crash or a full disk left, begins a new one.
  const bool endsInHalfALine = fstat(file, &status) == 0 && status.st_size > read_;
  std::string lines = endsInHalfALine ? "\n" : "";
  for (const Entry& unkept : unkept_) {
    lines += unkept.line();
  }
  if (!writeAll(file, lines + entry.line())) {
    return folder_ + fileName + " cannot be written: " + std::strerror(errno);
  }
  unkept_.clear();
  refresh();
  return {};
}

// A new file that takes the place of the old one, so that no half of it is ever read. Returns false
// when another process has made one meanwhile.
bool PutBackFiles::writeAnew(bool replaces, std::string& problem) {
  std::string contents = std::string(header) + "\n";
  for (const Entries* list : {&allowed_, &entries_}) {
    for (const Entry& entry : *list) {
      contents += entry.line();
    }
  }
  makeFolders(folder_);
  const std::string path = folder_ + fileName;
  const std::string fresh = path + secretName();
  problem = writeOwnFile("The list of files that were put back", fresh, contents);
  if (!problem.empty()) {
    return true;
  }
  const int error = !replaces ? renameWithoutReplacing(AT_FDCWD, fresh, AT_FDCWD, path)
                    : std::rename(fresh.c_str(), path.c_str()) == 0 ? 0
                                                                    : errno;
  if (error != 0) {
    problem = path + " cannot be replaced: " + std::strerror(error);
    unlink(fresh.c_str());
    return error != EEXIST;
  }
  unkept_.clear();
  refresh();
  return true;
}

}  // namespace quillo
