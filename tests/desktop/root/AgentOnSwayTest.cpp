// The agent on a tiling Wayland desktop: what its user sees, and that the keyboard stays hers.

#include <filesystem>

#include "tests/desktop/root/AgentOnSway.h"

namespace quillo::tests {
namespace {

constexpr const char* applicationId = "org.vantrel.VantrelQuillo";

// Places of the buttons, from the left.
enum Button : std::size_t { showButton, ignoreButton, trashButton };

// With Xwayland and without it: it is not installed with sway.
class AgentWarningOnSway : public AgentOnSway, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    SwaySession::Options options;
    options.hasXwayland = GetParam();
    logIn(options);
    session().startBar();
    openNotepad();
    startAndAwaitWatching();
  }
  std::string suffix() const { return GetParam() ? "-xwayland" : ""; }
};

TEST_P(AgentWarningOnSway, FloatsAboveTheOtherWindowsWithoutTheirKeyboard) {
  const Window warning = warningOf("invoice.pdf.com");
  session().keepPicture("sway-warning" + suffix());
  EXPECT_TRUE(warning.isFloating);
  EXPECT_FALSE(warning.isFocused);
  EXPECT_EQ(warning.application, applicationId);
  EXPECT_TRUE(session().window("Notepad")->isFocused);
  EXPECT_TRUE(QRect(QPoint(), session().size()).contains(warning.area));
}

TEST_P(AgentWarningOnSway, LeavesEveryKeyWhereTheUserTypes) {
  const std::string infected = home().guarded("invoice.pdf.com");
  std::string typed;
  const std::string sentence = "a word and another m i s ";
  home().saveInfected("invoice.pdf.com");
  while (!session().window(warningTitle) || buttonsOf(*session().window(warningTitle)).size() < 3) {
    session().type(sentence);
    typed += sentence;
  }
  for (int more = 0; more < 5; ++more) {
    session().type(sentence);
    typed += sentence;
  }
  EXPECT_TRUE(notepadComesToHold(typed)) << textInNotepad();
  session().keepPicture("sway-typing" + suffix());
  EXPECT_TRUE(session().window(warningTitle));
  EXPECT_TRUE(std::filesystem::exists(infected));
}

TEST_P(AgentWarningOnSway, MovesTheFileToTheTrashAtAClick) {
  const Window warning = warningOf("invoice.pdf.com");
  clickButton(warning, trashButton);
  EXPECT_TRUE(session().showsWindows(0, warningTitle));
  EXPECT_FALSE(std::filesystem::exists(home().guarded("invoice.pdf.com")));
}

TEST_P(AgentWarningOnSway, AnswersTheKeyboardOnceItsUserHasGoneToIt) {
  const Window warning = warningOf("invoice.pdf.com");
  awaitButtons(warning);
  session().click(warning.area.left() + 4, warning.area.top() + 4);
  ASSERT_TRUE(session().eventually([&] { return session().window(warningTitle)->isFocused; }));
  session().press("Escape");
  EXPECT_TRUE(session().showsWindows(0, warningTitle));
  EXPECT_TRUE(std::filesystem::exists(home().guarded("invoice.pdf.com")));
}

INSTANTIATE_TEST_SUITE_P(Either, AgentWarningOnSway, testing::Bool(), [](const auto& each) {
  return std::string(each.param ? "WithXwayland" : "WithoutXwayland");
});

TEST_F(AgentOnSway, KeepsTheKeyboardWithTheUserAlsoAfterTheDesktopsSettingsWereReadAgain) {
  logIn();
  openNotepad();
  startAndAwaitWatching();
  session().sway().command("reload");
  warningOf("invoice.pdf.com");
  EXPECT_TRUE(session().window("Notepad")->isFocused);
}

TEST_F(AgentOnSway, ShowsItsIconInTheBar) {
  logIn();
  session().startBar();
  startAndAwaitWatching();
  EXPECT_NO_THROW(iconArea());
  session().keepPicture("sway-icon");
}

TEST_F(AgentOnSway, OpensItsMenuAtTheIconWithALeftClick) {
  logIn();
  session().startBar();
  openNotepad();
  startAndAwaitWatching();
  const QRect icon = iconArea();
  const QImage before = session().picture();
  session().click(icon.center().x(), icon.center().y());
  QRect menu;
  const auto isOpen = [&] {
    menu = changedArea(before, session().picture());
    return menu.height() > 150;
  };
  EXPECT_TRUE(session().eventually(isOpen));
  session().keepPicture("sway-menu");
  EXPECT_LT(menu.top(), icon.bottom() + 20);
  EXPECT_GT(menu.right(), icon.left() - 20);
  // A window of its own would stand among the others.
  EXPECT_FALSE(windowOfTheAgent());
}

TEST_F(AgentOnSway, NotifiesOfASavedFileAndWarns) {
  logIn();
  session().startNotificationServer();
  session().startBar();
  openNotepad();
  startAndAwaitWatching();
  const Window warning = warningOf("invoice.pdf.com");
  EXPECT_TRUE(bus().hears("Notify", home().guarded("invoice.pdf.com")));
  awaitButtons(warning);
  session().keepPicture("sway-detection");
}

// What a screen of 640 by 400 has room for, in the longest words and a large font.
class AgentOnSmallSway : public AgentOnSway, public testing::WithParamInterface<const char*> {};

