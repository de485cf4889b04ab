#pragma once

#include <optional>
#include <string>

namespace quillo {

class LocalizedStrings;
class Notifications;
class Preferences;
class ThreadStarter;
class Throbber;
struct EngineProblem;
struct LaunchRequest;
struct WatchSettings;

// What an update's end shows and asks for besides a notification. Any thread, unless said
// otherwise.
class UpdateWindows {
 public:
  virtual ~UpdateWindows() = default;
  virtual void displayUpdateResult(const std::string& text) = 0;
  virtual void displayNoEngineWindow(const EngineProblem& problem) = 0;
  // An update has ended well: definitions are there now.
  virtual void definitionsCame() = 0;
  // Main thread.
  virtual void openUpdateLog() = 0;
};

// Updates of the virus definitions, each on a short-lived thread of its own. Several may run at
// once.
class DefinitionUpdates {
 public:
  DefinitionUpdates(Preferences& preferences, Notifications& notifications, Throbber& mainMenu,
                    UpdateWindows& windows, LocalizedStrings& strings, ThreadStarter& threads);

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
  UpdateWindows& windows_;
  LocalizedStrings& strings_;
  ThreadStarter& threads_;
};

}  // namespace quillo
