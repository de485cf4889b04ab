#pragma once

namespace quillo {

class Application;
class Authorization;
class Clock;
class Folders;
class LocalizedStrings;
class NameWatch;
class PreferenceStore;
class SystemLog;
class TrashFolders;

// The services that the watchers use. All of them outlive the watchers.
struct WatcherServices {
  Application& application;
  Authorization& authorization;
  Clock& clock;
  Folders& folders;
  LocalizedStrings& localizedStrings;
  NameWatch& nameWatch;
  PreferenceStore& preferenceStore;
  SystemLog& systemLog;
  TrashFolders& trashFolders;
};

}  // namespace quillo
