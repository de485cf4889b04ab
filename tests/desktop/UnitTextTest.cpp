#include <gtest/gtest.h>

#include "platform/linux/planned/UnitFolder.h"
#include "platform/linux/planned/UnitText.h"
#include "posix/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Often = PlannedScan::Often;

PlannedScan weekly() {
  PlannedScan scan;
  scan.id = "a1b2";
  scan.folders = {"/home/anna/Documents"};
  scan.often = Often::weekly;
  scan.day = 7;
  scan.hour = 8;
  scan.minute = 5;
  return scan;
}

// What a program says, and its exit status behind that.
std::string outputOf(const std::string& program, const std::vector<std::string>& arguments) {
  ChildProcess child({.launchPath = program, .arguments = arguments});
  std::string said;
  child.waitUntilExit([&](std::string_view chunk) {
    said += chunk;
    return true;
  });
  return said + std::to_string(child.terminationStatus());
}

std::string normalFormOf(const std::string& timer) {
  const std::size_t at = timer.find("OnCalendar=") + 11;
  const std::string said = outputOf("/usr/bin/systemd-analyze",
                                    {"calendar", timer.substr(at, timer.find('\n', at) - at)});
  const std::size_t form = said.find("Normalized form: ") + 17;
  return said.substr(form, said.find('\n', form) - form);
}

TEST(UnitText, IsAcceptedBySystemdWhateverTheFoldersAreCalled) {
  const TemporaryFolder folder;
  PlannedScan scan = weekly();
  scan.onlyOnMains = true;
  scan.folders = {"/a b", "/100%i $HOME ${X}", "/\"'\\", "/line\nbreak", "/\xff\xfe", "/-x;y",
                  "/é"};
  folder.write("vantrel-scan-a1b2.service", serviceUnit(scan, "/bin/true"));
  folder.write("vantrel-scan-a1b2.timer", timerUnit(scan));
  EXPECT_EQ(outputOf("/usr/bin/systemd-analyze",
                     {"verify", "--user", "--man=no", folder.at("vantrel-scan-a1b2.service"),
                      folder.at("vantrel-scan-a1b2.timer")}),
            "0");
}

TEST(UnitText, TimesAreReadBackFromTheirNormalForm) {
  for (const Often often : {Often::daily, Often::weekly, Often::monthly}) {
    PlannedScan scan = weekly();
    scan.often = often;
    PlannedScan read = scan;
    read.hour = read.minute = read.day = 0;
    readCalendar(normalFormOf(timerUnit(scan)), read);
    EXPECT_TRUE(read.plansTheSameAs(scan)) << read.calendar;
  }
}

TEST(UnitText, OtherTimesStandAsTheyAre) {
  for (const std::string calendar : {"Mon,Tue *-*-* 12:30:00", "*-*-31 12:30:00", "*-*-* 12:30:15",
                                     "*-*-* 00/2:00:00", "*-01-01 00:00:00", "Mon *-*-03 12:30:00",
                                     "*-*-* 12:30:00; *-*-* 13:00:00", "*-*-* 12:30:00 UTC", ""}) {
    PlannedScan scan = weekly();
    readCalendar(calendar, scan);
    EXPECT_EQ(scan.often, Often::other) << calendar;
    EXPECT_EQ(scan.calendar, calendar);
  }
}

TEST(UnitText, MissedTimesAreMadeUpForAndTheWeightIsLow) {
  const std::string timer = timerUnit(weekly());
  EXPECT_NE(timer.find("\nPersistent=true\n"), std::string::npos);
  const std::string service = serviceUnit(weekly(), "/usr/bin/vantrel");
  for (const char* line : {"\nNice=19\n", "\nSuccessExitStatus=1 143\n", "\nKillMode=mixed\n",
                           "\nIOSchedulingClass=idle\n", "\nCPUWeight=1\n"}) {
    EXPECT_NE(service.find(line), std::string::npos) << line;
  }
}

