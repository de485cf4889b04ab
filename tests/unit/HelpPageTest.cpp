#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string_view>

#include "companion/HelpPage.h"
#include "companion/doctor/HelpFindings.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

struct NobodyThere final : SelfTestEvidence {
  Facts facts() override { return {}; }
  void abandon(const std::string&, std::int64_t) override {}
  std::optional<Find> findOf(const std::string&, std::int64_t) override { return std::nullopt; }
};

class HelpPageTest : public testing::Test {
 protected:
  HelpPageServices services(ThreadStarter& starter) {
    return {application,
            strings,
            starter,
            workspace,
            [this] { return examine; },
            [this] { return scanLog; },
            [this] { return updateLog; },
            [] { return "Vantrel 1"; },
            {application, clock, strings, threads, evidence,
             [] { return std::vector<std::string>(); }}};
  }
  std::string stateAfter(const std::vector<HelpFinding>& found) {
    examine = [found] { return found; };
    ui.press("examine");
    threads.run("examine");
    return ui.text("findingsState");
  }

  FakeApplication application;
  ManualClock clock;
  FakeLocalizedStrings strings;
  FakeThreads threads;
  FakeWorkspace workspace;
  NobodyThere evidence;
  std::string scanLog = "/logs/scan.log";
  std::string updateLog = "/logs/update.log";
  std::function<std::vector<HelpFinding>()> examine;
  FakePage ui{"help"};
  FakeMainWindow window;
  HelpPage page{ui, window, services(threads)};
};

TEST_F(HelpPageTest, SaysWhatTheProgramCannotDoAndWhichItIs) {
  EXPECT_NE(ui.text("limits").find("• <HELP_LIMIT_AFTERWARDS>\n\n• "), std::string::npos);
  EXPECT_EQ(ui.text("versions"), "Vantrel 1");
  EXPECT_EQ(ui.text("logPlaces"), "/logs/scan.log\n/logs/update.log");
}

TEST_F(HelpPageTest, EverythingThatTheAgentSaysLeadsToAPage) {
  ASSERT_EQ(ui.rowCount("places"), mendingPlaces().size());
  EXPECT_FALSE(ui.isEnabled("openPlace"));
  for (std::size_t row = 0; row < mendingPlaces().size(); ++row) {
    ui.select("places", {row});
    ui.press("openPlace");
    const std::string place = mendingPlaces()[row].page;
    EXPECT_EQ(window.shownPage() == place, place != "help");
  }
}

// The texts that the agent shows, by the beginnings of their keys, and what is said of them here;
// "" where there is nothing to mend, or that is said there with a button of its own.
struct Said {
  const char* beginning;
  const char* here;
};
constexpr Said whatTheAgentSays[] = {{"ADVICE_", "HELP_SAYS_NO_ENGINE"},
                                     {"ALREADY_UP_TO_DATE", ""},
                                     {"AND_MORE", ""},
                                     {"AUTHORIZATION_", "HELP_SAYS_HELPER"},
                                     {"CLAMDSCAN_ERROR", "HELP_SAYS_NO_ENGINE"},
                                     {"DEFINITIONS_MISSING", "HELP_SAYS_DEFINITIONS"},
                                     {"DIGITS_", ""},
                                     {"DISPLAY_", ""},
                                     {"ENGINE_", "HELP_SAYS_NO_ENGINE"},
                                     {"ENGINE_NO_PREFERENCES", "HELP_SAYS_PREFERENCES"},
                                     {"ENGINE_UPDATER_", "HELP_SAYS_DEFINITIONS"},
                                     {"FILE_CHANGED", "HELP_SAYS_NOT_MOVED"},
                                     {"FIND_IN_PLACE", "HELP_SAYS_FOUND"},
                                     {"FIND_NOT_MOVED", "HELP_SAYS_NOT_MOVED"},
                                     {"FIND_PLACE", "HELP_SAYS_FOUND"},
                                     {"FIND_QUARANTINED", "HELP_SAYS_QUARANTINED"},
                                     {"FIND_TRASHED", ""},
                                     {"FOUND", "HELP_SAYS_FOUND"},
                                     {"FSEVENT_NOT_SETUID", "HELP_SAYS_HELPER"},
                                     {"HELPER_", "HELP_SAYS_HELPER"},
                                     {"MEND_", ""},
                                     {"NOTIFICATION_", ""},
                                     {"NOT_MOVED", "HELP_SAYS_NOT_MOVED"},
                                     {"NOT_TO_ITS_END", "HELP_SAYS_TOO_LARGE"},
                                     {"NOT_TRASHED", "HELP_SAYS_NOT_MOVED"},
                                     {"NO_TRAY", "HELP_SAYS_NO_ICON"},
                                     {"PATH_", "HELP_SAYS_HELPER"},
                                     {"PLACE_", "HELP_SAYS_FOLDER_INCOMPLETE"},
                                     {"PREFERENCES_UNREADABLE", "HELP_SAYS_PREFERENCES"},
                                     {"QUARANTINED", "HELP_SAYS_QUARANTINED"},
                                     {"RECHECKED_CLEAN", "HELP_SAYS_RECHECKED"},
                                     {"REMOVED", ""},
                                     {"SCANNED", ""},
                                     {"SIZE_", ""},
                                     {"STATUS_", ""},
                                     {"STATUS_ENGINE_FAILS", "HELP_SAYS_NO_ENGINE"},
                                     {"STATUS_HELPER_FAILS", "HELP_SAYS_HELPER"},
                                     {"STATUS_NOT_THERE", "HELP_SAYS_FOLDER_MISSING"},
                                     {"STATUS_NO_DEFINITIONS", "HELP_SAYS_DEFINITIONS"},
                                     {"STATUS_NO_ENGINE", "HELP_SAYS_NO_ENGINE"},
                                     {"STATUS_NO_PREFERENCES", "HELP_SAYS_PREFERENCES"},
                                     {"STATUS_OLD_DEFINITIONS", "HELP_SAYS_DEFINITIONS"},
                                     {"STATUS_PARTLY", "HELP_SAYS_FOLDER_INCOMPLETE"},
                                     {"SUCCESSFUL", ""},
                                     {"TOO_LARGE", "HELP_SAYS_TOO_LARGE"},
                                     {"UNKNOWN_ERROR", "HELP_SAYS_DEFINITIONS"},
                                     {"WAIT", ""}};

