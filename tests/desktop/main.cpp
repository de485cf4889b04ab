#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QApplication>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <string_view>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/services/QtApplication.h"
#include "platform/linux/session/SessionBusNotificationCenter.h"
#include "tests/desktop/support/session/PrivateSession.h"

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

// An application of the agent's own kind in which everything throws: 0 when it lives through all of
// it and reports each.
int throwEverywhere(int argc, char** argv) {
  quillo::QtApplication application(argc, argv);
  int problems = 0;
  quillo::setGuardReport([&](const std::string&) { ++problems; });
  application.performOnMainThread([] { throw std::runtime_error("posted"); });
  application.performOnMainThread([] { throw 1; });
  QTimer::singleShot(0, qApp, [] { throw std::runtime_error("timer"); });
  application.setTerminationHandler([] { throw std::runtime_error("termination"); });
  application.performOnMainThread([&] {
    QTimer::singleShot(0, qApp, [&] {
      application.terminate();
      application.performOnMainThread([&] { application.exit(problems == 4 ? 0 : 1); });
    });
  });
  return application.run();
}

// The same where no thread is to be had: 0 when what is waited for is done all the same.
int waitWithoutThreads(int argc, char** argv) {
  quillo::QtApplication application(argc, argv);
  application.performOnMainThread([&] {
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_NPROC, &none);
    // The limit does not hold for root.
    if (geteuid() == 0 && setuid(65534) != 0) {
      application.exit(2);
    }
    bool done = false;
    application.waitKeepingDesktopAlive([&] { done = true; });
    application.exit(done ? 0 : 1);
  });
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
  if (argc == 2 && std::string_view(argv[1]) == "--throw-everywhere") {
    return throwEverywhere(argc, argv);
  }
  if (argc == 2 && std::string_view(argv[1]) == "--wait-without-threads") {
    return waitWithoutThreads(argc, argv);
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
