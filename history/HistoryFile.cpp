#include "history/HistoryFile.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "history/Sql.h"
#include "posix/OwnFile.h"
#include "posix/PlatformException.h"
#include "posix/RealPath.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr const char* exceptionName = "HistoryException";
constexpr const char* fileName = "/history.sqlite";
// "VQhi", sqlite.org/pragma.html#pragma_application_id.
constexpr std::int64_t applicationId = 0x56516869;
constexpr std::int64_t version = 1;

// Rows are entered at the newer end and deleted at the older one, and nowhere else: the numbers of
// the results have no gaps, so that the row at any place is found without counting.
constexpr std::array<std::string_view, 5> tables = {
    "CREATE TABLE results(id INTEGER PRIMARY KEY, time INTEGER NOT NULL, kind INTEGER NOT NULL, "
    "outcome INTEGER NOT NULL, source INTEGER NOT NULL, run INTEGER, path BLOB NOT NULL, "
    "says BLOB NOT NULL, detail BLOB NOT NULL)",
    "CREATE INDEX resultsByKind ON results(kind, time)",
    "CREATE TABLE runs(id INTEGER PRIMARY KEY, name INTEGER NOT NULL UNIQUE, "
    "source INTEGER NOT NULL, started INTEGER NOT NULL, ended INTEGER, paths BLOB NOT NULL, "
    "clean INTEGER NOT NULL, found INTEGER NOT NULL, notScanned INTEGER NOT NULL, "
    "stopped INTEGER NOT NULL)",
    "CREATE TABLE scanned(day INTEGER NOT NULL, folder BLOB NOT NULL, files INTEGER NOT NULL, "
    "bytes INTEGER NOT NULL, PRIMARY KEY(day, folder)) WITHOUT ROWID",
    "CREATE INDEX scannedByFolder ON scanned(folder, day)"};

bool isOthersToWrite(const struct stat& status) {
  return status.st_uid != geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

std::string dated(const std::string& path, CalendarDay day, int number) {
  const auto two = [](int value) { return (value < 10 ? "-0" : "-") + std::to_string(value); };
  const std::string stem = path.substr(0, path.rfind('.'));
  std::string name =
      stem + ".broken-" + std::to_string(day / 10000) + two(day / 100 % 100) + two(day % 100);
  return name + (number > 1 ? "-" + std::to_string(number) : "") + ".sqlite";
}

bool liesThere(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0;
}

// Nothing that is there loses its name by it.
void rename(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return;
  }
  // Not every file system knows that flag.
  if (errno != EINVAL || liesThere(to) || ::rename(from.c_str(), to.c_str()) != 0) {
    throw PlatformException::ofSystemCall(exceptionName, from + " cannot be renamed", errno);
  }
}

}  // namespace

HistoryFile::HistoryFile(std::string folder) : folder_(std::move(folder)) {}

std::string HistoryFile::realFolder() const { return RealPath(folder_).path(); }

std::string HistoryFile::path() const { return realFolder() + fileName; }

std::optional<HistoryFile::Identity> HistoryFile::identity() const {
  struct stat status = {};
  if (lstat(path().c_str(), &status) != 0) {
    return std::nullopt;
  }
  return Identity(status.st_dev, status.st_ino);
}

std::string HistoryFile::distrust() const {
  const std::string file = path();
  struct stat status = {};
  // Looked at by name: closing it would take SQLite's locks away (fcntl(2)).
  if (lstat(file.c_str(), &status) != 0) {
    return "";
  }
  if (!S_ISREG(status.st_mode)) {
    return file + " is no file";
  }
  return isOthersToWrite(status) ? file + " can be written by others" : "";
}

std::string HistoryFile::distrustOfFolder() const {
  const std::string folder = realFolder();
  struct stat status = {};
  if (stat(folder.c_str(), &status) != 0) {
    return "";
  }
  return !S_ISDIR(status.st_mode) || isOthersToWrite(status)
             ? folder + " is no folder that only you can write"
             : "";
}

bool HistoryFile::hasRemains() const { return liesThere(path() + "-wal"); }

void HistoryFile::make() const {
  const std::string folder = realFolder();
  if (const int error = makeFolders(folder)) {
    throw PlatformException::ofSystemCall(exceptionName, folder + " cannot be made", error);
  }
  if (const std::string distrust = distrustOfFolder(); !distrust.empty()) {
    throw PlatformException(PlatformException::Kind::notPermitted, exceptionName, distrust);
  }
  const std::string file = folder + fileName;
  const UniqueFd made(open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!made && errno != EEXIST) {
    throw PlatformException::ofSystemCall(exceptionName, file + " cannot be made", errno);
  }
}

std::string HistoryFile::setAside(CalendarDay day) const {
  const std::string file = path();
  int number = 1;
  while (liesThere(dated(file, day, number)) || liesThere(dated(file, day, number) + "-wal")) {
    ++number;
  }
  std::string name = dated(file, day, number);
  // First what was not put into the database yet: beside a new one it would be taken for its own.
  if (liesThere(file + "-wal")) {
    rename(file + "-wal", name + "-wal");
  }
  if (liesThere(file)) {
    rename(file, name);
  }
  unlink((file + "-shm").c_str());
  return name;
}

HistoryFile::Contents HistoryFile::contentsOf(const SqlConnection& connection) {
  if (connection.number("SELECT count(*) FROM sqlite_master") == 0) {
    return Contents::empty;
  }
  if (connection.number("PRAGMA application_id") != applicationId) {
    return Contents::foreign;
  }
  const std::int64_t found = connection.number("PRAGMA user_version");
  if (found > version) {
    return Contents::newer;
  }
  SqlStatement made =
      connection.prepare("SELECT sql FROM sqlite_master WHERE sql IS NOT NULL ORDER BY rowid");
  for (const std::string_view table : tables) {
    if (!made.step() || made.bytes(0) != table) {
      return Contents::foreign;
    }
  }
  return found == version && !made.step() ? Contents::history : Contents::foreign;
}

void HistoryFile::makeTables(const SqlConnection& connection) {
  connection.run("PRAGMA journal_mode=WAL");
  SqlTransaction whole(connection, SqlTransaction::Kind::writing);
  for (const std::string_view table : tables) {
    connection.run(table);
  }
  connection.run("PRAGMA application_id=" + std::to_string(applicationId));
  connection.run("PRAGMA user_version=" + std::to_string(version));
  whole.keep();
}

}  // namespace quillo
