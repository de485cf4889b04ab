#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <vector>

#include "platform/linux/session/DisplayChoice.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

// A Wayland session with Xwayland, as GNOME and KDE have it.
DisplayFacts bothDisplays() {
  DisplayFacts facts;
  facts.wayland = "wayland-0";
  facts.x11 = ":0";
  facts.waylandAnswers = facts.x11Answers = true;
  facts.hasWaylandPlugin = facts.hasX11Plugin = true;
  return facts;
}

TEST(DisplayChoice, TakesWaylandWhereItsWindowsLeaveTheKeyboardAlone) {
  DisplayFacts facts = bothDisplays();
  facts.waylandLeavesFocus = true;
  EXPECT_EQ(platformPluginsFor(facts), "wayland;xcb;offscreen");
}

TEST(DisplayChoice, TakesXwaylandWhereWaylandWindowsTakeTheKeyboard) {
  EXPECT_EQ(platformPluginsFor(bothDisplays()), "xcb;wayland;offscreen");
}

TEST(DisplayChoice, TakesWaylandWhereNoXServerAnswers) {
  DisplayFacts facts = bothDisplays();
  facts.x11Answers = false;
  EXPECT_EQ(platformPluginsFor(facts), "wayland;offscreen");
}

TEST(DisplayChoice, TakesXwaylandWithoutThePluginForWayland) {
  DisplayFacts facts = bothDisplays();
  facts.hasWaylandPlugin = false;
  EXPECT_EQ(platformPluginsFor(facts), "xcb;offscreen");
}

TEST(DisplayChoice, TakesTheXServerOfAnX11Session) {
  DisplayFacts facts = bothDisplays();
  facts.wayland = "";
  facts.waylandAnswers = false;
  EXPECT_EQ(platformPluginsFor(facts), "xcb;offscreen");
}

TEST(DisplayChoice, NeverEndsTheProcessForWantOfADisplay) {
  EXPECT_EQ(platformPluginsFor({}), "offscreen");
}

TEST(DisplayChoice, SaysThatASessionHasNoDisplay) {
  const DisplayProblem problem = displayProblem({});
  EXPECT_EQ(problem.text,
            "Neither icon nor windows can be shown: this session has no display. Files are guarded "
            "all the same.");
  EXPECT_EQ(problem.wording.key, "DISPLAY_MISSING");
}

TEST(DisplayChoice, NamesThePackageThatIsMissing) {
  DisplayFacts facts;
  facts.wayland = "wayland-0";
  facts.waylandAnswers = true;
  EXPECT_NE(displayProblem(facts).text.find("package qt6-wayland"), std::string::npos);
  EXPECT_EQ(displayProblem(facts).wording.values, std::vector<std::string>{"qt6-wayland"});
}

TEST(DisplayChoice, NamesTheDisplayThatDoesNotAnswer) {
  DisplayFacts facts;
  facts.x11 = ":7";
  EXPECT_NE(displayProblem(facts).text.find("the display \":7\" does not answer"),
            std::string::npos);
}

// A server whose queue is full and that takes nobody off it, as one that was stopped.
class StoppedServer {
 public:
  // A path, or a name that begins with a null byte and lies in no folder.
  explicit StoppedServer(const std::string& name) {
    sockaddr_un address = {AF_UNIX, {}};
    name.copy(address.sun_path, name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    const auto* place = reinterpret_cast<const sockaddr*>(&address);
    EXPECT_EQ(bind(server_.get(), place, length), 0);
    EXPECT_EQ(listen(server_.get(), 0), 0);
    do {
      waiting_.emplace_back(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    } while (connect(waiting_.back().get(), place, length) == 0);
  }

 private:
  UniqueFd server_{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
  std::vector<UniqueFd> waiting_;
};

// Each of these would never end but for the bound.
TEST(DisplayFacts, WaitForNoCompositorThatTakesNobodyIn) {
  const std::string path = "/tmp/quillo-wayland-" + std::to_string(getpid());
  {
    const StoppedServer server(path);
    const DisplayFacts facts =
        DisplayFacts::ofThisSession(Environment({{"WAYLAND_DISPLAY", path}}));
    EXPECT_FALSE(facts.waylandAnswers);
  }
  unlink(path.c_str());
}

TEST(DisplayFacts, WaitForNoXServerThatTakesNobodyIn) {
  const std::string number = std::to_string(100000 + getpid());
  const StoppedServer server(std::string(1, '\0') + "/tmp/.X11-unix/X" + number);
  EXPECT_FALSE(DisplayFacts::ofThisSession(Environment({{"DISPLAY", ":" + number}})).x11Answers);
}

TEST(DisplayFacts, KnowOfNoDisplayThatOnlyTheEnvironmentNames) {
  const DisplayFacts facts = DisplayFacts::ofThisSession(Environment(
      {{"WAYLAND_DISPLAY", "wayland-9"}, {"XDG_RUNTIME_DIR", "/nowhere"}, {"DISPLAY", ":987"}}));
  EXPECT_EQ(facts.wayland, "wayland-9");
  EXPECT_FALSE(facts.waylandAnswers);
  EXPECT_FALSE(facts.x11Answers);
  EXPECT_TRUE(facts.hasX11Plugin);
  EXPECT_TRUE(facts.hasWaylandPlugin);
}

}  // namespace
}  // namespace quillo