// The longest beginning decides.
const Said* whatIsSaidOf(std::string_view key) {
  const Said* longest = nullptr;
  for (const Said& said : whatTheAgentSays) {
    const std::string_view beginning = said.beginning;
    if (key.starts_with(beginning) &&
        (!longest || beginning.size() > std::string_view(longest->beginning).size())) {
      longest = &said;
    }
  }
  return longest;
}

TEST_F(HelpPageTest, NothingThatTheAgentSaysHasNoPlaceInItsTable) {
  std::set<std::string> here;
  for (const MendingPlace& place : mendingPlaces()) {
    here.insert(place.said);
  }
  std::set<std::string> said;
  const std::string table =
      contentsOfFile(QUILLO_SOURCE_DIR "/resources/strings/en.toml").value_or("");
  for (const std::string_view line : split(table, '\n')) {
    if (line.empty() || line.starts_with('#')) {
      continue;
    }
    const std::string_view key = line.substr(0, line.find(' '));
    const Said* const known = whatIsSaidOf(key);
    ASSERT_NE(known, nullptr) << key << " is new: which page mends it?";
    if (*known->here != '\0') {
      EXPECT_EQ(here.count(known->here), 1U) << key;
      said.insert(known->here);
    }
  }
  EXPECT_EQ(said, here);
}

TEST_F(HelpPageTest, RemedyOfTheChosenFindingIsShownWhole) {
  using State = HelpFinding::State;
  EXPECT_FALSE(ui.isVisible("chosen"));
  stateAfter({{State::good, "engine", "well", ""},
              {State::problem, "helper", "no rights", "run: x --y", "x --y", ""},
              {State::warning, "folder", "missing", "choose", "", "folders"}});
  EXPECT_EQ(ui.text("chosen"), "no rights\nrun: x --y");
  EXPECT_FALSE(ui.isVisible("openFinding"));
  ui.press("copyCommand");
  EXPECT_EQ(window.copied, std::vector<std::string>{"x --y"});
  ui.select("findings", {2});
  EXPECT_EQ(ui.text("chosen"), "missing\nchoose");
  EXPECT_FALSE(ui.isVisible("copyCommand"));
  ui.press("openFinding");
  EXPECT_EQ(window.shownPage(), "folders");
  ui.select("findings", {0});
  EXPECT_EQ(ui.text("chosen"), "well");
  EXPECT_FALSE(ui.isVisible("openFinding"));
}

// What a remedy names in quotation marks is a page, or a button or an extension of another program.
TEST(HelpFindings, EachRemedyThatNamesAPageLeadsThere) {
  FakeLocalizedStrings strings;
  const std::string table =
      contentsOfFile(QUILLO_SOURCE_DIR "/resources/strings/vantrel/doctor/en.toml").value_or("");
  for (const std::string_view line : split(table, '\n')) {
    const std::string key(line.substr(0, line.find(' ')));
    const std::size_t named = line.find("the page “");
    if (named == std::string_view::npos) {
      continue;
    }
    const std::string_view rest = line.substr(named + std::string_view("the page “").size());
    const std::string page(rest.substr(0, rest.find("”")));
    const std::vector<HelpFinding> shown =
        helpFindingsOf({{"check", "", Finding::Sign::problem, {"x"}, {key, {"command"}}}}, strings);
    EXPECT_EQ(shown.at(0).page, lowercased(page)) << key;
  }
}

