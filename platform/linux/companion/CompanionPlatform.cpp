#include "platform/linux/companion/CompanionPlatform.h"

#include <QCoreApplication>
#include <QTimer>
#include <QWidget>
#include <utility>

#include "platform/linux/companion/CompanionBackend.h"
#include "platform/linux/pages/QtMainWindow.h"
#include "platform/linux/pages/ReadableStyle.h"
#include "platform/linux/pages/WindowActivation.h"
#include "platform/linux/services/QtApplication.h"
#include "platform/linux/tray/QtImage.h"

namespace quillo {

// In the order in which they need each other; destroyed in reverse.
struct CompanionPlatform::Parts {
  Parts(int& argc, char** argv);

  std::string handle(const CompanionRequest& request);

  TerminationSignals signals;
  CompanionLog log{true};
  QtApplication application;
  CompanionBackend backend{log, application};
  QtTranslation qtTranslation{backend.strings.language()};
  InterfaceTranslator translator{backend.strings};
  QtImageLoader images{backend.resources + "/images"};
  QtMainWindow window{backend.resources + "/interface/vantrel",
                      backend.folders.stateFolder() + "/window",
                      {images, backend.strings, backend.systemLog}};
  CompanionRequested requested;
  CompanionObject object{backend.sessionBus,
                         [this](const CompanionRequest& request) { return handle(request); }};
  bool isFirst = true;
};

CompanionPlatform::Parts::Parts(int& argc, char** argv)
    : application(argc, argv, {CompanionBackend::identifier, "Vantrel", false}) {
  makeStyleReadable();
  // Before it has its name: the agent asks as soon as that is taken.
  backend.notificationCenter.addObserver("VantrelShouldOpenPrefs", [this] {
    const std::string problem = handle({"settings"});
    if (!problem.empty()) {
      backend.systemLog.log(problem);
    }
  });
  isFirst = !backend.sessionBus.isConnected() || object.claimName();
}

std::string CompanionPlatform::Parts::handle(const CompanionRequest& request) {
  if (!requested) {
    return "it is about to end";
  }
  expectActivation(request.activationToken);
  std::string problem = requested(request);
  if (problem.empty()) {
    activateAsAsked(window.widget(), request.startupId);
  }
  return problem;
}

CompanionPlatform::CompanionPlatform(int& argc, char** argv)
    : parts_(std::make_unique<Parts>(argc, argv)) {}

CompanionPlatform::~CompanionPlatform() = default;

const CompanionDesktop& CompanionPlatform::services() const { return parts_->backend.desktop; }

MainWindow& CompanionPlatform::window() { return parts_->window; }

std::optional<Wording> CompanionPlatform::problem() const {
  if (!parts_->backend.sessionBus.isConnected()) {
    return Wording{"WINDOW_NO_BUS", {}};
  }
  const auto display = parts_->application.problemWithDisplay();
  return display && parts_->isFirst
             ? std::optional<Wording>({"WINDOW_" + display->wording.key, display->wording.values})
             : std::nullopt;
}

bool CompanionPlatform::isFirst() const { return parts_->isFirst; }

std::string CompanionPlatform::askFirst(CompanionRequest request) {
  request.activationToken = parts_->backend.environment.value("XDG_ACTIVATION_TOKEN").value_or("");
  request.startupId = parts_->backend.environment.value("DESKTOP_STARTUP_ID").value_or("");
  return parts_->object.askOther(request);
}

int CompanionPlatform::run(std::function<void()> begin, CompanionRequested requested) {
  parts_->requested = std::move(requested);
  parts_->signals.observe([this] { parts_->application.terminate(); });
  const auto quit = [] { QCoreApplication::quit(); };
  parts_->application.setTerminationHandler(quit);
  parts_->window.onClosed(quit);
  parts_->application.performOnMainThread(std::move(begin));
  const int status = parts_->application.run();
  parts_->requested = nullptr;
  return status;
}

void CompanionPlatform::endUnlessShownWithin(int seconds) {
  QTimer::singleShot(std::chrono::seconds(seconds), &parts_->object, [this] {
    if (!parts_->window.widget().isVisible()) {
      parts_->application.terminate();
    }
  });
}

}  // namespace quillo