TEST_P(AgentOnSmallSway, MovesTheFileToTheTrashAtAClick) {
  SwaySession::Options options;
  options.scale = 2;
  logIn(options);
  session().startBar();
  openNotepad();
  addVariable(std::string("LC_ALL=") + GetParam() + ".UTF-8");
  addVariable("QT_FONT_DPI=144");
  constexpr int middleOfLargeButtons = 34;
  setMiddleOfButtons(middleOfLargeButtons);
  startAndAwaitWatching();
  const std::string infected =
      home().saveInfected("Jahressteuererklärung und Rechnungszusammenstellung.pdf.com");
  ASSERT_TRUE(session().eventually([&] { return windowOfTheAgent().has_value(); }));
  const Window warning = *windowOfTheAgent();
  awaitButtons(warning);
  session().keepPicture(std::string("sway-scale-2-") + GetParam());
  EXPECT_TRUE(QRect(QPoint(), session().size()).contains(warning.area));
  // The last of them, in one row or one below the other.
  clickButton(warning, buttonsOf(warning).size() - 1);
  EXPECT_TRUE(session().eventually([&] { return !std::filesystem::exists(infected); }));
}

INSTANTIATE_TEST_SUITE_P(InEveryLanguage, AgentOnSmallSway,
                         testing::Values("de_DE", "en_GB", "es_ES", "fr_FR", "ja_JP"),
                         [](const auto& each) { return std::string(each.param).substr(0, 2); });

TEST_F(AgentOnSway, OpensTheSettingsOfTheMainApplication) {
  logIn();
  home().writePreferences(
      "PathToClamav = \"/opt/nowhere\"\nPathToUpdateLog = \"/tmp/update.log\"\n");
  session().addService("org.vantrel.Vantrel", QUILLO_BINARY_DIR "/vantrel --service");
  // As sway's own configuration does: the bus was there before the compositor.
  session().run({"dbus-update-activation-environment", "--all"});
  start();
  const std::string problem = "Engine Problem";
  ASSERT_TRUE(session().showsWindows(1, problem));
  clickButton(*session().window(problem), 0);
  EXPECT_TRUE(session().showsWindows(1, "Settings – Vantrel"));
  session().keepPicture("sway-settings-asked-for-by-the-agent");
}

namespace fs = std::filesystem;

// A find on a desktop whose notification server shows buttons only when it is asked for them.
class AgentFindOnSway : public AgentOnSway {
 protected:
  void SetUp() override {
    logIn();
    session().startNotificationServer();
    startAndAwaitWatching();
  }
  // Whether the server shows one of that summary, and its number.
  std::string idOf(const std::string& summary) {
    const std::string list = outputOf({"makoctl", "list"});
    std::size_t at = list.find("\"" + summary + "\"");
    for (const char* mark : {"\"id\"", "\"data\"", ":"}) {
      at = at == std::string::npos ? at : list.find(mark, at + 1);
    }
    return at == std::string::npos ? "" : std::to_string(std::stoi(list.substr(at + 1)));
  }
};

TEST_F(AgentFindOnSway, GoesToTheTrashByTheButtonOfItsNotification) {
  const std::string path = home().saveInfected("invoice.pdf.com");
  const std::string summary = "Malware found: invoice.pdf.com";
  std::string id;
  ASSERT_TRUE(session().eventually([&] { return !(id = idOf(summary)).empty(); }));
  ASSERT_TRUE(session().showsWindows(1, warningTitle));
  session().keepPicture("sway-notification-of-a-find");
  const std::string trash = "1";
  outputOf({"makoctl", "invoke", "-n", id, trash});
  EXPECT_TRUE(home().logHas(path + ": moved to the Trash by the user"));
  EXPECT_FALSE(fs::exists(path));
  EXPECT_TRUE(fs::exists(home().home() + "/.local/share/Trash/files/invoice.pdf.com"));
  EXPECT_TRUE(session().showsWindows(0, warningTitle));
  EXPECT_TRUE(session().eventually([&] { return idOf(summary).empty(); }));
  // The hint that made room for it stands again.
  EXPECT_NE(idOf("Vantrel Quillo"), "");
}

TEST_F(AgentFindOnSway, IsNoLongerReportedWhenSomebodyElseMovedItsFile) {
  const std::string path = home().saveInfected("bad.com");
  ASSERT_TRUE(session().eventually([&] { return !idOf("Malware found: bad.com").empty(); }));
  fs::rename(path, home().home() + "/elsewhere.com");
  EXPECT_TRUE(session().eventually([&] { return idOf("Malware found: bad.com").empty(); }));
}

// The agent under sway without a bar: nothing shows its icon.
class AgentOnSwayWithoutBar : public AgentOnSway {
 protected:
  void SetUp() override {
    logIn();
    session().startNotificationServer();
  }
};

TEST_F(AgentOnSwayWithoutBar, SaysThatItGuardsAndHowItIsToBeReached) {
  startAndAwaitWatching();
  EXPECT_TRUE(bus().hears("Notify", "This desktop has no place for the icon"));
  session().keepPicture("sway-without-bar");
}

TEST_F(AgentOnSwayWithoutBar, ShowsItsWindowWhenItIsStartedAgain) {
  startAndAwaitWatching();
  EXPECT_EQ(home().runSecondAgent(), 0);
  EXPECT_TRUE(session().showsWindows(1, "Vantrel Quillo"));
  session().keepPicture("sway-second-start");
}

}  // namespace
}  // namespace quillo::tests
