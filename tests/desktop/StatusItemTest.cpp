#include <gtest/gtest.h>

#include <QRect>
#include <memory>
#include <optional>
#include <string>

#include "tests/desktop/support/InterfaceProgram.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace quillo {
namespace {

// The colours of the fields in "watching" and "scanning1".
constexpr QRgb watchingColour = 0x0f8a7a;
constexpr QRgb scanningColour = 0x2467b8;
const QRect panelArea(0, 0, DesktopSession::width, 40);

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class StatusItemTest : public testing::Test {
 protected:
  std::unique_ptr<InterfaceProgram> startInterface(const std::vector<std::string>& variables = {},
                                                   const std::string& length = "-2") {
    auto interface = std::make_unique<InterfaceProgram>(session, variables, length);
    for (const char* command :
         {"image watching", "alternate scanning1", "tooltip Watching two folders", "menu"}) {
      interface->send(command);
    }
    interface->ask("sync", "synced");
    return interface;
  }

  // Returns when the panel shows the icon.
  std::unique_ptr<InterfaceProgram> startInPanel() {
    session.startPanel();
    auto interface = startInterface();
    EXPECT_TRUE(isShown(watchingColour));
    return interface;
  }

  bool isShown(QRgb colour) {
    return session.screen().eventually(
        [&] { return session.screen().find(colour, panelArea).has_value(); });
  }

  bool isGone(QRgb colour) {
    return session.screen().eventually(
        [&] { return !session.screen().find(colour, panelArea).has_value(); });
  }

  void clickOnIcon(int button) {
    const auto icon = session.screen().find(watchingColour, panelArea);
    ASSERT_TRUE(icon.has_value());
    session.click(icon->center().x(), icon->center().y(), button);
  }

  std::string item() {
    const std::vector<std::string> items = session.bus().statusItems();
    return items.size() == 1 ? items.front() : "";
  }

  DesktopSession session;
};

TEST_F(StatusItemTest, IsShownInThePanel) {
  session.startPanel();
  const auto interface = startInterface();
  EXPECT_TRUE(isShown(watchingColour));
  interface->send("image scanning1");
  EXPECT_TRUE(isShown(scanningColour));
  session.keepPicture("status-item");
}

TEST_F(StatusItemTest, IsShownWhenThePanelComesLater) {
  const auto interface = startInterface();
  session.startPanel();
  EXPECT_TRUE(isShown(watchingColour));
}

TEST_F(StatusItemTest, ComesBackWhenThePanelIsRestarted) {
  const auto interface = startInPanel();
  session.stopPanel();
  ASSERT_TRUE(isGone(watchingColour));
  session.startPanel();
  EXPECT_TRUE(isShown(watchingColour));
  interface->send("image scanning1");
  EXPECT_TRUE(isShown(scanningColour));
}

TEST_F(StatusItemTest, ShowsItsAlternateImageWhileItsMenuIsOpen) {
  session.startPanel();
  const auto interface = startInterface();
  interface->ask("enable start", "start enabled");
  ASSERT_TRUE(isShown(watchingColour));
  clickOnIcon(1);
  ASSERT_TRUE(isShown(scanningColour));
  session.keepPicture("menu");
  // Below what the agent is doing.
  session.press("Down");
  session.press("Down");
  session.press("Return");
  EXPECT_EQ(interface->expect("chosen "), "start 0");
  EXPECT_TRUE(isShown(watchingColour));
}

TEST_F(StatusItemTest, OpensItsMenuInThePanelAtTheOtherButton) {
  session.startPanel();
  const auto interface = startInterface();
  interface->ask("enable start", "start enabled");
  ASSERT_TRUE(isShown(watchingColour));
  clickOnIcon(3);
  ASSERT_TRUE(isShown(scanningColour));
  // Below what the agent is doing.
  session.press("Down");
  session.press("Down");
  session.press("Return");
  EXPECT_EQ(interface->expect("chosen "), "start 0");
}

TEST_F(StatusItemTest, GivesThePanelWhatMendsOnlyWhereSomethingIsToBeMended) {
  const auto interface = startInPanel();
  const auto shows = [&](const std::string& label) {
    return holds(session.bus().menuLayout(item()), "'label': <'" + label + "'>");
  };
  const auto isSeen = [&] {
    const std::string layout = session.bus().menuLayout(item());
    const std::size_t at = layout.find("'Mend It'");
    return at != std::string::npos && layout.rfind("'visible': <false>", at) == std::string::npos;
  };
  EXPECT_TRUE(shows("Not watching"));
  EXPECT_FALSE(isSeen());
  interface->send("mend Mend It");
  EXPECT_TRUE(session.screen().eventually(isSeen));
}

TEST_F(StatusItemTest, GivesThePanelItemsWithTheirStates) {
  const auto interface = startInPanel();
  std::string layout = session.bus().menuLayout(item());
  EXPECT_TRUE(holds(layout, "{'enabled': <false>, 'label': <'_Start Watching'>")) << layout;
  EXPECT_TRUE(holds(layout, "{'enabled': <true>, 'label': <'_Update Virus Definitions'>"));
  EXPECT_TRUE(holds(layout, "'enabled': <false>, 'label': <'_Abort Scans'>"));

  interface->ask("enable start", "start enabled");
  interface->ask("title Please_wait…", "title Please_wait…");
  interface->ask("sync", "synced");
  layout = session.bus().menuLayout(item());
  EXPECT_TRUE(holds(layout, "{'enabled': <true>, 'label': <'Please__wait…'>")) << layout;
  EXPECT_EQ(interface->ask("title Start Watching", "title "), "Start Watching");
  interface->ask("sync", "synced");
  EXPECT_TRUE(holds(session.bus().menuLayout(item()), "<'_Start Watching'>"));
}

TEST_F(StatusItemTest, ListsTheFoldersLastFirstWithTheirNamesUnchanged) {
  const auto interface = startInPanel();
  interface->send("folder ~/first_one");
  interface->send("folder ~/R&D & more");
  interface->ask("sync", "synced");
  std::string layout = session.bus().menuLayout(item());
  const std::size_t first = layout.find("<'~/first__one'>");
  // A panel shows "_&" as an underlined "&", and the second as it is.
  const std::size_t second = layout.find("<'~/R_&D & more'>");
  ASSERT_NE(first, std::string::npos) << layout;
  ASSERT_NE(second, std::string::npos) << layout;
  EXPECT_LT(second, first);

  interface->send("clear");
  interface->ask("sync", "synced");
  EXPECT_FALSE(holds(session.bus().menuLayout(item()), "first__one"));
}

TEST_F(StatusItemTest, LosesTheQuitItemAndTheSeparatorAboveIt) {
  const auto interface = startInPanel();
  interface->send("noquit");
  interface->ask("sync", "synced");
  const std::string layout = session.bus().menuLayout(item());
  EXPECT_FALSE(holds(layout, "_Quit"));
  const std::size_t separator = layout.rfind("'type': <'separator'>");
  ASSERT_NE(separator, std::string::npos);
  EXPECT_EQ(layout.find("'visible': <false>", separator), layout.find("'visible': ", separator));
}

TEST_F(StatusItemTest, SendsNothingWhileThePictureStaysTheSame) {
  const auto interface = startInPanel();
  const int before = session.bus().pictureChanges(item());
  for (int i = 0; i < 20; ++i) {
    interface->send("image watching");
    interface->send("tooltip Watching two folders");
    interface->ask("sync", "synced");
  }
  EXPECT_EQ(session.bus().pictureChanges(item()), before);
  interface->send("image scanning1");
  interface->ask("sync", "synced");
  EXPECT_EQ(session.bus().pictureChanges(item()), before + 1);
}

TEST_F(StatusItemTest, SendsNothingWhileTheWordsStayTheSame) {
  const auto interface = startInPanel();
  const int before = session.bus().toolTipChanges(item());
  for (int i = 0; i < 20; ++i) {
    interface->send("tooltip Watching two folders");
    interface->ask("sync", "synced");
  }
  EXPECT_EQ(session.bus().toolTipChanges(item()), before);
  interface->send("tooltip Scanning 1,204 files");
  interface->ask("sync", "synced");
  EXPECT_EQ(session.bus().toolTipChanges(item()), before + 1);
}

TEST_F(StatusItemTest, SaysItsStateInWords) {
  const auto interface = startInPanel();
  EXPECT_TRUE(holds(session.bus().property(item(), "ToolTip"), "Watching two folders"));
  EXPECT_TRUE(holds(session.bus().property(item(), "Title"), "Vantrel Quillo"));
}

TEST_F(StatusItemTest, HasNoFoldersNameTakenForMarkup) {
  const auto interface = startInPanel();
  interface->send("tooltip Not guarded: /srv/<b>a&amp;</b>");
  interface->ask("sync", "synced");
  const std::string shown = session.bus().property(item(), "ToolTip");
  EXPECT_TRUE(holds(shown, "Not guarded: /srv/"));
  for (const char* markup : {"<b", "</b", "&amp"}) {
    EXPECT_FALSE(holds(shown, markup)) << shown;
  }
}

TEST_F(StatusItemTest, OfLengthZeroIsNotShown) {
  session.startPanel();
  const auto hidden = startInterface({}, "0");
  const auto shown = startInterface();
  ASSERT_TRUE(isShown(watchingColour));
  hidden->ask("sync", "synced");
  EXPECT_EQ(session.bus().statusItems().size(), 1U);
}

TEST_F(StatusItemTest, IsShownWithoutASessionBus) {
  session.startPanel();
  const auto interface = startInterface({"DBUS_SESSION_BUS_ADDRESS=disabled:"});
  interface->ask("enable start", "start enabled");
  ASSERT_TRUE(isShown(watchingColour));
  EXPECT_TRUE(session.bus().statusItems().empty());
  clickOnIcon(1);
  ASSERT_TRUE(isShown(scanningColour));
  // Below what the agent is doing.
  session.press("Down");
  session.press("Down");
  session.press("Return");
  EXPECT_EQ(interface->expect("chosen "), "start 0");
}

}  // namespace
}  // namespace quillo
