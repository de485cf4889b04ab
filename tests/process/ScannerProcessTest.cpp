#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "posix/ChildProcess.h"
#include "posix/Text.h"
#include "tests/fakes/scanning/DirectScannerBench.h"
#include "tests/support/SystemCalls.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using std::chrono::seconds;

Lines withoutTimestamps(const std::string& log) {
  Lines lines;
  for (const std::string_view line : split(log, '\n')) {
    if (!line.empty()) {
      lines.emplace_back(line.substr(std::min<std::size_t>(20, line.size())));
    }
  }
  return lines;
}

// A scanner whose engine is the fake one.
class ScannerRun : public testing::Test {
 protected:
  ScannerRun() { world.params = {QUILLO_FAKE_ENGINE, "--stdout"}; }

  std::string path(const std::string& name) const { return world.path(name); }
  // The scan log's lines of a scan of files of these names.
  Lines scan(const Lines& names) {
    Lines paths;
    for (const std::string& name : names) {
      paths.push_back(world.bench.file(name));
    }
    world.scan(paths);
    return withoutTimestamps(world.output);
  }
  Lines logged() { return world.bench.desktop.systemLog.lines(); }

  DirectScannerBench world;
  FakeScannerOwner& owner = world.bench.owner;
};

TEST_F(ScannerRun, HasThePathsOnTheCommandLineBehindTheParameters) {
  world.params = {QUILLO_FAKE_ENGINE, "--move=/a folder", "--stdout"};
  EXPECT_EQ(
      scan({"arguments-", "with blank"}),
      (Lines{"argument --move=/a folder", "argument --stdout", "argument " + path("arguments-"),
             "argument " + path("with blank"), path("with blank") + ": OK"}));
  EXPECT_EQ(owner.calls(), (Lines{"run began", "run ended"}));
  EXPECT_EQ(logged(), Lines());
  EXPECT_EQ(world.bench.pipeline.statuses(), std::vector<int>{0});
}

TEST_F(ScannerRun, ReportsInfectionsAsTheyCome) {
  EXPECT_EQ(scan({"a", "infected-b"}),
            (Lines{path("a") + ": OK", path("infected-b") + ": Eicar-Test-Signature FOUND"}));
  EXPECT_TRUE(owner.calls.has("notify 1 " + path("infected-b") + ": Eicar-Test-Signature FOUND"));
  EXPECT_EQ(owner.calls().front(), "run began");
  EXPECT_EQ(owner.calls().back(), "run ended");
}

TEST_F(ScannerRun, ReadsALongReportToItsEnd) {
  const Lines lines = scan({"many-a", "last"});
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), path("last") + ": OK");
}

TEST_F(ScannerRun, ReportsAnUnreachableDaemonUnderTheMenusOwnTitle) {
  owner.alive = false;
  scan({"status2-"});
  EXPECT_EQ(owner.calls(),
            (Lines{"run began", "alive?", "notify 6 <CLAMDSCAN_ERROR>", "run ended"}));
  const auto dialogs = world.bench.desktop.interfaceLoader.loaded("QuarantinedDialog");
  ASSERT_EQ(dialogs.size(), 1U);
  EXPECT_EQ(dialogs[0]->deleteButtonTitle(), "Quit from the menu");
  dialogs[0]->press(ButtonDialog::Button::deleteButton);
  EXPECT_TRUE(owner.calls.has("quit"));
}

TEST_F(ScannerRun, LogsAnUnreachableDaemonWithoutADialog) {
  owner.alive = false;
  world.bench.desktop.interfaceLoader.setBroken(true);
  scan({"status2-"});
  EXPECT_EQ(logged(), (Lines{"can't connect to clamd", "Error loading nib for warning dialog!"}));
}

