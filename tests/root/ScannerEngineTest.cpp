// The scanner of given files and folders with the real engine.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fakes/scanning/DirectScannerBench.h"
#include "tests/root/support/engine/PrivateClamd.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using tests::eicar;
using tests::PrivateClamd;

class ScannerWithEngine : public testing::Test {
 protected:
  ScannerWithEngine() {
    world.params = {"/usr/bin/clamdscan", "--config-file=" + clamd.configuration(), "--fdpass",
                    "--stdout"};
    for (const char* name : {"in/good.txt", "in/deep/good.zip"}) {
      world.bench.file(name);
    }
    for (const char* name : {"in/bad.txt", "in/deep/bad.zip", "alone.com"}) {
      world.bench.folder.write(name, eicar());
    }
  }
  std::string found(const std::string& name) const {
    return world.path(name) + ": " + PrivateClamd::threat() + " FOUND";
  }
  bool isLogged(const std::string& text) const {
    return world.output.find(" " + text + "\n") != std::string::npos;
  }

  PrivateClamd clamd;
  DirectScannerBench world;
  FakeScannerOwner& owner = world.bench.owner;
};

TEST_F(ScannerWithEngine, FindsWhatIsInAFolderAndInAFile) {
  world.scan({world.path("in"), world.path("alone.com")});
  for (const char* name : {"in/bad.txt", "in/deep/bad.zip", "alone.com"}) {
    EXPECT_TRUE(isLogged(found(name))) << world.output;
    EXPECT_TRUE(owner.calls.has("notify 1 " + found(name)));
  }
  EXPECT_EQ(world.bench.desktop.interfaceLoader.loaded("WarningDialog").size(), 3U);
  EXPECT_EQ(world.bench.pipeline.statuses(), std::vector<int>{1});
  EXPECT_EQ(owner.runs, 0);
}

TEST_F(ScannerWithEngine, ScansOnlyTheFilesThatThePatternsLeave) {
  owner.chosen.includePattern = "zip$|txt$";
  owner.chosen.excludePattern = "/bad[.]txt$";
  world.scan({world.path("in"), world.path("alone.com")});
  EXPECT_TRUE(isLogged(found("in/deep/bad.zip"))) << world.output;
  EXPECT_TRUE(isLogged(world.path("in/good.txt") + ": OK"));
  EXPECT_EQ(world.output.find("bad.txt"), std::string::npos);
  EXPECT_EQ(world.output.find("alone.com"), std::string::npos);
  EXPECT_TRUE(world.output.starts_with("currentSubPaths length: 4\n"));
}

TEST_F(ScannerWithEngine, MovesWhatItFindsToTheQuarantine) {
  const std::string quarantine = world.bench.folder.makeFolder("quarantine");
  owner.chosen.quarantineOrTrash = InfectedFileAction::quarantine;
  owner.chosen.quarantineFolder = quarantine;
  world.params.push_back("--move=" + quarantine);
  world.scan({world.path("in")});
  EXPECT_TRUE(owner.calls.has("notify 2 " + found("in/bad.txt"))) << world.output;
  EXPECT_TRUE(std::filesystem::exists(quarantine + "/bad.txt"));
  EXPECT_TRUE(std::filesystem::exists(quarantine + "/bad.zip"));
  EXPECT_TRUE(std::filesystem::exists(world.path("in/good.txt")));
  EXPECT_EQ(world.bench.desktop.interfaceLoader.loaded("QuarantinedDialog").size(), 2U);
}

TEST_F(ScannerWithEngine, ReportsADaemonThatIsGoneAndDoesNotRecoverIt) {
  clamd.end();
  owner.alive = false;
  world.scan({world.path("alone.com")});
  EXPECT_EQ(owner.calls(),
            (Lines{"run began", "alive?", "notify 6 <CLAMDSCAN_ERROR>", "run ended"}));
  EXPECT_EQ(world.bench.pipeline.statuses(), std::vector<int>{2});
  EXPECT_NE(world.output.find("ERROR: Could not connect to clamd"), std::string::npos);
}

}  // namespace
}  // namespace quillo
