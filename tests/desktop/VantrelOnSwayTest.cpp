// The main application under a Wayland compositor.

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/desktop/support/session/SwaySession.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

const std::string program = QUILLO_BINARY_DIR "/vantrel";
constexpr const char* identifier = "org.vantrel.Vantrel";
constexpr const char* first = "Results – Vantrel";

// With Xwayland and without it: it is not installed with sway.
class VantrelOnSway : public testing::TestWithParam<bool> {
 protected:
  std::unique_ptr<ChildProcess> start(std::vector<std::string> words = {}) {
    words.insert(words.begin(), program);
    return session.startCommand(std::move(words));
  }
  std::size_t windowsOfIt() {
    std::size_t count = 0;
    for (const SwaySession::Window& window : session.windows()) {
      count += window.application == identifier ? 1U : 0U;
    }
    return count;
  }

  // sway runs for nobody who is root.
  TemporaryFolder home;
  SwaySession session{{home.path(), geteuid() == 0 ? 65534U : 0U}, {1, GetParam(), ""}};
};

TEST_P(VantrelOnSway, IsAWaylandWindowThatTheDesktopKnows) {
  const auto process = start({"--page", "results"});
  ASSERT_TRUE(session.showsWindows(1, first));
  const auto window = session.window(first);
  EXPECT_EQ(window->application, identifier);
  EXPECT_FALSE(window->isX11);
  EXPECT_TRUE(session.eventually([&] { return session.window(first)->isFocused; }));
}

TEST_P(VantrelOnSway, ShowsAnotherPageWhenItIsStartedAgain) {
  const auto process = start({"--page", "results"});
  ASSERT_TRUE(session.showsWindows(1, first));
  session.run({program, "--page", "planned"});
  EXPECT_TRUE(session.showsWindows(1, "Planned Scans – Vantrel"));
  EXPECT_EQ(windowsOfIt(), 1U);
}

TEST_P(VantrelOnSway, IsStartedByTheBus) {
  session.addService(identifier, program + " --service");
  // As sway's own configuration does: the bus was there before the compositor.
  session.run({"dbus-update-activation-environment", "--all"});
  session.run({"gdbus", "call", "--session", "--dest", identifier, "--object-path",
               "/org/vantrel/Vantrel", "--method", "org.freedesktop.Application.ActivateAction",
               "planned", "[]", "{}"});
  EXPECT_TRUE(session.showsWindows(1, "Planned Scans – Vantrel"));
}

TEST_P(VantrelOnSway, TurnsItsPagesByTheKeyboardAlone) {
  const auto process = start({"--page", "results"});
  ASSERT_TRUE(session.showsWindows(1, first));
  ASSERT_TRUE(session.eventually([&] { return session.window(first)->isFocused; }));
  // The first page in the list is another one.
  session.run({"wtype", "-M", "ctrl", "-k", "1", "-m", "ctrl"});
  EXPECT_TRUE(session.showsWindows(0, first));
  EXPECT_EQ(windowsOfIt(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Either, VantrelOnSway, testing::Bool(), [](const auto& each) {
  return std::string(each.param ? "WithXwayland" : "WithoutXwayland");
});

}  // namespace
}  // namespace quillo
