#include "companion/scan/QuietSurroundings.h"

#include <variant>

#include "scanning/ScanParameters.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

// Holds nothing, so that whoever is attached to it goes with the caller.
class UnseenDialog final : public ButtonDialog {
 public:
  void orderFrontRegardless() override {}
  void makeFloatingKeyAndOrderFront() override {}
  void orderOut() override {}
  void close() override {}
  void setMessage(const std::string&) override {}
  std::string message() const override { return {}; }
  void setDeleteButtonTitle(const std::string&) override {}
  void setAction(Action) override {}
  void setKind(Kind) override {}
  void setSubject(const std::string&) override {}
  void setFind(const std::string&, const std::string&) override {}
  void setSuspicious(bool) override {}
  void showFailure(const std::string&) override {}
};

// The agent logs at its start what the preferences come to; a scan does not repeat it.
class NoLog final : public SystemLog {
 public:
  void log(std::string_view) override {}
};

WatchSettings settingsFor(const TypedPreferences& preferences,
                          std::optional<InfectedFileAction> action) {
  NoLog log;
  WatchSettings settings = withScanning(withEngine({}, preferences), preferences, log);
  if (action) {
    settings.quarantineOrTrash = *action;
    settings.quarantineInfected = *action == InfectedFileAction::quarantine;
    settings.deleteInfected = *action == InfectedFileAction::moveToTrash;
    settings.quarantineFolder.reset();
    if (settings.quarantineInfected) {
      settings.quarantineFolder = preferences.value(key::quarantineFolder).value_or("");
    }
  }
  return settings;
}

}  // namespace

QuietSurroundings::QuietSurroundings(const ManualScanServices& services, Clock& clock,
                                     std::optional<InfectedFileAction> action)
    : services_(services),
      clock_(clock),
      settings_(std::make_shared<const WatchSettings>(settingsFor(services.preferences, action))),
      dispatcher_(clock, services.systemLog, services.volumes, nullptr) {}

ScannerServices QuietSurroundings::scannerServices(ScanObserver& observer) {
  ScannerServices made{services_.application,
                       clock_,
                       *this,
                       dispatcher_,
                       services_.folders,
                       *this,
                       services_.localizedStrings,
                       *this,
                       services_.modifierKeys,
                       *this,
                       services_.preferences,
                       observer,
                       services_.systemLog,
                       services_.workspace};
  made.putBackFiles = services_.putBackFiles;
  return made;
}

std::vector<std::string> QuietSurroundings::parameters() {
  ScanParameters arguments(services_.folders, *this);
  arguments.setScanParameters(*settings_);
  std::vector<std::string> words;
  for (const ScanArgument& argument : arguments.scanAndUpdateParametersWithThrobber()) {
    if (const auto* const word = std::get_if<std::string>(&argument)) {
      words.push_back(*word);
    }
  }
  return words;
}

bool QuietSurroundings::lacksQuarantine() const {
  return settings_->quarantineInfected && settings_->quarantineFolder.value_or("").empty();
}

std::shared_ptr<ButtonDialog> QuietSurroundings::load(const std::string&) {
  return std::make_shared<UnseenDialog>();
}

}  // namespace quillo
