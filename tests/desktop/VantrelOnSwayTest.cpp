// The main application under a Wayland compositor.

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/desktop/support/session/ShownWords.h"
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

// What a page says in the middle of it, beside its title in the list.
struct PageSays {
  const char* title;
  const char* words;
};

TEST_P(VantrelOnSway, TurnsToEveryPageByTheKeyboardAlone) {
  constexpr PageSays pages[] = {{"Overview", "Virus definitions"},
                                {"Scan Now", "Choose Folders…"},
                                {"Results", "Search:"},
                                {"Quarantine", "Refresh"},
                                {"Folders", "Add Folder…"},
                                {"Planned Scans", "Plan a Scan…"},
                                {"Settings", "When malware is found:"},
                                {"First Steps", "Not Now"},
                                {"Help", "Look for Problems"}};
  ShownWords words(session);
  const auto process = session.startCommand({"env", ShownWords::variable(), program});
  ASSERT_TRUE(session.eventually([&] { return windowsOfIt() == 1; }));
  // The last one first, so that it turns each time.
  std::size_t number = std::size(pages);
  for (; number > 0; --number) {
    const PageSays& page = pages[number - 1];
    const std::string title = std::string(page.title) + " – Vantrel";
    session.run({"wtype", "-M", "ctrl", "-k", std::to_string(number), "-m", "ctrl"});
    EXPECT_TRUE(session.showsWindows(1, title));
    EXPECT_TRUE(session.eventually([&] { return words.say(page.words); })) << page.title;
    EXPECT_TRUE(session.window(title) && session.window(title)->isFocused) << page.title;
  }
  EXPECT_EQ(windowsOfIt(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Either, VantrelOnSway, testing::Bool(), [](const auto& each) {
  return std::string(each.param ? "WithXwayland" : "WithoutXwayland");
});

}  // namespace
}  // namespace quillo
