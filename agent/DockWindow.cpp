#include "agent/DockWindow.h"

#include <string>

#include "agent/StatusBoard.h"
#include "platform/Application.h"
#include "platform/SystemLog.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {

bool DockWindow::isWanted() const {
  const std::string wanted = lowercased(preferences_.value(key::showDockIcon).value_or(""));
  return wanted == "true" || wanted == "both";
}

void DockWindow::showIfWanted() {
  if (!isWanted()) {
    return;
  }
  if (const int error = application_.transformToForegroundApplication()) {
    logFailure(error);
    return;
  }
  statusBoard_.showVerdicts();
}

int DockWindow::show() {
  statusBoard_.showVerdicts();
  const int error = application_.activateIgnoringOtherApps();
  if (error != 0) {
    logFailure(error);
  }
  return error;
}

void DockWindow::logFailure(int error) {
  log_.log("Could not bring the application to front. Error " + std::to_string(error));
}

}  // namespace quillo
