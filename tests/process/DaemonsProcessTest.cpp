#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "clamav/ClamConf.h"
#include "clamav/Daemons.h"
#include "tests/support/StandInProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Configuration = std::optional<std::string>;

class RunningDaemons : public testing::Test {
 protected:
  const RunningDaemon& find() {
    const auto daemon = findRunningDaemon();
    EXPECT_TRUE(daemon.has_value());
    found_ = daemon.value_or(RunningDaemon{"none", std::nullopt});
    return found_;
  }
  void setMode(const std::string& path, mode_t mode) const {
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
  }

  TemporaryFolder folder;
  const std::string program = folder.writeProgram("sbin/clamd", "#!/bin/sh\n");
  const std::string configuration = folder.write("etc/clamd.conf", "LocalSocket /a\n");

 private:
  RunningDaemon found_;
};

TEST_F(RunningDaemons, AreNoneWhereNoProcessIsOne) {
  EXPECT_FALSE(findRunningDaemon().has_value());
}

TEST_F(RunningDaemons, AreFoundWithProgramAndConfiguration) {
  StandInProcess clamd({program, "--config-file=" + configuration});
  EXPECT_EQ(find().program, program);
  EXPECT_EQ(find().configuration, Configuration(configuration));
}

TEST_F(RunningDaemons, AreFoundWithoutAConfiguration) {
  StandInProcess clamd({program});
  EXPECT_EQ(find().program, program);
  EXPECT_EQ(find().configuration, std::nullopt);
}

TEST_F(RunningDaemons, AreAlsoProcessesThatOnlyNameThemButNoneOfThoseCanBeRun) {
  StandInProcess scanner({"/usr/bin/clamdscan", "/home/anna"});
  EXPECT_EQ(find().program, "");
  EXPECT_EQ(find().configuration, std::nullopt);
}

TEST_F(RunningDaemons, AreNotAProgramOfAnotherNameThatCanBeRun) {
  StandInProcess scanner({"/usr/bin/clamdscan"});
  EXPECT_EQ(find().program, "");
}

TEST_F(RunningDaemons, AreNoProgramToRunWhereAReaderOfTheirLogIsShown) {
  StandInProcess reader({"tail", "-f", folder.path() + "/clamd.log"});
  EXPECT_EQ(find().program, "");
}

TEST_F(RunningDaemons, AreNoneToRunWhereTheProgramIsShownWithoutItsFolder) {
  StandInProcess clamd({"clamd", "-c", configuration});
  EXPECT_EQ(find().program, "");
  EXPECT_EQ(find().configuration, std::nullopt);
}

TEST_F(RunningDaemons, AreNoProgramToRunThatOthersMayWrite) {
  setMode(program, 0777);
  StandInProcess clamd({program, "-c", configuration});
  EXPECT_EQ(find().program, "");
  EXPECT_EQ(find().configuration, Configuration(configuration));
}

TEST_F(RunningDaemons, AreNoProgramToRunInAFolderThatOthersMayWrite) {
  setMode(folder.path() + "/sbin", 0777);
  StandInProcess clamd({program});
  EXPECT_EQ(find().program, "");
}

TEST_F(RunningDaemons, HaveNoConfigurationThatOthersMayWrite) {
  setMode(configuration, 0666);
  StandInProcess clamd({program, "-c", configuration});
  EXPECT_EQ(find().program, "");
  EXPECT_EQ(find().configuration, std::nullopt);
}

TEST_F(RunningDaemons, HaveNoConfigurationThatIsNoFileOrTooLarge) {
  {
    StandInProcess clamd({program, "-c", "/dev/zero"});
    EXPECT_EQ(find().configuration, std::nullopt);
  }
  folder.write("etc/clamd.conf", std::string(ClamConf::largest + 1, '#'));
  StandInProcess clamd({program, "-c", configuration});
  EXPECT_EQ(find().configuration, std::nullopt);
}

TEST_F(RunningDaemons, AreGoneOnceTheyHaveEnded) {
  { StandInProcess clamd({program}); }
  EXPECT_FALSE(findRunningDaemon().has_value());
}

TEST_F(RunningDaemons, AreReadWholeHoweverLongTheListIs) {
  const std::string longName(60000, 'x');
  StandInProcess first({"/a/clamd", longName});
  StandInProcess second({"/b/clamd", longName});
  StandInProcess third({"/c/clamd", "-c", configuration});
  EXPECT_EQ(find().configuration, Configuration(configuration));
}

}  // namespace
}  // namespace quillo
