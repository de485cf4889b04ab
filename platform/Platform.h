#pragma once

namespace quillo {

class Application;
class ApplicationLauncher;
class Authorization;
class BackgroundWork;
class DistributedNotificationCenter;
class DockTile;
class FileDepartures;
class Folders;
class GrowlApplicationBridge;
class ImageLoader;
class InterfaceLoader;
class LocalizedStrings;
class ModifierKeys;
class MountNotifications;
class NameWatch;
class PowerNotifications;
class PreferenceStore;
class ScriptingKeys;
class StatusBar;
class StatusPublisher;
class SystemLog;
class TrashFolders;
class Volumes;
class Workspace;
struct MainInterface;

// Every service of the desktop, as the program's entry fills it in. All of them outlive whoever is
// handed this.
struct Platform {
  Application& application;
  ApplicationLauncher& applicationLauncher;
  Authorization& authorization;
  BackgroundWork& backgroundWork;
  DistributedNotificationCenter& distributedNotificationCenter;
  DockTile& dockTile;
  FileDepartures& fileDepartures;
  Folders& folders;
  GrowlApplicationBridge& growl;
  ImageLoader& imageLoader;
  InterfaceLoader& interfaceLoader;
  LocalizedStrings& localizedStrings;
  ModifierKeys& modifierKeys;
  MountNotifications& mountNotifications;
  NameWatch& nameWatch;
  PowerNotifications& powerNotifications;
  PreferenceStore& preferenceStore;
  ScriptingKeys& scriptingKeys;
  StatusBar& statusBar;
  StatusPublisher& statusPublisher;
  SystemLog& systemLog;
  TrashFolders& trashFolders;
  Volumes& volumes;
  Workspace& workspace;
  MainInterface& mainInterface;
};

}  // namespace quillo