TEST(HelpFindings, CommandsOfRemediesCanBeCopied) {
  FakeLocalizedStrings strings;
  const auto commandOf = [&strings](const Wording& remedy) {
    return helpFindingsOf({{"check", "", Finding::Sign::problem, {"x"}, remedy}}, strings)
        .at(0)
        .command;
  };
  EXPECT_EQ(commandOf({"DOCTOR_HELPER_RIGHTS_REMEDY", {"sudo x"}}), "sudo x");
  EXPECT_EQ(commandOf({"DOCTOR_AUTOSTART_OFF_REMEDY", {"/a/file"}}), "");
}

TEST_F(HelpPageTest, WhatLeadsHereHasTheProblemsLookedFor) {
  examine = [] { return std::vector<HelpFinding>{{HelpFinding::State::good, "a", "b", ""}}; };
  ui.setNumber("tabs", 2);
  window.show("help");
  EXPECT_EQ(ui.number("tabs"), 0);
  threads.run("examine");
  EXPECT_EQ(ui.text("findingsState"), "<HELP_ALL_WELL>");
  ui.setNumber("tabs", 1);
  for (std::size_t row = 0; row < mendingPlaces().size(); ++row) {
    if (mendingPlaces()[row].page == std::string("help")) {
      ui.select("places", {row});
      ui.press("openPlace");
    }
  }
  EXPECT_EQ(ui.number("tabs"), 0);
  EXPECT_EQ(ui.text("findingsState"), "<HELP_EXAMINING>");
}

TEST_F(HelpPageTest, FindingsComeWithTheirRemedies) {
  using State = HelpFinding::State;
  EXPECT_EQ(stateAfter({{State::good, "engine", "well", ""}}), "<HELP_ALL_WELL>");
  EXPECT_EQ(stateAfter({{State::good, "a", "b", ""}, {State::warning, "panel", "none", "install"}}),
            "<HELP_HAS_WARNINGS>");
  EXPECT_EQ(ui.row("findings", 1).sign, TableRows::Sign::warning);
  EXPECT_EQ(stateAfter({{State::unknown, "engine", "who knows", ""}}), "<HELP_NOT_ALL_KNOWN>");
  EXPECT_EQ(stateAfter({{State::unknown, "a", "b", ""}, {State::problem, "log", "full", "delete"}}),
            "<HELP_HAS_PROBLEMS>");
  EXPECT_EQ(ui.row("findings", 1).cells, (std::vector<std::string>{"log", "full", "delete"}));
  EXPECT_EQ(ui.row("findings", 1).sign, TableRows::Sign::warning);
}

TEST_F(HelpPageTest, LookingTakesPlaceOnceAtATime) {
  examine = [] { return std::vector<HelpFinding>(); };
  ui.press("examine");
  EXPECT_FALSE(ui.isEnabled("examine"));
  EXPECT_EQ(ui.text("findingsState"), "<HELP_EXAMINING>");
  threads.run("examine");
  EXPECT_TRUE(ui.isEnabled("examine"));
}

TEST_F(HelpPageTest, LookThatFailsIsSaid) {
  examine = []() -> std::vector<HelpFinding> { throw std::runtime_error("no memory"); };
  ui.press("examine");
  threads.run("examine");
  EXPECT_EQ(ui.row("findings", 0).cells[1], "no memory");
  EXPECT_TRUE(ui.isEnabled("examine"));
  NoThreads none;
  FakePage other{"help"};
  HelpPage without(other, window, services(none));
  other.press("examine");
  EXPECT_EQ(other.text("findingsState"), "<HELP_NOT_ALL_KNOWN>");
}

TEST_F(HelpPageTest, LogsAreOpenedWhereThereAreAny) {
  ui.press("openScanLog");
  EXPECT_EQ(workspace.opened, std::vector<std::string>{"/logs/scan.log"});
  EXPECT_FALSE(ui.isVisible("logProblem"));
  updateLog = "";
  window.show("help");
  EXPECT_FALSE(ui.isEnabled("openUpdateLog"));
}

TEST_F(HelpPageTest, LogThatCannotBeOpenedIsSaid) {
  workspace.answer = false;
  ui.press("openScanLog");
  EXPECT_TRUE(ui.isVisible("logProblem"));
  EXPECT_EQ(ui.text("logProblem"), "<HELP_LOG_NOT_OPENED>");
}

}  // namespace
}  // namespace quillo
