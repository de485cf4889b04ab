#pragma once

namespace quillo {

class Application;
class Clock;
class DockTile;
class Folders;
class ImageLoader;
class LocalizedStrings;
class ModifierKeys;
class StatusBar;
class SystemLog;
class TypedPreferences;
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
  const TypedPreferences& preferences;
  StatusBar& statusBar;
  SystemLog& systemLog;
  Workspace& workspace;
};

}  // namespace quillo
