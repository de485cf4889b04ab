#include <gtest/gtest.h>
#include <unistd.h>

#include <QApplication>
#include <chrono>
#include <cstdlib>
#include <future>
#include <string_view>

#include "platform/linux/QtApplication.h"
#include "platform/linux/SessionBusNotificationCenter.h"
#include "tests/desktop/PrivateSession.h"

namespace {

bool onlyLists(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::string_view(argv[i]) == "--gtest_list_tests") {
      return true;
    }
  }
  return false;
}

// The other side of a test: a process that ends as the agent does, at once behind its last word.
[[noreturn]] void postAndExit(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  quillo::SessionBusNotificationCenter(QDBusConnection::sessionBus()).post(argv[2], argv[3]);
  _exit(0);
}

// An application of the agent's own kind, which there can be once in a process: 0 when something
// that stands behind a wait in the queue of the main thread happens during that wait.
int waitAmongPosted(int argc, char** argv) {
  quillo::QtApplication application(argc, argv);
  std::promise<void> happened;
  bool inTime = false;
  application.performOnMainThread([&] {
    application.waitKeepingDesktopAlive([&] {
      inTime =
          happened.get_future().wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    });
    application.exit(inTime ? 0 : 1);
  });
  application.performOnMainThread([&] { happened.set_value(); });
  return application.run();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string_view(argv[1]) == "--post-and-exit") {
    postAndExit(argc, argv);
  }
  if (argc == 2 && std::string_view(argv[1]) == "--wait-among-posted") {
    return waitAmongPosted(argc, argv);
  }
  const bool listing = onlyLists(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  if (listing) {
    return RUN_ALL_TESTS();
  }
  if (std::getenv("DISPLAY") == nullptr) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
  }
  const quillo::PrivateSession session;
  const QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
