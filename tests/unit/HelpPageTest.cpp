#include <gtest/gtest.h>

#include <stdexcept>

#include "companion/HelpPage.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

struct NobodyThere final : SelfTestEvidence {
  Facts facts() override { return {}; }
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
