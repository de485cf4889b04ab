#include "scanning/ScanReport.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "platform/Dialog.h"
#include "platform/LocalizedStrings.h"
#include "platform/SystemLog.h"
#include "posix/Clock.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "scanning/FileRemover.h"
#include "scanning/ScanObserver.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"

namespace quillo {
namespace {

constexpr std::string_view infectionMark = " FOUND";
constexpr std::string_view cleanEnd = ": OK";
constexpr std::string_view daemonGone = "WARNING: Can't connect to clamd.";
// How current engines word it, once for every entry of the list.
constexpr std::string_view daemonUnreachable = "ERROR: Could not connect to clamd on LocalSocket ";

bool isSummary(const std::string& line) {
  const std::string_view start = std::string_view(line).substr(0, 5);
  return start == "-----" || start == "Time:" || start == "Infec";
}

void writeLogLine(const std::string& timestamp, const std::string& text) {
  std::printf("%s %s\n", timestamp.c_str(), text.c_str());
  std::fflush(stdout);
}

// Apart from any report: its dialog may outlive it.
void openFolderOf(ButtonDialog& dialog, const std::string& folder, ScannerOwner& owner,
                  const ReportRules& rules) {
  dialog.orderOut();
  if (rules.waitsForOpener) {
    owner.openAndWait(folder);
  } else {
    owner.open(folder);
  }
  dialog.close();
}

}  // namespace

ScanReport::ScanReport(ScannerOwner& owner, const ScannerServices& services, ReportRules rules)
    : owner_(owner), services_(services), rules_(rules) {}

void ScanReport::startRun(const InfectionPolicy& policy) {
  policy_ = policy;
  recovered_ = false;
}

int ScanReport::getLastColon(std::string_view text) { return lastColon(text); }

std::string ScanReport::timestampNow() {
  char buffer[30] = "";
  const std::time_t now = std::chrono::system_clock::to_time_t(services_.clock.wallTime());
  std::tm local = {};
  if (!localtime_r(&now, &local) ||
      std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &local) == 0) {
    buffer[0] = 'X';
  }
  return buffer;
}

void ScanReport::dealWithOutput(std::string_view chunk) {
  const std::string timestamp = timestampNow();
  if (!isValidUtf8(chunk)) {
    return;
  }
  for (const std::string_view line : split(chunk, '\n')) {
    dealWithLine(std::string(line), timestamp);
  }
}

void ScanReport::dealWithLine(const std::string& line, const std::string& timestamp) {
  if (isInfection(line)) {
    dealWithInfection(line);
  }
  tellVerdict(line);
  logLine(line, timestamp);
}

bool ScanReport::isInfection(std::string_view line) const {
  return rules_.foundAnywhere ? line.find(infectionMark) != std::string_view::npos
                              : line.ends_with(infectionMark);
}

void ScanReport::tellVerdict(std::string_view line) {
  if (!services_.scanObserver || !line.starts_with('/')) {
    return;
  }
  if (line.ends_with(cleanEnd)) {
    services_.scanObserver->verdictGiven(
        {std::string(line.substr(0, line.size() - cleanEnd.size())), ""});
  } else if (line.ends_with(infectionMark)) {
    const auto colon = static_cast<std::size_t>(getLastColon(line));
    if (colon < line.size()) {
      const std::string_view threat = line.substr(0, line.size() - infectionMark.size());
      services_.scanObserver->verdictGiven(
          {std::string(line.substr(0, colon)),
           std::string(trimmed(threat.substr(std::min(colon + 1, threat.size()))))});
    }
  }
}

void ScanReport::dealWithInfection(const std::string& line) {
  if (policy_.quarantineOrTrash == "Q") {
    showQuarantined(line);
  } else if (policy_.quarantineOrTrash.empty()) {
    showWarning(line);
  } else if (policy_.quarantineOrTrash == "T") {
    const int colon = getLastColon(line);
    const std::string path = colon < 0 ? line : line.substr(0, static_cast<std::size_t>(colon));
    owner_.displayGrowlDialogWithTitleAndDescription(notificationRemoved, path);
  }
}

void ScanReport::showQuarantined(const std::string& line) {
  if (!policy_.suppressInfoDialogs) {
    if (auto dialog = services_.interfaceLoader.load("QuarantinedDialog")) {
      theDialog = dialog;
      std::weak_ptr<ButtonDialog> shown = dialog;
      dialog->setAction([&owner = owner_, rules = rules_, shown,
                         folder = policy_.quarantineLocation](ButtonDialog::Button button) {
        const auto pressed = shown.lock();
        if (pressed && button == ButtonDialog::Button::deleteButton) {
          openFolderOf(*pressed, folder, owner, rules);
        } else if (pressed) {
          pressed->close();
        }
      });
    } else {
      services_.systemLog.log("Error loading Nib for document!");
    }
    if (theDialog) {
      theDialog->orderFrontRegardless();
    }
  }
  owner_.displayGrowlDialogWithTitleAndDescription(notificationQuarantined, line);
}

void ScanReport::showWarning(const std::string& line) {
  auto dialog = services_.interfaceLoader.load("WarningDialog");
  if (!dialog) {
    services_.systemLog.log("Error loading Nib for document!");
    return;
  }
  theDialog = dialog;
  FileRemover::attachTo(dialog, owner_, services_);
  dialog->setMessage(line);
  dialog->orderFrontRegardless();
  owner_.displayGrowlDialogWithTitleAndDescription(notificationFound, line);
}

void ScanReport::logLine(const std::string& line, const std::string& timestamp) {
  if (line.empty()) {
    return;
  }
  if (rules_.recoversDaemon && line == daemonGone) {
    owner_.recoverFromCrashedClamd();
    writeLogLine(timestamp, "clamd appears to have died - attempting restart...");
    return;
  }
  if (line.size() >= 6 && isSummary(line)) {
    return;
  }
  writeLogLine(timestamp, line);
  if (rules_.recoversDaemon && !recovered_ &&
      std::string_view(line).starts_with(daemonUnreachable)) {
    recovered_ = true;
    recoverUnreachableClamd();
  }
}

// A daemon that cannot be launched must not cost the rest of the report.
void ScanReport::recoverUnreachableClamd() {
  try {
    owner_.recoverUnreachableClamd();
  } catch (const PlatformException& failure) {
    services_.systemLog.log("clamd cannot be restarted: " + failure.reason());
  }
}

void ScanReport::showEngineError(const std::string& quitMenuName) {
  services_.systemLog.log("can't connect to clamd");
  auto dialog = services_.interfaceLoader.load("QuarantinedDialog");
  if (!dialog) {
    services_.systemLog.log("Error loading nib for warning dialog!");
    return;
  }
  theDialog = dialog;
  const std::string text = services_.localizedStrings.stringForKey("CLAMDSCAN_ERROR", "");
  dialog->setKind(ButtonDialog::Kind::engineError);
  dialog->setMessage(text);
  dialog->setDeleteButtonTitle(quitMenuName);
  std::weak_ptr<ButtonDialog> shown = dialog;
  dialog->setAction([shown, &owner = owner_](ButtonDialog::Button button) {
    if (button == ButtonDialog::Button::deleteButton) {
      owner.quit();
    } else if (const auto pressed = shown.lock()) {
      pressed->close();
    }
  });
  dialog->orderFrontRegardless();
  owner_.displayGrowlDialogWithTitleAndDescription(notificationError, text);
}

void ScanReport::openQuarantineFolder(ButtonDialog& dialog, const std::string& folder) {
  openFolderOf(dialog, folder, owner_, rules_);
}

}  // namespace quillo
