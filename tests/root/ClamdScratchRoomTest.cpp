// What the tree's scanner believes of a real daemon that has no room to take files apart: that one
// calls infected mail clean, and remembers it (ClamAV 1.4).

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <utility>

#include "posix/Text.h"
#include "tests/root/support/engine/WrapperOnClamd.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::wrapper {
namespace {

using tests::check;

class WrapperOnFullScratch : public WrapperOnClamd {
 protected:
  WrapperOnFullScratch() {
    tests::mountTmpfs(scratch, "size=200m,mode=1777");
    startDaemon("TemporaryDirectory " + scratch +
                "\nMaxThreads 1\nMaxFileSize 1000M\nMaxScanSize 1000M\n");
  }
  ~WrapperOnFullScratch() override { umount2(scratch.c_str(), MNT_DETACH); }

  void allow(const std::string& size) const {
    check(mount(nullptr, scratch.c_str(), nullptr, MS_REMOUNT, ("size=" + size).c_str()),
          "remount " + scratch);
  }
  void fill() const {
    allow("4k");
    tests::writeFile(filler, std::string(4096, 'x'));
  }
  void makeRoom() const {
    std::filesystem::remove(filler);
    allow("200m");
  }
  // The test file as a mail program attaches it.
  std::string mail(const std::string& name) const {
    return files.write(
        name,
        "From: somebody@example.org\nTo: ada@example.org\nSubject: your bill\n"
        "MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=\"b\"\n\n--b\n"
        "Content-Type: text/plain\n\nSee there.\n--b\n"
        "Content-Type: application/octet-stream; name=\"bill.com\"\n"
        "Content-Transfer-Encoding: base64\n"
        "Content-Disposition: attachment; filename=\"bill.com\"\n\n"
        "WDVPIVAlQEFQWzRcUFpYNTQoUF4pN0NDKTd9JEVJQ0FSLVNUQU5EQVJELUFOVElWSVJVUy1URVNU"
        "LUZJTEUhJEgrSCo=\n--b--\n");
  }
  std::string notScanned(const std::string& path) const {
    return path + ": Not scanned: the engine can make no temporary files in " + scratch +
           ": No space left on device\n";
  }
  std::string log() const {
    return TemporaryFolder::read(deletingLastPathComponent(daemon->configuration()) + "/log");
  }

  const std::string scratch = files.makeFolder("scratch");
  const std::string filler = scratch + "/filler";
};

TEST_F(WrapperOnFullScratch, FindsInfectedMailWithRoom) {
  const std::string infected = mail("infected.eml");
  EXPECT_EQ(scan({infected}), found(infected));
}

TEST_F(WrapperOnFullScratch, CallsNoMailCleanAndFindsItOnceThereIsRoom) {
  const std::string infected = mail("infected.eml");
  fill();
  EXPECT_EQ(scan({infected}), notScanned(infected));
  makeRoom();
  EXPECT_EQ(scan({infected}), found(infected));
}

// Twice as much as the file has is taken.
TEST_F(WrapperOnFullScratch, SendsNoFileThatIsTooLargeForTheRoom) {
  const std::string large = mail("large.eml");
  check(truncate(large.c_str(), 5 << 20), "truncate");
  const std::string small = mail("small.eml");
  allow("16m");
  EXPECT_EQ(scan({large, small}), large +
                                      ": Not scanned: the engine has too little room for it in " +
                                      scratch + "\n" + found(small));
}

TEST_F(WrapperOnFullScratch, HasTheDaemonForgetWhatItCalledCleanWithoutRoom) {
  // So large that the others are sent long before it has been scanned.
  const std::string first = files.write("first");
  const std::string slow = files.write("slow");
  check(truncate(slow.c_str(), 300 << 20), "truncate");
  const std::string infected = mail("infected.eml");
  bool isFull = false;
  const std::string output = run({listOf({first, slow, infected})}, [&](std::string_view) {
    if (!std::exchange(isFull, true)) {
      fill();
    }
    return true;
  });
  EXPECT_EQ(output, first + ": OK\n" + notScanned(slow) + notScanned(infected));
  EXPECT_TRUE(awaitThat([&] { return has(log(), "Database correctly reloaded"); })) << log();
  makeRoom();
  EXPECT_EQ(scan({infected}), found(infected));
}

}  // namespace
}  // namespace quillo::wrapper