TEST_F(ScannerRun, LosesWhatIsWrittenWhenTheEngineHasEnded) {
  // What is left behind writes when the daemon is being asked for, which is after the end.
  world.params = {
      world.bench.folder.writeProgram("engine",
                                      "#!/bin/sh\nmkfifo \"$1.go\" \"$1.done\"\n"
                                      "(read line < \"$1.go\"; echo late; echo > \"$1.done\") &\n"
                                      "echo early\nexit 2\n")};
  owner.duringAliveCheck = [this] {
    std::ofstream(path("a.go")) << "\n" << std::flush;
    std::string line;
    std::ifstream done(path("a.done"));
    std::getline(done, line);
  };
  EXPECT_EQ(scan({"a"}), Lines{"early"});
}

TEST_F(ScannerRun, IsNotSplitWhenACommandLineCannotHoldItsPaths) {
  std::vector<std::string> paths;
  for (int number = 0; number < 40000; ++number) {
    paths.push_back("/" + std::string(100, 'x') + std::to_string(number));
  }
  world.scan({world.bench.file("a")});
  world.scanner.performScan(paths);
  const Lines lines = logged();
  ASSERT_EQ(lines.size(), 10U);
  EXPECT_EQ(lines[0], "Scanner: Caught LaunchFailure: cannot launch " QUILLO_FAKE_ENGINE
                      ": Argument list too long");
  EXPECT_TRUE(lines[1].starts_with("Scanner v1 of 9: scanArguments: (--stdout, " + paths[0]));
  EXPECT_EQ(lines[2], "Scanner v2 of 9: scanCommandPath: " QUILLO_FAKE_ENGINE);
  EXPECT_TRUE(lines[3].starts_with("Scanner v3 of 9: outputPipe: "));
  EXPECT_NE(lines[3], "Scanner v3 of 9: outputPipe: (null)");
  EXPECT_TRUE(lines[4].starts_with("Scanner v4 of 9: taskOutput: "));
  EXPECT_EQ(lines[5], "Scanner v5 of 9: scanCheckTask: (null)");
  EXPECT_EQ(lines[6], "Scanner v6 of 9: scanParams: (" QUILLO_FAKE_ENGINE ", --stdout)");
  EXPECT_TRUE(lines[7].starts_with("Scanner v7 of 9: thePaths: (" + paths[0]));
  EXPECT_EQ(lines[8], "Scanner v8 of 9: [scanArguments objectAtIndex:0]: --stdout");
  EXPECT_EQ(lines[9], "Scanner v9 of 9: data: (null)");
  EXPECT_EQ(owner.runs, 0);
}

TEST(ScannerWithoutPipes, GoesOnWithItsOutputUnread) {
  DirectScannerBench world(PipeSource{[] { return std::optional<Pipe>(); }});
  world.params = {QUILLO_FAKE_ENGINE, "--stdout"};
  const std::string infected = world.bench.file("infected-a");
  world.scan({infected});
  EXPECT_NE(world.output.find(infected + ": Eicar-Test-Signature FOUND\n"), std::string::npos);
  EXPECT_EQ(world.bench.owner.calls(), (Lines{"run began", "run ended"}));
  EXPECT_EQ(world.bench.desktop.systemLog.lines().size(), 4U);
  EXPECT_EQ(world.bench.pipeline.statuses(), std::vector<int>{1});
}

TEST_F(ScannerRun, AFailureOfAnotherKindIsPassedOnWithTheCountLowered) {
  owner.duringAliveCheck = [] { throw std::runtime_error("out of the blue"); };
  EXPECT_THROW(scan({"status2-a"}), std::runtime_error);
  EXPECT_EQ(owner.runs, 0);
  owner.duringAliveCheck = nullptr;
  EXPECT_EQ(scan({"b"}), Lines{path("b") + ": OK"});
}

// Folders, measured by the real du(1).
class ScannerFolders : public ScannerRun {
 protected:
  std::string folder = world.bench.folder.makeFolder("in");
  void grow(const std::string& name) {
    world.bench.folder.write("in/" + name, std::string(100000, 'x'));
  }
};

