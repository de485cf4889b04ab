// Every control of every page, worked by the keyboard in the running program: each has an effect.

#include <gtest/gtest.h>
#include <unistd.h>

#include <set>

#include "posix/Text.h"
#include "tests/desktop/support/bus/FakeSystemd.h"
#include "tests/desktop/support/controls/PressedPage.h"
#include "tests/desktop/support/session/LivedInHome.h"

namespace quillo {
namespace {

constexpr const char* settingsFile = LivedInHome::preferences;
constexpr const char* engineCalls = "engine/calls";

using Steps = std::vector<Step>;

Steps overviewSteps() {
  return {{"mendButton", says("Vantrel Quillo is being started."), "alt+s"},
          {"updateButton", writes(engineCalls, "updated")},
          {"resultsButton", says("What was found, and what could not be scanned")}};
}

Steps resultsSteps() {
  const std::string choose = "alt+t Tab ";
  return {{"kind", says("3 results, the latest first.")},
          {"period", says("2 results, the latest first.")},
          {"", says("3 results, the latest first."), "alt+w Up"},
          {"", offers("Open Folder"), choose + "Home"},
          {"openFolder", writes("opened", "Downloads")},
          {"exclude", says("Exclude ~/Downloads/virus.exe from scanning?"), "", "Escape"},
          {"allow", says("Allow ~/Downloads/virus.exe?"), "", "Escape"},
          {"", offers("Show in Quarantine"), choose + "Down"},
          {"showQuarantine", says("About the selected file")},
          {"", says("What was found, and what could not be scanned"), "ctrl+3"},
          {"showScans", says("One scan.")},
          {"", offers("Show Files"), choose + "Home"},
          {"showFiles", says("Only what the scan of")},
          {"allResults", hides("Only what the scan of")},
          {"", says("Any time"), "alt+t Up"},
          {"showBusy", says("One folder.")},
          {"byDay", says("2 folders, the busiest first.")},
          {"", says("4 results, the latest first."), "alt+b"},
          {"", offers("Scan Again"), choose + "Home"},
          {"scanAgain", says("Choose what is to be scanned now")}};
}

Steps quarantineSteps(const LivedInHome& home) {
  return {{"restoreCleanButton", says("1 file was put back.")},
          {"refreshButton", says("2 files lie in the quarantine."), "", "",
           [&home] { home.folder().write("Quarantine/other.exe"); }},
          {"sortBy", says("$HOME/Quarantine/bad.exe"), "alt+s Up Up Up alt+f Home"},
          {"reversed", checks("Reverse order")},
          {"", offers("Put Back"), "alt+f"},
          {"allowButton", says("Allow 1 file in which malware was found?"), "", "Escape"},
          {"deleteButton", says("Delete 1 file from the quarantine?"), "", "Escape"},
          {"restoreToButton", opens("Choose the folder for the files"), "", "Escape"},
          {"restoreButton", says("Put 1 file back in which malware was found?"), "", "Escape"},
          {"checkButton", says("checked again")}};
}

Steps foldersSteps() {
  return {{"startGuarding", writes("started", "started")},
          {"addFolder", opens("Folders to Guard"), "", "Escape"},
          {"", offers("Remove the folder from the list"), "alt+g Home"},
          {"withSubfolders", writes(settingsFile, "WatchSubdirs = false")},
          {"undo", writes(settingsFile, "WatchSubdirs = true")},
          {"removeFolder", withdraws(settingsFile, "Letters")},
          {"", offers("Add the exclusion"), "alt+p 'unfinished"},
          {"addPattern", writes(settingsFile, "unfinished")},
          {"", offers("Remove the exclusion"), "alt+x Home"},
          {"isExpression", checks("It is a regular expression")},
          {"isInUse", clears("In use")},
          {"changePattern", writes(settingsFile, "excludeEnabled = false")},
          {"removePattern", withdraws(settingsFile, "unfinished")},
          {"chooseTest", opens("File to Test"), "", "Escape"},
          {"", reads("$HOME/Letters/letter"), "alt+f '$HOME/Letters/letter"},
          {"test", says("It lies in none of the guarded folders.")}};
}

// Of a file that does not parse.
Steps brokenFoldersSteps() { return {{"openSettings", says("When malware is found:")}}; }

Steps plannedSteps(const std::function<void()>& begin = {}) {
  const std::string letters = "'$HOME/Letters Return";
  return {{"add", says("A new planned scan")},
          {"addFolder", opens("Choose the folders to scan"), "", letters},
          {"removeFolder", hides("$HOME/Letters")},
          {"", opens("Choose the folders to scan"), "alt+d", letters},
          {"often", says("On which day:")},
          {"weekday", says("Tuesday")},
          {"", says("On which day of the month:"), "alt+o Down"},
          {"monthDay", shownLater()},
          {"hour", shownLater()},
          {"minute", shownLater()},
          {"onlyOnMains", checks("Only on mains power; on battery this time is left out")},
          {"save", says("on day 2 of every month at 13:01, on mains power")},
          {"", offers("Change…"), "@The_planned_scans Home"},
          {"change", says("Change the planned scan")},
          {"cancel", hides("Change the planned scan")},
          {"runNow", says("The scan begins if the computer is on mains power.")},
          {"", offers("End Scan"), "Tab", "", begin},
          {"endNow", says("The scan is being ended.")},
          {"remove", says("No longer plan this scan?"), "", "Escape"}};
}

Step choosing(const std::string& name) {
  return {"chooseFiles", opens("Scan Now"), "", "'$HOME/Downloads/" + name + " Return"};
}

Steps scanSteps(const LivedInHome& home) {
  return {{"chooseFolders", opens("Scan Now"), "", "Escape"},
          choosing("virus.exe"),
          {"", says("Found: something in 1 file."), "Tab"},
          {"", offers("Move to Trash"), "@Files_in_which_something_was_found Home"},
          {"forAll", checks("For all of these")},
          {"showInFolder", writes("opened", "Downloads")},
          {"allow", says("Allow this file?"), "", "Escape"},
          {"exclude", opens("Scan Now – Vantrel"), "", "Escape"},
          {"quarantine", writes(engineCalls, "--move")},
          {"trash", writes(engineCalls, "--move")},
          choosing("empty.doc"),
          {"", says("Not scanned: 1 file."), "Tab"},
          {"", offers("Show in Folder"), "@Files_that_were_not_scanned,_with_the_reason Home"},
          {"showLeftOut", writes("opened", "Downloads")},
          {"scanTheseAgain", says("Clean: 1 file."), "", "",
           [&home] { home.folder().write("Downloads/empty.doc"); }},
          choosing("unreachable.doc"),
          {"", says("ClamAV does not answer"), "Tab"},
          {"scanAgain", writes(engineCalls, "--")},
          {"startAgent", writes("started", "started")}};
}

Steps longScanSteps() { return {choosing("slow.doc"), {"stop", says("The scan was stopped.")}}; }

// Without an engine.
Steps idleScanSteps() {
  return {choosing("virus.exe"),
          {"", says("There is no ClamAV that can be used."), "Tab"},
          {"openSettings", says("When malware is found:")}};
}

// Without a quarantine folder.
Steps homelessScanSteps() {
  return {choosing("virus.exe"),
          {"", says("Found: something in 1 file."), "Tab"},
          {"chooseQuarantine", says("When malware is found:")}};
}

// With an agent that ends as soon as it is started.
Steps vainScanSteps() {
  return {choosing("unreachable.doc"),
          {"", says("ClamAV does not answer"), "Tab"},
          {"", says("Vantrel Quillo did not start"), "alt+v"},
          {"openHelp", says("Is something wrong?")}};
}

Steps settingsSteps() {
  return {
      {"infectedFileAction", writes(settingsFile, "QuilloQuarantineFiles = true")},
      {"chooseQuarantineFolder", opens("Quarantine Folder"), "", "Escape"},
      {"suppressInfoDialogs", writes(settingsFile, "SuppressInfoDialogs = true")},
      {"multiscan", writes(settingsFile, "multiscan = \"yes\"")},
      {"scanVolumes", writes(settingsFile, "QuilloScanVolumes = true")},
      {"catchUp", writes(settingsFile, "QuilloCatchUp = true")},
      {"scanEmail", writes(settingsFile, "ScanEmail = false")},
      {"updateDefsOnLaunch", writes(settingsFile, "UpdateDefsOnLaunch = true")},
      {"needsExit1", writes(settingsFile, "NeedsExit1FreshclamFlag = true")},
      {"showDockIcon", writes(settingsFile, "ShowDockIcon = \"both\"")},
      {"logSize", withdraws(settingsFile, "rotateScanlogWhenSizeReaches = 5120"), "alt+l Up Tab"},
      {"logProgress", writes(settingsFile, "QuilloLogProgress = true")},
      {"undo", withdraws(settingsFile, "QuilloLogProgress = true")},
      {"choosePathToClamav", opens("Folder of the Engine"), "", "Escape"},
      {"openFile", writes("opened", "org.vantrel.Vantrel.toml")},
      {"startGuarding", writes("started", "started")}};
}

// Of a file that does not parse.
Steps brokenSettingsSteps() {
  return {{"repair", says("Repair the settings file?"), "", "Escape"}};
}

Steps startSteps() {
  return {{"addFolder", opens("Choose folders to guard"), "", "'$HOME/Letters Return"},
          {"removeFolder", hides("$HOME/Letters")},
          {"suggestions", says("$HOME/Documents")},
          {"", hides("$HOME/Downloads"), "alt+r"},
          {"addSuggestion", offers("Remove")},
          {"next", says("What shall become of a file in which something is found?")},
          {"quarantine", checks("Move it to the quarantine")},
          {"moveToTrash", checks("Move it to the Trash")},
          {"leaveInPlace", checks("Leave it where it is, and ask me")},
          {"back", says("Which folders shall be guarded?")},
          {"cancel", says("Virus definitions")}};
}

// Of somebody who has settings.
Steps laterStartSteps() {
  return {{"updateDefinitions", writes(engineCalls, "updated")},
          {"", says("See it work"), "alt+n"},
          {"testStart", says("Vantrel Quillo watches")},
          {"testStartAgent", writes("started", "started")},
          {"testStop", offers("Test Now")}};
}

Steps helpSteps(const LivedInHome& home) {
  return {{"", says("There are problems; the table says what to do."), "Tab"},
          {"examine", hides("$HOME/engine/sbin/clamd"), "", "",
           [&home] { home.folder().writeProgram("engine/sbin/clamd", "#!/bin/sh\n"); }},
          {"openFinding", says("Your folders are not guarded")},
          {"", says("Is something wrong?"), "ctrl+9"},
          {"testStart", says("Vantrel Quillo watches")},
          {"testStartAgent", writes("started", "started")},
          {"testStop", offers("Test Now")},
          {"tabs", hides("Look for Problems"), "alt+s"},
          {"", offers("Go There"), "@What_Vantrel_Quillo_says Home"},
          {"openPlace", says("What was found, and what could not be scanned")},
          {"", says("Is something wrong?"), "ctrl+9"},
          {"", says("Open Scan Log"), "alt+v"},
          {"openScanLog", writes("opened", "VantrelQuillo-scan.log")},
          {"openUpdateLog", writes("opened", "update.log")}};
}

// Without an engine: the command that makes one is put into another field.
Steps idleHelpSteps() {
  return {{"", offers("Copy Command"), "@What_was_found_out Home Down"},
          {"copyCommand", reads("vantrel-engine-tree"), "alt+c ctrl+5 @Pattern: ctrl+v"}};
}

class PressedPages : public testing::TestWithParam<EitherDesktop::Kind> {
 protected:
  void work(const std::string& page, const Steps& steps,
            const std::string& agent = LivedInHome::lastingAgent) {
    EitherDesktop desktop(GetParam(), home.path());
    LivedInHome::serve(desktop.session(), agent);
    PressedPage(desktop, page).perform(steps);
  }
  void changeSettings(const std::string& text, const std::string& other) {
    home.folder().write(
        settingsFile,
        replacingAll(TemporaryFolder::read(home.folder().at(settingsFile)), text, other));
  }

