#include "scanning/PutBackFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "clamav/Verdict.h"
#include "platform/SystemLog.h"
#include "posix/FileFacts.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr char fileName[] = "/put-back";
constexpr char header[] = "vantrel-quillo put-back 1";
constexpr std::int64_t longestHashed = 64LL * 1024 * 1024;
// Far beyond what is ever written.
constexpr std::size_t longestStore = 4UL * 1024 * 1024;
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

bool isHash(std::string_view text) {
  return text.empty() ||
         (text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string::npos);
}

// What this user alone has written there; absent when there is nothing of the kind.
std::optional<std::string> ownContents(const std::string& path) {
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status = {};
  if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
      status.st_uid != geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    return std::nullopt;
  }
  return restOfFile(file.get(), longestStore);
}

}  // namespace

std::optional<FilePrint> FilePrint::of(const std::string& path) {
  const auto before = FileIdentity::at(path);
  if (!before) {
    return std::nullopt;
  }
  FilePrint print{*before, ""};
  if (before->size <= longestHashed) {
    const UniqueFd file(
        open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    const auto hash = file ? sha256OfFile(file.get(), longestHashed) : std::nullopt;
    if (!hash || FileIdentity::at(path) != before) {
      return std::nullopt;
    }
    print.hash = *hash;
  }
  return print;
}

PutBackFiles::PutBackFiles(std::string folder, SystemLog& log)
    : folder_(std::move(folder)), log_(log) {}

void PutBackFiles::hasLeft(const Verdict& infection, const FilePrint& found) {
  add({infection.file(), infection.threat, found, false});
}

void PutBackFiles::wasMoved(const Verdict& infection) {
  if (const auto there = FilePrint::of(infection.destination)) {
    add({infection.file(), infection.threat, *there,
         areOnTwoFileSystems(deletingLastPathComponent(infection.file()),
                             deletingLastPathComponent(infection.destination))});
  }
}

void PutBackFiles::add(Entry entry) {
  MutexLock hold(lock_);
  readOnce();
  std::erase_if(entries_, [&entry](const Entry& other) {
    return other.path == entry.path && other.threat == entry.threat &&
           other.print.identity == entry.print.identity;
  });
  if (entries_.size() == most) {
    entries_.pop_front();
  }
  entries_.push_back(std::move(entry));
  write();
}

bool PutBackFiles::isOf(const Entry& entry, const Verdict& infection, const FileIdentity& now) {
  const FileIdentity& then = entry.print.identity;
  const bool isThere = isSameFile(then, now) || (entry.isCopy && entry.path == infection.file() &&
                                                 !entry.print.hash.empty());
  return isThere && entry.threat == infection.threat && then.size == now.size &&
         isSameTime(then, now);
}

bool PutBackFiles::isPutBack(const Verdict& infection) {
  const auto now = FileIdentity::at(infection.file());
  if (!now) {
    return false;
  }
  std::vector<std::string> hashes;
  {
    MutexLock hold(lock_);
    readOnce();
    for (const Entry& entry : entries_) {
      if (isOf(entry, infection, *now)) {
        hashes.push_back(entry.print.hash);
      }
    }
  }
  if (hashes.empty()) {
    return false;
  }
  // Its time is easily set back; what it holds is not.
  const auto print = FilePrint::of(infection.file());
  return print && print->identity == now &&
         std::find(hashes.begin(), hashes.end(), print->hash) != hashes.end();
}

// Fields with a tab between them; no name holds one in its reported spelling.
std::string PutBackFiles::lineOf(const Entry& entry) {
  const FileIdentity& identity = entry.print.identity;
  std::string line = entry.isCopy ? "copy" : "file";
  for (const auto number : {identity.device, identity.number}) {
    line += "\t" + std::to_string(number);
  }
  for (const auto number : {identity.made, identity.changed, identity.size}) {
    line += "\t" + std::to_string(number);
  }
  return line + "\t" + entry.print.hash + "\t" + reportedText(entry.threat) + "\t" +
         reportedText(entry.path) + "\n";
}

std::optional<PutBackFiles::Entry> PutBackFiles::entryOf(const std::string& line) {
  const std::vector<std::string_view> fields = split(line, '\t');
  if (fields.size() != 9 || (fields[0] != "copy" && fields[0] != "file") || !isHash(fields[6])) {
    return std::nullopt;
  }
  const auto device = numberIn<std::uint64_t>(fields[1]);
  const auto number = numberIn<std::uint64_t>(fields[2]);
  const auto made = numberIn<std::int64_t>(fields[3]);
  const auto changed = numberIn<std::int64_t>(fields[4]);
  const auto size = numberIn<std::int64_t>(fields[5]);
  if (!device || !number || !made || !changed || !size) {
    return std::nullopt;
  }
  Entry entry{bytesOfReported(fields[8]), bytesOfReported(fields[7]), {}, fields[0] == "copy"};
  entry.print.identity = {*device, *number, *made, *changed, *size};
  entry.print.hash = fields[6];
  return entry;
}

void PutBackFiles::readOnce() {
  if (std::exchange(isRead_, true)) {
    return;
  }
  const std::string contents = ownContents(folder_ + fileName).value_or("");
  const std::vector<std::string_view> lines = split(contents, '\n');
  if (lines.front() != header) {
    return;
  }
  for (std::size_t i = 1; i < lines.size(); ++i) {
    if (auto entry = entryOf(std::string(lines[i]))) {
      entries_.push_back(std::move(*entry));
    }
  }
  while (entries_.size() > most) {
    entries_.pop_front();
  }
}

// A new file that takes the place of the old one, so that no half of it is ever read.
void PutBackFiles::write() {
  std::string contents = std::string(header) + "\n";
  for (const Entry& entry : entries_) {
    contents += lineOf(entry);
  }
  makeFolders(folder_);
  const std::string path = folder_ + fileName;
  const std::string fresh = path + ".new";
  std::string problem = writeOwnFile("The list of files that were put back", fresh, contents);
  if (problem.empty() && std::rename(fresh.c_str(), path.c_str()) != 0) {
    problem = path + " cannot be replaced: " + std::strerror(errno);
    unlink(fresh.c_str());
  }
  if (!problem.empty()) {
    log_.log(problem);
  }
}

}  // namespace quillo
