// The main application as its user meets it: a process on a desktop.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/desktop/support/session/ShownWords.h"
#include "tests/desktop/support/session/VantrelOnDesktop.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

class VantrelProgram : public VantrelOnDesktop {};

TEST_F(VantrelProgram, LeadsWhoeverHasNoPreferencesThroughTheFirstSteps) {
  const auto process = start();
  EXPECT_TRUE(shows("First Steps"));
}

TEST_F(VantrelProgram, ShowsTheOverviewToWhoeverHasPreferences) {
  makeEngine();
  const auto process = start();
  EXPECT_TRUE(shows("Overview"));
}

TEST_F(VantrelProgram, ShowsAWindowOfItsOwnClass) {
  const auto process = start({"--page", "results"});
  ASSERT_TRUE(shows("Results"));
  EXPECT_EQ(session.screen().classOf("Results – Vantrel"),
            std::string(identifier) + " " + identifier);
}

TEST_F(VantrelProgram, ShowsThePageThatIsAskedFor) {
  const auto process = start({"--page", "planned"});
  EXPECT_TRUE(shows("Planned Scans"));
}

TEST_F(VantrelProgram, RaisesTheFirstWhenItIsStartedAgain) {
  const auto process = start({"--page", "results"});
  ASSERT_TRUE(shows("Results"));
  const auto other = session.startCommand({QUILLO_NOTEPAD, session.homeFolder() + "/notes"});
  ASSERT_TRUE(session.screen().eventually(
      [&] { return session.screen().stackedTitles().back() == "Notepad"; }));
  EXPECT_EQ(run({"--page=planned"}).status, 0);
  EXPECT_TRUE(shows("Planned Scans"));
  EXPECT_TRUE(session.screen().eventually(
      [&] { return session.screen().stackedTitles().back() == "Planned Scans – Vantrel"; }));
}

TEST_F(VantrelProgram, SaysWhichPagesThereAre) {
  const Ended ended = run({"--page", "nonsense"});
  EXPECT_EQ(ended.status, 1);
  EXPECT_NE(ended.said.find("“nonsense”"), std::string::npos) << ended.said;
  EXPECT_NE(ended.said.find("planned"), std::string::npos) << ended.said;
}

TEST_F(VantrelProgram, ScansInItsWindowWhatAFileManagerHandsOver) {
  makeEngine();
  const std::string folder = makeFolder();
  const auto process = start({"--open", "--", folder});
  EXPECT_TRUE(shows("Scan Now"));
  EXPECT_TRUE(isScanned(folder));
}

TEST_F(VantrelProgram, HandsOnToTheFirstWhatIsToBeScannedInItsWindow) {
  makeEngine();
  const std::string folder = makeFolder();
  const auto process = start({"--page", "planned"});
  ASSERT_TRUE(shows("Planned Scans"));
  EXPECT_EQ(run({"--open", "--", folder}).status, 0);
  EXPECT_TRUE(shows("Scan Now"));
  EXPECT_TRUE(isScanned(folder));
}

// The first one works in another folder.
TEST_F(VantrelProgram, HandsOnARelativePathAsWhoeverGaveItMeantIt) {
  makeEngine();
  const std::string folder = makeFolder();
  const auto process = start({"--page", "planned"});
  ASSERT_TRUE(shows("Planned Scans"));
  EXPECT_EQ(run({"--open", "--", "letter"}, "cd '" + folder + "';").status, 0);
  EXPECT_TRUE(isScanned(folder + "/letter"));
}

// A file may be called what Qt takes for an option, and the next one what that loads.
TEST_F(VantrelProgram, TakesNoNameOfAFileForAnOption) {
  const auto process = start({"--open", "--", "-qwindowtitle", "Taken"});
  EXPECT_TRUE(shows("Scan Now"));
}