TEST_F(ScannerFolders, AreMeasuredByTheSizeTool) {
  grow("a");
  std::string answer;
  ChildProcess({"/usr/bin/du", {"-sx", folder}}).waitUntilExit([&answer](std::string_view chunk) {
    answer += chunk;
    return true;
  });
  EXPECT_EQ(world.scanner.getDirectorySizeAsString(folder) + "\t" + folder + "\n", answer);
}

TEST_F(ScannerFolders, AreMeasuredWithoutWhatIsMountedInThem) {
  const std::string other = world.bench.folder.makeFolder("in/other");
  ASSERT_EQ(mount("none", other.c_str(), "tmpfs", 0, nullptr), 0);
  const std::string before = world.scanner.getDirectorySizeAsString(folder);
  grow("other/a");
  EXPECT_EQ(world.scanner.getDirectorySizeAsString(folder), before);
  umount(other.c_str());
}

TEST_F(ScannerFolders, ThatAreGoneOrUnreadableCountAsRemoved) {
  EXPECT_EQ(world.scanner.getDirectorySizeAsString(path("missing")), "directory removed");
  std::string size;
  withFailingSystemCall(SYS_getdents64, EACCES,
                        [&] { size = world.scanner.getDirectorySizeAsString(folder); });
  EXPECT_EQ(size, "directory removed");
  EXPECT_EQ(logged(), Lines());
}

TEST_F(ScannerFolders, CountAsRemovedWithoutTheSizeToolWhichIsSaid) {
  std::string size;
  withFailingSystemCall(SYS_clone3, EAGAIN,
                        [&] { size = world.scanner.getDirectorySizeAsString(folder); });
  EXPECT_EQ(size, "directory removed");
  ASSERT_EQ(logged().size(), 1U);
  EXPECT_TRUE(logged()[0].starts_with("The size of " + folder + " cannot be had from /usr/bin/du"));
}

TEST_F(ScannerFolders, ThatHoldStillAreScannedWholeAfterASecond) {
  grow("a");
  EXPECT_EQ(world.scan({folder}), Lines{folder});
  EXPECT_EQ(world.clock.slept, seconds(1));
}

TEST_F(ScannerFolders, ThatKeepChangingHoldTheScanUntilTwoReadingsASecondApartAgree) {
  world.clock.atSleep = [this](int number) {
    EXPECT_TRUE(world.bench.pipeline.startedPaths().empty());
    if (number <= 3) {
      grow(std::to_string(number));
    }
  };
  EXPECT_EQ(world.scan({folder}), Lines{folder});
  EXPECT_EQ(world.clock.slept, seconds(4));
}

TEST_F(ScannerFolders, ThatVanishWhileTheyChangeAreDropped) {
  world.clock.atSleep = [this](int number) {
    if (number == 1) {
      grow("a");
    } else {
      std::filesystem::remove_all(folder);
    }
  };
  EXPECT_EQ(world.scan({folder}), Lines());
  EXPECT_EQ(world.clock.slept, seconds(2));
  EXPECT_EQ(logged(), Lines());
}

TEST_F(ScannerFolders, ThatCannotBeMeasuredAreScannedAllTheSame) {
  Lines scanned;
  withFailingSystemCall(SYS_getdents64, EACCES, [&] { scanned = world.scan({folder}); });
  EXPECT_EQ(scanned, Lines{folder});
}

TEST_F(ScannerFolders, AreScannedFileByFileWithAPattern) {
  owner.chosen.excludePattern = "skip";
  grow("infected-a");
  grow("skip-b");
  EXPECT_EQ(world.scan({folder}), Lines{folder + "/infected-a"});
  EXPECT_TRUE(owner.calls.has("notify 1 " + folder + "/infected-a: Eicar-Test-Signature FOUND"));
}

}  // namespace
}  // namespace quillo
