#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace quillo {

class Application;
class ClamdLink;
class Dialog;
class LocalizedStrings;
class MainApplication;
class NoEngineWindow;
class Notifications;
class Notifier;
class Preferences;
class SystemLog;
class ThreadStarter;
class Throbber;
struct LaunchRequest;
struct WatchSettings;

struct DefinitionsWarningServices {
  Application& application;
  LocalizedStrings& localizedStrings;
  SystemLog& systemLog;
  Notifier& notifier;
};

// Warns of an engine that has only the built-in definition of the test file, until it has more.
class DefinitionsWarning {
 public:
  // `update` updates the definitions: the notification's button. Called on the main thread.
  DefinitionsWarning(const DefinitionsWarningServices& services, ClamdLink& engine,
                     std::function<void()> update)
      : services_(services), engine_(engine), update_(std::move(update)) {}

  // Warns in the log and by a notification if there are no real definitions; else takes an earlier
  // notification back. Main thread.
  void warnIfMissing();
  // Takes the notification back, soon, if there are real definitions now. Any thread.
  void definitionsCame();

 private:
  bool withdrawIfOver();

  const DefinitionsWarningServices services_;
  ClamdLink& engine_;
  const std::function<void()> update_;
};

// Updates of the virus definitions, each on a short-lived thread of its own. Several may run at
// once.
class DefinitionUpdates {
 public:
  // `updateWindow` shows a result where no notification does.
  DefinitionUpdates(Preferences& preferences, Notifications& notifications, Throbber& mainMenu,
                    NoEngineWindow& noEngineWindow, MainApplication& mainApplication,
                    DefinitionsWarning& warning, Dialog& updateWindow, LocalizedStrings& strings,
                    ThreadStarter& threads);

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
  MainApplication& mainApplication_;
  DefinitionsWarning& warning_;
  Dialog& updateWindow;
  LocalizedStrings& strings_;
  ThreadStarter& threads_;
};

}  // namespace quillo
