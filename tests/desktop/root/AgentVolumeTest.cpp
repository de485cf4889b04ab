// A volume that is mounted while the agent watches.

#include <filesystem>

#include "tests/desktop/root/AgentOnDesktop.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

class AgentVolume : public AgentOnDesktop {
 protected:
  // A real file system on a block device, with an infected file, below where ada's volumes are.
  void mountVolume() {
    std::filesystem::create_directories(point_);
    volume_ = std::make_unique<LoopMount>("ext4", "/mnt");
    writeFile("/mnt/bad.com", GuardedHome::testFile());
    runProgram({"mount", "--move", "/mnt", point_});
  }

  const std::string point_ = "/media/ada/My Stick";
  std::unique_ptr<LoopMount> volume_;
};

TEST_F(AgentVolume, IsScannedAtOnceIfThePreferencesSaySo) {
  logIn("QuilloScanVolumes = true\n");
  startAndAwaitWatching();
  mountVolume();
  EXPECT_TRUE(home().logHas("The volume " + point_ + " was just mounted"));
  EXPECT_TRUE(home().logHas(point_ + "/bad.com: Eicar-Test-Signature.UNOFFICIAL FOUND"));
  EXPECT_TRUE(showsWindows(1, warningTitle));
}

TEST_F(AgentVolume, IsNotScannedOtherwise) {
  logIn();
  startAndAwaitWatching();
  mountVolume();
  const std::string after = home().save("after.txt", "after");
  ASSERT_TRUE(home().logHas(after + ": OK"));
  EXPECT_EQ(home().linesWith(point_), 0);
}

}  // namespace
}  // namespace quillo::tests