TEST(UnitText, MainsPowerIsAConditionOnlyWhereItIsChosen) {
  PlannedScan scan = weekly();
  EXPECT_EQ(serviceUnit(scan, "/bin/true").find("ConditionACPower"), std::string::npos);
  scan.onlyOnMains = true;
  EXPECT_NE(serviceUnit(scan, "/bin/true").find("\nConditionACPower=true\n"), std::string::npos);
}

TEST(UnitText, WordsAreQuotedAgainstEveryMeaningThatSystemdKnows) {
  EXPECT_EQ(quotedForSystemd("/a b/100%/\"x\\\n$HOME"), R"("/a b/100%%/\"x\\\x0a$HOME")");
  const std::string service = serviceUnit(weekly(), "/opt/my apps/vantrel");
  // Variables are not replaced in a line that begins with a colon.
  EXPECT_NE(service.find("ExecStart=:\"/opt/my apps/vantrel\" scan --planned a1b2 -- "
                         "\"/home/anna/Documents\"\n"),
            std::string::npos)
      << service;
}

TEST(UnitText, FolderThatIsNoTextTravelsAsItsUri) {
  PlannedScan scan = weekly();
  scan.folders = {"/\xff"};
  EXPECT_NE(serviceUnit(scan, "/bin/true").find("\"file:///%%FF\""), std::string::npos);
  PlannedScan read = weekly();
  readCommands({{"/bin/true", "scan", "--planned", "a1b2", "--", "file:///%FF"}}, "/bin/true",
               read);
  EXPECT_TRUE(read.isUnderstood);
  EXPECT_EQ(read.folders, std::vector<std::string>{"/\xff"});
}

TEST(UnitText, AnotherCommandIsNotTakenForAScan) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"/bin/true"},
        {"/bin/true", "scan", "--planned", "a1b2", "--"},
        {"/bin/true", "scan", "--planned", "other", "--", "/a"},
        {"/bin/true", "scan", "--planned", "a1b2", "--", "relative"},
        {"/bin/rm", "-r", "--planned", "a1b2", "--", "/a"}}) {
    PlannedScan scan = weekly();
    readCommands({words}, words[0], scan);
    EXPECT_FALSE(scan.isUnderstood);
    EXPECT_TRUE(scan.otherProgram.starts_with(words[0])) << scan.otherProgram;
    EXPECT_EQ(scan.folders, weekly().folders);
  }
}

TEST(UnitText, ScanByAnotherProgramIsNoneOfThisOne) {
  PlannedScan scan = weekly();
  const std::vector<std::string> command = {"/old/vantrel", "scan", "--planned",
                                            "a1b2",         "--",   "/a"};
  readCommands({command}, "/bin/vantrel", scan);
  EXPECT_FALSE(scan.isUnderstood);
  EXPECT_EQ(scan.otherProgram, "/old/vantrel");
  EXPECT_EQ(scan.folders, std::vector<std::string>{"/a"});
}

TEST(UnitText, ScanWithAnotherCommandBesideItIsNotTakenForOne) {
  PlannedScan scan = weekly();
  readCommands({{"/bin/vantrel", "scan", "--planned", "a1b2", "--", "/a"}, {"/bin/rm", "-r"}},
               "/bin/vantrel", scan);
  EXPECT_FALSE(scan.isUnderstood);
  EXPECT_EQ(scan.otherProgram, "/bin/vantrel scan --planned a1b2 -- /a; /bin/rm -r");
  readCommands({}, "/bin/vantrel", scan = weekly());
  EXPECT_FALSE(scan.isUnderstood);
  EXPECT_EQ(scan.otherProgram, "");
}

