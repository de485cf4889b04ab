#include "platform/linux/services/QtApplication.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QEvent>
#include <QEventLoop>
#include <QThread>
#include <QWindow>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/linux/dialogs/ColorScheme.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/tray/QtDockTile.h"

namespace quillo {
namespace {

// 10.6: recent enough for everything that asks.
constexpr int desktopVersion = 0x1060;

class PostedAction final : public QEvent {
 public:
  explicit PostedAction(std::function<void()> action)
      : QEvent(type()), action_(std::move(action)) {}
  static QEvent::Type type() {
    static const auto registered = static_cast<QEvent::Type>(QEvent::registerEventType());
    return registered;
  }
  void perform() const { guarded(action_); }

 private:
  std::function<void()> action_;
};

// Lives on the main thread; Qt hands it the posted events in their order.
class ActionReceiver final : public QObject {
 public:
  bool event(QEvent* event) override {
    if (event->type() != PostedAction::type()) {
      return QObject::event(event);
    }
    static_cast<PostedAction*>(event)->perform();
    return true;
  }
};

// The last net: what is thrown where nobody guards an action, as in a timer of the backend's own.
class GuardedApplication final : public QApplication {
 public:
  using QApplication::QApplication;
  bool notify(QObject* receiver, QEvent* event) override {
    bool isHandled = true;
    guarded([&] { isHandled = QApplication::notify(receiver, event); });
    return isHandled;
  }
};

// Desktops know by the class of an X11 window whose it is. Qt makes it, once for all windows, out
// of the application's name, which people read elsewhere.
void nameApplication(const ApplicationIdentity& identity) {
  if (QGuiApplication::platformName() == "xcb") {
    QCoreApplication::setApplicationName(QString::fromStdString(identity.id));
    QWindow window;
    window.create();
  }
  QCoreApplication::setApplicationName(QString::fromStdString(identity.name));
}

}  // namespace

// The choice goes to Qt as an option: programs that the user opens from here inherit the
// environment and have their own display to find.
QtApplication::QtApplication(int& argc, char** argv, ApplicationIdentity identity)
    : identity_(std::move(identity)),
      display_(DisplayFacts::ofThisSession(Environment::ofThisProcess(), identity_.comesUnasked)),
      plugins_(platformPluginsFor(display_)),
      id_(identity_.id),
      arguments_(argv, argv + argc) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    arguments_.push_back(platformOption_.data());
    arguments_.push_back(plugins_.data());
  }
  arguments_.push_back(nameOption_.data());
  arguments_.push_back(id_.data());
  argumentCount_ = static_cast<int>(arguments_.size());
  arguments_.push_back(nullptr);
  QGuiApplication::setDesktopFileName(QString::fromStdString(identity_.id));
  QGuiApplication::setQuitOnLastWindowClosed(false);
  application_ = std::make_unique<GuardedApplication>(argumentCount_, arguments_.data());
  nameApplication(identity_);
  colorScheme_ = std::make_unique<ColorScheme>(QDBusConnection::sessionBus());
  mainThread_ = std::make_unique<ActionReceiver>();
}

QtApplication::~QtApplication() = default;

std::optional<DisplayProblem> QtApplication::problemWithDisplay() const {
  const bool isWished = !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
  if (isWished || QGuiApplication::platformName() != "offscreen") {
    return std::nullopt;
  }
  return displayProblem(display_);
}

int QtApplication::run() {
  const int status = QApplication::exec();
  runTerminationHandler();
  return status;
}

void QtApplication::setTerminationHandler(std::function<void()> handler) {
  terminationHandler_ = std::move(handler);
}

void QtApplication::performOnMainThread(std::function<void()> action) {
  QCoreApplication::postEvent(mainThread_.get(), new PostedAction(std::move(action)));
}

void QtApplication::waitKeepingDesktopAlive(const std::function<void()>& wait) {
  if (QThread::currentThread() != application_->thread()) {
    wait();
    return;
  }
  // Before the event loop of the application runs, too, this one draws and delivers.
  QEventLoop alive;
  std::exception_ptr failure;
  std::thread waiting;
  try {
    waiting = std::thread([&wait, &failure, &alive] {
      try {
        wait();
      } catch (...) {
        failure = std::current_exception();
      }
      QMetaObject::invokeMethod(&alive, &QEventLoop::quit, Qt::QueuedConnection);
    });
  } catch (const std::system_error&) {
    // No thread is to be had: rather wait with the desktop asleep than not at all.
    wait();
    return;
  }
  // Events that stand behind the one that is being handled wake nobody.
  QAbstractEventDispatcher::instance()->wakeUp();
  alive.exec();
  waiting.join();
  if (failure) {
    std::rethrow_exception(failure);
  }
}

void QtApplication::terminate() {
  performOnMainThread([this] { runTerminationHandler(); });
}

void QtApplication::runTerminationHandler() {
  if (const auto handler = std::exchange(terminationHandler_, nullptr)) {
    guarded(handler);
  }
}

void QtApplication::exit(int status) {
  if (exitHandler_) {
    guarded(exitHandler_);
  }
  std::fflush(stdout);
  std::fflush(stderr);
  _exit(status);
}

std::optional<int> QtApplication::systemVersion() { return desktopVersion; }

int QtApplication::transformToForegroundApplication() { return showDockTile(false); }

int QtApplication::activateIgnoringOtherApps() { return showDockTile(true); }

int QtApplication::showDockTile(bool untilClosed) {
  if (!dockTile_ || QGuiApplication::platformName() == "offscreen") {
    return ENOTSUP;
  }
  const bool isShown = untilClosed ? dockTile_->bringForward() : dockTile_->show();
  if (!isShown) {
    return ENOENT;
  }
  showApplicationIcon();
  return 0;
}

void QtApplication::setReopenHandler(std::function<int()> handler) {
  reopenHandler_ = std::move(handler);
  if (std::exchange(reopenWaits_, false)) {
    performOnMainThread([this] { reopen(); });
  }
}

int QtApplication::reopen() {
  if (!reopenHandler_) {
    reopenWaits_ = true;
    return 0;
  }
  int error = ECANCELED;
  guarded([this, &error] { error = reopenHandler_(); });
  return error;
}

// While nobody sees it, an image is only kept.
void QtApplication::setApplicationIconImage(const ImageRef& image) {
  const bool isSeen = dockTile_ && dockTile_->isShown();
  {
    MutexLock lock(mutex_);
    iconImage_ = image;
    if (!isSeen || std::exchange(iconIsPosted_, true)) {
      return;
    }
  }
  performOnMainThread([this] { showApplicationIcon(); });
}

void QtApplication::showApplicationIcon() {
  ImageRef image;
  {
    MutexLock lock(mutex_);
    image = iconImage_;
    iconIsPosted_ = false;
  }
  if (dockTile_) {
    dockTile_->setIconImage(image);
  }
}

void QtApplication::beep() {
  performOnMainThread([] { QApplication::beep(); });
}

TerminationSignals::TerminationSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    sigaddset(&signals, number);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signal(SIGPIPE, SIG_IGN);
  descriptor_.reset(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

void TerminationSignals::observe(std::function<void()> action) {
  notifier_ = std::make_unique<QSocketNotifier>(descriptor_.get(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                   [this, action = std::move(action)] {
                     signalfd_siginfo information;
                     while (read(descriptor_.get(), &information, sizeof information) > 0) {
                       guarded(action);
                     }
                   });
}

}  // namespace quillo
