#pragma once

namespace quillo {

class AgentLink;
class Application;
class ApplicationLauncher;
class Clock;
class DesktopCheck;
class DistributedNotificationCenter;
class Folders;
class GrowlApplicationBridge;
class LocalizedStrings;
class ModifierKeys;
class PlannedScans;
class PreferenceStore;
class SystemLog;
class TrashFolders;
class VolumeChanges;
class Volumes;
class Workspace;

// What the desktop offers the main application, its window apart, as its entry fills it in. All of
// it outlives whoever is handed this.
struct CompanionDesktop {
  AgentLink& agentLink;
  Application& application;
  ApplicationLauncher& applicationLauncher;
  Clock& clock;
  DesktopCheck& desktopCheck;
  DistributedNotificationCenter& distributedNotificationCenter;
  Folders& folders;
  GrowlApplicationBridge& growl;
  LocalizedStrings& localizedStrings;
  ModifierKeys& modifierKeys;
  PlannedScans& plannedScans;
  PreferenceStore& preferenceStore;
  SystemLog& systemLog;
  TrashFolders& trashFolders;
  VolumeChanges& volumeChanges;
  Volumes& volumes;
  Workspace& workspace;
};

}  // namespace quillo