TEST(UnitText, NothingIsBegunOnceTheProgramIsGone) {
  const std::string condition = "\nConditionFileIsExecutable=";
  EXPECT_NE(
      serviceUnit(weekly(), "/opt/my \"apps\" 5%/é").find(condition + "/opt/my \"apps\" 5%%/é\n"),
      std::string::npos);
  for (const char* program : {"/a\nb", "/a\\", "/a ", "/a\xff"}) {
    EXPECT_EQ(serviceUnit(weekly(), program).find(condition), std::string::npos) << program;
  }
}

TEST(UnitText, OnlyAScanWithAFolderATimeAndADayCanBePlanned) {
  EXPECT_TRUE(canBePlanned(weekly()));
  const auto cannot = [](auto&& change) {
    PlannedScan scan = weekly();
    change(scan);
    return !canBePlanned(scan);
  };
  EXPECT_TRUE(cannot([](PlannedScan& scan) { scan.folders.clear(); }));
  EXPECT_TRUE(cannot([](PlannedScan& scan) { scan.folders = {"relative"}; }));
  EXPECT_TRUE(cannot([](PlannedScan& scan) { scan.day = 8; }));
  EXPECT_TRUE(cannot([](PlannedScan& scan) { scan.day = 0; }));
  EXPECT_TRUE(cannot([](PlannedScan& scan) { scan.hour = 24; }));
  EXPECT_TRUE(cannot([](PlannedScan& scan) { scan.minute = 60; }));
  EXPECT_TRUE(cannot([](PlannedScan& scan) { scan.id = "../x"; }));
  EXPECT_TRUE(cannot([](PlannedScan& scan) { scan.often = Often::other; }));
  EXPECT_TRUE(cannot([](PlannedScan& scan) {
    scan.often = Often::monthly;
    scan.day = 29;
  }));
}

TEST(UnitText, TimersOfOthersAreNotOurs) {
  EXPECT_EQ(idOfTimer("vantrel-scan-a1.timer"), "a1");
  for (const char* name : {"vantrel-scan-.timer", "vantrel-scan-A.timer", "vantrel-scan-a@.timer",
                           "vantrel-scan-a1.service", "other.timer"}) {
    EXPECT_EQ(idOfTimer(name), std::nullopt) << name;
  }
}

TEST(UnitFolderTest, NothingIsWrittenThroughALink) {
  const TemporaryFolder folder;
  const std::string target = folder.write("target", "mine");
  folder.makeFolder("user");
  folder.link("user/x.timer", target);
  const Wording problem = UnitFolder(folder.at("user")).write("x.timer", "unit");
  EXPECT_EQ(problem.key, "PLANNED_CANNOT_WRITE");
  EXPECT_EQ(TemporaryFolder::read(target), "mine");
}

TEST(UnitFolderTest, FolderThatOthersMayWriteIsNotUsed) {
  const TemporaryFolder folder;
  ASSERT_EQ(outputOf("/bin/chmod", {"777", folder.makeFolder("user")}), "0");
  EXPECT_EQ(UnitFolder(folder.at("user")).write("x.timer", "unit").key, "PLANNED_NOT_YOURS");
  EXPECT_FALSE(TemporaryFolder::exists(folder.at("user/x.timer")));
}

TEST(UnitFolderTest, FileIsReplacedAsAWholeAndComesBack) {
  const TemporaryFolder folder;
  const UnitFolder units(folder.at("deep/user"));
  ASSERT_TRUE(units.write("x.timer", "first").empty());
  const auto before = units.read("x.timer");
  ASSERT_TRUE(units.write("x.timer", "second").empty());
  EXPECT_EQ(units.read("x.timer"), "second");
  ASSERT_TRUE(units.restore("x.timer", before).empty());
  EXPECT_EQ(units.read("x.timer"), "first");
  ASSERT_TRUE(units.restore("x.timer", std::nullopt).empty());
  EXPECT_EQ(units.read("x.timer"), std::nullopt);
  EXPECT_TRUE(units.remove("x.timer").empty());
}

}  // namespace
}  // namespace quillo
