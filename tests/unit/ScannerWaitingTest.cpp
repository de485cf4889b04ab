#include <gtest/gtest.h>

#include <filesystem>

#include "posix/PlatformException.h"
#include "tests/fakes/scanning/DirectScannerBench.h"

namespace quillo {
namespace {

using Paths = std::vector<std::string>;
using std::chrono::seconds;

class ScannerWaiting : public testing::Test {
 protected:
  std::string file(const std::string& name) { return world.bench.file(name); }
  void write(const std::string& name, const std::string& contents) {
    world.bench.folder.write(name, contents);
  }
  void remove(const std::string& name) { std::filesystem::remove_all(world.path(name)); }
  Paths scan(const Paths& paths) { return world.scan(paths); }

  DirectScannerBench world;
};

TEST_F(ScannerWaiting, AFileThatHoldsStillIsScannedAfterASecond) {
  EXPECT_EQ(scan({file("a")}), Paths{world.path("a")});
  EXPECT_EQ(world.clock.slept, seconds(1));
}

TEST_F(ScannerWaiting, EveryItemTakesASecondTheLastOneFirst) {
  world.clock.atSleep = [&](int number) {
    // What was waited for already may change as it likes.
    write(number == 1 ? "a" : "c", "other contents");
  };
  EXPECT_EQ(scan({file("a"), file("b"), file("c")}),
            (Paths{world.path("a"), world.path("b"), world.path("c")}));
  EXPECT_EQ(world.clock.slept, seconds(3));
}

TEST_F(ScannerWaiting, AnEmptyFileIsDroppedBeforeScanning) {
  write("empty", "");
  EXPECT_EQ(scan({world.path("empty"), file("a")}), Paths{world.path("a")});
  EXPECT_EQ(world.scanner.waitUntilFileStopsExpanding(world.path("empty")), -1);
}

TEST_F(ScannerWaiting, AFileThatIsEmptyAtTheSecondReadingIsDropped) {
  world.clock.atSleep = [&](int) { write("a", ""); };
  EXPECT_EQ(scan({file("a")}), Paths());
  EXPECT_EQ(world.clock.slept, seconds(1));
}

TEST_F(ScannerWaiting, AFileThatIsEmptyAtFirstOnlyIsWaitedFor) {
  write("a", "");
  world.clock.atSleep = [&](int number) {
    if (number == 1) {
      write("a", "contents");
    }
  };
  EXPECT_EQ(scan({world.path("a")}), Paths{world.path("a")});
  EXPECT_EQ(world.clock.slept, seconds(2));
}

TEST_F(ScannerWaiting, AGrowingFileIsWaitedForUntilTwoReadingsAgree) {
  std::string contents = "x";
  world.clock.atSleep = [&](int number) {
    if (number <= 3) {
      write("a", contents += "x");
    }
  };
  EXPECT_EQ(scan({file("a")}), Paths{world.path("a")});
  EXPECT_EQ(world.clock.slept, seconds(4));
}

TEST_F(ScannerWaiting, AMissingFileIsDroppedWithoutAWaitOrAMessage) {
  EXPECT_EQ(scan({world.path("missing")}), Paths());
  EXPECT_EQ(world.clock.slept, seconds(0));
  EXPECT_EQ(world.bench.desktop.systemLog.lines(), Paths());
}

TEST_F(ScannerWaiting, AFileThatVanishesWhileItGrowsIsDropped) {
  world.clock.atSleep = [&](int number) {
    if (number == 1) {
      write("a", "more contents");
    } else {
      remove("a");
    }
  };
  EXPECT_EQ(scan({file("a")}), Paths());
  EXPECT_EQ(world.clock.slept, seconds(3));
}

TEST_F(ScannerWaiting, NothingLeftStartsNoEngine) {
  EXPECT_EQ(scan({world.path("missing")}), Paths());
  EXPECT_EQ(scan({}), Paths());
  EXPECT_EQ(world.bench.owner.calls(), Paths());
}

TEST_F(ScannerWaiting, NobodyIsAskedWhoHasAFileOpen) {
  EXPECT_FALSE(Scanner::checkStillOpen(file("a")));
  EXPECT_TRUE(Scanner::checkStillExists(world.path("a")));
  EXPECT_FALSE(Scanner::checkStillExists(world.path("b")));
}

TEST_F(ScannerWaiting, TheListIsUsedUpAndLeftWithWhatWasScanned) {
  ScanItemList items = world.itemsOf({file("a"), world.path("missing"), file("b")});
  StdoutCapture capture;
  world.scanner.scan(items);
  EXPECT_EQ(items, (ScanItemList{world.path("a"), world.path("b")}));
}

TEST_F(ScannerWaiting, AListOfAnotherMakeIsRefused) {
  const Paths params = {"/no/such/engine"};
  for (ScanItemList items :
       {ScanItemList(), ScanItemList{params}, ScanItemList{std::string("/a"), params},
        ScanItemList{params, static_cast<ScannerMenu*>(&world.menu), params}}) {
    const ScanItemList before = items;
    EXPECT_THROW(world.scanner.scan(items), PlatformException);
    EXPECT_EQ(items, before);
  }
}

TEST_F(ScannerWaiting, WithoutAnEngineAPathIsNotRunInItsPlace) {
  world.params.clear();
  const std::string program =
      world.bench.folder.writeProgram("program", "#!/bin/sh\necho > \"$0.ran\"\n");
  scan({program});
  EXPECT_FALSE(std::filesystem::exists(program + ".ran"));
  EXPECT_EQ(world.bench.owner.calls(), (Paths{"run began", "no engine", "run ended"}));
}

}  // namespace
}  // namespace quillo
