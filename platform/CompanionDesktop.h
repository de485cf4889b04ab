#pragma once

namespace quillo {

class Application;
class ApplicationLauncher;
class Clock;
class DistributedNotificationCenter;
class Folders;
class ImageLoader;
class LocalizedStrings;
class MainWindow;
class PlannedScans;
class PreferenceStore;
class SystemLog;
class Volumes;
class Workspace;

// What the desktop offers the main application, as its entry fills it in. All of it outlives
// whoever is handed this.
struct CompanionDesktop {
  Application& application;
  ApplicationLauncher& applicationLauncher;
  Clock& clock;
  DistributedNotificationCenter& distributedNotificationCenter;
  Folders& folders;
  ImageLoader& imageLoader;
  LocalizedStrings& localizedStrings;
  MainWindow& mainWindow;
  PlannedScans& plannedScans;
  PreferenceStore& preferenceStore;
  SystemLog& systemLog;
  Volumes& volumes;
  Workspace& workspace;
};

}  // namespace quillo