  LivedInHome home;
};

TEST_P(PressedPages, OverviewDoesWhatItsControlsSay) { work("overview", overviewSteps()); }

TEST_P(PressedPages, ResultsDoWhatTheirControlsSay) { work("results", resultsSteps()); }

TEST_P(PressedPages, QuarantineDoesWhatItsControlsSay) {
  work("quarantine", quarantineSteps(home));
}

TEST_P(PressedPages, FoldersDoWhatTheirControlsSay) { work("folders", foldersSteps()); }

TEST_P(PressedPages, FoldersOfABrokenFileLeadToTheSettings) {
  home.folder().write(settingsFile, "nonsense = \n");
  work("folders", brokenFoldersSteps());
}

TEST_P(PressedPages, PlannedScansDoWhatTheirControlsSay) {
  const std::string units = home.folder().makeFolder(".config/systemd/user");
  EitherDesktop desktop(GetParam(), home.path());
  FakeSystemd systemd(units, desktop.session().busAddress());
  PressedPage(desktop, "planned").perform(plannedSteps([&systemd] {
    systemd.running.insert(systemd.started.back());
    systemd.sayThatItChanged(systemd.started.back(), "activating");
  }));
}

TEST_P(PressedPages, ScanDoesWhatItsControlsSay) { work("scan", scanSteps(home)); }

TEST_P(PressedPages, LongScanIsStopped) { work("scan", longScanSteps()); }

TEST_P(PressedPages, ScanWithoutAnEngineLeadsToTheSettings) {
  changeSettings("PathToClamav", "Path");
  work("scan", idleScanSteps());
}

TEST_P(PressedPages, ScanWithoutAQuarantineLeadsToTheSettings) {
  changeSettings("QuarantineFolder", "Folder");
  work("scan", homelessScanSteps());
}

TEST_P(PressedPages, ScanThatCannotStartTheAgentLeadsToHelp) {
  work("scan", vainScanSteps(), "exit 1");
}

TEST_P(PressedPages, SettingsDoWhatTheirControlsSay) { work("settings", settingsSteps()); }

TEST_P(PressedPages, SettingsOfABrokenFileAreRepaired) {
  home.folder().write(settingsFile, "nonsense = \n");
  work("settings", brokenSettingsSteps());
}

TEST_P(PressedPages, FirstStepsDoWhatTheirControlsSay) {
  unlink(home.folder().at(settingsFile).c_str());
  home.folder().makeFolder("Documents");
  work("start", startSteps());
}

TEST_P(PressedPages, LaterStepsDoWhatTheirControlsSay) { work("start", laterStartSteps()); }

TEST_P(PressedPages, HelpCopiesACommand) {
  changeSettings("PathToClamav", "Path");
  work("help", idleHelpSteps());
}

TEST_P(PressedPages, HelpDoesWhatItsControlsSay) { work("help", helpSteps(home)); }

// What has a test of its own, for want of a disk, an agent, or a scanner that can be held.
const std::set<std::string> pressedByOthers = {
    "scan.volumes", "scan.scanVolume", "scan.startWatching", "scan.pause", "settings.startAnew"};

TEST(PressedControls, AreAllThatThePagesHave) {
  const LivedInHome home;
  const std::pair<const char*, Steps> all[] = {{"overview", overviewSteps()},
                                               {"results", resultsSteps()},
                                               {"quarantine", quarantineSteps(home)},
                                               {"folders", foldersSteps()},
                                               {"folders", brokenFoldersSteps()},
                                               {"planned", plannedSteps()},
                                               {"scan", scanSteps(home)},
                                               {"scan", longScanSteps()},
                                               {"scan", idleScanSteps()},
                                               {"scan", homelessScanSteps()},
                                               {"scan", vainScanSteps()},
                                               {"settings", settingsSteps()},
                                               {"settings", brokenSettingsSteps()},
                                               {"start", startSteps()},
                                               {"start", laterStartSteps()},
                                               {"help", helpSteps(home)},
                                               {"help", idleHelpSteps()}};
  std::set<std::string> pressed = pressedByOthers;
  for (const auto& [page, steps] : all) {
    for (const Step& step : steps) {
      if (!step.control.empty()) {
        pressed.insert(page + ("." + step.control));
      }
    }
  }
  std::set<std::string> there;
  for (const std::string& page : interfacePages()) {
    for (const InterfaceControl& control : controlsOf(page)) {
      there.insert(page + "." + control.widget);
    }
  }
  EXPECT_EQ(pressed, there);
}

INSTANTIATE_TEST_SUITE_P(On, PressedPages,
                         testing::Values(EitherDesktop::Kind::x11, EitherDesktop::Kind::wayland),
                         [](const auto& each) {
                           return std::string(each.param == EitherDesktop::Kind::x11 ? "X11"
                                                                                     : "Wayland");
                         });

}  // namespace
}  // namespace quillo
