#include <gtest/gtest.h>

#include "platform/linux/tray/QtMenu.h"

namespace quillo {
namespace {

std::string shownBy(MenuHost host, const MenuTitle& title) {
  return title.forHost(host).toStdString();
}

TEST(MenuTitle, HasNoMarkInItsText) {
  EXPECT_EQ(MenuTitle::withAccessKey("S&top Watching").text(), "Stop Watching");
  EXPECT_EQ(MenuTitle::withAccessKey("R&&D &now").text(), "R&D now");
  EXPECT_EQ(MenuTitle::withAccessKey("ends in &").text(), "ends in &");
  EXPECT_EQ(MenuTitle::plain("R&D").text(), "R&D");
}

TEST(MenuTitle, ShowsItsAccessKeyToEveryHost) {
  const MenuTitle title = MenuTitle::withAccessKey("my_own &Title");
  EXPECT_EQ(shownBy(MenuHost::qt, title), "my_own &Title");
  // Qt makes the first "&" a panel's "_".
  EXPECT_EQ(shownBy(MenuHost::panel, title), "my__own &Title");
}

TEST(MenuTitle, ShowsAPathAsItIs) {
  const MenuTitle path = MenuTitle::plain("~/my_own/R&D & more");
  EXPECT_EQ(shownBy(MenuHost::qt, path), "~/my_own/R&&D && more");
  EXPECT_EQ(shownBy(MenuHost::panel, path), "~/my__own/R&&D & more");
  EXPECT_EQ(shownBy(MenuHost::panel, MenuTitle::plain("~/R&")), "~/R&");
}

TEST(MenuTitle, IsCutInItsMiddleWhenLong) {
  const QString shown =
      MenuTitle::plain("~/" + std::string(4000, 'a') + "/end").forHost(MenuHost::qt);
  EXPECT_LE(shown.size(), 90);
  EXPECT_TRUE(shown.startsWith("~/aaa"));
  EXPECT_TRUE(shown.endsWith("/end"));
}

}  // namespace
}  // namespace quillo
