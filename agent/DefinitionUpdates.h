#pragma once

#include <optional>
#include <string>

namespace quillo {

class DefinitionsWarning;
class Dialog;
class LocalizedStrings;
class NoEngineWindow;
class Notifications;
class Preferences;
class ThreadStarter;
class Throbber;
struct LaunchRequest;
struct WatchSettings;

// Updates of the virus definitions, each on a short-lived thread of its own. Several may run at
// once.
class DefinitionUpdates {
 public:
  // `updateWindow` shows a result where no notification does.
  DefinitionUpdates(Preferences& preferences, Notifications& notifications, Throbber& mainMenu,
                    NoEngineWindow& noEngineWindow, DefinitionsWarning& warning,
                    Dialog& updateWindow, LocalizedStrings& strings, ThreadStarter& threads);

  // Starts an update and returns at once. Without `notify`, only a failure is shown. Main thread.
  void updateVirusDefsAndNotify(bool notify);
  // The update itself, to its end.
  void performDefsUpdate(bool notify);

  // Returns the updater's argument that names its log, where a preference does.
  static std::optional<std::string> freshclamLogLocation(const WatchSettings& settings);

 private:
  static int runUpdater(const LaunchRequest& request);
  void showResult(int status, bool exit1MeansUpdated, bool notify);
  void showEndOfUpdate();

  Preferences& preferences_;
  Notifications& notifications_;
  Throbber& mainMenu;
  NoEngineWindow& noEngineWindow_;
  DefinitionsWarning& warning_;
  Dialog& updateWindow;
  LocalizedStrings& strings_;
  ThreadStarter& threads_;
};

}  // namespace quillo
