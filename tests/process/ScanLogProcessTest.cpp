#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "agent/ScanLog.h"
#include "posix/FileFacts.h"
#include "tests/fakes/agent/ScanLogUnderTest.h"

namespace quillo {
namespace {

using Text = std::optional<std::string>;

class Rotation : public ScanLogUnderTest {
 protected:
  void installRotator(const std::string& script) {
    home.writeProgram("resources/engine-tools/newsyslog", "#!/bin/sh\n" + script + "\n");
  }
  std::string configurationFile() const { return home.path() + "/tmp/scanlogrotate.conf"; }
  Text contents(const std::string& name) const { return contentsOfFile(home.path() + "/" + name); }
};

TEST_F(Rotation, GivesTheRotatorItsSettingsAndDeletesThem) {
  installRotator("echo \"$@\" > '" + home.path() + "/arguments'; cat \"$3\" > '" + home.path() +
                 "/settings'");
  log.rotateLogFile();
  output.restore();
  EXPECT_EQ(contents("arguments"), Text("-Cr -f " + configurationFile() + "\n"));
  EXPECT_EQ(contents("settings"), Text(log.rotationConfiguration()));
  EXPECT_FALSE(fileExists(configurationFile()));
  EXPECT_TRUE(desktop.systemLog.lines().empty());
  EXPECT_EQ(waits, 1);
}

TEST_F(Rotation, ReplacesSettingsThatAreThereAlready) {
  home.write("tmp/scanlogrotate.conf", std::string(5000, 'x'));
  installRotator("cat \"$3\" > '" + home.path() + "/settings'");
  log.rotateLogFile();
  output.restore();
  EXPECT_EQ(contents("settings"), Text(log.rotationConfiguration()));
}

TEST_F(Rotation, LetsTheAgentWriteToTheNewLog) {
  log.logAllToScanLog();
  std::printf("before\n");
  std::fflush(stdout);
  installRotator("mv '" + log.path() + "' '" + log.path() + ".0'");
  log.rotateLogFile();
  std::printf("after\n");
  output.restore();
  EXPECT_EQ(contentsOfFile(log.path() + ".0"), Text("before\n"));
  EXPECT_EQ(contentsOfFile(log.path()), Text("after\n"));
}

TEST_F(Rotation, IgnoresTheRotatorsStatusAndLogsItsWords) {
  log.logAllToScanLog();
  installRotator("echo no way >&2; exit 3");
  log.rotateLogFile();
  output.restore();
  EXPECT_EQ(contentsOfFile(log.path()), Text("no way\n"));
  EXPECT_FALSE(fileExists(configurationFile()));
  EXPECT_TRUE(desktop.systemLog.lines().empty());
}

TEST_F(Rotation, DoesNotMindARotatorThatDeletesItsSettings) {
  installRotator("rm \"$3\"");
  log.rotateLogFile();
  EXPECT_TRUE(desktop.systemLog.lines().empty());
}

TEST_F(Rotation, PrefersTheSystemsOwnRotator) {
  installRotator("touch '" + home.path() + "/ours'");
  const std::string folder = home.makeFolder("sbin");
  home.writeProgram("sbin/newsyslog", "#!/bin/sh\ntouch '" + home.path() + "/systems'\n");
  ASSERT_EQ(mount(folder.c_str(), "/usr/sbin", nullptr, MS_BIND, nullptr), 0);
  log.rotateLogFile();
  EXPECT_EQ(umount("/usr/sbin"), 0);
  EXPECT_TRUE(contents("systems").has_value());
  EXPECT_FALSE(contents("ours").has_value());
}

}  // namespace
}  // namespace quillo
