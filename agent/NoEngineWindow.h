#pragma once

#include <string>

#include "engine/EngineProblem.h"
#include "posix/Snapshot.h"

namespace quillo {

class Application;
class ApplicationLauncher;
class LocalizedStrings;
class PreferenceFile;
class Preferences;
struct MainInterface;

// Returns what the window says of a problem, in the user's language: three lines, for the heading,
// what is wrong and what to do next. Any thread.
std::string textOf(const EngineProblem& problem, LocalizedStrings& strings);
// Returns the same for a desktop without the main application, whose preferences could be opened;
// `engineCommand` is what makes an engine.
std::string textAloneOf(const EngineProblem& problem, const std::string& engineCommand,
                        LocalizedStrings& strings);

struct NoEngineWindowServices {
  Application& application;
  ApplicationLauncher& applicationLauncher;
  LocalizedStrings& localizedStrings;
  MainInterface& mainInterface;
};

// The window that says why no engine is usable. It offers the main application where that is
// installed, else the file of preferences.
class NoEngineWindow {
 public:
  NoEngineWindow(const NoEngineWindowServices& services, const Preferences& preferences,
                 const PreferenceFile& preferenceFile)
      : services_(services), preferences_(preferences), preferenceFile_(preferenceFile) {}

  // Shows the problem, soon. Any thread.
  void show(const EngineProblem& problem);
  // Shows the last problem again. Any thread.
  void showAgain() { show(*problem_.load()); }
  // Takes the window off the screen. Main thread.
  void takeAway();

 private:
  void showNow(const EngineProblem& problem);

  const NoEngineWindowServices services_;
  const Preferences& preferences_;
  const PreferenceFile& preferenceFile_;
  // Own synchronisation.
  Snapshot<EngineProblem> problem_;
};

}  // namespace quillo
