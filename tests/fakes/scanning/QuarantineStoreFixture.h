#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "posix/PathOpening.h"
#include "quarantine/QuarantineStore.h"
#include "quarantine/RecordFolder.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/MoveFolder.h"

namespace quillo {

// A quarantine folder with files that the scanner moved there, and who manages it.
struct QuarantineStoreFixture {
  // As the scanner does it.
  void moveIn(const std::string& path, const std::string& where = "") {
    wrapper::MoveFolder folder(clock, wrapper::DesktopTrash("", ""));
    ASSERT_EQ(folder.open(where.empty() ? quarantine : where), "");
    ASSERT_TRUE(folder.move(path, openPath(path, O_RDONLY).get(), "Eicar").moved);
  }
  std::string quarantined(const std::string& name, const std::string& contents = "bad") {
    std::string path = scratch.write(name, contents);
    moveIn(path);
    return path;
  }
  QuarantinedFile only() const {
    const auto listing = store.list();
    EXPECT_EQ(listing.files.size(), 1U);
    return listing.files.empty() ? QuarantinedFile() : listing.files.front();
  }
  QuarantineOutcome::Reason restored(const QuarantineStore::Target& target = {}) const {
    return store.restore(only(), target).reason;
  }
  void setTime(const std::string& path, time_t seconds) const {
    const timespec times[] = {{seconds, 5}, {seconds, 7}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }
  struct stat statusOf(const std::string& path) const {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
  }
  std::string recordOf(const std::string& name) const {
    return quarantine + "/.vantrel-records/" + RecordFolder::entryFor(name);
  }
  std::size_t records() const {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(quarantine + "/.vantrel-records"),
                      std::filesystem::directory_iterator()));
  }

  TemporaryFolder scratch;
  const std::string quarantine = scratch.makeFolder("q");
  ManualClock clock;
  std::vector<std::string> allowed;
  QuarantineStore store{
      quarantine, clock,
      [this](const std::string& path, const FileIdentity& file, const std::string& hash) {
        allowed.push_back(path + " " + std::to_string(file.size) + " " + hash.substr(0, 8));
        allowedFile = file;
        if (beforeItLeaves) {
          beforeItLeaves();
        }
        return notAllowed;
      }};
  FileIdentity allowedFile;
  std::string notAllowed;
  std::function<void()> beforeItLeaves;
};

}  // namespace quillo
