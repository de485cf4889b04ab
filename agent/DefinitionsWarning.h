#pragma once

#include <functional>
#include <utility>

namespace quillo {

class Application;
class ClamdLink;
class LocalizedStrings;
class Notifier;
class SystemLog;

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

}  // namespace quillo