TEST_F(VantrelProgram, IsStartedByTheBusAndShowsWhatIsAskedOfIt) {
  session.addService(identifier, std::string(program) + " --service");
  session.run({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus",
               "/org/freedesktop/DBus", "org.freedesktop.DBus.ReloadConfig"});
  call("ActivateAction", {"planned", "[]", "{}"});
  EXPECT_TRUE(shows("Planned Scans"));
  call("Activate", {"{}"});
  EXPECT_TRUE(shows("Planned Scans"));
}

TEST_F(VantrelProgram, ShowsTheSettingsWhenTheAgentAsks) {
  const auto process = start({"--page", "planned"});
  ASSERT_TRUE(shows("Planned Scans"));
  session.run({"gdbus", "emit", "--session", "--object-path",
               "/org/vantrel/DistributedNotificationCenter", "--signal",
               "org.vantrel.DistributedNotificationCenter.VantrelShouldOpenPrefs",
               "VantrelQuillo"});
  EXPECT_TRUE(shows("Settings"));
}

TEST_F(VantrelProgram, GuardsAFolderAndExcludesFilesByTheKeyboardAlone) {
  const std::string folder = session.homeFolder() + "/Letters";
  std::filesystem::create_directory(folder);
  const auto isWritten = [&](const std::string& text) {
    return session.screen().eventually(
        [&] { return TemporaryFolder::read(preferences()).find(text) != std::string::npos; });
  };
  ShownWords words(session);
  const auto process =
      session.startCommand({"env", ShownWords::variable(), program, "--page", "folders"});
  ASSERT_TRUE(shows("Folders"));
  ASSERT_TRUE(hasKeyboard("Folders – Vantrel"));
  session.press("alt+a");
  ASSERT_TRUE(hasKeyboard("Folders to Guard"));
  session.run({"xdotool", "type", folder});
  session.press("Return");
  EXPECT_TRUE(isWritten("Letters")) << TemporaryFolder::read(preferences());
  ASSERT_TRUE(hasKeyboard("Folders – Vantrel"));
  ASSERT_TRUE(session.screen().eventually([&] { return words.say("~/Letters"); }));
  session.press("alt+p");
  EXPECT_TRUE(session.screen().eventually([&] { return words.hasKeyboard("Pattern:"); }))
      << words.all();
  session.run({"xdotool", "type", "unfinished"});
  session.press("alt+d");
  EXPECT_TRUE(isWritten("unfinished")) << TemporaryFolder::read(preferences());
  session.keepPicture("vantrel-folder-guarded");
}

TEST_F(VantrelProgram, EndsWhenItsWindowIsClosed) {
  const auto process = start({"--page", "planned"});
  ASSERT_TRUE(hasKeyboard("Planned Scans – Vantrel"));
  session.press("ctrl+q");
  EXPECT_EQ(process->waitUntilExit(), 0);
}

TEST_F(VantrelProgram, SaysThatThereIsNoDisplay) {
  const Ended ended = run({}, "unset DISPLAY WAYLAND_DISPLAY;");
  EXPECT_EQ(ended.status, 1);
  EXPECT_NE(ended.said.find("this session has no display"), std::string::npos) << ended.said;
}

TEST_F(VantrelProgram, SaysThatThereIsNoBus) {
  const Ended ended = run({}, "export DBUS_SESSION_BUS_ADDRESS=unix:path=/none;");
  EXPECT_EQ(ended.status, 1);
  EXPECT_NE(ended.said.find("there is no session bus"), std::string::npos) << ended.said;
}

TEST_F(VantrelProgram, AnswersWithoutADisplayAndABus) {
  const std::string everything =
      "unset DISPLAY WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS XDG_RUNTIME_DIR;";
  const Ended help = run({"--help"}, everything);
  EXPECT_EQ(help.status, 0);
  EXPECT_TRUE(help.said.starts_with("vantrel\n")) << help.said;
  EXPECT_EQ(run({"--version"}, everything).status, 0);
  EXPECT_EQ(run({"--nonsense"}, everything).status, 2);
  EXPECT_EQ(run({"nonsense"}, everything).status, 2);
}

}  // namespace
}  // namespace quillo
