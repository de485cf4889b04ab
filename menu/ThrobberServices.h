#pragma once

namespace quillo {

class Application;
class Clock;
class DockTile;
class Folders;
class ImageLoader;
class LocalizedStrings;
class ModifierKeys;
class PreferenceStore;
class StatusBar;
class SystemLog;
class Workspace;
struct MainInterface;

// The services that the status menu uses. All of them outlive it.
struct ThrobberServices {
  Application& application;
  Clock& clock;
  DockTile& dockTile;
  Folders& folders;
  ImageLoader& imageLoader;
  LocalizedStrings& localizedStrings;
  MainInterface& mainInterface;
  ModifierKeys& modifierKeys;
  PreferenceStore& preferenceStore;
  StatusBar& statusBar;
  SystemLog& systemLog;
  Workspace& workspace;
};

}  // namespace quillo
