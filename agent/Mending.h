#pragma once

namespace quillo {

class ApplicationLauncher;
class DefinitionUpdates;
class MainApplication;
class NoEngineWindow;
class PreferenceFile;
class Throbber;

// What can be done about each thing that the icon says to be wrong.
struct Mending {
  ApplicationLauncher& applicationLauncher;
  DefinitionUpdates& definitionUpdates;
  MainApplication& mainApplication;
  NoEngineWindow& noEngineWindow;
  PreferenceFile& preferenceFile;
  Throbber& mainMenu;

  // Does it about what is wrong now; nothing where nothing is, or where it mends itself. Throws
  // what the part throws that does it. Main thread.
  void mend() const;
};

}  // namespace quillo
